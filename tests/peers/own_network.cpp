#include "peers/own_network.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vireo::peers {

namespace {

std::string Failure(const char* strWhat) { return std::string(strWhat) + ": " + std::strerror(errno); }

bool WriteFile(const char* strPath, const std::string& strText)
{
    const int iFile = open(strPath, O_WRONLY | O_CLOEXEC);
    const bool bDone =
        iFile >= 0 && write(iFile, strText.data(), strText.size()) == static_cast<ssize_t>(strText.size());
    close(iFile);
    return bDone;
}

std::string RaiseLoopback()
{
    const int iSocket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request {};
    std::strcpy(request.ifr_name, "lo");
    const bool bRead = ioctl(iSocket, SIOCGIFFLAGS, &request) == 0;
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP | IFF_RUNNING);
    const bool bDone = bRead && ioctl(iSocket, SIOCSIFFLAGS, &request) == 0;
    const std::string strFailure = bDone ? std::string() : Failure("loopback interface");
    close(iSocket);
    return strFailure;
}

} // namespace

std::string EnterOwnNetwork()
{
    if (unshare(CLONE_NEWNET) == 0) // root may do it without further ado
        return RaiseLoopback();
    const std::string strUser = "0 " + std::to_string(geteuid()) + " 1";
    const std::string strGroup = "0 " + std::to_string(getegid()) + " 1";
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
        return Failure("no network namespace");
    if (!WriteFile("/proc/self/setgroups", "deny") || !WriteFile("/proc/self/uid_map", strUser)
        || !WriteFile("/proc/self/gid_map", strGroup))
        return Failure("no user namespace");
    return RaiseLoopback();
}

} // namespace vireo::peers
