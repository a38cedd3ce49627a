#include "platform/linux/runtime_folder.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace vireo {

namespace {

std::string FolderName()
{
    const char* pRuntime = std::getenv("XDG_RUNTIME_DIR");
    if (pRuntime != nullptr && pRuntime[0] == '/')
        return std::string(pRuntime) + "/tessel";
    return "/tmp/tessel-" + std::to_string(geteuid());
}

} // namespace

std::string RuntimeFolder(std::string& strError)
{
    std::string strFolder = FolderName();
    struct stat status = {};
    // Not followed when it is a link: in a folder that everybody may write to, somebody else made it.
    if ((mkdir(strFolder.c_str(), S_IRWXU) != 0 && errno != EEXIST) || lstat(strFolder.c_str(), &status) != 0) {
        strError = strFolder + ": " + std::strerror(errno);
        return {};
    }
    if (!S_ISDIR(status.st_mode) || status.st_uid != geteuid()) {
        strError = strFolder + ": not a folder of this user";
        return {};
    }
    const bool bOpenToOthers = (status.st_mode & (S_IRWXG | S_IRWXO)) != 0;
    if (bOpenToOthers && chmod(strFolder.c_str(), S_IRWXU) != 0) {
        strError = strFolder + ": " + std::strerror(errno);
        return {};
    }
    return strFolder;
}

} // namespace vireo
