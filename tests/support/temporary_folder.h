#pragma once
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <stdlib.h>
#include <string>
#include <unistd.h>

namespace vireo::test {

/// An empty folder of its own, gone with the object. Native path, without a trailing separator.
class TemporaryFolder {
public:
    enum class Place {
        Default,
        Memory, ///< where files never wait for a disk, if there is such a place; for thousands of rewrites
    };
    explicit TemporaryFolder(Place ePlace = Place::Default)
        : m_strPath((Parent(ePlace) / "tessel-test-XXXXXX").string())
    {
        if (mkdtemp(m_strPath.data()) == nullptr)
            throw std::runtime_error("cannot make a temporary folder");
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_strPath, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& Path() const { return m_strPath; }
    /// Path of an entry inside.
    std::string operator/(const std::string& strName) const { return m_strPath + "/" + strName; }

private:
    static std::filesystem::path Parent(Place ePlace)
    {
        const bool bMemory = ePlace == Place::Memory && access("/dev/shm", W_OK | X_OK) == 0;
        return bMemory ? "/dev/shm" : std::filesystem::temp_directory_path();
    }

    std::string m_strPath;
};

/// All bytes of a file; empty when it cannot be opened.
inline std::string ReadFile(const std::string& strPath)
{
    std::ifstream file(strPath, std::ios::binary);
    return { std::istreambuf_iterator<char>(file), {} };
}

inline void WriteFile(const std::string& strPath, const std::string& strBytes)
{
    std::ofstream file(strPath, std::ios::binary | std::ios::trunc);
    file.write(strBytes.data(), static_cast<std::streamsize>(strBytes.size()));
}

} // namespace vireo::test
