#include "platform/linux/stderr_log.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <string>
#include <unistd.h>

namespace vireo {

namespace {

/// Writes while the signal for a pipe without a reader is held back, and takes that signal off again if
/// the write raised it: logging must not end the program.
void WriteWithoutSignal(std::string_view strBytes)
{
    sigset_t pipe;
    sigset_t before;
    sigset_t pending;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    sigpending(&pending);
    const bool bWasPending = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipe, &before);
    bool bBroken = false;
    while (!strBytes.empty() && !bBroken) {
        const ssize_t iWritten = write(STDERR_FILENO, strBytes.data(), strBytes.size());
        bBroken = iWritten < 0 && errno != EINTR;
        strBytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(iWritten, 0)));
    }
    if (bBroken && !bWasPending) {
        const timespec atOnce {};
        while (sigtimedwait(&pipe, nullptr, &atOnce) < 0 && errno == EINTR) { }
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

} // namespace

void StderrLog::Write(std::string_view strLine)
{
    if (strLine.ends_with('\n'))
        strLine.remove_suffix(1);
    std::string strBytes(strLine);
    std::ranges::replace_if(
        strBytes, [](char c) { return c == '\n' || c == '\r'; }, ' ');
    strBytes += '\n';
    WriteWithoutSignal(strBytes);
}

} // namespace vireo
