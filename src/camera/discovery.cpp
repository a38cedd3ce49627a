#include "camera/discovery.h"

#include "camera/camera_connection.h"
#include "camera/configuration.h"
#include "camera/document_lifecycle.h"
#include "camera/document_settings.h"
#include "camera/record_time.h"
#include "capture/frame_store_alloc.h"
#include "capture/messages.h"

#include <algorithm>

namespace vireo {

namespace {

bool ConfirmedByOperator(CVireoDoc& doc)
{
    if (doc.Request().ImposesSettings())
        return true;
    Platform& platform = doc.GetPlatform();
    return platform.window.ConfirmCameras(platform.cameras.ListCameras());
}

bool CountCameras(CVireoDoc& doc)
{
    WindowSystem& window = doc.GetPlatform().window;
    unsigned int uiCount = 0;
    const Error error = doc.GetPlatform().cameras.GetBusManager().GetNumOfCameras(uiCount);
    doc.m_cameras.m_uiNumCameras = uiCount;
    const bool bCounted = Passed(window, error, messages::kCameraCountFailed);
    if (bCounted && uiCount == 0)
        ShowMessage(window, messages::kNoCamera);
    if (bCounted && uiCount > 0)
        return true;
    doc.App().SetCooperationResult(cooperation_result::kNoCamera);
    return false;
}

// The partner names one file per camera; cameras beyond that are not used.
bool TakeRequiredCameras(CVireoDoc& doc)
{
    const CooperationRequest& request = doc.Request();
    if (!request.ImposesSettings())
        return true;
    const unsigned int uiFound = doc.m_cameras.m_uiNumCameras;
    const auto uiRequired = static_cast<unsigned int>(request.CoopFileCount);
    if (uiRequired > uiFound) {
        ShowMessage(doc.GetPlatform().window, messages::kTooFewCameras, { uiRequired, uiFound });
        doc.App().SetCooperationResult(cooperation_result::kCamerasUnfit);
        return false;
    }
    doc.m_cameras.m_uiNumCameras = uiRequired;
    doc.m_parameters.m_bCooperation = true;
    return true;
}

bool ReserveStore(CVireoDoc& doc)
{
    CaptureParameters& parameters = doc.m_parameters;
    FrameStore& store = doc.m_store;
    const unsigned int uiCameras = doc.m_cameras.m_uiNumCameras;
    store.m_iBufferFrames = BufferFramesFor(parameters.m_iRecordSec, parameters.m_iFps);
    const std::uint64_t uiAvailableKiB = doc.GetPlatform().memory.AvailableKiB();
    if (!HasMemoryFor(uiAvailableKiB, store.m_iBufferFrames, uiCameras, SlotBytes(parameters.m_iImageSizeIndex))) {
        ShowMessage(doc.GetPlatform().window, messages::kNoBuffer, { parameters.m_iRecordSec, parameters.m_iFps });
        doc.m_cameras.m_uiNumCameras = 0;
        return false;
    }
    ComputeMaxRecordSec(doc, 0);
    AllocateFrameStore(doc); // a failure has been shown, and leaves a smaller store or none
    return true;
}

void StartAsSet(CVireoDoc& doc)
{
    WindowSystem& window = doc.GetPlatform().window;
    if (!ConfigureCameras(doc))
        window.PostCommand(command::kExit);
    ToggleControlPanel(doc);
}

int SizeIndexOf(int iWidth, int iHeight)
{
    for (int iIndex = 3; iIndex > 0; --iIndex)
        if (SizeOfIndex(iIndex).iWidth == iWidth && SizeOfIndex(iIndex).iHeight == iHeight)
            return iIndex;
    return 0;
}

void ImposeParameters(CVireoDoc& doc)
{
    const CooperationRequest& request = doc.Request();
    CaptureParameters& parameters = doc.m_parameters;
    parameters.m_iFps = request.CoopFrameRate;
    parameters.m_bRateFixed = true;
    parameters.m_iShutter = request.CoopShutter;
    parameters.m_iImageSizeIndex = SizeIndexOf(request.CoopWidth, request.CoopHeight);
    parameters.m_fGain = std::clamp(static_cast<float>(request.CoopGain), static_cast<float>(parameters.m_iGainMinDb),
        static_cast<float>(parameters.m_iGainMaxDb));
}

// Back to values that any camera can do; the program ends through its normal way out.
void FailCooperation(CVireoDoc& doc, int iResult)
{
    doc.m_parameters.m_iRecordSec = 1;
    doc.m_parameters.m_iFps = 30;
    doc.App().SetCooperationResult(iResult);
    doc.GetPlatform().window.PostCommand(command::kExit);
}

void StartAsImposed(CVireoDoc& doc)
{
    CaptureParameters& parameters = doc.m_parameters;
    for (std::size_t uiCamera = 0; uiCamera < doc.m_cameras.m_uiNumCameras; ++uiCamera)
        doc.m_store.m_bRecordDone[uiCamera] = false;
    ImposeParameters(doc);
    int iHighest = 0;
    if (HighestFrameRate(doc, parameters.m_iImageSizeIndex, iHighest) && iHighest < parameters.m_iFps)
        FailCooperation(doc, cooperation_result::kRateTooHigh);

    // Always as long as memory allows.
    parameters.m_iRecordSec = LongestRecordSec(parameters, parameters.m_iFps);
    doc.GetPlatform().log.Write(FormatMessage(messages::kLongestRecord, { parameters.m_iRecordSec }));
    parameters.TriggerLowHigh = true;
    parameters.IsMaster = true;
    parameters.InitialCameraNumber = 1;
    AllocateFrameStore(doc); // shows its own message
    if (!ConfigureCameras(doc))
        FailCooperation(doc, cooperation_result::kConfigurationFailed);
}

} // namespace

bool OnNewDocument(CVireoDoc& doc)
{
    if (!ConfirmedByOperator(doc) || !CountCameras(doc) || !TakeRequiredCameras(doc) || !ConnectCameras(doc))
        return false;
    LoadRecordingPreset(doc);
    if (!ReserveStore(doc))
        return false;
    if (doc.m_parameters.m_bCooperation)
        StartAsImposed(doc);
    else
        StartAsSet(doc);
    doc.GetPlatform().window.SetViewTimers(true);
    doc.App().SetWindowCount(doc.m_cameras.m_uiNumCameras);
    return true;
}

} // namespace vireo
