#include "platform/linux/memory_readings.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <vector>

namespace vireo {

namespace {

constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();
// Version 1 has no word for "no limit"; it shows the largest page-aligned value, near 2^63.
constexpr std::uint64_t kLargestRealLimit = std::uint64_t { 1 } << 60;

// One version of the control groups: its files, and where the memory controller hangs.
struct GroupFiles {
    const char* pLimit;
    const char* pSoftLimit; // reclaim instead of killing; a process above it hardly advances
    const char* pUsage;
    const char* pInactiveFile; // keys of memory.stat
    const char* pActiveFile;
};
constexpr GroupFiles kVersion1 { "memory.limit_in_bytes", nullptr, "memory.usage_in_bytes", "total_inactive_file",
    "total_active_file" };
constexpr GroupFiles kVersion2 { "memory.max", "memory.high", "memory.current", "inactive_file", "active_file" };

struct GroupMount {
    bool bVersion2 = false;
    std::string strMountPoint;
    std::string strRoot; ///< the group that is seen at the mount point
};

std::vector<std::string> Words(const std::string& strLine, char cSeparator)
{
    std::vector<std::string> words;
    std::istringstream stream(strLine);
    for (std::string strWord; std::getline(stream, strWord, cSeparator);)
        words.push_back(strWord);
    return words;
}

bool Contains(const std::vector<std::string>& words, std::string_view strWord)
{
    return std::find(words.begin(), words.end(), strWord) != words.end();
}

// The number behind `strKey` at a line's start, of a file of such lines.
std::optional<std::uint64_t> ReadKey(const std::string& strFile, std::string_view strKey)
{
    std::ifstream file(strFile);
    for (std::string strLine; std::getline(file, strLine);) {
        std::istringstream words(strLine);
        std::string strFound;
        std::string strValue;
        if (words >> strFound >> strValue && strFound == strKey)
            return ParseByteCount(strValue);
    }
    return std::nullopt;
}

// The number that is all a file holds; "max" and unreadable files are none.
std::optional<std::uint64_t> ReadNumber(const std::string& strFile)
{
    std::ifstream file(strFile);
    std::string strValue;
    file >> strValue;
    return ParseByteCount(strValue);
}

bool IsFolder(const std::string& strPath)
{
    struct stat status { };
    return stat(strPath.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Where the groups that limit memory are mounted, from the lines of mountinfo:
// "32 31 0:29 ROOT MOUNTPOINT options [optional...] - TYPE source super-options".
std::vector<GroupMount> FindMounts(const std::string& strRoot)
{
    std::vector<GroupMount> mounts;
    std::ifstream file(strRoot + "/proc/self/mountinfo");
    for (std::string strLine; std::getline(file, strLine);) {
        const std::vector<std::string> words = Words(strLine, ' ');
        const auto separator = std::find(words.begin(), words.end(), "-");
        if (separator - words.begin() < 5 || words.end() - separator < 4)
            continue;
        const bool bVersion2 = separator[1] == "cgroup2";
        if (bVersion2 || (separator[1] == "cgroup" && Contains(Words(separator[3], ','), "memory")))
            mounts.push_back({ bVersion2, words[4], words[3] });
    }
    return mounts;
}

// This process's group: lines "4:memory:/path" (version 1), "0::/path" (version 2).
std::optional<std::string> FindGroup(const std::string& strRoot, bool bVersion2)
{
    std::ifstream file(strRoot + "/proc/self/cgroup");
    for (std::string strLine; std::getline(file, strLine);) {
        const std::size_t uiFirst = strLine.find(':');
        const std::size_t uiSecond = strLine.find(':', uiFirst + 1);
        if (uiFirst == std::string::npos || uiSecond == std::string::npos)
            continue;
        const std::string strControllers = strLine.substr(uiFirst + 1, uiSecond - uiFirst - 1);
        const bool bMatches = bVersion2 ? strControllers.empty() : Contains(Words(strControllers, ','), "memory");
        if (bMatches)
            return strLine.substr(uiSecond + 1);
    }
    return std::nullopt;
}

// The group's path below the mount point. In a container without a name space of its own, the path is the
// host's and the mount shows only the container's part of the tree.
std::string PathBelowMount(const GroupMount& mount, std::string strGroup)
{
    if (mount.strRoot != "/") {
        // "/box" is a part of "/box/inner", not of "/boxes".
        const bool bBelow = (strGroup + "/").starts_with(mount.strRoot + "/");
        strGroup = bBelow ? strGroup.substr(mount.strRoot.size()) : "";
    }
    if (strGroup.find("..") != std::string::npos || strGroup == "/")
        strGroup.clear(); // outside what this process may see
    return strGroup;
}

MemoryReading ReadGroup(const std::string& strFolder, const GroupFiles& files)
{
    std::uint64_t uiLimit = ReadNumber(strFolder + "/" + files.pLimit).value_or(kNoLimit);
    if (files.pSoftLimit != nullptr)
        uiLimit = std::min(uiLimit, ReadNumber(strFolder + "/" + files.pSoftLimit).value_or(kNoLimit));
    if (uiLimit > kLargestRealLimit)
        return {};
    const std::string strStatistics = strFolder + "/memory.stat";
    const std::uint64_t uiUsage = ReadNumber(strFolder + "/" + files.pUsage).value_or(0);
    const std::uint64_t uiReclaimable =
        ReadKey(strStatistics, files.pInactiveFile).value_or(0) + ReadKey(strStatistics, files.pActiveFile).value_or(0);
    const std::uint64_t uiHeld = uiUsage - std::min(uiUsage, uiReclaimable);
    return { uiLimit - std::min(uiLimit, uiHeld), uiLimit };
}

// Walks from the group up to the mount point. Groups that are not there (the mount shows another part of
// the tree) are skipped.
MemoryReading ReadMount(const std::string& strRoot, const GroupMount& mount)
{
    const std::string strTop = strRoot + mount.strMountPoint;
    std::string strPath = PathBelowMount(mount, FindGroup(strRoot, mount.bVersion2).value_or(""));
    MemoryReading reading;
    while (true) {
        if (IsFolder(strTop + strPath))
            reading = Tighter(reading, ReadGroup(strTop + strPath, mount.bVersion2 ? kVersion2 : kVersion1));
        if (strPath.empty())
            return reading;
        const std::size_t uiLast = strPath.rfind('/');
        strPath.erase(uiLast == std::string::npos ? 0 : uiLast);
    }
}

} // namespace

MemoryReading Tighter(const MemoryReading& a, const MemoryReading& b)
{
    return { std::min(a.uiFreeBytes, b.uiFreeBytes), std::min(a.uiTotalBytes, b.uiTotalBytes) };
}

MemoryReading ReadSystemMemory(const std::string& strRoot)
{
    const std::string strFile = strRoot + "/proc/meminfo";
    return { ReadKey(strFile, "MemAvailable:").value_or(0) << 10, ReadKey(strFile, "MemTotal:").value_or(0) << 10 };
}

MemoryReading ReadControlGroupMemory(const std::string& strRoot)
{
    MemoryReading reading;
    for (const GroupMount& mount : FindMounts(strRoot))
        reading = Tighter(reading, ReadMount(strRoot, mount));
    return reading;
}

std::optional<std::uint64_t> ParseByteCount(std::string_view strText)
{
    std::uint64_t uiBytes = 0;
    // cppcheck-suppress invalidLifetime; the text outlives the call
    const auto [pEnd, eError] = std::from_chars(strText.data(), strText.data() + strText.size(), uiBytes);
    if (eError != std::errc() || pEnd != strText.data() + strText.size())
        return std::nullopt;
    return uiBytes;
}

} // namespace vireo
