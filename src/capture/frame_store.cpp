#include "capture/frame_store.h"

#include <algorithm>
#include <cmath>

namespace vireo {

namespace {

constexpr double kFrameTimeWrap = 128.0; // s; 7 bits of seconds

} // namespace

double FrameTimeDifference(double a, double b) { return std::remainder(a - b, kFrameTimeWrap); }

bool HasMemoryFor(std::uint64_t uiAvailableKiB, int iFrames, unsigned int uiCameras, std::uint32_t uiSlotBytes)
{
    if (iFrames < 1)
        return false;
    // Unsigned arithmetic wraps where signed one would be undefined; the bits are the same.
    const std::uint32_t uiProduct = static_cast<std::uint32_t>(iFrames) * uiCameras * (uiSlotBytes / 1024);
    const auto uiNeedKiB = static_cast<std::uint64_t>(std::int64_t { static_cast<std::int32_t>(uiProduct) });
    return uiAvailableKiB * 9 / 10 >= uiNeedKiB;
}

FrameStore::FrameStore()
{
    for (auto& iCount : m_isaveFrameCount)
        iCount = kIdleFrameCount;
}

FrameStore::~FrameStore() = default;

void FrameStore::EnsureCameras(std::size_t uiCameras)
{
    if (uiCameras <= m_isaveFrameCount.size())
        return;
    m_evidence.EnsureSize(uiCameras);
    m_iendFrame.EnsureSize(uiCameras);
    m_isaveFrameCount.EnsureSize(uiCameras);
    m_istartFrame.EnsureSize(uiCameras);
    m_iLastFrame.EnsureSize(uiCameras);
    m_bRecordDone.EnsureSize(uiCameras);
    m_uiColdSlots.EnsureSize(uiCameras);
    m_uiTruncated.EnsureSize(uiCameras);
    m_iLostBefore.EnsureSize(uiCameras);
    for (auto& iCount : m_isaveFrameCount)
        iCount = kIdleFrameCount;
}

std::uint8_t* FrameStore::Slot(std::size_t uiCamera, int iIndex) const
{
    if (!m_arena || iIndex < 0 || iIndex >= m_iAllocatedFrames)
        return nullptr;
    std::byte* pRegion = m_arena->Region(uiCamera);
    if (pRegion == nullptr)
        return nullptr;
    return reinterpret_cast<std::uint8_t*>(pRegion + static_cast<std::uint64_t>(iIndex) * SlotStride(m_uiSlotBytes));
}

bool FrameStore::IsWarm(std::size_t uiCamera, int iIndex) const
{
    if (Slot(uiCamera, iIndex) == nullptr)
        return false;
    return m_arena->TouchedBytes(uiCamera) >= (static_cast<std::uint64_t>(iIndex) + 1) * SlotStride(m_uiSlotBytes);
}

Image FrameStore::SlotImage(std::size_t uiCamera, int iIndex) const
{
    const std::uint8_t* pSlot = Slot(uiCamera, iIndex);
    if (pSlot == nullptr || m_geometry.uiRows == 0)
        return {};
    // The shape is camera 0's for all; a larger one must not reach into the next slot.
    const std::uint32_t uiDataSize = std::min<std::uint32_t>(m_geometry.uiDataSize, m_uiSlotBytes);
    Image image(m_geometry.uiRows, m_geometry.uiCols, m_geometry.uiStride, pSlot, uiDataSize,
        static_cast<PixelFormat>(m_geometry.uiPixelFormat.load()),
        static_cast<BayerTileFormat>(m_geometry.uiBayerTile.load()));
    image.SetArrivalTime(m_evidence[uiCamera][static_cast<std::size_t>(iIndex)].arrival);
    return image;
}

double FrameStore::SlotTime(std::size_t uiCamera, int iIndex) const
{
    const std::uint8_t* pSlot = Slot(uiCamera, iIndex);
    if (pSlot == nullptr)
        return 0.0;
    return FrameTimestampSeconds(FrameCycleTime(std::span<const std::uint8_t, 4>(pSlot, 4)));
}

} // namespace vireo
