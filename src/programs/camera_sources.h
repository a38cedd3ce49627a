#pragma once
#include "platform/camera_library.h"
#include "platform/clock.h"
#include "platform/log.h"

#include <memory>
#include <string>
#include <string_view>

namespace vireo {

/// Where cameras come from, in the words of TESSEL_CAMERAS:
///   source[,source...] with source = genicam | genicam:INTERFACE | iidc | simulated | simulated:item[+item...]
/// Empty stands for real hardware. `strFaults` are the fault rules for simulated cameras (TESSEL_SIM_FAULTS).
/// `clock` and `log` outlive the library.
/// @return null with one line in `strError` that names the bad item; nothing falls back silently.
std::unique_ptr<CameraLibrary> OpenCameraSources(
    std::string_view strSources, std::string_view strFaults, Clock& clock, Log& log, std::string& strError);

} // namespace vireo
