#pragma once
#include "platform/camera_library.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>

namespace vireo {

// What every test of a real camera does with it.

inline void Check(const Error& error)
{
    ASSERT_TRUE(error.IsOk()) << error.GetTypeNumber() << " " << error.GetDescription();
}

inline void SetAbsolute(CameraBase& camera, PropertyType eType, float fValue)
{
    Property property;
    property.type = eType;
    Check(camera.GetProperty(property));
    property.absControl = true;
    property.onOff = true;
    property.autoManualMode = false;
    property.absValue = fValue;
    Check(camera.SetProperty(property));
}

/// Every frame is queued, with the header on, and waited for that long.
inline void PrepareFetching(CameraBase& camera, int iTimeoutMs)
{
    FC2Config config;
    Check(camera.GetConfiguration(config));
    config.grabMode = GrabMode::BufferFrames;
    config.grabTimeout = iTimeoutMs;
    Check(camera.SetConfiguration(config));
    Check(camera.WriteRegister(0x12F8, 0x80000101));
}

/// Fetches until something else than a frame comes, or one that was given up.
inline Error FetchToTheEnd(CameraBase& camera)
{
    Error error;
    while (error.IsOk() || error == ErrorType::Timeout || error == ErrorType::NothingToDeliver) {
        Image image;
        error = camera.RetrieveBuffer(image);
    }
    return error;
}

inline std::map<std::string, std::function<Error()>> EveryCall(CameraBase& camera)
{
    return {
        { "GetCameraInfo", [&] { return camera.GetCameraInfo(*std::make_unique<CameraInfo>()); } },
        { "GetConfiguration", [&] { return camera.GetConfiguration(*std::make_unique<FC2Config>()); } },
        { "SetConfiguration", [&] { return camera.SetConfiguration(FC2Config()); } },
        { "ReadRegister", [&] { return camera.ReadRegister(0x12F8, *std::make_unique<std::uint32_t>()); } },
        { "WriteRegister", [&] { return camera.WriteRegister(0x12F8, 0x80000101); } },
        { "GetProperty", [&] { return camera.GetProperty(*std::make_unique<Property>()); } },
        { "SetProperty", [&] { return camera.SetProperty(Property()); } },
        { "GetPropertyInfo", [&] { return camera.GetPropertyInfo(*std::make_unique<PropertyInfo>()); } },
        { "GetTriggerMode", [&] { return camera.GetTriggerMode(*std::make_unique<TriggerMode>()); } },
        { "SetTriggerMode", [&] { return camera.SetTriggerMode(TriggerMode()); } },
        { "GetStrobeInfo", [&] { return camera.GetStrobeInfo(*std::make_unique<StrobeInfo>()); } },
        { "GetStrobe", [&] { return camera.GetStrobe(*std::make_unique<StrobeControl>()); } },
        { "SetStrobe", [&] { return camera.SetStrobe(StrobeControl()); } },
        { "StartCapture", [&] { return camera.StartCapture(); } },
        { "StopCapture", [&] { return camera.StopCapture(); } },
        { "RetrieveBuffer", [&] { return camera.RetrieveBuffer(*std::make_unique<Image>()); } },
        { "Disconnect", [&] { return camera.Disconnect(); } },
    };
}

} // namespace vireo
