#pragma once
#include "platform/memory.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace vireo::test {

constexpr std::size_t kArenaAlignment = std::size_t { 2 } << 20;

/// What a FakeMemory's arenas do and did; outlives them, so that a test can look after the store is gone.
struct FakeArenaState {
    std::atomic<bool> m_bReserveFails = false; ///< no address space
    std::atomic<bool> m_bRunsShort = false; ///< the next StartTouching gives up at once
    std::atomic<bool> m_bStaysCold = false; ///< nothing is touched from now on
    std::atomic<int> m_iReserves = 0; ///< calls
    std::atomic<int> m_iReleases = 0;
    std::atomic<int> m_iStarts = 0;
    std::atomic<int> m_iStops = 0;
    std::atomic<std::uint64_t> m_uiResidentKiB = 0; ///< what an arena says it holds; as the test sets it
    std::atomic<std::uint64_t> m_uiFirstBytes = 0; ///< of the last StartTouching
    std::atomic<ClockTime> m_deadline = 0; ///< of the last StartTouching
};

/// An arena on the heap: everything is warm as soon as touching starts; no thread, no waiting.
class FakeArena : public FrameArena {
public:
    explicit FakeArena(std::shared_ptr<FakeArenaState> state)
        : m_state(std::move(state))
    {
    }
    bool Reserve(std::size_t uiRegions, std::uint64_t uiBytes) override
    {
        ++m_state->m_iReserves;
        m_bShort = false;
        if (m_state->m_bReserveFails) {
            m_regions.clear();
            return false;
        }
        m_regions.resize(uiRegions);
        for (Block& block : m_regions)
            if (block.uiBytes < uiBytes)
                block = Block(uiBytes);
        return true;
    }
    void Release() override
    {
        ++m_state->m_iReleases;
        m_bShort = false;
        m_regions.clear();
    }
    std::byte* Region(std::size_t uiRegion) const override
    {
        return uiRegion < m_regions.size() ? m_regions[uiRegion].memory.get() : nullptr;
    }
    std::uint64_t ResidentKiB() const override { return m_state->m_uiResidentKiB; }

    void StartTouching(std::uint64_t uiFirstBytes, ClockTime deadline, std::function<void()> onShort) override
    {
        ++m_state->m_iStarts;
        m_state->m_uiFirstBytes = uiFirstBytes;
        m_state->m_deadline = deadline;
        if (m_state->m_bRunsShort && !m_bShort.exchange(true))
            onShort();
        if (m_state->m_bRunsShort || m_state->m_bStaysCold)
            return;
        for (Block& block : m_regions)
            block.uiTouched = block.uiBytes;
    }
    void StopTouching() override { ++m_state->m_iStops; }
    std::uint64_t TouchedBytes(std::size_t uiRegion) const override
    {
        return uiRegion < m_regions.size() ? m_regions[uiRegion].uiTouched : 0;
    }
    bool IsShort() const override { return m_bShort; }

private:
    struct Aligned {
        void operator()(std::byte* pMemory) const { ::operator delete (pMemory, std::align_val_t { kArenaAlignment }); }
    };
    struct Block {
        Block() = default;
        explicit Block(std::uint64_t uiSize)
            : memory(static_cast<std::byte*>(::operator new (uiSize, std::align_val_t { kArenaAlignment })))
            , uiBytes(uiSize)
        {
        }
        std::unique_ptr<std::byte, Aligned> memory;
        std::uint64_t uiBytes = 0;
        std::uint64_t uiTouched = 0;
    };

    std::shared_ptr<FakeArenaState> m_state;
    std::vector<Block> m_regions;
    std::atomic<bool> m_bShort = false;
};

/// Memory for tests of the core: as much is available as the test says.
class FakeMemory : public Memory {
public:
    explicit FakeMemory(std::uint64_t uiAvailableKiB = std::uint64_t { 8 } << 20)
        : m_uiAvailableKiB(uiAvailableKiB)
    {
    }
    void SetAvailableKiB(std::uint64_t uiAvailableKiB) { m_uiAvailableKiB = uiAvailableKiB; }
    std::uint64_t AvailableKiB() const override { return m_uiAvailableKiB; }
    std::unique_ptr<FrameArena> CreateArena() override { return std::make_unique<FakeArena>(m_state); }
    FakeArenaState& State() { return *m_state; }

private:
    std::atomic<std::uint64_t> m_uiAvailableKiB;
    std::shared_ptr<FakeArenaState> m_state = std::make_shared<FakeArenaState>();
};

} // namespace vireo::test
