#include "capture/take_report.h"

#include "app/format_text.h"
#include "capture/clock_fit.h"
#include "capture/frame_store.h"
#include "capture/trigger_gaps.h"

#include <algorithm>
#include <cmath>

namespace vireo {

namespace {

constexpr double kMaxPpm = 200.0; ///< no crystal is as far off; a faster clock is not what it says
constexpr double kUsPerSecond = 1e6;

double Seconds(ClockTime time) { return static_cast<double>(time) / static_cast<double>(kNsPerSecond); }

// From one frame to the next on the device's clock. Rare triggers leave several wraps in between; the host's
// clock tells how many.
double Interval(const FrameSample& before, const FrameSample& frame)
{
    constexpr double kWrap = 128.0; // s
    const double dInterval = FrameTimeDifference(frame.dDeviceTime, before.dDeviceTime);
    return dInterval + kWrap * std::round((Seconds(frame.arrival - before.arrival) - dInterval) / kWrap);
}

// The slot of a frame that stands in for a lost one may hold anything.
bool IsFrame(const FrameSample& frame) { return frame.iExposure >= 0; }

// Embedded times without their wraps; of a frame that stands in for a lost one, when that should have come.
std::vector<double> Unwrap(const std::vector<FrameSample>& frames, double dPeriod)
{
    std::vector<double> times(frames.size());
    std::size_t uiKnown = frames.size(); // the frame before, none yet
    for (std::size_t i = 0; i < frames.size(); ++i) {
        if (!IsFrame(frames[i]))
            continue;
        const bool bFirst = uiKnown == frames.size();
        times[i] = bFirst ? frames[i].dDeviceTime : times[uiKnown] + Interval(frames[uiKnown], frames[i]);
        for (std::size_t k = bFirst ? 0 : uiKnown + 1; k < i; ++k) {
            const double dStep = bFirst ? dPeriod : (times[i] - times[uiKnown]) / static_cast<double>(i - uiKnown);
            times[k] = times[i] - dStep * static_cast<double>(i - k);
        }
        uiKnown = i;
    }
    if (uiKnown < frames.size())
        for (std::size_t k = uiKnown + 1; k < frames.size(); ++k)
            times[k] = times[k - 1] + dPeriod;
    return times;
}

bool HasTimes(const CameraEvidence& camera)
{
    const auto first = std::find_if(camera.frames.begin(), camera.frames.end(), IsFrame);
    if (camera.frames.end() - first < 2)
        return true;
    return std::any_of(first, camera.frames.end(),
        [first](const FrameSample& frame) { return IsFrame(frame) && frame.dDeviceTime != first->dDeviceTime; });
}

// A frame without a number stands in for a lost one.
std::vector<Gap> FindGaps(const std::vector<FrameSample>& frames)
{
    std::vector<Gap> gaps;
    std::int64_t iOffset = 0; // of the exposure numbers from the frame indices
    bool bKnown = false;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const auto iIndex = static_cast<std::int64_t>(i);
        if (!IsFrame(frames[i])) {
            gaps.push_back({ static_cast<int>(i), 1 });
            continue;
        }
        const std::int64_t iMissing = frames[i].iExposure - iIndex - iOffset;
        if (bKnown && iMissing > 0)
            gaps.push_back({ static_cast<int>(i), static_cast<int>(iMissing) });
        iOffset = frames[i].iExposure - iIndex;
        bKnown = true;
    }
    return gaps;
}

bool HasArrivals(const CameraEvidence& camera)
{
    return std::all_of(camera.frames.begin(), camera.frames.end(),
        [](const FrameSample& frame) { return !IsFrame(frame) || frame.arrival != 0; });
}

// The usual time between frames of all cameras, s; `dOtherwise` when there is none.
double UsualInterval(const std::vector<std::vector<double>>& cameras, double dOtherwise)
{
    std::vector<double> intervals;
    for (const std::vector<double>& times : cameras)
        for (std::size_t i = 1; i < times.size(); ++i)
            intervals.push_back(times[i] - times[i - 1]);
    if (intervals.empty())
        return dOtherwise;
    const auto middle = intervals.begin() + static_cast<std::ptrdiff_t>(intervals.size() / 2);
    std::nth_element(intervals.begin(), middle, intervals.end());
    return *middle > 0.0 ? *middle : dOtherwise;
}

// Frames on edges from outside have no numbers, but a lost one that another stands in for is known.
std::vector<Gap> WithStandIns(std::vector<Gap> losses, const std::vector<FrameSample>& frames)
{
    for (std::size_t i = 0; i < frames.size(); ++i)
        if (!IsFrame(frames[i]))
            losses.push_back({ static_cast<int>(i), 1 });
    std::sort(losses.begin(), losses.end(), [](const Gap& a, const Gap& b) { return a.iFrame < b.iFrame; });
    return losses;
}

ClockFit FitCamera(const CameraEvidence& camera, const std::vector<double>& times)
{
    std::vector<ClockPoint> points;
    points.reserve(times.size());
    for (std::size_t i = 0; i < times.size(); ++i)
        if (IsFrame(camera.frames[i]))
            points.push_back({ times[i], Seconds(camera.frames[i].arrival) });
    return FitClock(points);
}

class Judge {
public:
    explicit Judge(const TakeEvidence& evidence)
        : m_evidence(evidence)
        , m_dPeriod(1.0 / std::max(evidence.iFps, 1))
    {
    }

    TakeReport Run()
    {
        m_report.iFpsRequested = m_evidence.iFps;
        m_report.iFrames = m_evidence.iTarget;
        for (const CameraEvidence& camera : m_evidence.cameras)
            m_times.push_back(Unwrap(camera.frames, m_dPeriod));
        if (m_evidence.bOutsideTrigger)
            m_dPeriod = UsualInterval(m_times, m_dPeriod);
        for (std::size_t c = 0; c < m_evidence.cameras.size(); ++c)
            Describe(m_evidence.cameras[c], m_times[c]);
        if (m_evidence.bOutsideTrigger)
            FindLossesOnOutsideEdges();
        if (!m_times.empty() && m_times.front().size() >= 2) {
            const double dSpan = m_times.front().back() - m_times.front().front();
            m_report.dFpsMeasured = dSpan > 0.0 ? static_cast<double>(m_times.front().size() - 1) / dSpan : 0.0;
            m_report.dRecordSeconds = dSpan + m_dPeriod;
        }
        m_report.dOffsetLimitUs = m_dPeriod / 2 * kUsPerSecond;
        for (std::size_t c = 1; c < m_evidence.cameras.size(); ++c)
            Compare(c);
        Conclude();
        for (std::size_t c = 0; c < m_times.size(); ++c)
            m_report.cameras[c].times = std::move(m_times[c]);
        return std::move(m_report);
    }

private:
    void Describe(const CameraEvidence& camera, const std::vector<double>& times)
    {
        CameraReport report;
        report.iNumber = camera.iNumber;
        report.uiSerial = camera.uiSerial;
        report.strModel = camera.strModel;
        report.eInterface = camera.eInterface;
        report.iFrames = static_cast<int>(camera.frames.size());
        report.iLostBefore = camera.iLostBefore;
        report.statistics = camera.statistics;
        report.uiColdSlots = camera.uiColdSlots;
        report.bLost = camera.bLost;
        if (!m_evidence.bOutsideTrigger)
            report.gaps = FindGaps(camera.frames);
        if (!times.empty())
            report.dFirstTimestamp = times.front();
        for (std::size_t i = 1; i < times.size(); ++i)
            report.dMaxIntervalUs = std::max(report.dMaxIntervalUs, (times[i] - times[i - 1]) * kUsPerSecond);
        report.bCompared = m_report.cameras.empty();
        report.exposures.reserve(camera.frames.size());
        for (const FrameSample& frame : camera.frames)
            report.exposures.push_back(frame.iExposure);
        m_fits.push_back(FitCamera(camera, times));
        report.dClockPpm = m_fits.back().DevicePpm();
        m_report.cameras.push_back(std::move(report));
    }

    void FindLossesOnOutsideEdges()
    {
        TriggerGaps gaps = FindTriggerGaps(m_times, m_dPeriod);
        for (std::size_t c = 0; c < m_report.cameras.size(); ++c)
            m_report.cameras[c].gaps = WithStandIns(std::move(gaps.losses[c]), m_evidence.cameras[c].frames);
        if (m_report.cameras.size() == 1)
            m_pausesOfOne = std::move(gaps.pauses);
    }

    bool SharesClock(std::size_t c) const
    {
        return m_evidence.cameras[c].uiClockDomain == m_evidence.cameras[0].uiClockDomain;
    }

    // Residual of every frame against camera 0's frame of the same index.
    void Compare(std::size_t c)
    {
        if (!SharesClock(c) && !m_evidence.bTriggered)
            return; // clocks of their own and no common edge: nothing says what the residual should be
        CameraReport& report = m_report.cameras[c];
        report.bCompared = HasTimes(m_evidence.cameras[0]) && HasTimes(m_evidence.cameras[c])
            && (SharesClock(c) || WhyNotComparable(c).empty());
        const std::size_t uiFrames = std::min(m_times[0].size(), m_times[c].size());
        report.offsetsUs.reserve(uiFrames);
        for (std::size_t i = 0; i < uiFrames; ++i) {
            const double dOffset = SharesClock(c) ? FrameTimeDifference(m_times[c][i], m_times[0][i])
                                                  : m_fits[c].ToHost(m_times[c][i]) - m_fits[0].ToHost(m_times[0][i]);
            report.offsetsUs.push_back(dOffset * kUsPerSecond);
            report.dMaxOffsetUs = std::max(report.dMaxOffsetUs, std::abs(dOffset) * kUsPerSecond);
        }
    }

    void Say(Verdict eVerdict, std::string strReason)
    {
        m_report.eVerdict = eVerdict;
        m_report.strReason = std::move(strReason);
    }

    void Conclude()
    {
        if (m_evidence.cameras.empty() || m_evidence.iTarget < 1)
            return Say(Verdict::NotChecked, "nothing was recorded");
        for (const CameraReport& camera : m_report.cameras) {
            if (!camera.gaps.empty())
                return Say(Verdict::FramesMissed,
                    FormatText("camera %d misses %d before frame %d", camera.iNumber, camera.gaps.front().iMissing,
                        camera.gaps.front().iFrame));
            if (camera.iFrames < m_evidence.iTarget)
                return Say(Verdict::FramesMissed,
                    FormatText("camera %d has %d of %d frames", camera.iNumber, camera.iFrames, m_evidence.iTarget));
        }
        if (m_evidence.iCutFrom > m_evidence.iTarget)
            return Say(Verdict::FramesMissed,
                FormatText("cut short: %d of %d frames", m_evidence.iTarget, m_evidence.iCutFrom));
        for (const CameraEvidence& camera : m_evidence.cameras)
            if (!HasTimes(camera))
                return Say(Verdict::NotChecked, FormatText("camera %d embeds no times", camera.iNumber));
        if (!m_pausesOfOne.empty())
            return Say(Verdict::NotChecked,
                FormatText("camera %d waited %d intervals more before frame %d: the trigger paused, or frames are lost",
                    m_report.cameras[0].iNumber, m_pausesOfOne.front().iMissing, m_pausesOfOne.front().iFrame));
        Say(Verdict::InSync, "");
        for (std::size_t c = 1; c < m_evidence.cameras.size(); ++c) {
            if (!SharesClock(c) && !CanCompare(c))
                continue; // another camera may still be found out of sync
            if (!Agrees(c))
                return;
        }
    }

    // What keeps the clocks of cameras 0 and c from being laid over the host's; empty when nothing does.
    std::string WhyNotComparable(std::size_t c) const
    {
        if (!m_evidence.bTriggered)
            return "free-running cameras with clocks of their own";
        for (const std::size_t k : { std::size_t { 0 }, c }) {
            const int iNumber = m_report.cameras[k].iNumber;
            if (!HasArrivals(m_evidence.cameras[k]))
                return FormatText("camera %d tells no arrival times", iNumber);
            if (m_fits[k].dJitter > m_dPeriod / 2)
                return FormatText(
                    "frames of camera %d arrived too irregularly to lay its clock over the host's", iNumber);
        }
        return {};
    }

    // Whether they can be; says so when not.
    bool CanCompare(std::size_t c)
    {
        const std::string strWhyNot = WhyNotComparable(c);
        if (!strWhyNot.empty())
            Say(Verdict::NotChecked, strWhyNot);
        return strWhyNot.empty();
    }

    // The rate that a clock may show: a short take with uneven arrivals does not tell it exactly.
    double RateLimit(std::size_t c) const
    {
        const double dSpan = m_times[c].back() - m_times[c].front();
        return kMaxPpm + (dSpan > 0.0 ? m_fits[c].dJitter / dSpan * 1e6 : 0.0);
    }

    // False when camera c is out of sync; it is said then.
    bool Agrees(std::size_t c)
    {
        const CameraReport& camera = m_report.cameras[c];
        for (const std::size_t k : { std::size_t { 0 }, c })
            if (!SharesClock(c) && std::abs(m_fits[k].DevicePpm()) > RateLimit(k)) {
                Say(Verdict::OutOfSync,
                    FormatText(
                        "the clock of camera %d is %.0f ppm off", m_report.cameras[k].iNumber, m_fits[k].DevicePpm()));
                return false;
            }
        const double dLimitUs = m_report.dOffsetLimitUs;
        if (camera.dMaxOffsetUs > dLimitUs) {
            const auto first = std::find_if(camera.offsetsUs.begin(), camera.offsetsUs.end(),
                [dLimitUs](double dOffsetUs) { return std::abs(dOffsetUs) > dLimitUs; });
            Say(Verdict::OutOfSync,
                FormatText("camera %d is up to %.0f us away from camera %d, first at frame %d", camera.iNumber,
                    camera.dMaxOffsetUs, m_report.cameras[0].iNumber,
                    static_cast<int>(first - camera.offsetsUs.begin())));
            return false;
        }
        return true;
    }

    const TakeEvidence& m_evidence;
    double m_dPeriod; ///< s, between the frames of a camera
    TakeReport m_report;
    std::vector<std::vector<double>> m_times; ///< unwrapped, per camera
    std::vector<ClockFit> m_fits;
    std::vector<Gap> m_pausesOfOne; ///< with an outside trigger and nobody to compare with
};

} // namespace

const char* VerdictText(Verdict eVerdict)
{
    switch (eVerdict) {
    case Verdict::InSync: return "in sync";
    case Verdict::FramesMissed: return "frames missed";
    case Verdict::OutOfSync: return "out of sync";
    case Verdict::NotChecked: break;
    }
    return "not checked";
}

TakeReport JudgeTake(const TakeEvidence& evidence) { return Judge(evidence).Run(); }

} // namespace vireo
