#pragma once
#include "platform/camera_library.h"
#include "platform/simulated/camera_link.h"

#include <cstdint>

namespace vireo {

/// What a start of several cameras needs of each.
class LinkOwner {
public:
    virtual ~LinkOwner() = default;
    virtual CameraLink& Link() = 0;
};

/// The operations that every camera has, for both kinds of camera object.
template <typename Interface> class SimulatedBase : public Interface, public LinkOwner {
public:
    SimulatedBase(Simulation& simulation, Device& device, bool bGigE)
        : m_link(simulation, device, bGigE)
    {
    }
    CameraLink& Link() override { return m_link; }

    Error Connect(const PGRGuid& guid) override { return m_link.Connect(guid); }
    Error Disconnect() override { return m_link.Disconnect(); }
    bool IsConnected() const override { return m_link.IsConnected(); }
    Error GetCameraInfo(CameraInfo& info) override
    {
        return m_link.Do(Operation::GetCameraInfo, [&](Device& device) {
            info = device.info;
            return Error();
        });
    }
    Error GetConfiguration(FC2Config& config) override
    {
        return m_link.Do(Operation::GetConfiguration, [&](Device& device) {
            config = device.settings.config;
            return Error();
        });
    }
    Error SetConfiguration(const FC2Config& config) override
    {
        return m_link.Change(
            Operation::SetConfiguration, [&](Device& device) { return device.settings.SetConfiguration(config); });
    }
    Error ReadRegister(std::uint32_t uiAddress, std::uint32_t& uiValue) override
    {
        return m_link.ReadRegister(uiAddress, uiValue);
    }
    Error WriteRegister(std::uint32_t uiAddress, std::uint32_t uiValue) override
    {
        return m_link.WriteRegister(uiAddress, uiValue);
    }
    Error GetProperty(Property& property) override
    {
        return m_link.Do(Operation::GetProperty, [&](Device& device) { return device.settings.GetProperty(property); });
    }
    Error SetProperty(const Property& property) override
    {
        return m_link.Change(
            Operation::SetProperty, [&](Device& device) { return device.settings.SetProperty(property); });
    }
    Error GetPropertyInfo(PropertyInfo& info) override
    {
        return m_link.Do(
            Operation::GetPropertyInfo, [&](Device& device) { return device.settings.GetPropertyInfo(info); });
    }
    Error GetTriggerMode(TriggerMode& mode) override
    {
        return m_link.Do(Operation::GetTriggerMode, [&](Device& device) {
            mode = device.settings.trigger;
            return Error();
        });
    }
    Error SetTriggerMode(const TriggerMode& mode) override
    {
        return m_link.Change(
            Operation::SetTriggerMode, [&](Device& device) { return device.settings.SetTriggerMode(mode); });
    }
    Error GetStrobeInfo(StrobeInfo& info) override
    {
        return m_link.Do(Operation::GetStrobeInfo, [&](Device&) {
            const bool bPresent = info.source == kStrobeLine;
            info = { info.source, bPresent, bPresent };
            return Error();
        });
    }
    Error GetStrobe(StrobeControl& control) override
    {
        return m_link.Do(Operation::GetStrobe, [&](Device& device) -> Error {
            if (control.source != kStrobeLine)
                return ErrorType::NotSupported;
            control = device.settings.strobe;
            return {};
        });
    }
    Error SetStrobe(const StrobeControl& control) override
    {
        return m_link.Change(Operation::SetStrobe, [&](Device& device) { return device.settings.SetStrobe(control); });
    }
    Error StartCapture() override { return m_link.StartCapture(); }
    Error StopCapture() override { return m_link.StopCapture(); }
    Error RetrieveBuffer(Image& image) override { return m_link.RetrieveBuffer(image); }
    void CancelRetrieve() override { m_link.CancelRetrieve(); }
    StreamStatistics GetStreamStatistics() const override { return m_link.GetStreamStatistics(); }

protected:
    CameraLink m_link;
};

class SimulatedCamera final : public SimulatedBase<Camera> {
public:
    SimulatedCamera(Simulation& simulation, Device& device);
    Error SetVideoModeAndFrameRate(VideoMode eMode, FrameRateCode eRate) override;
    Error GetFormat7Info(Format7Info& info, bool& bSupported) override;
    Error ValidateFormat7Settings(
        const Format7ImageSettings& settings, bool& bValid, Format7PacketInfo& packetInfo) override;
    Error SetFormat7Configuration(const Format7ImageSettings& settings, std::uint32_t uiBytesPerPacket) override;
};

class SimulatedGigECamera final : public SimulatedBase<GigECamera> {
public:
    SimulatedGigECamera(Simulation& simulation, Device& device);
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
};

} // namespace vireo
