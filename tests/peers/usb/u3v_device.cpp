#include "peers/genicam_xml.h"
#include "peers/gige_bytes.h"
#include "peers/soft_camera.h"
#include "peers/usb/usb_device.h"

#include <algorithm>
#include <cstring>
#include <vector>

// A USB3 Vision camera: its bootstrap tables, its feature registers and its stream.

namespace vireo::peers {

namespace {

// Where things stand in the camera's address space. Bootstrap numbers are little-endian.
constexpr std::uint64_t kBootstrap = 0, kProtocol = 0x8000, kStream = 0x9000, kManifest = 0xA000, kFeatures = 0x10A000,
                        kXml = 0x200000;
constexpr std::uint8_t kCommandOut = 0x01, kCommandIn = 0x81, kStreamIn = 0x82;
constexpr std::uint32_t kCommandMagic = 0x43563355, kLeaderMagic = 0x4C563355, kTrailerMagic = 0x54563355;
constexpr std::uint16_t kReadMemory = 0x0800, kWriteMemory = 0x0802;
constexpr std::uint16_t kBadAddress = 0x8003, kWriteProtect = 0x8004, kBadParameter = 0x8002, kBadCommand = 0x8001;
constexpr std::size_t kCommandHeader = 12;
constexpr int kLeaderBytes = 50, kTrailerBytes = 32;
constexpr std::size_t kStreamPayload = 8, kStreamControl = 4; ///< offsets in the stream's table

template <typename T> void Put(std::vector<std::uint8_t>& bytes, std::size_t uiAt, T value)
{
    std::memcpy(bytes.data() + uiAt, &value, sizeof value);
}
template <typename T> T Get(const std::uint8_t* pBytes)
{
    T value {};
    std::memcpy(&value, pBytes, sizeof value);
    return value;
}

libusb_endpoint_descriptor Endpoint(std::uint8_t uiAddress)
{
    libusb_endpoint_descriptor endpoint {};
    endpoint.bEndpointAddress = uiAddress;
    endpoint.bmAttributes = LIBUSB_TRANSFER_TYPE_BULK;
    endpoint.wMaxPacketSize = 1024;
    return endpoint;
}

/// The interfaces that make a device a USB3 Vision camera.
struct Interfaces {
    // Text 4 of the device is its unique identifier.
    std::uint8_t m_class[20] = { 20, 0x24, 1, 0, 0, 1, 0, 0, 0, 1, 0, 4, 1, 2, 0, 0, 0, 3, 0, 8 };
    libusb_endpoint_descriptor m_controlEndpoints[2] = { Endpoint(kCommandIn), Endpoint(kCommandOut) };
    libusb_endpoint_descriptor m_streamEndpoint = Endpoint(kStreamIn);
    libusb_interface_descriptor m_control {}, m_stream {};
    libusb_interface m_interfaces[2] {};
    libusb_config_descriptor m_configuration {};

    Interfaces()
    {
        m_control.bInterfaceClass = m_stream.bInterfaceClass = 0xEF;
        m_control.bInterfaceSubClass = m_stream.bInterfaceSubClass = 0x05;
        m_control.bNumEndpoints = 2;
        m_control.endpoint = m_controlEndpoints;
        m_control.extra = m_class;
        m_control.extra_length = sizeof m_class;
        m_stream.bInterfaceNumber = 1;
        m_stream.bInterfaceProtocol = 0x02;
        m_stream.bNumEndpoints = 1;
        m_stream.endpoint = &m_streamEndpoint;
        m_interfaces[0] = { &m_control, 1 };
        m_interfaces[1] = { &m_stream, 1 };
        m_configuration.bNumInterfaces = 2;
        m_configuration.interface = m_interfaces;
    }
};

class Usb3VisionDevice final : public UsbDevice {
public:
    Usb3VisionDevice(UsbBus& bus, const UsbCameraSetup& setup)
        : UsbDevice(bus, setup)
        , m_camera({ setup.strModel, setup.uiSerial, Dialect::Modern })
        , m_uiPlace(bus.Join(m_camera))
        , m_strXml(MakeGenicamXml(m_camera.Setup(), static_cast<std::uint32_t>(kFeatures)))
    {
        InitTables();
        if (setup.bSending) {
            m_camera.Write(feature::TLParamsLocked, 1);
            m_camera.Write(feature::AcquisitionStart, 1);
            Put<std::uint32_t>(m_streamTable, kStreamControl, 1);
        }
    }

    libusb_device_descriptor Descriptor() const override
    {
        libusb_device_descriptor descriptor {};
        descriptor.bDeviceClass = 0xEF;
        descriptor.bDeviceSubClass = 0x02;
        descriptor.bDeviceProtocol = 0x01;
        descriptor.idVendor = 0x1209;
        descriptor.idProduct = 0x0001;
        descriptor.iManufacturer = 1;
        descriptor.iProduct = 2;
        descriptor.iSerialNumber = 3;
        descriptor.bNumConfigurations = 1;
        return descriptor;
    }
    const libusb_config_descriptor& Configuration() const override { return m_interfaces.m_configuration; }
    std::string Text(std::uint8_t uiIndex) const override
    {
        switch (uiIndex) {
        case 1: return "Software";
        case 2: return Setup().strModel;
        case 3: return std::to_string(Setup().uiSerial);
        case 4: return "12090000" + std::to_string(Setup().uiSerial % 10000);
        default: return {};
        }
    }
    int Control(std::uint8_t, std::uint32_t, std::uint8_t*, std::uint16_t) override { return 0; }
    int Bulk(std::uint8_t uiEndpoint, std::uint8_t* pData, int iLength, std::int64_t deadline, int& iMoved) override;

protected:
    void Reset() override
    {
        m_camera = SoftCamera({ Setup().strModel, Setup().uiSerial, Dialect::Modern });
        Put<std::uint32_t>(m_streamTable, kStreamControl, 0);
        m_answer.clear();
        m_ePart = Part::Wait;
    }

private:
    enum class Part { Wait, Pixels, Trailer };
    void InitTables();
    void Command(const std::uint8_t* pData, std::size_t uiSize);
    std::uint16_t Read(std::uint64_t uiAddress, std::size_t uiCount, std::uint8_t* pInto);
    std::uint16_t Write(std::uint64_t uiAddress, std::size_t uiCount, const std::uint8_t* pFrom);
    std::uint8_t* Table(std::uint64_t uiAddress, std::size_t uiCount);
    bool StreamOn() const { return m_camera.Acquiring() && (m_streamTable[kStreamControl] & 1U) != 0; }
    int NextPart(std::uint8_t* pData, int iLength);
    int Leader(const Exposure& exposure, std::uint8_t* pData);
    int Pixels(std::uint8_t* pData, int iLength);
    int Trailer(std::uint8_t* pData);

    SoftCamera m_camera;
    std::size_t m_uiPlace;
    Scenery m_scenery;
    Interfaces m_interfaces;
    std::string m_strXml;
    std::vector<std::uint8_t> m_bootstrap = std::vector<std::uint8_t>(0x1000);
    std::vector<std::uint8_t> m_protocol = std::vector<std::uint8_t>(0x100);
    std::vector<std::uint8_t> m_streamTable = std::vector<std::uint8_t>(0x100);
    std::vector<std::uint8_t> m_manifest = std::vector<std::uint8_t>(0x100);
    std::vector<std::uint8_t> m_answer;
    Part m_ePart = Part::Wait;
    std::uint64_t m_uiRun = 0;
    Exposure m_exposure; ///< that is being sent
    const std::uint8_t* m_pPixels = nullptr;
    std::size_t m_uiLeft = 0;
};

void Usb3VisionDevice::InitTables()
{
    const auto text = [this](std::size_t uiAt, const std::string& strText) {
        std::memcpy(m_bootstrap.data() + uiAt, strText.data(), strText.size());
    };
    Put<std::uint32_t>(m_bootstrap, 0x000, 0x00010000);
    text(0x004, "Software");
    text(0x044, Setup().strModel);
    text(0x0C4, "1.0");
    text(0x104, "none");
    text(0x144, std::to_string(Setup().uiSerial));
    Put<std::uint32_t>(m_bootstrap, 0x1CC, 100); // longest answer, ms
    Put<std::uint64_t>(m_bootstrap, 0x1D0, kManifest);
    Put<std::uint64_t>(m_bootstrap, 0x1D8, kProtocol);
    Put<std::uint32_t>(m_protocol, 0x00, 0x00010000);
    Put<std::uint64_t>(m_protocol, 0x04, 1);
    Put<std::uint32_t>(m_protocol, 0x14, 1024); // longest command
    Put<std::uint32_t>(m_protocol, 0x18, 1024); // longest answer
    Put<std::uint32_t>(m_protocol, 0x1C, 1);
    Put<std::uint64_t>(m_protocol, 0x20, kStream);
    Put<std::uint32_t>(m_protocol, 0x28, 0x30);
    Put<std::uint32_t>(m_streamTable, 0x10, 52); // leader
    Put<std::uint32_t>(m_streamTable, 0x14, kTrailerBytes);
    Put<std::uint64_t>(m_manifest, 0, 1);
    Put<std::uint32_t>(m_manifest, 8, 0x01000000);
    Put<std::uint32_t>(m_manifest, 12, 0x01010000); // not compressed
    Put<std::uint64_t>(m_manifest, 16, kXml);
    Put<std::uint64_t>(m_manifest, 24, m_strXml.size());
    Put<std::uint64_t>(m_streamTable, kStreamPayload, m_camera.FrameBytes());
}

std::uint8_t* Usb3VisionDevice::Table(std::uint64_t uiAddress, std::size_t uiCount)
{
    const auto within = [=](std::uint64_t uiBase, std::vector<std::uint8_t>& table) -> std::uint8_t* {
        return uiAddress >= uiBase && uiAddress - uiBase + uiCount <= table.size() ? table.data() + (uiAddress - uiBase)
                                                                                   : nullptr;
    };
    for (const auto& [uiBase, pTable] : { std::pair { kBootstrap, &m_bootstrap }, std::pair { kProtocol, &m_protocol },
             std::pair { kStream, &m_streamTable }, std::pair { kManifest, &m_manifest } })
        if (std::uint8_t* pFound = within(uiBase, *pTable))
            return pFound;
    return nullptr;
}

std::uint16_t Usb3VisionDevice::Read(std::uint64_t uiAddress, std::size_t uiCount, std::uint8_t* pInto)
{
    if (const std::uint8_t* pTable = Table(uiAddress, uiCount)) {
        std::memcpy(pInto, pTable, uiCount);
        return 0;
    }
    if (uiAddress >= kXml && uiAddress - kXml < m_strXml.size()) {
        const std::size_t uiAt = uiAddress - kXml;
        std::memcpy(pInto, m_strXml.data() + uiAt, std::min(uiCount, m_strXml.size() - uiAt));
        return 0;
    }
    std::uint32_t uiValue = 0;
    if (uiCount != 4 || uiAddress < kFeatures
        || m_camera.Read(static_cast<std::uint32_t>(uiAddress - kFeatures), uiValue) != Access::Done)
        return kBadAddress;
    Store32(pInto, uiValue);
    return 0;
}

std::uint16_t Usb3VisionDevice::Write(std::uint64_t uiAddress, std::size_t uiCount, const std::uint8_t* pFrom)
{
    if (std::uint8_t* pTable = Table(uiAddress, uiCount)) {
        std::memcpy(pTable, pFrom, uiCount);
        return 0;
    }
    if (uiCount != 4 || uiAddress < kFeatures)
        return kBadAddress;
    const Access eAccess = m_camera.Write(static_cast<std::uint32_t>(uiAddress - kFeatures), Load32(pFrom));
    Put<std::uint64_t>(m_streamTable, kStreamPayload, m_camera.FrameBytes());
    if (eAccess == Access::WriteProtected)
        return kWriteProtect;
    return eAccess == Access::Done ? 0 : eAccess == Access::BadValue ? kBadParameter : kBadAddress;
}

/// Takes one command and keeps the answer until it is fetched.
void Usb3VisionDevice::Command(const std::uint8_t* pData, std::size_t uiSize)
{
    if (uiSize < kCommandHeader + 8 || Get<std::uint32_t>(pData) != kCommandMagic)
        return;
    const auto uiCommand = Get<std::uint16_t>(pData + 6);
    const auto uiLength = Get<std::uint16_t>(pData + 8);
    const auto uiAddress = Get<std::uint64_t>(pData + kCommandHeader);
    std::uint16_t uiStatus = kBadCommand;
    m_answer.assign(kCommandHeader, 0);
    if (uiCommand == kReadMemory) {
        const auto uiCount = Get<std::uint16_t>(pData + kCommandHeader + 10);
        m_answer.resize(kCommandHeader + uiCount);
        uiStatus = Read(uiAddress, uiCount, m_answer.data() + kCommandHeader);
    } else if (uiCommand == kWriteMemory) {
        const std::size_t uiCount = uiLength - std::size_t { 8 };
        m_answer.resize(kCommandHeader + 4);
        Put(m_answer, kCommandHeader + 2, static_cast<std::uint16_t>(uiCount));
        uiStatus = Write(uiAddress, uiCount, pData + kCommandHeader + 8);
    }
    if (uiStatus != 0)
        m_answer.resize(kCommandHeader);
    Put(m_answer, 0, kCommandMagic);
    Put(m_answer, 4, uiStatus);
    Put(m_answer, 6, static_cast<std::uint16_t>(uiCommand + 1));
    Put(m_answer, 8, static_cast<std::uint16_t>(m_answer.size() - kCommandHeader));
    Put(m_answer, 10, Get<std::uint16_t>(pData + 10));
    Bus().Advance();
    Bus().Wake();
}

int Usb3VisionDevice::Leader(const Exposure& exposure, std::uint8_t* pData)
{
    m_exposure = exposure;
    std::vector<std::uint8_t> leader(kLeaderBytes);
    Put<std::uint32_t>(leader, 0, kLeaderMagic);
    Put<std::uint16_t>(leader, 6, kLeaderBytes);
    Put<std::uint64_t>(leader, 8, exposure.uiNumber);
    Put<std::uint16_t>(leader, 18, 1); // an image
    Put<std::uint64_t>(leader, 20, static_cast<std::uint64_t>(exposure.start));
    Put<std::uint32_t>(leader, 28, m_camera.Word(feature::PixelFormat));
    Put<std::uint32_t>(leader, 32, m_camera.Width());
    Put<std::uint32_t>(leader, 36, m_camera.Height());
    Put<std::uint32_t>(leader, 40, m_camera.Word(feature::OffsetX));
    Put<std::uint32_t>(leader, 44, m_camera.Word(feature::OffsetY));
    std::memcpy(pData, leader.data(), leader.size());
    m_pPixels = m_scenery.Paint({ m_camera.Width(), m_camera.Height(), m_camera.IsColour() }, exposure.start);
    m_uiLeft = m_camera.FrameBytes();
    m_ePart = TakeTear() ? Part::Trailer : Part::Pixels; // a torn frame loses its pixels
    return kLeaderBytes;
}

int Usb3VisionDevice::Pixels(std::uint8_t* pData, int iLength)
{
    const std::size_t uiPart = std::min(static_cast<std::size_t>(iLength), m_uiLeft);
    std::memcpy(pData, m_pPixels, uiPart);
    m_pPixels += uiPart;
    m_uiLeft -= uiPart;
    if (m_uiLeft == 0)
        m_ePart = Part::Trailer;
    return static_cast<int>(uiPart);
}

int Usb3VisionDevice::Trailer(std::uint8_t* pData)
{
    std::vector<std::uint8_t> trailer(kTrailerBytes);
    Put<std::uint32_t>(trailer, 0, kTrailerMagic);
    Put<std::uint16_t>(trailer, 6, kTrailerBytes);
    Put<std::uint64_t>(trailer, 8, m_exposure.uiNumber);
    Put<std::uint64_t>(trailer, 20, m_camera.FrameBytes() - m_uiLeft);
    Put<std::uint32_t>(trailer, 28, m_camera.Height());
    std::memcpy(pData, trailer.data(), trailer.size());
    m_ePart = Part::Wait;
    return kTrailerBytes;
}

/// The next piece of the stream; 0 when none is due.
int Usb3VisionDevice::NextPart(std::uint8_t* pData, int iLength)
{
    if (m_uiRun != m_camera.Runs()) { // a new start begins a new stream
        m_uiRun = m_camera.Runs();
        m_ePart = Part::Wait;
    }
    switch (m_ePart) {
    case Part::Pixels: return Pixels(pData, iLength);
    case Part::Trailer: return Trailer(pData);
    case Part::Wait: break;
    }
    if (!StreamOn())
        Bus().DropExposures(m_uiPlace);
    const auto exposure = iLength >= kLeaderBytes ? Bus().TakeExposure(m_uiPlace) : std::nullopt;
    return exposure && !IsPulledBefore(*exposure) ? Leader(*exposure, pData) : 0;
}

int Usb3VisionDevice::Bulk(
    std::uint8_t uiEndpoint, std::uint8_t* pData, int iLength, std::int64_t deadline, int& iMoved)
{
    std::unique_lock lock(Bus().Mutex());
    for (;;) {
        if (IsGone())
            return LIBUSB_ERROR_NO_DEVICE;
        Bus().Advance();
        if (uiEndpoint == kCommandOut) {
            Command(pData, static_cast<std::size_t>(iLength));
            iMoved = iLength;
            return 0;
        }
        if (uiEndpoint == kCommandIn && !m_answer.empty()) {
            iMoved = std::min(iLength, static_cast<int>(m_answer.size()));
            std::memcpy(pData, m_answer.data(), static_cast<std::size_t>(iMoved));
            m_answer.clear();
            return 0;
        }
        iMoved = uiEndpoint == kStreamIn ? NextPart(pData, iLength) : 0;
        if (iMoved > 0)
            return 0;
        if (IsGone())
            continue; // just now
        if (UsbNow() >= deadline)
            return LIBUSB_ERROR_TIMEOUT;
        Bus().Wait(lock, deadline);
    }
}

} // namespace

std::unique_ptr<UsbDevice> MakeUsb3VisionDevice(UsbBus& bus, const UsbCameraSetup& setup)
{
    return std::make_unique<Usb3VisionDevice>(bus, setup);
}

} // namespace vireo::peers
