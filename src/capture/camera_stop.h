#pragma once
#include "camera/vireo_doc.h"

namespace vireo {

/// Stops every camera, whatever the others answer. Those that may run on are remembered in the capture's flags,
/// for the next stop: a running camera refuses every configuration. On the thread that carries out the stop.
/// @return the first error.
Error StopEveryCamera(CVireoDoc& doc);

} // namespace vireo
