#include "matrix/matrix_cases.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <gtest/gtest.h>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <unistd.h>

// Every call out of the core, failing in every way that it can fail, in every state of the program. Most of the
// cases are for a night; a share of them, another one for each seed, runs with every build:
//   VIREO_MATRIX_CASES    how many, or "all"                    (default 600, under a sanitizer 80)
//   VIREO_MATRIX_SECONDS  stop after so long, 0 = when done     (default 0)
//   VIREO_MATRIX_SEED     which share, and in what order        (default 1)
//   VIREO_MATRIX_ONLY     those whose name contains this text

namespace vireo::test {
namespace {

#ifdef VIREO_TEST_SANITIZED
constexpr const char* kShare = "80"; // each takes eight times as long
#else
constexpr const char* kShare = "600";
#endif

std::string Setting(const char* pName, const char* pDefault)
{
    const char* const pValue = std::getenv(pName);
    return pValue != nullptr && *pValue != '\0' ? pValue : pDefault;
}

const Matrix& TheMatrix()
{
    static const Matrix matrix = MakeMatrix();
    return matrix;
}

/// Ends the program, with the case's name, when the case does not come back: what virtual time cannot see.
class Watchdog {
public:
    /// The name lives as long as the guard.
    static void Guard(const char* pName)
    {
        s_pName = pName;
        std::signal(SIGALRM, Bark);
        std::signal(SIGABRT, Bark);
        alarm(kSeconds);
    }
    static void Release()
    {
        alarm(0);
        std::signal(SIGABRT, SIG_DFL);
    }

private:
    static constexpr unsigned kSeconds = 120;
    static void Bark(int)
    {
        constexpr char kText[] = "matrix: does not come back: ";
        (void)!write(STDERR_FILENO, kText, sizeof kText - 1);
        (void)!write(STDERR_FILENO, s_pName, std::char_traits<char>::length(s_pName));
        (void)!write(STDERR_FILENO, "\n", 1);
        _exit(1);
    }
    static inline const char* s_pName = "";
};

std::vector<std::string> RunGuarded(const MatrixCase& testCase)
{
    try {
        return RunCase(testCase);
    } catch (const std::exception& exception) {
        return { exception.what() };
    }
}

TEST(FaultMatrix, HasARowForEveryCallAndACallForEveryRow)
{
    EXPECT_EQ(TheMatrix().strangers, std::vector<std::string> {});
}

// As many as there are: a change of the program that adds calls, or takes some away, changes these numbers with it. How
// many fetches a waiting camera makes is up to the threads.
TEST(FaultMatrix, HasEachRigsAndEachStatesThousandsOfCases)
{
    std::map<std::string, int> ofRigs, ofStates;
    for (const MatrixCase& testCase : TheMatrix().cases) {
        if (testCase.fault.kind == KindOf(Seam::CreateThread) && testCase.eFile == FileFault::None)
            continue; // a sanitizer's build has none
        ++ofRigs[testCase.scene.pRig->pName];
        ++ofStates[StateName(testCase.scene.eState)];
    }
    const std::map<std::string, int> rigs { { "locked", 4441 }, { "gige", 5272 }, { "mixed", 6889 }, { "free", 3889 },
        { "plain", 1704 }, { "four", 3180 }, { "partner", 1247 } };
    const std::map<std::string, int> states { { "starting", 5841 }, { "live", 3593 }, { "armed", 3221 },
        { "waiting", 3164 }, { "recording", 1788 }, { "playback", 213 }, { "saving", 4628 },
        { "saving elsewhere", 3495 }, { "closing", 679 } };
    const auto compare = [](const std::map<std::string, int>& there, const std::map<std::string, int>& stated) {
        constexpr int kSlack = 40;
        EXPECT_EQ(there.size(), stated.size());
        for (const auto& [strName, iCases] : stated)
            EXPECT_NEAR(there.contains(strName) ? there.at(strName) : 0, iCases, kSlack) << strName;
    };
    compare(ofRigs, rigs);
    compare(ofStates, states);
}

// Found by the matrix, and what only it sees: these run always.
TEST(FaultMatrix, StaysRightWhereItWasWrong)
{
    constexpr const char* kNames[] = {
        "locked, armed: StopCapture of every camera, always, refused",
        "locked, armed: StopCapture of camera 1, call 2 and on, refused",
        "free, saving: WriteRegister of camera 0, call 1, refused",
        "partner, starting: GetCameraInfo of camera 1, call 2, refused",
        "gige, starting: GetGigEStreamChannelInfo of camera 1, call 1, refused",
        "locked, recording: GetCameraInfo of camera 0, call 1, refused",
#ifndef VIREO_TEST_SANITIZED
        "locked, armed: CreateThread of every camera, call 2, fails",
#endif
        "mixed, recording: RetrieveBuffer of camera 2, call 19, unplugged",
    };
    for (const char* const pName : kNames) {
        const auto& cases = TheMatrix().cases;
        const auto found = std::find_if(
            cases.begin(), cases.end(), [&](const MatrixCase& testCase) { return testCase.Name() == pName; });
        ASSERT_NE(found, cases.end()) << pName;
        Watchdog::Guard(pName);
        EXPECT_EQ(RunGuarded(*found), std::vector<std::string> {}) << pName;
        Watchdog::Release();
    }
}

// Rows for the rarest: what a change must not take away unseen.
TEST(FaultMatrix, HasEachWayInEachStateThatKnowsIt)
{
    std::set<std::pair<State, Way>> seen;
    for (const MatrixCase& testCase : TheMatrix().cases)
        seen.emplace(testCase.scene.eState, testCase.fault.eWay);
    for (std::size_t i = 0; i < kStates; ++i)
        for (const Way eWay : { Way::Refused, Way::AnswerLost, Way::TimedOut, Way::Unplugged })
            EXPECT_TRUE(seen.contains({ static_cast<State>(i), eWay }))
                << StateName(static_cast<State>(i)) << ", " << WayName(eWay);
    for (const State eState : { State::Starting, State::Live, State::Armed, State::Recording, State::Saving })
        for (const Way eWay : { Way::Torn, Way::Lost, Way::Late, Way::Hung, Way::FetchTimeout, Way::FetchInconsistent })
            EXPECT_TRUE(seen.contains({ eState, eWay })) << StateName(eState) << ", " << WayName(eWay);
}

TEST(FaultMatrix, ShowsWhatIsStatedAndRecordsAgain)
{
    const std::vector<MatrixCase>& cases = TheMatrix().cases;
    const std::string strCases = Setting("VIREO_MATRIX_CASES", kShare);
    const std::string strOnly = Setting("VIREO_MATRIX_ONLY", "");
    const int iSeconds = std::stoi(Setting("VIREO_MATRIX_SECONDS", "0"));
    std::vector<std::size_t> order(cases.size());
    std::iota(order.begin(), order.end(), std::size_t { 0 });
    std::mt19937_64 random(std::stoull(Setting("VIREO_MATRIX_SEED", "1")));
    for (std::size_t i = order.size(); i > 1; --i) // the same order with every library
        std::swap(order[i - 1], order[random() % i]);
    const bool bAll = strCases == "all" || !strOnly.empty();
    const std::size_t uiMost = bAll ? cases.size() : static_cast<std::size_t>(std::stoull(strCases));

    const auto begin = std::chrono::steady_clock::now();
    const std::clock_t processorTime = std::clock();
    std::size_t uiRan = 0, uiFailed = 0;
    std::set<State> states;
    for (const std::size_t uiCase : order) {
        const std::string strName = cases[uiCase].Name();
        if (strName.find(strOnly) == std::string::npos)
            continue;
        if (uiRan >= uiMost
            || (iSeconds > 0 && std::chrono::steady_clock::now() - begin >= std::chrono::seconds(iSeconds)))
            break;
        Watchdog::Guard(strName.c_str());
        const std::vector<std::string> wrong = RunGuarded(cases[uiCase]);
        Watchdog::Release();
        ++uiRan;
        states.insert(cases[uiCase].scene.eState);
        uiFailed += wrong.empty() ? 0 : 1;
        for (const std::string& strWrong : wrong)
            ADD_FAILURE() << strName << "\n    " << strWrong;
    }
    std::printf("matrix: %zu of %zu cases, %zu call sites, %zu states, failures %zu, processor time %.0f s\n", uiRan,
        cases.size(), TheMatrix().uiSites, states.size(), uiFailed,
        static_cast<double>(std::clock() - processorTime) / CLOCKS_PER_SEC);
}

} // namespace
} // namespace vireo::test
