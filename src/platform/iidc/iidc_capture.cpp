#include "platform/iidc/iidc_capture.h"

#include <algorithm>
#include <ctime>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace vireo {

namespace {

constexpr std::uint64_t kRingBytes = 256U << 20; ///< the driver takes memory for every buffer at once
constexpr std::uint32_t kLeastBuffers = 8;

std::int64_t WallMicroseconds()
{
    timespec now {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * 1'000'000 + now.tv_nsec / 1000;
}

} // namespace

IidcCapture::IidcCapture(Clock& clock)
    : m_clock(clock)
    , m_iWake(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
}

IidcCapture::~IidcCapture() { close(m_iWake); }

Error IidcCapture::Open(IidcDevice& device, std::uint32_t uiBuffers)
{
    if (Error error = device.ReadFrameShape(m_shape); !error.IsOk())
        return error;
    const std::uint64_t uiFit = kRingBytes / std::max(m_shape.uiDataSize, 1U);
    const auto uiRing =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(uiBuffers, std::max<std::uint64_t>(uiFit, kLeastBuffers)));
    const dc1394error_t eCode = dc1394_capture_setup(device.Get(), uiRing, DC1394_CAPTURE_FLAGS_DEFAULT);
    if (Error error = device.Translate(eCode, "capture", ErrorType::OutOfResources); !error.IsOk())
        return error;
    std::uint64_t uiCount = 0;
    (void)!read(m_iWake, &uiCount, sizeof uiCount); // forgets the cancels of the run before
    m_uiIncomplete = 0;
    m_uiBrokenInARow = 0;
    m_bCancelled = false;
    return {};
}

void IidcCapture::Close(IidcDevice& device)
{
    Return(device);
    dc1394_capture_stop(device.Get());
}

void IidcCapture::Cancel()
{
    m_bCancelled = true;
    Poke();
}

void IidcCapture::Poke()
{
    const std::uint64_t uiOne = 1;
    (void)!write(m_iWake, &uiOne, sizeof uiOne);
}

/// Waits on descriptors, which the clock cannot, for a second at most; the deadline is the clock's all the
/// same.
IidcCapture::Found IidcCapture::Wait(int iFrames, ClockTime deadline)
{
    if (m_bCancelled)
        return Found::Cancelled;
    const ClockTime left =
        deadline == kForever ? kNsPerSecond : std::clamp<ClockTime>(deadline - m_clock.Now(), 0, kNsPerSecond);
    pollfd waits[] = { { iFrames, POLLIN, 0 }, { m_iWake, POLLIN, 0 } };
    const timespec limit { left / kNsPerSecond, left % kNsPerSecond };
    ppoll(waits, 2, &limit, nullptr);
    if (waits[1].revents != 0 && !m_bCancelled) {
        std::uint64_t uiCount = 0;
        (void)!read(m_iWake, &uiCount, sizeof uiCount);
    }
    if (m_bCancelled)
        return Found::Cancelled;
    return waits[0].revents != 0 ? Found::Frame : Found::Timeout;
}

/// A broken frame comes with an error, but it comes, and takes a place in the ring until it is given back.
bool IidcCapture::Dequeue(IidcDevice& device)
{
    // A gone camera's buffers are not given back; the driver would take the first of them for a new frame and wait.
    pollfd frames { dc1394_capture_get_fileno(device.Get()), POLLIN, 0 };
    if (device.IsGone() && poll(&frames, 1, 0) <= 0)
        return false;
    dc1394video_frame_t* pFrame = nullptr;
    dc1394_capture_dequeue(device.Get(), DC1394_CAPTURE_POLICY_POLL, &pFrame);
    if (pFrame == nullptr)
        return false;
    Return(device);
    m_pFrame = pFrame;
    return true;
}

void IidcCapture::Return(IidcDevice& device)
{
    // The driver gives nothing any more once a gone camera's buffer was given back to it.
    if (m_pFrame != nullptr && !device.IsGone())
        dc1394_capture_enqueue(device.Get(), m_pFrame);
    m_pFrame = nullptr;
}

IidcCapture::Found IidcCapture::Fetch(IidcDevice& device, const Manner& manner, ClockTime begin)
{
    if (m_bCancelled)
        return Found::Cancelled; // also when frames wait
    while (!Dequeue(device)) {
        if (device.IsGone())
            return Found::Silent;
        const int iTimeoutMs = manner.iTimeoutMs;
        const ClockTime deadline = iTimeoutMs < 0 ? kForever : begin + iTimeoutMs * kNsPerMs;
        const Found eFound = Wait(dc1394_capture_get_fileno(device.Get()), deadline);
        if (eFound == Found::Cancelled)
            return eFound;
        if (eFound == Found::Frame && Dequeue(device))
            break;
        if (m_clock.Now() >= deadline && manner.iTimeoutMs == iTimeoutMs)
            return Found::Timeout;
        // A pulled plug shows as a call that leads to nothing, or as silence.
        if (eFound == Found::Frame)
            m_clock.SleepMs(1);
        if (eFound == Found::Frame || m_clock.Now() - begin >= kNsPerSecond / 2)
            return Found::Silent;
    }
    while (manner.bNewestOnly && Dequeue(device)) { }
    return Found::Frame;
}

IidcCapture::Found IidcCapture::Take(IidcDevice& device, const Manner& manner, ClockTime begin)
{
    Return(device);
    const Found eFound = Fetch(device, manner, begin);
    if (eFound != Found::Frame)
        return eFound;
    if (dc1394_capture_is_frame_corrupt(device.Get(), m_pFrame) != DC1394_FALSE
        || m_pFrame->total_bytes < m_shape.uiDataSize) {
        m_uiIncomplete++;
        m_uiBrokenInARow++;
        Return(device);
        return Found::Broken;
    }
    m_uiBrokenInARow = 0;
    m_shape.pData = m_pFrame->image;
    const std::int64_t age =
        std::max<std::int64_t>(WallMicroseconds() - static_cast<std::int64_t>(m_pFrame->timestamp), 0);
    m_arrival = m_clock.Now() - age * kNsPerUs;
    return Found::Frame;
}

} // namespace vireo
