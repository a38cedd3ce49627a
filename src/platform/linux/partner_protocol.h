#pragma once
#include "platform/partner_link.h"

#include <optional>
#include <string>
#include <string_view>

namespace vireo {

// What goes over the sockets between programs: one message a line, UTF-8, answered by one line.
//   command ID                    a menu command
//   copydata IDENTIFIER TEXT      the text may hold blanks and may be missing

constexpr std::size_t kMaxPartnerLine = 4096; ///< bytes, without the line end
constexpr std::string_view kAnswerDone = "done"; ///< the handler has run, whatever it thinks
constexpr std::string_view kAnswerUnknown = "unknown"; ///< not understood; the connection is closed

/// File name of the socket of the window with this title: its UTF-8 in hex when that is at most 40
/// bytes, else a 64-bit FNV-1a hash of it in hex.
std::string PartnerSocketName(std::string_view strTitle);

/// The message of a line (without its end); none when it is not understood.
std::optional<PartnerMessage> ParsePartnerLine(std::string_view strLine);
/// The line of a message, with its end. Empty when one line cannot carry it: the text holds a line end,
/// which would begin another message, or is too long.
std::string FormatPartnerLine(const PartnerMessage& message);

} // namespace vireo
