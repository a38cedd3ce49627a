#pragma once
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <string>

namespace vireo::test {

/// What a process must have given back when its work is done.
struct ProcessState {
    int iThreads = 0;
    int iDescriptors = 0;
    std::uint64_t uiResidentKiB = 0;
};

constexpr std::uint64_t kResidentSlackKiB = 2 << 10; ///< pages of the heap in which something small is left
constexpr std::ptrdiff_t kHeapSlackBytes = 256;

inline ProcessState ReadProcessState()
{
    malloc_trim(0); // what is free is not in use
    ProcessState state;
    std::ifstream status("/proc/self/status");
    for (std::string strLine; std::getline(status, strLine);) {
        if (strLine.starts_with("Threads:"))
            state.iThreads = std::stoi(strLine.substr(8));
        else if (strLine.starts_with("VmRSS:"))
            state.uiResidentKiB = std::stoull(strLine.substr(6));
    }
    status.close();
    const std::filesystem::directory_iterator files("/proc/self/fd");
    state.iDescriptors = static_cast<int>(std::distance(begin(files), end(files)));
    return state;
}

/// Bytes that the program has asked the heap for and not given back.
inline std::size_t HeapInUse()
{
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

} // namespace vireo::test
