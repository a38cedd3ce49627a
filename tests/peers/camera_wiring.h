#pragma once
#include "peers/wired_camera.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vireo::peers {

/// One exposure that is due to be sent.
struct Exposure {
    std::size_t uiCamera = 0;
    std::uint64_t uiNumber = 0; ///< since the camera's start, from 0
    std::int64_t start = 0; ///< ns since the host's start
};

struct Generator {
    std::int64_t period = 0; ///< ns; 0 = none
    std::optional<std::int64_t> delay; ///< ns from the last camera's start; none: it runs all the time
};

/// Reads HZ[@DELAY_MS]. False for anything else.
bool ParseGenerator(const std::string& strText, Generator& generator);

/// The cables between the cameras of one host: line 2 of all of them is one wire. A camera whose line 2
/// is a strobe drives it; an external generator may drive it as well. Exposures happen at exact instants
/// whenever the host gets round to computing them.
class CameraWiring {
public:
    CameraWiring(const std::vector<WiredCamera*>& cameras, Generator generator);

    /// Everything that is exposed and finished by `now`, in order of time.
    std::vector<Exposure> Advance(std::int64_t now);
    /// When something may happen next, ns; far away when nothing runs.
    std::int64_t NextTime() const;

private:
    struct State {
        WiredCamera* pCamera = nullptr;
        std::uint64_t uiRun = 0;
        std::uint64_t uiNext = 0; ///< number of the next exposure
        std::int64_t next = 0; ///< free-running: when it begins
        std::int64_t last = 0; ///< begin of the last one
        bool bTriggered = false;
    };
    void NoticeStarts(std::int64_t now);
    void Expose(std::size_t uiCamera, std::int64_t start);
    void Edge(std::int64_t at, bool bRising, std::size_t uiDriver);
    bool StepOnce(std::int64_t now);
    std::int64_t GeneratorNext() const;

    std::vector<State> m_cameras;
    Generator m_generator;
    std::int64_t m_generatorNext = 0;
    std::vector<Exposure> m_pending;
};

} // namespace vireo::peers
