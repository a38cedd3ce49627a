#include "platform/simulated/simulated_cameras.h"

#include <algorithm>

namespace vireo {

namespace {

constexpr std::uint32_t kSmallestGigEPacket = 576;
constexpr std::uint32_t kLargestGigEPacket = 9000;
constexpr std::uint32_t kDoNotFragment = 0x40000000;
constexpr std::uint32_t kLow16 = 0xFFFF;

bool ChannelExists(const RegisterFile& bootstrap, std::uint32_t uiChannel)
{
    return uiChannel < bootstrap.Read(kStreamChannelCount);
}

GigEStreamChannel ReadChannel(const RegisterFile& bootstrap)
{
    GigEStreamChannel channel;
    const std::uint32_t uiPort = bootstrap.Read(kStreamPort);
    channel.networkInterfaceIndex = uiPort >> 16 & 0xF;
    channel.hostPort = uiPort & kLow16;
    const std::uint32_t uiPacket = bootstrap.Read(kStreamPacketSize);
    channel.doNotFragment = (uiPacket & kDoNotFragment) != 0;
    channel.packetSize = uiPacket & kLow16;
    channel.interPacketDelay = bootstrap.Read(kStreamPacketDelay);
    const std::uint32_t uiAddress = bootstrap.Read(kStreamDestination);
    for (std::size_t i = 0; i < channel.destinationIpAddress.octets.size(); ++i)
        channel.destinationIpAddress.octets[i] = static_cast<std::uint8_t>(uiAddress >> (24 - 8 * i));
    channel.sourcePort = bootstrap.Read(kStreamSourcePort);
    return channel;
}

void WriteChannel(RegisterFile& bootstrap, const GigEStreamChannel& channel)
{
    std::uint32_t uiAddress = 0;
    for (const std::uint8_t uiOctet : channel.destinationIpAddress.octets)
        uiAddress = uiAddress << 8 | uiOctet;
    // None of them is read-only, so no write can fail.
    (void)bootstrap.Write(kStreamPort, channel.networkInterfaceIndex << 16 | channel.hostPort);
    (void)bootstrap.Write(kStreamPacketSize, (channel.doNotFragment ? kDoNotFragment : 0) | channel.packetSize);
    (void)bootstrap.Write(kStreamPacketDelay, channel.interPacketDelay);
    (void)bootstrap.Write(kStreamDestination, uiAddress);
    (void)bootstrap.Write(kStreamSourcePort, channel.sourcePort);
}

} // namespace

SimulatedCamera::SimulatedCamera(Simulation& simulation, Device& device)
    : SimulatedBase(simulation, device, false)
{
}

Error SimulatedCamera::SetVideoModeAndFrameRate(VideoMode eMode, FrameRateCode eRate)
{
    return m_link.ChangeImage(Operation::SetVideoModeAndFrameRate,
        [=](Device& device) { return device.settings.SetStandardMode(eMode, eRate); });
}

Error SimulatedCamera::GetFormat7Info(Format7Info& info, bool& bSupported)
{
    return m_link.Do(Operation::GetFormat7Info, [&](Device& device) {
        bSupported = device.settings.GetImageInfo(info.mode, info);
        return Error();
    });
}

Error SimulatedCamera::ValidateFormat7Settings(
    const Format7ImageSettings& settings, bool& bValid, Format7PacketInfo& packetInfo)
{
    return m_link.Do(Operation::ValidateFormat7Settings, [&](Device& device) {
        bValid = device.settings.IsValidImage(settings);
        packetInfo = bValid ? device.settings.PacketInfo() : Format7PacketInfo();
        return Error();
    });
}

Error SimulatedCamera::SetFormat7Configuration(const Format7ImageSettings& settings, std::uint32_t uiBytesPerPacket)
{
    return m_link.ChangeImage(Operation::SetFormat7Configuration,
        [&](Device& device) { return device.settings.SetImage(settings, uiBytesPerPacket); });
}

SimulatedGigECamera::SimulatedGigECamera(Simulation& simulation, Device& device)
    : SimulatedBase(simulation, device, true)
{
}

Error SimulatedGigECamera::ReadGVCPRegister(std::uint32_t uiAddress, std::uint32_t& uiValue)
{
    return m_link.Do(Operation::ReadGVCPRegister, [&](Device& device) {
        uiValue = device.settings.bootstrap.Read(uiAddress);
        return Error();
    });
}

Error SimulatedGigECamera::WriteGVCPRegister(std::uint32_t uiAddress, std::uint32_t uiValue)
{
    return m_link.Do(Operation::WriteGVCPRegister,
        [=](Device& device) { return device.settings.bootstrap.Write(uiAddress, uiValue); });
}

Error SimulatedGigECamera::GetNumStreamChannels(std::uint32_t& uiChannels)
{
    return m_link.Do(Operation::GetNumStreamChannels, [&](Device& device) {
        uiChannels = device.settings.bootstrap.Read(kStreamChannelCount);
        return Error();
    });
}

Error SimulatedGigECamera::GetGigEStreamChannelInfo(std::uint32_t uiChannel, GigEStreamChannel& channel)
{
    return m_link.Do(Operation::GetGigEStreamChannelInfo, [&](Device& device) -> Error {
        if (!ChannelExists(device.settings.bootstrap, uiChannel))
            return ErrorType::InvalidParameter;
        channel = ReadChannel(device.settings.bootstrap);
        return {};
    });
}

Error SimulatedGigECamera::SetGigEStreamChannelInfo(std::uint32_t uiChannel, const GigEStreamChannel& channel)
{
    return m_link.Do(Operation::SetGigEStreamChannelInfo, [&](Device& device) -> Error {
        const bool bFits = channel.hostPort <= kLow16 && channel.sourcePort <= kLow16 && channel.packetSize <= kLow16
            && channel.networkInterfaceIndex <= 0xF;
        if (!ChannelExists(device.settings.bootstrap, uiChannel) || !bFits)
            return ErrorType::InvalidParameter;
        WriteChannel(device.settings.bootstrap, channel);
        return {};
    });
}

Error SimulatedGigECamera::DiscoverGigEPacketSize(std::uint32_t& uiPacketSize)
{
    return m_link.Do(Operation::DiscoverGigEPacketSize, [&](Device&) -> Error {
        if (uiPacketSize < kSmallestGigEPacket)
            return ErrorType::InvalidParameter;
        uiPacketSize = std::min(uiPacketSize, kLargestGigEPacket);
        return {};
    });
}

Error SimulatedGigECamera::QueryGigEImagingMode(ImagingMode mode, bool& bSupported)
{
    return m_link.Do(Operation::QueryGigEImagingMode, [&](Device& device) {
        Format7Info info;
        bSupported = device.settings.GetImageInfo(mode, info);
        return Error();
    });
}

Error SimulatedGigECamera::SetGigEImagingMode(ImagingMode mode)
{
    return m_link.ChangeImage(Operation::SetGigEImagingMode, [=](Device& device) -> Error {
        if (mode == device.settings.GetImage().mode)
            return {}; // the image stays as it is cut
        return device.settings.SetImagingMode(mode);
    });
}

Error SimulatedGigECamera::GetGigEImageSettingsInfo(GigEImageSettingsInfo& info)
{
    return m_link.Do(Operation::GetGigEImageSettingsInfo, [&](Device& device) {
        Format7Info image;
        (void)device.settings.GetImageInfo(device.settings.GetImage().mode, image); // the mode in use exists
        info = { image.maxWidth, image.maxHeight, image.offsetHStepSize, image.offsetVStepSize, image.imageHStepSize,
            image.imageVStepSize, image.pixelFormatBitField };
        return Error();
    });
}

Error SimulatedGigECamera::SetGigEImageSettings(const GigEImageSettings& settings)
{
    return m_link.ChangeImage(Operation::SetGigEImageSettings, [&](Device& device) {
        const Format7ImageSettings image { device.settings.GetImage().mode, settings.offsetX, settings.offsetY,
            settings.width, settings.height, settings.pixelFormat };
        return device.settings.SetImage(image, device.settings.PacketInfo().maxBytesPerPacket);
    });
}

Error SimulatedGigECamera::GetGigEConfig(GigEConfig& config)
{
    return m_link.Do(Operation::GetGigEConfig, [&](Device& device) {
        config = device.settings.gigEConfig;
        return Error();
    });
}

Error SimulatedGigECamera::SetGigEConfig(const GigEConfig& config)
{
    return m_link.Do(Operation::SetGigEConfig, [&](Device& device) {
        device.settings.gigEConfig = config;
        return Error();
    });
}

} // namespace vireo
