#include "platform/genicam/device_link.h"
#include "platform/time/virtual_clock.h"

#include <functional>
#include <gtest/gtest.h>

namespace vireo {

namespace {

using Wait = DeviceLink::Wait;

/// The program's side of a link; the driver's side acts after 10 ms of virtual time.
class DeviceLinkTest : public testing::Test {
protected:
    Wait TakeWhile(ClockTime deadline, const std::function<void()>& act)
    {
        ClockThread driver(m_clock, [&] {
            m_clock.SleepUntil(10 * kNsPerMs);
            act();
        });
        const Wait eWait = m_link.TakeFrame(deadline, m_arrival);
        driver.Join();
        return eWait;
    }
    VirtualClock m_clock;
    DeviceLink m_link { m_clock };
    ClockTime m_arrival = 0;
};

TEST_F(DeviceLinkTest, AFrameCarriesTheTimeAtWhichTheDriverHadIt)
{
    m_link.BeginRun(4);
    EXPECT_TRUE(TakeWhile(kForever, [&] { m_link.FrameDone(); }) == Wait::Frame);
    EXPECT_EQ(m_arrival, 10 * kNsPerMs);
    EXPECT_FALSE(m_link.FrameWaits());
}

TEST_F(DeviceLinkTest, TheWaitEndsWithTheDeadline)
{
    m_link.BeginRun(4);
    EXPECT_TRUE(m_link.TakeFrame(7 * kNsPerMs, m_arrival) == Wait::Timeout);
    EXPECT_EQ(m_clock.Now(), 7 * kNsPerMs);
}

TEST_F(DeviceLinkTest, ACancelLastsUntilTheNextRun)
{
    m_link.BeginRun(4);
    EXPECT_TRUE(TakeWhile(kForever, [&] { m_link.Cancel(); }) == Wait::Cancelled);
    m_link.FrameDone();
    EXPECT_TRUE(m_link.TakeFrame(kForever, m_arrival) == Wait::Cancelled);
    m_link.BeginRun(4);
    m_link.FrameDone();
    EXPECT_TRUE(m_link.TakeFrame(kForever, m_arrival) == Wait::Frame);
}

TEST_F(DeviceLinkTest, TheEndOfTheRunEndsTheWait)
{
    m_link.BeginRun(4);
    EXPECT_TRUE(TakeWhile(kForever, [&] { m_link.EndRun(); }) == Wait::Cancelled);
}

TEST_F(DeviceLinkTest, WhatArrivedBeforeTheCameraWentIsStillTaken)
{
    m_link.BeginRun(4);
    m_link.FrameDone();
    m_link.SetGone("first");
    m_link.SetGone("second");
    EXPECT_TRUE(m_link.TakeFrame(kForever, m_arrival) == Wait::Frame);
    EXPECT_TRUE(m_link.TakeFrame(kForever, m_arrival) == Wait::Gone);
    EXPECT_EQ(m_link.Reason(), "first");
}

TEST_F(DeviceLinkTest, APokeLetsTheThreadLookAround)
{
    m_link.BeginRun(4);
    EXPECT_TRUE(TakeWhile(kForever, [&] { m_link.Poke(); }) == Wait::Timeout);
    EXPECT_EQ(m_clock.Now(), 10 * kNsPerMs);
}

TEST_F(DeviceLinkTest, ADetachedSideHearsNothingMore)
{
    m_link.BeginRun(4);
    m_link.Detach();
    m_link.FrameDone();
    m_link.SetGone("late");
    EXPECT_FALSE(m_link.FrameWaits());
    EXPECT_TRUE(m_link.TakeFrame(kForever, m_arrival) == Wait::Cancelled);
}

TEST_F(DeviceLinkTest, ACameraThatDoesNotAnswerIsGoneOnlyWhenItsFramesFailToComeToo)
{
    m_clock.SleepUntil(10 * kNsPerSecond);
    m_link.BeginRun(4);
    m_link.FrameDone();
    m_clock.SleepUntil(10 * kNsPerSecond + Presence::kSilence / 2);
    m_link.SetUnanswered();
    EXPECT_FALSE(m_link.IsGone());
    m_link.FrameDone(false); // a torn one may be the last of a camera that has died
    m_clock.SleepUntil(10 * kNsPerSecond + Presence::kSilence);
    m_link.SetUnanswered();
    EXPECT_TRUE(m_link.IsGone());
    EXPECT_EQ(m_link.Reason(), "it does not answer");
}

} // namespace

} // namespace vireo
