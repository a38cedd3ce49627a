#pragma once
#include "platform/clock.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace vireo {

/// The memory that the frame store lives in: one mapping per camera, written only after it was touched,
/// so that a grab thread never waits for the kernel to find a page.
///
/// Threads: Reserve, Release, StartTouching and StopTouching on the user-interface thread while no grab
/// thread runs; the rest on any thread, while Reserve and Release do not run.
class FrameArena {
public:
    virtual ~FrameArena() = default;

    /// Makes room for `uiBytes` in each of `uiRegions` mappings. Mappings that are large enough are kept,
    /// with what was touched of them; others are replaced, surplus ones given back. Stops touching first.
    /// False when the address space cannot be had; the arena is empty then.
    virtual bool Reserve(std::size_t uiRegions, std::uint64_t uiBytes) = 0;
    /// Gives all mappings back. Stops touching first.
    virtual void Release() = 0;
    /// Start of a mapping, aligned to 2 MiB; null beyond the last.
    virtual std::byte* Region(std::size_t uiRegion) const = 0;
    /// What the mappings hold of physical memory now, KiB. The memory check counts it as available.
    virtual std::uint64_t ResidentKiB() const = 0;

    /// Begins to touch all mappings from their start, side by side in 2 MiB steps, on background
    /// threads, and returns when the first `uiFirstBytes` of each are touched or `deadline` has passed.
    /// Headroom is read first and again every 256 MiB; when it is below the larger of 512 MiB and 3 % of the
    /// memory, touching ends for good and `onShort` is called once, on a background thread.
    virtual void StartTouching(std::uint64_t uiFirstBytes, ClockTime deadline, std::function<void()> onShort) = 0;
    /// Ends the background threads at once. Harmless when none runs.
    virtual void StopTouching() = 0;
    /// Bytes from the start of a mapping that are touched for sure.
    virtual std::uint64_t TouchedBytes(std::size_t uiRegion) const = 0;
    /// Touching was given up because memory ran short; cleared by Reserve and Release.
    virtual bool IsShort() const = 0;
};

/// What the machine has left for this program. Any thread.
class Memory {
public:
    virtual ~Memory() = default;
    /// Free physical memory in KiB: the smallest of the system's available memory, the headroom of the
    /// control group and its ancestors, and TESSEL_MEMORY_LIMIT less what the arenas hold.
    virtual std::uint64_t AvailableKiB() const = 0;
    /// The store's memory. One arena a document.
    virtual std::unique_ptr<FrameArena> CreateArena() = 0;
};

} // namespace vireo
