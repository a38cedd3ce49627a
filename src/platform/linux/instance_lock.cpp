#include "platform/linux/instance_lock.h"

#include "platform/linux/runtime_folder.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace vireo {

InstanceLock::Result FileInstanceLock::Acquire()
{
    if (m_file.IsOpen())
        return Result::Acquired;
    const std::string strFolder = RuntimeFolder(m_strReason);
    if (strFolder.empty())
        return Result::Failed;
    const std::string strFile = strFolder + "/Vireo.lock";
    FileDescriptor file(open(strFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    if (!file.IsOpen()) {
        m_strReason = strFile + ": " + std::strerror(errno);
        return Result::Failed;
    }
    if (flock(file.Number(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK)
            return Result::HeldByOther;
        m_strReason = strFile + ": " + std::strerror(errno);
        return Result::Failed;
    }
    m_file = std::move(file);
    return Result::Acquired;
}

void FileInstanceLock::Release() { m_file.Close(); }

} // namespace vireo
