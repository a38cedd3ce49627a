#include "peers/usb/usb_device.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <thread>
#include <vector>

// Loaded in front of libusb by a test: the cable and what hangs on it are software. TESSEL_USB_CAMERAS
// says what is plugged in: ITEM[,...] with ITEM = KIND:MODEL:SERIAL[:FAULT]... or trigger:HZ[@DELAY_MS], a generator
// on everybody's line 2. KIND = u3v or iidc; FAULT = sending, as a killed program leaves a camera, or unplug@N before
// the N-th frame of a run.

using vireo::peers::UsbDevice;

struct libusb_device {
    libusb_context* pContext = nullptr;
    UsbDevice* pDevice = nullptr;
    std::uint8_t uiAddress = 0;
};

struct libusb_context {
    std::vector<std::unique_ptr<libusb_device>> devices;
};

struct libusb_device_handle {
    libusb_device* pDevice = nullptr;
    unsigned int uiPlugs = 0; ///< of the device when it was opened
    bool IsDead() const { return pDevice->pDevice->IsGone() || pDevice->pDevice->Plugs() != uiPlugs; }
};

namespace vireo::peers {

std::int64_t UsbNow()
{
    static const std::int64_t s_start = [] {
        timespec now {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return now.tv_sec * 1'000'000'000 + now.tv_nsec;
    }();
    timespec now {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000 + now.tv_nsec - s_start;
}

} // namespace vireo::peers

namespace {

using namespace vireo::peers;

/// What is plugged in.
struct Cables {
    UsbBus bus;
    std::vector<std::unique_ptr<UsbDevice>> devices;
};

std::vector<std::string> Split(const std::string& strText, char cAt)
{
    std::vector<std::string> parts(1);
    for (const char c : strText)
        if (c == cAt)
            parts.emplace_back();
        else
            parts.back() += c;
    return parts;
}

bool ReadFault(const std::string& strFault, UsbCameraSetup& setup)
{
    constexpr std::string_view kUnplug = "unplug@";
    if (strFault.starts_with(kUnplug))
        setup.unplug = std::strtoull(strFault.c_str() + kUnplug.size(), nullptr, 10);
    else if (strFault == "sending")
        setup.bSending = true;
    else
        return false;
    return true;
}

bool PlugIn(Cables& cables, const std::string& strItem, Generator& generator)
{
    const std::vector<std::string> parts = Split(strItem, ':');
    if (parts.size() == 2 && parts[0] == "trigger")
        return ParseGenerator(parts[1], generator);
    if (parts.size() < 3 || (parts[0] != "u3v" && parts[0] != "iidc"))
        return false;
    UsbCameraSetup setup { parts[1], static_cast<std::uint32_t>(std::strtoul(parts[2].c_str(), nullptr, 10)), false,
        {} };
    for (std::size_t i = 3; i < parts.size(); i++)
        if (!ReadFault(parts[i], setup))
            return false;
    cables.devices.push_back(
        parts[0] == "u3v" ? MakeUsb3VisionDevice(cables.bus, setup) : MakeIidcUsbDevice(cables.bus, setup));
    return true;
}

/// Lives as long as the process: a thread that was left behind with a mute camera may still be on its way through here
/// when everything else is taken down.
template <typename Object> Object& Everlasting()
{
    static auto* const s_pObject = new Object;
    return *s_pObject;
}

/// Read once.
Cables& AllCables()
{
    auto& cables = Everlasting<Cables>();
    static std::once_flag s_once;
    std::call_once(s_once, [&cables] {
        const char* strList = std::getenv("TESSEL_USB_CAMERAS");
        Generator generator;
        if (strList != nullptr && *strList != '\0')
            for (const std::string& strItem : Split(strList, ','))
                if (!PlugIn(cables, strItem, generator)) {
                    std::fprintf(stderr, "TESSEL_USB_CAMERAS: cannot read %s\n", strItem.c_str());
                    std::abort(); // a test would look at something else than it means
                }
        UsbNow();
        cables.bus.Connect(generator);
    });
    return cables;
}
std::vector<std::unique_ptr<UsbDevice>>& Plugged() { return AllCables().devices; }

libusb_context& DefaultContext() { return Everlasting<libusb_context>(); }

/// Transfers that were submitted and wait for the camera, in order.
struct Submitted {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<libusb_transfer*> waiting;
    std::vector<libusb_transfer*> cancelled;
};
Submitted& Pending() { return Everlasting<Submitted>(); }

void Forget(std::vector<libusb_transfer*>& list, const libusb_transfer* pTransfer) { std::erase(list, pTransfer); }

/// Takes the oldest transfer of the context's devices out of the queue.
libusb_transfer* TakeTransfer(const libusb_context* pContext, bool& bCancelled)
{
    Submitted& pending = Pending();
    std::lock_guard lock(pending.mutex);
    for (const bool bCancelledOnes : { true, false }) {
        auto& list = bCancelledOnes ? pending.cancelled : pending.waiting;
        const auto found = std::find_if(list.begin(), list.end(),
            [&](const libusb_transfer* p) { return p->dev_handle->pDevice->pContext == pContext; });
        if (found == list.end())
            continue;
        libusb_transfer* pTransfer = *found;
        list.erase(found);
        bCancelled = bCancelledOnes;
        return pTransfer;
    }
    return nullptr;
}

void GiveBack(libusb_transfer* pTransfer)
{
    Submitted& pending = Pending();
    std::lock_guard lock(pending.mutex);
    pending.waiting.insert(pending.waiting.begin(), pTransfer);
}

void Finish(libusb_transfer* pTransfer, libusb_transfer_status eStatus, int iBytes)
{
    pTransfer->status = eStatus;
    pTransfer->actual_length = iBytes;
    pTransfer->callback(pTransfer);
}

int MoveBulk(
    UsbDevice& device, std::uint8_t uiEndpoint, std::uint8_t* pData, int iLength, std::int64_t deadline, int& iMoved)
{
    if (!device.IsHung())
        return device.Bulk(uiEndpoint, pData, iLength, deadline, iMoved);
    std::this_thread::sleep_for(std::chrono::nanoseconds(std::max<std::int64_t>(deadline - UsbNow(), 0)));
    return LIBUSB_ERROR_TIMEOUT;
}

/// Completes one transfer, or waits until `deadline`.
bool ServeOne(const libusb_context* pContext, std::int64_t deadline)
{
    bool bCancelled = false;
    libusb_transfer* pTransfer = TakeTransfer(pContext, bCancelled);
    if (pTransfer == nullptr) {
        Submitted& pending = Pending();
        std::unique_lock lock(pending.mutex);
        const std::int64_t left = std::clamp<std::int64_t>(deadline - UsbNow(), 0, 1'000'000);
        pending.changed.wait_for(lock, std::chrono::nanoseconds(left));
        return false;
    }
    if (bCancelled) {
        Finish(pTransfer, LIBUSB_TRANSFER_CANCELLED, 0);
        return true;
    }
    int iMoved = 0;
    UsbDevice& device = *pTransfer->dev_handle->pDevice->pDevice;
    const std::int64_t soon = std::min(deadline, UsbNow() + 2'000'000);
    const int iResult = pTransfer->dev_handle->IsDead()
        ? LIBUSB_ERROR_NO_DEVICE
        : MoveBulk(device, pTransfer->endpoint, pTransfer->buffer, pTransfer->length, soon, iMoved);
    if (iResult == LIBUSB_ERROR_TIMEOUT) {
        GiveBack(pTransfer);
        return false;
    }
    const libusb_transfer_status eBad =
        iResult == LIBUSB_ERROR_NO_DEVICE ? LIBUSB_TRANSFER_NO_DEVICE : LIBUSB_TRANSFER_ERROR;
    Finish(pTransfer, iResult == 0 ? LIBUSB_TRANSFER_COMPLETED : eBad, iMoved);
    return true;
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

// What a test does to the cable of the n-th camera.
void TesselUsbPlug(unsigned int uiCamera, int iIn) { Plugged().at(uiCamera)->SetPlugged(iIn != 0); }
void TesselUsbTear(unsigned int uiCamera, int iFrames) { Plugged().at(uiCamera)->Tear(iFrames); }
void TesselUsbClaim(unsigned int uiCamera, int iElsewhere) { Plugged().at(uiCamera)->SetClaimed(iElsewhere != 0); }

void TesselUsbMute(unsigned int uiCamera, int iMute) { Plugged().at(uiCamera)->SetMute(iMute != 0); }
void TesselUsbHang(unsigned int uiCamera, int iHung) { Plugged().at(uiCamera)->SetHung(iHung != 0); }

int libusb_init(libusb_context** ppContext)
{
    Plugged();
    if (ppContext != nullptr)
        *ppContext = new libusb_context;
    return 0;
}

void libusb_exit(libusb_context* pContext) { delete pContext; }

ssize_t libusb_get_device_list(libusb_context* pContext, libusb_device*** pppList)
{
    libusb_context& context = pContext != nullptr ? *pContext : DefaultContext();
    const auto& plugged = Plugged();
    for (std::size_t i = context.devices.size(); i < plugged.size(); i++)
        context.devices.push_back(std::make_unique<libusb_device>(
            libusb_device { &context, plugged[i].get(), static_cast<std::uint8_t>(i + 1) }));
    auto** ppList = static_cast<libusb_device**>(std::calloc(context.devices.size() + 1, sizeof(libusb_device*)));
    ssize_t iCount = 0;
    for (const auto& device : context.devices)
        if (!device->pDevice->IsGone())
            ppList[iCount++] = device.get();
    *pppList = ppList;
    return iCount;
}

void libusb_free_device_list(libusb_device** ppList, int) { std::free(ppList); }

int libusb_get_device_descriptor(libusb_device* pDevice, libusb_device_descriptor* pDescriptor)
{
    *pDescriptor = pDevice->pDevice->Descriptor();
    return 0;
}

int libusb_open(libusb_device* pDevice, libusb_device_handle** ppHandle)
{
    if (pDevice->pDevice->IsGone())
        return LIBUSB_ERROR_NO_DEVICE;
    *ppHandle = new libusb_device_handle { pDevice, pDevice->pDevice->Plugs() };
    return 0;
}

void libusb_close(libusb_device_handle* pHandle)
{
    Submitted& pending = Pending();
    std::lock_guard lock(pending.mutex);
    for (auto* pList : { &pending.waiting, &pending.cancelled })
        std::erase_if(*pList, [&](const libusb_transfer* p) { return p->dev_handle == pHandle; });
    delete pHandle;
}

libusb_device* libusb_get_device(libusb_device_handle* pHandle) { return pHandle->pDevice; }
std::uint8_t libusb_get_bus_number(libusb_device*) { return 1; }
std::uint8_t libusb_get_device_address(libusb_device* pDevice) { return pDevice->uiAddress; }
int libusb_get_device_speed(libusb_device*) { return LIBUSB_SPEED_SUPER; }
int libusb_set_configuration(libusb_device_handle*, int) { return 0; }
int libusb_claim_interface(libusb_device_handle* pHandle, int)
{
    return pHandle->pDevice->pDevice->IsClaimed() ? LIBUSB_ERROR_BUSY : 0;
}
int libusb_release_interface(libusb_device_handle*, int) { return 0; }
int libusb_reset_device(libusb_device_handle*) { return 0; }
int libusb_set_auto_detach_kernel_driver(libusb_device_handle*, int) { return 0; }
int libusb_clear_halt(libusb_device_handle*, unsigned char) { return 0; }

int libusb_get_config_descriptor(libusb_device* pDevice, std::uint8_t, libusb_config_descriptor** ppDescriptor)
{
    *ppDescriptor = const_cast<libusb_config_descriptor*>(&pDevice->pDevice->Configuration());
    return 0;
}
int libusb_get_active_config_descriptor(libusb_device* pDevice, libusb_config_descriptor** ppDescriptor)
{
    return libusb_get_config_descriptor(pDevice, 0, ppDescriptor);
}
void libusb_free_config_descriptor(libusb_config_descriptor*) { }

int libusb_get_string_descriptor_ascii(
    libusb_device_handle* pHandle, std::uint8_t uiIndex, unsigned char* pData, int iLength)
{
    const std::string strText = pHandle->pDevice->pDevice->Text(uiIndex);
    const int iBytes = std::min(static_cast<int>(strText.size()), iLength - 1);
    std::memcpy(pData, strText.data(), static_cast<std::size_t>(iBytes));
    pData[iBytes] = 0;
    return iBytes;
}

const char* libusb_error_name(int iError) { return iError == LIBUSB_ERROR_TIMEOUT ? "timeout" : "error"; }

int libusb_hotplug_register_callback(
    libusb_context*, int, int, int, int, int, libusb_hotplug_callback_fn, void*, libusb_hotplug_callback_handle*)
{
    return 0;
}
void libusb_hotplug_deregister_callback(libusb_context*, libusb_hotplug_callback_handle) { }

int libusb_control_transfer(libusb_device_handle* pHandle, std::uint8_t uiType, std::uint8_t, std::uint16_t uiValue,
    std::uint16_t uiIndex, unsigned char* pData, std::uint16_t uiLength, unsigned int uiTimeoutMs)
{
    UsbDevice& device = *pHandle->pDevice->pDevice;
    device.WaitWhileHung();
    if (device.WaitWhileMute(uiTimeoutMs))
        return LIBUSB_ERROR_TIMEOUT;
    if (pHandle->IsDead())
        return LIBUSB_ERROR_NO_DEVICE;
    return device.Control(uiType, static_cast<std::uint32_t>(uiIndex) << 16 | uiValue, pData, uiLength);
}

int libusb_bulk_transfer(libusb_device_handle* pHandle, unsigned char uiEndpoint, unsigned char* pData, int iLength,
    int* piMoved, unsigned int uiTimeoutMs)
{
    const std::int64_t wait = uiTimeoutMs == 0 ? 1'000'000'000 : std::int64_t { uiTimeoutMs } * 1'000'000;
    *piMoved = 0;
    return pHandle->IsDead()
        ? LIBUSB_ERROR_NO_DEVICE
        : MoveBulk(*pHandle->pDevice->pDevice, uiEndpoint, pData, iLength, UsbNow() + wait, *piMoved);
}

libusb_transfer* libusb_alloc_transfer(int)
{
    return static_cast<libusb_transfer*>(std::calloc(1, sizeof(libusb_transfer)));
}

void libusb_free_transfer(libusb_transfer* pTransfer)
{
    Submitted& pending = Pending();
    {
        std::lock_guard lock(pending.mutex);
        Forget(pending.waiting, pTransfer);
        Forget(pending.cancelled, pTransfer);
    }
    std::free(pTransfer);
}

int libusb_submit_transfer(libusb_transfer* pTransfer)
{
    if (pTransfer->dev_handle->IsDead())
        return LIBUSB_ERROR_NO_DEVICE;
    Submitted& pending = Pending();
    std::lock_guard lock(pending.mutex);
    pending.waiting.push_back(pTransfer);
    pending.changed.notify_all();
    return 0;
}

int libusb_cancel_transfer(libusb_transfer* pTransfer)
{
    Submitted& pending = Pending();
    std::lock_guard lock(pending.mutex);
    if (std::find(pending.waiting.begin(), pending.waiting.end(), pTransfer) == pending.waiting.end())
        return LIBUSB_ERROR_NOT_FOUND;
    Forget(pending.waiting, pTransfer);
    pending.cancelled.push_back(pTransfer);
    pending.changed.notify_all();
    return 0;
}

int libusb_handle_events_timeout(libusb_context* pContext, timeval* pLimit)
{
    const libusb_context* pOf = pContext != nullptr ? pContext : &DefaultContext();
    const std::int64_t deadline = UsbNow() + pLimit->tv_sec * 1'000'000'000 + pLimit->tv_usec * 1000;
    while (!ServeOne(pOf, deadline) && UsbNow() < deadline) { }
    return 0;
}

} // extern "C"
#pragma GCC visibility pop
