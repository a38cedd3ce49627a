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

ToolResult RunCommand(
    const TemporaryFolder& folder, std::vector<std::string> settings, std::vector<std::string> arguments = {})
{
    std::vector<std::string> command { "env", "-u", "DISPLAY", "-u", "WAYLAND_DISPLAY", "-u", "TESSEL_CAMERAS", "-u",
        "TESSEL_SIM_FAULTS", "TESSEL_BUILT=" TESSEL_BUILD, "TESSEL_RECORDINGS=" + (folder / "recordings") };
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
