#pragma once
#include <functional>

namespace vireo {

/// When the X server goes, as at the end of a login, the toolkit ends the process at once, from inside the event
/// loop. While this object exists the process ends properly instead: with `end`, which closes what is open and
/// returns the exit status. One at a time; user-interface thread.
class DisplayEnd {
public:
    explicit DisplayEnd(std::function<int()> end);
    ~DisplayEnd();
    DisplayEnd(const DisplayEnd&) = delete;
    DisplayEnd& operator=(const DisplayEnd&) = delete;
};

} // namespace vireo
