#pragma once
#include "platform/camera_types.h"
#include "platform/log.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vireo {

/// One camera that answered.
struct DeviceRecord {
    PGRGuid guid;
    CameraInfo info; ///< what a camera tells before it is opened
    bool bGigE = false; ///< else USB3 Vision
    std::string strId; ///< the driver's name for it
    std::string strAddress; ///< IPv4 address of a GigE camera
    std::string strHostAddress; ///< address of the chosen network interface; empty = the driver decides

    /// How messages call it: "camera 15000001".
    std::string Name() const { return "camera " + std::to_string(info.serialNumber); }
};

/// Asks all buses who is there; takes about a second. With `strInterface`, the name or an address of a
/// network interface of this computer, only the GigE cameras on its networks are listed. Calls are
/// serialised by the caller.
/// @return empty, or a line that names the interface which does not exist.
std::string DiscoverDevices(const std::string& strInterface, Log& log, std::vector<DeviceRecord>& devices);

/// The number that stands for a serial text: the number itself, or for other texts one made from its
/// letters, with the highest bit set.
std::uint32_t SerialFromText(const std::string& strSerial);

} // namespace vireo
