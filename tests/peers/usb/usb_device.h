#pragma once
#include "peers/scenery.h"

#include <atomic>
#include <cstdint>
#include <libusb-1.0/libusb.h>
#include <memory>
#include <mutex>
#include <string>

namespace vireo::peers {

/// What a software camera on a USB cable is told at the start.
struct UsbCameraSetup {
    std::string strModel;
    std::uint32_t uiSerial = 0;
};

/// Nanoseconds since this process began; the zero of the bar codes.
std::int64_t UsbNow();

/// One software camera on a USB cable. Any thread.
class UsbDevice {
public:
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
        if (bPlugged && m_bGone) {
            m_uiPlugs++;
            PowerUp();
        }
        m_bGone = !bPlugged;
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
    void Tear(int iFrames) { m_iTear = iFrames; }
    void SetClaimed(bool bClaimed) { m_bClaimed = bClaimed; }
    bool IsClaimed() const { return m_bClaimed; }
    bool IsGone() const { return m_bGone; }

protected:
    /// The cable is its power: it knows nothing of before.
    virtual void PowerUp() = 0;
    bool TakeTear()
    {
        int iLeft = m_iTear;
        while (iLeft > 0 && !m_iTear.compare_exchange_weak(iLeft, iLeft - 1)) { }
        return iLeft > 0;
    }

private:
    std::atomic<bool> m_bGone = false;
    std::atomic<unsigned int> m_uiPlugs = 0;
    std::atomic<bool> m_bHung = false;
    std::atomic<bool> m_bClaimed = false; ///< by another program
    std::atomic<int> m_iTear = 0; ///< frames that are to come in pieces
};

std::unique_ptr<UsbDevice> MakeUsb3VisionDevice(const UsbCameraSetup& setup);
std::unique_ptr<UsbDevice> MakeIidcUsbDevice(const UsbCameraSetup& setup);

} // namespace vireo::peers
