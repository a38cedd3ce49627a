#include "camera/capture_start.h"
#include "camera/configuration.h"
#include "capture/grab_threads.h"
#include "platform/time/virtual_clock.h"
#include "support/camera_document.h"

#include <gtest/gtest.h>

namespace vireo::test {
namespace {

// With the real grab threads, in virtual time.

using Texts = std::vector<std::string>;

void WritePreset(CameraDocument& bench, const std::string& strEntries)
{
    WriteFile(bench.m_folder / "Tessel.ini", "[CAM_PROPERTY_DATA0]\r\n" + strEntries);
}

TEST(StartCapturing, RunsLockedCamerasLiveUntilTheDocumentCloses)
{
    VirtualClock clock;
    CameraDocument bench("simulated:4xFL3-U3-13Y3M", {}, &clock);
    WritePreset(bench, "FrameRate=400\r\n");
    ASSERT_TRUE(bench.Open());
    clock.SleepMs(80);
    EXPECT_EQ(bench.Doc().m_capture.m_ePhase, CapturePhase::Running);
    for (std::size_t uiCamera = 0; uiCamera < 4; ++uiCamera) {
        EXPECT_GE(bench.Doc().m_grabThreads->Status(uiCamera).m_uiFrames, 25U);
        EXPECT_FALSE(bench.Doc().m_capture.m_bThreadEnded[uiCamera]);
    }
    EXPECT_EQ(bench.Doc().m_capture.m_uiMissedCount, 0U);

    OnCloseDocument(bench.Doc());
    EXPECT_EQ(bench.Doc().m_capture.m_ePhase, CapturePhase::Stopped);
    EXPECT_EQ(bench.m_library.Calls(Operation::Disconnect).size(), 4U);
    EXPECT_EQ(bench.Messages(), Texts {});
}

TEST(StartCapturing, RunsAgainAfterEachStop)
{
    VirtualClock clock;
    for (const char* strSource : { "simulated:2xGS3-PGE-23S6M", "simulated:2xGRAS-03K2" }) {
        CameraDocument bench(strSource, {}, &clock);
        ASSERT_TRUE(bench.Open());
        for (int i = 0; i < 2; ++i) {
            clock.SleepMs(200);
            EXPECT_GT(bench.Doc().m_grabThreads->Status(1).m_uiFrames, 3U);
            EXPECT_TRUE(StopGrab(bench.Doc()));
            EXPECT_TRUE(ConfigureCameras(bench.Doc()));
        }
        EXPECT_EQ(bench.Messages(), Texts {});
    }
}

TEST(StartCapturing, HasFourOfFiveFreeRunningCamerasCapturingWhenItComplains)
{
    VirtualClock clock;
    CameraDocument bench("simulated:5xGRAS-03K2", {}, &clock);
    std::vector<bool> running;
    bench.m_test.m_window.OnMessage([&](const OperatorMessage&) {
        for (std::size_t uiCamera = 0; uiCamera < 5; ++uiCamera)
            running.push_back(!bench.Doc().m_capture.m_bThreadEnded[uiCamera]);
    });
    EXPECT_TRUE(bench.Open()); // the exit command follows
    EXPECT_EQ(bench.Messages(), Texts { "Camera MAX Over 5\n" });
    EXPECT_EQ(running, (std::vector<bool> { true, true, true, true, false }));
    EXPECT_EQ(bench.m_test.m_window.Record().commands, std::vector<int> { command::kExit });
    EXPECT_FALSE(bench.Doc().m_capture.m_bKeyWaitRun); // no monitor
    OnCloseDocument(bench.Doc());
    EXPECT_EQ(bench.m_library.Calls(Operation::Disconnect).size(), 5U);
}

TEST(StartCapturing, EndsTheThreadsWhenTheExposureCannotBeCorrected)
{
    VirtualClock clock;
    CameraDocument bench("simulated:2xFL3-U3-13Y3M", {}, &clock);
    bench.m_library.Fail({ .eOperation = Operation::GetStrobe, .iCall = 2 });
    EXPECT_TRUE(bench.Open());
    EXPECT_EQ(bench.Messages(), Texts { "startGrabRecord()->GetStrobe() (20) 5931\n" });
    EXPECT_FALSE(bench.Doc().m_capture.m_bCapturing);
    EXPECT_TRUE(bench.Doc().m_capture.m_bThreadEnded[0]);
    EXPECT_TRUE(bench.Doc().m_capture.m_bThreadEnded[1]);
    EXPECT_TRUE(ConfigureCameras(bench.Doc()));
}

} // namespace
} // namespace vireo::test
