#pragma once
#include <cstddef>
#include <optional>
#include <string_view>

namespace vireo {

/// Every operation of the camera library that can fail, by its method name.
enum class Operation {
    GetNumOfCameras,
    GetCameraSerialNumberFromIndex,
    GetCameraFromSerialNumber,
    GetInterfaceTypeFromGuid,
    Connect,
    Disconnect,
    GetCameraInfo,
    GetConfiguration,
    SetConfiguration,
    ReadRegister,
    WriteRegister,
    GetProperty,
    SetProperty,
    GetPropertyInfo,
    GetTriggerMode,
    SetTriggerMode,
    GetStrobeInfo,
    GetStrobe,
    SetStrobe,
    StartCapture,
    StopCapture,
    RetrieveBuffer,
    SetVideoModeAndFrameRate,
    GetFormat7Info,
    ValidateFormat7Settings,
    SetFormat7Configuration,
    ReadGVCPRegister,
    WriteGVCPRegister,
    GetNumStreamChannels,
    GetGigEStreamChannelInfo,
    SetGigEStreamChannelInfo,
    DiscoverGigEPacketSize,
    QueryGigEImagingMode,
    SetGigEImagingMode,
    GetGigEImageSettingsInfo,
    SetGigEImageSettings,
    GetGigEConfig,
    SetGigEConfig,
    StartSyncCapture,
};

constexpr std::size_t kOperationCount = static_cast<std::size_t>(Operation::StartSyncCapture) + 1;

/// None when the library has no such operation.
std::optional<Operation> FindOperation(std::string_view strName);
std::string_view OperationName(Operation eOperation);
/// False for the two that concern all cameras at once.
constexpr bool HasCamera(Operation eOperation)
{
    return eOperation != Operation::GetNumOfCameras && eOperation != Operation::StartSyncCapture;
}

} // namespace vireo
