#pragma once
#include "platform/linux/memory_readings.h"
#include "platform/memory.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace vireo {

/// How an arena touches its pages.
struct TouchOptions {
    /// Free and total memory now. Called on the background threads.
    std::function<MemoryReading()> read;
    /// Let the kernel populate the pages; false does what is done on kernels that cannot.
    bool bPopulate = true;
};

/// The arena on mmap: mappings without reserved backing, in huge pages where the kernel gives them.
/// Nothing but the kernel's own population, or an atomic addition of zero, touches a page: a grab thread
/// may own it already.
///
/// The threads that touch are no ClockThreads, since they wait for nothing but the kernel. StartTouching
/// therefore waits in real time until `Now()` reaches the deadline: in virtual time, which stands still
/// meanwhile, it waits until the first bytes are touched.
class LinuxFrameArena : public FrameArena {
public:
    /// `clock` outlives the arena.
    LinuxFrameArena(const Clock& clock, TouchOptions options);
    ~LinuxFrameArena() override;

    bool Reserve(std::size_t uiRegions, std::uint64_t uiBytes) override;
    void Release() override;
    std::byte* Region(std::size_t uiRegion) const override;
    std::uint64_t ResidentKiB() const override;
    void StartTouching(std::uint64_t uiFirstBytes, ClockTime deadline, std::function<void()> onShort) override;
    void StopTouching() override;
    std::uint64_t TouchedBytes(std::size_t uiRegion) const override;
    bool IsShort() const override { return m_bShort; }

private:
    struct Mapping;
    struct Step {
        Mapping* pMapping = nullptr;
        std::uint64_t uiOffset = 0;
        bool bCheck = false; ///< headroom is read before it is touched
    };

    bool MapAll(std::size_t uiRegions, std::uint64_t uiBytes);
    void TouchSteps();
    std::optional<Step> ClaimStep();
    void CompleteStep(const Step& step);
    bool HasHeadroom(const Step& step);
    bool Touch(std::byte* pStep);
    void GiveUp();
    [[nodiscard]] bool AreTouched(std::uint64_t uiFirstBytes) const;

    const Clock& m_clock;
    const TouchOptions m_options;
    std::atomic<bool> m_bPopulate; ///< until the kernel says that it cannot

    mutable std::mutex m_mutex; ///< guards what follows against the background threads
    std::condition_variable m_progress;
    std::vector<std::unique_ptr<Mapping>> m_mappings; ///< changed only while no background thread runs
    std::uint64_t m_uiUncheckedBytes = 0; ///< claimed since headroom was read
    bool m_bFirstReading = true;
    bool m_bReading = false; ///< headroom is being read; no step is claimed meanwhile
    int m_iRunning = 0;
    std::function<void()> m_onShort;

    std::atomic<bool> m_bStop = false;
    std::atomic<bool> m_bShort = false;
    std::vector<std::thread> m_threads; ///< user-interface thread
};

} // namespace vireo
