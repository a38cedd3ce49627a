#pragma once
#include "scripted_capture.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <vector>

namespace vireo::test {

constexpr int kFrames = 100; ///< of one second at 100 fps
constexpr ClockTime kStopBound = 1200 * kNsPerMs;

inline std::vector<std::string> Texts(std::initializer_list<const char*> texts)
{
    return { texts.begin(), texts.end() };
}

/// Duration of a stop on the user-interface thread, in virtual time.
inline ClockTime TimeStop(ScriptedCapture& capture, bool bExpected = true)
{
    const ClockTime before = capture.GetClock().Now();
    EXPECT_EQ(StopGrab(capture.Doc()), bExpected);
    return capture.GetClock().Now() - before;
}

} // namespace vireo::test
