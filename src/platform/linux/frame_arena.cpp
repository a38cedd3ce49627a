#include "platform/linux/frame_arena.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <sys/mman.h>
#include <sys/resource.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#ifndef MADV_POPULATE_WRITE
#define MADV_POPULATE_WRITE 23
#endif

namespace vireo {

namespace {

constexpr std::uint64_t kStepBytes = std::uint64_t { 2 } << 20; // a huge page
constexpr std::uint64_t kReadingBytes = std::uint64_t { 256 } << 20; // touched between two readings
constexpr std::uint64_t kLeastHeadroom = std::uint64_t { 512 } << 20;
constexpr std::uint64_t kHeadroomPercent = 3;
constexpr unsigned int kTouchThreads = 2; // more are no faster: the kernel's zeroing fills the memory bus
constexpr int kTouchNiceness = 10; // behind the grab threads
constexpr std::chrono::milliseconds kDeadlineCheck { 5 };

std::uint64_t PageBytes()
{
    static const auto uiBytes = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    return uiBytes;
}

// Bytes of [pBegin, pBegin + uiBytes) that are in physical memory.
std::uint64_t CountResident(std::byte* pBegin, std::uint64_t uiBytes)
{
    constexpr std::uint64_t kChunk = std::uint64_t { 64 } << 20;
    std::vector<unsigned char> pages(kChunk / PageBytes());
    std::uint64_t uiPages = 0;
    for (std::uint64_t uiOffset = 0; uiOffset < uiBytes; uiOffset += kChunk) {
        const std::uint64_t uiLength = std::min(kChunk, uiBytes - uiOffset);
        if (mincore(pBegin + uiOffset, uiLength, pages.data()) != 0)
            continue;
        const auto uiCount = static_cast<std::ptrdiff_t>(uiLength / PageBytes());
        uiPages += static_cast<std::uint64_t>(std::count_if(
            pages.begin(), pages.begin() + uiCount, [](unsigned char uiPage) { return (uiPage & 1) != 0; }));
    }
    return uiPages * PageBytes();
}

// For kernels before 5.14. Adding zero in one atomic step leaves a frame that is being written whole;
// volatile, for a compiler may make a mere read of it.
void TouchByAddingZero(std::byte* pStep)
{
    for (std::uint64_t uiOffset = 0; uiOffset < kStepBytes; uiOffset += PageBytes())
        __atomic_fetch_add(reinterpret_cast<volatile unsigned char*>(pStep + uiOffset), 0, __ATOMIC_RELAXED);
}

} // namespace

/// One mapping and how far it has been touched.
struct LinuxFrameArena::Mapping {
    Mapping(std::byte* pBegin, std::uint64_t uiBytes)
        : m_pBegin(pBegin)
        , m_uiBytes(uiBytes)
        , m_uiWanted(uiBytes)
    {
    }
    ~Mapping() { munmap(m_pBegin, m_uiBytes); }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    // Null when the address space cannot be had. `uiBytes` is a multiple of the step.
    static std::unique_ptr<Mapping> Create(std::uint64_t uiBytes)
    {
        const std::uint64_t uiRoom = uiBytes + kStepBytes;
        void* pRoom = mmap(nullptr, uiRoom, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (pRoom == MAP_FAILED)
            return nullptr;
        // Cut to the alignment of huge pages.
        auto* pStart = static_cast<std::byte*>(pRoom);
        const std::uint64_t uiHead = (kStepBytes - reinterpret_cast<std::uintptr_t>(pRoom) % kStepBytes) % kStepBytes;
        if (uiHead > 0)
            munmap(pStart, uiHead);
        munmap(pStart + uiHead + uiBytes, kStepBytes - uiHead);
        // Both are improvements only: without huge pages, and with a core file that holds the frames, it works.
        madvise(pStart + uiHead, uiBytes, MADV_HUGEPAGE);
        madvise(pStart + uiHead, uiBytes, MADV_DONTDUMP);
        return std::make_unique<Mapping>(pStart + uiHead, uiBytes);
    }

    // Gives back what lies behind the wanted bytes.
    void Trim()
    {
        if (m_uiWanted < m_uiBytes)
            madvise(m_pBegin + m_uiWanted, m_uiBytes - m_uiWanted, MADV_DONTNEED);
        m_uiTouched = std::min(m_uiTouched.load(), m_uiWanted);
    }

    std::byte* const m_pBegin;
    const std::uint64_t m_uiBytes;
    std::uint64_t m_uiWanted; ///< touch up to here; a multiple of the step
    std::atomic<std::uint64_t> m_uiTouched = 0; ///< everything before it is touched
    std::uint64_t m_uiClaimed = 0; ///< a thread is at work on everything before it
    std::vector<std::uint64_t> m_ahead; ///< steps done behind one that is not
};

LinuxFrameArena::LinuxFrameArena(const Clock& clock, TouchOptions options)
    : m_clock(clock)
    , m_options(std::move(options))
    , m_bPopulate(m_options.bPopulate)
{
}

LinuxFrameArena::~LinuxFrameArena() { LinuxFrameArena::Release(); }

bool LinuxFrameArena::Reserve(std::size_t uiRegions, std::uint64_t uiBytes)
{
    StopTouching();
    const bool bWasShort = m_bShort.exchange(false);
    std::lock_guard lock(m_mutex);
    if (uiBytes > std::numeric_limits<std::uint64_t>::max() / 2 || !MapAll(uiRegions, uiBytes)) {
        m_mappings.clear();
        return false;
    }
    // Else it stays for the next larger store: touching it again would cost more than it is worth.
    if (bWasShort)
        for (const auto& mapping : m_mappings)
            mapping->Trim();
    return true;
}

// With m_mutex held.
bool LinuxFrameArena::MapAll(std::size_t uiRegions, std::uint64_t uiBytes)
{
    const std::uint64_t uiWanted = (uiBytes + kStepBytes - 1) / kStepBytes * kStepBytes;
    m_mappings.resize(uiRegions);
    // All that is too small goes before anything new comes: it may need the room.
    for (auto& mapping : m_mappings)
        if (mapping && mapping->m_uiBytes < uiWanted)
            mapping.reset();
    for (auto& mapping : m_mappings) {
        if (!mapping)
            mapping = Mapping::Create(uiWanted);
        if (!mapping)
            return false;
        mapping->m_uiWanted = uiWanted;
    }
    return true;
}

void LinuxFrameArena::Release()
{
    StopTouching();
    m_bShort = false;
    std::lock_guard lock(m_mutex);
    m_mappings.clear();
}

std::byte* LinuxFrameArena::Region(std::size_t uiRegion) const
{
    return uiRegion < m_mappings.size() ? m_mappings[uiRegion]->m_pBegin : nullptr;
}

std::uint64_t LinuxFrameArena::ResidentKiB() const
{
    std::lock_guard lock(m_mutex);
    std::uint64_t uiBytes = 0;
    for (const auto& mapping : m_mappings) {
        const std::uint64_t uiTouched = mapping->m_uiTouched;
        uiBytes += uiTouched + CountResident(mapping->m_pBegin + uiTouched, mapping->m_uiBytes - uiTouched);
    }
    return uiBytes >> 10;
}

std::uint64_t LinuxFrameArena::TouchedBytes(std::size_t uiRegion) const
{
    return uiRegion < m_mappings.size() ? m_mappings[uiRegion]->m_uiTouched.load() : 0;
}

void LinuxFrameArena::StartTouching(std::uint64_t uiFirstBytes, ClockTime deadline, std::function<void()> onShort)
{
    StopTouching();
    std::unique_lock lock(m_mutex);
    m_onShort = std::move(onShort);
    m_uiUncheckedBytes = 0;
    m_bFirstReading = true;
    m_bReading = false;
    for (const auto& mapping : m_mappings) {
        mapping->m_uiClaimed = mapping->m_uiTouched;
        mapping->m_ahead.clear();
    }
    if (AreTouched(std::numeric_limits<std::uint64_t>::max()))
        return;
    for (unsigned int uiThread = 0; uiThread < kTouchThreads; ++uiThread) {
        try {
            m_threads.emplace_back([this] { TouchSteps(); });
            ++m_iRunning;
        } catch (const std::system_error&) {
            break; // fewer threads: slots stay cold longer, and are counted
        }
    }
    while (m_iRunning > 0 && !AreTouched(uiFirstBytes) && m_clock.Now() < deadline)
        m_progress.wait_for(lock, kDeadlineCheck);
}

void LinuxFrameArena::StopTouching()
{
    m_bStop = true;
    for (std::thread& thread : m_threads)
        thread.join();
    m_threads.clear();
    m_bStop = false;
}

void LinuxFrameArena::TouchSteps()
{
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), kTouchNiceness);
    while (const std::optional<Step> step = ClaimStep()) {
        if (!HasHeadroom(*step) || !Touch(step->pMapping->m_pBegin + step->uiOffset)) {
            GiveUp();
            break;
        }
        CompleteStep(*step);
    }
    std::lock_guard lock(m_mutex);
    --m_iRunning;
    m_progress.notify_all();
}

// The step that lies nearest to the start of its mapping, so that all cameras' rings grow side by side.
std::optional<LinuxFrameArena::Step> LinuxFrameArena::ClaimStep()
{
    std::unique_lock lock(m_mutex);
    m_progress.wait(lock, [this] { return !m_bReading; }); // nothing is taken that headroom may not be there for
    if (m_bStop || m_bShort)
        return std::nullopt;
    Mapping* pNext = nullptr;
    for (const auto& mapping : m_mappings) {
        if (mapping->m_uiClaimed >= mapping->m_uiWanted)
            continue;
        if (pNext == nullptr || mapping->m_uiClaimed < pNext->m_uiClaimed)
            pNext = mapping.get();
    }
    if (pNext == nullptr)
        return std::nullopt;
    Step step { pNext, pNext->m_uiClaimed, m_bFirstReading || m_uiUncheckedBytes >= kReadingBytes };
    pNext->m_uiClaimed += kStepBytes;
    if (step.bCheck) {
        m_uiUncheckedBytes = 0;
        m_bFirstReading = false;
        m_bReading = true;
    }
    m_uiUncheckedBytes += kStepBytes;
    return step;
}

void LinuxFrameArena::CompleteStep(const Step& step)
{
    std::lock_guard lock(m_mutex);
    Mapping& mapping = *step.pMapping;
    mapping.m_ahead.push_back(step.uiOffset);
    std::uint64_t uiTouched = mapping.m_uiTouched;
    const auto find = [&] { return std::find(mapping.m_ahead.begin(), mapping.m_ahead.end(), uiTouched); };
    for (auto next = find(); next != mapping.m_ahead.end(); next = find()) {
        mapping.m_ahead.erase(next);
        uiTouched += kStepBytes;
    }
    mapping.m_uiTouched = uiTouched;
    m_progress.notify_all();
}

// Makes the reading that the step asks for. After it has shown too little no step is claimed any more.
bool LinuxFrameArena::HasHeadroom(const Step& step)
{
    if (!step.bCheck)
        return true;
    const MemoryReading reading = m_options.read();
    // From the first reading on: however little is to be touched, the rest of the machine needs its part.
    if (reading.uiFreeBytes < std::max(kLeastHeadroom, reading.uiTotalBytes / 100 * kHeadroomPercent))
        return false;
    std::lock_guard lock(m_mutex);
    m_bReading = false;
    m_progress.notify_all();
    return true;
}

// False when the kernel has no memory for it.
bool LinuxFrameArena::Touch(std::byte* pStep)
{
    while (m_bPopulate) {
        if (madvise(pStep, kStepBytes, MADV_POPULATE_WRITE) == 0)
            return true;
        if (errno == EINVAL)
            m_bPopulate = false;
        else if (errno != EINTR)
            return false;
    }
    TouchByAddingZero(pStep);
    return true;
}

void LinuxFrameArena::GiveUp()
{
    std::function<void()> onShort;
    {
        std::lock_guard lock(m_mutex);
        m_bShort = true;
        onShort = std::exchange(m_onShort, nullptr);
        m_bReading = false;
        m_progress.notify_all();
    }
    if (onShort)
        onShort();
}

// With m_mutex held.
bool LinuxFrameArena::AreTouched(std::uint64_t uiFirstBytes) const
{
    return std::all_of(m_mappings.begin(), m_mappings.end(), [uiFirstBytes](const auto& mapping) {
        return mapping->m_uiTouched >= std::min(uiFirstBytes, mapping->m_uiWanted);
    });
}

} // namespace vireo
