#include "peers/usb/iidc_registers.h"
#include "peers/usb/usb_device.h"

#include <algorithm>
#include <condition_variable>
#include <cstring>

// An IIDC camera on a USB cable: registers by control transfers, one bulk transfer a frame.

namespace vireo::peers {

namespace {

constexpr std::uint8_t kStreamIn = 0x81;
constexpr std::uint8_t kReadRequest = 0xC0;

std::uint32_t CycleTime(std::int64_t time)
{
    const std::int64_t cycles = time / 125'000;
    return static_cast<std::uint32_t>(
        (cycles / 8000 % 128) << 25 | (cycles % 8000) << 12 | time % 125'000 * 3072 / 125'000);
}

class IidcUsbDevice final : public UsbDevice {
public:
    explicit IidcUsbDevice(const UsbCameraSetup& setup)
        : m_setup(setup)
        , m_registers(setup.strModel, setup.uiSerial)
    {
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
        std::lock_guard lock(m_mutex);
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
        m_changed.notify_all();
        return uiLength;
    }

    int Bulk(std::uint8_t, std::uint8_t* pData, int iLength, std::int64_t deadline, int& iMoved) override
    {
        std::unique_lock lock(m_mutex);
        for (;;) {
            if (IsGone())
                return LIBUSB_ERROR_NO_DEVICE;
            if (m_uiRun != m_registers.Runs()) {
                m_uiRun = m_registers.Runs();
                m_next = UsbNow();
            }
            const bool bSends = m_registers.Sending() && !m_registers.TriggerOn();
            const std::int64_t due = m_next + m_registers.ExposureNs();
            if (bSends && UsbNow() >= due) {
                iMoved = SendFrame(pData, iLength);
                return iMoved < 0 ? LIBUSB_ERROR_IO : 0;
            }
            const std::int64_t left = deadline - UsbNow();
            if (left <= 0)
                return LIBUSB_ERROR_TIMEOUT;
            const std::int64_t wait = bSends ? std::min(due - UsbNow(), left) : left;
            m_changed.wait_for(lock, std::chrono::nanoseconds(std::clamp<std::int64_t>(wait, 50'000, 2'000'000)));
        }
    }

protected:
    void PowerUp() override
    {
        std::lock_guard lock(m_mutex);
        m_registers = IidcRegisters(m_setup.strModel, m_setup.uiSerial);
        m_uiRun = 0;
    }

private:
    int SendFrame(std::uint8_t* pData, int iLength)
    {
        FrameHeader header;
        header.bTime = m_registers.EmbedsTime();
        header.bPins = m_registers.EmbedsPins();
        header.uiCycleTime = CycleTime(m_next + 17'000'000'000); // its clock began before ours
        header.uiPinState = m_registers.Pins();
        const bool bBayer = m_registers.IsColour() && m_registers.IsRaw();
        const std::uint8_t* pFrame =
            m_scenery.Paint({ m_registers.Width(), m_registers.Height(), bBayer }, m_next, header);
        m_next += m_registers.PeriodNs();
        if (TakeTear())
            return -1;
        const int iFrame = static_cast<int>(m_registers.Width() * m_registers.Height());
        std::memcpy(pData, pFrame, static_cast<std::size_t>(std::min(iFrame, iLength)));
        return iLength; // padded to whole packets
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    UsbCameraSetup m_setup;
    IidcRegisters m_registers;
    Scenery m_scenery;
    std::uint64_t m_uiRun = 0;
    std::int64_t m_next = 0;
    libusb_endpoint_descriptor m_endpoint {};
    libusb_interface_descriptor m_alternative {};
    libusb_interface m_interface {};
    libusb_config_descriptor m_configuration {};
};

} // namespace

std::unique_ptr<UsbDevice> MakeIidcUsbDevice(const UsbCameraSetup& setup)
{
    return std::make_unique<IidcUsbDevice>(setup);
}

} // namespace vireo::peers
