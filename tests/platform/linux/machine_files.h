#pragma once
#include "support/temporary_folder.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace vireo::test {

/// The files of /proc and /sys/fs/cgroup that tell about memory, in a folder of their own.
class MachineFiles {
public:
    /// A machine with that much memory and no control groups.
    MachineFiles(std::uint64_t uiTotalBytes, std::uint64_t uiAvailableBytes)
    {
        Write("/proc/meminfo",
            "MemTotal:       " + std::to_string(uiTotalBytes >> 10) + " kB\nMemFree:        1 kB\nMemAvailable:   "
                + std::to_string(uiAvailableBytes >> 10) + " kB\nBuffers:        7 kB\n");
    }

    /// What goes before the paths.
    const std::string& Root() const { return m_folder.Path(); }

    void Write(const std::string& strPath, const std::string& strText)
    {
        const std::filesystem::path path = Root() + strPath;
        std::filesystem::create_directories(path.parent_path());
        WriteFile(path, strText);
    }
    void Remove(const std::string& strPath) { std::filesystem::remove_all(Root() + strPath); }

    /// The unified tree, this process in `strGroup`.
    void MountVersion2(const std::string& strGroup, const std::string& strMountRoot = "/")
    {
        Write("/proc/self/mountinfo",
            "22 1 254:0 / / rw,relatime shared:1 - ext4 /dev/root rw\n"
            "31 23 0:27 "
                + strMountRoot + " /sys/fs/cgroup rw,nosuid shared:9 master:2 - cgroup2 cgroup2 rw,nsdelegate\n");
        Write("/proc/self/cgroup", "0::" + strGroup + "\n");
        std::filesystem::create_directories(Root() + "/sys/fs/cgroup");
    }
    void Version2(const std::string& strGroup, const std::string& strLimit, std::uint64_t uiUsage,
        std::uint64_t uiInactiveFile = 0, std::uint64_t uiActiveFile = 0)
    {
        const std::string strFolder = "/sys/fs/cgroup" + strGroup;
        Write(strFolder + "/memory.max", strLimit + "\n");
        Write(strFolder + "/memory.current", std::to_string(uiUsage) + "\n");
        Write(strFolder + "/memory.stat",
            "anon 1\nfile 99999999999\ninactive_anon 5\nactive_file " + std::to_string(uiActiveFile)
                + "\ninactive_file " + std::to_string(uiInactiveFile) + "\nworkingset_refault_file 12\n");
    }

    /// One tree a controller, this process in `strGroup` of the memory controller.
    void MountVersion1(const std::string& strGroup, const std::string& strMountRoot = "/")
    {
        Write("/proc/self/mountinfo",
            "34 31 0:30 / /sys/fs/cgroup/cpu rw,relatime - cgroup cgroup rw,cpu\n"
            "35 31 0:32 "
                + strMountRoot
                + " /sys/fs/cgroup/memory rw,relatime - cgroup cgroup rw,memory\n"
                  "41 31 0:38 / /sys/fs/cgroup/unified rw,relatime - cgroup2 cgroup2 rw\n");
        Write("/proc/self/cgroup", "9:name=systemd:/\n4:memory:" + strGroup + "\n1:cpu:/elsewhere\n0::/\n");
        std::filesystem::create_directories(Root() + "/sys/fs/cgroup/unified");
    }
    void Version1(const std::string& strGroup, const std::string& strLimit, std::uint64_t uiUsage,
        std::uint64_t uiInactiveFile = 0, std::uint64_t uiActiveFile = 0)
    {
        const std::string strFolder = "/sys/fs/cgroup/memory" + strGroup;
        Write(strFolder + "/memory.limit_in_bytes", strLimit + "\n");
        Write(strFolder + "/memory.usage_in_bytes", std::to_string(uiUsage) + "\n");
        Write(strFolder + "/memory.stat",
            "cache 3\ninactive_file 77\nactive_file 77\ntotal_inactive_file " + std::to_string(uiInactiveFile)
                + "\ntotal_active_file " + std::to_string(uiActiveFile) + "\n");
    }

private:
    TemporaryFolder m_folder;
};

} // namespace vireo::test
