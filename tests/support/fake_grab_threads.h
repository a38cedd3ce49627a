#pragma once
#include "capture/grab_threads.h"

#include <vector>

namespace vireo::test {

/// What the functions of fake_grab_threads.cpp were asked, in a program that is linked with them in the
/// place of the real ones: nothing runs there, so that every library call of a test is the test's own.
struct FakeGrabThreads {
    std::vector<ThreadStartOrder> starts;
    std::vector<CaptureSnapshot> snapshots; ///< running capture at each start
    std::vector<bool> startRequests; ///< m_bStartRequest at each start
    int iStops = 0; ///< stops that found a capture
    bool bCamerasLeft = false; ///< a camera did not take the last stop
};
FakeGrabThreads& GrabThreadsAsked();

} // namespace vireo::test
