#include "platform/linux/memory.h"

#include <algorithm>
#include <cstdlib>

namespace vireo {

/// An arena that its memory knows while it lives.
class LinuxMemory::Arena : public LinuxFrameArena {
public:
    explicit Arena(LinuxMemory& memory)
        : LinuxFrameArena(
            memory.m_clock, { .read = [&memory] { return memory.Read(); }, .bPopulate = memory.m_options.bPopulate })
        , m_memory(memory)
    {
        std::lock_guard lock(m_memory.m_mutex);
        m_memory.m_arenas.push_back(this);
    }
    ~Arena() override
    {
        Release(); // its threads may be reading the memory
        std::lock_guard lock(m_memory.m_mutex);
        std::erase(m_memory.m_arenas, this);
    }

private:
    LinuxMemory& m_memory;
};

std::optional<MemoryOptions> MemoryOptionsFromEnvironment(std::string& strError)
{
    MemoryOptions options;
    const char* pLimit = std::getenv("TESSEL_MEMORY_LIMIT");
    if (pLimit == nullptr || *pLimit == '\0')
        return options;
    options.uiLimitBytes = ParseByteCount(pLimit);
    if (!options.uiLimitBytes) {
        strError = std::string("TESSEL_MEMORY_LIMIT: \"") + pLimit + "\" is no number of bytes";
        return std::nullopt;
    }
    return options;
}

LinuxMemory::LinuxMemory(const Clock& clock, MemoryOptions options)
    : m_clock(clock)
    , m_options(std::move(options))
{
}

LinuxMemory::~LinuxMemory() = default;

std::uint64_t LinuxMemory::AvailableKiB() const { return Read().uiFreeBytes >> 10; }

std::unique_ptr<FrameArena> LinuxMemory::CreateArena() { return std::make_unique<Arena>(*this); }

MemoryReading LinuxMemory::Read() const
{
    MemoryReading reading = Tighter(ReadSystemMemory(m_options.strRoot), ReadControlGroupMemory(m_options.strRoot));
    if (m_options.uiLimitBytes) {
        const std::uint64_t uiLimit = *m_options.uiLimitBytes;
        reading = Tighter(reading, { uiLimit - std::min(uiLimit, HeldBytes()), uiLimit });
    }
    return reading;
}

std::uint64_t LinuxMemory::HeldBytes() const
{
    std::lock_guard lock(m_mutex);
    std::uint64_t uiKiB = 0;
    for (const FrameArena* pArena : m_arenas)
        uiKiB += pArena->ResidentKiB();
    return uiKiB << 10;
}

} // namespace vireo
