#pragma once
#include "capture/take_report.h"

#include <vector>

namespace vireo {

/// What the intervals between frames on edges from outside tell: such frames have no numbers of their own.
struct TriggerGaps {
    std::vector<std::vector<Gap>> losses; ///< per camera
    std::vector<Gap> pauses; ///< intervals that every camera waited, by camera 0's frames; those of one camera alone
                             ///< may as well be its losses
};

/// An interval of several usual ones is a loss, unless all cameras have it at the same edge: then the trigger
/// paused. What a camera lost before it, or on either side of the pause, is told apart by how long it waited.
/// @param times  of every frame of every camera, s, without wraps; each camera on its own clock
/// @param dUsual  the usual interval, s, above 0
TriggerGaps FindTriggerGaps(const std::vector<std::vector<double>>& times, double dUsual);

} // namespace vireo
