#pragma once
#include <cstdint>

namespace vireo::test {

/// Whether this build can count; a sanitizer brings its own heap.
bool CountsAllocations();
/// Blocks that this thread has taken from the heap since it began, by whatever road (new, malloc,
/// posix_memalign, libraries included).
std::uint64_t AllocationsOfThisThread();

} // namespace vireo::test
