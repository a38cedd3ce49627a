#pragma once
#include "app/recording_preset.h"
#include "capture/per_camera.h"
#include "platform/camera_library.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vireo {

/// The connected cameras. Slot c is camera c everywhere, in ascending order of serial numbers; camera 0 is
/// the master. Changed on the user-interface thread while no grab thread runs.
struct CameraSlots {
    std::atomic<unsigned int> m_uiNumCameras = 0; ///< cameras in use
    bool m_bCameraConnected = false; ///< at least one camera has been connected

    /// One owner per camera; each is seen through the common interface and, in its own kind, once more.
    std::vector<std::unique_ptr<CameraBase>> m_owners;
    std::vector<CameraBase*> m_ppCameraBase; ///< [slot]; null = not made yet
    std::vector<Camera*> m_ppCamera; ///< null for GigE
    std::vector<GigECamera*> m_ppGigECamera; ///< null for the others

    PerCamera<bool> m_bIsGigE;
    PerCamera<std::uint32_t> m_uiSerialNumber;
    PerCamera<std::string> m_strModel; ///< model text, as the camera told it at connection
    PerCamera<TimeStamp> m_timeStamp; ///< time-stamp record of the latest frame
    PerCamera<WhiteBalance> m_whiteBalance;

    std::uint32_t m_uiGigEPacketSize = 9000; ///< bytes
};

} // namespace vireo
