#include "capture/clock_fit.h"
#include "capture/take_report.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>

using namespace vireo;

namespace {

constexpr int kFps = 400;
constexpr double kPeriod = 1.0 / kFps;

double Wrapped(double dSeconds) { return dSeconds - 128.0 * std::floor(dSeconds / 128.0); }

/// A camera that exposes at the given host times, with a clock of its own.
struct ClockOfCamera {
    double dOffset = 0.0; ///< s
    double dPpm = 0.0;
    std::uint32_t uiDomain = 1;
    double dDelay = 0.002; ///< s, exposure to arrival
};

CameraEvidence MakeCamera(
    int iNumber, int iFrames, const ClockOfCamera& clock,
    const std::function<double(int)>& exposureTime = [](int i) { return 1.0 + i * kPeriod; })
{
    CameraEvidence camera;
    camera.iNumber = iNumber;
    camera.uiSerial = 1000U + static_cast<std::uint32_t>(iNumber);
    camera.uiClockDomain = clock.uiDomain;
    for (int i = 0; i < iFrames; ++i) {
        const double dHost = exposureTime(i);
        camera.frames.push_back({ Wrapped(clock.dOffset + dHost * (1.0 + clock.dPpm * 1e-6)), 10 + i,
            static_cast<ClockTime>((dHost + clock.dDelay) * 1e9) });
    }
    return camera;
}

TakeEvidence MakeTake(std::vector<CameraEvidence> cameras, int iFrames)
{
    TakeEvidence evidence;
    evidence.iFps = kFps;
    evidence.iTarget = iFrames;
    evidence.bTriggered = true;
    evidence.cameras = std::move(cameras);
    return evidence;
}

} // namespace

TEST(TakeReport, CamerasOnCommonEdgesWithClocksOfTheirOwnAreInSync)
{
    const TakeReport report =
        JudgeTake(MakeTake({ MakeCamera(1, 800, { 5.0, 12.0, 1 }), MakeCamera(2, 800, { 127.5, -17.0, 2 }) }, 800));
    EXPECT_EQ(report.eVerdict, Verdict::InSync) << report.strReason;
    EXPECT_NEAR(report.cameras[0].dClockPpm, 12.0, 0.5);
    EXPECT_NEAR(report.cameras[1].dClockPpm, -17.0, 0.5);
    EXPECT_LT(report.cameras[1].dMaxOffsetUs, 2.0);
    EXPECT_EQ(report.cameras[1].offsetsUs.size(), 800U);
    EXPECT_NEAR(report.dFpsMeasured, 400.0, 0.01);
    EXPECT_NEAR(report.dRecordSeconds, 2.0, 0.001);
}

TEST(TakeReport, AClockHundredPpmFastForTwentySecondsIsInSyncAndTold)
{
    const TakeReport report =
        JudgeTake(MakeTake({ MakeCamera(1, 8000, {}), MakeCamera(2, 8000, { 3.0, 100.0, 2 }) }, 8000));
    EXPECT_EQ(report.eVerdict, Verdict::InSync) << report.strReason;
    EXPECT_NEAR(report.cameras[1].dClockPpm, 100.0, 0.5);
}

TEST(TakeReport, ATakeThatWasCutShortMissesFramesAlthoughTheRestIsInSync)
{
    TakeEvidence evidence = MakeTake({ MakeCamera(1, 300, {}), MakeCamera(2, 300, {}) }, 300);
    evidence.iCutFrom = 800;
    const TakeReport report = JudgeTake(evidence);
    EXPECT_EQ(report.eVerdict, Verdict::FramesMissed);
    EXPECT_EQ(report.strReason, "cut short: 300 of 800 frames");
}

TEST(TakeReport, AClockThatNoCrystalCanExplainIsOutOfSync)
{
    const TakeReport report =
        JudgeTake(MakeTake({ MakeCamera(1, 800, {}), MakeCamera(2, 800, { 0.0, 2000.0, 2 }) }, 800));
    EXPECT_EQ(report.eVerdict, Verdict::OutOfSync);
    EXPECT_NE(report.strReason.find("camera 2"), std::string::npos);
    EXPECT_NE(report.strReason.find("2000 ppm"), std::string::npos);
}

TEST(TakeReport, AnExposureMoreThanHalfAPeriodAwayIsOutOfSync)
{
    const struct {
        double dPhaseUs;
        Verdict eVerdict;
    } kRows[] = { { 1200.0, Verdict::InSync }, { 1300.0, Verdict::OutOfSync }, { -1300.0, Verdict::OutOfSync },
        { 3000.0, Verdict::OutOfSync } };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.dPhaseUs);
        const auto late = [&row](int i) { return 1.0 + i * kPeriod + row.dPhaseUs * 1e-6; };
        const TakeReport report =
            JudgeTake(MakeTake({ MakeCamera(1, 400, {}), MakeCamera(2, 400, { 9.0, 0.0, 2 }, late) }, 400));
        EXPECT_EQ(report.eVerdict, row.eVerdict) << report.strReason;
        EXPECT_NEAR(report.cameras[1].dMaxOffsetUs, std::abs(row.dPhaseUs), 1.0);
    }
}

TEST(TakeReport, CamerasOfOneClockMoreThanHalfAPeriodApartAreOutOfSyncHoweverTheyRun)
{
    for (const bool bTriggered : { true, false })
        for (const double dPhaseUs : { 1300.0, -1300.0 }) {
            SCOPED_TRACE(dPhaseUs);
            const auto late = [dPhaseUs](int i) { return 1.0 + i * kPeriod + dPhaseUs * 1e-6; };
            TakeEvidence evidence = MakeTake({ MakeCamera(1, 400, {}), MakeCamera(2, 400, {}, late) }, 400);
            evidence.bTriggered = bTriggered;
            const TakeReport report = JudgeTake(evidence);
            EXPECT_EQ(report.eVerdict, Verdict::OutOfSync);
            EXPECT_EQ(report.strReason, "camera 2 is up to 1300 us away from camera 1, first at frame 0");
        }
}

TEST(TakeReport, OneFrameAwayOnASingleFrameIsEnough)
{
    const auto once = [](int i) { return 1.0 + i * kPeriod + (i == 250 ? 0.9 * kPeriod : 0.0); };
    const TakeReport report =
        JudgeTake(MakeTake({ MakeCamera(1, 400, {}), MakeCamera(2, 400, { 9.0, 0.0, 2 }, once) }, 400));
    EXPECT_EQ(report.eVerdict, Verdict::OutOfSync);
}

TEST(TakeReport, OneFrameShiftedThroughoutIsOutOfSyncAlthoughTheTimesRunAlike)
{
    const auto shifted = [](int i) { return 1.0 + (i + 1) * kPeriod; };
    const TakeReport report =
        JudgeTake(MakeTake({ MakeCamera(1, 400, {}), MakeCamera(2, 400, { 9.0, 0.0, 2 }, shifted) }, 400));
    EXPECT_EQ(report.eVerdict, Verdict::OutOfSync);
    EXPECT_NEAR(report.cameras[1].dMaxOffsetUs, 2500.0, 1.0);
}

TEST(TakeReport, AMissingNumberIsAGapAtItsFrameAndGoesBeforeEverythingElse)
{
    CameraEvidence camera = MakeCamera(2, 400, { 9.0, 0.0, 2 });
    for (std::size_t i = 120; i < camera.frames.size(); ++i)
        camera.frames[i].iExposure += 3;
    const TakeReport report = JudgeTake(MakeTake({ MakeCamera(1, 400, {}), camera }, 400));
    EXPECT_EQ(report.eVerdict, Verdict::FramesMissed);
    EXPECT_EQ(report.cameras[1].gaps, (std::vector<Gap> { { 120, 3 } }));
    EXPECT_TRUE(report.cameras[0].gaps.empty());
    EXPECT_EQ(report.strReason, "camera 2 misses 3 before frame 120");
}

TEST(TakeReport, AFrameThatStandsInForALostOneIsAGapAtItsPlace)
{
    CameraEvidence camera = MakeCamera(1, 400, {});
    camera.frames[0].iExposure = -1;
    camera.frames[50].iExposure = -1;
    for (std::size_t i = 60; i < camera.frames.size(); ++i)
        ++camera.frames[i].iExposure;
    const TakeReport report = JudgeTake(MakeTake({ camera }, 400));
    EXPECT_EQ(report.eVerdict, Verdict::FramesMissed);
    EXPECT_EQ(report.cameras[0].gaps, (std::vector<Gap> { { 0, 1 }, { 50, 1 }, { 60, 1 } }));
}

TEST(TakeReport, WhatAStandInsSlotStillHoldsIsNoEvidence)
{
    for (const bool bOutside : { false, true })
        for (const std::size_t uiFrame : { 0U, 50U, 399U }) {
            SCOPED_TRACE(uiFrame);
            const auto late = [](int i) { return 1.0 + i * kPeriod + 0.0001; };
            CameraEvidence camera = MakeCamera(2, 400, { 9.0, 30.0, 2 }, late);
            camera.frames[uiFrame] = { Wrapped(camera.frames[uiFrame].dDeviceTime - 5.0), -1, 0 }; // a lap before
            TakeEvidence evidence = MakeTake({ MakeCamera(1, 400, {}), camera }, 400);
            evidence.bOutsideTrigger = bOutside;
            const TakeReport report = JudgeTake(evidence);
            EXPECT_EQ(report.cameras[1].gaps, (std::vector<Gap> { { static_cast<int>(uiFrame), 1 } }));
            EXPECT_EQ(report.strReason, "camera 2 misses 1 before frame " + std::to_string(uiFrame));
            EXPECT_NEAR(report.cameras[1].dClockPpm, 30.0, 1.0);
            EXPECT_NEAR(report.cameras[1].dMaxIntervalUs, 2500.0, 1.0);
            EXPECT_NEAR(report.cameras[1].dMaxOffsetUs, 100.0, 5.0);
            EXPECT_NEAR(report.cameras[1].times[uiFrame] - report.cameras[1].times[uiFrame == 0 ? 1 : uiFrame - 1],
                uiFrame == 0 ? -kPeriod : kPeriod, 1e-6);
        }
}

TEST(TakeReport, ACameraWithFewerFramesThanTheTargetHasMissedThem)
{
    const TakeReport report = JudgeTake(MakeTake({ MakeCamera(1, 400, {}), MakeCamera(2, 390, { 9.0, 0.0, 2 }) }, 400));
    EXPECT_EQ(report.eVerdict, Verdict::FramesMissed);
    EXPECT_EQ(report.strReason, "camera 2 has 390 of 400 frames");
}

TEST(TakeReport, FramesLostBeforeTheRecordingAreToldAndChangeNoVerdict)
{
    CameraEvidence camera = MakeCamera(2, 400, { 9.0, 0.0, 2 });
    camera.iLostBefore = 1;
    const TakeReport report = JudgeTake(MakeTake({ MakeCamera(1, 400, {}), camera }, 400));
    EXPECT_EQ(report.eVerdict, Verdict::InSync);
    EXPECT_EQ(report.cameras[1].iLostBefore, 1);
}

TEST(TakeReport, TimesOfOneClockAreComparedAsTheyAre)
{
    // Both arrive with a delay of their own; with a shared clock that says nothing.
    const auto late = [](int i) { return 1.0 + i * kPeriod + 0.001; };
    ClockOfCamera other { 0.0, 0.0, 1, 0.0005 };
    TakeEvidence evidence = MakeTake({ MakeCamera(1, 400, {}), MakeCamera(2, 400, other, late) }, 400);
    evidence.bTriggered = false;
    const TakeReport report = JudgeTake(evidence);
    EXPECT_EQ(report.eVerdict, Verdict::InSync);
    EXPECT_NEAR(report.cameras[1].dMaxOffsetUs, 1000.0, 1.0);
}

TEST(TakeReport, TheWrapOfTheCycleTimeIsNoFault)
{
    const auto aroundTheWrap = [](int i) { return 127.5 + i * kPeriod; };
    const TakeReport report = JudgeTake(
        MakeTake({ MakeCamera(1, 400, {}, aroundTheWrap), MakeCamera(2, 400, { 60.0, 0.0, 2 }, aroundTheWrap) }, 400));
    EXPECT_EQ(report.eVerdict, Verdict::InSync) << report.strReason;
    EXPECT_NEAR(report.cameras[0].dMaxIntervalUs, 2500.0, 0.01);
    EXPECT_NEAR(report.cameras[0].dFirstTimestamp, 127.5, 1e-9);
}

TEST(TakeReport, WithoutEvidenceTheVerdictIsNotChecked)
{
    const TakeEvidence good = MakeTake({ MakeCamera(1, 400, {}), MakeCamera(2, 400, { 9.0, 0.0, 2 }) }, 400);
    const struct {
        const char* pName;
        std::function<void(TakeEvidence&)> change;
    } kRows[] = {
        { "free-running with clocks of their own", [](TakeEvidence& e) { e.bTriggered = false; } },
        { "no embedded times",
            [](TakeEvidence& e) {
                for (FrameSample& frame : e.cameras[1].frames)
                    frame.dDeviceTime = 0.0;
            } },
        { "arrivals scattered over more than half a period",
            [](TakeEvidence& e) {
                for (std::size_t i = 0; i < e.cameras[1].frames.size(); ++i)
                    e.cameras[1].frames[i].arrival += static_cast<ClockTime>(i * 7919 % 5000) * 1000;
            } },
        { "no arrival times",
            [](TakeEvidence& e) {
                for (FrameSample& frame : e.cameras[0].frames)
                    frame.arrival = 0;
            } },
        { "nothing recorded", [](TakeEvidence& e) { e.cameras.clear(); } },
    };
    ASSERT_EQ(JudgeTake(good).eVerdict, Verdict::InSync);
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.pName);
        TakeEvidence evidence = good;
        row.change(evidence);
        const TakeReport report = JudgeTake(evidence);
        EXPECT_EQ(report.eVerdict, Verdict::NotChecked);
        EXPECT_NE(report.strReason, "");
    }
}

TEST(TakeReport, ACameraThatCannotBeCheckedHidesNoneThatIsOutOfSync)
{
    const auto late = [](int i) { return 1.0 + i * kPeriod + 0.0020; };
    TakeEvidence evidence = MakeTake(
        { MakeCamera(1, 400, {}), MakeCamera(2, 400, { 9.0, 0.0, 2 }), MakeCamera(3, 400, { 4.0, 0.0, 3 }, late) },
        400);
    for (std::size_t i = 0; i < 400; ++i)
        evidence.cameras[1].frames[i].arrival += static_cast<ClockTime>(i * 7919 % 5000) * 1000;
    const TakeReport report = JudgeTake(evidence);
    EXPECT_EQ(report.eVerdict, Verdict::OutOfSync);
    EXPECT_EQ(report.strReason, "camera 3 is up to 2000 us away from camera 1, first at frame 0");
    evidence.cameras.pop_back();
    EXPECT_EQ(JudgeTake(evidence).eVerdict, Verdict::NotChecked);
}

TEST(TakeReport, AShortTakeWithUnevenArrivalsAccusesNoClock)
{
    // 0.2 s whose earliest arrivals lie 0.1 ms apart: that looks like a clock 500 ppm off.
    CameraEvidence camera = MakeCamera(2, 80, { 9.0, 0.0, 2 });
    for (std::size_t i = 0; i < 80; ++i)
        camera.frames[i].arrival += static_cast<ClockTime>(i * 1250 + i * 37 % 40 * 15000);
    const TakeReport report = JudgeTake(MakeTake({ MakeCamera(1, 80, {}), camera }, 80));
    EXPECT_LT(report.cameras[1].dClockPpm, -200.0);
    EXPECT_EQ(report.eVerdict, Verdict::InSync) << report.strReason;
}

namespace {

/// Two cameras on edges from outside, `times` being when they come.
TakeEvidence OutsideTake(const std::function<double(int)>& time0, const std::function<double(int)>& time1)
{
    TakeEvidence evidence =
        MakeTake({ MakeCamera(1, 200, {}, time0), MakeCamera(2, 200, { 90.0, 8.0, 2 }, time1) }, 200);
    evidence.bOutsideTrigger = true;
    return evidence;
}

} // namespace

TEST(TakeReport, TriggersFromOutsideHaveTheirOwnPace)
{
    const auto slow = [](int i) { return 1.0 + i * 0.031; };
    const TakeReport report = JudgeTake(OutsideTake(slow, slow));
    EXPECT_EQ(report.eVerdict, Verdict::InSync) << report.strReason;
    EXPECT_NEAR(report.dFpsMeasured, 1 / 0.031, 0.01);
    // Half a period is half of theirs, too; and one camera alone has no frame missing.
    const auto later = [](int i) { return 1.005 + i * 0.031; };
    EXPECT_EQ(JudgeTake(OutsideTake(slow, later)).eVerdict, Verdict::InSync);
    TakeEvidence alone = OutsideTake(slow, slow);
    alone.cameras.pop_back();
    EXPECT_EQ(JudgeTake(alone).eVerdict, Verdict::InSync);
}

TEST(TakeReport, APauseOfTheTriggerIsNoLossButOneCamerasIs)
{
    const auto pause = [](int i) { return 1.0 + i * 0.031 + (i >= 70 ? 0.093 : 0.0); };
    EXPECT_EQ(JudgeTake(OutsideTake(pause, pause)).eVerdict, Verdict::InSync);

    const auto slow = [](int i) { return 1.0 + i * 0.031; };
    const auto loses = [](int i) { return 1.0 + (i + (i >= 70 ? 1 : 0)) * 0.031; };
    const TakeReport report = JudgeTake(OutsideTake(slow, loses));
    EXPECT_EQ(report.eVerdict, Verdict::FramesMissed);
    EXPECT_EQ(report.cameras[1].gaps, (std::vector<Gap> { { 70, 1 } }));
    EXPECT_TRUE(report.cameras[0].gaps.empty());
}

TEST(TakeReport, OneCameraAloneCannotTellAPauseFromALoss)
{
    const auto pause = [](int i) { return 1.0 + i * 0.031 + (i >= 70 ? 0.093 : 0.0); };
    TakeEvidence alone = OutsideTake(pause, pause);
    alone.cameras.pop_back();
    const TakeReport report = JudgeTake(alone);
    EXPECT_EQ(report.eVerdict, Verdict::NotChecked);
    EXPECT_EQ(
        report.strReason, "camera 1 waited 3 intervals more before frame 70: the trigger paused, or frames are lost");
    EXPECT_TRUE(report.cameras[0].gaps.empty());
}

TEST(TakeReport, TriggersMinutesApartAreTimedAcrossTheWraps)
{
    const auto rare = [](int i) { return 1.0 + i * 300.0; };
    const TakeReport report = JudgeTake(OutsideTake(rare, rare));
    EXPECT_EQ(report.eVerdict, Verdict::InSync) << report.strReason;
    EXPECT_NEAR(report.cameras[0].dMaxIntervalUs, 300e6, 1e3);
}

TEST(TakeReport, ASingleCameraWithoutGapsIsInSync)
{
    EXPECT_EQ(JudgeTake(MakeTake({ MakeCamera(1, 400, {}) }, 400)).eVerdict, Verdict::InSync);
}

TEST(TakeReport, VerdictsHaveTheirWords)
{
    EXPECT_STREQ(VerdictText(Verdict::InSync), "in sync");
    EXPECT_STREQ(VerdictText(Verdict::FramesMissed), "frames missed");
    EXPECT_STREQ(VerdictText(Verdict::OutOfSync), "out of sync");
    EXPECT_STREQ(VerdictText(Verdict::NotChecked), "not checked");
}

TEST(ClockFit, LateArrivalsDoNotBendTheLine)
{
    std::vector<ClockPoint> points;
    for (int i = 0; i < 4000; ++i) {
        const double dDevice = 7.0 + i * kPeriod;
        const double dLate = i % 13 == 0 ? 0.0 : 0.0001 * (i * 31 % 97); // up to 9.6 ms
        points.push_back({ dDevice, 100.0 + (dDevice - 7.0) * (1.0 - 50e-6) + dLate });
    }
    const ClockFit fit = FitClock(points);
    EXPECT_NEAR(fit.DevicePpm(), 50.0, 0.5);
    EXPECT_NEAR(fit.ToHost(7.0), 100.0, 2e-6);
    EXPECT_GT(fit.dJitter, 0.003);
}

TEST(ClockFit, ATakeThatEndsLateIsJudgedByItsMiddle)
{
    std::vector<ClockPoint> points;
    for (int i = 0; i < 1000; ++i) {
        const int iLate = i < 995 ? 0 : i - 994; // the machine grows busy: 1, 4, 9 ... ms
        points.push_back({ i * kPeriod, 100.0 + i * kPeriod + 0.001 * iLate * iLate });
    }
    const ClockFit fit = FitClock(points);
    EXPECT_NEAR(fit.DevicePpm(), 0.0, 0.1);
    EXPECT_NEAR(fit.ToHost(0.0), 100.0, 1e-6);
}

TEST(ClockFit, FewPointsGiveWhatTheyCan)
{
    EXPECT_EQ(FitClock({}).dOffset, 0.0);
    const ClockPoint one { 2.0, 5.0 };
    EXPECT_EQ(FitClock({ &one, 1 }).ToHost(3.0), 6.0);
    const ClockPoint same[] = { { 2.0, 5.0 }, { 2.0, 4.5 } };
    EXPECT_EQ(FitClock(same).ToHost(2.0), 4.5);
}

TEST(TakeReport, EveryFrameHasItsNumberAndItsTimeWithoutWraps)
{
    const TakeReport report =
        JudgeTake(MakeTake({ MakeCamera(1, 800, { 126.0 }), MakeCamera(2, 800, { 126.0 }) }, 800));
    for (const CameraReport& camera : report.cameras) {
        ASSERT_EQ(camera.times.size(), 800U);
        EXPECT_NEAR(camera.times.front(), 127.0, 1e-9);
        EXPECT_NEAR(camera.times.back(), 127.0 + 799 * kPeriod, 1e-6) << "beyond 128 s";
        ASSERT_EQ(camera.exposures.size(), 800U);
        EXPECT_EQ(camera.exposures.front(), 10);
        EXPECT_EQ(camera.exposures.back(), 809);
        EXPECT_TRUE(camera.bCompared);
    }
    EXPECT_NEAR(report.dOffsetLimitUs, 1250.0, 1e-6);
}

TEST(TakeReport, ResidualsOfCamerasThatCannotBeComparedAreNotTrusted)
{
    TakeEvidence evidence = MakeTake({ MakeCamera(1, 800, {}), MakeCamera(2, 800, { 3.0, 0.0, 2 }) }, 800);
    evidence.cameras[1].frames[17].arrival = 0;
    EXPECT_EQ(JudgeTake(evidence).strReason, "camera 2 tells no arrival times");
    EXPECT_TRUE(JudgeTake(evidence).cameras[0].bCompared);
    EXPECT_FALSE(JudgeTake(evidence).cameras[1].bCompared);

    TakeEvidence still = MakeTake({ MakeCamera(1, 800, {}), MakeCamera(2, 800, {}) }, 800);
    for (FrameSample& frame : still.cameras[1].frames)
        frame.dDeviceTime = 5.0;
    EXPECT_FALSE(JudgeTake(still).cameras[1].bCompared) << "a clock that stands still tells nothing";
}
