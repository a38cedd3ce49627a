#include "peers/usb/usb_bus.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace vireo::peers {

namespace {

/// What a camera keeps while nobody fetches, so that a busy computer loses nothing; a real one keeps less.
constexpr std::size_t kMostWaiting = 256;

} // namespace

void UsbBus::Wait(std::unique_lock<std::mutex>& lock, std::int64_t deadline)
{
    const std::int64_t wait = std::min(deadline, m_wiring->NextTime()) - UsbNow();
    m_changed.wait_for(lock, std::chrono::nanoseconds(std::clamp<std::int64_t>(wait, 50'000, 2'000'000)));
}

std::size_t UsbBus::Join(WiredCamera& camera)
{
    m_places.push_back({ &camera, 0, {} });
    return m_places.size() - 1;
}

void UsbBus::Connect(const Generator& generator)
{
    std::vector<WiredCamera*> cameras;
    for (const Place& place : m_places)
        cameras.push_back(place.pCamera);
    m_wiring = std::make_unique<CameraWiring>(cameras, generator);
}

void UsbBus::Advance()
{
    const std::vector<Exposure> finished = m_wiring->Advance(UsbNow());
    for (Place& place : m_places)
        if (std::exchange(place.uiRun, place.pCamera->Runs()) != place.pCamera->Runs() || !place.pCamera->Acquiring())
            place.finished.clear();
    for (const Exposure& exposure : finished) {
        std::deque<Exposure>& waiting = m_places[exposure.uiCamera].finished;
        waiting.push_back(exposure);
        if (waiting.size() > kMostWaiting)
            waiting.pop_front();
    }
}

std::optional<Exposure> UsbBus::TakeExposure(std::size_t uiPlace)
{
    std::deque<Exposure>& waiting = m_places[uiPlace].finished;
    if (waiting.empty())
        return std::nullopt;
    const Exposure exposure = waiting.front();
    waiting.pop_front();
    return exposure;
}

} // namespace vireo::peers
