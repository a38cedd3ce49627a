#include "capture/strobe.h"

#include "capture/camera_properties.h"
#include "capture/messages.h"

#include <bit>
#include <string>
#include <vector>

namespace vireo {

namespace {

constexpr unsigned int kMostSynchronised = 10; ///< cameras
constexpr unsigned int kStrobeLine = 2; ///< output of camera 0, and the trigger input of every camera
constexpr unsigned int kIdleTriggerLine = 4; ///< trigger source of a camera that runs free
constexpr unsigned int kOverlappedTrigger = 14; ///< trigger mode: exposure overlaps read-out
constexpr int kMasterTimeoutMs = 2000;
constexpr int kTriggerWaitTimeoutMs = 100;
constexpr int kNoTimeout = -1;
constexpr ClockTime kDrainLimit = 500 * kNsPerMs; ///< for all cameras together

// A read-modify-write of a whole control register.
struct RegisterChange {
    std::uint32_t uiAddress, uiSet, uiClear;
};
constexpr std::uint32_t Apply(const RegisterChange& change, std::uint32_t uiValue)
{
    return (uiValue & ~change.uiClear) | change.uiSet;
}
constexpr std::uint32_t Bit(int iBit) { return std::uint32_t { 1 } << iBit; }

constexpr std::uint32_t kInputRegister = 0x11F4;
constexpr RegisterChange kLevelOne { 0x11F0, 0, Bit(31) | Bit(28) };
constexpr RegisterChange kLevelZero { 0x11F0, Bit(31) | Bit(28), 0 };
constexpr RegisterChange kMasterDirection { 0x11F8, Bit(31), Bit(28) };
constexpr RegisterChange kSlaveDirection { 0x11F8, Bit(28), Bit(31) };
constexpr RegisterChange kStrobeOutput { 0x11F8, Bit(29), Bit(30) };
constexpr RegisterChange kTriggerInput { 0x11F8, 0, Bit(29) };
static_assert(Apply(kLevelOne, 0x9000'0001) == 0x0000'0001);
static_assert(Apply(kLevelZero, 0x0000'0001) == 0x9000'0001);

// Only the write tells whether the camera took it: a register that could not be read is written from 0.
Error Change(CameraBase& camera, const RegisterChange& change)
{
    std::uint32_t uiValue = 0;
    (void)camera.ReadRegister(change.uiAddress, uiValue);
    return camera.WriteRegister(change.uiAddress, Apply(change, uiValue));
}

CameraBase* CameraIfAny(CVireoDoc& doc, std::size_t uiCamera)
{
    const auto& cameras = doc.m_cameras.m_ppCameraBase;
    return uiCamera < cameras.size() ? cameras[uiCamera] : nullptr;
}

Error ChangeIfAny(CVireoDoc& doc, std::size_t uiCamera, const RegisterChange& change)
{
    CameraBase* pCamera = CameraIfAny(doc, uiCamera);
    return pCamera == nullptr ? Error(ErrorType::NotConnected) : Change(*pCamera, change);
}

} // namespace

bool VoltageLevelLowHigh(CVireoDoc& doc, int iLevel)
{
    const Error error = ChangeIfAny(doc, 0, iLevel == 1 ? kLevelOne : kLevelZero);
    return Passed(doc.GetPlatform().window, error, messages::kLevelWriteFailed);
}

bool GpioControl(CVireoDoc& doc, std::size_t uiCamera)
{
    const Error error = ChangeIfAny(doc, uiCamera, doc.m_parameters.IsMaster ? kMasterDirection : kSlaveDirection);
    return Passed(doc.GetPlatform().window, error, messages::kGpioWriteFailed)
        && VoltageLevelLowHigh(doc, doc.m_parameters.TriggerLowHigh ? 1 : 0);
}

int TriggerInputLevel(std::uint32_t uiRegister, bool bMaster)
{
    const int iIndex = bMaster ? 3 : 1;
    const int iBit = static_cast<int>(std::bit_width(uiRegister)) - 1 - iIndex;
    return iBit >= 0 && (uiRegister & Bit(iBit)) != 0 ? 0 : 1;
}

int ReadTriggerInput(CVireoDoc& doc)
{
    const CaptureSnapshot& running = doc.m_capture.m_running;
    std::uint32_t uiValue = 0;
    CameraBase* pCamera = CameraIfAny(doc, 0);
    // A camera that does not answer must not look like a trigger: the configured level is the idle one.
    if (pCamera == nullptr || !pCamera->ReadRegister(kInputRegister, uiValue).IsOk())
        return running.bLowHigh ? 1 : 0;
    return TriggerInputLevel(uiValue, running.bMaster);
}

// ---- Emptying the cameras' queues

namespace {

// True when the queue is empty, or the time for emptying it is over.
bool Drain(CVireoDoc& doc, std::size_t uiCamera, ClockTime deadline)
{
    Platform& platform = doc.GetPlatform();
    CameraBase& camera = CameraOf(doc, uiCamera);
    for (;;) {
        Image image;
        const Error error = camera.RetrieveBuffer(image);
        if (error == ErrorType::Timeout)
            return true;
        if (!(error == ErrorType::InconsistentFrame)
            && !Passed(platform.window, error, messages::kClearRetrieveFailed, uiCamera))
            return false;
        if (platform.clock.Now() >= deadline)
            return true;
        platform.clock.SleepMs(1); // a camera that never runs dry must meet the deadline in any kind of time
    }
}

bool RunAndDrain(CVireoDoc& doc, std::size_t uiCamera, FC2Config config, ClockTime deadline)
{
    WindowSystem& window = doc.GetPlatform().window;
    CameraBase& camera = CameraOf(doc, uiCamera);
    config.grabTimeout = 0;
    if (!Passed(window, camera.SetConfiguration(config), messages::kClearConfigFailed, uiCamera)
        || !Passed(window, camera.StartCapture(), messages::kClearStartFailed, uiCamera))
        return false;
    if (!Drain(doc, uiCamera, deadline)) {
        (void)camera.StopCapture(); // or it would go on capturing into a program that has given up
        return false;
    }
    return Passed(window, camera.StopCapture(), messages::kClearStopFailed, uiCamera);
}

bool FlushCamera(CVireoDoc& doc, std::size_t uiCamera, ClockTime deadline)
{
    WindowSystem& window = doc.GetPlatform().window;
    CameraBase& camera = CameraOf(doc, uiCamera);
    FC2Config config;
    if (!Passed(window, camera.GetConfiguration(config), messages::kClearInfoFailed, uiCamera))
        return false;
    const int iMaster = doc.m_capture.m_bTriggerWaitRing ? kTriggerWaitTimeoutMs : kMasterTimeoutMs;
    config.grabTimeout = uiCamera == 0 ? iMaster : kNoTimeout;

    const bool bDrained = RunAndDrain(doc, uiCamera, config, deadline);
    const bool bRestored = Passed(window, camera.SetConfiguration(config), messages::kClearConfigFailed, uiCamera);
    return bDrained && bRestored;
}

} // namespace

bool ClearStrobeCameraBuffer(CVireoDoc& doc)
{
    const unsigned int uiCameras = doc.m_cameras.m_uiNumCameras;
    unsigned int uiCapable = 0;
    for (std::size_t uiCamera = 0; uiCamera < uiCameras; ++uiCamera) {
        CameraInfo info;
        const Error error = CameraOf(doc, uiCamera).GetCameraInfo(info);
        if (!Passed(doc.GetPlatform().window, error, messages::kClearInfoFailed, uiCamera))
            return false;
        uiCapable += IsStrobeCapable(info.modelName) ? 1 : 0;
    }
    if (uiCapable < 1 || uiCapable != uiCameras)
        return true;
    const ClockTime deadline = doc.GetPlatform().clock.Now() + kDrainLimit;
    for (std::size_t uiCamera = 0; uiCamera < uiCameras; ++uiCamera)
        if (!FlushCamera(doc, uiCamera, deadline))
            return false;
    return true;
}

// ---- Arming strobe and triggers

namespace {

// Camera 0 gives the strobe: its own trigger is off, its line an output.
bool PrepareMaster(CVireoDoc& doc, CameraBase& camera)
{
    WindowSystem& window = doc.GetPlatform().window;
    TriggerMode trigger;
    if (!Passed(window, camera.GetTriggerMode(trigger), messages::kPreMasterGetTriggerFailed))
        return false;
    trigger.onOff = false;
    trigger.source = kIdleTriggerLine;
    if (!Passed(window, camera.SetTriggerMode(trigger), messages::kPreMasterSetTriggerFailed)
        || !Passed(window, Change(camera, kStrobeOutput), messages::kPreMasterWriteFailed))
        return false;

    StrobeInfo info;
    info.source = kStrobeLine;
    if (!Passed(window, camera.GetStrobeInfo(info), messages::kPreStrobeInfoFailed))
        return false;
    if (!info.present) {
        ShowMessage(window, messages::kPreNoStrobe);
        return false;
    }
    // On before any camera starts, so that the very first exposure triggers the others as well.
    StrobeControl strobe;
    strobe.source = kStrobeLine;
    if (!Passed(window, camera.GetStrobe(strobe), messages::kPreGetStrobeFailed))
        return false;
    strobe.onOff = true;
    return Passed(window, camera.SetStrobe(strobe), messages::kPreSetStrobeFailed);
}

// The camera exposes at edges of its trigger input. A trigger that is on already is off for a moment, so
// that the camera takes the new settings.
bool ArmTrigger(CVireoDoc& doc, CameraBase& camera, bool bCapable, unsigned int uiPolarity)
{
    Platform& platform = doc.GetPlatform();
    TriggerMode trigger;
    if (!Passed(platform.window, Change(camera, kTriggerInput), messages::kPreWriteFailed)
        || !Passed(platform.window, camera.GetTriggerMode(trigger), messages::kPreGetTriggerFailed))
        return false;
    if (trigger.onOff) {
        trigger.onOff = false;
        if (!Passed(platform.window, camera.SetTriggerMode(trigger), messages::kPreTriggerOffFailed))
            return false;
    }
    platform.clock.SleepMs(1);
    trigger.onOff = true;
    trigger.polarity = uiPolarity;
    trigger.source = kStrobeLine;
    trigger.parameter = 0;
    trigger.mode = bCapable ? kOverlappedTrigger : 0;
    return Passed(platform.window, camera.SetTriggerMode(trigger), messages::kPreTriggerOnFailed);
}

} // namespace

StrobePreparation SynchroStrobePre(CVireoDoc& doc, int& hwSync)
{
    hwSync = 0;
    WindowSystem& window = doc.GetPlatform().window;
    const unsigned int uiCameras = doc.m_cameras.m_uiNumCameras;
    if (uiCameras > kMostSynchronised) {
        ShowMessage(window, messages::kPreTooManyCameras, { uiCameras, kMostSynchronised });
        return StrobePreparation::Failed;
    }
    std::vector<bool> capable;
    unsigned int uiCapable = 0;
    for (std::size_t uiCamera = 0; uiCamera < uiCameras; ++uiCamera) {
        CameraInfo info;
        if (!Passed(window, CameraOf(doc, uiCamera).GetCameraInfo(info), messages::kPreInfoFailed))
            return StrobePreparation::Failed;
        capable.push_back(IsStrobeCapable(info.modelName));
        uiCapable += capable.back() ? 1 : 0;
    }
    if (uiCapable != uiCameras || uiCameras == 0)
        return StrobePreparation::NotSupported;

    const bool bTriggerWait = doc.m_capture.m_bTriggerWaitRing;
    if (!bTriggerWait && !PrepareMaster(doc, CameraOf(doc, 0)))
        return StrobePreparation::Failed;
    for (std::size_t uiCamera = 0; uiCamera < uiCameras; ++uiCamera) {
        CameraBase& camera = CameraOf(doc, uiCamera);
        const bool bTriggered = bTriggerWait || uiCamera > 0; // the strobe's giver runs free
        if (bTriggered && !ArmTrigger(doc, camera, capable[uiCamera], bTriggerWait ? 1 : 0))
            return StrobePreparation::Failed;
        if (!LimitExposure(doc, camera))
            return StrobePreparation::Failed;
    }
    hwSync = 1;
    return StrobePreparation::Synchronised;
}

// ---- Putting the cameras back

namespace {

// Keeps the first failure and shows it, unless nobody is to hear of it.
class FirstFailure {
public:
    explicit FirstFailure(WindowSystem* pWindow)
        : m_pWindow(pWindow)
    {
    }
    bool Passed(const Error& error, const MessageText& text)
    {
        if (!error.IsOk() && m_bOk && m_pWindow != nullptr)
            ShowMessage(*m_pWindow, text, { error.GetTypeNumber() });
        m_bOk = m_bOk && error.IsOk();
        return error.IsOk();
    }
    [[nodiscard]] bool Ok() const { return m_bOk; }

private:
    WindowSystem* m_pWindow; ///< null: silent
    bool m_bOk = true;
};

void SwitchStrobeOff(CameraBase& camera, FirstFailure& failure)
{
    StrobeControl strobe;
    strobe.source = kStrobeLine;
    if (!failure.Passed(camera.GetStrobe(strobe), messages::kPostGetStrobeFailed))
        return;
    strobe.onOff = false;
    failure.Passed(camera.SetStrobe(strobe), messages::kPostSetStrobeFailed);
}

void SwitchTriggerOff(CameraBase& camera, FirstFailure& failure)
{
    TriggerMode trigger;
    if (!failure.Passed(camera.GetTriggerMode(trigger), messages::kPostGetTriggerFailed))
        return;
    trigger.onOff = false;
    trigger.source = kIdleTriggerLine;
    failure.Passed(camera.SetTriggerMode(trigger), messages::kPostSetTriggerFailed);
}

bool PutBack(CVireoDoc& doc, FirstFailure failure)
{
    const unsigned int uiCameras = doc.m_cameras.m_uiNumCameras;
    unsigned int uiCapable = 0;
    for (std::size_t uiCamera = 0; uiCamera < uiCameras; ++uiCamera) {
        CameraInfo info;
        // A camera that is gone counts as what it was, so that the others are still put back.
        if (!failure.Passed(CameraOf(doc, uiCamera).GetCameraInfo(info), messages::kPostInfoFailed))
            info.modelName = doc.m_cameras.m_strModel[uiCamera];
        uiCapable += IsStrobeCapable(info.modelName) ? 1 : 0;
    }
    if (uiCapable != uiCameras || uiCameras == 0)
        return failure.Ok();
    if (!doc.m_capture.m_running.bTriggerWaitRing)
        SwitchStrobeOff(CameraOf(doc, 0), failure);
    for (std::size_t uiCamera = 0; uiCamera < uiCameras; ++uiCamera)
        SwitchTriggerOff(CameraOf(doc, uiCamera), failure);
    return failure.Ok();
}

} // namespace

bool SynchroStrobePost(CVireoDoc& doc) { return PutBack(doc, FirstFailure(&doc.GetPlatform().window)); }

void UndoSynchroStrobe(CVireoDoc& doc) { PutBack(doc, FirstFailure(nullptr)); }

} // namespace vireo
