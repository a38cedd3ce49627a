#include "app/settings_records.h"

#include "app/number_text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace vireo {

namespace {

constexpr const char* kPanelSection = "CAM_CONTROL_DLG";
constexpr const char* kFileListSection = "FILENAME";
constexpr const char* kMainWindowSection = "MAIN_WINDOW";

struct AffineKey {
    const char* strKey;
    float AffineTransform::*pValue;
};
constexpr std::array<AffineKey, 6> kAffineKeys { {
    { "AFFINE_11", &AffineTransform::_11 },
    { "AFFINE_12", &AffineTransform::_12 },
    { "AFFINE_21", &AffineTransform::_21 },
    { "AFFINE_22", &AffineTransform::_22 },
    { "AFFINE_31", &AffineTransform::_31 },
    { "AFFINE_32", &AffineTransform::_32 },
} };

/// Reads all but "left", whose default is 0 in every record.
void LoadRestOfRect(CVireoApp& app, const std::string& strSection, WindowRect& rect)
{
    rect.top = app.ReadIniInt(strSection, "top", rect.top);
    rect.right = app.ReadIniInt(strSection, "right", rect.right);
    rect.bottom = app.ReadIniInt(strSection, "bottom", rect.bottom);
}

WindowRect LoadRect(CVireoApp& app, const std::string& strSection, WindowRect rect)
{
    rect.left = app.ReadIniInt(strSection, "left", rect.left);
    LoadRestOfRect(app, strSection, rect);
    return rect;
}

void SaveRect(CVireoApp& app, const std::string& strSection, const WindowRect& rect)
{
    app.WriteIniInt(strSection, "left", rect.left);
    app.WriteIniInt(strSection, "top", rect.top);
    app.WriteIniInt(strSection, "right", rect.right);
    app.WriteIniInt(strSection, "bottom", rect.bottom);
}

} // namespace

std::string PresetSection(int iPreset) { return "CAM_PROPERTY_DATA" + std::to_string(iPreset); }

std::string ViewSection(int iCameraNumber)
{
    char text[24];
    std::snprintf(text, sizeof text, "CAM%02d", iCameraNumber);
    return text;
}

std::string AffineSection(const std::string& strViewSection) { return strViewSection + "_AFFINE"; }

RecordingPreset LoadRecordingPreset(CVireoApp& app, int iPreset)
{
    const std::string strSection = PresetSection(iPreset);
    RecordingPreset preset;
    preset.ButtonLabel = app.ReadIniString(strSection, "button", "");
    preset.FrameRate = app.ReadIniInt(strSection, "FrameRate", 30);
    preset.Shutter = app.ReadIniInt(strSection, "Shutter", 500);
    preset.WindowSize = app.ReadIniInt(strSection, "WindowSize", 0);
    preset.Gain = TextToFloat(app.ReadIniString(strSection, "Gain", "0"));
    preset.GainSetAll = app.ReadIniInt(strSection, "GainSetAll", 1) == 1;
    preset.RecTime = app.ReadIniInt(strSection, "RecTime", 1);
    preset.Path = app.ReadIniString(strSection, "Path", "c:\\");
    preset.WindowSizeX = app.ReadIniInt(strSection, "WindowSizeX", 640);
    preset.WindowSizeY = app.ReadIniInt(strSection, "WindowSizeX", 480); // the width's key, deliberately
    preset.MonoColor = app.ReadIniInt(strSection, "MonoColor", 0);
    preset.TriggerLowHigh = app.ReadIniInt(strSection, "TriggerLowHigh", 0) != 0;
    preset.SyncPath = app.ReadIniString(strSection, "SyncPath", "c:\\");
    preset.IsMaster = app.ReadIniInt(strSection, "MasterOrSlave", 0) == 0;
    preset.InitialCameraNumber = app.ReadIniInt(strSection, "InitialCameraNumber", 1);
    return preset;
}

void SaveRecordingPreset(CVireoApp& app, int iPreset, const RecordingPreset& preset)
{
    const std::string strSection = PresetSection(iPreset);
    app.WriteIniString(strSection, "button", preset.ButtonLabel);
    app.WriteIniInt(strSection, "FrameRate", preset.FrameRate);
    app.WriteIniInt(strSection, "Shutter", preset.Shutter);
    app.WriteIniInt(strSection, "WindowSize", preset.WindowSize);
    app.WriteIniString(strSection, "Gain", FloatToText(preset.Gain));
    app.WriteIniInt(strSection, "GainSetAll", preset.GainSetAll ? 1 : 0);
    app.WriteIniInt(strSection, "RecTime", preset.RecTime);
    app.WriteIniString(strSection, "Path", preset.Path);
    app.WriteIniInt(strSection, "WindowSizeX", preset.WindowSizeX);
    app.WriteIniInt(strSection, "WindowSizeY", preset.WindowSizeY);
    app.WriteIniInt(strSection, "MonoColor", preset.MonoColor);
    app.WriteIniInt(strSection, "TriggerLowHigh", preset.TriggerLowHigh ? 1 : 0);
    app.WriteIniInt(strSection, "MasterOrSlave", preset.IsMaster ? 0 : 1);
    app.WriteIniInt(strSection, "InitialCameraNumber", preset.InitialCameraNumber);
}

bool LoadControlPanelRect(CVireoApp& app, WindowRect& rect)
{
    rect = LoadRect(app, kPanelSection, {});
    return rect != WindowRect {};
}

void SaveControlPanelRect(CVireoApp& app, const WindowRect& rect) { SaveRect(app, kPanelSection, rect); }

bool LoadViewRect(CVireoApp& app, const std::string& strSection, WindowRect& rect)
{
    // Read as text, "left" tells a stored 0 from a missing one.
    const std::string strLeft = app.ReadIniString(strSection, "left", "");
    rect = { TextToInt(strLeft), 0, 640, 530 };
    LoadRestOfRect(app, strSection, rect);
    return !strLeft.empty();
}

void SaveViewRect(CVireoApp& app, const std::string& strSection, const WindowRect& rect)
{
    SaveRect(app, strSection, rect);
}

AffineTransform LoadViewAffine(CVireoApp& app, const std::string& strSection)
{
    AffineTransform affine;
    for (const AffineKey& key : kAffineKeys)
        affine.*key.pValue = TextToFloat(app.ReadIniString(strSection, key.strKey, "0"));
    const bool bAllZero =
        std::ranges::all_of(kAffineKeys, [&](const AffineKey& key) { return affine.*key.pValue == 0.0F; });
    return bAllZero ? AffineTransform {} : affine;
}

void SaveViewAffine(CVireoApp& app, const std::string& strSection, const AffineTransform& affine)
{
    for (const AffineKey& key : kAffineKeys)
        app.WriteIniString(strSection, key.strKey, FloatToText(affine.*key.pValue));
}

WhiteBalance LoadWhiteBalance(CVireoApp& app, std::uint32_t uiSerialNumber)
{
    const std::string strSection = std::to_string(uiSerialNumber);
    const auto read = [&](const char* strKey, std::int32_t iDefault) {
        return static_cast<std::uint32_t>(app.ReadIniInt(strSection, strKey, iDefault));
    };
    WhiteBalance balance;
    balance.GB = read("WhiteBalanceGB", 715);
    balance.GR = read("WhiteBalanceGR", 645);
    balance.B = read("WhiteBalanceB", 90);
    balance.R = read("WhiteBalanceR", 80);
    return balance;
}

void SaveFileList(CVireoApp& app, std::span<const std::string> names)
{
    for (std::size_t i = 0; i < std::min(names.size(), kSavedFileNames); ++i)
        app.WriteIniString(kFileListSection, "file" + std::to_string(i + 1), names[i]);
}

MainWindowPlacement LoadMainWindowPlacement(CVireoApp& app)
{
    MainWindowPlacement placement;
    placement.rect = LoadRect(app, kMainWindowSection, placement.rect);
    placement.bMaximized = app.ReadIniInt(kMainWindowSection, "showCmd", 0) != 0;
    return placement;
}

void SaveMainWindowPlacement(CVireoApp& app, const MainWindowPlacement& placement)
{
    SaveRect(app, kMainWindowSection, placement.rect);
    app.WriteIniInt(kMainWindowSection, "showCmd", placement.bMaximized ? 1 : 0);
}

} // namespace vireo
