#include "capture/camera_properties.h"
#include "capture/strobe.h"
#include "support/camera_document.h"

#include <gtest/gtest.h>

namespace vireo::test {
namespace {

using Texts = std::vector<std::string>;

// ---- Level, direction, input

TEST(VoltageLevelLowHigh, ClearsBothLevelBitsForOneAndSetsThemOtherwise)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    const struct {
        std::uint32_t uiBefore;
        int iLevel;
        const char* strWritten;
    } kRows[] = {
        { 0x90000001, 1, "0x11F0=0x0001" },
        { 0xFFFFFFFF, 1, "0x11F0=0x6FFFFFFF" },
        { 0x00000001, 0, "0x11F0=0x90000001" },
        { 0x80000000, 0, "0x11F0=0x90000000" },
    };
    for (const auto& row : kRows) {
        bench.Forget();
        bench.m_library.Answers().registers[0x11F0] = row.uiBefore;
        EXPECT_TRUE(VoltageLevelLowHigh(bench.Doc(), row.iLevel));
        EXPECT_EQ(bench.m_library.Arguments(Operation::WriteRegister, 0), Texts { row.strWritten });
        EXPECT_TRUE(bench.m_library.Arguments(Operation::WriteRegister, 1).empty());
    }
}

TEST(VoltageLevelLowHigh, WritesARegisterThatCannotBeRead)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    bench.Forget();
    bench.m_library.Fail({ .eOperation = Operation::ReadRegister });
    EXPECT_TRUE(VoltageLevelLowHigh(bench.Doc(), 0));
    EXPECT_EQ(bench.m_library.Arguments(Operation::WriteRegister), Texts { "0x11F0=0x90000000" });
    EXPECT_TRUE(bench.Messages().empty());
}

TEST(VoltageLevelLowHigh, ReportsACameraThatIsNotThere)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M");
    EXPECT_FALSE(VoltageLevelLowHigh(bench.Doc(), 1));
    EXPECT_EQ(bench.Messages(), Texts { "VoltageLevelLowHigh()->WriteRegister() (1) 5433\n" });
}

TEST(GpioControl, SetsTheDirectionOfMasterOrSlaveAndThenTheLevel)
{
    CameraDocument bench("simulated:2xGRAS-03K2");
    ASSERT_TRUE(bench.Connect());
    bench.m_library.Answers().registers = { { 0x11F8, 0xF0000003 }, { 0x11F0, 0xF0000005 } };
    const struct {
        bool bMaster, bLevel;
        const char *strDirection, *strLevel;
    } kRows[] = {
        { true, true, "0x11F8=0xE0000003", "0x11F0=0x60000005" },
        { false, true, "0x11F8=0x70000003", "0x11F0=0x60000005" },
        { true, false, "0x11F8=0xE0000003", "0x11F0=0xF0000005" },
    };
    for (const auto& row : kRows) {
        bench.Forget();
        bench.Parameters().IsMaster = row.bMaster;
        bench.Parameters().TriggerLowHigh = row.bLevel;
        EXPECT_TRUE(GpioControl(bench.Doc(), 1));
        EXPECT_EQ(bench.m_library.Arguments(Operation::WriteRegister, 1), Texts { row.strDirection });
        EXPECT_EQ(bench.m_library.Arguments(Operation::WriteRegister, 0), Texts { row.strLevel });
    }
}

TEST(TriggerInputLevel, LooksAtADigitCountedFromTheHighestSetBit)
{
    const struct {
        std::uint32_t uiRegister;
        int iMaster, iSlave;
    } kRows[] = {
        { 0xA0000000, 1, 1 }, // 1010...
        { 0x90000000, 0, 1 }, // 1001...
        { 0xC0000000, 1, 0 }, // 1100...
        { 0xF0000000, 0, 0 },
        { 0x80000000, 1, 1 },
        { 0x48000000, 0, 1 }, // bit 31 does not read as 1: every digit is another one
        { 0x00000009, 0, 1 }, // "1001", the shortest text that has the master's digit
        { 0x00000007, 1, 0 }, // "111" ends before it
        { 0x00000001, 1, 1 },
        { 0x00000000, 1, 1 },
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(Hex(row.uiRegister));
        EXPECT_EQ(TriggerInputLevel(row.uiRegister, true), row.iMaster);
        EXPECT_EQ(TriggerInputLevel(row.uiRegister, false), row.iSlave);
    }
}

TEST(ReadTriggerInput, ReadsCameraZeroAsTheRunningCaptureWasStarted)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    bench.Forget();
    bench.m_library.Answers().registers[0x11F4] = 0x90000000;
    bench.Parameters().IsMaster = false; // what a dialog changes meanwhile does not count
    EXPECT_EQ(ReadTriggerInput(bench.Doc()), 0);
    bench.Doc().m_capture.m_running.bMaster = false;
    EXPECT_EQ(ReadTriggerInput(bench.Doc()), 1);
    EXPECT_EQ(bench.m_library.Arguments(Operation::ReadRegister, 0), (Texts { "0x11F4", "0x11F4" }));
    EXPECT_EQ(bench.m_library.Calls().size(), 2U);
}

TEST(ReadTriggerInput, TakesACameraThatDoesNotAnswerForNoTrigger)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    bench.m_library.Fail({ .eOperation = Operation::ReadRegister, .iCalls = kEveryCall });
    for (const bool bLevel : { false, true }) {
        bench.Doc().m_capture.m_running.bLowHigh = bLevel;
        EXPECT_EQ(ReadTriggerInput(bench.Doc()), bLevel ? 1 : 0);
    }
}

// ---- Emptying the queues

TEST(ClearStrobeCameraBuffer, GivesEachCameraItsGrabTimeout)
{
    for (const bool bTriggerWait : { false, true }) {
        CameraDocument bench("simulated:3xFL3-U3-13Y3M");
        ASSERT_TRUE(bench.Connect());
        bench.Forget();
        bench.Doc().m_capture.m_bTriggerWaitRing = bTriggerWait;
        EXPECT_TRUE(ClearStrobeCameraBuffer(bench.Doc()));
        const std::string strMaster = bTriggerWait ? "100" : "2000";
        EXPECT_EQ(bench.m_library.Arguments(Operation::SetConfiguration, 0),
            (Texts { "grab mode 1 time-out 0 buffers 256", "grab mode 1 time-out " + strMaster + " buffers 256" }));
        for (const int iSlave : { 1, 2 })
            EXPECT_EQ(bench.m_library.Arguments(Operation::SetConfiguration, iSlave),
                (Texts { "grab mode 1 time-out 0 buffers 256", "grab mode 1 time-out -1 buffers 256" }));
    }
}

TEST(ClearStrobeCameraBuffer, RunsAndDrainsEachCameraInSlotOrder)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    bench.Forget();
    EXPECT_TRUE(ClearStrobeCameraBuffer(bench.Doc()));
    std::vector<std::pair<Operation, int>> order;
    for (const LibraryCall& call : bench.m_library.Calls())
        order.emplace_back(call.eOperation, call.iCamera);
    std::vector<std::pair<Operation, int>> expected { { Operation::GetCameraInfo, 0 },
        { Operation::GetCameraInfo, 1 } };
    for (const int iCamera : { 0, 1 })
        for (const Operation eOperation :
            { Operation::GetConfiguration, Operation::SetConfiguration, Operation::StartCapture,
                Operation::RetrieveBuffer, Operation::StopCapture, Operation::SetConfiguration })
            expected.emplace_back(eOperation, iCamera);
    EXPECT_EQ(order, expected);
}

TEST(ClearStrobeCameraBuffer, LeavesASetAloneThatCannotBeLocked)
{
    for (const char* strSource : { "simulated:FL3-U3-13Y3M+GRAS-03K2", "simulated:2xGRAS-03K2" }) {
        CameraDocument bench(strSource);
        ASSERT_TRUE(bench.Connect());
        bench.Forget();
        EXPECT_TRUE(ClearStrobeCameraBuffer(bench.Doc()));
        EXPECT_EQ(bench.m_library.Calls().size(), 2U); // the two identities
    }
}

TEST(ClearStrobeCameraBuffer, IgnoresAnInconsistentFrameWhileDraining)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    bench.m_library.Fail(
        { .eOperation = Operation::RetrieveBuffer, .eType = ErrorType::InconsistentFrame, .iCalls = 3 });
    EXPECT_TRUE(ClearStrobeCameraBuffer(bench.Doc()));
    EXPECT_EQ(bench.m_library.Calls(Operation::RetrieveBuffer).size(), 4U);
    EXPECT_TRUE(bench.Messages().empty());
}

TEST(ClearStrobeCameraBuffer, GivesUpDrainingAfterHalfASecondForAllCamerasTogether)
{
    CameraDocument bench("simulated:4xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    bench.m_library.Fail(
        { .eOperation = Operation::RetrieveBuffer, .eType = ErrorType::InconsistentFrame, .iCalls = kEveryCall });
    const ClockTime before = bench.m_clock.Now();
    EXPECT_TRUE(ClearStrobeCameraBuffer(bench.Doc()));
    EXPECT_EQ(bench.m_clock.Now() - before, 500 * kNsPerMs);
    EXPECT_EQ(bench.m_library.Calls(Operation::RetrieveBuffer, 3).size(), 1U);
    EXPECT_TRUE(bench.Messages().empty());
}

TEST(ClearStrobeCameraBuffer, StopsTheCameraAndRestoresItsTimeoutWhenDrainingFails)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    bench.Forget();
    bench.m_library.Fail({ .eOperation = Operation::RetrieveBuffer, .iCamera = 1 });
    EXPECT_FALSE(ClearStrobeCameraBuffer(bench.Doc()));
    EXPECT_EQ(bench.Messages(), Texts { "ClearStrobeCameraBuffer(2)->RetrieveBuffer()に失敗(20)\n" });
    EXPECT_EQ(bench.m_library.Calls(Operation::StopCapture, 1).size(), 1U);
    EXPECT_EQ(bench.m_library.Arguments(Operation::SetConfiguration, 1).back(), "grab mode 1 time-out -1 buffers 256");
    EXPECT_TRUE(CameraOf(bench.Doc(), 1).StartCapture().IsOk()); // it was not left capturing
}

TEST(ClearStrobeCameraBuffer, ReportsAFailedWriteBackBesideTheFailureBeforeIt)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    bench.m_library.Fail({ .eOperation = Operation::SetConfiguration, .iCalls = 2 });
    EXPECT_FALSE(ClearStrobeCameraBuffer(bench.Doc()));
    const std::string strText = "ClearStrobeCameraBuffer(1)->ｶﾒﾗ情報の設定に失敗しました。(20)\n";
    EXPECT_EQ(bench.Messages(), (Texts { strText, strText }));
}

// ---- Arming

TEST(SynchroStrobePre, RefusesElevenCameras)
{
    CameraDocument bench("simulated:11xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    bench.Forget();
    int hwSync = 7;
    EXPECT_EQ(SynchroStrobePre(bench.Doc(), hwSync), StrobePreparation::Failed);
    EXPECT_EQ(hwSync, 0);
    EXPECT_EQ(bench.Messages(), Texts { "SynchroStrobePre()->m_uiNumCameras(11 > 10)\n" });
    EXPECT_TRUE(bench.m_library.Calls().empty());
}

TEST(SynchroStrobePre, ArmsTenCameras)
{
    CameraDocument bench("simulated:10xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    int hwSync = 0;
    EXPECT_EQ(SynchroStrobePre(bench.Doc(), hwSync), StrobePreparation::Synchronised);
}

TEST(SynchroStrobePre, TellsAMixedSetSilentlyFromAFailure)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M+GRAS-03K2");
    ASSERT_TRUE(bench.Connect());
    bench.Forget();
    int hwSync = 7;
    EXPECT_EQ(SynchroStrobePre(bench.Doc(), hwSync), StrobePreparation::NotSupported);
    EXPECT_EQ(hwSync, 0);
    EXPECT_TRUE(bench.Messages().empty());
    EXPECT_EQ(bench.m_library.Calls().size(), 2U); // the two identities, nothing set
}

TEST(SynchroStrobePre, SwitchesTheStrobeOnAndLeavesTheMasterRunningFree)
{
    CameraDocument bench("simulated:3xGS3-U3-23S6M");
    ASSERT_TRUE(bench.Connect());
    bench.Forget();
    bench.m_library.Answers().registers[0x11F8] = 0x60000001;
    int hwSync = 0;
    EXPECT_EQ(SynchroStrobePre(bench.Doc(), hwSync), StrobePreparation::Synchronised);
    EXPECT_EQ(hwSync, 1);
    EXPECT_EQ(bench.m_library.Arguments(Operation::SetTriggerMode, 0),
        Texts { "off polarity 0 source 4 mode 0 parameter 0" });
    EXPECT_EQ(bench.m_library.Arguments(Operation::WriteRegister, 0), Texts { "0x11F8=0x20000001" });
    EXPECT_EQ(bench.m_library.Arguments(Operation::SetStrobe, 0), Texts { "on source 2" });
    for (const int iSlave : { 1, 2 }) {
        EXPECT_EQ(bench.m_library.Arguments(Operation::WriteRegister, iSlave), Texts { "0x11F8=0x40000001" });
        EXPECT_EQ(bench.m_library.Arguments(Operation::SetTriggerMode, iSlave),
            Texts { "on polarity 0 source 2 mode 14 parameter 0" });
        EXPECT_TRUE(bench.m_library.Calls(Operation::SetStrobe, iSlave).empty());
    }
    TriggerMode master;
    ASSERT_TRUE(CameraOf(bench.Doc(), 0).GetTriggerMode(master).IsOk());
    EXPECT_FALSE(master.onOff);
}

TEST(SynchroStrobePre, TriggersEveryCameraOfATriggerWaitOnTheRisingEdge)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    bench.Forget();
    bench.Doc().m_capture.m_bTriggerWaitRing = true;
    bench.m_library.Answers().registers[0x11F8] = 0xFFFFFFFF;
    bench.m_library.Answers().strobePresent = false; // not asked for
    int hwSync = 0;
    EXPECT_EQ(SynchroStrobePre(bench.Doc(), hwSync), StrobePreparation::Synchronised);
    EXPECT_EQ(hwSync, 1);
    for (const int iCamera : { 0, 1 }) {
        EXPECT_EQ(bench.m_library.Arguments(Operation::WriteRegister, iCamera), Texts { "0x11F8=0xDFFFFFFF" });
        EXPECT_EQ(bench.m_library.Arguments(Operation::SetTriggerMode, iCamera),
            Texts { "on polarity 1 source 2 mode 14 parameter 0" });
    }
    EXPECT_TRUE(bench.m_library.Calls(Operation::GetStrobeInfo).empty());
    EXPECT_TRUE(bench.m_library.Calls(Operation::SetStrobe).empty());
}

TEST(SynchroStrobePre, SwitchesATriggerOffForAMillisecondBeforeItIsOnAgain)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    TriggerMode trigger;
    ASSERT_TRUE(CameraOf(bench.Doc(), 1).GetTriggerMode(trigger).IsOk());
    trigger.onOff = true;
    trigger.source = 2;
    ASSERT_TRUE(CameraOf(bench.Doc(), 1).SetTriggerMode(trigger).IsOk());
    bench.Forget();
    const ClockTime before = bench.m_clock.Now();
    int hwSync = 0;
    EXPECT_EQ(SynchroStrobePre(bench.Doc(), hwSync), StrobePreparation::Synchronised);
    EXPECT_EQ(bench.m_library.Arguments(Operation::SetTriggerMode, 1),
        (Texts { "off polarity 0 source 2 mode 0 parameter 0", "on polarity 0 source 2 mode 14 parameter 0" }));
    EXPECT_EQ(bench.m_clock.Now() - before, 1 * kNsPerMs);
}

TEST(SynchroStrobePre, GivesUpWhenCameraZeroHasNoStrobe)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    bench.Forget();
    bench.m_library.Answers().strobePresent = false;
    int hwSync = 7;
    EXPECT_EQ(SynchroStrobePre(bench.Doc(), hwSync), StrobePreparation::Failed);
    EXPECT_EQ(hwSync, 0);
    EXPECT_EQ(bench.Messages(), Texts { "Camera does not support strobe!\n" });
}

TEST(ExposureLimitMs, LeavesHalfAMillisecondOfThePeriod)
{
    EXPECT_EQ(ExposureLimitMs(400.0F), 2.0F);
    EXPECT_EQ(ExposureLimitMs(100.0F), 9.5F);
    EXPECT_EQ(ExposureLimitMs(2000.0F), std::nullopt); // exactly half a millisecond
    EXPECT_EQ(ExposureLimitMs(0.0F), std::nullopt);
    EXPECT_EQ(ExposureLimitMs(-1.0F), std::nullopt);
}

TEST(SynchroStrobePre, CutsAShutterThatDoesNotFitThePeriodAndNoOther)
{
    const struct {
        float fFps, fShutterMs, fExpectedMs;
    } kRows[] = {
        { 400.0F, 3.0F, 2.0F },
        { 400.0F, 2.0F, 2.0F },
        { 400.0F, 1.5F, 1.5F },
        { 30.0F, 10.0F, 10.0F },
    };
    for (const auto& row : kRows) {
        CameraDocument bench("simulated:2xFL3-U3-13Y3M");
        ASSERT_TRUE(bench.Connect());
        for (std::size_t uiCamera = 0; uiCamera < 2; ++uiCamera) {
            CameraBase& camera = CameraOf(bench.Doc(), uiCamera);
            ASSERT_TRUE(SwitchProperty(bench.Doc(), camera, PropertyType::FrameRate, false));
            ASSERT_TRUE(SetAbsoluteValue(bench.Doc(), camera, PropertyType::FrameRate, 30.0F));
            ASSERT_TRUE(SwitchProperty(bench.Doc(), camera, PropertyType::Shutter, false));
            ASSERT_TRUE(SetAbsoluteValue(bench.Doc(), camera, PropertyType::Shutter, row.fShutterMs));
        }
        bench.Forget();
        bench.m_library.Answers().frameRate = row.fFps; // the camera itself would shorten the shutter
        int hwSync = 0;
        ASSERT_EQ(SynchroStrobePre(bench.Doc(), hwSync), StrobePreparation::Synchronised);
        Property shutter;
        for (std::size_t uiCamera = 0; uiCamera < 2; ++uiCamera) {
            ASSERT_TRUE(ReadProperty(bench.Doc(), CameraOf(bench.Doc(), uiCamera), PropertyType::Shutter, shutter));
            EXPECT_FLOAT_EQ(shutter.absValue, row.fExpectedMs) << row.fFps << " fps, " << row.fShutterMs << " ms";
        }
        EXPECT_EQ(bench.m_library.Calls(Operation::SetProperty).size(), row.fShutterMs > row.fExpectedMs ? 2U : 0U);
    }
}

TEST(LimitExposure, AsksForNoLimitWithoutAFrameRate)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    bench.Forget();
    bench.m_library.Answers().frameRate = 0.0F;
    EXPECT_TRUE(LimitExposure(bench.Doc(), CameraOf(bench.Doc(), 0)));
    EXPECT_TRUE(bench.m_library.Calls(Operation::SetProperty).empty());
}

// ---- Putting back

TEST(SynchroStrobePost, SwitchesStrobeAndTriggersOff)
{
    CameraDocument bench("simulated:3xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    int hwSync = 0;
    ASSERT_EQ(SynchroStrobePre(bench.Doc(), hwSync), StrobePreparation::Synchronised);
    bench.Forget();
    EXPECT_TRUE(SynchroStrobePost(bench.Doc()));
    EXPECT_EQ(bench.m_library.Arguments(Operation::SetStrobe), Texts { "off source 2" });
    EXPECT_EQ(bench.m_library.Calls(Operation::SetStrobe, 0).size(), 1U);
    for (std::size_t uiCamera = 0; uiCamera < 3; ++uiCamera) {
        TriggerMode trigger;
        ASSERT_TRUE(CameraOf(bench.Doc(), uiCamera).GetTriggerMode(trigger).IsOk());
        EXPECT_FALSE(trigger.onOff);
        EXPECT_EQ(trigger.source, 4U);
    }
}

TEST(SynchroStrobePost, LeavesTheStrobeAloneAfterATriggerWait)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    bench.Doc().m_capture.m_running.bTriggerWaitRing = true;
    bench.Forget();
    EXPECT_TRUE(SynchroStrobePost(bench.Doc()));
    EXPECT_TRUE(bench.m_library.Calls(Operation::GetStrobe).empty());
    EXPECT_TRUE(bench.m_library.Calls(Operation::SetStrobe).empty());
    EXPECT_EQ(bench.m_library.Calls(Operation::SetTriggerMode).size(), 1U);
}

TEST(SynchroStrobePost, ChangesNothingOfASetThatWasNotLocked)
{
    CameraDocument bench("simulated:FL3-U3-13Y3M+GRAS-03K2");
    ASSERT_TRUE(bench.Connect());
    bench.Forget();
    EXPECT_TRUE(SynchroStrobePost(bench.Doc()));
    EXPECT_EQ(bench.m_library.Calls().size(), 2U); // the two identities
    EXPECT_TRUE(bench.Messages().empty());
}

TEST(SynchroStrobePost, ReportsTheFirstFailureAndStillFinishesTheOtherCameras)
{
    CameraDocument bench("simulated:3xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    bench.Forget();
    for (const Operation eOperation : { Operation::GetCameraInfo, Operation::GetTriggerMode })
        bench.m_library.Fail({ .eOperation = eOperation,
            .eType = ErrorType::Disconnected,
            .iCamera = 1,
            .iCalls = kEveryCall }); // camera 1 was unplugged
    EXPECT_FALSE(SynchroStrobePost(bench.Doc()));
    EXPECT_EQ(bench.Messages(), Texts { "SynchroStrobePost()->GetCameraInfo() (12) 5762\n" });
    EXPECT_EQ(bench.m_library.Arguments(Operation::SetStrobe, 0), Texts { "off source 2" });
    EXPECT_EQ(bench.m_library.Calls(Operation::SetTriggerMode, 0).size(), 1U);
    EXPECT_EQ(bench.m_library.Calls(Operation::SetTriggerMode, 1).size(), 0U);
    EXPECT_EQ(bench.m_library.Calls(Operation::SetTriggerMode, 2).size(), 1U);
}

TEST(UndoSynchroStrobe, SaysNothing)
{
    CameraDocument bench("simulated:2xFL3-U3-13Y3M");
    ASSERT_TRUE(bench.Connect());
    bench.m_library.Fail({ .eOperation = Operation::GetTriggerMode, .iCalls = kEveryCall });
    UndoSynchroStrobe(bench.Doc());
    EXPECT_TRUE(bench.Messages().empty());
}

} // namespace
} // namespace vireo::test
