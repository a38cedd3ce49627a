#include "support/qt_tools.h"
#include "ui/about_dlg.h"
#include "ui/panel_widgets.h"
#include "ui/save_progress_bar.h"
#include "ui/up_down_edit.h"

#include <QIcon>
#include <QLineEdit>
#include <QProxyStyle>
#include <QStyleOptionButton>
#include <QTextDocument>
#include <QTextDocumentFragment>
#include <set>

namespace vireo {
namespace {

TEST(UpDownEdit, StepsWholeNumbersWithinItsRange)
{
    UpDownEdit edit(1044, 1045);
    edit.SetRange(1, 20);
    const struct {
        const char* pTyped;
        int iSteps;
        const char* pShown;
    } rows[] = { { "5", 1, "6" }, { "5", -1, "4" }, { "20", 1, "20" }, { "1", -1, "1" }, { "2.9", 1, "3" },
        { "abc", 1, "1" }, { "-7", 1, "1" }, { "99999999999", 1, "20" }, { "", -1, "1" } };
    for (const auto& row : rows) {
        edit.Edit()->setText(row.pTyped);
        edit.stepBy(row.iSteps);
        EXPECT_EQ(edit.text(), QString(row.pShown)) << row.pTyped;
    }
}

TEST(UpDownEdit, TakesWhateverIsTyped)
{
    UpDownEdit edit(1047, 1048);
    edit.SetRange(1, 20);
    test::PressKey(*edit.Edit(), Qt::Key_9, "9");
    test::PressKey(*edit.Edit(), Qt::Key_9, "9");
    test::PressKey(*edit.Edit(), Qt::Key_X, "x");
    EXPECT_EQ(edit.text(), QStringLiteral("99x"));
    edit.SetPosition(99);
    EXPECT_EQ(edit.text(), QStringLiteral("20"));
}

TEST(ElidedLabel, TellsTheWholeTextInItsTipWithoutReadingItAsMarkup)
{
    for (const QString& strText : { QStringLiteral("a name"), QStringLiteral("<img src='/etc/x.png'><b>name</b>"),
             QStringLiteral("a < b & c"), QStringLiteral("%n%s") }) {
        ElidedLabel label;
        label.setText(strText);
        const QString strTip = label.toolTip();
        const QString strSeen =
            Qt::mightBeRichText(strTip) ? QTextDocumentFragment::fromHtml(strTip).toPlainText() : strTip;
        EXPECT_EQ(strSeen, strText);
    }
}

TEST(ProgressScale, KeepsSmallRangesAndScalesLargeOnes)
{
    ProgressScale scale;
    scale.SetRange(1000);
    EXPECT_EQ(scale.Maximum(), 1000);
    EXPECT_EQ(scale.Position(500), 500);
    scale.SetRange(65535);
    EXPECT_EQ(scale.Maximum(), 65535);
    scale.SetRange(65536);
    EXPECT_EQ(scale.Maximum(), 65535) << "16 bits hold no more";
    EXPECT_EQ(scale.Position(32768), 32767);
    scale.SetRange(2000000000);
    EXPECT_EQ(scale.Position(1000000000), 32767);
    EXPECT_EQ(scale.Position(2000000001), 65535);
    EXPECT_EQ(scale.Position(-5), 0);
    scale.SetRange(-1);
    EXPECT_EQ(scale.Position(5), 0);
}

TEST(SaveProgressBar, IsNotClosedByAKey)
{
    SaveProgressBar dialog;
    dialog.show();
    test::PressKey(dialog, Qt::Key_Escape);
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_FALSE(dialog.isModal());
}

TEST(CAboutDlg2, NamesProgramAndVersion)
{
    const CAboutDlg2 dialog({}, QStringLiteral("1.2.3"));
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("バージョン情報 Tessel2"));
    EXPECT_EQ(dialog.findChild<QLabel*>(QStringLiteral("version"))->text(), QStringLiteral("Version 1.2.3"));
}

TEST(CaptureLamp, ShowsWhatTheCaptureDoes)
{
    const struct {
        const char* pName;
        LampFlags flags;
        CaptureLamp eLamp;
    } rows[] = {
        { "nothing runs", {}, CaptureLamp::Idle },
        { "live", { .bCapturing = true }, CaptureLamp::Live },
        { "waiting", { .bCapturing = true, .bWaiting = true }, CaptureLamp::Waiting },
        { "recording", { .bCapturing = true, .bRecording = true, .bWaiting = true }, CaptureLamp::Recording },
        { "recorded", { .bDone = true }, CaptureLamp::Recorded },
        { "recorded, threads still there", { .bCapturing = true, .bDone = true }, CaptureLamp::Recorded },
        { "playback", { .bDone = true, .bPlayback = true }, CaptureLamp::Playback },
        { "saving", { .bDone = true, .bPlayback = true, .bSaving = true }, CaptureLamp::Saving },
    };
    for (const auto& row : rows)
        EXPECT_EQ(LampOf(row.flags), row.eLamp) << row.pName;
}

TEST(CaptureLamp, HasAColourOfItsOwnForEachState)
{
    std::set<QRgb> colours;
    for (int i = 0; i <= static_cast<int>(CaptureLamp::Saving); ++i)
        colours.insert(LampColour(static_cast<CaptureLamp>(i)).rgb());
    EXPECT_EQ(colours.size(), 7U);
}

TEST(PresetButton, ShowsItsNumberWhileItHasNoName)
{
    PresetButton button(3);
    EXPECT_EQ(button.text(), QStringLiteral("Button3"));
    button.resize(100, 40);
    button.setText({});
    const QImage without = button.grab().toImage();
    PresetButton other(4);
    other.resize(100, 40);
    other.setText({});
    EXPECT_NE(without, other.grab().toImage());
    button.SetCurrent(true);
    EXPECT_NE(without, button.grab().toImage()) << "the preset in force is marked";
}

/// Notes the text that a button shows.
class NotingStyle : public QProxyStyle {
public:
    mutable QString m_strShown;
    void drawControl(
        ControlElement eElement, const QStyleOption* pOption, QPainter* pPainter, const QWidget* pWidget) const override
    {
        if (const auto* pButton = qstyleoption_cast<const QStyleOptionButton*>(pOption); eElement == CE_PushButtonLabel)
            m_strShown = pButton->text;
        QProxyStyle::drawControl(eElement, pOption, pPainter, pWidget);
    }
};

TEST(PresetButton, ShowsTheBeginningOfANameThatIsTooLong)
{
    NotingStyle style;
    PresetButton button(1);
    button.setStyle(&style);
    button.resize(100, 40);
    const QString strLong = QStringLiteral("走り幅跳び 200fps 西側の助走路");
    button.setText(strLong);
    button.grab();
    EXPECT_TRUE(style.m_strShown.startsWith(QStringLiteral("走り"))) << style.m_strShown.toStdString();
    EXPECT_TRUE(style.m_strShown.endsWith(QChar(0x2026))) << style.m_strShown.toStdString();
    EXPECT_LT(button.fontMetrics().horizontalAdvance(style.m_strShown), 100);
    EXPECT_EQ(button.text(), strLong);
    button.setText(QStringLiteral("A&&B"));
    button.grab();
    EXPECT_EQ(style.m_strShown, QStringLiteral("A&&B")) << "what fits stays as it is";
}

} // namespace
} // namespace vireo
