#include "app/native_path.h"

#include <algorithm>

namespace vireo {

namespace {

char LowerLetter(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

} // namespace

bool HasDriveLetter(const std::string& strPath)
{
    if (strPath.size() < 2 || strPath[1] != ':')
        return false;
    const char cLetter = LowerLetter(strPath[0]);
    return cLetter >= 'a' && cLetter <= 'z';
}

std::optional<std::string> ToNativePath(const Paths& paths, const std::string& strPath, std::string& strError)
{
    std::string strNative = strPath;
    std::ranges::replace(strNative, '\\', '/');
    if (!HasDriveLetter(strPath))
        return strNative;

    const std::optional<std::string> strFolder = paths.Drive(LowerLetter(strPath[0]), strError);
    if (!strFolder)
        return std::nullopt;
    // "c:name", relative to a drive's current folder elsewhere, starts at the drive's folder here.
    const bool bWhole = strNative.size() > 2 && strNative[2] == '/';
    return *strFolder + (bWhole ? "" : "/") + strNative.substr(2);
}

} // namespace vireo
