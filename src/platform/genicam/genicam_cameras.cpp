#include "platform/genicam/genicam_cameras.h"

#include "platform/genicam/control_registers.h"
#include "platform/genicam/frame_rate.h"
#include "platform/genicam/image_settings.h"
#include "platform/genicam/properties.h"
#include "platform/genicam/stream_channels.h"
#include "platform/genicam/trigger_lines.h"

#include <utility>

namespace vireo {

namespace {

// A USB3 Vision camera has no packet size of its own; what is said here is taken back as it comes.
constexpr Format7PacketInfo kPacketInfo { 65536, 65536, 8 };

struct Register {
    std::uint32_t uiAddress = 0;
    std::uint32_t uiValue = 0;
};
Error ReadControl(OpenDevice& device, Register& word)
{
    return ReadControlRegister(device, word.uiAddress, word.uiValue);
}
Error ReadBootstrapWord(OpenDevice& device, Register& word)
{
    return ReadBootstrap(device, word.uiAddress, word.uiValue);
}

struct ModeAnswer {
    ImagingMode mode = 0;
    bool bSupported = false;
};
Error AskMode(OpenDevice& device, ModeAnswer& answer) { return QueryMode(device, answer.mode, answer.bSupported); }

struct Format7Answer {
    Format7Info info;
    bool bSupported = false;
};
Error AskFormat7(OpenDevice& device, Format7Answer& answer)
{
    return ReadFormat7Info(device, answer.info, answer.bSupported);
}

GigEImageSettings ImageOf(const Format7ImageSettings& settings)
{
    return { settings.offsetX, settings.offsetY, settings.width, settings.height, settings.pixelFormat };
}

Error SetStandardMode(OpenDevice& device, double dFps)
{
    if (Error error = SetMode(device, 0); !error.IsOk())
        return error;
    if (Error error = SetImage(device, { 0, 0, 640, 480, PixelFormat::Mono8 }); !error.IsOk())
        return error == ErrorType::InvalidSettings ? Error(ErrorType::NotSupported, error.GetDescription()) : error;
    Property rate; // the camera may run on its own just now
    rate.type = PropertyType::FrameRate;
    rate.autoManualMode = false;
    rate.absControl = true;
    rate.absValue = static_cast<float>(dFps);
    return WriteProperty(device, rate);
}

} // namespace

template <typename Base> Error GenicamCameraBase<Base>::ReadRegister(std::uint32_t uiAddress, std::uint32_t& uiValue)
{
    Register word { uiAddress, 0 };
    Error error = m_device.Fill(word, ReadControl);
    if (error.IsOk())
        uiValue = word.uiValue;
    return error;
}

template <typename Base> Error GenicamCameraBase<Base>::WriteRegister(std::uint32_t uiAddress, std::uint32_t uiValue)
{
    return m_device.Do([=](OpenDevice& device) { return WriteControlRegister(device, uiAddress, uiValue); });
}

template <typename Base> Error GenicamCameraBase<Base>::GetProperty(Property& property)
{
    return m_device.Fill(property, ReadProperty);
}

template <typename Base> Error GenicamCameraBase<Base>::SetProperty(const Property& property)
{
    return m_device.Do([property](OpenDevice& device) { return WriteProperty(device, property); });
}

template <typename Base> Error GenicamCameraBase<Base>::GetPropertyInfo(PropertyInfo& info)
{
    return m_device.Fill(info, ReadPropertyInfo);
}

template <typename Base> Error GenicamCameraBase<Base>::GetTriggerMode(TriggerMode& mode)
{
    return m_device.Fill(mode, ReadTrigger);
}

template <typename Base> Error GenicamCameraBase<Base>::SetTriggerMode(const TriggerMode& mode)
{
    return m_device.Do([mode](OpenDevice& device) { return WriteTrigger(device, mode); });
}

template <typename Base> Error GenicamCameraBase<Base>::GetStrobeInfo(StrobeInfo& info)
{
    Error error = m_device.Fill(info, ReadStrobeInfo);
    if (error.IsOk() && !info.present) // no error, but the log tells which camera it was
        (void)m_device.Do([uiLine = info.source](OpenDevice& device) {
            return device.features->Fail(ErrorType::NotSupported, "no strobe on line " + std::to_string(uiLine));
        });
    return error;
}

template <typename Base> Error GenicamCameraBase<Base>::GetStrobe(StrobeControl& control)
{
    return m_device.Fill(control, ReadStrobe);
}

template <typename Base> Error GenicamCameraBase<Base>::SetStrobe(const StrobeControl& control)
{
    return m_device.Do([control](OpenDevice& device) { return WriteStrobe(device, control); });
}

template class GenicamCameraBase<Camera>;
template class GenicamCameraBase<GigECamera>;

Error GenicamUsbCamera::SetVideoModeAndFrameRate(VideoMode eMode, FrameRateCode eRate)
{
    const bool b30 = eRate == FrameRateCode::Fps30;
    return m_device.Do([=](OpenDevice& device) {
        if (eMode != VideoMode::Mode640x480Y8 || (!b30 && eRate != FrameRateCode::Fps60))
            return device.features->Fail(ErrorType::NotSupported, "no such video mode");
        return SetStandardMode(device, b30 ? 30.0 : 60.0);
    });
}

Error GenicamUsbCamera::GetFormat7Info(Format7Info& info, bool& bSupported)
{
    Format7Answer answer { info, false };
    Error error = m_device.Fill(answer, AskFormat7);
    if (error.IsOk()) {
        info = answer.info;
        bSupported = answer.bSupported;
    }
    return error;
}

Error GenicamUsbCamera::ValidateFormat7Settings(
    const Format7ImageSettings& settings, bool& bValid, Format7PacketInfo& packetInfo)
{
    Format7Info info;
    info.mode = settings.mode;
    bool bSupported = false;
    if (Error error = GetFormat7Info(info, bSupported); !error.IsOk())
        return error;
    const GigEImageSettingsInfo limits { info.maxWidth, info.maxHeight, info.offsetHStepSize, info.offsetVStepSize,
        info.imageHStepSize, info.imageVStepSize, info.pixelFormatBitField };
    bValid = bSupported && CheckImage(Features(nullptr, ""), limits, ImageOf(settings)).IsOk();
    packetInfo = kPacketInfo;
    return {};
}

Error GenicamUsbCamera::SetFormat7Configuration(const Format7ImageSettings& settings, std::uint32_t uiBytesPerPacket)
{
    return m_device.Do([=](OpenDevice& device) {
        if (device.bCapturing)
            return device.features->Fail(ErrorType::AlreadyStarted, "the image cannot change while capturing");
        if (uiBytesPerPacket < kPacketInfo.unitBytesPerPacket || uiBytesPerPacket > kPacketInfo.maxBytesPerPacket)
            return device.features->Fail(ErrorType::InvalidParameter, "no such packet size");
        if (Error error = SetMode(device, settings.mode); !error.IsOk())
            return error == ErrorType::NotSupported ? Error(ErrorType::InvalidSettings, error.GetDescription()) : error;
        return SetImage(device, ImageOf(settings));
    });
}

/// Logs on the caller's side what the job has to say.
Error GenicamGigECamera::DoAndLog(const std::function<Error(OpenDevice&, std::string&)>& job)
{
    auto note = std::make_shared<std::string>();
    Error error = m_device.Do([job, note](OpenDevice& device) { return job(device, *note); });
    if (error.IsOk() && !note->empty())
        m_device.GetLog().Write(*note);
    return error;
}

Error GenicamGigECamera::ReadGVCPRegister(std::uint32_t uiAddress, std::uint32_t& uiValue)
{
    Register word { uiAddress, 0 };
    Error error = m_device.Fill(word, ReadBootstrapWord);
    if (error.IsOk())
        uiValue = word.uiValue;
    return error;
}

Error GenicamGigECamera::WriteGVCPRegister(std::uint32_t uiAddress, std::uint32_t uiValue)
{
    return DoAndLog(
        [=](OpenDevice& device, std::string& strNote) { return WriteBootstrap(device, uiAddress, uiValue, strNote); });
}

Error GenicamGigECamera::GetNumStreamChannels(std::uint32_t& uiChannels)
{
    return m_device.Fill(uiChannels, CountStreamChannels);
}

Error GenicamGigECamera::GetGigEStreamChannelInfo(std::uint32_t uiChannel, GigEStreamChannel& channel)
{
    NumberedChannel numbered { uiChannel, channel };
    Error error = m_device.Fill(numbered, ReadStreamChannel);
    if (error.IsOk())
        channel = numbered.channel;
    return error;
}

Error GenicamGigECamera::SetGigEStreamChannelInfo(std::uint32_t uiChannel, const GigEStreamChannel& channel)
{
    return DoAndLog([=](OpenDevice& device, std::string& strNote) {
        return WriteStreamChannel(device, { uiChannel, channel }, strNote);
    });
}

Error GenicamGigECamera::DiscoverGigEPacketSize(std::uint32_t& uiPacketSize)
{
    return m_device.Fill(uiPacketSize, FindPacketSize);
}

Error GenicamGigECamera::QueryGigEImagingMode(ImagingMode mode, bool& bSupported)
{
    ModeAnswer answer { mode, false };
    Error error = m_device.Fill(answer, AskMode);
    if (error.IsOk())
        bSupported = answer.bSupported;
    return error;
}

Error GenicamGigECamera::SetGigEImagingMode(ImagingMode mode)
{
    return m_device.Do([mode](OpenDevice& device) { return SetMode(device, mode); });
}

Error GenicamGigECamera::GetGigEImageSettingsInfo(GigEImageSettingsInfo& info)
{
    return m_device.Fill(info, ReadImageInfo);
}

Error GenicamGigECamera::SetGigEImageSettings(const GigEImageSettings& settings)
{
    return m_device.Do([settings](OpenDevice& device) { return SetImage(device, settings); });
}

Error GenicamGigECamera::GetGigEConfig(GigEConfig& config)
{
    return m_device.Fill(
        config, +[](OpenDevice& device, GigEConfig& read) {
            read = device.remembered.gigeConfig;
            return Error();
        });
}

Error GenicamGigECamera::SetGigEConfig(const GigEConfig& config)
{
    return m_device.Do([config](OpenDevice& device) {
        device.remembered.gigeConfig = config;
        return Error();
    });
}

} // namespace vireo
