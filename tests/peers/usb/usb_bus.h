#pragma once
#include "peers/camera_wiring.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace vireo::peers {

/// Nanoseconds since this process began; the zero of the bar codes.
std::int64_t UsbNow();

/// What the software cameras on this computer's USB cables share: the lock of all of them, and the wires between
/// them. All functions under the lock, once the cameras are there.
class UsbBus {
public:
    std::mutex& Mutex() { return m_mutex; }
    /// Something has changed that a camera's stream may wait for.
    void Wake() { m_changed.notify_all(); }
    /// Until something changes or may happen by itself; at most until `deadline`.
    void Wait(std::unique_lock<std::mutex>& lock, std::int64_t deadline);

    /// @return the camera's place on the wires.
    std::size_t Join(WiredCamera& camera);
    /// Every camera is there.
    void Connect(const Generator& generator);
    /// Lets everything happen that is due by now.
    void Advance();
    /// Its oldest exposure that is finished and was not sent yet.
    std::optional<Exposure> TakeExposure(std::size_t uiPlace);
    /// Its stream is off: what it has exposed goes nowhere.
    void DropExposures(std::size_t uiPlace) { m_places[uiPlace].finished.clear(); }

private:
    struct Place {
        WiredCamera* pCamera = nullptr;
        std::uint64_t uiRun = 0;
        std::deque<Exposure> finished;
    };

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Place> m_places;
    std::unique_ptr<CameraWiring> m_wiring;
};

} // namespace vireo::peers
