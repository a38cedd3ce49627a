#pragma once
#include "platform/image.h"
#include "support/fake_memory.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <sys/mman.h>

namespace vireo::test {

/// Memory for takes that are longer than the machine is large: LeanConverter gives most of it back as it fills.
class LeanMemory : public FakeMemory {
public:
    std::unique_ptr<FrameArena> CreateArena() override
    {
        auto arena = FakeMemory::CreateArena();
        m_pArena = arena.get();
        return arena;
    }
    /// Keeps of each slot only what is near its two ends: the header and the bar code. While the store stays.
    void Trim(std::uint64_t uiSlotBytes) const
    {
        constexpr std::uint64_t kPage = 4096;
        constexpr std::uint64_t kKept = 16 * 1024; ///< at each end
        for (std::size_t uiRegion = 0; m_pArena->Region(uiRegion) != nullptr; ++uiRegion) {
            const std::uint64_t uiBytes = m_pArena->TouchedBytes(uiRegion);
            for (std::uint64_t uiSlot = 0; uiSlot + uiSlotBytes <= uiBytes; uiSlot += uiSlotBytes) {
                const std::uint64_t uiBegin = (uiSlot + kKept + kPage - 1) / kPage * kPage;
                const std::uint64_t uiEnd = (uiSlot + uiSlotBytes - kKept) / kPage * kPage;
                madvise(m_pArena->Region(uiRegion) + uiBegin, uiEnd - uiBegin, MADV_DONTNEED);
            }
        }
    }

private:
    FrameArena* m_pArena = nullptr;
};

/// Makes no pictures for the views; every 500 frames it trims the store.
class LeanConverter : public PixelConverter {
public:
    LeanConverter(const LeanMemory& memory, std::uint64_t uiSlotBytes)
        : m_memory(memory)
        , m_uiSlotBytes(uiSlotBytes)
    {
    }
    Error Convert(const ImageView&, PixelFormat, std::uint8_t*, std::size_t) const override
    {
        if (++m_uiFrames % 500 == 0)
            m_memory.Trim(m_uiSlotBytes);
        return {};
    }

private:
    const LeanMemory& m_memory;
    const std::uint64_t m_uiSlotBytes;
    mutable std::atomic<std::uint64_t> m_uiFrames = 0;
};

} // namespace vireo::test
