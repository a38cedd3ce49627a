#pragma once
#include "platform/camera_library.h"
#include "platform/clock.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>

namespace vireo::test {

/// A camera that does what a test writes down for it: exposures on a fixed grid of time, some of them lost,
/// fetches that fail. Frames are 64 bytes: embedded header, then the exposure's number. Everything that is
/// not about frames succeeds.
class ScriptedCamera : public Camera {
public:
    static constexpr std::uint32_t kFrameBytes = 64;

    ScriptedCamera(Clock& clock, std::string strModel)
        : m_clock(clock)
        , m_strModel(std::move(strModel))
    {
    }

    // The script; set before the capture, or by Rewrite.
    ClockTime m_period = 10 * kNsPerMs;
    ClockTime m_firstExposure = kNsPerMs; ///< on the clock, not from the start
    ClockTime m_delay = 2 * kNsPerMs; ///< exposure to arrival
    double m_dClockOffset = 0.0; ///< s, of the embedded time
    std::set<std::int64_t> m_lost; ///< exposures that never arrive
    std::optional<std::int64_t> m_hangsFrom; ///< exposure from which nothing arrives
    std::map<int, ErrorType> m_fetchErrors; ///< by number of the RetrieveBuffer call, from 0
    std::function<std::uint8_t(std::int64_t)> m_pins = [](std::int64_t) { return std::uint8_t { 0 }; };
    std::function<ClockTime(std::int64_t)> m_exposureTime; ///< overrides the grid
    ErrorType m_stopResult = ErrorType::Ok;
    ClockTime m_stopDelay = 0; ///< that long StopCapture takes
    ErrorType m_cancelledResult = ErrorType::NothingToDeliver; ///< of a fetch that a stop ends
    ErrorType m_infoResult = ErrorType::Ok;
    int m_iGrabTimeoutMs = -1;
    std::atomic<bool> m_bIgnoresStop = false; ///< waits on although it is cancelled and stopped
    std::atomic<std::uint32_t> m_uiInputRegister = 0x90000000; ///< 0x11F4
    std::uint32_t m_uiRows = 1, m_uiCols = kFrameBytes;

    // What happened.
    std::atomic<int> m_iFetches = 0;
    std::atomic<int> m_iCancels = 0;
    std::atomic<int> m_iStops = 0;
    std::atomic<int> m_iLevelWrites = 0; ///< writes of 0x11F0
    std::atomic<int> m_iStrobeOffs = 0; ///< SetStrobe calls that switch it off
    std::atomic<int> m_iStopsBeforeStrobeOff = 0; ///< StopCapture calls that came first
    std::atomic<ClockTime> m_longestInHand = 0; ///< from a fetch's end to the next one's begin
    std::atomic<int> m_iModes = 0; ///< calls that choose a picture mode
    std::atomic<int> m_iModesWhileFetching = 0; ///< those that come while a fetch waits

    /// Changes the script while frames are fetched.
    void Rewrite(const std::function<void(ScriptedCamera&)>& change)
    {
        {
            std::lock_guard lock(m_mutex);
            change(*this);
        }
        m_clock.NotifyAll(m_changed);
    }
    /// Begins a capture: the first exposure is the first on the grid from now on.
    void Begin()
    {
        std::lock_guard lock(m_mutex);
        m_bRunning = true;
        m_bCancelled = false;
        ++m_iRun;
        m_iNext = 0;
        m_base = m_firstExposure;
        while (m_base < m_clock.Now())
            m_base += m_period;
        m_iFetches = 0;
    }
    /// Lets a camera that ignores its stop come back.
    void Release()
    {
        Rewrite([](ScriptedCamera& camera) { camera.m_bIgnoresStop = false; });
    }
    static std::int64_t ExposureOf(const std::uint8_t* pFrame)
    {
        std::int64_t iExposure = 0;
        std::memcpy(&iExposure, pFrame + 8, sizeof iExposure);
        return iExposure;
    }

    Error RetrieveBuffer(Image& image) override
    {
        std::unique_lock lock(m_mutex);
        const int iFetch = m_iFetches++;
        if (iFetch > 0)
            m_longestInHand = std::max(m_longestInHand.load(), m_clock.Now() - m_fetchEnded);
        m_fetchEnded = m_clock.Now();
        if (const auto failure = m_fetchErrors.find(iFetch); failure != m_fetchErrors.end())
            return failure->second;
        while (m_lost.contains(m_iNext))
            ++m_iNext;
        const bool bHangs = m_hangsFrom && m_iNext >= *m_hangsFrom;
        const ClockTime due = bHangs ? kForever : TimeOf(m_iNext) + m_delay;
        const ClockTime limit = m_iGrabTimeoutMs < 0 ? kForever : m_clock.Now() + m_iGrabTimeoutMs * kNsPerMs;
        const int iRun = m_iRun;
        const auto ended = [this, iRun] { return (m_bCancelled || !m_bRunning || m_iRun != iRun) && !m_bIgnoresStop; };
        m_bFetching = true;
        m_clock.WaitUntil(lock, m_changed, std::min(due, limit), ended);
        m_bFetching = false;
        m_fetchEnded = m_clock.Now();
        if (ended())
            return m_cancelledResult;
        if (m_clock.Now() < due)
            return ErrorType::Timeout;
        Fill(m_iNext++);
        image = Image(m_uiRows, m_uiCols, m_uiCols, m_frame, kFrameBytes, PixelFormat::Raw8, BayerTileFormat::None);
        image.SetArrivalTime(due);
        return {};
    }
    void CancelRetrieve() override
    {
        ++m_iCancels;
        {
            std::lock_guard lock(m_mutex);
            m_bCancelled = true;
        }
        m_clock.NotifyAll(m_changed);
    }
    Error StopCapture() override
    {
        ++m_iStops;
        if (m_iStrobeOffs == 0)
            ++m_iStopsBeforeStrobeOff;
        {
            std::lock_guard lock(m_mutex);
            m_bRunning = false;
        }
        m_clock.NotifyAll(m_changed);
        if (m_stopDelay > 0)
            m_clock.SleepUntil(m_clock.Now() + m_stopDelay);
        return m_stopResult;
    }
    Error StartCapture() override
    {
        Begin();
        return {};
    }

    Error Connect(const PGRGuid&) override { return {}; }
    Error Disconnect() override { return {}; }
    bool IsConnected() const override { return true; }
    Error GetCameraInfo(CameraInfo& info) override
    {
        if (m_infoResult != ErrorType::Ok)
            return m_infoResult;
        info.modelName = m_strModel;
        info.interfaceType = InterfaceType::Usb3;
        return {};
    }
    Error GetConfiguration(FC2Config&) override { return {}; }
    Error SetConfiguration(const FC2Config&) override { return {}; }
    Error ReadRegister(std::uint32_t uiAddress, std::uint32_t& uiValue) override
    {
        uiValue = uiAddress == 0x11F4 ? m_uiInputRegister.load() : 0;
        return {};
    }
    Error WriteRegister(std::uint32_t uiAddress, std::uint32_t) override
    {
        m_iLevelWrites += uiAddress == 0x11F0 ? 1 : 0;
        return {};
    }
    Error GetProperty(Property&) override { return {}; }
    Error SetProperty(const Property&) override { return {}; }
    Error GetPropertyInfo(PropertyInfo&) override { return {}; }
    Error GetTriggerMode(TriggerMode&) override { return {}; }
    Error SetTriggerMode(const TriggerMode&) override { return {}; }
    Error GetStrobeInfo(StrobeInfo&) override { return {}; }
    Error GetStrobe(StrobeControl&) override { return {}; }
    Error SetStrobe(const StrobeControl& control) override
    {
        m_iStrobeOffs += control.onOff ? 0 : 1;
        return {};
    }
    StreamStatistics GetStreamStatistics() const override { return {}; }
    Error SetVideoModeAndFrameRate(VideoMode, FrameRateCode) override { return ChooseMode(); }
    Error GetFormat7Info(Format7Info&, bool&) override { return ChooseMode(); }
    Error ValidateFormat7Settings(const Format7ImageSettings&, bool&, Format7PacketInfo&) override { return {}; }
    Error SetFormat7Configuration(const Format7ImageSettings&, std::uint32_t) override { return {}; }

private:
    Error ChooseMode()
    {
        ++m_iModes;
        m_iModesWhileFetching += m_bFetching ? 1 : 0;
        return {};
    }
    ClockTime TimeOf(std::int64_t iExposure) const
    {
        return m_exposureTime ? m_exposureTime(iExposure) : m_base + iExposure * m_period;
    }
    void Fill(std::int64_t iExposure)
    {
        constexpr double kTicksPerSecond = 8000.0 * 3072.0;
        const double dSeconds = static_cast<double>(TimeOf(iExposure)) / kNsPerSecond + m_dClockOffset;
        const auto uiTicks = static_cast<std::uint64_t>(dSeconds * kTicksPerSecond);
        const std::uint64_t uiSeconds = uiTicks / (8000 * 3072) % 128;
        const std::uint64_t uiCycles = uiTicks / 3072 % 8000;
        const auto uiValue = static_cast<std::uint32_t>(uiSeconds << 25 | uiCycles << 12 | uiTicks % 3072);
        for (int i = 0; i < 4; ++i)
            m_frame[i] = static_cast<std::uint8_t>(uiValue >> (24 - 8 * i));
        m_frame[4] = m_pins(iExposure);
        std::memcpy(m_frame + 8, &iExposure, sizeof iExposure);
    }

    Clock& m_clock;
    const std::string m_strModel;
    std::mutex m_mutex;
    WaitPoint m_changed;
    bool m_bRunning = false;
    bool m_bCancelled = false;
    std::atomic<bool> m_bFetching = false;
    ClockTime m_fetchEnded = 0;
    int m_iRun = 0;
    std::int64_t m_iNext = 0;
    ClockTime m_base = 0;
    alignas(64) std::uint8_t m_frame[kFrameBytes] = {};
};

} // namespace vireo::test
