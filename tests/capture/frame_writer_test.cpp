#include "capture/frame_writer.h"
#include "support/fake_memory.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <numeric>
#include <vector>

namespace vireo {
namespace {

constexpr std::uint32_t kSlotBytes = 48 * 10;
constexpr int kFrames = 4;

class FrameWriter : public testing::Test {
protected:
    FrameWriter()
    {
        m_store.m_arena = m_memory.CreateArena();
        m_store.m_arena->Reserve(2, kFrames * SlotStride(kSlotBytes));
        m_store.m_uiCameras = 2;
        m_store.m_uiSlotBytes = kSlotBytes;
        m_store.m_iAllocatedFrames = kFrames;
        m_store.m_iBufferFrames = kFrames;
        for (std::size_t uiCamera = 0; uiCamera < 2; ++uiCamera) {
            m_store.m_evidence[uiCamera].resize(kFrames);
            for (int iIndex = 0; iIndex < kFrames; ++iIndex)
                std::fill_n(m_store.Slot(uiCamera, iIndex), SlotStride(kSlotBytes), kEmpty);
        }
    }
    void Warm()
    {
        m_store.m_arena->StartTouching(0, 0, [] {});
    }

    // A frame whose bytes begin at `first` and count up; it borrows m_pixels.
    Image Frame(std::uint8_t first, std::uint32_t uiBytes = kSlotBytes)
    {
        m_pixels.resize(uiBytes);
        std::iota(m_pixels.begin(), m_pixels.end(), first);
        Image image(uiBytes / 48, 48, 48, m_pixels.data(), uiBytes, PixelFormat::Raw8, BayerTileFormat::Rggb);
        image.SetArrivalTime(1000 + first);
        return image;
    }
    bool SlotHolds(std::size_t uiCamera, int iIndex) const
    {
        return std::equal(
            m_store.Slot(uiCamera, iIndex), m_store.Slot(uiCamera, iIndex) + kSlotBytes, m_pixels.begin());
    }
    bool SlotIsUntouched(std::size_t uiCamera, int iIndex) const
    {
        const std::uint8_t* pSlot = m_store.Slot(uiCamera, iIndex);
        return std::all_of(pSlot, pSlot + kSlotBytes, [](std::uint8_t uiByte) { return uiByte == kEmpty; });
    }

    static constexpr std::uint8_t kEmpty = 0xEE;
    test::FakeMemory m_memory;
    FrameStore m_store;
    std::vector<std::uint8_t> m_pixels;
};

TEST_F(FrameWriter, StoresAFrameWithItsEvidenceAndDoesNotAdvance)
{
    Warm();
    m_store.m_iendFrame[1] = 2;
    EXPECT_EQ(StoreFrame(m_store, 1, Frame(5), 41), StoreResult::Stored);
    EXPECT_TRUE(SlotHolds(1, 2));
    EXPECT_EQ(m_store.m_iendFrame[1], 2);
    const FrameEvidence& evidence = m_store.m_evidence[1][2];
    EXPECT_EQ(evidence.arrival, 1005);
    EXPECT_EQ(evidence.iExposure, 41);
    EXPECT_EQ(evidence.uiBytes, kSlotBytes);
    EXPECT_FALSE(evidence.bCold);
    EXPECT_TRUE(SlotIsUntouched(1, 1));
    EXPECT_TRUE(SlotIsUntouched(1, 3));
    EXPECT_TRUE(SlotIsUntouched(0, 2)) << "another camera's ring is its own";
    EXPECT_EQ(m_store.m_uiColdSlots[1], 0U);
}

TEST_F(FrameWriter, WrapsTheWriteIndexBeforeTheWriteNeverAfter)
{
    Warm();
    m_store.m_iendFrame[0] = kFrames - 1;
    StoreFrame(m_store, 0, Frame(1));
    EXPECT_EQ(m_store.m_iendFrame[0], kFrames - 1) << "the last slot is no reason to wrap";
    ++m_store.m_iendFrame[0];
    EXPECT_EQ(m_store.m_iendFrame[0], kFrames);
    StoreFrame(m_store, 0, Frame(2));
    EXPECT_EQ(m_store.m_iendFrame[0], 0);
    EXPECT_TRUE(SlotHolds(0, 0));
}

TEST_F(FrameWriter, AnIndexLeftFromALargerStoreGoesToTheFirstSlot)
{
    Warm();
    m_store.m_iendFrame[0] = 1000;
    EXPECT_EQ(StoreFrame(m_store, 0, Frame(1)), StoreResult::Stored);
    EXPECT_EQ(m_store.m_iendFrame[0], 0);
}

TEST_F(FrameWriter, CutsAFrameThatIsLargerThanItsSlot)
{
    Warm();
    EXPECT_EQ(StoreFrame(m_store, 0, Frame(3, kSlotBytes + 48)), StoreResult::Truncated);
    EXPECT_TRUE(SlotHolds(0, 0));
    EXPECT_TRUE(SlotIsUntouched(0, 1));
    EXPECT_EQ(m_store.m_uiTruncated[0], 1U);
    EXPECT_EQ(m_store.m_evidence[0][0].uiBytes, kSlotBytes);
    EXPECT_EQ(m_store.SlotImage(0, 0).GetDataSize(), kSlotBytes);
}

TEST_F(FrameWriter, AShortFrameLeavesTheRestOfItsSlot)
{
    Warm();
    EXPECT_EQ(StoreFrame(m_store, 0, Frame(3, 48)), StoreResult::Stored);
    EXPECT_EQ(m_store.Slot(0, 0)[47], 3 + 47);
    EXPECT_EQ(m_store.Slot(0, 0)[48], kEmpty);
    EXPECT_EQ(m_store.m_evidence[0][0].uiBytes, 48U);
    EXPECT_EQ(m_store.m_uiTruncated[0], 0U);
}

TEST_F(FrameWriter, CameraZeroAloneSetsTheGeometry)
{
    Warm();
    StoreFrame(m_store, 1, Frame(0, 96));
    EXPECT_EQ(m_store.m_geometry.uiRows, 0U);
    StoreFrame(m_store, 0, Frame(0));
    EXPECT_EQ(m_store.m_geometry.uiRows, 10U);
    EXPECT_EQ(m_store.m_geometry.uiCols, 48U);
    EXPECT_EQ(m_store.m_geometry.uiStride, 48U);
    EXPECT_EQ(m_store.m_geometry.uiDataSize, kSlotBytes);
    EXPECT_EQ(m_store.m_geometry.uiPixelFormat, static_cast<std::uint32_t>(PixelFormat::Raw8));
    EXPECT_EQ(m_store.m_geometry.uiBayerTile, static_cast<std::uint32_t>(BayerTileFormat::Rggb));
}

TEST_F(FrameWriter, CountsSlotsThatWereNotTouchedInTime)
{
    EXPECT_EQ(StoreFrame(m_store, 0, Frame(9)), StoreResult::Stored);
    EXPECT_TRUE(SlotHolds(0, 0)) << "late pages cost time, not frames";
    EXPECT_TRUE(m_store.m_evidence[0][0].bCold);
    EXPECT_EQ(m_store.m_uiColdSlots[0], 1U);
    Warm();
    StoreFrame(m_store, 0, Frame(9));
    EXPECT_FALSE(m_store.m_evidence[0][0].bCold);
    EXPECT_EQ(m_store.m_uiColdSlots[0], 1U);
}

TEST_F(FrameWriter, TakesNoNewPagesAfterMemoryRanShort)
{
    m_memory.State().m_bRunsShort = true;
    Warm(); // gives up at once: nothing is touched
    m_store.m_evidence[0][0] = { .iExposure = 3, .uiBytes = kSlotBytes }; // of the lap before
    EXPECT_EQ(StoreFrame(m_store, 0, Frame(9), 7), StoreResult::Skipped);
    EXPECT_TRUE(SlotIsUntouched(0, 0));
    EXPECT_EQ(m_store.m_evidence[0][0].iExposure, -1) << "the slot holds no exposure: a gap";
    EXPECT_FALSE(m_store.m_evidence[0][0].bCold);
    EXPECT_EQ(m_store.m_uiColdSlots[0], 0U) << "nothing was written";
    EXPECT_EQ(m_store.m_evidence[0][0].uiBytes, 0U);
    EXPECT_EQ(m_store.m_geometry.uiRows, 10U) << "the live view goes on";
}

TEST_F(FrameWriter, ACopyThatMemoryIsTooShortForIsAGap)
{
    StoreFrameAt(m_store, 0, 1, Frame(9), 7);
    m_memory.State().m_bRunsShort = true;
    Warm();
    EXPECT_EQ(CopySlot(m_store, 0, 1, 2), StoreResult::Skipped);
    EXPECT_TRUE(SlotIsUntouched(0, 2));
    EXPECT_EQ(CopySlot(m_store, 0, 2, 1), StoreResult::Skipped);
    EXPECT_EQ(m_store.m_evidence[0][1].iExposure, -1);
}

TEST_F(FrameWriter, WritesNowhereWithoutAStore)
{
    FrameStore empty;
    EXPECT_EQ(StoreFrame(empty, 0, Frame(1)), StoreResult::Skipped);
    EXPECT_EQ(StoreFrame(m_store, 2, Frame(1)), StoreResult::Skipped) << "a camera that the store was not built for";
    EXPECT_EQ(StoreFrame(m_store, 0, Image()), StoreResult::Skipped) << "no picture";
    EXPECT_EQ(StoreFrameAt(m_store, 0, -1, Frame(1)), StoreResult::Skipped);
    EXPECT_EQ(StoreFrameAt(m_store, 0, kFrames, Frame(1)), StoreResult::Skipped);
}

TEST_F(FrameWriter, StoresAtAChosenSlotWithoutTheIndex)
{
    Warm();
    m_store.m_iendFrame[0] = 1;
    EXPECT_EQ(StoreFrameAt(m_store, 0, 3, Frame(7), 12), StoreResult::Stored);
    EXPECT_TRUE(SlotHolds(0, 3));
    EXPECT_EQ(m_store.m_evidence[0][3].iExposure, 12);
    EXPECT_EQ(m_store.m_iendFrame[0], 1);
}

TEST_F(FrameWriter, CopiesASlotWithItsEvidence)
{
    Warm();
    StoreFrameAt(m_store, 0, 3, Frame(7), 12);
    EXPECT_EQ(CopySlot(m_store, 0, 3, 1), StoreResult::Stored);
    EXPECT_TRUE(SlotHolds(0, 1));
    EXPECT_EQ(m_store.m_evidence[0][1].iExposure, 12);
    EXPECT_EQ(m_store.m_evidence[0][1].arrival, 1007);
    EXPECT_EQ(CopySlot(m_store, 0, 3, kFrames), StoreResult::Skipped);
    EXPECT_EQ(CopySlot(m_store, 0, -1, 1), StoreResult::Skipped);
    EXPECT_TRUE(SlotHolds(0, 1));
}

} // namespace
} // namespace vireo
