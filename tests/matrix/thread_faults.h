#pragma once
#include <functional>

namespace vireo::test {

/// Asked before each new thread of this process, on the thread that makes it; true: the system has none to give.
/// Null: nobody is asked. A build with a sanitizer asks nobody.
void AskBeforeThreads(std::function<bool()> refuses);

} // namespace vireo::test
