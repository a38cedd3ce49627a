#pragma once
#include <cstdio>
#include <functional>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vireo::test {

constexpr uid_t kOtherUser = 65534; ///< "nobody"

/// Runs `checks` in a process of its own, as an ordinary user without capabilities: what root may do
/// says nothing about permissions. True when no expectation failed there. Without root the checks run
/// as the user that there is.
inline bool RunAsOtherUser(const std::function<void()>& checks)
{
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        if (geteuid() == 0
            && (setgroups(0, nullptr) != 0 || setgid(kOtherUser) != 0 || setuid(kOtherUser) != 0 || geteuid() == 0))
            _exit(2);
        checks();
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int iStatus = 0;
    return child > 0 && waitpid(child, &iStatus, 0) == child && WIFEXITED(iStatus) && WEXITSTATUS(iStatus) == 0;
}

} // namespace vireo::test
