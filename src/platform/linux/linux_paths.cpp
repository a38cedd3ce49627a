#include "platform/linux/linux_paths.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <pwd.h>
#include <string_view>
#include <unistd.h>

namespace vireo {

namespace {

constexpr std::ptrdiff_t kMaxWorkingDirectory = 255; ///< characters

/// The value without trailing separators; "/" alone stays.
std::string WithoutSeparator(std::string strFolder)
{
    while (strFolder.size() > 1 && strFolder.ends_with('/'))
        strFolder.pop_back();
    return strFolder;
}

std::string Environment(const std::string& strName)
{
    const char* pValue = std::getenv(strName.c_str());
    return pValue != nullptr ? WithoutSeparator(pValue) : std::string();
}

std::string HomeFolder()
{
    std::string strHome = Environment("HOME");
    if (!strHome.empty())
        return strHome;
    std::array<char, 4096> buffer {};
    passwd entry {};
    passwd* pFound = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &pFound) != 0 || pFound == nullptr)
        return {};
    return WithoutSeparator(pFound->pw_dir);
}

/// The desktop's setting: a line XDG_VIDEOS_DIR="$HOME/..." or with a whole path.
std::string VideosFolder(const std::string& strConfig, const std::string& strHome)
{
    constexpr std::string_view kStart = "XDG_VIDEOS_DIR=\"";
    constexpr std::string_view kHome = "$HOME";
    std::string strFolder = strHome + "/Videos";
    std::ifstream file(strConfig + "/user-dirs.dirs");
    for (std::string strLine; std::getline(file, strLine);) {
        const std::size_t uiEnd = strLine.rfind('"');
        if (!strLine.starts_with(kStart) || uiEnd < kStart.size())
            continue;
        std::string strValue = strLine.substr(kStart.size(), uiEnd - kStart.size());
        if (strValue.starts_with(kHome))
            strValue.replace(0, kHome.size(), strHome);
        if (strValue.starts_with('/'))
            strFolder = WithoutSeparator(strValue);
    }
    return strFolder;
}

/// Characters of a UTF-8 text.
std::ptrdiff_t Characters(const std::string& strText)
{
    return std::ranges::count_if(strText, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; });
}

} // namespace

std::string LinuxPaths::ApplicationData() const
{
    std::string strConfig = Environment("XDG_CONFIG_HOME");
    if (strConfig.starts_with('/'))
        return strConfig;
    const std::string strHome = HomeFolder();
    return strHome.empty() ? std::string() : WithoutSeparator(strHome) + "/.config";
}

std::optional<std::string> LinuxPaths::WorkingDirectory() const
{
    std::error_code error;
    const std::string strFolder = std::filesystem::current_path(error).string();
    if (error || Characters(strFolder) > kMaxWorkingDirectory)
        return std::nullopt;
    return strFolder;
}

std::optional<std::string> LinuxPaths::Drive(char cLetter, std::string& strError) const
{
    const std::string strVariable =
        std::string("TESSEL_DRIVE_") + static_cast<char>(std::toupper(static_cast<unsigned char>(cLetter)));
    const std::string strDrive = std::string("ドライブ ") + cLetter + ":";
    std::string strFolder = Environment(strVariable);
    if (!strFolder.empty())
        return strFolder == "/" ? std::string() : strFolder;
    const std::string strHome = HomeFolder();
    if (cLetter != 'c' || strHome.empty()) {
        strError = strDrive + " のフォルダが設定されていません。(" + strVariable + ")";
        return std::nullopt;
    }
    strFolder = VideosFolder(ApplicationData(), strHome);
    std::error_code error;
    std::filesystem::create_directories(strFolder, error);
    if (error) {
        strError = strDrive + " のフォルダを作成できません。(" + strFolder + ": " + error.message() + ")";
        return std::nullopt;
    }
    return strFolder;
}

} // namespace vireo
