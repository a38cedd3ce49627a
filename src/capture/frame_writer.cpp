#include "capture/frame_writer.h"

#include "platform/frame_copy.h"

#include <algorithm>

namespace vireo {

namespace {

void SetGeometry(FrameGeometry& geometry, const Image& raw)
{
    geometry.uiRows = raw.GetRows();
    geometry.uiCols = raw.GetCols();
    geometry.uiStride = raw.GetStride();
    geometry.uiDataSize = raw.GetDataSize();
    geometry.uiPixelFormat = static_cast<std::uint32_t>(raw.GetPixelFormat());
    geometry.uiBayerTile = static_cast<std::uint32_t>(raw.GetBayerTileFormat());
}

// Counts a cold slot that is written. False when it must not be written: after touching was given up, every page that a
// frame takes brings the machine nearer to killing the program.
bool PrepareSlot(FrameStore& store, std::size_t uiCamera, int iIndex, bool& bCold)
{
    bCold = !store.IsWarm(uiCamera, iIndex);
    if (!bCold)
        return true;
    bCold = !store.m_arena->IsShort();
    store.m_uiColdSlots[uiCamera] += bCold ? 1 : 0;
    return bCold;
}

} // namespace

StoreResult StoreFrame(FrameStore& store, std::size_t uiCamera, const Image& raw, std::int64_t iExposure)
{
    std::atomic<int>& iEnd = store.m_iendFrame[uiCamera];
    if (iEnd >= store.m_iBufferFrames || iEnd < 0)
        iEnd = 0;
    return StoreFrameAt(store, uiCamera, iEnd, raw, iExposure);
}

StoreResult StoreFrameAt(FrameStore& store, std::size_t uiCamera, int iIndex, const Image& raw, std::int64_t iExposure)
{
    if (uiCamera == 0)
        SetGeometry(store.m_geometry, raw);
    std::uint8_t* pSlot = store.Slot(uiCamera, iIndex);
    if (pSlot == nullptr || raw.GetData() == nullptr)
        return StoreResult::Skipped;

    FrameEvidence evidence { .arrival = raw.GetArrivalTime(), .iExposure = iExposure };
    const bool bTooLarge = raw.GetDataSize() > store.m_uiSlotBytes;
    const bool bWritable = PrepareSlot(store, uiCamera, iIndex, evidence.bCold);
    if (bWritable) {
        evidence.uiBytes = std::min(raw.GetDataSize(), store.m_uiSlotBytes);
        CopyFrame(pSlot, raw.GetData(), evidence.uiBytes);
    } else {
        evidence.iExposure = -1; // the slot lacks its frame: a gap
    }
    store.m_evidence[uiCamera][static_cast<std::size_t>(iIndex)] = evidence;
    if (!bWritable)
        return StoreResult::Skipped;
    if (!bTooLarge)
        return StoreResult::Stored;
    ++store.m_uiTruncated[uiCamera];
    return StoreResult::Truncated;
}

StoreResult CopySlot(FrameStore& store, std::size_t uiCamera, int iFrom, int iTo)
{
    const std::uint8_t* pFrom = store.Slot(uiCamera, iFrom);
    std::uint8_t* pTo = store.Slot(uiCamera, iTo);
    if (pFrom == nullptr || pTo == nullptr)
        return StoreResult::Skipped;
    if (iFrom == iTo)
        return StoreResult::Stored;
    FrameEvidence evidence = store.m_evidence[uiCamera][static_cast<std::size_t>(iFrom)];
    if (!PrepareSlot(store, uiCamera, iTo, evidence.bCold)) {
        store.m_evidence[uiCamera][static_cast<std::size_t>(iTo)].iExposure = -1;
        return StoreResult::Skipped;
    }
    CopyFrame(pTo, pFrom, evidence.uiBytes);
    store.m_evidence[uiCamera][static_cast<std::size_t>(iTo)] = evidence;
    return StoreResult::Stored;
}

} // namespace vireo
