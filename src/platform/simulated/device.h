#pragma once
#include "platform/camera_types.h"
#include "platform/clock.h"
#include "platform/simulated/camera_settings.h"
#include "platform/simulated/ring_queue.h"
#include "platform/simulated/scene.h"
#include "platform/simulated/simulated_setup.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

namespace vireo {

/// A moment before all others.
constexpr ClockTime kNever = std::numeric_limits<ClockTime>::min();

/// The clock inside a camera, which stamps its frames.
struct CameraClock {
    ClockTime offset = 0; ///< ns ahead of the simulation
    std::int64_t iPpb = 0; ///< parts per 10^9 that it runs fast
};

/// The clock of a camera by itself: an offset and a rate error of up to 20 ppm, told by the serial number.
CameraClock OwnClock(std::uint32_t uiSerial);
/// The bus cycle time that `clock` shows `sinceStart` ns after the simulation began: 7 bits of seconds,
/// 13 bits of cycles of 125 us, 12 bits of 1/3072 cycle.
std::uint32_t CycleTime(const CameraClock& clock, ClockTime sinceStart);

/// One frame on its way from the sensor to the program.
struct FrameOnTheWay {
    ClockTime exposed = 0; ///< when the exposure began
    ClockTime delivered = 0; ///< when the host has it
    bool bLineHigh = false; ///< level of the trigger line at that moment
    bool bTorn = false;
};

/// What lasts from StartCapture to the next one.
struct CaptureRun {
    bool bRunning = false;
    bool bCancelled = false;
    std::uint64_t uiNumber = 0; ///< of the run; tells a waiting thread that its own has ended
    ClockTime started = 0;
    std::size_t uiBuffers = 0;
    FrameTiming timing;
    std::uint64_t uiExposures = 0;
    std::uint64_t uiEdges = 0; ///< answered and missed ones
    ClockTime lastExposure = kNever;
    ClockTime lastDelivery = kNever;
    ClockTime unplugged = kForever; ///< when the program can notice that the plug has been pulled
    bool bRunsFree = true; ///< paces itself: not in trigger mode, or fallen out of it
    bool bUntriggered = false; ///< fell out of trigger mode
    std::int64_t iGridIndex = 0; ///< of the next exposure, running free
    ClockTime nextFree = kForever;
    RingQueue<ClockTime> lateEdges; ///< moments at which edges are answered
    RingQueue<FrameOnTheWay> inFlight;
    RingQueue<FrameOnTheWay> ready;
    StreamStatistics statistics;
};

/// One simulated camera. All but the first group is guarded by the simulation's mutex.
struct Device {
    Device(const SimulatedCameraSpec& spec, std::size_t uiIndex, const CameraFaults& cameraFaults);

    const std::size_t uiCamera; ///< its number: cameras are counted by ascending serial number
    const PGRGuid guid;
    const CameraInfo info;
    const CameraClock clock;
    const CameraFaults faults;
    WaitPoint changed; ///< a waiting RetrieveBuffer has to look again

    CameraSettings settings;
    bool bConnected = false;
    bool bGone = false; ///< unplugged
    CaptureRun run;
    std::shared_ptr<Scene> scene; ///< its pixels belong to the thread that retrieves
};

} // namespace vireo
