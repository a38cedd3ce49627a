#pragma once

namespace vireo {

class CVireoDoc;

/// Builds the frame store anew for the document's record time, frame rate, image size and cameras; the old
/// one and what it recorded are gone. When memory does not suffice for that, a message is shown, the record
/// time becomes 1 s and the store gets as many slots as m_iBufferFrames said before. When not even that can
/// be had, the store stays empty; m_iBufferFrames is kept.
///
/// Returns when two seconds' worth of frames is touched, or after one second; the rest is touched in the
/// background. When memory runs short meanwhile a message is shown, once, and StoreIsShort becomes true.
///
/// User-interface thread, while no grab thread runs.
/// @return whether the store has the requested size.
bool AllocateFrameStore(CVireoDoc& doc);

/// Gives the store's memory back and makes every counter, mark and request idle. Nothing happens, not even
/// to the counters, when there is no store. User-interface thread, while no grab thread runs.
void FreeFrameStore(CVireoDoc& doc);

/// Touching was given up because memory ran short: no recording can start until the store is smaller.
/// Any thread, while the store is neither allocated nor freed.
bool StoreIsShort(const CVireoDoc& doc);

} // namespace vireo
