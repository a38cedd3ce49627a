#include "camera/vireo_doc.h"
#include "capture/frame_store_alloc.h"
#include "support/test_platform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

namespace vireo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kNoMemory = "ｶﾒﾗﾊﾞｯﾌｧを取得できません。ﾌﾚｰﾑﾚｰﾄか録画時間を少なくしてください。 ";
constexpr const char* kShort = "ﾒﾓﾘが不足したため録画を開始できません。ﾌﾚｰﾑﾚｰﾄか録画時間を少なくしてください。 ";

class AllocateFrameStoreTest : public testing::Test {
protected:
    void Request(int iRecordSec, int iFps, unsigned int uiCameras, int iImageSizeIndex = 0)
    {
        m_doc.m_parameters.m_iRecordSec = iRecordSec;
        m_doc.m_parameters.m_iFps = iFps;
        m_doc.m_parameters.m_iImageSizeIndex = iImageSizeIndex;
        m_doc.m_cameras.m_uiNumCameras = uiCameras;
    }
    test::FakeArenaState& Arena() { return m_test.m_memory.State(); }
    std::vector<std::string> Messages() const { return m_test.m_window.MessageTexts(); }
    FrameStore& Store() { return m_doc.m_store; }

    // What a recording leaves behind.
    void Record()
    {
        for (std::size_t uiCamera = 0; uiCamera < kCameraSlots; ++uiCamera) {
            Store().m_isaveFrameCount[uiCamera] = 7;
            Store().m_bRecordDone[uiCamera] = true;
        }
        Store().m_iRecordTarget = 21;
        Store().m_iStartMark = 3;
        Store().m_iStopMark = 4;
        Store().m_bStartRequest = true;
        Store().m_bStopRequest = true;
        Store().m_uiDoneCameras = 2;
        m_doc.m_capture.m_iMarkStart = 11;
        m_doc.m_capture.m_iMarkEnd = 12;
        m_doc.m_capture.m_iSaveFirstFrame = 11;
        m_doc.m_capture.m_iSaveLastFrame = 12;
    }
    void ExpectRecorded()
    {
        for (std::size_t uiCamera = 0; uiCamera < kCameraSlots; ++uiCamera) {
            EXPECT_EQ(Store().m_isaveFrameCount[uiCamera], 7);
            EXPECT_TRUE(Store().m_bRecordDone[uiCamera]);
        }
        EXPECT_EQ(Store().m_iStartMark, 3);
        EXPECT_EQ(Store().m_iStopMark, 4);
        EXPECT_TRUE(Store().m_bStartRequest);
        EXPECT_TRUE(Store().m_bStopRequest);
        EXPECT_EQ(Store().m_uiDoneCameras, 2U);
        EXPECT_EQ(m_doc.m_capture.m_iMarkStart, 11);
        EXPECT_EQ(m_doc.m_capture.m_iMarkEnd, 12);
        EXPECT_EQ(m_doc.m_capture.m_iSaveFirstFrame, 11);
        EXPECT_EQ(m_doc.m_capture.m_iSaveLastFrame, 12);
    }
    void ExpectIdle(unsigned int uiCameras)
    {
        for (std::size_t uiCamera = 0; uiCamera < uiCameras; ++uiCamera) {
            EXPECT_EQ(Store().m_isaveFrameCount[uiCamera], -10);
            EXPECT_FALSE(Store().m_bRecordDone[uiCamera]);
        }
        EXPECT_EQ(Store().m_iStartMark, -1);
        EXPECT_EQ(Store().m_iStopMark, -1);
        EXPECT_FALSE(Store().m_bStartRequest);
        EXPECT_FALSE(Store().m_bStopRequest);
        EXPECT_EQ(Store().m_uiDoneCameras, 0U);
        EXPECT_EQ(m_doc.m_capture.m_iMarkStart, 0);
        EXPECT_EQ(m_doc.m_capture.m_iMarkEnd, 20) << "the last frame of the target";
        EXPECT_EQ(m_doc.m_capture.m_iSaveFirstFrame, 0);
        EXPECT_EQ(m_doc.m_capture.m_iSaveLastFrame, -1);
    }

    test::TestPlatform m_test;
    CVireoApp m_app { m_test.m_platform };
    CVireoDoc m_doc { m_app };
};

TEST_F(AllocateFrameStoreTest, BuildsTheRequestedSizeWhenItFits)
{
    Request(10, 100, 2);
    m_test.m_memory.SetAvailableKiB(709334);
    EXPECT_TRUE(AllocateFrameStore(m_doc));
    EXPECT_EQ(Store().m_iBufferFrames, 1064);
    EXPECT_EQ(Store().m_iAllocatedFrames, 1064);
    EXPECT_EQ(Store().m_uiCameras, 2U);
    EXPECT_EQ(Store().m_uiSlotBytes, 307200U);
    EXPECT_EQ(Store().m_evidence[1].size(), 1064U);
    EXPECT_NE(Store().Slot(1, 1063), nullptr);
    EXPECT_TRUE(Store().IsWarm(1, 1063));
    EXPECT_EQ(m_doc.m_parameters.m_iRecordSec, 10);
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(AllocateFrameStoreTest, OneKilobyteLessKeepsTheOldFrameCountAndCutsTheRecordTime)
{
    Request(2, 30, 2);
    ASSERT_TRUE(AllocateFrameStore(m_doc));
    Request(10, 100, 2);
    m_test.m_memory.SetAvailableKiB(709333);
    EXPECT_FALSE(AllocateFrameStore(m_doc));
    EXPECT_THAT(Messages(), ElementsAre(std::string(kNoMemory) + "10sec 100fps\n"));
    EXPECT_EQ(m_doc.m_parameters.m_iRecordSec, 1);
    EXPECT_EQ(m_doc.m_parameters.m_iFps, 100);
    EXPECT_EQ(Store().m_iBufferFrames, 124);
    EXPECT_EQ(Store().m_iAllocatedFrames, 124);
    EXPECT_NE(Store().Slot(1, 123), nullptr);
    EXPECT_EQ(Store().Slot(1, 124), nullptr);

    // The cut takes effect now.
    EXPECT_TRUE(AllocateFrameStore(m_doc));
    EXPECT_EQ(Store().m_iBufferFrames, 164);
}

TEST_F(AllocateFrameStoreTest, AFailedCheckBuildsTheOldCountWithTheNewSlotSize)
{
    Request(1, 30, 1);
    ASSERT_TRUE(AllocateFrameStore(m_doc));
    Request(3600, 400, 1, 3);
    EXPECT_FALSE(AllocateFrameStore(m_doc));
    EXPECT_EQ(Store().m_iAllocatedFrames, 94);
    EXPECT_EQ(Store().m_uiSlotBytes, 2073600U);
    EXPECT_EQ(Store().Slot(0, 1), Store().Slot(0, 0) + 2073600);
}

TEST_F(AllocateFrameStoreTest, AnOldCountThatCannotFitWithTheNewSlotSizeIsNotBuilt)
{
    // 94 slots of 2025 KiB for two cameras take 380700 KiB.
    const struct {
        std::uint64_t uiAvailableKiB;
        bool bBuilt;
    } rows[] = { { 380700, true }, { 380699, false } };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.uiAvailableKiB);
        m_test.m_memory.SetAvailableKiB(1 << 20);
        Request(1, 30, 2);
        ASSERT_TRUE(AllocateFrameStore(m_doc));
        m_test.m_memory.SetAvailableKiB(row.uiAvailableKiB);
        Request(10, 30, 2, 3);
        EXPECT_FALSE(AllocateFrameStore(m_doc));
        EXPECT_EQ(Store().Exists(), row.bBuilt);
        EXPECT_EQ(Store().Slot(1, 93) != nullptr, row.bBuilt);
        EXPECT_EQ(Store().m_iBufferFrames, 94);
    }
}

TEST_F(AllocateFrameStoreTest, ARequestThatOverflowsFailsWhateverIsFree)
{
    Request(700, 400, 4, 3);
    m_test.m_memory.SetAvailableKiB(std::uint64_t { 1 } << 50);
    EXPECT_FALSE(AllocateFrameStore(m_doc));
    EXPECT_THAT(Messages(), ElementsAre(std::string(kNoMemory) + "700sec 400fps\n"));
    EXPECT_FALSE(Store().Exists()) << "there was no earlier count to fall back to";
    EXPECT_EQ(Store().m_iBufferFrames, 0);
    EXPECT_EQ(m_doc.m_parameters.m_iRecordSec, 1);
}

TEST_F(AllocateFrameStoreTest, ARequestThatWrapsToLittleIsNotBuiltBeyondAllMemory)
{
    // 3579264 frames of 300 KiB for four cameras wrap past 2^32 KiB to 149504 KiB.
    Request(8948, 400, 4);
    ASSERT_TRUE(HasMemoryFor(1 << 20, BufferFramesFor(8948, 400), 4, 307200));
    m_test.m_memory.SetAvailableKiB(1 << 20);
    EXPECT_FALSE(AllocateFrameStore(m_doc));
    EXPECT_FALSE(Store().Exists());
    EXPECT_EQ(Arena().m_iReserves, 0);
    EXPECT_THAT(Messages(), ElementsAre(std::string(kNoMemory) + "8948sec 400fps\n"));
}

TEST_F(AllocateFrameStoreTest, NonsenseFromASettingsFileFailsTheCheck)
{
    const struct {
        int iRecordSec, iFps;
        const char* pRequest;
    } rows[] = { { -1, 100, "-1sec 100fps\n" }, { 2, -400, "2sec -400fps\n" } };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.pRequest);
        m_test.m_window.Clear();
        Request(row.iRecordSec, row.iFps, 1);
        EXPECT_FALSE(AllocateFrameStore(m_doc));
        EXPECT_THAT(Messages(), ElementsAre(std::string(kNoMemory) + row.pRequest));
        EXPECT_EQ(m_doc.m_parameters.m_iRecordSec, 1);
        EXPECT_FALSE(Store().Exists());
    }
}

TEST_F(AllocateFrameStoreTest, MemoryThatCannotBeHadLeavesTheStoreEmpty)
{
    Request(2, 30, 2);
    ASSERT_TRUE(AllocateFrameStore(m_doc));
    Record();
    Arena().m_bReserveFails = true;
    Request(3, 100, 2);
    EXPECT_FALSE(AllocateFrameStore(m_doc));
    EXPECT_THAT(Messages(), ElementsAre(std::string(kNoMemory) + "3sec 100fps\n"));
    EXPECT_EQ(m_doc.m_parameters.m_iRecordSec, 1);
    EXPECT_EQ(Store().m_iBufferFrames, 124) << "the frame count before the call";
    EXPECT_FALSE(Store().Exists());
    EXPECT_EQ(Store().Slot(0, 0), nullptr);
    EXPECT_EQ(Arena().m_iReserves, 2) << "no smaller one is tried after the request itself could not be had";
    EXPECT_FALSE(StoreIsShort(m_doc));
    ExpectIdle(2);
}

TEST_F(AllocateFrameStoreTest, WhatTheOldStoreHoldsCountsAsAvailable)
{
    Request(10, 100, 2);
    Arena().m_uiResidentKiB = 600000;
    m_test.m_memory.SetAvailableKiB(109333);
    EXPECT_FALSE(AllocateFrameStore(m_doc));
    Request(10, 100, 2);
    m_test.m_memory.SetAvailableKiB(109334);
    EXPECT_TRUE(AllocateFrameStore(m_doc));
}

TEST_F(AllocateFrameStoreTest, AnotherAllocationUsesTheSameMemoryAgain)
{
    Request(2, 30, 2);
    ASSERT_TRUE(AllocateFrameStore(m_doc));
    const std::uint8_t* pFirst = Store().Slot(0, 0);
    Request(1, 30, 2);
    ASSERT_TRUE(AllocateFrameStore(m_doc));
    EXPECT_EQ(Store().Slot(0, 0), pFirst);
    EXPECT_EQ(Arena().m_iReleases, 0);
}

TEST_F(AllocateFrameStoreTest, WaitsForTwoSecondsOfFramesOrOneSecond)
{
    Request(10, 100, 1);
    ASSERT_TRUE(AllocateFrameStore(m_doc));
    EXPECT_EQ(Arena().m_uiFirstBytes, 200U * 307200);
    EXPECT_EQ(Arena().m_deadline, m_test.m_clock.Now() + kNsPerSecond);
    Request(1, 100, 1);
    ASSERT_TRUE(AllocateFrameStore(m_doc));
    EXPECT_EQ(Arena().m_uiFirstBytes, 164U * 307200) << "no more than there are";
}

TEST_F(AllocateFrameStoreTest, RunningShortOfMemoryIsToldOnceAndRemembered)
{
    Request(2, 30, 1);
    EXPECT_FALSE(StoreIsShort(m_doc));
    Arena().m_bRunsShort = true;
    EXPECT_TRUE(AllocateFrameStore(m_doc));
    EXPECT_THAT(Messages(), ElementsAre(std::string(kShort) + "2sec 30fps\n"));
    EXPECT_TRUE(StoreIsShort(m_doc));
    EXPECT_FALSE(Store().IsWarm(0, 0));

    Arena().m_bRunsShort = false;
    Request(1, 30, 1);
    EXPECT_TRUE(AllocateFrameStore(m_doc));
    EXPECT_FALSE(StoreIsShort(m_doc)) << "the store is smaller now";
}

TEST_F(AllocateFrameStoreTest, ForgetsWhatWasRecorded)
{
    Request(1, 30, 3);
    ASSERT_TRUE(AllocateFrameStore(m_doc));
    Record();
    Store().m_evidence[0][5].iExposure = 5;
    Store().m_uiColdSlots[0] = 9;
    Store().m_uiTruncated[2] = 9;
    ASSERT_TRUE(AllocateFrameStore(m_doc));
    ExpectIdle(3);
    EXPECT_EQ(Store().m_isaveFrameCount[3], 7) << "no camera of the store";
    EXPECT_EQ(Store().m_evidence[0][5].iExposure, -1);
    EXPECT_EQ(Store().m_uiColdSlots[0], 0U);
    EXPECT_EQ(Store().m_uiTruncated[2], 0U);
}

TEST_F(AllocateFrameStoreTest, WorksForMoreCamerasThanCanCapture)
{
    Request(0, 30, 11);
    m_test.m_memory.SetAvailableKiB(std::uint64_t { 1 } << 30);
    EXPECT_TRUE(AllocateFrameStore(m_doc));
    EXPECT_NE(Store().Slot(10, 63), nullptr);
    EXPECT_EQ(Store().m_isaveFrameCount[10], -10);
}

TEST_F(AllocateFrameStoreTest, WithoutCamerasThereIsAStoreWithoutSlots)
{
    Request(1, 30, 0);
    EXPECT_TRUE(AllocateFrameStore(m_doc));
    EXPECT_EQ(Store().m_iBufferFrames, 94);
    EXPECT_EQ(Store().Slot(0, 0), nullptr);
}

TEST_F(AllocateFrameStoreTest, FreeingGivesTheMemoryBackAndIdlesEveryCounter)
{
    Request(1, 30, 2);
    ASSERT_TRUE(AllocateFrameStore(m_doc));
    Record();
    FreeFrameStore(m_doc);
    ExpectIdle(2);
    EXPECT_FALSE(Store().Exists());
    EXPECT_EQ(Store().Slot(0, 0), nullptr);
    EXPECT_EQ(Store().m_iBufferFrames, 94) << "the frame count stays";
    EXPECT_EQ(Arena().m_iReleases, 1);
    EXPECT_GE(Arena().m_iStops, 1);
}

TEST_F(AllocateFrameStoreTest, FreeingWithoutAStoreChangesNothing)
{
    Record();
    FreeFrameStore(m_doc);
    ExpectRecorded();
    Request(1, 30, 2);
    ASSERT_TRUE(AllocateFrameStore(m_doc));
    FreeFrameStore(m_doc);
    Record();
    FreeFrameStore(m_doc);
    ExpectRecorded();
    EXPECT_EQ(Arena().m_iReleases, 1);
    ASSERT_TRUE(AllocateFrameStore(m_doc));
    ExpectRecorded();
}

} // namespace
} // namespace vireo
