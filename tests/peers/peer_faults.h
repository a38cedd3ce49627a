#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vireo::peers {

/// Exposure numbers since the camera's start, from 0.
struct Numbers {
    std::uint64_t uiFirst = 0;
    std::uint64_t uiCount = 1;
};

/// What goes wrong with one camera of the host.
struct PeerFaults {
    std::vector<Numbers> lose; ///< one packet is lost; asked for again, it comes
    std::vector<Numbers> torn; ///< one packet is lost for good
    std::vector<Numbers> drop; ///< the whole frame is lost
    std::vector<Numbers> deaf; ///< meanwhile it answers nothing; its frames flow
    std::optional<std::uint64_t> hang; ///< sends nothing from this frame on
    std::optional<std::uint64_t> release; ///< takes control from its program before this frame
    std::optional<std::uint64_t> seize; ///< the same, and another program has it from then on
    std::optional<std::uint64_t> quit; ///< the host ends as if killed before this frame
    bool bQuitArmed = false; ///< or when this camera has waited a second for its trigger
    bool bMuteOpened = false; ///< answers nothing any more once it was asked for its description
};

bool Contains(const std::vector<Numbers>& list, std::uint64_t uiNumber);

/// Reads `lose|torn|drop|deaf:CAMERA@N[xCOUNT]` `hang|release|seize|quit:CAMERA@N`, `quit:CAMERA@armed` or
/// `mute:CAMERA@open`. False for anything else.
bool ParsePeerFault(std::string_view strRule, std::vector<PeerFaults>& faults);

} // namespace vireo::peers
