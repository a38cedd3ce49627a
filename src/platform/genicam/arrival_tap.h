#pragma once
#include <array>
#include <cstdint>
#include <optional>

namespace vireo {

/// When the last packet of each frame reached this computer, as the kernel stamped it. The driver takes packets out of
/// a ring that the kernel hands over every few milliseconds, two frames at once at high rates: its own time is too
/// coarse to lay a camera's clock over the host's. One thread.
class ArrivalTap {
public:
    /// Listens beside the driver to what comes in on a UDP port. Without the right to do so nothing is ever known.
    explicit ArrivalTap(std::uint16_t uiPort);
    ~ArrivalTap();
    ArrivalTap(const ArrivalTap&) = delete;
    ArrivalTap& operator=(const ArrivalTap&) = delete;

    /// How long ago the frame with this 16-bit number was complete, in ns; none when that is not known.
    std::optional<std::int64_t> AgeOf(std::uint64_t uiFrameId);

private:
    struct Stamp {
        std::uint64_t uiFrameId = 0; ///< 0: none
        std::int64_t time = 0; ///< ns, wall clock
    };
    bool ReadOne();

    int m_iSocket = -1;
    std::array<Stamp, 512> m_stamps {};
};

} // namespace vireo
