#include "app/settings_records.h"
#include "capture/grab_threads.h"
#include "capture/panel_rules.h"
#include "support/camera_document.h"
#include "support/qt_tools.h"
#include "ui/cam_control_dlg.h"
#include "ui/property_set_dlg.h"

#include <QComboBox>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>

namespace vireo {
namespace {

using test::ById;
using test::PressKey;

constexpr int kPresetIds[] = { 1005, 1006, 1007, 1008 };
constexpr int kEditorIds[] = { 1004, 1009, 1010, 1011 };

class CamControlDlgTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_document.Open());
        m_document.Forget();
        OpenPanel();
    }
    void OpenPanel()
    {
        m_panel = std::make_unique<CamControlDlg>(m_document.Doc(), [this](const std::function<void()>& action) {
            ++m_iActions;
            action();
        });
        m_panel->Open();
        m_panel->show();
    }
    CVireoDoc& Doc() { return m_document.Doc(); }
    CaptureFlags& Capture() { return Doc().m_capture; }
    QPushButton& Button(int iId) { return *ById<QPushButton>(*m_panel, iId); }
    QCheckBox& Box(int iId) { return *ById<QCheckBox>(*m_panel, iId); }
    QString Text(int iId) { return ById<QLabel>(*m_panel, iId)->text(); }
    bool IsEnabled(int iId) { return ById<QWidget>(*m_panel, iId)->isEnabled(); }
    /// As after a recording of `iFrames` frames.
    void SetRecorded(int iFrames)
    {
        StopGrab(Doc());
        for (std::size_t uiCamera = 0; uiCamera < Doc().m_cameras.m_uiNumCameras; ++uiCamera) {
            Doc().m_store.m_bRecordDone[uiCamera] = true;
            Capture().m_bThreadEnded[uiCamera] = true;
        }
        Doc().m_store.m_iRecordTarget = iFrames;
        m_panel->UpdatePanelState();
    }
    /// As while the grab threads run.
    void SetLive()
    {
        for (std::size_t uiCamera = 0; uiCamera < Doc().m_cameras.m_uiNumCameras; ++uiCamera)
            Capture().m_bThreadEnded[uiCamera] = false;
        m_panel->UpdatePanelState();
    }

    test::CameraDocument m_document { "simulated:2xGS3-U3-23S6M" };
    int m_iActions = 0;
    std::unique_ptr<CamControlDlg> m_panel;
};

TEST_F(CamControlDlgTest, HasItsControlsWithTheirTexts)
{
    EXPECT_EQ(m_panel->windowTitle(), QStringLiteral("カメラコントロール"));
    EXPECT_FALSE(m_panel->isModal());
    const struct {
        int iId;
        const char* pText;
    } buttons[] = { { 1004, "設定変更" }, { 1009, "設定変更" }, { 1010, "設定変更" }, { 1011, "設定変更" },
        { 1024, "計測準備" }, { 1028, "スタート" }, { 1023, "保存" }, { 1022, "再生" }, { 1017, "<" }, { 1018, ">" },
        { 1019, "開始" }, { 1020, "終了" }, { 1032, "ﾄﾘｶﾞ待" }, { 1031, "連続パルス同期" }, { 1033, "録画後保存" },
        { 1016, "チェック1" }, { 1038, "モノクロ" }, { 1030, "パルス信号" }, { 1056, "保存後骨格検出後終了" } };
    for (const auto& button : buttons)
        EXPECT_EQ(ById<QAbstractButton>(*m_panel, button.iId)->text(), QString::fromUtf8(button.pText)) << button.iId;
    EXPECT_EQ(Text(1021), QStringLiteral("：連番"));
    EXPECT_EQ(Text(1035), QStringLiteral("0/0"));
    EXPECT_EQ(Text(1036), QStringLiteral("0"));
    EXPECT_EQ(Text(1037), QStringLiteral("0"));
    for (const int iId : { 1027, 1013, 1000, 1001, 1002, 1003, 1012, 10534 })
        ById<QLabel>(*m_panel, iId);
    ById<QProgressBar>(*m_panel, 1029);
    QStringList labels;
    for (const QLabel* pLabel : m_panel->findChildren<QLabel*>())
        labels.append(pLabel->text());
    for (const char* pLabel :
        { "設定名：", "ﾌｧｲﾙ名：", "ﾌﾚｰﾑﾚｰﾄ：", "ｼｬｯﾀｰｽﾋﾟｰﾄﾞ：", "ｻｲｽﾞ：", "ｹﾞｲﾝ：", "録画時間：", "状態：" })
        EXPECT_TRUE(labels.contains(QString::fromUtf8(pLabel))) << pLabel;
}

TEST_F(CamControlDlgTest, FourBoxesAreThereAndNeverSeen)
{
    for (const int iId : { 1038, 1030, 1056, 1031 })
        EXPECT_FALSE(Box(iId).isVisible()) << iId;
}

// Every state of the flags that the rules know, on the real buttons.
TEST_F(CamControlDlgTest, ButtonsFollowTheFlagsInEveryState)
{
    for (unsigned uiBits = 0; uiBits < 256; ++uiBits) {
        SCOPED_TRACE(uiBits);
        const auto bit = [uiBits](unsigned uiBit) { return (uiBits >> uiBit & 1U) != 0; };
        Doc().m_store.m_bRecordDone[0] = bit(0);
        Capture().m_bThreadEnded[0] = bit(1);
        Capture().m_iCaptureState = bit(2) ? capture_state::kRecording : capture_state::kLive;
        Capture().m_bPlayback = bit(3);
        Capture().m_bPulseSync = bit(4);
        Capture().m_bTriggerWaitRing = bit(5);
        Capture().m_bTriggerWaitLinear = bit(6);
        Capture().m_iCaptureMode = bit(7) ? capture_mode::kRing : capture_mode::kLinear;
        m_panel->UpdatePanelState();

        const bool bDone = bit(0), bEnded = bit(1), bRecording = bit(2), bPlayback = bit(3), bPulse = bit(4);
        const bool bWait = bit(5) || bit(6);
        for (const int iId : kPresetIds)
            EXPECT_EQ(IsEnabled(iId), !bDone && !bWait && !bPulse);
        for (const int iId : kEditorIds)
            EXPECT_EQ(IsEnabled(iId), !bDone && !bWait && !bPulse);
        EXPECT_EQ(IsEnabled(1024), bEnded || bDone);
        EXPECT_EQ(IsEnabled(1028), !bRecording && !bPlayback && !bPulse && !bEnded && !bDone && !bWait);
        EXPECT_EQ(IsEnabled(1022), bDone && !bPulse);
        EXPECT_EQ(IsEnabled(1023), bDone);
        EXPECT_EQ(IsEnabled(1033), !bDone);
        EXPECT_EQ(IsEnabled(1032), bit(7) || !bDone);
        for (const int iId : { 1017, 1018, 1019, 1020, 1035, 1036, 1037 })
            EXPECT_EQ(IsEnabled(iId), bPlayback);
    }
    Capture().m_bPlayback = false;
}

TEST_F(CamControlDlgTest, CaptureControlsGoTogether)
{
    m_panel->EnableCaptureControls(false);
    for (const int iId : { 1005, 1006, 1007, 1008, 1004, 1009, 1010, 1011, 1024, 1028, 1022, 1023, 1032, 1033 })
        EXPECT_FALSE(IsEnabled(iId)) << iId;
    EXPECT_TRUE(IsEnabled(1014)) << "the file name can be typed meanwhile";
}

TEST_F(CamControlDlgTest, PresetButtonAppliesItsPreset)
{
    RecordingPreset preset;
    preset.ButtonLabel = "100";
    preset.FrameRate = 100;
    preset.Shutter = 1000;
    preset.Gain = 99;
    SaveRecordingPreset(m_document.m_app, 2, preset);
    m_panel->UpdatePresetButtons();
    EXPECT_EQ(Button(1006).text(), QStringLiteral("100"));
    Button(1006).click();
    EXPECT_EQ(Doc().m_parameters.PresetIndex, 2);
    EXPECT_EQ(Doc().m_parameters.m_iFps, 100);
    EXPECT_FLOAT_EQ(Doc().m_parameters.m_fGain, 29) << "the model's limit";
    EXPECT_EQ(Text(1027), QStringLiteral("100"));
    EXPECT_EQ(Text(1000), QStringLiteral("100fps"));
    EXPECT_EQ(Text(1001), QStringLiteral("1/1000sec"));
    EXPECT_EQ(Text(1002), QStringLiteral("640x480"));
    EXPECT_EQ(Text(1003), QStringLiteral("29"));
    EXPECT_EQ(Text(1012), QStringLiteral("1sec"));
    EXPECT_EQ(m_iActions, 1);
    EXPECT_TRUE(dynamic_cast<PresetButton&>(Button(1006)).IsCurrent());
    EXPECT_FALSE(dynamic_cast<PresetButton&>(Button(1005)).IsCurrent());
}

TEST_F(CamControlDlgTest, PresetNamesComeWithoutTouchingAnythingElse)
{
    RecordingPreset preset;
    preset.ButtonLabel = "A & B";
    preset.FrameRate = 250;
    preset.Path = "/elsewhere";
    SaveRecordingPreset(m_document.m_app, 1, preset);
    Doc().m_parameters.m_iFps = 60;
    m_panel->UpdatePresetButtons();
    EXPECT_EQ(Button(1005).text(), QStringLiteral("A && B")) << "an ampersand to the eye, no shortcut";
    EXPECT_EQ(Doc().m_parameters.m_iFps, 60);
    EXPECT_EQ(Doc().m_parameters.PresetIndex, 0);
    EXPECT_EQ(Doc().m_naming.m_strSaveFolder, "c:\\");
}

TEST_F(CamControlDlgTest, ChangedPresetIsAppliedOnlyAfterOk)
{
    test::OnDialog<PropertySetDlg> cancel([](PropertySetDlg& dialog) { dialog.reject(); });
    Button(1009).click();
    EXPECT_EQ(Doc().m_parameters.PresetIndex, 0);
    EXPECT_TRUE(m_document.m_library.Calls(Operation::StopCapture).empty()) << "the capture goes on";

    test::OnDialog<PropertySetDlg> ok([](PropertySetDlg& dialog) {
        ById<QLineEdit>(dialog, 1041)->setText(QStringLiteral("二番"));
        dialog.accept();
    });
    Button(1009).click();
    EXPECT_EQ(Doc().m_parameters.PresetIndex, 2);
    EXPECT_EQ(Button(1006).text(), QStringLiteral("二番"));
    EXPECT_EQ(Text(1027), QStringLiteral("二番"));
    EXPECT_TRUE(Capture().m_bCapturing);
}

TEST_F(CamControlDlgTest, StartLocksTheControlsAndAsksForTheRecording)
{
    SetLive();
    Button(1028).click();
    EXPECT_TRUE(Doc().m_store.m_bStartRequest);
    for (const int iId : { 1005, 1004, 1024, 1028, 1022, 1023, 1032, 1033 })
        EXPECT_FALSE(IsEnabled(iId)) << iId;
}

TEST_F(CamControlDlgTest, RefusedStartUnlocksThem)
{
    SetLive();
    Capture().m_bSaving = true; // every verb but the requests returns at once
    Button(1028).click();
    Capture().m_bSaving = false;
    EXPECT_FALSE(Doc().m_store.m_bStartRequest);
    EXPECT_TRUE(IsEnabled(1028));
}

TEST_F(CamControlDlgTest, PrepareTakesTheTriggerBoxAndTheFocusGoesToTheTitle)
{
    SetRecorded(100);
    Capture().m_iCaptureMode = capture_mode::kRing;
    Box(1032).setChecked(true);
    Button(1024).click();
    EXPECT_TRUE(Capture().m_bTriggerWaitRing);
    EXPECT_FALSE(Doc().m_store.m_bRecordDone[0]);
    EXPECT_TRUE(Capture().m_bCapturing);
    EXPECT_EQ(m_panel->focusWidget(), ById<QComboBox>(*m_panel, 1014));
}

TEST_F(CamControlDlgTest, PlaybackShowsCounterAndMarks)
{
    SetRecorded(250);
    Capture().m_iMarkStart = 7;
    Button(1022).click();
    EXPECT_TRUE(Capture().m_bPlayback);
    EXPECT_EQ(Text(1035), QStringLiteral("0001/0250"));
    EXPECT_EQ(Text(1036), QStringLiteral("0"));
    EXPECT_EQ(Text(1037), QStringLiteral("250"));
    EXPECT_EQ(Capture().m_iMarkStart, 7) << "the marks themselves stay";
    Button(1022).click();
    EXPECT_FALSE(Capture().m_bPlayback);
    EXPECT_FALSE(IsEnabled(1017));
}

TEST_F(CamControlDlgTest, StepsStayWithinTheRecording)
{
    SetRecorded(3);
    Button(1022).click();
    Button(1017).click();
    EXPECT_EQ(Text(1035), QStringLiteral("0001/0003"));
    for (const char* pText : { "0002/0003", "0003/0003", "0003/0003" }) {
        Button(1018).click();
        EXPECT_EQ(Text(1035), QString::fromLatin1(pText));
    }
    EXPECT_EQ(Doc().m_windows.m_iCurFrame, 2);
    ById<QLabel>(*m_panel, 1035)->clear();
    Button(1018).click();
    EXPECT_EQ(Text(1035), QStringLiteral("0003/0003")) << "written again where nothing moved";
}

TEST_F(CamControlDlgTest, MarksAreStoredFrom0AndShownFrom1)
{
    SetRecorded(100);
    Button(1022).click();
    Button(1019).click();
    EXPECT_EQ(Text(1036), QStringLiteral("1"));
    EXPECT_EQ(Capture().m_iMarkStart, 0);
    Button(1018).click();
    Button(1018).click();
    Button(1020).click();
    EXPECT_EQ(Text(1037), QStringLiteral("3"));
    EXPECT_EQ(Capture().m_iMarkEnd, 2);
    EXPECT_EQ(Capture().m_iSaveLastFrame, 2);
}

TEST_F(CamControlDlgTest, ArrowKeysStepInPlaybackOnly)
{
    SetRecorded(10);
    auto& panel = *m_panel;
    EXPECT_FALSE(PressKey(panel, Qt::Key_Right));
    Button(1022).click();
    EXPECT_TRUE(PressKey(panel, Qt::Key_Right));
    EXPECT_TRUE(PressKey(panel, Qt::Key_Up));
    EXPECT_EQ(Doc().m_windows.m_iCurFrame, 2);
    PressKey(panel, Qt::Key_Left);
    PressKey(*ById<QLineEdit>(*m_panel, 1015), Qt::Key_Down);
    EXPECT_EQ(Doc().m_windows.m_iCurFrame, 0);
}

TEST_F(CamControlDlgTest, EnterAndEscapeDoNothing)
{
    for (const int iKey : { Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape }) {
        PressKey(*m_panel, iKey);
        PressKey(*ById<QComboBox>(*m_panel, 1014), iKey);
        PressKey(Button(1028), iKey);
    }
    EXPECT_TRUE(m_panel->isVisible());
    EXPECT_EQ(m_iActions, 0);
    EXPECT_TRUE(m_document.m_test.m_window.Record().commands.empty());
}

TEST_F(CamControlDlgTest, F8AndF9PressTheirButtonsWhileTheyCanBePressed)
{
    SetLive();
    EXPECT_TRUE(PressKey(*m_panel, Qt::Key_F8)) << "taken either way";
    EXPECT_EQ(m_iActions, 0);
    EXPECT_TRUE(PressKey(*m_panel, Qt::Key_F9));
    EXPECT_EQ(m_iActions, 1);
    EXPECT_TRUE(Doc().m_store.m_bStartRequest);
    EXPECT_TRUE(PressKey(*m_panel, Qt::Key_F9)) << "disabled by now";
    EXPECT_EQ(m_iActions, 1);
    SetRecorded(10);
    EXPECT_TRUE(PressKey(*m_panel, Qt::Key_F8));
    EXPECT_EQ(m_iActions, 2);
}

TEST_F(CamControlDlgTest, SpaceComesUpAgainOnAButton)
{
    SetLive();
    QPushButton& start = Button(1028);
    PressKey(start, Qt::Key_Space, " ");
    EXPECT_FALSE(start.isDown());
    EXPECT_TRUE(Doc().m_store.m_bStartRequest) << "pressed and released";
}

TEST_F(CamControlDlgTest, FileNameFollowsTheTyping)
{
    auto* pTitle = ById<QComboBox>(*m_panel, 1014);
    pTitle->setEditText(QStringLiteral("走り幅跳び"));
    EXPECT_EQ(Doc().m_naming.m_strFileTitle, "走り幅跳び");
    EXPECT_EQ(Text(1013), QStringLiteral("c:\\\\走り幅跳び.avi"));
    ById<QLineEdit>(*m_panel, 1015)->setText(QStringLiteral("0009"));
    PressKey(*ById<QLineEdit>(*m_panel, 1015), Qt::Key_End);
    EXPECT_EQ(Doc().m_naming.m_strSerialSuffix, "1") << "only with the box checked";
    Box(1016).click();
    ById<QLineEdit>(*m_panel, 1015)->setText(QStringLiteral("0009"));
    PressKey(*ById<QLineEdit>(*m_panel, 1015), Qt::Key_End);
    EXPECT_EQ(Doc().m_naming.m_strSerialSuffix, "0009");
    EXPECT_EQ(Text(1013), QStringLiteral("c:\\\\走り幅跳び-0009.avi"));
}

TEST_F(CamControlDlgTest, EmptySuffixAddsNoDash)
{
    Doc().m_naming.m_strSerialSuffix.clear();
    m_panel->UpdateInfo();
    Box(1016).click();
    EXPECT_EQ(Text(1013), QStringLiteral("c:\\\\untitle.avi"));
    EXPECT_EQ(Doc().m_naming.m_strFilePath, "c:\\\\untitle");
}

TEST_F(CamControlDlgTest, OnlyFiveTitlesOfTheHistoryAreOffered)
{
    Doc().m_naming.m_astrFileHistory = { "a", "b", "c", "d", "e", "f", "g" };
    Doc().m_naming.m_strFileTitle = "mine";
    OpenPanel();
    const auto* pTitle = ById<QComboBox>(*m_panel, 1014);
    ASSERT_EQ(pTitle->count(), 5);
    EXPECT_EQ(pTitle->itemText(4), QStringLiteral("e"));
    EXPECT_EQ(pTitle->currentText(), QStringLiteral("mine"));
}

TEST_F(CamControlDlgTest, PulseSyncNeeds100HzAndASetShutter)
{
    Doc().m_parameters.m_iFps = 60;
    Box(1031).click();
    EXPECT_FALSE(Box(1031).isChecked());
    Doc().m_parameters.m_iFps = 100;
    Doc().m_parameters.m_iShutter = -1;
    Box(1031).click();
    EXPECT_FALSE(Box(1031).isChecked());
    EXPECT_EQ(m_document.Messages(),
        (std::vector<std::string> {
            "ﾌﾚｰﾑﾚｰﾄを100Hzに変更してください。\n", "ｼｬｯﾀｰｽﾋﾟｰﾄﾞがｵｰﾌﾟﾝです変更してください。\n" }));
    EXPECT_TRUE(IsEnabled(1014));
    Doc().m_parameters.m_iShutter = 500;
    Box(1031).click();
    EXPECT_TRUE(Box(1031).isChecked());
    EXPECT_TRUE(Capture().m_bPulseSync);
    for (const int iId : { 1014, 1015, 1016, 1021 })
        EXPECT_FALSE(IsEnabled(iId)) << iId;
    Box(1031).click();
    EXPECT_FALSE(Capture().m_bPulseSync);
    EXPECT_TRUE(IsEnabled(1014));
}

TEST_F(CamControlDlgTest, LinearTriggerWaitStopsTheRedrawAndTheTyping)
{
    Capture().m_iCaptureMode = capture_mode::kLinear;
    SetLive();
    Box(1032).click();
    EXPECT_TRUE(Capture().m_bTriggerWaitLinear);
    EXPECT_TRUE(Box(1032).isChecked());
    EXPECT_FALSE(IsEnabled(1014));
    EXPECT_EQ(m_document.m_test.m_window.Record().viewTimers, std::vector<bool> { false });
    OpenPanel();
    EXPECT_TRUE(Box(1032).isChecked()) << "a panel opened meanwhile shows the same";
    EXPECT_FALSE(IsEnabled(1014));
    Box(1032).click();
    EXPECT_FALSE(Capture().m_bTriggerWaitLinear);
    EXPECT_TRUE(IsEnabled(1014));
}

TEST_F(CamControlDlgTest, RingTriggerWaitRestartsAndKeepsTheTyping)
{
    ASSERT_EQ(Capture().m_iCaptureMode, capture_mode::kRing);
    SetLive();
    Box(1032).click();
    EXPECT_TRUE(Capture().m_bTriggerWaitRing);
    EXPECT_TRUE(Box(1032).isChecked());
    EXPECT_TRUE(IsEnabled(1014));
    EXPECT_TRUE(m_document.m_test.m_window.Record().viewTimers.back());
    EXPECT_FALSE(IsEnabled(1028)) << "the trigger starts, not the button";
}

TEST_F(CamControlDlgTest, SaveAfterRecordForgetsTheRecording)
{
    Doc().m_store.m_bRecordDone[0] = true;
    Box(1033).click();
    EXPECT_TRUE(Capture().m_bSaveAfterRecord);
    EXPECT_FALSE(Doc().m_store.m_bRecordDone[0]);
    Box(1033).click();
    EXPECT_FALSE(Capture().m_bSaveAfterRecord);
}

TEST_F(CamControlDlgTest, SlaveWaitsForTheExternalInput)
{
    EXPECT_EQ(Text(10534), QStringLiteral(" "));
    Doc().m_parameters.IsMaster = false;
    m_panel->UpdateInfo();
    EXPECT_EQ(Text(10534), QStringLiteral("外部入力ﾄﾘｶﾞ待"));
}

TEST_F(CamControlDlgTest, CloseBoxAsksForTheToggle)
{
    m_panel->close();
    EXPECT_TRUE(m_panel->isVisible());
    EXPECT_EQ(m_document.m_test.m_window.Record().commands, std::vector<int> { command::kTogglePanel });
}

TEST_F(CamControlDlgTest, PanelOpenedDuringPlaybackShowsTheMarks)
{
    SetRecorded(100);
    Button(1022).click();
    const struct {
        int iFirst, iLast;
        const char *pFirst, *pLast;
    } rows[] = { { 0, -1, "0", "100" }, { 11, 29, "12", "30" }, { 0, 99, "0", "100" }, { 1, 0, "2", "1" } };
    Capture().m_iMarkStart = 7; // of a take before
    for (const auto& row : rows) {
        Capture().m_iSaveFirstFrame = row.iFirst;
        Capture().m_iSaveLastFrame = row.iLast;
        OpenPanel();
        EXPECT_EQ(Text(1036), QString(row.pFirst));
        EXPECT_EQ(Text(1037), QString(row.pLast));
    }
}

TEST_F(CamControlDlgTest, LongPresetNameDoesNotWidenThePanel)
{
    Doc().m_parameters.m_strPresetName = std::string(100000, 'x');
    m_panel->UpdateInfo();
    EXPECT_EQ(Text(1027).size(), 100000);
    EXPECT_LT(m_panel->minimumSizeHint().width(), 1000);
}

TEST_F(CamControlDlgTest, NoTextIsCutOff)
{
    for (QAbstractButton* pButton : m_panel->findChildren<QAbstractButton*>()) {
        if (!pButton->isVisible() || pButton->text().isEmpty() || dynamic_cast<IndicatorBox*>(pButton) != nullptr)
            continue;
        EXPECT_GE(pButton->width(), pButton->fontMetrics().horizontalAdvance(pButton->text()))
            << pButton->text().toStdString();
        EXPECT_GE(pButton->height(), pButton->fontMetrics().height()) << pButton->text().toStdString();
    }
    for (QLabel* pLabel : m_panel->findChildren<QLabel*>()) {
        if (pLabel->isVisible() && dynamic_cast<ElidedLabel*>(pLabel) == nullptr) {
            EXPECT_GE(pLabel->width(), pLabel->fontMetrics().horizontalAdvance(pLabel->text()))
                << pLabel->text().toStdString();
        }
    }
}

TEST_F(CamControlDlgTest, TabKeyWalksDownThePanel)
{
    const int order[] = { 1005, 1006, 1007, 1008, 1004, 1009, 1010, 1011, 1014, 1016, 1015, 1024, 1028, 1022, 1023,
        1032, 1033, 1017, 1018, 1019, 1020 };
    std::vector<int> walked;
    const QWidget* pStart = ById<QWidget>(*m_panel, order[0]);
    const QWidget* pWidget = pStart;
    do {
        if ((pWidget->focusPolicy() & Qt::TabFocus) != 0 && pWidget->isVisible() && pWidget->objectName().toInt() > 0)
            walked.push_back(pWidget->objectName().toInt());
        pWidget = pWidget->nextInFocusChain();
    } while (pWidget != pStart);
    EXPECT_EQ(walked, std::vector<int>(std::begin(order), std::end(order)));
}

} // namespace
} // namespace vireo
