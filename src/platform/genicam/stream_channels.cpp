#include "platform/genicam/stream_channels.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <optional>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vireo {

namespace {

constexpr std::uint32_t kChannelCount = 0x0904;
constexpr std::uint32_t kFirstChannel = 0x0D00;
constexpr std::uint32_t kChannelPitch = 0x40;
constexpr std::uint32_t kLastChannel = 512;
// Registers of a channel.
constexpr std::uint32_t kPort = 0x00, kPacket = 0x04, kDelay = 0x08, kDestination = 0x18, kSource = 0x1C;
constexpr std::uint32_t kDoNotFragment = 0x40000000;
constexpr std::uint32_t kConfiguration = 0x0954;
constexpr std::uint32_t kHeartbeatOff = 1;
constexpr std::uint32_t kSmallestPacket = 576; ///< every network carries this

constexpr std::uint32_t Address(std::uint32_t uiChannel, std::uint32_t uiRegister)
{
    return kFirstChannel + uiChannel * kChannelPitch + uiRegister;
}

IPAddress Octets(std::uint32_t uiAddress)
{
    return { { static_cast<std::uint8_t>(uiAddress >> 24), static_cast<std::uint8_t>(uiAddress >> 16),
        static_cast<std::uint8_t>(uiAddress >> 8), static_cast<std::uint8_t>(uiAddress) } };
}

std::uint32_t Number(const IPAddress& address)
{
    return static_cast<std::uint32_t>(address.octets[0]) << 24 | static_cast<std::uint32_t>(address.octets[1]) << 16
        | static_cast<std::uint32_t>(address.octets[2]) << 8 | address.octets[3];
}

bool IsMulticast(const IPAddress& address) { return address.octets[0] >= 224 && address.octets[0] < 240; }

std::string Text(const IPAddress& address)
{
    std::string strText;
    for (const std::uint8_t uiOctet : address.octets)
        strText += (strText.empty() ? "" : ".") + std::to_string(uiOctet);
    return strText;
}

Error CheckChannel(OpenDevice& device, std::uint32_t uiChannel)
{
    std::uint32_t uiChannels = 0;
    if (Error error = CountStreamChannels(device, uiChannels); !error.IsOk())
        return error;
    return uiChannel < uiChannels
        ? Error()
        : device.features->Fail(ErrorType::InvalidParameter, "no stream channel " + std::to_string(uiChannel));
}

/// Keeps the destination if it is one that must not reach the camera.
bool KeepDestination(OpenDevice& device, std::uint32_t uiChannel, const IPAddress& destination, std::string& strNote)
{
    if (!IsMulticast(destination)) {
        device.remembered.destinations.erase(uiChannel);
        return false;
    }
    device.remembered.destinations[uiChannel] = destination;
    strNote = device.features->Camera() + ": stream destination " + Text(destination)
        + " is noted; the frames come to this computer alone";
    return true;
}

/// The largest packet that the interface towards the camera carries in one piece; none when it cannot be told.
std::optional<std::uint32_t> LargestPacket(ArvGvDevice* pDevice)
{
    GSocketAddress* pOwn = arv_gv_device_get_interface_address(pDevice);
    if (!G_IS_INET_SOCKET_ADDRESS(pOwn))
        return std::nullopt;
    GInetAddress* pAddress = g_inet_socket_address_get_address(G_INET_SOCKET_ADDRESS(pOwn));
    ifaddrs* pFirst = nullptr;
    if (g_inet_address_get_family(pAddress) != G_SOCKET_FAMILY_IPV4 || getifaddrs(&pFirst) != 0)
        return std::nullopt;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> list(pFirst, &freeifaddrs);
    for (const ifaddrs* pNext = pFirst; pNext != nullptr; pNext = pNext->ifa_next) {
        if (pNext->ifa_addr == nullptr || pNext->ifa_addr->sa_family != AF_INET
            || std::memcmp(&reinterpret_cast<const sockaddr_in*>(pNext->ifa_addr)->sin_addr,
                   g_inet_address_to_bytes(pAddress), sizeof(in_addr))
                != 0)
            continue;
        ifreq request {};
        std::strncpy(request.ifr_name, pNext->ifa_name, IFNAMSIZ - 1);
        const int iSocket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        const bool bTold = ioctl(iSocket, SIOCGIFMTU, &request) == 0;
        close(iSocket);
        return bTold ? std::optional(static_cast<std::uint32_t>(request.ifr_mtu)) : std::nullopt;
    }
    return std::nullopt;
}

} // namespace

Error CountStreamChannels(OpenDevice& device, std::uint32_t& uiChannels)
{
    return device.features->ReadWord(kChannelCount, uiChannels);
}

Error ReadStreamChannel(OpenDevice& device, NumberedChannel& numbered)
{
    const std::uint32_t uiChannel = numbered.uiChannel;
    if (Error error = CheckChannel(device, uiChannel); !error.IsOk())
        return error;
    std::uint32_t uiPort = 0;
    std::uint32_t uiPacket = 0;
    std::uint32_t uiDestination = 0;
    GigEStreamChannel read;
    Features& features = *device.features;
    if (Error error = features.ReadWord(Address(uiChannel, kPort), uiPort); !error.IsOk())
        return error;
    if (Error error = features.ReadWord(Address(uiChannel, kPacket), uiPacket); !error.IsOk())
        return error;
    if (Error error = features.ReadWord(Address(uiChannel, kDelay), read.interPacketDelay); !error.IsOk())
        return error;
    if (Error error = features.ReadWord(Address(uiChannel, kDestination), uiDestination); !error.IsOk())
        return error;
    if (!features.ReadWord(Address(uiChannel, kSource), read.sourcePort).IsOk())
        read.sourcePort = 0; // an optional register
    read.networkInterfaceIndex = uiPort >> 16 & 0xFU;
    read.hostPort = uiPort & 0xFFFFU;
    read.doNotFragment = (uiPacket & kDoNotFragment) != 0;
    read.packetSize = uiPacket & 0xFFFFU;
    const auto kept = device.remembered.destinations.find(uiChannel);
    read.destinationIpAddress = kept != device.remembered.destinations.end() ? kept->second : Octets(uiDestination);
    numbered.channel = read;
    return {};
}

Error WriteStreamChannel(OpenDevice& device, const NumberedChannel& numbered, std::string& strNote)
{
    NumberedChannel now { numbered.uiChannel, {} };
    if (Error error = ReadStreamChannel(device, now); !error.IsOk())
        return error;
    Features& features = *device.features;
    const GigEStreamChannel& wanted = numbered.channel;
    const std::uint32_t uiChannel = numbered.uiChannel;
    if (wanted.packetSize != now.channel.packetSize || wanted.doNotFragment != now.channel.doNotFragment) {
        const std::uint32_t uiPacket = (wanted.packetSize & 0xFFFFU) | (wanted.doNotFragment ? kDoNotFragment : 0U);
        if (Error error = features.WriteWord(Address(uiChannel, kPacket), uiPacket); !error.IsOk())
            return error;
    }
    if (wanted.interPacketDelay != now.channel.interPacketDelay)
        if (Error error = features.WriteWord(Address(uiChannel, kDelay), wanted.interPacketDelay); !error.IsOk())
            return error;
    if (wanted.destinationIpAddress == now.channel.destinationIpAddress
        || KeepDestination(device, uiChannel, wanted.destinationIpAddress, strNote))
        return {};
    return features.WriteWord(Address(uiChannel, kDestination), Number(wanted.destinationIpAddress));
}

Error ReadBootstrap(OpenDevice& device, std::uint32_t uiAddress, std::uint32_t& uiValue)
{
    Error error = device.features->ReadWord(uiAddress, uiValue);
    if (error.IsOk() && uiAddress == kConfiguration && device.remembered.bHeartbeatOff)
        uiValue |= kHeartbeatOff;
    return error;
}

/// The driver has a thread of its own for the heartbeat, so nothing is won without it; but a camera without it stays
/// taken for ever when its program is killed.
Error WriteBootstrap(OpenDevice& device, std::uint32_t uiAddress, std::uint32_t uiValue, std::string& strNote)
{
    const std::uint32_t uiChannel = (uiAddress - kFirstChannel) / kChannelPitch;
    const bool bDestination =
        uiAddress >= kFirstChannel && uiChannel < kLastChannel && uiAddress == Address(uiChannel, kDestination);
    if (bDestination && KeepDestination(device, uiChannel, Octets(uiValue), strNote))
        return {};
    if (uiAddress == kConfiguration) {
        device.remembered.bHeartbeatOff = (uiValue & kHeartbeatOff) != 0;
        uiValue &= ~kHeartbeatOff;
    }
    return device.features->WriteWord(uiAddress, uiValue);
}

Error FindPacketSize(OpenDevice& device, std::uint32_t& uiPacketSize)
{
    Features& features = *device.features;
    if (device.bCapturing)
        return features.Fail(ErrorType::AlreadyStarted, "packet sizes cannot be tried while capturing");
    auto* pDevice = ARV_GV_DEVICE(device.Device());
    const std::uint32_t uiLargest = std::clamp<std::uint32_t>(uiPacketSize, kSmallestPacket, 65535);
    // A camera without test packets would send ones that come in fragments, or never.
    const auto wanted =
        static_cast<gint>(std::clamp(LargestPacket(pDevice).value_or(uiLargest), kSmallestPacket, uiLargest));
    GErrorSlot slot;
    arv_gv_device_set_packet_size(pDevice, wanted, slot.Out());
    if (slot)
        return features.Translate(slot.Get(), "packet size", ErrorType::InvalidParameter);
    // Cameras that cannot send a test packet keep what they accepted.
    const guint uiFound = arv_gv_device_auto_packet_size(pDevice, slot.Out());
    if (slot)
        return features.Translate(slot.Get(), "test packets", ErrorType::TransportFailed);
    if (uiFound > static_cast<guint>(wanted)) {
        arv_gv_device_set_packet_size(pDevice, wanted, slot.Out());
        if (slot)
            return features.Translate(slot.Get(), "packet size", ErrorType::InvalidParameter);
    }
    arv_gv_device_set_packet_size_adjustment(pDevice, ARV_GV_PACKET_SIZE_ADJUSTMENT_NEVER);
    uiPacketSize = std::min(uiFound, static_cast<guint>(wanted));
    return {};
}

} // namespace vireo
