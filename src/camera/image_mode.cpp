#include "camera/image_mode.h"

#include "capture/camera_properties.h"
#include "capture/messages.h"

namespace vireo {

namespace {

constexpr std::uint32_t kLargestGigEPacket = 9000; // bytes; where the discovery begins

bool Lacks(std::uint32_t uiFormats, PixelFormat eFormat)
{
    return (uiFormats & static_cast<std::uint32_t>(eFormat)) == 0;
}

template <typename Settings> void SetFrame(Settings& settings, const VideoModeChoice& choice)
{
    settings.offsetX = static_cast<std::uint32_t>(choice.iOffsetX);
    settings.offsetY = static_cast<std::uint32_t>(choice.iOffsetY);
    settings.width = static_cast<std::uint32_t>(choice.iWidth);
    settings.height = static_cast<std::uint32_t>(choice.iHeight);
}

bool WriteFrameRateRegisters(CVireoDoc& doc, CameraBase& camera, const CameraInfo& info, const VideoModeChoice& choice)
{
    WindowSystem& window = doc.GetPlatform().window;
    for (const FrameRateRegister& access : FrameRateRegisters(info.modelName, doc.m_parameters.m_iFps, choice.iWidth)) {
        std::uint32_t uiOld = 0;
        if (access.bReadFirst
            && !Passed(window, camera.ReadRegister(access.uiAddress, uiOld), messages::kRateRegisterReadFailed))
            return false;
        if (!Passed(window, camera.WriteRegister(access.uiAddress, access.uiValue), messages::kRateRegisterWriteFailed))
            return false;
    }
    return true;
}

bool SetImagingMode(CVireoDoc& doc, std::size_t uiCamera, GigECamera& camera, ImagingMode mode)
{
    Platform& platform = doc.GetPlatform();
    bool bSupported = false;
    if (!Passed(platform.window, camera.QueryGigEImagingMode(mode, bSupported), messages::kQueryImagingModeFailed,
            uiCamera))
        return false;
    if (!bSupported)
        platform.log.Write("Mode is not supported\n");
    return Passed(platform.window, camera.SetGigEImagingMode(mode), messages::kSetImagingModeFailed, uiCamera);
}

bool SetGigEFrame(
    CVireoDoc& doc, std::size_t uiCamera, GigECamera& camera, const CameraInfo& info, const VideoModeChoice& choice)
{
    Platform& platform = doc.GetPlatform();
    GigEImageSettingsInfo capabilities;
    if (!Passed(platform.window, camera.GetGigEImageSettingsInfo(capabilities), messages::kImageSettingsInfoFailed,
            uiCamera))
        return false;
    GigEImageSettings settings;
    SetFrame(settings, choice);
    settings.pixelFormat = ChooseGigEPixelFormat(info.modelName, info.isColorCamera);
    if (Lacks(capabilities.pixelFormatBitField, settings.pixelFormat))
        platform.log.Write("Pixel format is not supported\n");
    return Passed(platform.window, camera.SetGigEImageSettings(settings), messages::kImageSettingsFailed, uiCamera);
}

bool SetGigEMode(CVireoDoc& doc, std::size_t uiCamera, const CameraInfo& info, const VideoModeChoice& choice)
{
    WindowSystem& window = doc.GetPlatform().window;
    GigECamera& camera = *doc.m_cameras.m_ppGigECamera[uiCamera];
    std::uint32_t& uiPacketSize = doc.m_cameras.m_uiGigEPacketSize;
    uiPacketSize = kLargestGigEPacket;
    if (!Passed(window, camera.DiscoverGigEPacketSize(uiPacketSize), messages::kPacketSizeFailed, uiCamera)
        || !SetImagingMode(doc, uiCamera, camera, choice.mode) || !SetGigEFrame(doc, uiCamera, camera, info, choice))
        return false;

    GigEConfig config;
    if (!Passed(window, camera.GetGigEConfig(config), messages::kGigEConfigReadFailed, uiCamera))
        return false;
    config.enablePacketResend = true;
    return Passed(window, camera.SetGigEConfig(config), messages::kGigEConfigWriteFailed, uiCamera);
}

bool SetFormat7Mode(CVireoDoc& doc, std::size_t uiCamera, const CameraInfo& info, const VideoModeChoice& choice)
{
    Platform& platform = doc.GetPlatform();
    Camera& camera = *doc.m_cameras.m_ppCamera[uiCamera];
    Format7ImageSettings settings;
    settings.mode = choice.mode;
    SetFrame(settings, choice);
    settings.pixelFormat = ChooseFormat7PixelFormat(info.modelName, info.isColorCamera);

    Format7Info capabilities;
    capabilities.mode = choice.mode;
    bool bSupported = false;
    const Error error = camera.GetFormat7Info(capabilities, bSupported);
    if (!error.IsOk()) // no reason to give up: the camera still judges the settings themselves
        PrintErrorTrace(platform.log, error, "GetFormat7Info");
    if (Lacks(capabilities.pixelFormatBitField, settings.pixelFormat))
        platform.log.Write("Pixel format is not supported\n");

    bool bValid = false;
    Format7PacketInfo packetInfo;
    if (!Passed(
            platform.window, camera.ValidateFormat7Settings(settings, bValid, packetInfo), messages::kValidateFailed))
        return false;
    if (!bValid) {
        ShowMessage(platform.window, messages::kSettingsInvalid);
        return false;
    }
    const std::uint32_t uiPacket = ChoosePacketSize(info.modelName, choice.iPacketSize, packetInfo);
    return Passed(platform.window, camera.SetFormat7Configuration(settings, uiPacket), messages::kFormat7Failed);
}

bool SetFrameRate(CVireoDoc& doc, CameraBase& camera, float fFps)
{
    return SwitchProperty(doc, camera, PropertyType::FrameRate, false)
        && SetAbsoluteValue(doc, camera, PropertyType::FrameRate, fFps);
}

} // namespace

bool SetCustomMode(CVireoDoc& doc, std::size_t uiCamera, const CameraInfo& info, const VideoModeChoice& choice)
{
    CameraBase& camera = CameraOf(doc, uiCamera);
    const int iFps = doc.m_parameters.m_iFps;
    if (!WriteFrameRateRegisters(doc, camera, info, choice) || !SetFrameRate(doc, camera, static_cast<float>(iFps)))
        return false;
    const bool bSet = doc.m_cameras.m_bIsGigE[uiCamera] ? SetGigEMode(doc, uiCamera, info, choice)
                                                        : SetFormat7Mode(doc, uiCamera, info, choice);
    // At this rate a change of the image mode puts the property back.
    return bSet && (iFps != 120 || SetFrameRate(doc, camera, 120.0F));
}

bool SetStandardMode(CVireoDoc& doc, std::size_t uiCamera, const VideoModeChoice& choice)
{
    Camera& camera = *doc.m_cameras.m_ppCamera[uiCamera];
    return Passed(doc.GetPlatform().window, camera.SetVideoModeAndFrameRate(VideoMode::Mode640x480Y8, choice.eRate),
        messages::kVideoModeFailed);
}

} // namespace vireo
