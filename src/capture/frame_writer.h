#pragma once
#include "capture/frame_store.h"

#include <cstddef>
#include <cstdint>

namespace vireo {

enum class StoreResult {
    Stored,
    Truncated, ///< stored up to the slot's size; counted, the caller logs the first
    Skipped, ///< not stored: no such slot, or memory ran short before the slot was touched
};

/// Copies a frame that has just been fetched into the camera's next slot, m_iendFrame, which is wrapped to
/// 0 first when it stands behind the last slot; it is not advanced. Camera 0's frame also sets the
/// geometry. Counts cold slots and frames that are too large, and keeps the frame's arrival time and its
/// number (-1: none) as the slot's evidence. A slot that is skipped for want of memory has no number: the
/// frame is told as a gap. Allocates nothing. The camera's grab thread only.
StoreResult StoreFrame(FrameStore& store, std::size_t uiCamera, const Image& raw, std::int64_t iExposure = -1);

/// The same for a slot that the caller chooses; m_iendFrame is neither read nor written.
StoreResult StoreFrameAt(
    FrameStore& store, std::size_t uiCamera, int iIndex, const Image& raw, std::int64_t iExposure = -1);

/// Copies one slot with its evidence to another of the same camera. Skipped when one of the two does not
/// exist or memory ran short before the destination was touched, which has no number then. The camera's grab thread
/// only.
StoreResult CopySlot(FrameStore& store, std::size_t uiCamera, int iFrom, int iTo);

} // namespace vireo
