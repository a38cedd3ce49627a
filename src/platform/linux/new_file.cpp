#include "platform/linux/new_file.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>

namespace vireo {
namespace {

constexpr int kMostLeftBehind = 100; ///< temporary names that killed programs of the same number may have left

Error Failure(ErrorType eType, const std::string& strPath, int iErrno)
{
    return { eType, strPath + ": " + std::generic_category().message(iErrno) };
}

// Of a length of its own: the longest name that the file may have leaves no room for more.
int CreateTemporary(const std::string& strPath, std::string& strTemporary)
{
    const std::filesystem::path folder = std::filesystem::path(strPath).parent_path();
    for (int i = 0; i < kMostLeftBehind; ++i) {
        strTemporary = folder / (".tessel-" + std::to_string(::getpid()) + "-" + std::to_string(i));
        const int iFile = ::open(strTemporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (iFile >= 0 || errno != EEXIST)
            return iFile;
    }
    return -1;
}

bool WriteAll(int iFile, std::string_view strText)
{
    while (!strText.empty()) {
        const ssize_t iWritten = ::write(iFile, strText.data(), strText.size());
        if (iWritten < 0 && errno == EINTR)
            continue;
        if (iWritten <= 0)
            return false;
        strText.remove_prefix(static_cast<std::size_t>(iWritten));
    }
    return true;
}

// A second name never replaces a file either; for file systems that cannot move without replacing.
bool Place(const char* pFrom, const char* pTo, const MoveFunction& move)
{
    if (move(pFrom, pTo) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
        return false;
    if (::link(pFrom, pTo) != 0)
        return false;
    ::unlink(pFrom);
    return true;
}

} // namespace

MoveFunction MoveWithoutReplacing()
{
    return [](const char* pFrom, const char* pTo) {
        return ::renameat2(AT_FDCWD, pFrom, AT_FDCWD, pTo, RENAME_NOREPLACE);
    };
}

Error WriteNewFile(const std::string& strPath, std::string_view strText, const MoveFunction& move)
{
    std::string strTemporary;
    const int iFile = CreateTemporary(strPath, strTemporary);
    if (iFile < 0)
        return Failure(ErrorType::FileOpenFailed, strPath, errno);
    int iErrno = WriteAll(iFile, strText) ? 0 : errno;
    if (::close(iFile) != 0 && iErrno == 0)
        iErrno = errno;
    if (iErrno != 0) {
        ::unlink(strTemporary.c_str());
        return Failure(ErrorType::FileWriteFailed, strPath, iErrno);
    }
    if (Place(strTemporary.c_str(), strPath.c_str(), move))
        return {};
    iErrno = errno;
    ::unlink(strTemporary.c_str());
    return Failure(ErrorType::FileCloseFailed, strPath, iErrno);
}

} // namespace vireo
