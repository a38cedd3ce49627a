#include "platform/simulated/device.h"

#include "platform/simulated/camera_models.h"

#include <string>

namespace vireo {

namespace {

constexpr std::int64_t kCycleSeconds = 128;
constexpr std::int64_t kCyclesPerSecond = 8000;
constexpr std::int64_t kTicksPerCycle = 3072;
constexpr std::int64_t kMaxOwnPpm = 20;
constexpr std::uint32_t kBusClockDomain = 1394;
constexpr std::uint32_t kOwnClockDomain = 0x80000000; // with the serial number below: unlike any other
constexpr std::uint32_t kGuidMark = 0x53494D31;

bool HasOwnClock(std::string_view strModel, const CameraFaults& faults)
{
    return InterfaceOfModel(strModel) != InterfaceType::Ieee1394 || faults.skew || faults.drift;
}

CameraClock ClockOf(const SimulatedCameraSpec& spec, const CameraFaults& faults)
{
    CameraClock clock;
    if (InterfaceOfModel(spec.strModel) != InterfaceType::Ieee1394)
        clock = OwnClock(spec.uiSerial);
    clock.offset += faults.skew.value_or(0);
    clock.iPpb = faults.drift.value_or(clock.iPpb);
    return clock;
}

CameraInfo InfoOf(const SimulatedCameraSpec& spec, const CameraFaults& faults)
{
    const CameraModel& model = *FindCameraModel(spec.strModel);
    CameraInfo info;
    info.serialNumber = spec.uiSerial;
    info.interfaceType = InterfaceOfModel(spec.strModel);
    info.isColorCamera = IsColourModel(spec.strModel);
    info.modelName = spec.strModel;
    info.vendorName = "Simulated";
    info.sensorResolution = std::to_string(model.uiSensorWidth) + 'x' + std::to_string(model.uiSensorHeight);
    info.clockDomain = HasOwnClock(spec.strModel, faults) ? kOwnClockDomain | spec.uiSerial : kBusClockDomain;
    return info;
}

} // namespace

CameraClock OwnClock(std::uint32_t uiSerial)
{
    // The first camera of a series keeps the best time, so that a drift set by hand reads as set.
    const std::int64_t iNumber = (std::int64_t { uiSerial } + 9999) % 10000;
    constexpr std::int64_t kSpan = 2 * kMaxOwnPpm + 1;
    const std::int64_t iPpm = (iNumber * 7 + kMaxOwnPpm) % kSpan - kMaxOwnPpm;
    const std::uint64_t uiMixed = (std::uint64_t { uiSerial } + 1) * 0x9E3779B97F4A7C15ULL;
    const auto offset = static_cast<ClockTime>((uiMixed >> 20) % (kCycleSeconds * kNsPerSecond));
    return { offset, iPpm * 1000 };
}

std::uint32_t CycleTime(const CameraClock& clock, ClockTime sinceStart)
{
    constexpr __int128 kGiga = 1'000'000'000;
    constexpr __int128 kTicksPerSecond = __int128 { kCyclesPerSecond } * kTicksPerCycle;
    const __int128 shown = __int128 { sinceStart } * (kGiga + clock.iPpb) / kGiga + clock.offset;
    constexpr __int128 kWrap = __int128 { kCycleSeconds } * kNsPerSecond;
    const __int128 inWrap = (shown % kWrap + kWrap) % kWrap;
    const auto iTicks = static_cast<std::int64_t>(inWrap * kTicksPerSecond / kNsPerSecond);
    const auto iSeconds = iTicks / (kCyclesPerSecond * kTicksPerCycle);
    const auto iCycles = iTicks / kTicksPerCycle % kCyclesPerSecond;
    return static_cast<std::uint32_t>(iSeconds << 25 | iCycles << 12 | iTicks % kTicksPerCycle);
}

Device::Device(const SimulatedCameraSpec& spec, std::size_t uiIndex, const CameraFaults& cameraFaults)
    : uiCamera(uiIndex)
    , guid { { kGuidMark, spec.uiSerial, static_cast<std::uint32_t>(uiIndex), 0 } }
    , info(InfoOf(spec, cameraFaults))
    , clock(ClockOf(spec, cameraFaults))
    , faults(cameraFaults)
    , settings(*FindCameraModel(spec.strModel), spec.strModel)
{
}

} // namespace vireo
