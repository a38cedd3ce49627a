#pragma once
#include "camera/vireo_doc.h"

#include <cstddef>
#include <functional>

namespace vireo {

/// Whether waiting for camera c has become pointless: the capture ends, or its thread has.
using CheckAbandoned = std::function<bool(std::size_t)>;

/// Moves the start of each camera's recording onto the frame where the cameras agree: camera 0's onto the
/// first change of its input pins around the start, the others' onto the frame within 250 us of camera 0's.
/// A camera without such a frame keeps its start and is told to the operator.
/// Camera 0's thread, when its recording is complete; waits for the others' last frames.
/// @return false when it was abandoned; nothing more is told then.
bool AlignStartFrames(CVireoDoc& doc, const CheckAbandoned& abandoned);

/// Counts the frames of the other cameras that are more than a period away from camera 0's; the tolerance
/// grows to the largest distance seen, so a constant offset counts once and only a drift counts again.
/// The counts become the missed and out-of-sync counters; the operator is told once.
/// @return false when it was abandoned.
bool SyncCheck2(CVireoDoc& doc, const CheckAbandoned& abandoned);

/// Both, one after the other.
void CheckSynchronisation(CVireoDoc& doc, const CheckAbandoned& abandoned);

} // namespace vireo
