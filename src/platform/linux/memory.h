#pragma once
#include "platform/linux/frame_arena.h"
#include "platform/linux/memory_readings.h"
#include "platform/memory.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace vireo {

struct MemoryOptions {
    std::string strRoot; ///< stands before /proc and /sys; "" for the real ones
    std::optional<std::uint64_t> uiLimitBytes; ///< what the program takes for all the memory it may have
    bool bPopulate = true; ///< see TouchOptions
};

/// The options of this process: TESSEL_MEMORY_LIMIT=BYTES. None, with one line that names the item, when
/// its text is no number of bytes.
std::optional<MemoryOptions> MemoryOptionsFromEnvironment(std::string& strError);

/// Memory as Linux has it. Outlives its arenas.
class LinuxMemory : public Memory {
public:
    /// `clock` outlives it.
    explicit LinuxMemory(const Clock& clock, MemoryOptions options = {});
    ~LinuxMemory() override;

    std::uint64_t AvailableKiB() const override;
    std::unique_ptr<FrameArena> CreateArena() override;

    /// Free memory and the whole of it, in the machine, the control groups and the limit. Any thread.
    MemoryReading Read() const;

private:
    class Arena;

    std::uint64_t HeldBytes() const;

    const Clock& m_clock;
    const MemoryOptions m_options;
    mutable std::mutex m_mutex;
    std::vector<const FrameArena*> m_arenas;
};

} // namespace vireo
