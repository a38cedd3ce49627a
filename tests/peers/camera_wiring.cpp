#include "peers/camera_wiring.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace vireo::peers {

namespace {

constexpr std::size_t kWireLine = 2;
constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max() / 2;

} // namespace

bool ParseGenerator(const std::string& strText, Generator& generator)
{
    char* pEnd = nullptr;
    const double dHertz = std::strtod(strText.c_str(), &pEnd);
    if (!(dHertz > 0.0 && dHertz <= 10000.0))
        return false;
    generator.period = static_cast<std::int64_t>(1e9 / dHertz);
    if (*pEnd == '@')
        generator.delay = std::strtol(pEnd + 1, &pEnd, 10) * 1'000'000;
    return *pEnd == '\0';
}

CameraWiring::CameraWiring(const std::vector<WiredCamera*>& cameras, Generator generator)
    : m_generator(generator)
{
    for (WiredCamera* pCamera : cameras)
        m_cameras.push_back({ pCamera });
    if (m_generator.period > 0 && !m_generator.delay)
        m_generatorNext = m_generator.period;
    else
        m_generatorNext = kNever;
}

/// Cameras that were started since the last look begin a new count.
void CameraWiring::NoticeStarts(std::int64_t now)
{
    for (State& state : m_cameras) {
        const WiredCamera& camera = *state.pCamera;
        if (state.uiRun != camera.Runs()) {
            state.uiRun = camera.Runs();
            state.uiNext = 0;
            state.last = -kNsPerSecond;
            state.next = now;
            state.bTriggered = camera.TriggerOn();
            if (m_generator.period > 0 && m_generator.delay)
                m_generatorNext = now + *m_generator.delay;
        }
        if (state.bTriggered && !camera.TriggerOn())
            state.next = now; // runs free from here on
        state.bTriggered = camera.TriggerOn();
        if (camera.Acquiring() && state.pCamera->TakeSoftwareTrigger())
            Expose(static_cast<std::size_t>(&state - m_cameras.data()), now);
    }
}

void CameraWiring::Expose(std::size_t uiCamera, std::int64_t start)
{
    State& state = m_cameras[uiCamera];
    state.last = start;
    m_pending.push_back({ uiCamera, state.uiNext++, start });
    if (!state.pCamera->StrobeOn(kWireLine))
        return;
    // An inverted strobe falls when the exposure begins and rises when it ends.
    const bool bInverted = state.pCamera->LineInverted(kWireLine);
    Edge(start, !bInverted, uiCamera);
    Edge(start + state.pCamera->ExposureNs(), bInverted, uiCamera);
}

/// Every camera that waits for such an edge exposes, unless it is still busy. An inverted input sees it turned over.
void CameraWiring::Edge(std::int64_t at, bool bRising, std::size_t uiDriver)
{
    for (std::size_t i = 0; i < m_cameras.size(); i++) {
        State& state = m_cameras[i];
        const WiredCamera& camera = *state.pCamera;
        const bool bSeenRising = bRising != camera.LineInverted(kWireLine);
        if (i == uiDriver || !camera.Acquiring() || !camera.TriggerOn() || camera.LineIsOutput(kWireLine)
            || camera.TriggerLine() != static_cast<int>(kWireLine) || camera.TriggerOnRisingEdge() != bSeenRising)
            continue;
        const std::int64_t busy = std::max(camera.MinPeriodNs(), camera.ExposureNs());
        if (at - state.last >= busy)
            Expose(i, at);
    }
}

/// Plays the earliest thing that is due; false when nothing is.
bool CameraWiring::StepOnce(std::int64_t now)
{
    std::size_t uiFirst = m_cameras.size();
    std::int64_t first = m_generatorNext;
    for (std::size_t i = 0; i < m_cameras.size(); i++) {
        const State& state = m_cameras[i];
        if (state.pCamera->Acquiring() && !state.pCamera->TriggerOn() && state.next < first) {
            first = state.next;
            uiFirst = i;
        }
    }
    if (first > now)
        return false;
    if (uiFirst == m_cameras.size()) {
        Edge(m_generatorNext, true, m_cameras.size());
        Edge(m_generatorNext + m_generator.period / 2, false, m_cameras.size());
        m_generatorNext += m_generator.period;
        return true;
    }
    Expose(uiFirst, first);
    m_cameras[uiFirst].next = first + m_cameras[uiFirst].pCamera->PeriodNs();
    return true;
}

std::vector<Exposure> CameraWiring::Advance(std::int64_t now)
{
    NoticeStarts(now);
    while (StepOnce(now)) { }
    std::vector<Exposure> finished;
    for (const Exposure& exposure : m_pending) {
        const WiredCamera& camera = *m_cameras[exposure.uiCamera].pCamera;
        if (camera.Acquiring() && exposure.start + camera.ExposureNs() <= now)
            finished.push_back(exposure);
    }
    std::erase_if(m_pending, [&](const Exposure& exposure) {
        const WiredCamera& camera = *m_cameras[exposure.uiCamera].pCamera;
        return !camera.Acquiring() || exposure.start + camera.ExposureNs() <= now;
    });
    return finished;
}

std::int64_t CameraWiring::NextTime() const
{
    std::int64_t next = m_generatorNext;
    for (const State& state : m_cameras)
        if (state.pCamera->Acquiring() && !state.pCamera->TriggerOn())
            next = std::min(next, state.next);
    for (const Exposure& exposure : m_pending)
        next = std::min(next, exposure.start + m_cameras[exposure.uiCamera].pCamera->ExposureNs());
    return next;
}

} // namespace vireo::peers
