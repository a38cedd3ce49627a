#include "platform/simulated/operations.h"

#include <array>

namespace vireo {

namespace {

// In the order of the enumeration.
constexpr std::array<std::string_view, kOperationCount> kNames = {
    "GetNumOfCameras",
    "GetCameraSerialNumberFromIndex",
    "GetCameraFromSerialNumber",
    "GetInterfaceTypeFromGuid",
    "Connect",
    "Disconnect",
    "GetCameraInfo",
    "GetConfiguration",
    "SetConfiguration",
    "ReadRegister",
    "WriteRegister",
    "GetProperty",
    "SetProperty",
    "GetPropertyInfo",
    "GetTriggerMode",
    "SetTriggerMode",
    "GetStrobeInfo",
    "GetStrobe",
    "SetStrobe",
    "StartCapture",
    "StopCapture",
    "RetrieveBuffer",
    "SetVideoModeAndFrameRate",
    "GetFormat7Info",
    "ValidateFormat7Settings",
    "SetFormat7Configuration",
    "ReadGVCPRegister",
    "WriteGVCPRegister",
    "GetNumStreamChannels",
    "GetGigEStreamChannelInfo",
    "SetGigEStreamChannelInfo",
    "DiscoverGigEPacketSize",
    "QueryGigEImagingMode",
    "SetGigEImagingMode",
    "GetGigEImageSettingsInfo",
    "SetGigEImageSettings",
    "GetGigEConfig",
    "SetGigEConfig",
    "StartSyncCapture",
};

} // namespace

std::optional<Operation> FindOperation(std::string_view strName)
{
    for (std::size_t i = 0; i < kNames.size(); ++i)
        if (kNames[i] == strName)
            return static_cast<Operation>(i);
    return std::nullopt;
}

std::string_view OperationName(Operation eOperation) { return kNames[static_cast<std::size_t>(eOperation)]; }

} // namespace vireo
