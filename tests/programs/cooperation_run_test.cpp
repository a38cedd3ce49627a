#include "cooperation_run.h"
#include "support/decoded_video.h"

#include <csignal>
#include <gmock/gmock.h>

namespace vireo {
namespace {

using test::CooperationRun;
using test::DecodedBarCodes;
using test::FramesByFfprobe;
using test::RunningProgram;
using testing::ElementsAre;

constexpr const char* kStartPrompt = "^START.ENTER.key, CANCEL.ESC.key$";
constexpr const char* kFinishPrompt = "^FINISH.ENTER.key$";
constexpr const char* kStartedAndFinished = "command 32781\ncommand 32782\n";

/// Whole runs with files, in real time.
class CooperationRecording : public CooperationRun {
protected:
    /// The partner's start, as soon as there is a program to take it.
    void StartRecording(RunningProgram& program)
    {
        while (!program.HasEnded() && Ctl("start").iExit != 0) { }
        ASSERT_TRUE(m_partner->WaitForOut("command 32781\n")) << program.Err();
    }
    /// The frames of a file at this rate; 0 when there is no such file.
    int Frames(const std::string& strFile, int iRate) const
    {
        const std::string strCounted = FramesByFfprobe(Work(strFile));
        const std::string strRate = std::to_string(iRate) + "/1,";
        EXPECT_TRUE(strCounted.starts_with(strRate)) << strFile << ": " << strCounted;
        return strCounted.starts_with(strRate) ? std::stoi(strCounted.substr(strRate.size())) : 0;
    }
};

TEST_F(CooperationRecording, StartsBySelfAndIsAsLongAsMemoryAllows)
{
    StartPartner();
    const auto program = Tessel(Tokens("1 640 480 350 500 0 10", 4));
    EXPECT_EQ(program->WaitForEnd(), 0) << program->Err();
    EXPECT_EQ(m_partner->Out(), kStartedAndFinished);
    ASSERT_THAT(
        Files(), ElementsAre("out1-cam1-0000.avi", "out2-cam2-0000.avi", "out3-cam3-0000.avi", "out4-cam4-0000.avi"));
    EXPECT_THAT(FilesOf(".csv"), ElementsAre("out1-cam1.csv", "out2-cam2.csv", "out3-cam3.csv", "out4-cam4.csv"));
    EXPECT_THAT(FilesOf(".json"), ElementsAre("out1-cam1.json"));
    const std::vector<std::uint32_t> first = DecodedBarCodes(Work("out1-cam1-0000.avi"));
    EXPECT_EQ(first.size(), 350U);
    for (const std::string& strFile : Files()) {
        EXPECT_EQ(Frames(strFile, 350), 350);
        EXPECT_EQ(DecodedBarCodes(Work(strFile)), first) << "the same instants on every camera";
    }
}

TEST_F(CooperationRecording, ThatStartedBySelfIsStoppedAtItsFirstFrame)
{
    m_strMemory = kLongRun;
    StartPartner();
    const auto program = Tessel(Tokens("1 640 480 30 500 0 10", 1));
    ASSERT_TRUE(m_partner->WaitForOut("command 32781\n")) << program->Err();
    EXPECT_EQ(Ctl("stop").iExit, 0) << "the program listens before it tells of a start";
    EXPECT_EQ(program->WaitForEnd(), 0) << program->Err();
    EXPECT_EQ(m_partner->Out(), kStartedAndFinished);
    ASSERT_THAT(Files(), ElementsAre("out1-0000.avi")) << "one camera needs no number";
    EXPECT_GT(Frames("out1-0000.avi", 30), 0);
}

TEST_F(CooperationRecording, IsStartedAndStoppedByThePartner)
{
    m_strMemory = kLongRun;
    m_strCameras = "simulated:3xGS3-U3-23S6M";
    StartPartner();
    const auto program = Tessel(Tokens("1 640 480 100 500 0 0", 2));
    StartRecording(*program);
    EXPECT_EQ(Ctl("start").iExit, 0) << "ignored: one is running";
    EXPECT_EQ(Ctl("stop").iExit, 0);
    EXPECT_EQ(program->WaitForEnd(), 0) << program->Err();
    EXPECT_EQ(m_partner->Out(), kStartedAndFinished);
    ASSERT_THAT(Files(), ElementsAre("out1-cam1-0000.avi", "out2-cam2-0000.avi")) << "two names, two cameras";
    const int iFrames = Frames("out1-cam1-0000.avi", 100);
    EXPECT_GT(iFrames, 0);
    EXPECT_EQ(Frames("out2-cam2-0000.avi", 100), iFrames);
    EXPECT_EQ(DecodedBarCodes(Work("out2-cam2-0000.avi")), DecodedBarCodes(Work("out1-cam1-0000.avi")));
}

TEST_F(CooperationRecording, ImposesThePartnersSizeAndRate)
{
    m_strMemory = kLongRun;
    m_strCameras = "simulated:GS3-U3-23S6C";
    StartPartner();
    const auto program = Tessel(Tokens("1 1280 720 60 -1 3 0", 1));
    StartRecording(*program);
    EXPECT_EQ(Ctl("stop").iExit, 0);
    EXPECT_EQ(program->WaitForEnd(), 0) << program->Err();
    EXPECT_GT(Frames("out1-0000.avi", 60), 0);
    const test::ToolResult size = test::RunTool({ "ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
        "stream=width,height", "-of", "csv=p=0", Work("out1-0000.avi") });
    EXPECT_EQ(size.strOut, "1280,720\n");
}

TEST_F(CooperationRecording, ByKeysIsPromptedInTheTitleAndToldOnce)
{
    m_strMemory = kLongRun;
    StartPartner();
    const auto program = Tessel(Tokens("1 640 480 30 500 0 111", 2));
    ASSERT_TRUE(WaitAndPress(*program, kStartPrompt, "Return")) << program->Err();
    ASSERT_TRUE(WaitAndPress(*program, kFinishPrompt, "Return")) << program->Err();
    EXPECT_EQ(program->WaitForEnd(), 0) << program->Err();
    EXPECT_EQ(m_partner->Out(), kStartedAndFinished);
    const int iFrames = Frames("out1-cam1-0000.avi", 30);
    EXPECT_GT(iFrames, 0);
    EXPECT_EQ(Frames("out2-cam2-0000.avi", 30), iFrames);
}

TEST_F(CooperationRecording, ThatImposesNothingIsAsTheSettingsSay)
{
    m_strMemory = kLongRun;
    StartPartner();
    const auto program = Tessel(Tokens("0 1920 1080 400 500 0 10", 4));
    ASSERT_TRUE(WaitAndPress(*program, "^カメラの選択$", "Return")) << "the operator confirms the cameras";
    ASSERT_TRUE(m_partner->WaitForOut("command 32781\n")) << program->Err();
    EXPECT_EQ(Ctl("stop").iExit, 0);
    EXPECT_EQ(program->WaitForEnd(), 0) << program->Err();
    EXPECT_EQ(m_partner->Out(), kStartedAndFinished);
    EXPECT_GT(Frames("out4-cam4-0000.avi", 30), 0);
}

TEST_F(CooperationRecording, GoesOnWithoutThePartnerWhoAskedForIt)
{
    StartPartner();
    m_partner->Signal(SIGKILL); // its socket stays behind
    ASSERT_EQ(m_partner->WaitForEnd(), 128 + SIGKILL);
    const auto program = Tessel(Tokens("1 640 480 350 500 0 10", 4));
    EXPECT_EQ(program->WaitForEnd(), 0) << program->Err();
    EXPECT_EQ(Files().size(), 4U);
}

TEST_F(CooperationRecording, TakesNamesWithBlanksAndInJapanese)
{
    m_strMemory = kLongRun;
    StartPartner("計測 解析");
    const auto program = Tessel({ "計測 解析", "1", "640", "480", "30", "500", "0", "10", "録画 一.1.avi" });
    ASSERT_TRUE(m_partner->WaitForOut("command 32781\n")) << program->Err();
    EXPECT_EQ(Ctl("stop").iExit, 0);
    EXPECT_EQ(program->WaitForEnd(), 0) << program->Err();
    EXPECT_EQ(m_partner->Out(), kStartedAndFinished);
    EXPECT_THAT(Files(), ElementsAre("録画 一.1-0000.avi"));
}

TEST_F(CooperationRecording, IsSavedThoughThePartnerHangs)
{
    StartPartner();
    m_partner->Signal(SIGSTOP);
    const auto program = Tessel(Tokens("1 640 480 350 500 0 10", 4));
    EXPECT_EQ(program->WaitForEnd(), 0) << program->Err();
    EXPECT_EQ(Files().size(), 4U);
    m_partner->Signal(SIGCONT);
    EXPECT_TRUE(m_partner->WaitForOut(kStartedAndFinished)) << "what it was told waits for it";
}

TEST_F(CooperationRecording, IsSavedWhenACameraGoesAway)
{
    m_strMemory = kLongRun;
    m_strFaults = "unplug:1@40";
    StartPartner();
    const auto program = Tessel(Tokens("1 640 480 30 500 0 10", 2));
    const std::optional<int> exit = CloseBoxesUntilTheEnd(*program);
    EXPECT_EQ(exit, 0) << program->Err();
    EXPECT_EQ(m_partner->Out(), kStartedAndFinished);
    const int iFrames = Frames("out1-cam1-0000.avi", 30);
    EXPECT_GT(iFrames, 0);
    EXPECT_LE(iFrames, 41);
    EXPECT_EQ(Frames("out2-cam2-0000.avi", 30), iFrames);
}

} // namespace
} // namespace vireo
