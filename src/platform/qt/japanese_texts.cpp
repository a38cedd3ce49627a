#include "platform/qt/japanese_texts.h"

#include <QApplication>
#include <QFont>
#include <QFontDatabase>
#include <QHash>
#include <QLocale>
#include <clocale>

namespace vireo {

namespace {

const QHash<QByteArray, QString>& Texts()
{
    static const QHash<QByteArray, QString> texts {
        // Buttons
        { "OK", "OK" },
        { "&OK", "OK" },
        { "Cancel", "キャンセル" },
        { "&Cancel", "キャンセル" },
        { "&Yes", "はい(&Y)" },
        { "&No", "いいえ(&N)" },
        { "Save", "保存" },
        { "&Save", "保存(&S)" },
        { "Open", "開く" },
        { "&Open", "開く(&O)" },
        { "Close", "閉じる" },
        { "&Close", "閉じる(&C)" },
        { "Apply", "適用" },
        { "Help", "ヘルプ" },
        { "Discard", "破棄" },
        { "Retry", "再試行" },
        { "&Choose", "選択(&C)" },
        // File and folder dialogs
        { "Look in:", "場所：" },
        { "File &name:", "ファイル名(&N)：" },
        { "Files of type:", "ファイルの種類：" },
        { "Save As", "名前を付けて保存" },
        { "Directory:", "フォルダ：" },
        { "Name", "名前" },
        { "Size", "サイズ" },
        { "Type", "種類" },
        { "Kind", "種類" },
        { "Date Modified", "更新日時" },
        { "File Folder", "フォルダ" },
        { "Folder", "フォルダ" },
        { "Drive", "ドライブ" },
        { "Unknown", "不明" },
        { "Back", "戻る" },
        { "Go back", "戻る" },
        { "Forward", "進む" },
        { "Go forward", "進む" },
        { "Parent Directory", "上のフォルダ" },
        { "Go to the parent directory", "上のフォルダへ" },
        { "Create New Folder", "新しいフォルダ" },
        { "Create a New Folder", "新しいフォルダを作る" },
        { "New Folder", "新しいフォルダ" },
        { "&New Folder", "新しいフォルダ(&N)" },
        { "List View", "一覧" },
        { "Change to list view mode", "一覧で表示" },
        { "Detail View", "詳細" },
        { "Change to detail view mode", "詳細を表示" },
        { "&Rename", "名前の変更(&R)" },
        { "&Delete", "削除(&D)" },
        { "Show &hidden files", "隠しファイルを表示(&H)" },
        { "Sidebar", "サイドバー" },
        { "List of places and bookmarks", "場所とブックマークの一覧" },
        { "Files", "ファイル" },
        { "Computer", "コンピュータ" },
        { "My Computer", "コンピュータ" },
        { "Remove", "削除" },
        { "Recent Places", "最近使った場所" },
        { "All Files (*)", "すべてのファイル (*)" },
        { "Directories", "フォルダ" },
        { "%1 already exists.\nDo you want to replace it?", "%1 は既に存在します。\n上書きしますか？" },
        { "%1\nFile not found.\nPlease verify the correct file name was given.",
            "%1\nファイルが見つかりません。\nファイル名を確認してください。" },
        { "%1\nDirectory not found.\nPlease verify the correct directory name was given.",
            "%1\nフォルダが見つかりません。\nフォルダ名を確認してください。" },
        { "Are you sure you want to delete '%1'?", "「%1」を削除しますか？" },
        { "Could not delete directory.", "フォルダを削除できません。" },
        // Edit fields
        { "&Undo", "元に戻す(&U)" },
        { "&Redo", "やり直し(&R)" },
        { "Cu&t", "切り取り(&T)" },
        { "&Copy", "コピー(&C)" },
        { "&Paste", "貼り付け(&P)" },
        { "Delete", "削除" },
        { "Select All", "すべて選択" },
        { "&Select All", "すべて選択(&A)" },
        { "&Step up", "上げる(&S)" },
        { "Step &down", "下げる(&D)" },
        // Child frames
        { "&Restore", "元のサイズに戻す(&R)" },
        { "&Move", "移動(&M)" },
        { "&Size", "サイズ変更(&S)" },
        { "Mi&nimize", "最小化(&N)" },
        { "Ma&ximize", "最大化(&X)" },
        { "Stay on &Top", "常に手前に表示(&T)" },
        { "Minimize", "最小化" },
        { "Maximize", "最大化" },
        { "Restore Down", "元に戻す" },
        { "Restore", "元に戻す" },
        { "Menu", "メニュー" },
        // Printing
        { "Print", "印刷" },
        { "&Print", "印刷(&P)" },
        { "Options", "オプション" },
        { "&Options >>", "オプション(&O) >>" },
        { "&Options <<", "オプション(&O) <<" },
        { "Print To File ...", "ファイルへ出力 ..." },
        { "Print to File (PDF)", "ファイルへ出力 (PDF)" },
        { "Local file", "ローカルファイル" },
        { "Write PDF file", "PDF ファイルの出力" },
        { "Printer", "プリンタ" },
        { "&Name:", "名前(&N)：" },
        { "P&roperties", "プロパティ(&R)" },
        { "Location:", "場所：" },
        { "Type:", "種類：" },
        { "Output &file:", "出力ファイル(&F)：" },
        { "Copies", "部数" },
        { "Copies:", "部数：" },
        { "Print range", "印刷範囲" },
        { "Print all", "すべて" },
        { "Pages", "ページ" },
        { "Current Page", "現在のページ" },
        { "Selection", "選択範囲" },
    };
    return texts;
}

} // namespace

QString JapaneseTexts::translate(
    const char* /*pContext*/, const char* pSource, const char* /*pDisambiguation*/, int /*iNumber*/) const
{
    return Texts().value(QByteArray(pSource));
}

void InstallJapanese(QApplication& application)
{
    QLocale::setDefault(QLocale(QLocale::Japanese, QLocale::Japan));
    std::setlocale(LC_NUMERIC, "C"); // the toolkit takes the user's; settings are written with a point

    static JapaneseTexts texts;
    application.installTranslator(&texts);

    const QString strFamily = QStringLiteral("Noto Sans CJK JP");
    if (QFontDatabase::hasFamily(strFamily)) {
        QFont font = application.font();
        font.setFamilies({ strFamily });
        application.setFont(font);
    }
}

} // namespace vireo
