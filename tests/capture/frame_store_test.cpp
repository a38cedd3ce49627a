#include "capture/frame_store.h"
#include "support/fake_memory.h"

#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>

namespace vireo {
namespace {

TEST(SlotBytes, FollowsTheImageSizeAndIs640x480ForAnyOtherIndex)
{
    const struct {
        int iIndex;
        std::uint32_t uiBytes;
    } rows[] = { { 0, 307200 }, { 1, 786432 }, { 2, 921600 }, { 3, 2073600 }, { 4, 307200 }, { -1, 307200 },
        { 1000, 307200 } };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.iIndex);
        EXPECT_EQ(SlotBytes(row.iIndex), row.uiBytes);
        const ImageSize size = SizeOfIndex(row.iIndex);
        EXPECT_EQ(static_cast<std::uint32_t>(size.iWidth * size.iHeight), row.uiBytes);
        EXPECT_EQ(SlotStride(row.uiBytes), row.uiBytes) << "no size wastes memory between slots";
    }
    EXPECT_EQ(SlotStride(307201), 307264U);
}

TEST(BufferFrames, AreTheRecordTimeAndSixtyFourMore)
{
    EXPECT_EQ(BufferFramesFor(10, 100), 1064);
    EXPECT_EQ(BufferFramesFor(1, 30), 94);
    EXPECT_EQ(BufferFramesFor(0, 400), 64);
}

TEST(BufferFrames, WrapIn32Bits)
{
    EXPECT_EQ(BufferFramesFor(10'000'000, 400), -294967296 + 64);
    EXPECT_EQ(BufferFramesFor(std::numeric_limits<int>::max(), 1), std::numeric_limits<int>::min() + 63);
    EXPECT_EQ(BufferFramesFor(-1, 100), -36);
}

TEST(HasMemoryFor, LeavesTenPercentOfTheFreeMemory)
{
    // 1064 frames of 300 KiB for two cameras are 638400 KiB.
    EXPECT_TRUE(HasMemoryFor(709334, 1064, 2, 307200));
    EXPECT_FALSE(HasMemoryFor(709333, 1064, 2, 307200));
}

TEST(HasMemoryFor, FailsWhateverIsFreeWhenTheProductIsNegativeIn32Bits)
{
    const int iFrames = BufferFramesFor(700, 400);
    ASSERT_EQ(iFrames, 280064);
    EXPECT_FALSE(HasMemoryFor(std::uint64_t { 1 } << 50, iFrames, 4, 2073600));
    EXPECT_FALSE(HasMemoryFor(std::numeric_limits<std::uint64_t>::max() / 9, iFrames, 4, 2073600));
}

TEST(HasMemoryFor, NeedsExactlyTheProductWhereItDoesNotOverflow)
{
    const int iFrames = BufferFramesFor(60, 400);
    constexpr std::uint64_t uiNeedKiB = 194918400;
    EXPECT_TRUE(HasMemoryFor((uiNeedKiB * 10 + 8) / 9, iFrames, 4, 2073600));
    EXPECT_FALSE(HasMemoryFor((uiNeedKiB * 10 + 8) / 9 - 1, iFrames, 4, 2073600));
}

TEST(HasMemoryFor, FailsForLessThanOneFrame)
{
    for (const int iFrames : { 0, -1, -36, std::numeric_limits<int>::min() })
        EXPECT_FALSE(HasMemoryFor(std::uint64_t { 1 } << 40, iFrames, 4, 307200)) << iFrames;
    EXPECT_TRUE(HasMemoryFor(1 << 20, 1, 4, 307200));
}

TEST(FrameTimestamp, DecodesTheBusCycleTimeOfAFrameHeader)
{
    const struct {
        const char* pName;
        std::array<std::uint8_t, 4> header;
        double dSeconds;
    } rows[] = {
        { "zero", { 0, 0, 0, 0 }, 0.0 },
        { "seconds, cycles and offset", { 0x12, 0x34, 0x56, 0x78 }, 9 + (0x345 + 0x678 / 3072.0) / 8000.0 },
        { "one cycle is 125 us", { 0x00, 0x00, 0x10, 0x00 }, 1.0 / 8000.0 },
        { "one offset step", { 0x00, 0x00, 0x00, 0x01 }, 1.0 / 3072.0 / 8000.0 },
        { "the last second", { 0xFE, 0x00, 0x00, 0x00 }, 127.0 },
        { "the last cycle", { 0x01, 0xF3, 0xF0, 0x00 }, 7999.0 / 8000.0 },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.pName);
        EXPECT_DOUBLE_EQ(FrameTimestampSeconds(FrameCycleTime(row.header)), row.dSeconds);
    }
    EXPECT_DOUBLE_EQ(FrameTimestampSeconds(0x12345678), 9.1046923828125);
}

TEST(FrameTimeDifference, IsTakenOverTheWrapToTheNearest)
{
    const struct {
        double a, b, dDifference;
    } rows[] = { { 5.0, 3.0, 2.0 }, { 3.0, 5.0, -2.0 }, { 0.5, 127.5, 1.0 }, { 127.5, 0.5, -1.0 }, { 64.5, 0.0, -63.5 },
        { 63.5, 0.0, 63.5 }, { 0.0, 0.0, 0.0 }, { 128.0, 0.0, 0.0 } };
    for (const auto& row : rows)
        EXPECT_DOUBLE_EQ(FrameTimeDifference(row.a, row.b), row.dDifference) << row.a << " - " << row.b;
}

TEST(RingDistance, LetsACameraBeNineFramesBehindTheMark)
{
    const struct {
        int s, e, n, iDistance;
    } rows[] = { { 100, 103, 1064, 3 }, { 100, 100, 1064, 0 }, { 100, 91, 1064, -9 }, { 100, 90, 1064, 1054 },
        { 1060, 2, 1064, 6 }, { 0, 1063, 1064, 1063 } };
    for (const auto& row : rows)
        EXPECT_EQ(RingDistance(row.s, row.e, row.n), row.iDistance) << row.s << " " << row.e;
}

TEST(RingSlot, WrapsBehindTheLastSlotOnce)
{
    EXPECT_EQ(RingSlot(0, 0, 94), 0);
    EXPECT_EQ(RingSlot(90, 3, 94), 93);
    EXPECT_EQ(RingSlot(90, 4, 94), 0);
    EXPECT_EQ(RingSlot(93, 93, 94), 92);
    EXPECT_EQ(RingSlot(93, 95, 94), 94) << "brought back once only";
}

// A store of two cameras with three slots each, without the document around it.
class StoreOfThree : public testing::Test {
protected:
    StoreOfThree()
    {
        m_store.m_arena = m_memory.CreateArena();
        m_store.m_arena->Reserve(2, 3 * SlotStride(kSlotBytes));
        m_store.m_arena->StartTouching(0, 0, [] {});
        m_store.m_uiCameras = 2;
        m_store.m_uiSlotBytes = kSlotBytes;
        m_store.m_iAllocatedFrames = 3;
        m_store.m_iBufferFrames = 3;
        for (std::size_t uiCamera = 0; uiCamera < 2; ++uiCamera)
            m_store.m_evidence[uiCamera].resize(3);
    }

    static constexpr std::uint32_t kSlotBytes = 100; // no multiple of the alignment
    test::FakeMemory m_memory;
    FrameStore m_store;
};

TEST_F(StoreOfThree, SlotsAreAlignedApartAndFollowEachOther)
{
    for (std::size_t uiCamera = 0; uiCamera < 2; ++uiCamera)
        for (int iIndex = 0; iIndex < 3; ++iIndex) {
            EXPECT_EQ(m_store.Slot(uiCamera, iIndex), m_store.Slot(uiCamera, 0) + iIndex * 128);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(m_store.Slot(uiCamera, iIndex)) % 64, 0U);
        }
    EXPECT_NE(m_store.Slot(0, 0), m_store.Slot(1, 0));
}

TEST_F(StoreOfThree, HasNoSlotOutsideIt)
{
    EXPECT_EQ(m_store.Slot(0, -1), nullptr);
    EXPECT_EQ(m_store.Slot(0, 3), nullptr);
    EXPECT_EQ(m_store.Slot(2, 0), nullptr);
    EXPECT_EQ(m_store.Slot(99, 0), nullptr);
    EXPECT_FALSE(m_store.IsWarm(0, 3));
    EXPECT_EQ(m_store.SlotTime(0, -1), 0.0);
    EXPECT_EQ(m_store.SlotImage(0, -1).GetData(), nullptr);
}

TEST_F(StoreOfThree, ASlotImageHasTheRecordingsGeometryAndTheSlotsPixels)
{
    m_store.m_geometry.uiRows = 8;
    m_store.m_geometry.uiCols = 10;
    m_store.m_geometry.uiStride = 12;
    m_store.m_geometry.uiDataSize = 96;
    m_store.m_geometry.uiPixelFormat = static_cast<std::uint32_t>(PixelFormat::Raw8);
    m_store.m_geometry.uiBayerTile = static_cast<std::uint32_t>(BayerTileFormat::Gbrg);
    m_store.m_evidence[1][2].arrival = 77;
    const Image image = m_store.SlotImage(1, 2);
    EXPECT_EQ(image.GetData(), m_store.Slot(1, 2));
    EXPECT_EQ(image.GetRows(), 8U);
    EXPECT_EQ(image.GetCols(), 10U);
    EXPECT_EQ(image.GetStride(), 12U);
    EXPECT_EQ(image.GetDataSize(), 96U);
    EXPECT_EQ(image.GetPixelFormat(), PixelFormat::Raw8);
    EXPECT_EQ(image.GetBayerTileFormat(), BayerTileFormat::Gbrg);
    EXPECT_EQ(image.GetArrivalTime(), 77);
}

TEST_F(StoreOfThree, ASlotImageNeverReachesIntoTheNextSlot)
{
    m_store.m_geometry.uiRows = 1000;
    m_store.m_geometry.uiDataSize = 640000;
    EXPECT_EQ(m_store.SlotImage(0, 0).GetDataSize(), kSlotBytes);
}

TEST_F(StoreOfThree, ThereIsNoPictureBeforeCameraZeroDeliveredOne)
{
    EXPECT_EQ(m_store.SlotImage(0, 0).GetData(), nullptr);
}

TEST_F(StoreOfThree, ASlotsTimeIsInItsFirstFourBytes)
{
    const std::uint8_t header[4] = { 0x12, 0x34, 0x56, 0x78 };
    std::memcpy(m_store.Slot(1, 1), header, 4);
    EXPECT_DOUBLE_EQ(m_store.SlotTime(1, 1), 9 + (0x345 + 0x678 / 3072.0) / 8000.0);
}

TEST(FrameStore, StartsEmptyWithIdleCounters)
{
    const FrameStore store;
    EXPECT_FALSE(store.Exists());
    EXPECT_EQ(store.Slot(0, 0), nullptr);
    EXPECT_EQ(store.m_isaveFrameCount.size(), 9U);
    for (std::size_t uiCamera = 0; uiCamera < kCameraSlots; ++uiCamera) {
        EXPECT_EQ(store.m_isaveFrameCount[uiCamera], -10);
        EXPECT_EQ(store.m_iendFrame[uiCamera], 0);
        EXPECT_FALSE(store.m_bRecordDone[uiCamera]);
    }
    EXPECT_EQ(store.m_iStartMark, -1);
    EXPECT_EQ(store.m_iStopMark, -1);
}

TEST(FrameStore, GrowsForMoreCamerasThanUsualWithIdleCounters)
{
    FrameStore store;
    store.EnsureCameras(11);
    EXPECT_EQ(store.m_isaveFrameCount[10], -10);
    EXPECT_EQ(store.m_iendFrame.size(), 11U);
    store.m_isaveFrameCount[3] = 5;
    store.EnsureCameras(4);
    EXPECT_EQ(store.m_isaveFrameCount[3], 5) << "counters that suffice are left alone";
}

TEST(FrameStore, KeepsAtMost64BytesBesideEachSlot) { EXPECT_LE(sizeof(FrameEvidence), 64U); }

} // namespace
} // namespace vireo
