#include "platform/linux/file_descriptor.h"
#include "platform/linux/stderr_log.h"

#include <csignal>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vireo {
namespace {

/// Everything that `log` writes while it runs.
template <typename Action> std::string Captured(Action action)
{
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

TEST(StderrLog, WritesOneLineACall)
{
    StderrLog log;
    const std::string strOut = Captured([&] {
        log.Write("first");
        log.Write("with its own end\n");
        log.Write("two\nlines\r\nin one\n");
        log.Write("");
    });
    EXPECT_EQ(strOut, "first\nwith its own end\ntwo lines  in one\n\n");
}

TEST(StderrLog, LinesOfSeveralThreadsStayWhole)
{
    StderrLog log;
    const std::string strOut = Captured([&] {
        std::vector<std::thread> threads;
        for (char cLetter = 'a'; cLetter < 'e'; ++cLetter) {
            threads.emplace_back([&log, cLetter] {
                for (int i = 0; i < 200; ++i)
                    log.Write(std::string(100, cLetter));
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    });
    std::size_t uiLines = 0;
    for (std::size_t uiStart = 0; uiStart < strOut.size(); uiStart += 101, ++uiLines)
        ASSERT_EQ(strOut.substr(uiStart, 101), std::string(100, strOut[uiStart]) + "\n");
    EXPECT_EQ(uiLines, 800U);
}

TEST(StderrLog, AClosedReaderDoesNotEndTheProgram)
{
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        int ends[2];
        if (pipe(ends) != 0 || dup2(ends[1], STDERR_FILENO) < 0)
            _exit(2);
        close(ends[0]);
        std::signal(SIGPIPE, SIG_DFL);
        StderrLog log;
        log.Write("nobody reads this");
        log.Write("nor this");
        sigset_t pending;
        sigpending(&pending);
        _exit(sigismember(&pending, SIGPIPE));
    }
    int iStatus = 0;
    ASSERT_EQ(waitpid(child, &iStatus, 0), child);
    EXPECT_TRUE(WIFEXITED(iStatus) && WEXITSTATUS(iStatus) == 0) << iStatus;
}

TEST(StderrLog, WithoutAStderrNothingHappens)
{
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        close(STDERR_FILENO);
        StderrLog().Write("into nothing");
        _exit(0);
    }
    int iStatus = 0;
    ASSERT_EQ(waitpid(child, &iStatus, 0), child);
    EXPECT_TRUE(WIFEXITED(iStatus) && WEXITSTATUS(iStatus) == 0) << iStatus;
}

} // namespace
} // namespace vireo
