#pragma once
#include "capture/per_camera.h"
#include "platform/camera_types.h"
#include "platform/image.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vireo {

/// What flows through the grab threads.
namespace capture_state {
constexpr int kLive = 2; ///< frames flow, nothing is recorded
constexpr int kRecording = 3;
} // namespace capture_state

/// How the cameras run together, chosen at each start.
namespace capture_mode {
constexpr int kLinear = 1; ///< started together, free-running
constexpr int kRing = 2; ///< hardware-synchronised, started one by one
} // namespace capture_mode

/// The phases of a capture; the stated flags are its outputs.
enum class CapturePhase : int { Stopped, Starting, Running, Stopping, Failed };

/// The parameters a capture runs on, taken when it starts. Grab loops, monitor, checks, views and export
/// read these, never the fields that dialogs and preset reads change meanwhile.
/// Written on the user-interface thread while no grab thread runs.
struct CaptureSnapshot {
    int iFps = 30;
    int iImageSizeIndex = 0;
    int iWidth = 640; ///< of the display image, pixels
    int iHeight = 480;
    int iShutter = 500; ///< denominator of 1/x s; -1 = open
    float fExposureMs = 2.0F;
    int iBufferFrames = 0; ///< ring slots per camera
    std::uint32_t uiSlotBytes = 0;
    unsigned int uiCameras = 0;
    int iMode = capture_mode::kLinear;
    bool bTriggerWaitRing = false;
    bool bTriggerWaitLinear = false;
    bool bLowHigh = false; ///< the configured trigger level
    bool bMaster = true;
    bool bStrobeCapable = false; ///< camera 0 is one of the six strobe-capable models
    bool bCooperation = false; ///< started by a partner program
    bool bImposed = false; ///< the partner's values are imposed
    bool bRateFixed = false; ///< the partner's frame rate stays for camera 0
    int iFirstCamera = 0; ///< number of camera 0 in file names and reports
    bool bView24 = false; ///< display images are Bgr (24 bits), not Bgru
    std::vector<std::string> models; ///< per camera
    std::vector<std::uint32_t> serials;
    std::vector<InterfaceType> interfaces;
    std::vector<std::uint32_t> clockDomains;
};

/// One camera's current picture. The only lock between subsystems guards it: camera c's grab thread
/// writes, the view draws.
struct ViewImage {
    std::mutex m_csView;
    Image m_viewImage;
    std::uint32_t m_uiFrameRows = 0; ///< of the frame that it shows; the rest of it is black
    std::uint32_t m_uiFrameCols = 0;
};

/// Flags, counters and pictures of the capture. State only.
struct CaptureFlags {
    // Written where a capture starts, on the user-interface thread, and where it ends, on whichever thread
    // carries out the stop; read by every thread.
    std::atomic<int> m_iCaptureMode = capture_mode::kLinear;
    std::atomic<bool> m_bCapturing = false;
    std::atomic<bool> m_bKeyWaitRun = false; ///< run flag of the monitor
    std::atomic<bool> m_bStopping = false;
    std::atomic<bool> m_bCamerasLeft = false; ///< the last stop met a camera that may run on
    PerCamera<std::atomic<bool>> m_bGrabRun; ///< run flag of each grab thread
    std::atomic<CapturePhase> m_ePhase = CapturePhase::Stopped;
    CaptureSnapshot m_running;

    /// Camera 0's thread makes it "recording"; a fetch that failed, a stop, a save and the operator's side
    /// put it back to live.
    std::atomic<int> m_iCaptureState = capture_state::kLive;
    PerCamera<std::atomic<bool>> m_bThreadEnded; ///< set by the leaving thread, cleared at its start; begins true

    std::atomic<std::uint32_t> m_uiMissedCount = 0; ///< wraps to 0 above 999999
    std::atomic<std::uint32_t> m_uiOutOfSyncCount = 0; ///< wraps to 0 above 999999
    std::atomic<double> m_dMeasuredFps = 0.0; ///< smoothed
    double m_dFpsAlpha = 0.9; ///< weight of the old value
    std::atomic<std::int64_t> m_llPreviousCount = 0; ///< performance counter of the last processed frame

    // Operator's switches, and what the operator's side and the grab threads tell each other.
    std::atomic<bool> m_bTriggerWaitLinear = false;
    std::atomic<bool> m_bTriggerWaitRing = false;
    std::atomic<bool> m_bSaveAfterRecord = false;
    std::atomic<bool> m_bPulseSync = false;
    std::atomic<bool> m_bPlayback = false;
    std::atomic<bool> m_bSaving = false;
    std::atomic<bool> m_bLevelToggled = false; ///< the start has flipped the trigger level; it goes back after 500 ms
    std::atomic<std::int64_t> m_llStartTime = 0; ///< performance counter of the last start press
    /// Somebody has told the partner of this capture's recording, or does so now: it is told once.
    std::atomic<bool> m_bStartNotified = false;
    std::atomic<bool> m_bEndNotified = false; ///< ... of its end

    // Marks of one recording. The operator's side sets them; camera 0's thread puts them back as it begins one.
    std::atomic<int> m_iMarkStart = 0;
    std::atomic<int> m_iMarkEnd = 0;
    std::atomic<int> m_iSaveFirstFrame = 0; ///< first frame of the saved range
    std::atomic<int> m_iSaveLastFrame = -1; ///< last frame of the saved range, inclusive; -1 = the last recorded one

    PerCamera<ViewImage> m_view;

    CaptureFlags();
};

} // namespace vireo
