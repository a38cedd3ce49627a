#pragma once
#include "peers/scenery.h"
#include "peers/usb/usb_bus.h"

#include <atomic>
#include <cstdint>
#include <libusb-1.0/libusb.h>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace vireo::peers {

/// What a software camera on a USB cable is told at the start.
struct UsbCameraSetup {
    std::string strModel;
    std::uint32_t uiSerial = 0;
    bool bSending = false; ///< a program that was killed has left it so
    std::optional<std::uint64_t> unplug; ///< the plug is pulled before this frame of a run
};

/// One software camera on a USB cable. Any thread.
class UsbDevice {
public:
    UsbDevice(UsbBus& bus, UsbCameraSetup setup)
        : m_setup(std::move(setup))
        , m_bus(bus)
    {
    }
    virtual ~UsbDevice() = default;
    virtual libusb_device_descriptor Descriptor() const = 0;
    virtual const libusb_config_descriptor& Configuration() const = 0;
    virtual std::string Text(std::uint8_t uiIndex) const = 0;
    /// Results as libusb's: bytes, or an error below zero.
    virtual int Control(std::uint8_t uiType, std::uint32_t uiAddress, std::uint8_t* pData, std::uint16_t uiLength) = 0;
    /// Moves up to `iLength` bytes; waits until `deadline`. @return libusb's error, 0 when bytes moved.
    virtual int Bulk(std::uint8_t uiEndpoint, std::uint8_t* pData, int iLength, std::int64_t deadline, int& iMoved) = 0;

    // What a test does to the cable.
    void SetPlugged(bool bPlugged)
    {
        std::lock_guard lock(m_bus.Mutex());
        if (bPlugged && m_bGone)
            m_uiPlugs++;
        if (bPlugged == m_bGone)
            ChangePlug(bPlugged);
    }
    /// Grows with each plugging: what was opened before is of no use any more.
    unsigned int Plugs() const { return m_uiPlugs; }
    /// It holds on to every request, as a device does whose inside has stopped.
    void SetHung(bool bHung)
    {
        m_bHung = bHung;
        m_bHung.notify_all();
    }
    bool IsHung() const { return m_bHung; }
    void WaitWhileHung() const { m_bHung.wait(true); }
    /// It answers no request; its frames flow.
    void SetMute(bool bMute)
    {
        std::lock_guard lock(m_bus.Mutex());
        m_bMute = bMute;
        m_bus.Wake();
    }
    /// False when it answers. Else returns after `iTimeoutMs`, or when it has found its voice again.
    bool WaitWhileMute(unsigned int uiTimeoutMs)
    {
        std::unique_lock lock(m_bus.Mutex());
        const bool bMute = m_bMute;
        const std::int64_t deadline = UsbNow() + std::int64_t { uiTimeoutMs } * 1'000'000;
        while (m_bMute && UsbNow() < deadline)
            m_bus.Wait(lock, deadline);
        return bMute;
    }
    void Tear(int iFrames) { m_iTear = iFrames; }
    void SetClaimed(bool bClaimed) { m_bClaimed = bClaimed; }
    bool IsClaimed() const { return m_bClaimed; }
    bool IsGone() const { return m_bGone; }

protected:
    /// Its registers as after power-up.
    virtual void Reset() = 0;
    /// A rule of the setup pulls the plug now. Under the bus's lock, as all that streams.
    bool IsPulledBefore(const Exposure& exposure)
    {
        const bool bNow = m_setup.unplug && exposure.uiNumber >= *m_setup.unplug;
        if (bNow)
            ChangePlug(false);
        return bNow;
    }
    UsbBus& Bus() { return m_bus; }
    const UsbCameraSetup& Setup() const { return m_setup; }
    bool TakeTear()
    {
        int iLeft = m_iTear;
        while (iLeft > 0 && !m_iTear.compare_exchange_weak(iLeft, iLeft - 1)) { }
        return iLeft > 0;
    }

private:
    /// The cable is its power: it knows nothing of before.
    void ChangePlug(bool bPlugged)
    {
        Reset();
        m_bus.Advance(); // the wires learn of the reset before its next start
        m_bGone = !bPlugged;
        m_bus.Wake();
    }

    const UsbCameraSetup m_setup;
    UsbBus& m_bus;
    std::atomic<bool> m_bGone = false;
    std::atomic<unsigned int> m_uiPlugs = 0;
    std::atomic<bool> m_bHung = false;
    bool m_bMute = false;
    std::atomic<bool> m_bClaimed = false; ///< by another program
    std::atomic<int> m_iTear = 0; ///< frames that are to come in pieces
};

std::unique_ptr<UsbDevice> MakeUsb3VisionDevice(UsbBus& bus, const UsbCameraSetup& setup);
std::unique_ptr<UsbDevice> MakeIidcUsbDevice(UsbBus& bus, const UsbCameraSetup& setup);

} // namespace vireo::peers
