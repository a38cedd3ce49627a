#include "camera/document_settings.h"

#include "app/settings_records.h"

namespace vireo {

namespace {

/// The document's transform of the view; null when it has none.
AffineTransform* AffineOf(CVireoDoc& doc, int iView)
{
    if (iView < 0 || iView >= static_cast<int>(kCameraSlots))
        return nullptr;
    return &doc.m_windows.m_affine[static_cast<std::size_t>(iView)];
}

} // namespace

bool LoadRecordingPreset(CVireoDoc& doc)
{
    ApplyPreset(doc, LoadRecordingPreset(doc.App(), doc.m_parameters.PresetIndex));
    return true;
}

bool SaveRecordingPreset(CVireoDoc& doc)
{
    SaveRecordingPreset(doc.App(), doc.m_parameters.PresetIndex, CurrentPreset(doc));
    return true;
}

RecordingPreset CurrentPreset(const CVireoDoc& doc)
{
    const CaptureParameters& parameters = doc.m_parameters;
    RecordingPreset preset;
    preset.ButtonLabel = parameters.m_strPresetName;
    preset.FrameRate = parameters.m_iFps;
    preset.Shutter = parameters.m_iShutter;
    preset.WindowSize = parameters.m_iImageSizeIndex;
    preset.Gain = parameters.m_fGain;
    preset.GainSetAll = parameters.GainSetAll;
    preset.RecTime = parameters.m_iRecordSec;
    preset.Path = doc.m_naming.m_strSaveFolder;
    preset.WindowSizeX = parameters.m_iImageWidth;
    preset.WindowSizeY = parameters.m_iImageHeight;
    preset.MonoColor = parameters.MonoColor;
    preset.TriggerLowHigh = parameters.TriggerLowHigh;
    preset.SyncPath = parameters.SyncPath;
    preset.IsMaster = parameters.IsMaster;
    preset.InitialCameraNumber = parameters.InitialCameraNumber;
    return preset;
}

void ApplyPreset(CVireoDoc& doc, const RecordingPreset& preset)
{
    CaptureParameters& parameters = doc.m_parameters;
    parameters.m_strPresetName = preset.ButtonLabel;
    parameters.m_iFps = preset.FrameRate;
    parameters.m_iShutter = preset.Shutter;
    parameters.m_iImageSizeIndex = preset.WindowSize;
    parameters.m_fGain = preset.Gain;
    parameters.GainSetAll = preset.GainSetAll;
    parameters.m_iRecordSec = preset.RecTime;
    doc.m_naming.m_strSaveFolder = preset.Path;
    parameters.m_iImageWidth = preset.WindowSizeX;
    parameters.m_iImageHeight = preset.WindowSizeY;
    parameters.MonoColor = preset.MonoColor;
    parameters.TriggerLowHigh = preset.TriggerLowHigh;
    parameters.SyncPath = preset.SyncPath;
    parameters.IsMaster = preset.IsMaster;
    parameters.InitialCameraNumber = preset.InitialCameraNumber;
}

void LoadViewAffine(CVireoDoc& doc, int iView, const std::string& strSection)
{
    if (AffineTransform* pAffine = AffineOf(doc, iView))
        *pAffine = LoadViewAffine(doc.App(), strSection);
}

void SaveViewAffine(CVireoDoc& doc, int iView, const std::string& strSection)
{
    if (const AffineTransform* pAffine = AffineOf(doc, iView))
        SaveViewAffine(doc.App(), strSection, *pAffine);
}

void LoadWhiteBalance(CVireoDoc& doc, std::size_t uiCamera)
{
    if (uiCamera < doc.m_cameras.m_whiteBalance.size() && uiCamera < doc.m_cameras.m_uiSerialNumber.size())
        doc.m_cameras.m_whiteBalance[uiCamera] = LoadWhiteBalance(doc.App(), doc.m_cameras.m_uiSerialNumber[uiCamera]);
}

void SaveFileList(CVireoDoc& doc) { SaveFileList(doc.App(), doc.m_naming.m_astrFileHistory); }

} // namespace vireo
