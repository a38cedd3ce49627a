#pragma once
#include "platform/error.h"

#include <cstdint>
#include <map>
#include <span>

namespace vireo {

// Camera control registers, by their offset from the command base.
constexpr std::uint32_t kFrameRateControl = 0x083C; ///< the frame-rate property, seen as a register
constexpr std::uint32_t kFrameRateValue = 0x0968; ///< its absolute value, a 32-bit float
constexpr std::uint32_t kColourControl = 0x1048;
constexpr std::uint32_t kOutputLevel = 0x11F0;
constexpr std::uint32_t kPinState = 0x11F4;
constexpr std::uint32_t kPinDirection = 0x11F8;
constexpr std::uint32_t kEmbeddedInformation = 0x12F8;

constexpr std::uint32_t kFrameRatePresent = 0x80000000;
constexpr std::uint32_t kFrameRateAbsolute = 0x40000000;
constexpr std::uint32_t kFrameRateOn = 0x02000000;
constexpr std::uint32_t kFrameRateAuto = 0x01000000;
constexpr std::uint32_t kFrameRateRaw = 0x00000FFF;
constexpr std::uint32_t kOutputLevelHigh = 0x90000000; ///< the line is driven high by either bit
constexpr std::uint32_t kPinStateValid = 0x80000000;
constexpr std::uint32_t kPinStateHigh = 0x70000000; ///< all three input pins hang on the one line
constexpr std::uint32_t kEmbeddedPinsHigh = 0xE0000000; ///< the same three in the frame's header
constexpr std::uint32_t kStrobeLineOutput = 0x20000000; ///< line 2 is an output; clear: an input
constexpr std::uint32_t kStrobeLineBlocked = 0x40000000; ///< must be clear for the strobe to get out
constexpr std::uint32_t kEmbedTime = 0x00000001;
constexpr std::uint32_t kEmbedPinState = 0x00000100;

// GigE Vision bootstrap registers.
constexpr std::uint32_t kStreamChannelCount = 0x0904;
constexpr std::uint32_t kGvcpCapability = 0x0934;
constexpr std::uint32_t kHeartbeatTimeout = 0x0938;
constexpr std::uint32_t kGvcpConfiguration = 0x0954;
constexpr std::uint32_t kControlPrivilege = 0x0A00;
constexpr std::uint32_t kStreamPort = 0x0D00; ///< network interface in bits 16 to 19, host port below
constexpr std::uint32_t kStreamPacketSize = 0x0D04; ///< bit 30: do not fragment; size in bits 0 to 15
constexpr std::uint32_t kStreamPacketDelay = 0x0D08;
constexpr std::uint32_t kStreamDestination = 0x0D18; ///< the first octet on top
constexpr std::uint32_t kStreamSourcePort = 0x0D1C;

/// One register that wakes up with a value or refuses to be written.
struct RegisterRow {
    std::uint32_t uiAddress;
    std::uint32_t uiInitial;
    bool bReadOnly;
};

std::span<const RegisterRow> ControlRegisterTable();
std::span<const RegisterRow> BootstrapRegisterTable();

/// Registers as the camera keeps them: those of the table, all others 0 until written.
class RegisterFile {
public:
    explicit RegisterFile(std::span<const RegisterRow> table);
    std::uint32_t Read(std::uint32_t uiAddress) const;
    /// @return RegisterFailed for a read-only register.
    Error Write(std::uint32_t uiAddress, std::uint32_t uiValue);

private:
    std::span<const RegisterRow> m_table;
    std::map<std::uint32_t, std::uint32_t> m_values;
};

} // namespace vireo
