#include "platform/genicam/control_registers.h"

#include "platform/genicam/frame_rate.h"
#include "platform/genicam/properties.h"
#include "platform/genicam/trigger_lines.h"

#include <bit>

namespace vireo {

namespace {

constexpr std::uint32_t kPresent = 0x80000000;
constexpr std::uint32_t kAbsolute = 0x40000000;
constexpr std::uint32_t kOn = 0x02000000;
constexpr std::uint32_t kAutomatic = 0x01000000;
constexpr std::uint32_t kEmbedTime = 0x001;
constexpr std::uint32_t kEmbedPins = 0x100;

constexpr std::uint32_t LineBit(unsigned int uiLine) { return 0x80000000U >> uiLine; }

/// What was written last; `uiInitial` before the first time.
std::uint32_t Kept(const OpenDevice& device, std::uint32_t uiAddress, std::uint32_t uiInitial)
{
    const auto found = device.remembered.registers.find(uiAddress);
    return found != device.remembered.registers.end() ? found->second : uiInitial;
}

Error ReadRateControl(OpenDevice& device, std::uint32_t& uiValue)
{
    if (!device.features->Has(Feature::FrameRate)) {
        uiValue = 0;
        return {};
    }
    Property property;
    property.type = PropertyType::FrameRate;
    if (Error error = ReadProperty(device, property); !error.IsOk())
        return error;
    const std::uint32_t uiRaw = Kept(device, 0x083C, 0) & 0xFFFU;
    uiValue = kPresent | kAbsolute | (property.onOff ? kOn : 0U) | (property.autoManualMode ? kAutomatic : 0U) | uiRaw;
    return {};
}

Error WriteRateControl(OpenDevice& device, std::uint32_t uiValue)
{
    device.remembered.registers[0x083C] = uiValue;
    if (!device.features->Has(Feature::FrameRate))
        return device.features->Missing(Feature::FrameRate);
    const bool bHold = (uiValue & kOn) != 0 && (uiValue & kAutomatic) == 0;
    if (device.features->Has(Feature::FrameRateAuto))
        if (Error error = device.features->SetSwitch(Feature::FrameRateAuto, (uiValue & kAutomatic) != 0);
            !error.IsOk())
            return error;
    return SwitchFrameRate(device, bHold);
}

Error ReadRate(OpenDevice& device, std::uint32_t& uiValue)
{
    double dFps = 0.0;
    if (Error error = device.features->GetFloat(Feature::FrameRate, dFps); !error.IsOk())
        return error;
    uiValue = std::bit_cast<std::uint32_t>(static_cast<float>(dFps));
    return {};
}

/// As a camera does: a rate beyond its limits becomes the nearest that it can.
Error WriteRate(OpenDevice& device, std::uint32_t uiValue)
{
    const auto dFps = static_cast<double>(std::bit_cast<float>(uiValue));
    if (!(dFps > 0.0))
        return device.features->Fail(ErrorType::RegisterFailed, "not a frame rate");
    return AskFrameRate(device, dFps);
}

Error ReadEmbedding(OpenDevice& device, std::uint32_t& uiValue)
{
    uiValue = kPresent | (device.embedding->bTime && device.embedding->bClock ? kEmbedTime : 0U)
        | (device.embedding->bPins ? kEmbedPins : 0U) | (Kept(device, 0x12F8, 0) & ~(kEmbedTime | kEmbedPins));
    return {};
}

Error WriteEmbedding(OpenDevice& device, std::uint32_t uiValue)
{
    device.remembered.registers[0x12F8] = uiValue;
    device.embedding->bTime = (uiValue & kEmbedTime) != 0;
    device.embedding->bPins = (uiValue & kEmbedPins) != 0;
    std::uint32_t uiPins = 0;
    if (device.embedding->bPins)
        if (Error error = ReadPins(device, uiPins); !error.IsOk())
            return error;
    device.embedding->uiPins = uiPins;
    return {};
}

Error ReadLevels(OpenDevice& device, std::uint32_t& uiValue)
{
    uiValue = Kept(device, 0x11F0, 0);
    return {};
}

/// The level that each line shows when it is an output.
Error WriteLevels(OpenDevice& device, std::uint32_t uiValue)
{
    device.remembered.registers[0x11F0] = uiValue;
    for (unsigned int uiLine = 0; uiLine < kLines; uiLine++)
        if (Error error = SetOutputLevel(device, uiLine, (uiValue & LineBit(uiLine)) != 0); !error.IsOk())
            return error;
    return {};
}

/// The highest bit always reads 1, as on the cameras that the program's digit counting was made for.
Error ReadLineStatus(OpenDevice& device, std::uint32_t& uiValue)
{
    std::uint32_t uiPins = 0;
    if (Error error = ReadPins(device, uiPins); !error.IsOk())
        return error;
    uiValue = uiPins | kPresent;
    return {};
}

Error ReadDirections(OpenDevice& device, std::uint32_t& uiValue)
{
    uiValue = Kept(device, 0x11F8, 0);
    for (unsigned int uiLine = 0; uiLine < kLines; uiLine++) {
        bool bOutput = (uiValue & LineBit(uiLine)) != 0;
        if (Error error = GetLineDirection(device, uiLine, bOutput); !error.IsOk())
            return error;
        uiValue = (uiValue & ~LineBit(uiLine)) | (bOutput ? LineBit(uiLine) : 0U);
    }
    return {};
}

Error WriteDirections(OpenDevice& device, std::uint32_t uiValue)
{
    device.remembered.registers[0x11F8] = uiValue;
    for (unsigned int uiLine = 0; uiLine < kLines; uiLine++)
        if (Error error = SetLineDirection(device, uiLine, (uiValue & LineBit(uiLine)) != 0); !error.IsOk())
            return error;
    return {};
}

/// Taken and given back; no camera of this kind has anything behind it.
Error ReadNothing(OpenDevice& device, std::uint32_t& uiValue)
{
    uiValue = Kept(device, 0x1048, 0);
    return {};
}
Error WriteNothing(OpenDevice& device, std::uint32_t uiValue)
{
    device.remembered.registers[0x1048] = uiValue;
    return {};
}

struct ControlRegister {
    std::uint32_t uiAddress;
    Error (*pRead)(OpenDevice&, std::uint32_t&);
    Error (*pWrite)(OpenDevice&, std::uint32_t); ///< null: read only
};
constexpr ControlRegister kRegisters[] = {
    { 0x083C, ReadRateControl, WriteRateControl }, // frame rate: present, absolute, on, automatic
    { 0x0968, ReadRate, WriteRate }, // frame rate, float
    { 0x1048, ReadNothing, WriteNothing }, { 0x11F0, ReadLevels, WriteLevels }, // level of the outputs
    { 0x11F4, ReadLineStatus, nullptr }, // level of all lines
    { 0x11F8, ReadDirections, WriteDirections }, // 1 = output
    { 0x12F8, ReadEmbedding, WriteEmbedding }, // what is written over the first pixels
};

const ControlRegister* Find(std::uint32_t uiAddress)
{
    for (const ControlRegister& row : kRegisters)
        if (row.uiAddress == uiAddress)
            return &row;
    return nullptr;
}

Error NoSuchRegister(const OpenDevice& device, std::uint32_t uiAddress)
{
    char szText[48];
    std::snprintf(szText, sizeof szText, "no register 0x%04X", uiAddress);
    return device.features->Fail(ErrorType::RegisterFailed, szText);
}

} // namespace

Error ReadControlRegister(OpenDevice& device, std::uint32_t uiAddress, std::uint32_t& uiValue)
{
    const ControlRegister* pRow = Find(uiAddress);
    return pRow != nullptr ? pRow->pRead(device, uiValue) : NoSuchRegister(device, uiAddress);
}

Error WriteControlRegister(OpenDevice& device, std::uint32_t uiAddress, std::uint32_t uiValue)
{
    const ControlRegister* pRow = Find(uiAddress);
    return pRow != nullptr && pRow->pWrite != nullptr ? pRow->pWrite(device, uiValue)
                                                      : NoSuchRegister(device, uiAddress);
}

Error ReadPins(OpenDevice& device, std::uint32_t& uiPins)
{
    uiPins = 0;
    Features& features = *device.features;
    if (features.Has(Feature::LineStatusAll)) {
        std::int64_t iAll = 0;
        if (Error error = features.GetInteger(Feature::LineStatusAll, iAll); !error.IsOk())
            return error;
        for (unsigned int uiLine = 0; uiLine < kLines; uiLine++)
            uiPins |= (iAll >> uiLine & 1) != 0 ? LineBit(uiLine) : 0U;
        return {};
    }
    if (!features.Has(Feature::LineStatus))
        return {};
    for (unsigned int uiLine = 0; uiLine < kLines; uiLine++) {
        bool bHigh = false;
        if (Error error = GetLineLevel(device, uiLine, bHigh); !error.IsOk())
            return error;
        uiPins |= bHigh ? LineBit(uiLine) : 0U;
    }
    return {};
}

} // namespace vireo
