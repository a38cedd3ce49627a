#include "platform/simulated/register_file.h"

#include <algorithm>

namespace vireo {

namespace {

constexpr RegisterRow kControlRegisters[] = {
    { kPinState, kPinStateValid, true }, // the line's level is added when read
    { kEmbeddedInformation, 0x80000000, false }, // can be had, but nothing is switched on
};

constexpr RegisterRow kBootstrapRegisters[] = {
    { kStreamChannelCount, 1, true },
    { kGvcpCapability, 0x20000007, true }, // the heartbeat can be disabled; resend, write memory, concatenation
    { kHeartbeatTimeout, 3000, false },
    { kGvcpConfiguration, 0, false },
    { kControlPrivilege, 2, true }, // control access for the one who is connected
    { kStreamPacketSize, 0x40000000 + 1400, false },
    { kStreamSourcePort, 20202, false },
};

} // namespace

std::span<const RegisterRow> ControlRegisterTable() { return kControlRegisters; }
std::span<const RegisterRow> BootstrapRegisterTable() { return kBootstrapRegisters; }

RegisterFile::RegisterFile(std::span<const RegisterRow> table)
    : m_table(table)
{
    for (const RegisterRow& row : table)
        m_values[row.uiAddress] = row.uiInitial;
}

std::uint32_t RegisterFile::Read(std::uint32_t uiAddress) const
{
    const auto it = m_values.find(uiAddress);
    return it == m_values.end() ? 0 : it->second;
}

Error RegisterFile::Write(std::uint32_t uiAddress, std::uint32_t uiValue)
{
    const auto sameAddress = [uiAddress](const RegisterRow& row) { return row.uiAddress == uiAddress; };
    const auto row = std::find_if(m_table.begin(), m_table.end(), sameAddress);
    if (row != m_table.end() && row->bReadOnly)
        return ErrorType::RegisterFailed;
    m_values[uiAddress] = uiValue;
    return {};
}

} // namespace vireo
