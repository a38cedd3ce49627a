#pragma once
#include "support/own_display.h"
#include "support/run_tool.h"
#include "support/running_program.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vireo::test {

/// The desktop program as its partner sees it: the real programs on an X server of the test's own, with sockets,
/// settings and working directory of its own. The partner is tessel-ctl; the operator has a keyboard.
class CooperationRun : public testing::Test {
    const TemporaryFolder m_folder;
    const OwnDisplay m_display;

protected:
    // A recording is as long as memory allows, and that much memory is taken at once; part of what is available
    // always stays free. The smaller of these just allows one second of four cameras at 350 fps; the larger
    // allows minutes of one camera at 30.
    static constexpr const char* kShortRun = "1070000000";
    static constexpr const char* kLongRun = "2800000000";

    CooperationRun()
    {
        for (const char* pFolder : { "runtime", "config", "work" })
            std::filesystem::create_directory(m_folder / pFolder);
        std::filesystem::permissions(m_folder / "runtime", std::filesystem::perms::owner_all);
    }

    /// Waits for the partner's window.
    void StartPartner(const std::string& strTitle = "Marten")
    {
        m_partner = std::make_unique<RunningProgram>(
            std::vector<std::string> { TESSEL_CTL_PROGRAM, "listen", "--title", strTitle }, Environment());
        ASSERT_TRUE(m_partner->WaitForErr("listening as " + strTitle + "\n")) << m_partner->Err();
    }
    /// The seven settings with blanks between them; files are named out1.avi and so on.
    static std::vector<std::string> Tokens(
        const std::string& strSettings, int iFiles, const std::string& strFolder = "")
    {
        std::vector<std::string> tokens { "Marten" };
        for (std::size_t uiAt = 0; uiAt < strSettings.size();) {
            const std::size_t uiEnd = std::min(strSettings.find(' ', uiAt), strSettings.size());
            tokens.push_back(strSettings.substr(uiAt, uiEnd - uiAt));
            uiAt = uiEnd + 1;
        }
        for (int i = 1; i <= iFiles; ++i)
            tokens.push_back(strFolder + "out" + std::to_string(i) + ".avi");
        return tokens;
    }
    /// `pLead`: a shell text before the program, which the shell becomes.
    std::unique_ptr<RunningProgram> Tessel(const std::vector<std::string>& tokens, const char* pLead = "") const
    {
        std::vector<std::string> command { "sh", "-c", "cd '" + (m_folder / "work") + "' && " + pLead + " exec \"$@\"",
            "sh", TESSEL_PROGRAM };
        command.insert(command.end(), tokens.begin(), tokens.end());
        return std::make_unique<RunningProgram>(command, Environment());
    }
    ToolResult Ctl(const char* pVerb) const
    {
        return RunTool({ "env", "XDG_RUNTIME_DIR=" + (m_folder / "runtime"), TESSEL_CTL_PROGRAM, pVerb });
    }
    /// A window with this title gets the keyboard, and the key is typed there. False when there is no such window.
    bool Press(const char* pTitle, const char* pKey) const
    {
        return XTool(
            { "search", "--onlyvisible", "--name", pTitle, "windowfocus", "--sync", "key", "--window", "0", pKey });
    }
    /// False when the program ended before it had a window with this title.
    bool WaitForWindow(RunningProgram& program, const char* pTitle) const
    {
        while (!program.HasEnded())
            if (XTool({ "search", "--onlyvisible", "--name", pTitle }))
                return true;
        return false;
    }
    /// Waits for a window with this title, and gives it the key.
    bool WaitAndPress(RunningProgram& program, const char* pTitle, const char* pKey) const
    {
        while (!program.HasEnded())
            if (Press(pTitle, pKey))
                return true;
        return false;
    }
    /// The operator closes every box that opens until the program has ended. @return its exit status.
    std::optional<int> CloseBoxesUntilTheEnd(RunningProgram& program) const
    {
        std::optional<int> exit;
        for (int i = 0; i < 600 && !exit; ++i) {
            Press("^(Tessel|エラー)$", "Return");
            exit = program.WaitForEnd(std::chrono::milliseconds(100));
        }
        return exit;
    }
    std::string RuntimeFolder() const { return m_folder / "runtime"; }
    std::string SettingsFile() const { return m_folder / "config/norvane/Quill/Cooperations/Tessel.ini"; }
    std::string Work(const std::string& strFile) const { return m_folder / ("work/" + strFile); }
    std::vector<std::string> Files() const { return FilesOf(".avi"); }
    std::vector<std::string> FilesOf(const std::string& strExtension) const
    {
        std::vector<std::string> files;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder / "work"))
            if (entry.path().extension() == strExtension)
                files.push_back(entry.path().filename());
        std::sort(files.begin(), files.end());
        return files;
    }

    std::string m_strCameras = "simulated";
    std::string m_strFaults;
    std::string m_strMemory = kShortRun;
    std::unique_ptr<RunningProgram> m_partner;

private:
    bool XTool(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> command { "env", "DISPLAY=" + m_display.Name(), "timeout", "20", "xdotool" };
        command.insert(command.end(), arguments.begin(), arguments.end());
        return RunTool(command).iExit == 0;
    }
    std::vector<std::pair<std::string, std::string>> Environment() const
    {
        return { { "XDG_RUNTIME_DIR", m_folder / "runtime" }, { "XDG_CONFIG_HOME", m_folder / "config" },
            { "DISPLAY", m_display.Name() }, { "WAYLAND_DISPLAY", "" }, { "QT_QPA_PLATFORM", "xcb" },
            { "LC_ALL", "C.UTF-8" }, // else its titles are not set as text
            { "LIBGL_ALWAYS_SOFTWARE", "1" }, { "TESSEL_CAMERAS", m_strCameras }, { "TESSEL_SIM_FAULTS", m_strFaults },
            { "TESSEL_MEMORY_LIMIT", m_strMemory } };
    }
};

} // namespace vireo::test
