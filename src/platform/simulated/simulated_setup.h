#pragma once
#include "platform/clock.h"
#include "platform/error.h"
#include "platform/simulated/operations.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vireo {

/// One camera to simulate.
struct SimulatedCameraSpec {
    std::string strModel;
    std::uint32_t uiSerial = 0;
    friend bool operator==(const SimulatedCameraSpec&, const SimulatedCameraSpec&) = default;
};

/// A run of exposure (or edge) numbers.
struct NumberRange {
    std::uint64_t uiFirst = 0;
    std::uint64_t uiCount = 1;
    bool Contains(std::uint64_t uiNumber) const { return uiNumber >= uiFirst && uiNumber - uiFirst < uiCount; }
    friend bool operator==(const NumberRange&, const NumberRange&) = default;
};

struct LateFrame {
    std::uint64_t uiNumber = 0;
    ClockTime delay = 0; ///< ns
};

/// What goes wrong with one camera. Numbers count its exposures from each StartCapture, from 0.
struct CameraFaults {
    std::vector<NumberRange> drop; ///< exposed, but lost on the way
    std::vector<NumberRange> missedge; ///< trigger edges that it does not answer
    std::vector<NumberRange> torn; ///< arrive incomplete
    std::vector<LateFrame> stall; ///< delivered late
    std::optional<std::uint64_t> untrigger; ///< runs free from this frame on
    std::optional<std::uint64_t> hang; ///< delivers nothing from this frame on
    std::optional<std::uint64_t> unplug; ///< disappears at this frame
    std::optional<ClockTime> skew; ///< offset of its clock, ns
    std::optional<std::int64_t> drift; ///< rate error of its clock, parts per 10^9
    ClockTime phase = 0; ///< ns from the edge to its exposure
};

/// One call of the library that fails without doing anything.
struct ErrorFault {
    Operation eOperation = Operation::Connect;
    ErrorType eType = ErrorType::TransportFailed;
    std::uint64_t uiCall = 1; ///< the first call is 1
    std::optional<std::size_t> camera; ///< counted for this camera; none: over all
};

/// The external TTL generator: a square wave.
struct GeneratorSetup {
    std::int64_t iMilliHertz = 0;
    std::optional<ClockTime> delay; ///< ns from the last camera's start; none: it runs all the time
};

struct SimulatedFaults {
    std::vector<CameraFaults> cameras; ///< by camera number; may be shorter than the list of cameras
    std::vector<ErrorFault> errors;
    std::optional<GeneratorSetup> generator;
};

/// Everything that is known before the first call: the cameras in bus order and their faults.
/// Fault rules (and the wiring) number the cameras by ascending serial number, as the program does.
struct SimulatedSetup {
    std::vector<SimulatedCameraSpec> cameras;
    SimulatedFaults faults;
};

/// More than any program opens; keeps a slip of the finger from taking the machine's memory.
constexpr std::size_t kMaxSimulatedCameras = 64;

/// Reads one camera source, `simulated` or `simulated:item[+item...]` with
/// item = [COUNTx]MODEL[@FIRST_SERIAL], and appends its cameras.
/// @return one line that names the bad item; empty when all is well. On failure `cameras` is unchanged.
std::string ParseSimulatedSource(std::string_view strSource, std::vector<SimulatedCameraSpec>& cameras);

/// Reads fault rules, separated by ';', for `uiCameras` cameras. Blanks around a rule do not matter.
/// @return one line that names the bad rule; empty when all is well. On failure `faults` is unchanged.
std::string ParseSimulatedFaults(std::string_view strRules, std::size_t uiCameras, SimulatedFaults& faults);

} // namespace vireo
