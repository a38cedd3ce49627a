#include "support/decoded_video.h"
#include "support/run_tool.h"
#include "support/running_program.h"
#include "support/temporary_folder.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

using namespace vireo;
using namespace vireo::test;
using nlohmann::json;

// The program itself, in real time, with real files; a decoder that is not ours reads them back.

namespace {

ToolResult Record(std::vector<std::string> arguments, const std::string& strFaults = "")
{
    std::vector<std::string> command { "env", "TESSEL_CAMERAS=simulated", "TESSEL_SIM_FAULTS=" + strFaults,
        TESSEL_RECORD_PROGRAM };
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunTool(command);
}

/// The error that the report tells.
std::string ErrorOf(const std::string& strReport)
{
    const json report = json::parse(ReadFile(strReport), nullptr, false);
    EXPECT_EQ(report.value("verdict", ""), "not checked");
    return report.value("error", "no error");
}

} // namespace

TEST(TesselRecord, DescribesTheTakeBesideItsFilesUnlessItIsToldNotTo)
{
    const TemporaryFolder folder;
    for (const bool bOff : { false, true }) {
        const std::string strBase = folder / (bOff ? "off" : "on");
        const ToolResult result = RunTool({ "env", "TESSEL_CAMERAS=simulated:1xFL3-U3-13Y3M",
            bOff ? "TESSEL_SIDECAR=0" : "TESSEL_SIDECAR=", TESSEL_RECORD_PROGRAM, "--fps", "100", "--seconds", "1",
            "--json", strBase + "-report.json", strBase });
        ASSERT_EQ(result.iExit, 0) << result.strErr;
        EXPECT_EQ(ReadFile(strBase + ".json"), bOff ? "" : ReadFile(strBase + "-report.json"));
        const std::string strTable = ReadFile(strBase + ".csv");
        EXPECT_EQ(std::count(strTable.begin(), strTable.end(), '\n'), bOff ? 0 : 101);
    }
}

TEST(TesselRecord, FourFilesShowTheSameMomentInEveryFrame)
{
    const TemporaryFolder folder;
    const ToolResult result =
        Record({ "--fps", "400", "--size", "640x480", "--seconds", "2", "--json", "-", folder / "take" });
    ASSERT_EQ(result.iExit, 0) << result.strErr;
    const json report = json::parse(result.strOut);
    EXPECT_EQ(report.at("verdict"), "in sync") << report.at("reason");
    EXPECT_EQ(report.at("missed"), 0);
    EXPECT_EQ(report.at("out_of_sync"), 0);
    EXPECT_EQ(report.at("frames"), 800);
    std::vector<std::uint32_t> first;
    for (int c = 1; c <= 4; ++c) {
        SCOPED_TRACE(testing::Message() << "camera " << c);
        const std::string strFile = folder / ("take-cam" + std::to_string(c) + "-0000.avi");
        EXPECT_EQ(FramesByFfprobe(strFile), "400/1,800\n");
        const std::vector<std::uint32_t> codes = DecodedBarCodes(strFile);
        ASSERT_EQ(codes.size(), 800U);
        for (std::size_t i = 1; i < codes.size(); ++i)
            ASSERT_EQ(codes[i] - codes[i - 1], 2500U) << "frame " << i;
        if (c == 1)
            first = codes;
        EXPECT_EQ(codes, first);
    }
}

TEST(TesselRecord, AFolderThatCannotBeWrittenIsToldBeforeTheRecording)
{
    const TemporaryFolder folder;
    // Whoever runs this may write everywhere but on what is mounted so that nobody can.
    const ToolResult result = RunTool({ "unshare", "--user", "--map-root-user", "--mount", "sh", "-c",
        "mount -t tmpfs -o ro tmpfs \"$0\" && exec env TESSEL_CAMERAS=simulated \"$@\"", folder.Path(),
        TESSEL_RECORD_PROGRAM, "--seconds", "60", folder / "take" });
    EXPECT_EQ(result.iExit, 1) << result.strErr;
    EXPECT_NE(result.strErr.find("the folder cannot be written: " + folder.Path()), std::string::npos) << result.strErr;
    EXPECT_EQ(result.strErr.find("m_isaveFrameCount"), std::string::npos) << "nothing was recorded";
}

TEST(TesselRecord, TheProgressStandsOnATerminalOnlyAndNotWhenItIsToBeQuiet)
{
    const struct {
        bool bTerminal;
        const char* pQuiet;
        bool bShown;
    } kRows[] = { { true, "", true }, { true, "--quiet", false }, { false, "", false } };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::Message() << "terminal " << row.bTerminal << ' ' << row.pQuiet);
        const TemporaryFolder folder;
        const std::string strCommand = std::string("exec " TESSEL_RECORD_PROGRAM " --cameras simulated --seconds 1 ")
            + row.pQuiet + " '" + folder / "take" + "'";
        const ToolResult result = row.bTerminal ? RunTool({ "script", "-qec", strCommand, "/dev/null" })
                                                : RunTool({ "sh", "-c", strCommand });
        EXPECT_EQ(result.iExit, 0) << result.strErr;
        const std::string strAll = result.strOut + result.strErr;
        EXPECT_EQ(strAll.find(" of 30 frames\r") != std::string::npos
                || strAll.find(" of 30 frames\033") != std::string::npos,
            row.bShown);
        EXPECT_EQ(strAll.find('\033') != std::string::npos, row.bShown) << strAll;
        EXPECT_EQ(strAll.find("framesm_"), std::string::npos) << "a line of the log stands alone";
    }
}

TEST(TesselRecord, ALineForEveryFileGoesToTheOutput)
{
    const TemporaryFolder folder;
    const ToolResult result = Record({ "--seconds", "1", folder / "take" });
    EXPECT_EQ(result.iExit, 0) << result.strErr;
    for (int c = 1; c <= 4; ++c)
        EXPECT_NE(result.strOut.find("take-cam" + std::to_string(c) + "-0000.avi: 30 frames, 30.00 fps, in sync\n"),
            std::string::npos)
            << result.strOut;
}

TEST(TesselRecord, ALossIsStatusThreeWhenAskedToBeStrict)
{
    const TemporaryFolder folder;
    const ToolResult result =
        Record({ "--fps", "100", "--seconds", "2", "--strict", "--json", folder / "report.json", folder / "take" },
            "drop:2@100");
    EXPECT_EQ(result.iExit, 3) << result.strErr;
    const json report = json::parse(ReadFile(folder / "report.json"));
    EXPECT_EQ(report.at("verdict"), "frames missed");
    ASSERT_EQ(report.at("cameras").at(2).at("gaps").size(), 1U);
    EXPECT_EQ(report.at("cameras").at(2).at("gaps").at(0).at(1), 1);
}

TEST(TesselRecord, TheFirstStopSignalSavesWhatThereIs)
{
    const TemporaryFolder folder;
    RunningProgram program({ TESSEL_RECORD_PROGRAM, "--cameras", "simulated", "--fps", "100", "--seconds", "60",
        "--json", "-", folder / "take" });
    ASSERT_TRUE(program.WaitForErr("m_isaveFrameCount[0]=(")) << program.Err(); // the first frame of the recording
    program.Signal(SIGINT);
    EXPECT_EQ(program.WaitForEnd(), 0) << program.Err();
    const json report = json::parse(program.Out());
    const int iFrames = report.at("frames");
    EXPECT_GT(iFrames, 0);
    EXPECT_LT(iFrames, 6000);
    EXPECT_EQ(FramesByFfprobe(folder / "take-cam4-0000.avi"), "100/1," + std::to_string(iFrames) + "\n");
}

TEST(TesselRecord, TheSecondStopSignalEndsAtOnce)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "tmp");
    RunningProgram program({ "env", "TMPDIR=" + (folder / "tmp"), TESSEL_RECORD_PROGRAM, "--cameras", "simulated",
        "--fps", "100", "--seconds", "60", folder / "take" });
    ASSERT_TRUE(program.WaitForErr("m_isaveFrameCount[0]=(")) << program.Err();
    EXPECT_FALSE(std::filesystem::is_empty(folder / "tmp"));
    program.Signal(SIGSTOP); // so that both are there before the program looks
    program.Signal(SIGINT);
    program.Signal(SIGTERM);
    program.Signal(SIGCONT);
    EXPECT_EQ(program.WaitForEnd(), 130) << program.Err();
    EXPECT_TRUE(std::filesystem::is_empty(folder / "tmp")) << "the settings of the run went with it";
}

TEST(TesselRecord, AReportThatCannotBeWrittenIsAFailureAndTheTakeIsSaved)
{
    const TemporaryFolder folder;
    const ToolResult result = Record({ "--seconds", "1", "--json", folder / "nowhere/report.json", folder / "take" });
    EXPECT_EQ(result.iExit, 1);
    EXPECT_NE(
        result.strErr.find("the report cannot be written: " + (folder / "nowhere/report.json")), std::string::npos)
        << result.strErr;
    EXPECT_EQ(FramesByFfprobe(folder / "take-cam4-0000.avi"), "30/1,30\n");
}

TEST(TesselRecord, AReportNeverReplacesAFile)
{
    const TemporaryFolder folder;
    WriteFile(folder / "report.json", "dear");
    const ToolResult refused = Record({ "--seconds", "1", "--json", folder / "report.json", folder / "take" });
    EXPECT_EQ(refused.iExit, 2);
    EXPECT_EQ(refused.strErr, "tessel-record: " + (folder / "report.json") + " exists already\n");
    EXPECT_EQ(ReadFile(folder / "report.json"), "dear");
    EXPECT_FALSE(std::filesystem::exists(folder / "take-cam1-0000.avi"));

    // One that the run itself has made is no target either.
    const ToolResult own = Record({ "--seconds", "1", "--json", folder / "take-cam2-0000.avi", folder / "take" });
    EXPECT_EQ(own.iExit, 1);
    EXPECT_EQ(FramesByFfprobe(folder / "take-cam2-0000.avi"), "30/1,30\n");
    EXPECT_EQ(Record({ "--seconds", "1", "--json", "/dev/null", folder / "other" }).iExit, 0);
}

TEST(TesselRecord, UnderNohupTheTerminalMayGo)
{
    const TemporaryFolder folder;
    const ToolResult result = RunTool({ "timeout", "--foreground", "--preserve-status", "-s", "HUP", "2", "nohup",
        TESSEL_RECORD_PROGRAM, "--cameras", "simulated", "--fps", "30", "--seconds", "3", folder / "take" });
    EXPECT_EQ(result.iExit, 0) << result.strErr;
    EXPECT_EQ(FramesByFfprobe(folder / "take-cam4-0000.avi"), "30/1,90\n");
}

TEST(TesselRecord, WrongUseIsNamedAndEndsWithTwo)
{
    const TemporaryFolder folder;
    WriteFile(folder / "old-cam2-0000.avi", "old");
    const struct {
        std::vector<std::string> command;
        const char* pNamed;
    } kRows[] = {
        { { TESSEL_RECORD_PROGRAM, "--cameras", "simulatd", folder / "t" }, "simulatd" },
        { { TESSEL_RECORD_PROGRAM, "--cameras", "simulated:NOMODEL", folder / "t" }, "NOMODEL" },
        { { "env", "TESSEL_CAMERAS=simulated,simulated:0xFL3-U3-13Y3M", TESSEL_RECORD_PROGRAM, folder / "t" },
            "0xFL3-U3-13Y3M" },
        { { "env", "TESSEL_CAMERAS=simulated", "TESSEL_SIM_FAULTS=drop:9@1", TESSEL_RECORD_PROGRAM, folder / "t" },
            "drop:9@1" },
        { { "env", "TESSEL_CAMERAS=simulated", "TESSEL_MEMORY_LIMIT=lots", TESSEL_RECORD_PROGRAM, folder / "t" },
            "TESSEL_MEMORY_LIMIT" },
        { { TESSEL_RECORD_PROGRAM, "--cameras", "simulated", folder / "old" }, "old-cam2" },
        { { TESSEL_RECORD_PROGRAM, "--fps", "90", folder / "t" }, "90" },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pNamed);
        std::vector<std::string> command = row.command;
        command.insert(command.end(), { "--json", folder / "report.json" });
        std::filesystem::remove(folder / "report.json");
        const ToolResult result = RunTool(command);
        EXPECT_EQ(result.iExit, 2);
        EXPECT_NE(result.strErr.find(row.pNamed), std::string::npos) << result.strErr;
        EXPECT_NE(ErrorOf(folder / "report.json").find(row.pNamed), std::string::npos);
    }
    EXPECT_EQ(ReadFile(folder / "old-cam2-0000.avi"), "old");
}

TEST(TesselRecord, AFailureBeforeTheRecordingIsInTheReportToo)
{
    const TemporaryFolder folder;
    const struct {
        std::vector<std::string> command;
        const char* pError;
    } kRows[] = {
        { { "env", "XDG_CONFIG_HOME=" + (folder / "config"), TESSEL_RECORD_PROGRAM, "--cameras", "simulated",
              "--preset", "1", folder / "t" },
            "the presets cannot be read" },
        { { "env", "TMPDIR=" + (folder / "none"), TESSEL_RECORD_PROGRAM, "--cameras", "simulated", folder / "t" },
            "no folder for temporary settings can be made" },
        { { TESSEL_RECORD_PROGRAM, "--cameras", "simulated", folder / "none/t" }, "there is no folder" },
        { { "env", "TESSEL_SIM_FAULTS=error:Connect:4", TESSEL_RECORD_PROGRAM, "--cameras", "simulated", folder / "t" },
            "ｶﾒﾗの接続に失敗しました。(4)" },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pError);
        std::vector<std::string> command = row.command;
        command.insert(command.end(), { "--json", "-" });
        const ToolResult result = RunTool(command);
        EXPECT_EQ(result.iExit, 1);
        EXPECT_NE(result.strErr.find(row.pError), std::string::npos) << result.strErr;
        WriteFile(folder / "report.json", result.strOut);
        EXPECT_NE(ErrorOf(folder / "report.json").find(row.pError), std::string::npos) << result.strOut;
    }
}

TEST(TesselRecord, TooLittleMemoryIsTold)
{
    const TemporaryFolder folder;
    const ToolResult result = RunTool({ "env", "TESSEL_CAMERAS=simulated", "TESSEL_MEMORY_LIMIT=600000000",
        TESSEL_RECORD_PROGRAM, "--fps", "400", "--seconds", "10", folder / "take" });
    EXPECT_EQ(result.iExit, 1);
    EXPECT_NE(result.strErr.find("ｶﾒﾗﾊﾞｯﾌｧを取得できません。ﾌﾚｰﾑﾚｰﾄか録画時間を少なくしてください。 10sec 400fps"),
        std::string::npos)
        << result.strErr;
}

TEST(TesselRecord, NoSettingsAreWritten)
{
    const TemporaryFolder folder;
    const ToolResult result = RunTool({ "env", "TESSEL_CAMERAS=simulated", "XDG_CONFIG_HOME=" + (folder / "config"),
        TESSEL_RECORD_PROGRAM, "--seconds", "1", folder / "take" });
    EXPECT_EQ(result.iExit, 0) << result.strErr;
    EXPECT_FALSE(std::filesystem::exists(folder / "config"));
}
