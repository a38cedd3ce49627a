#include "close_box.h"
#include "support/own_display.h"
#include "support/run_tool.h"
#include "support/running_program.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>

namespace vireo {
namespace {

using test::RunningProgram;
using test::RunTool;
using test::ToolResult;

/// How an operator, or the end of the login, closes the program.
enum class End { CloseBox, Termination };

/// The real program on an X server of the test's own, seen and closed from outside.
class DesktopEndRun : public testing::Test {
protected:
    // What the lamp on top of the panel shows.
    static constexpr const char* kLive = "#2E9E5B";
    static constexpr const char* kRecording = "#D63A32";
    static constexpr const char* kRecorded = "#2F6FD0";
    static constexpr const char* kWaiting = "#E39A1C";

    DesktopEndRun()
    {
        for (const char* pFolder : { "runtime", "work", "norvane/Quill/Cooperations" })
            std::filesystem::create_directories(m_folder / pFolder);
        std::filesystem::permissions(m_folder / "runtime", std::filesystem::perms::owner_all);
        test::WriteFile(SettingsFile(), "[CAM_PROPERTY_DATA0]\nFrameRate=200\nRecTime=3\n");
    }
    /// Until the cameras are to be confirmed.
    void Begin(const std::string& strFaults = "")
    {
        std::vector<std::pair<std::string, std::string>> environment { { "XDG_RUNTIME_DIR", m_folder / "runtime" },
            { "XDG_CONFIG_HOME", m_folder.Path() }, { "DISPLAY", m_display.Name() }, { "WAYLAND_DISPLAY", "" },
            { "QT_QPA_PLATFORM", "xcb" }, { "TESSEL_CAMERAS", "simulated" }, { "TESSEL_SIM_FAULTS", strFaults } };
        environment.insert(environment.end(), m_environment.begin(), m_environment.end());
        m_program = std::make_unique<RunningProgram>(
            std::vector<std::string> { "sh", "-c", "cd '" + (m_folder / "work") + "' && exec " TESSEL_PROGRAM },
            environment);
        m_strConfirmation = Window("カメラの選択");
    }
    /// Until all cameras are live.
    void BeginLive(const std::string& strFaults = "")
    {
        Begin(strFaults);
        Press(m_strConfirmation, "Return");
        m_strMain = Window("Tessel - ");
        m_strPanel = Window("カメラコントロール");
        WaitForLamp(kLive);
    }
    void Record()
    {
        Press(m_strPanel, "F9");
        WaitForLamp(kRecorded);
    }
    std::string XTool(std::vector<std::string> arguments) const
    {
        std::vector<std::string> command { "env", "DISPLAY=" + m_display.Name(), "timeout", "20" };
        command.insert(command.end(), arguments.begin(), arguments.end());
        const ToolResult result = RunTool(command);
        return result.iExit == 0 ? result.strOut : std::string();
    }
    /// Waits for a window whose title begins so. @return its id.
    std::string Window(const std::string& strTitle) const
    {
        const auto patience = std::chrono::steady_clock::now() + RunningProgram::kPatience;
        while (!m_program->HasEnded() && std::chrono::steady_clock::now() < patience) {
            const std::string strFound = XTool({ "xdotool", "search", "--onlyvisible", "--name", "^" + strTitle });
            if (!strFound.empty())
                return strFound.substr(0, strFound.find('\n'));
        }
        ADD_FAILURE() << "no window " << strTitle << ": " << m_program->Err();
        return {};
    }
    void Press(const std::string& strWindow, const char* pKey) const
    {
        XTool({ "xdotool", "windowfocus", "--sync", strWindow, "key", pKey });
    }
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
    void WaitForLamp(const std::string& strColour) const
    {
        const auto patience = std::chrono::steady_clock::now() + RunningProgram::kPatience;
        while (!m_program->HasEnded() && std::chrono::steady_clock::now() < patience)
            if (XTool({ "import", "-silent", "-window", m_strPanel, "-crop", "1x1+40+13", "-depth", "8", "txt:-" })
                    .find(strColour)
                != std::string::npos)
                return;
        ADD_FAILURE() << "no " << strColour << ": " << m_program->Err();
    }
    void Close(End eEnd) const
    {
        if (eEnd == End::Termination)
            m_program->Signal(SIGTERM);
        else
            ASSERT_TRUE(test::PressCloseBox(m_display.Name(), m_strMain));
    }
    void ExpectGoodEnd() const
    {
        EXPECT_EQ(m_program->WaitForEnd(), 0) << m_program->Err();
        const std::string strSettings = test::ReadFile(SettingsFile());
        for (const char* pSection : { "[MAIN_WINDOW]", "[CAM01]", "[CAM04_AFFINE]", "[CAM_CONTROL_DLG]" })
            EXPECT_NE(strSettings.find(pSection), std::string::npos) << pSection;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_folder / "runtime"))
            EXPECT_FALSE(entry.is_socket()) << entry.path() << " is left over";
    }
    std::string SettingsFile() const { return m_folder / "norvane/Quill/Cooperations/Tessel.ini"; }
    std::string Work(const std::string& strFile) const { return m_folder / ("work/" + strFile); }

    const test::TemporaryFolder m_folder;
    const test::OwnDisplay m_display;
    std::vector<std::pair<std::string, std::string>> m_environment; ///< beside the usual, or in its place
    std::unique_ptr<RunningProgram> m_program;
    std::string m_strConfirmation, m_strMain, m_strPanel;
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
