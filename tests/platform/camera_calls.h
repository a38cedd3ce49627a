#pragma once
#include "platform/camera_library.h"

#include <gtest/gtest.h>
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

} // namespace vireo
