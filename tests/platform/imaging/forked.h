#pragma once
#include <csignal>
#include <functional>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vireo::test {

/// Runs `body`, expectations included, in a child process, which may change its identity and limits.
inline void ExpectInChild(const std::function<void()>& body)
{
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        body();
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int iStatus = 0;
    ASSERT_EQ(waitpid(pid, &iStatus, 0), pid);
    EXPECT_TRUE(WIFEXITED(iStatus) && WEXITSTATUS(iStatus) == 0) << "the child's expectations failed";
}

/// Gives up root and its capabilities for good, if there are any to give up.
inline void BecomeNobody()
{
    constexpr uid_t kNobody = 65534;
    if (geteuid() != 0)
        return;
    ASSERT_EQ(setgroups(0, nullptr), 0);
    ASSERT_EQ(setresgid(kNobody, kNobody, kNobody), 0);
    ASSERT_EQ(setresuid(kNobody, kNobody, kNobody), 0);
}

} // namespace vireo::test
