#include "capture/camera_stop.h"

namespace vireo {

namespace {

bool MayRunOn(const Error& error)
{
    return !error.IsOk() && !(error == ErrorType::NotStarted) && !(error == ErrorType::NotConnected)
        && !(error == ErrorType::Disconnected);
}

} // namespace

Error StopEveryCamera(CVireoDoc& doc)
{
    Error first;
    bool bAnyLeft = false;
    for (std::size_t c = 0; c < doc.m_cameras.m_uiNumCameras; ++c) {
        const Error error = CameraOf(doc, c).StopCapture();
        bAnyLeft = bAnyLeft || MayRunOn(error);
        if (first.IsOk())
            first = error;
    }
    doc.m_capture.m_bCamerasLeft = bAnyLeft;
    return first;
}

} // namespace vireo
