#include "cooperation_run.h"

#include <gmock/gmock.h>

namespace vireo {
namespace {

using test::CooperationRun;
using testing::IsEmpty;

constexpr const char* kMainWindow = "^Tessel - ";
constexpr const char* kStartPrompt = "^START.ENTER.key, CANCEL.ESC.key$";

/// A run, and what the partner reads from its end.
struct ResultRow {
    const char* pName;
    int iExit;
    const char* pCameras;
    const char* pFaults;
    const char* pSettings;
    int iFiles;
    std::size_t uiWritten = 0; ///< files that are there at the end
    const char* pLead = ""; ///< see CooperationRun::Tessel
    const char* pMemory = nullptr;
    const char* pFolder = ""; ///< of the files
    const char* pWindow = nullptr; ///< gets a key as soon as it opens
    const char* pKey = "";
};
void PrintTo(const ResultRow& row, std::ostream* pOut) { *pOut << row.pName; }

class CooperationResult : public CooperationRun, public testing::WithParamInterface<ResultRow> { };

TEST_P(CooperationResult, IsTheExitStatus)
{
    const ResultRow& row = GetParam();
    m_strCameras = row.pCameras;
    m_strFaults = row.pFaults;
    if (row.pMemory != nullptr)
        m_strMemory = row.pMemory;
    StartPartner();
    const auto program = Tessel(Tokens(row.pSettings, row.iFiles, row.pFolder), row.pLead);
    if (row.pWindow != nullptr) {
        EXPECT_TRUE(WaitAndPress(*program, row.pWindow, row.pKey)) << program->Err();
    }
    EXPECT_EQ(CloseBoxesUntilTheEnd(*program), row.iExit) << program->Err();
    EXPECT_EQ(Files().size(), row.uiWritten);
}

constexpr const char* kSelfStart = "1 640 480 350 500 0 10";
const std::string kLongName(250, 'n');

INSTANTIATE_TEST_SUITE_P(Run, CooperationResult,
    testing::Values(ResultRow { "Saved", 0, "simulated", "", kSelfStart, 4, 4 },
        // A start-up that failed without a result of its own.
        ResultRow { "MemoryTooSmall", 1, "simulated", "", kSelfStart, 4, 0, "", "50000000" },
        ResultRow { "CamerasNotCounted", 255, "simulated", "error:GetNumOfCameras:7", kSelfStart, 4 },
        ResultRow { "CamerasDoNotStart", 254, "simulated", "error:StartCapture:7", kSelfStart, 4 },
        ResultRow { "NoWorkingDirectory", 1, "simulated", "", kSelfStart, 4, 0, "mkdir x && cd x && rmdir ../x &&" },
        ResultRow { "FileNotOpened", 253, "simulated", "", kSelfStart, 4, 0, "", nullptr, "nowhere/" },
        ResultRow { "RateAboveWhatTheSizeAllows", 251, "simulated:GS3-PGE-23S6M", "", "1 1920 1080 60 500 0 10", 1 },
        ResultRow { "MoreFilesThanCameras", 250, "simulated:GS3-U3-23S6M", "", kSelfStart, 2 },
        ResultRow { "ModelNotFit", 250, "simulated:DX-BW", "", kSelfStart, 1 },
        // No result of their own either, and yet not every file: a partner has to look for them.
        ResultRow { "NameTakenAndNoOtherChosen", 0, "simulated", "", kSelfStart, 4, 4, "touch out2-cam2-0000.avi &&",
            nullptr, "", "^名前を付けて保存$", "Escape" },
        ResultRow { "NameTooLong", 0, "simulated", "", kSelfStart, 4, 0, "", nullptr, kLongName.c_str() },
        ResultRow { "OwnSettingsAndCamerasDoNotStart", 0, "simulated", "error:StartCapture:7", "0 640 480 350 500 0 10",
            4, 0, "", nullptr, "", "^カメラの選択$", "Return" },
        // Files end at a megabyte, as on a disk that is full.
        ResultRow { "FileNotWritten", 249, "simulated", "", kSelfStart, 4, 1, "ulimit -f 2000;" }),
    [](const testing::TestParamInfo<ResultRow>& tested) { return tested.param.pName; });

class CooperationEnd : public CooperationRun { };

TEST_F(CooperationEnd, ByEscapeIsCancelled)
{
    StartPartner();
    const auto program = Tessel(Tokens("1 640 480 350 500 0 111", 4));
    ASSERT_TRUE(WaitAndPress(*program, kStartPrompt, "Escape")) << program->Err();
    EXPECT_EQ(program->WaitForEnd(), 252) << program->Err();
    EXPECT_EQ(m_partner->Out(), "");
    EXPECT_THAT(Files(), IsEmpty());
}

TEST_F(CooperationEnd, ByThePartnersStopBeforeARecordingIsNoFailure)
{
    StartPartner();
    const auto program = Tessel(Tokens("1 640 480 350 500 0 0", 4));
    while (!program->HasEnded() && Ctl("stop").iExit != 0) { }
    EXPECT_EQ(program->WaitForEnd(), 0) << program->Err();
    EXPECT_EQ(m_partner->Out(), "");
    EXPECT_THAT(Files(), IsEmpty());
    EXPECT_EQ(Ctl("stop").iExit, 1) << "nothing is left of its window";
}

TEST_F(CooperationEnd, IsNotForMessagesWhenThereIsNoPartner)
{
    StartPartner();
    std::vector<std::string> tokens = Tokens("1 640 480 350 500 0 111", 4);
    tokens[0] = "NONE";
    const auto program = Tessel(tokens);
    while (!program->HasEnded() && Ctl("start").iExit != 0) { }
    EXPECT_EQ(Ctl("stop").iExit, 0) << "handled, by doing nothing";
    ASSERT_TRUE(WaitAndPress(*program, kStartPrompt, "Escape")) << program->Err();
    EXPECT_EQ(program->WaitForEnd(), 252) << "neither started nor stopped before";
    EXPECT_EQ(m_partner->Out(), "");
}

TEST_F(CooperationEnd, OfASecondCopyIsOneAndTouchesNothing)
{
    StartPartner();
    const std::vector<std::string> tokens = Tokens("1 640 480 350 500 0 0", 4);
    const auto first = Tessel(tokens);
    ASSERT_TRUE(WaitForWindow(*first, kMainWindow)) << first->Err();
    const std::string strSettings = test::ReadFile(SettingsFile());
    const auto written = std::filesystem::last_write_time(SettingsFile());
    for (const std::vector<std::string>& secondTokens : { tokens, std::vector<std::string> {} }) {
        const auto second = Tessel(secondTokens);
        EXPECT_EQ(CloseBoxesUntilTheEnd(*second), 1) << second->Err();
    }
    EXPECT_EQ(test::ReadFile(SettingsFile()), strSettings);
    EXPECT_EQ(std::filesystem::last_write_time(SettingsFile()), written);
    EXPECT_EQ(Ctl("start").iExit, 0) << "the first goes on as if nothing had been";
    EXPECT_EQ(first->WaitForEnd(), 0) << first->Err();
    EXPECT_EQ(m_partner->Out(), "command 32781\ncommand 32782\n");
    EXPECT_EQ(Files().size(), 4U);
}

TEST_F(CooperationEnd, BeforeTheCamerasAreConfirmedIsAFailedStart)
{
    StartPartner();
    const auto program = Tessel(Tokens("0 640 480 350 500 0 10", 4));
    ASSERT_TRUE(WaitAndPress(*program, "^カメラの選択$", "Escape")) << program->Err();
    EXPECT_EQ(program->WaitForEnd(), 1) << program->Err();
    EXPECT_EQ(m_partner->Out(), "");
}

TEST_F(CooperationEnd, ByASignalIsClean)
{
    StartPartner();
    for (const bool bRecording : { false, true }) {
        const auto program = Tessel(Tokens("1 640 480 350 500 0 0", 4));
        ASSERT_TRUE(WaitForWindow(*program, kMainWindow)) << program->Err();
        if (bRecording) {
            EXPECT_EQ(Ctl("start").iExit, 0);
            EXPECT_TRUE(m_partner->WaitForOut("command 32781\n"));
        }
        program->Signal(SIGTERM);
        EXPECT_EQ(program->WaitForEnd(), 0) << program->Err();
        EXPECT_EQ(Ctl("start").iExit, 1) << "nothing is left of its window";
    }
}

} // namespace
} // namespace vireo
