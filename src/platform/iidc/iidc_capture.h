#pragma once
#include "platform/camera_types.h"
#include "platform/clock.h"
#include "platform/iidc/iidc_device.h"

#include <atomic>
#include <cstdint>
#include <utility>

namespace vireo {

/// The frames of one open camera from a start to the next stop. Frames wait in the driver's ring; the
/// descriptor that the driver offers is waited on together with one that cancels the wait.
class IidcCapture {
public:
    explicit IidcCapture(Clock& clock);
    ~IidcCapture();
    IidcCapture(const IidcCapture&) = delete;
    IidcCapture& operator=(const IidcCapture&) = delete;

    /// Makes the ring; nothing is sent yet. @return InvalidSettings, OutOfResources.
    Error Open(IidcDevice& device, std::uint32_t uiBuffers);
    void Close(IidcDevice& device);

    /// Lets every Wait return Cancelled until the next Open. Any thread.
    void Cancel();

    /// Time and manner of a fetch; both may change while one waits.
    struct Manner {
        std::atomic<int> iTimeoutMs = -1;
        std::atomic<bool> bNewestOnly = true;
    };
    /// Lets a waiting Take look at its manner again. Any thread.
    void Poke();

    enum class Found { Frame, Broken, Timeout, Cancelled, Silent };
    /// Takes the next frame, or the newest. The one before goes back to the driver. The wait counts from
    /// `begin`. Touches no register, since other threads may use them meanwhile: Silent asks the caller to see
    /// whether the camera is still there, and to come again. Nobody waits for a camera that is gone.
    Found Take(IidcDevice& device, const Manner& manner, ClockTime begin);
    /// Gives the frame before back.
    void Return(IidcDevice& device);

    /// The frame that Take found; its arrival on the program's clock.
    const ImageView& Shape() const { return m_shape; }
    ClockTime Arrival() const { return m_arrival; }
    std::uint64_t Incomplete() const { return m_uiIncomplete; }
    /// The last ones in a row were no frames: the camera was gone.
    void ForgetBroken() { m_uiIncomplete -= std::exchange(m_uiBrokenInARow, 0U); }

private:
    Found Wait(int iFrames, ClockTime deadline);
    Found Fetch(IidcDevice& device, const Manner& manner, ClockTime begin);
    bool Dequeue(IidcDevice& device);

    Clock& m_clock;
    int m_iWake; ///< event descriptor
    std::atomic<bool> m_bCancelled = true;
    ImageView m_shape;
    dc1394video_frame_t* m_pFrame = nullptr;
    ClockTime m_arrival = 0;
    std::atomic<std::uint64_t> m_uiIncomplete = 0;
    std::uint64_t m_uiBrokenInARow = 0; ///< the last ones
};

} // namespace vireo
