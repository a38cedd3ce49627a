#include "camera/configuration.h"
#include "capture/grab_threads.h"
#include "platform/time/virtual_clock.h"
#include "support/camera_document.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <utility>

namespace vireo::test {
namespace {

// The library calls of a running capture, made by its own threads, and each of them failing once.

using CallSite = std::pair<Operation, int>; ///< and the camera

struct LiveScenario {
    const char* pName;
    const char* pCameras;
    int iMode;
    bool bTriggerWait;
    std::set<CallSite> sites; ///< every call while frames flow
};

const LiveScenario kScenarios[] = {
    { "locked", "simulated:2xFL3-U3-13Y3M", capture_mode::kRing, false,
        { { Operation::GetCameraInfo, 0 }, { Operation::RetrieveBuffer, 0 }, { Operation::RetrieveBuffer, 1 } } },
    { "free", "simulated:2xGRAS-03K2", capture_mode::kLinear, false,
        { { Operation::GetCameraInfo, 0 }, { Operation::RetrieveBuffer, 0 }, { Operation::RetrieveBuffer, 1 } } },
    { "free, waiting for the trigger", "simulated:2xGRAS-03K2", capture_mode::kLinear, true,
        { { Operation::GetCameraInfo, 0 }, { Operation::ReadRegister, 0 }, { Operation::RetrieveBuffer, 0 },
            { Operation::RetrieveBuffer, 1 } } },
};

/// What the operator reads when a fetch fails with type 20; the index that may follow is left out.
const char* FetchMessage(const LiveScenario& scenario, int iCamera)
{
    if (scenario.iMode == capture_mode::kRing)
        return iCamera == 0 ? "カメラ１のデータ取得に失敗しました(20)" : "カメラ２のデータ取得に失敗しました(20) (";
    if (iCamera == 1)
        return "[1]->RetrieveBuffer()に失敗(20)";
    return scenario.bTriggerWait ? "[0]->RetrieveBuffer()に失敗2(20)" : "[0]->RetrieveBuffer()に失敗1(20)";
}

class LiveBench {
public:
    explicit LiveBench(const LiveScenario& scenario)
        : m_bench(scenario.pCameras, {}, &m_clock)
    {
        EXPECT_TRUE(m_bench.Open());
        StopGrab(Doc());
        Doc().m_capture.m_iCaptureMode = scenario.iMode;
        Doc().m_capture.m_bTriggerWaitLinear = scenario.bTriggerWait;
        m_bench.Forget();
    }
    CVireoDoc& Doc() { return m_bench.Doc(); }
    /// Runs the cameras and their threads, nothing else; until frames have flown for a while or it has failed.
    void Run()
    {
        for (std::size_t c = 0; c < 2; ++c)
            EXPECT_TRUE(m_bench.m_doc->m_cameras.m_ppCameraBase[c]->StartCapture().IsOk());
        m_bench.m_library.Clear();
        StartGrabThreads(Doc(), ThreadStartOrder::HighestFirst);
        for (int i = 0; i < 600 && Doc().m_capture.m_bCapturing; ++i)
            m_clock.SleepMs(1);
        m_calls = m_bench.m_library.Calls();
        m_bRan = Doc().m_capture.m_bCapturing;
    }

    VirtualClock m_clock;
    CameraDocument m_bench;
    std::vector<LibraryCall> m_calls; ///< while frames flowed
    bool m_bRan = false; ///< to the end, without a failure
};

TEST(LiveFaults, TheTableIsWhole)
{
    for (const LiveScenario& scenario : kScenarios) {
        SCOPED_TRACE(scenario.pName);
        LiveBench live(scenario);
        live.Run();
        EXPECT_TRUE(live.m_bRan);
        std::set<CallSite> seen;
        for (const LibraryCall& call : live.m_calls)
            seen.emplace(call.eOperation, call.iCamera);
        EXPECT_EQ(seen, scenario.sites);
        StopGrab(live.Doc());
    }
}

TEST(LiveFaults, EachShowsItsMessageOnceAndLeavesTheProgramReady)
{
    for (const LiveScenario& scenario : kScenarios)
        for (const auto& [eOperation, iCamera] : scenario.sites) {
            SCOPED_TRACE(
                testing::Message() << scenario.pName << ": " << OperationName(eOperation) << " of " << iCamera);
            const bool bFetch = eOperation == Operation::RetrieveBuffer;
            LiveBench live(scenario);
            live.m_bench.m_library.Fail({ .eOperation = eOperation, .iCall = bFetch ? 5 : 1, .iCamera = iCamera });
            live.Run();
            const bool bReached = std::any_of(live.m_calls.begin(), live.m_calls.end(),
                [](const LibraryCall& call) { return call.eResult == ErrorType::TransportFailed; });
            EXPECT_TRUE(bReached);
            EXPECT_EQ(live.m_bRan, !bFetch) << "only a camera without frames ends the capture";
            StopGrab(live.Doc());
            const std::vector<std::string> messages = live.m_bench.Messages();
            ASSERT_EQ(messages.size(), bFetch ? 1U : 0U);
            if (bFetch) {
                EXPECT_TRUE(messages[0].starts_with(FetchMessage(scenario, iCamera))) << messages[0];
            }

            live.m_bench.Forget();
            live.Doc().m_capture.m_bTriggerWaitLinear = false;
            EXPECT_TRUE(ConfigureCameras(live.Doc()));
            EXPECT_TRUE(live.Doc().m_capture.m_bCapturing);
            EXPECT_TRUE(live.m_bench.Messages().empty());
        }
}

} // namespace
} // namespace vireo::test
