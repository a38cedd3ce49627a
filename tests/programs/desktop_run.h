#pragma once
#include "support/own_display.h"
#include "support/run_tool.h"
#include "support/running_program.h"
#include "support/temporary_folder.h"

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vireo::test {

/// The real desktop program on an X server of the test's own, driven and seen from outside: by keys, and by what
/// stands on the screen. `Base` is the kind of test.
template <typename Base> class DesktopRun : public Base {
protected:
    // What the lamp on top of the panel shows.
    static constexpr const char* kLive = "#2E9E5B";
    static constexpr const char* kRecording = "#D63A32";
    static constexpr const char* kRecorded = "#2F6FD0";
    static constexpr const char* kWaiting = "#E39A1C";
    static constexpr const char* kIdle = "#8A9099";

    /// `strPreset`: the first preset as the settings file has it.
    explicit DesktopRun(const std::string& strPreset)
    {
        for (const char* pFolder : { "runtime", "work", "norvane/Quill/Cooperations" })
            std::filesystem::create_directories(m_folder / pFolder);
        std::filesystem::permissions(m_folder / "runtime", std::filesystem::perms::owner_all);
        WriteFile(SettingsFile(), "[CAM_PROPERTY_DATA0]\n" + strPreset);
    }
    /// Until the cameras are to be confirmed.
    void Begin(const std::string& strCameras, const std::string& strFaults = "")
    {
        std::vector<std::pair<std::string, std::string>> environment { { "XDG_RUNTIME_DIR", m_folder / "runtime" },
            { "XDG_CONFIG_HOME", m_folder.Path() }, { "DISPLAY", m_display.Name() }, { "WAYLAND_DISPLAY", "" },
            { "QT_QPA_PLATFORM", "xcb" }, { "LC_ALL", "C.UTF-8" }, { "TESSEL_CAMERAS", strCameras },
            { "TESSEL_SIM_FAULTS", strFaults } };
        environment.insert(environment.end(), m_environment.begin(), m_environment.end());
        m_program = std::make_unique<RunningProgram>(
            std::vector<std::string> { "sh", "-c", "cd '" + (m_folder / "work") + "' && exec " TESSEL_PROGRAM },
            environment);
        m_strConfirmation = Window("カメラの選択");
    }
    /// Until all cameras are live.
    void BeginLive(const std::string& strCameras, const std::string& strFaults = "")
    {
        Begin(strCameras, strFaults);
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
    void ExpectGoodEnd() const
    {
        EXPECT_EQ(m_program->WaitForEnd(), 0) << m_program->Err();
        const std::string strSettings = ReadFile(SettingsFile());
        for (const char* pSection : { "[MAIN_WINDOW]", "[CAM01]", "[CAM02_AFFINE]", "[CAM_CONTROL_DLG]" })
            EXPECT_NE(strSettings.find(pSection), std::string::npos) << pSection;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_folder / "runtime"))
            EXPECT_FALSE(entry.is_socket()) << entry.path() << " is left over";
    }
    std::string SettingsFile() const { return m_folder / "norvane/Quill/Cooperations/Tessel.ini"; }
    std::string Work(const std::string& strFile) const { return m_folder / ("work/" + strFile); }

    const TemporaryFolder m_folder;
    OwnDisplay m_display;
    std::vector<std::pair<std::string, std::string>> m_environment; ///< beside the usual, or in its place
    std::unique_ptr<RunningProgram> m_program;
    std::string m_strConfirmation, m_strMain, m_strPanel;
};

} // namespace vireo::test
