#pragma once
#include "camera/vireo_doc.h"

#include <cstddef>
#include <cstdint>

namespace vireo {

// Keeps the cameras frame-locked by hardware: camera 0 runs free and its strobe triggers the others, or,
// in trigger-wait operation, the external input triggers all of them. Only a set in which every camera is
// strobe-capable is locked; any other runs free and is left alone here.
//
// User-interface thread while no grab thread runs, unless a function says otherwise. A failing library call
// is shown once, where it fails, and ends the function with false.

/// Sets the level register of camera 0: level 1 clears its bits 31 and 28, any other sets them (1 means idle
/// low, active high). Any thread.
bool VoltageLevelLowHigh(CVireoDoc& doc, int iLevel);

/// Sets the input/output direction of one camera for a master or a slave computer, then the configured level.
bool GpioControl(CVireoDoc& doc, std::size_t uiCamera);

/// The level of the trigger input, 0 or 1, as it compares with the configured one. Any thread while capture
/// runs: it reads one register and what the capture was started with.
int ReadTriggerInput(CVireoDoc& doc);

/// The same for a register value: the digits count from its most significant set bit, which is bit 31 on a
/// camera that works. A digit beyond the end counts as not set.
int TriggerInputLevel(std::uint32_t uiRegister, bool bMaster);

/// Empties every camera's frame queue and gives it its grab time-out: camera 0 100 ms while it waits for the
/// trigger, else 2000 ms, the others no limit.
bool ClearStrobeCameraBuffer(CVireoDoc& doc);

enum class StrobePreparation {
    Synchronised, ///< the trigger network is armed
    NotSupported, ///< some camera cannot be locked: run free; nothing was shown
    Failed, ///< shown; triggers may be half armed, the capture must not start
};
/// Arms strobe and triggers, and keeps each exposure 0.5 ms shorter than the frame period.
/// `hwSync` is 1 when the cameras are set up for hardware synchronisation, else 0.
StrobePreparation SynchroStrobePre(CVireoDoc& doc, int& hwSync);

/// Switches strobe and triggers off again, as the running capture had them. The first failure is shown and
/// makes the result false; the remaining cameras are still put back, silently.
bool SynchroStrobePost(CVireoDoc& doc);
/// The same without a word, after a failure that has been shown.
void UndoSynchroStrobe(CVireoDoc& doc);

} // namespace vireo
