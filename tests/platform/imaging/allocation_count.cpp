#include "allocation_count.h"

#include <cerrno>
#include <cstddef>

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define VIREO_COUNT_ALLOCATIONS 1
#endif

namespace {
thread_local std::uint64_t t_uiAllocations = 0;
} // namespace

namespace vireo::test {

std::uint64_t AllocationsOfThisThread() { return t_uiAllocations; }

bool CountsAllocations()
{
#ifdef VIREO_COUNT_ALLOCATIONS
    return true;
#else
    return false;
#endif
}

} // namespace vireo::test

#ifdef VIREO_COUNT_ALLOCATIONS
// The program's own definitions come before those of the C library, for every library in the process.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);

void* malloc(std::size_t uiSize)
{
    ++t_uiAllocations;
    return __libc_malloc(uiSize);
}

void* calloc(std::size_t uiCount, std::size_t uiSize)
{
    ++t_uiAllocations;
    return __libc_calloc(uiCount, uiSize);
}

void* realloc(void* pOld, std::size_t uiSize)
{
    ++t_uiAllocations;
    return __libc_realloc(pOld, uiSize);
}

void* aligned_alloc(std::size_t uiAlignment, std::size_t uiSize)
{
    ++t_uiAllocations;
    return __libc_memalign(uiAlignment, uiSize);
}

int posix_memalign(void** ppBlock, std::size_t uiAlignment, std::size_t uiSize)
{
    ++t_uiAllocations;
    *ppBlock = __libc_memalign(uiAlignment, uiSize);
    return *ppBlock == nullptr ? ENOMEM : 0;
}
}
#endif
