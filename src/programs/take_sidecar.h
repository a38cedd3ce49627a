#pragma once
#include "capture/take_sidecar.h"
#include "platform/log.h"

#include <memory>
#include <string_view>

namespace vireo {

/// Writes BASE.csv beside each BASE-0000.avi and, beside the first camera's, BASE.json.
/// @param strSetting  what the environment says: "0" switches it off
/// @return null when it is switched off
std::unique_ptr<TakeSidecar> MakeTakeSidecar(std::string_view strSetting, Log& log);

} // namespace vireo
