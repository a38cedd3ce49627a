#include "camera/capture_start.h"
#include "configuration_bench.h"

#include <gtest/gtest.h>

// How the cameras are started and put back, call by call, without threads.

namespace vireo::test {
namespace {

std::vector<int> StartOrder(const Bench& bench)
{
    // The first start of each camera only empties its queue.
    const auto calls = bench.m_library.Calls(Operation::StartCapture);
    std::vector<int> order;
    for (std::size_t i = calls.size() / 2; i < calls.size(); ++i)
        order.push_back(calls[i].iCamera);
    return order;
}

TEST(ConfigureCameras, StartsTheStrobesGiverLast)
{
    Bench bench("simulated:4xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Configure());
    EXPECT_EQ(StartOrder(bench), (std::vector<int> { 3, 2, 1, 0 }));
    EXPECT_EQ(GrabThreadsAsked().starts, std::vector<ThreadStartOrder> { ThreadStartOrder::HighestFirst });
    EXPECT_EQ(bench.Doc().m_capture.m_iCaptureMode, capture_mode::kRing);
    EXPECT_EQ(bench.m_test.m_window.Record().settleMs, (std::vector<int> { 20, 100 }));
    EXPECT_FALSE(bench.Doc().m_store.m_bStartRequest);
    EXPECT_TRUE(bench.m_library.Calls(Operation::StartSyncCapture).empty());
}

TEST(ConfigureCameras, StartsUpwardsAndRecordsTheFirstTriggeredFrameOfATriggerWait)
{
    Bench bench("simulated:4xFL3-U3-13Y3M");
    bench.Doc().m_capture.m_bTriggerWaitRing = true;
    ASSERT_TRUE(bench.Configure());
    EXPECT_EQ(StartOrder(bench), (std::vector<int> { 0, 1, 2, 3 }));
    EXPECT_EQ(GrabThreadsAsked().starts, std::vector<ThreadStartOrder> { ThreadStartOrder::HighestFirst });
    EXPECT_EQ(GrabThreadsAsked().startRequests, std::vector<bool> { true });
    EXPECT_TRUE(GrabThreadsAsked().snapshots[0].bTriggerWaitRing);
}

TEST(ConfigureCameras, StartsCamerasTogetherThatCannotBeLocked)
{
    Bench bench("simulated:2xGRAS-03K2+GS3-PGE-23S6M", 60);
    ASSERT_TRUE(bench.Configure());
    EXPECT_EQ(bench.m_library.Arguments(Operation::StartSyncCapture), Texts { "3" });
    EXPECT_TRUE(bench.m_library.Calls(Operation::StartCapture).empty());
    EXPECT_EQ(GrabThreadsAsked().starts, std::vector<ThreadStartOrder> { ThreadStartOrder::LowestFirst });
    EXPECT_EQ(bench.Doc().m_capture.m_iCaptureMode, capture_mode::kLinear);
    EXPECT_EQ(bench.m_test.m_window.Record().settleMs, std::vector<int> { 20 });
}

TEST(ConfigureCameras, BeginsARecordingByItselfWhenThePartnersSwitchesSaySo)
{
    const struct {
        int iSwitches;
        bool bStarts;
    } kRows[] = { { 0, false }, { 10, true }, { 20, true }, { 110, true }, { 11, false }, { 1, false }, { 100, false },
        { -10, false } };
    for (const auto& row : kRows) {
        CooperationRequest request;
        request.CooperationMode = true;
        request.CoopSwitches = row.iSwitches;
        Bench bench("simulated:2xFL3-U3-13Y3M", 30, 0, request);
        ASSERT_TRUE(bench.Configure());
        EXPECT_EQ(GrabThreadsAsked().startRequests, std::vector<bool> { row.bStarts }) << row.iSwitches;
    }
}

TEST(ConfigureCameras, LeavesAFreeRunToTheOperatorWhateverTheSwitchesSay)
{
    CooperationRequest request;
    request.CooperationMode = true;
    request.CoopSwitches = 10;
    Bench bench("simulated:2xGRAS-03K2", 30, 0, request);
    ASSERT_TRUE(bench.Configure());
    EXPECT_EQ(GrabThreadsAsked().startRequests, std::vector<bool> { false });
}

TEST(ConfigureCameras, StopsFiveLockedCamerasAgainThatItHasNoThreadsFor)
{
    Bench bench("simulated:5xFL3-U3-13Y3M");
    EXPECT_FALSE(bench.Configure());
    EXPECT_EQ(bench.Messages(), Texts { "Camera MAX Over 5\n" });
    EXPECT_TRUE(GrabThreadsAsked().starts.empty());
    EXPECT_FALSE(bench.Doc().m_capture.m_bCapturing);
    for (std::size_t uiCamera = 0; uiCamera < 5; ++uiCamera) {
        CameraBase& camera = CameraOf(bench.Doc(), uiCamera);
        TriggerMode trigger;
        ASSERT_TRUE(camera.GetTriggerMode(trigger).IsOk());
        EXPECT_FALSE(trigger.onOff);
        EXPECT_EQ(camera.StopCapture().GetType(), ErrorType::NotStarted);
        EXPECT_FALSE(bench.Doc().m_capture.m_bGrabRun[uiCamera]);
    }
}

TEST(ConfigureCameras, LeavesFourOfFiveFreeRunningCamerasCapturing)
{
    Bench bench("simulated:5xGRAS-03K2");
    EXPECT_FALSE(bench.Configure());
    EXPECT_EQ(bench.Messages(), Texts { "Camera MAX Over 5\n" });
    EXPECT_EQ(GrabThreadsAsked().starts, std::vector<ThreadStartOrder> { ThreadStartOrder::LowestFirst });
    EXPECT_TRUE(bench.Doc().m_capture.m_bCapturing);
    EXPECT_EQ(bench.m_library.Arguments(Operation::StartSyncCapture), Texts { "5" });
}

TEST(ConfigureCameras, RefusesElevenCamerasInThePreparation)
{
    Bench bench("simulated:11xFL3-U3-13Y3M");
    EXPECT_FALSE(bench.Configure());
    EXPECT_EQ(bench.Messages(), Texts { "SynchroStrobePre()->m_uiNumCameras(11 > 10)\n" });
    EXPECT_FALSE(bench.Doc().m_capture.m_bCapturing);
    EXPECT_TRUE(GrabThreadsAsked().starts.empty());
}

TEST(ConfigureCameras, KeepsTheExposureHalfAMillisecondShorterThanThePeriodWhenLocked)
{
    Bench locked("simulated:2xFL3-U3-13Y3M", 400);
    locked.Parameters().m_iShutter = -1; // 2.5 ms
    ASSERT_TRUE(locked.Configure());
    for (const int iCamera : { 0, 1 })
        EXPECT_EQ(SetsOf(locked, PropertyType::Shutter, iCamera).back(), "manual 2");

    Bench free("simulated:2xGRAS-03K2", 200);
    free.Parameters().m_iShutter = -1;
    ASSERT_TRUE(free.Configure());
    EXPECT_EQ(SetsOf(free, PropertyType::Shutter).back(), "manual 5");
}

TEST(ConfigureCameras, CorrectsTheExposureOfCameraZeroAfterTheThreadsHaveStarted)
{
    Bench bench("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Configure());
    EXPECT_EQ(bench.m_library.Calls(Operation::GetStrobe, 0).size(), 2U); // preparation, correction
    CooperationRequest request;
    request.CooperationMode = true;
    request.CoopFlag = 1;
    Bench imposed("simulated:2xFL3-U3-13Y3M", 30, 0, request);
    imposed.Parameters().m_bCooperation = true;
    ASSERT_TRUE(imposed.Configure());
    EXPECT_EQ(imposed.m_library.Calls(Operation::GetStrobe, 0).size(), 1U);
}

TEST(ConfigureCameras, StopsTheThreadsWhenTheCorrectionFails)
{
    Bench bench("simulated:2xFL3-U3-13Y3M");
    bench.m_library.Fail({ .eOperation = Operation::GetStrobe, .iCall = 2 });
    EXPECT_FALSE(bench.Configure());
    EXPECT_EQ(bench.Messages(), Texts { "startGrabRecord()->GetStrobe() (20) 5931\n" });
    EXPECT_EQ(GrabThreadsAsked().iStops, 1);
    EXPECT_FALSE(bench.Doc().m_capture.m_bCapturing);
}

TEST(ConfigureCameras, PutsEveryCameraBackWhenOneCannotStart)
{
    Bench bench("simulated:3xFL3-U3-13Y3M");
    bench.m_library.Fail({ .eOperation = Operation::StartCapture, .iCall = 2, .iCamera = 1 }); // after 2, before 0
    EXPECT_FALSE(bench.Configure());
    EXPECT_EQ(bench.Messages(), Texts { "startGrabRecord()->StartCapture() (20) 5874\n" });
    EXPECT_FALSE(bench.Doc().m_capture.m_bCapturing);
    EXPECT_FALSE(bench.Doc().m_capture.m_bKeyWaitRun);
    // All are cancelled before the first is stopped: dead ones would be waited for one after the other.
    const auto cancels = bench.m_library.Cancels();
    ASSERT_EQ(cancels.size(), 3U);
    const std::vector<LibraryCall> calls = bench.m_library.Calls();
    for (std::size_t uiCamera = 0; uiCamera < 3; ++uiCamera) {
        EXPECT_EQ(cancels[uiCamera].first, static_cast<int>(uiCamera));
        EXPECT_TRUE(calls.at(cancels[uiCamera].second).eOperation == Operation::StopCapture);
        EXPECT_EQ(calls[cancels[uiCamera].second].iCamera, 0);
    }
    StrobeControl strobe;
    strobe.source = 2;
    ASSERT_TRUE(CameraOf(bench.Doc(), 0).GetStrobe(strobe).IsOk());
    EXPECT_FALSE(strobe.onOff);
    for (std::size_t uiCamera = 0; uiCamera < 3; ++uiCamera) {
        TriggerMode trigger;
        ASSERT_TRUE(CameraOf(bench.Doc(), uiCamera).GetTriggerMode(trigger).IsOk());
        EXPECT_FALSE(trigger.onOff);
        EXPECT_EQ(CameraOf(bench.Doc(), uiCamera).StopCapture().GetType(), ErrorType::NotStarted);
    }
    EXPECT_TRUE(bench.Configure()); // and the next start works
}

TEST(ConfigureCameras, SetsTheTriggerLevelBeforeTheCamerasStart)
{
    for (const bool bLevel : { false, true }) {
        Bench bench("simulated:2xFL3-U3-13Y3M");
        bench.Parameters().TriggerLowHigh = bLevel;
        bench.m_library.Answers().registers[0x11F0] = 0x90000000;
        ASSERT_TRUE(bench.Configure());
        EXPECT_EQ(WritesTo(bench, 0x11F0), Texts { bLevel ? "0x0000" : "0x90000000" });
    }
}

} // namespace
} // namespace vireo::test
