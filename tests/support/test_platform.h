#pragma once
#include "platform/platform.h"
#include "support/fake_memory.h"
#include "support/fakes.h"
#include "support/recorded_log.h"
#include "support/recorded_window.h"

namespace vireo::test {

/// Parts that a test brings itself; null ones are the fakes of TestPlatform. They outlive it.
struct TestPlatformParts {
    Clock* pClock = nullptr;
    CameraLibrary* pCameras = nullptr;
    WindowSystem* pWindow = nullptr;
    Memory* pMemory = nullptr;
    const PixelConverter* pConverter = nullptr;
    VideoWriters* pVideo = nullptr;
    PartnerLink* pPartner = nullptr;
    const Paths* pPaths = nullptr;
    const TextEncoding* pEncoding = nullptr;
};

/// A platform without hardware, screen or disk, put together from fakes:
///   VirtualClock clock; TestPlatform test({ .pClock = &clock }); CVireoApp app(test.m_platform);
struct TestPlatform {
    explicit TestPlatform(const TestPlatformParts& parts = {})
        : m_window(parts.pClock != nullptr ? parts.pClock : &m_clock)
        , m_platform { Part<Clock>(parts.pClock, m_clock), m_log, Part<CameraLibrary>(parts.pCameras, m_cameras),
            Part<WindowSystem>(parts.pWindow, m_window), Part<Memory>(parts.pMemory, m_memory),
            Part<const PixelConverter>(parts.pConverter, m_converter), Part<VideoWriters>(parts.pVideo, m_video),
            Part<PartnerLink>(parts.pPartner, m_partner), Part<const Paths>(parts.pPaths, m_paths),
            Part<const TextEncoding>(parts.pEncoding, m_encoding) }
    {
    }
    TestPlatform(const TestPlatform&) = delete;
    TestPlatform& operator=(const TestPlatform&) = delete;

    SteppedClock m_clock;
    RecordedLog m_log;
    NoCameras m_cameras;
    RecordedWindow m_window;
    FakeMemory m_memory;
    GreyConverter m_converter;
    RecordedVideos m_video;
    FakePartnerLink m_partner;
    FakePaths m_paths;
    Utf8Encoding m_encoding;

    Platform m_platform; ///< what the code under test gets

private:
    template <typename Interface> static Interface& Part(Interface* pGiven, Interface& fake)
    {
        return pGiven != nullptr ? *pGiven : fake;
    }
};

} // namespace vireo::test
