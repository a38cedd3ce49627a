#include "app/qt/commands.h"

#include <QAction>
#include <QRegularExpression>

namespace vireo {

namespace {

constexpr CommandRow kCommands[] = {
    { menu::kSaveAvi, "AVIﾌｧｲﾙに保存(&S)", "Ctrl+S", "録画した画像をAVIﾌｧｲﾙに保存します", true },
    { menu::kPrint, "印刷(&P)...", "Ctrl+P", "画像を印刷します", true },
    { menu::kExit, "アプリケーションの終了(&X)", "Alt+F4", "アプリケーションを終了します", false },
    { menu::kUndo, "元に戻す(&U)", "Ctrl+Z", "直前の操作を元に戻します", true },
    { menu::kCut, "切り取り(&T)", "Ctrl+X", "選択範囲を切り取ってクリップボードに保存します", true },
    { menu::kCopy, "コピー(&C)", "Ctrl+C", "選択範囲、または表示中の画像をクリップボードにコピーします", true },
    { menu::kPaste, "貼り付け(&P)", "Ctrl+V", "クリップボードの内容を貼り付けます", true },
    { menu::kStatusBar, "ステータス バー(&S)", "", "ステータス バーの表示を切り替えます", false },
    { menu::kCustomize, "カスタマイズ(&C)...", "", "ツール バーをカスタマイズします", false },
    { menu::kPanel, "ｶﾒﾗｺﾝﾄﾛｰﾙ(&C)", "F7", "ｶﾒﾗｺﾝﾄﾛｰﾙの表示を切り替えます", true },
    { menu::kPanelPosition, "ｶﾒﾗｺﾝﾄﾛｰﾙ位置ｸﾘｱ(&P)", "", "ｶﾒﾗｺﾝﾄﾛｰﾙの位置を初期値に戻します", true },
    { menu::kCascade, "重ねて表示(&C)", "", "ウィンドウを重ねて表示します", true },
    { menu::kTileRows, "上下に並べて表示(&H)", "", "ウィンドウを上下に並べて表示します", true },
    { menu::kTileColumns, "左右に並べて表示(&V)", "", "ウィンドウを左右に並べて表示します", true },
    { menu::kAbout, "バージョン情報 Tessel2(&A)...", "", "バージョン情報を表示します", true },
};

} // namespace

std::span<const CommandRow> CommandTable() { return kCommands; }

QString PlainCommandText(const QAction& action)
{
    static const QRegularExpression mnemonic(QStringLiteral("\\(&.\\)|\\.\\.\\.$"));
    return action.text().remove(mnemonic).remove(mnemonic);
}

} // namespace vireo
