#pragma once
#include "platform/camera_library.h"
#include "platform/genicam/genicam_device.h"

#include <functional>
#include <string>

namespace vireo {

/// What both kinds of camera do alike.
template <typename Base> class GenicamCameraBase : public Base {
public:
    GenicamCameraBase(
        Clock& clock, Log& log, GenicamDevice::FindRecord findRecord, bool bGigE, std::shared_ptr<SharedGrace> grace)
        : m_device(clock, log, std::move(findRecord), bGigE, std::move(grace))
    {
    }
    Error Connect(const PGRGuid& guid) override { return m_device.Connect(guid); }
    Error Disconnect() override { return m_device.Disconnect(); }
    bool IsConnected() const override { return m_device.IsConnected(); }
    Error GetCameraInfo(CameraInfo& info) override { return m_device.GetCameraInfo(info); }
    Error GetConfiguration(FC2Config& config) override { return m_device.GetConfiguration(config); }
    Error SetConfiguration(const FC2Config& config) override { return m_device.SetConfiguration(config); }
    Error ReadRegister(std::uint32_t uiAddress, std::uint32_t& uiValue) override;
    Error WriteRegister(std::uint32_t uiAddress, std::uint32_t uiValue) override;
    Error GetProperty(Property& property) override;
    Error SetProperty(const Property& property) override;
    Error GetPropertyInfo(PropertyInfo& info) override;
    Error GetTriggerMode(TriggerMode& mode) override;
    Error SetTriggerMode(const TriggerMode& mode) override;
    Error GetStrobeInfo(StrobeInfo& info) override;
    Error GetStrobe(StrobeControl& control) override;
    Error SetStrobe(const StrobeControl& control) override;
    Error StartCapture() override { return m_device.StartCapture(); }
    Error StopCapture() override { return m_device.StopCapture(); }
    Error RetrieveBuffer(Image& image) override { return m_device.RetrieveBuffer(image); }
    void CancelRetrieve() override { m_device.CancelRetrieve(); }
    StreamStatistics GetStreamStatistics() const override { return m_device.GetStreamStatistics(); }

    GenicamDevice& Device() { return m_device; }

protected:
    GenicamDevice m_device;
};

/// A USB3 Vision camera.
class GenicamUsbCamera final : public GenicamCameraBase<Camera> {
public:
    using GenicamCameraBase::GenicamCameraBase;
    Error SetVideoModeAndFrameRate(VideoMode eMode, FrameRateCode eRate) override;
    Error GetFormat7Info(Format7Info& info, bool& bSupported) override;
    Error ValidateFormat7Settings(
        const Format7ImageSettings& settings, bool& bValid, Format7PacketInfo& packetInfo) override;
    Error SetFormat7Configuration(const Format7ImageSettings& settings, std::uint32_t uiBytesPerPacket) override;
};

/// A GigE Vision camera.
class GenicamGigECamera final : public GenicamCameraBase<GigECamera> {
public:
    using GenicamCameraBase::GenicamCameraBase;
    Error ReadGVCPRegister(std::uint32_t uiAddress, std::uint32_t& uiValue) override;
    Error WriteGVCPRegister(std::uint32_t uiAddress, std::uint32_t uiValue) override;
    Error GetNumStreamChannels(std::uint32_t& uiChannels) override;
    Error GetGigEStreamChannelInfo(std::uint32_t uiChannel, GigEStreamChannel& channel) override;
    Error SetGigEStreamChannelInfo(std::uint32_t uiChannel, const GigEStreamChannel& channel) override;
    Error DiscoverGigEPacketSize(std::uint32_t& uiPacketSize) override;
    Error QueryGigEImagingMode(ImagingMode mode, bool& bSupported) override;
    Error SetGigEImagingMode(ImagingMode mode) override;
    Error GetGigEImageSettingsInfo(GigEImageSettingsInfo& info) override;
    Error SetGigEImageSettings(const GigEImageSettings& settings) override;
    Error GetGigEConfig(GigEConfig& config) override;
    Error SetGigEConfig(const GigEConfig& config) override;

private:
    Error DoAndLog(const std::function<Error(OpenDevice&, std::string&)>& job);
};

} // namespace vireo
