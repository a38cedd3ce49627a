#include "peers/usb/iidc_registers.h"
#include "peers/usb/usb_device.h"

#include <algorithm>
#include <cstring>

// An IIDC camera on a USB cable: registers by control transfers, one bulk transfer a frame.

namespace vireo::peers {

namespace {

constexpr std::uint8_t kStreamIn = 0x81;
constexpr std::uint8_t kReadRequest = 0xC0;
constexpr std::uint32_t kStartRegister = 0xF0F00614;

std::uint32_t CycleTime(std::int64_t time)
{
    const std::int64_t cycles = time / 125'000;
    return static_cast<std::uint32_t>(
        (cycles / 8000 % 128) << 25 | (cycles % 8000) << 12 | time % 125'000 * 3072 / 125'000);
}

class IidcUsbDevice final : public UsbDevice {
public:
    IidcUsbDevice(UsbBus& bus, const UsbCameraSetup& setup)
        : UsbDevice(bus, setup)
        , m_registers(setup.strModel, setup.uiSerial)
        , m_uiPlace(bus.Join(m_registers))
    {
        if (setup.bSending)
            m_registers.Write(kStartRegister, 0x80000000);
        m_endpoint.bEndpointAddress = kStreamIn;
        m_alternative.bNumEndpoints = 1;
        m_alternative.endpoint = &m_endpoint;
        m_interface = { &m_alternative, 1 };
        m_configuration.bNumInterfaces = 1;
        m_configuration.interface = &m_interface;
    }

    /// The numbers of a USB camera that the driver knows to speak IIDC.
    libusb_device_descriptor Descriptor() const override
    {
        libusb_device_descriptor descriptor {};
        descriptor.bDeviceClass = 0xFF;
        descriptor.idVendor = 0x1E10;
        descriptor.idProduct = 0x3103;
        descriptor.bNumConfigurations = 1;
        return descriptor;
    }
    const libusb_config_descriptor& Configuration() const override { return m_configuration; }
    std::string Text(std::uint8_t) const override { return {}; }

    int Control(std::uint8_t uiType, std::uint32_t uiAddress, std::uint8_t* pData, std::uint16_t uiLength) override
    {
        std::lock_guard lock(Bus().Mutex());
        Bus().Advance(); // what was due before is exposed as the registers stood
        for (std::uint16_t i = 0; i + 4 <= uiLength; i = static_cast<std::uint16_t>(i + 4)) {
            std::uint32_t uiValue = 0;
            if (uiType != kReadRequest)
                std::memcpy(&uiValue, pData + i, 4);
            const bool bDone = uiType == kReadRequest ? m_registers.Read(uiAddress + i, uiValue)
                                                      : m_registers.Write(uiAddress + i, uiValue);
            if (!bDone)
                return LIBUSB_ERROR_PIPE;
            std::memcpy(pData + i, &uiValue, 4);
        }
        Bus().Advance();
        Bus().Wake();
        return uiLength;
    }

    int Bulk(std::uint8_t, std::uint8_t* pData, int iLength, std::int64_t deadline, int& iMoved) override
    {
        std::unique_lock lock(Bus().Mutex());
        for (;;) {
            if (IsGone())
                return LIBUSB_ERROR_NO_DEVICE;
            Bus().Advance();
            if (const auto exposure = Bus().TakeExposure(m_uiPlace)) {
                if (IsPulledBefore(*exposure))
                    return LIBUSB_ERROR_NO_DEVICE;
                iMoved = SendFrame(*exposure, pData, iLength);
                return iMoved < 0 ? LIBUSB_ERROR_IO : 0;
            }
            if (UsbNow() >= deadline)
                return LIBUSB_ERROR_TIMEOUT;
            Bus().Wait(lock, deadline);
        }
    }

protected:
    void Reset() override { m_registers = IidcRegisters(Setup().strModel, Setup().uiSerial); }

private:
    int SendFrame(const Exposure& exposure, std::uint8_t* pData, int iLength)
    {
        FrameHeader header;
        header.bTime = m_registers.EmbedsTime();
        header.bPins = m_registers.EmbedsPins();
        header.uiCycleTime = CycleTime(exposure.start + 17'000'000'000); // its clock began before ours
        header.uiPinState = m_registers.Pins();
        const bool bBayer = m_registers.IsColour() && m_registers.IsRaw();
        const std::uint8_t* pFrame =
            m_scenery.Paint({ m_registers.Width(), m_registers.Height(), bBayer }, exposure.start, header);
        if (TakeTear())
            return -1;
        const int iFrame = static_cast<int>(m_registers.Width() * m_registers.Height());
        std::memcpy(pData, pFrame, static_cast<std::size_t>(std::min(iFrame, iLength)));
        return iLength; // padded to whole packets
    }

    IidcRegisters m_registers;
    std::size_t m_uiPlace;
    Scenery m_scenery;
    libusb_endpoint_descriptor m_endpoint {};
    libusb_interface_descriptor m_alternative {};
    libusb_interface m_interface {};
    libusb_config_descriptor m_configuration {};
};

} // namespace

std::unique_ptr<UsbDevice> MakeIidcUsbDevice(UsbBus& bus, const UsbCameraSetup& setup)
{
    return std::make_unique<IidcUsbDevice>(bus, setup);
}

} // namespace vireo::peers
