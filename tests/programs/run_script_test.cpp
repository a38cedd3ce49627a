#include "support/run_tool.h"
#include "support/temporary_folder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <vector>

using namespace vireo::test;

// The one command that a newcomer types, on a machine without a display, with programs that are built already.

namespace {

/// Programs that only tell which one was started, with which arguments and cameras.
std::string TellingPrograms(const TemporaryFolder& folder)
{
    std::filesystem::create_directories(folder / "built/src/programs");
    for (const char* pName : { "tessel", "tessel-record" }) {
        const std::string strFile = folder / ("built/src/programs/" + std::string(pName));
        WriteFile(strFile,
            "#!/bin/sh\n"
            "echo \"started ${0##*/} $* cameras=$TESSEL_CAMERAS platform=${QT_QPA_PLATFORM-unset}\"\n");
        std::filesystem::permissions(strFile, std::filesystem::perms::owner_all);
    }
    return folder / "built";
}

ToolResult RunCommand(
    const TemporaryFolder& folder, std::vector<std::string> settings, std::vector<std::string> arguments = {})
{
    std::vector<std::string> command { "env", "-u", "DISPLAY", "-u", "WAYLAND_DISPLAY", "-u", "TESSEL_CAMERAS", "-u",
        "TESSEL_SIM_FAULTS", "-u", "QT_QPA_PLATFORM", "TESSEL_BUILT=" TESSEL_BUILD,
        "TESSEL_RECORDINGS=" + (folder / "recordings") };
    command.insert(command.end(), settings.begin(), settings.end());
    command.emplace_back(TESSEL_RUN);
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunTool(command);
}

/// The lines that tell of a file, as "FRAMES at RATE, VERDICT of camera N".
std::vector<std::string> FileLines(const std::string& strOut)
{
    static const std::regex kLine(R"((\S+-cam(\d)-0000\.avi): (\d+) frames, ([\d.]+) fps, ([a-z ]+)\n)");
    std::vector<std::string> lines;
    for (std::sregex_iterator line(strOut.begin(), strOut.end(), kLine), end; line != end; ++line)
        lines.push_back(
            (*line)[3].str() + " at " + (*line)[4].str() + ", " + (*line)[5].str() + " of camera " + (*line)[2].str());
    return lines;
}

} // namespace

TEST(RunScript, RecordsFourCamerasForTwoSecondsWithALineForEachFile)
{
    const TemporaryFolder folder;
    const ToolResult result = RunCommand(folder, {});
    ASSERT_EQ(result.iExit, 0) << result.strErr;
    EXPECT_EQ(FileLines(result.strOut),
        (std::vector<std::string> { "200 at 100.00, in sync of camera 1", "200 at 100.00, in sync of camera 2",
            "200 at 100.00, in sync of camera 3", "200 at 100.00, in sync of camera 4" }))
        << result.strOut;
    int iFiles = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder / "recordings")) {
        if (entry.path().extension() != ".avi")
            continue;
        ++iFiles;
        EXPECT_EQ(RunTool({ "ffprobe", "-v", "warning", "-count_frames", "-select_streams", "v:0", "-show_entries",
                              "stream=nb_read_frames", "-of", "csv=p=0", entry.path() })
                      .strOut,
            "200\n")
            << entry.path();
    }
    EXPECT_EQ(iFiles, 4);
}

TEST(RunScript, HandsItsOptionsAndTheCamerasOfTheEnvironmentOn)
{
    const TemporaryFolder folder;
    const ToolResult result =
        RunCommand(folder, { "TESSEL_CAMERAS=simulated:2xGS3-PGE-23S6M" }, { "--fps", "30", "--seconds", "1" });
    ASSERT_EQ(result.iExit, 0) << result.strErr;
    EXPECT_EQ(FileLines(result.strOut),
        (std::vector<std::string> { "30 at 30.00, in sync of camera 1", "30 at 30.00, in sync of camera 2" }))
        << result.strOut;
}

TEST(RunScript, EndsAsTheRecordingEnds)
{
    const TemporaryFolder folder;
    EXPECT_EQ(RunCommand(folder, { "TESSEL_CAMERAS=simulatd" }).iExit, 2);
    EXPECT_EQ(RunCommand(folder, { "TESSEL_SIM_FAULTS=drop:1@100" }, { "--strict" }).iExit, 3);
}

TEST(RunScript, StartsTheDesktopProgramWhereThereIsADisplay)
{
    const TemporaryFolder folder;
    const std::string strBuilt = "TESSEL_BUILT=" + TellingPrograms(folder);
    const struct {
        const char* pSituation;
        std::vector<std::string> settings;
        const char* pStarted;
    } rows[] = {
        { "X11", { "DISPLAY=:7" }, "started tessel a b cameras=simulated platform=unset" },
        { "Wayland", { "WAYLAND_DISPLAY=wayland-0" }, "started tessel a b cameras=simulated platform=unset" },
        { "both", { "DISPLAY=:7", "WAYLAND_DISPLAY=wayland-0" },
            "started tessel a b cameras=simulated platform=unset" },
        { "cameras of one's own", { "DISPLAY=:7", "TESSEL_CAMERAS=iidc" },
            "started tessel a b cameras=iidc platform=unset" },
        { "no cameras asked for", { "DISPLAY=:7", "TESSEL_CAMERAS=" }, "started tessel a b cameras= platform=unset" },
        { "an empty platform", { "DISPLAY=:7", "QT_QPA_PLATFORM=" },
            "started tessel a b cameras=simulated platform=unset" },
        { "a platform of one's own", { "DISPLAY=:7", "QT_QPA_PLATFORM=wayland" },
            "started tessel a b cameras=simulated platform=wayland" },
        { "empty displays", { "DISPLAY=", "WAYLAND_DISPLAY=" }, "started tessel-record " },
        { "none", {}, "started tessel-record " },
    };
    for (const auto& row : rows) {
        std::vector<std::string> settings { strBuilt };
        settings.insert(settings.end(), row.settings.begin(), row.settings.end());
        const ToolResult result = RunCommand(folder, settings, { "a", "b" });
        EXPECT_EQ(result.iExit, 0) << row.pSituation << result.strErr;
        EXPECT_NE(result.strOut.find(row.pStarted), std::string::npos) << row.pSituation << ": " << result.strOut;
    }
}
