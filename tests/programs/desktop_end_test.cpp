#include "close_box.h"
#include "desktop_run.h"

#include <csignal>
#include <cstdlib>
#include <cstring>

namespace vireo {
namespace {

using test::RunTool;

/// How an operator, or the end of the login, closes the program; with the login its display may go.
enum class End { CloseBox, Termination, Display };

/// The program with four simulated cameras, closed from outside.
class DesktopEndRun : public test::DesktopRun<testing::Test> {
protected:
    DesktopEndRun()
        : DesktopRun("FrameRate=200\nRecTime=3\n")
    {
    }
    void Begin(const std::string& strFaults = "") { DesktopRun::Begin("simulated", strFaults); }
    void BeginLive(const std::string& strFaults = "") { DesktopRun::BeginLive("simulated", strFaults); }
    /// Clicks on a place of the panel, in thousandths of its width and height.
    void Click(int iAcross, int iDown) const
    {
        const std::string strGeometry = XTool({ "xdotool", "getwindowgeometry", "--shell", m_strPanel });
        const auto value = [&strGeometry](const char* pName) {
            const std::size_t uiAt = strGeometry.find(pName);
            return uiAt == std::string::npos ? 0 : std::atoi(strGeometry.c_str() + uiAt + std::strlen(pName));
        };
        XTool({ "xdotool", "mousemove", "--window", m_strPanel, std::to_string(value("WIDTH=") * iAcross / 1000),
            std::to_string(value("HEIGHT=") * iDown / 1000), "click", "1" });
    }
    void Close(End eEnd)
    {
        if (eEnd == End::Display)
            m_display.End();
        else if (eEnd == End::Termination)
            m_program->Signal(SIGTERM);
        else
            ASSERT_TRUE(test::PressCloseBox(m_display.Name(), m_strMain));
    }
};

class DesktopEnd : public DesktopEndRun, public testing::WithParamInterface<End> { };

TEST_P(DesktopEnd, WhileLive)
{
    BeginLive();
    Close(GetParam());
    ExpectGoodEnd();
}

TEST_P(DesktopEnd, WhileRecording)
{
    BeginLive();
    Press(m_strPanel, "F9");
    WaitForLamp(kRecording);
    Close(GetParam());
    ExpectGoodEnd();
    EXPECT_TRUE(std::filesystem::is_empty(Work(""))) << "a broken recording is not saved";
}

TEST_P(DesktopEnd, WithARecordingNotSaved)
{
    BeginLive();
    Record();
    Close(GetParam());
    ExpectGoodEnd();
}

TEST_P(DesktopEnd, WhileSavingComesAfterTheSave)
{
    BeginLive();
    Record();
    Press(m_strMain, "ctrl+s");
    while (!std::filesystem::exists(Work("-cam1-0000.avi")) && !m_program->HasEnded()) { }
    Close(GetParam());
    ExpectGoodEnd();
    for (const char* pFile : { "-cam1-0000.avi", "-cam2-0000.avi", "-cam3-0000.avi", "-cam4-0000.avi" })
        EXPECT_EQ(RunTool({ "ffprobe", "-v", "error", "-count_packets", "-show_entries", "stream=nb_read_packets",
                              "-of", "csv=p=0", Work(pFile) })
                      .strOut,
            "600\n")
            << pFile;
}

TEST_P(DesktopEnd, WhileWaitingForTheTrigger)
{
    BeginLive();
    Click(58, 493); // the box of the trigger wait
    WaitForLamp(kWaiting);
    Close(GetParam());
    ExpectGoodEnd();
}

// Cameras of this kind wait in another way: the first watches its input, the others go on storing.
TEST_P(DesktopEnd, WhileCamerasWithoutAStrobeWaitForTheTrigger)
{
    m_environment = { { "TESSEL_CAMERAS", "simulated:4xGRAS-03K2" } };
    BeginLive();
    Click(58, 493);
    WaitForLamp(kWaiting);
    Close(GetParam());
    ExpectGoodEnd();
}

TEST_P(DesktopEnd, AfterThePanelWasClosed)
{
    BeginLive();
    ASSERT_TRUE(test::PressCloseBox(m_display.Name(), m_strPanel));
    while (!XTool({ "xdotool", "search", "--onlyvisible", "--name", "^カメラコントロール" }).empty()) { }
    Close(GetParam());
    ExpectGoodEnd();
}

INSTANTIATE_TEST_SUITE_P(CloseBox, DesktopEnd, testing::Values(End::CloseBox));
INSTANTIATE_TEST_SUITE_P(Termination, DesktopEnd, testing::Values(End::Termination));

class DesktopDisplayEnd : public DesktopEndRun { };

TEST_F(DesktopDisplayEnd, WhileLiveIsAsTheCloseBox)
{
    BeginLive();
    Close(End::Display);
    ExpectGoodEnd();
}

TEST_F(DesktopDisplayEnd, WhileRecordingIsAsTheCloseBox)
{
    BeginLive();
    Press(m_strPanel, "F9");
    WaitForLamp(kRecording);
    Close(End::Display);
    ExpectGoodEnd();
    EXPECT_TRUE(std::filesystem::is_empty(Work("")));
}

TEST_F(DesktopDisplayEnd, InTheMiddleOfASaveStoresTheSettings)
{
    BeginLive();
    Record();
    Press(m_strMain, "ctrl+s");
    while (!std::filesystem::exists(Work("-cam1-0000.avi")) && !m_program->HasEnded()) { }
    Close(End::Display);
    ExpectGoodEnd();
}

TEST_F(DesktopDisplayEnd, UnderAMessageThatNobodyReadsIsAsTheCloseBox)
{
    BeginLive("hang:0@90");
    Window("Tessel$");
    Close(End::Display);
    ExpectGoodEnd();
}

TEST_F(DesktopDisplayEnd, BeforeTheCamerasAreConfirmedStoresNothing)
{
    const std::string strBefore = test::ReadFile(SettingsFile());
    Begin();
    Close(End::Display);
    EXPECT_EQ(m_program->WaitForEnd(), 1) << m_program->Err();
    EXPECT_EQ(test::ReadFile(SettingsFile()), strBefore);
}

using DesktopTermination = DesktopEndRun;

TEST_F(DesktopTermination, ClosesAMessageThatNobodyReads)
{
    BeginLive("hang:0@90");
    Window("Tessel$"); // the camera is missed
    Close(End::Termination);
    ExpectGoodEnd();
}

TEST_F(DesktopTermination, ClosesTheMenusDialogs)
{
    BeginLive();
    Press(m_strMain, "alt+h");
    XTool({ "xdotool", "key", "a" });
    Window("バージョン情報");
    Close(End::Termination);
    ExpectGoodEnd();
}

TEST_F(DesktopTermination, ClosesTheSettingsDialog)
{
    BeginLive();
    XTool({ "xdotool", "mousemove", "--window", m_strPanel, "77", "97", "click", "1" }); // under the first preset
    Window("設定");
    Close(End::Termination);
    ExpectGoodEnd();
}

TEST_F(DesktopTermination, ClosesTheQuestionForTheCamerasAndStoresNothing)
{
    const std::string strBefore = test::ReadFile(SettingsFile());
    Begin();
    Close(End::Termination);
    EXPECT_EQ(m_program->WaitForEnd(), 1) << m_program->Err();
    EXPECT_EQ(test::ReadFile(SettingsFile()), strBefore);
}

// The windows are found on the X server: no Wayland was asked, though it is said to be there.
TEST_F(DesktopTermination, ComesToAWindowOnTheXServerOfAWaylandLogin)
{
    m_environment = { { "WAYLAND_DISPLAY", "wayland-0" }, { "XDG_SESSION_TYPE", "wayland" },
        { "QT_QPA_PLATFORM", "" } };
    BeginLive();
    Close(End::Termination);
    ExpectGoodEnd();
}

} // namespace
} // namespace vireo
