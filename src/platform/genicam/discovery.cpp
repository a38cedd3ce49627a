#include "platform/genicam/discovery.h"

#include "platform/genicam/glib_ptr.h"

#include <arpa/inet.h>
#include <charconv>
#include <cstring>
#include <ifaddrs.h>
#include <memory>

namespace vireo {

namespace {

constexpr std::uint32_t kGuidTag = 0x47434D00; // "GCM"

std::uint32_t Hash(const std::string& strText)
{
    std::uint32_t uiHash = 2166136261U;
    for (const char c : strText)
        uiHash = (uiHash ^ static_cast<unsigned char>(c)) * 16777619U;
    return uiHash;
}

/// A network that an interface of this computer stands in.
struct Network {
    std::uint32_t uiAddress = 0;
    std::uint32_t uiMask = 0;
    std::string strAddress;
};

std::uint32_t AddressOf(const sockaddr* pAddress)
{
    sockaddr_in address {};
    std::memcpy(&address, pAddress, sizeof address);
    return ntohl(address.sin_addr.s_addr);
}

/// The networks of the interface that is called `strInterface` or has that address.
std::vector<Network> NetworksOf(const std::string& strInterface)
{
    std::vector<Network> networks;
    ifaddrs* pFirst = nullptr;
    if (getifaddrs(&pFirst) != 0)
        return networks;
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> list(pFirst, &freeifaddrs);
    for (const ifaddrs* pNext = pFirst; pNext != nullptr; pNext = pNext->ifa_next) {
        if (pNext->ifa_addr == nullptr || pNext->ifa_netmask == nullptr || pNext->ifa_addr->sa_family != AF_INET)
            continue;
        const std::uint32_t uiAddress = AddressOf(pNext->ifa_addr);
        const in_addr address { htonl(uiAddress) };
        char szAddress[INET_ADDRSTRLEN] = {};
        inet_ntop(AF_INET, &address, szAddress, sizeof szAddress);
        if (strInterface == pNext->ifa_name || strInterface == szAddress)
            networks.push_back({ uiAddress, AddressOf(pNext->ifa_netmask), szAddress });
    }
    return networks;
}

/// The address of ours from which the camera at `strAddress` is reached; empty when it is on none.
std::string HostAddressFor(const std::vector<Network>& networks, const std::string& strAddress)
{
    in_addr address {};
    if (inet_pton(AF_INET, strAddress.c_str(), &address) != 1)
        return {};
    for (const Network& network : networks)
        if (((ntohl(address.s_addr) ^ network.uiAddress) & network.uiMask) == 0)
            return network.strAddress;
    return {};
}

DeviceRecord ReadRecord(unsigned int uiIndex)
{
    DeviceRecord record;
    record.strId = Told(arv_get_device_id(uiIndex));
    record.bGigE = Told(arv_get_device_protocol(uiIndex)) == "GigEVision";
    record.strAddress = Told(arv_get_device_address(uiIndex));
    record.info.modelName = Told(arv_get_device_model(uiIndex));
    record.info.vendorName = Told(arv_get_device_vendor(uiIndex));
    record.info.interfaceType = record.bGigE ? InterfaceType::GigE : InterfaceType::Usb3;
    record.info.serialNumber = SerialFromText(std::string(Told(arv_get_device_serial_nbr(uiIndex))));
    record.guid.value = { kGuidTag | (record.bGigE ? 1U : 0U), record.info.serialNumber, Hash(record.strId),
        Hash(record.strAddress + std::string(Told(arv_get_device_physical_id(uiIndex)))) };
    return record;
}

} // namespace

std::uint32_t SerialFromText(const std::string& strSerial)
{
    std::uint32_t uiSerial = 0;
    const char* pEnd = strSerial.data() + strSerial.size();
    const auto [pRest, eError] = std::from_chars(strSerial.data(), pEnd, uiSerial);
    if (eError == std::errc() && pRest == pEnd)
        return uiSerial;
    return Hash(strSerial) | 0x80000000U;
}

std::string DiscoverDevices(const std::string& strInterface, Log& log, std::vector<DeviceRecord>& devices)
{
    devices.clear();
    const std::vector<Network> networks = NetworksOf(strInterface);
    if (!strInterface.empty() && networks.empty())
        return "no network interface \"" + strInterface + "\"";
    arv_update_device_list();
    for (unsigned int uiIndex = 0; uiIndex < arv_get_n_devices(); uiIndex++) {
        DeviceRecord record = ReadRecord(uiIndex);
        if (!strInterface.empty()) {
            record.strHostAddress = HostAddressFor(networks, record.strAddress);
            if (!record.bGigE || record.strHostAddress.empty())
                continue;
        }
        if ((record.info.serialNumber & 0x80000000U) != 0)
            log.Write("camera \"" + record.strId + "\" is known as number " + std::to_string(record.info.serialNumber));
        devices.push_back(std::move(record));
    }
    return {};
}

} // namespace vireo
