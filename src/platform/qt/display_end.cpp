#include "platform/qt/display_end.h"

#include <cstdlib>
#include <unistd.h>
#include <utility>

namespace vireo {

namespace {

constexpr unsigned int kPatienceSeconds = 10; ///< nobody is left who could end a program that hangs here

std::function<int()>& CurrentEnd()
{
    static std::function<int()> end;
    return end;
}

/// Goes first of all when the process exits: before the toolkit's own objects of the thread, which were made before.
struct EndOfThread {
    EndOfThread() = default;
    EndOfThread(const EndOfThread&) = delete;
    EndOfThread& operator=(const EndOfThread&) = delete;
    ~EndOfThread()
    {
        const std::function<int()> end = std::exchange(CurrentEnd(), {});
        if (!end)
            return;
        ::alarm(kPatienceSeconds);
        std::_Exit(end()); // the stack below still uses what the exit would take apart
    }
};

} // namespace

DisplayEnd::DisplayEnd(std::function<int()> end)
{
    CurrentEnd() = std::move(end);
    static thread_local const EndOfThread ofThisThread;
    static_cast<void>(ofThisThread);
}

DisplayEnd::~DisplayEnd() { CurrentEnd() = {}; }

} // namespace vireo
