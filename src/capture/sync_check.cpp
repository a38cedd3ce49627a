#include "capture/sync_check.h"

#include "capture/grab_threads.h"
#include "capture/messages.h"
#include "capture/recording_rules.h"

#include <cmath>
#include <cstdio>
#include <optional>

namespace vireo {

namespace {

constexpr int kBackFrames = 3; // the search begins this far before the noted start
constexpr int kSearchFrames = 10;
constexpr double kAlignedUs = 250.0;
// Stamps are multiples of 0.04 us; this is what their differences lose in a double.
constexpr double kRoundingUs = 0.001;
constexpr std::uint8_t kPinBits = 0xE0;
constexpr std::size_t kPinByte = 4;

// The wrap lands one slot short of a true step back; existing recordings were aligned that way.
int StartOfSearch(int iStart, int iBufferFrames)
{
    const int iBack = iStart - kBackFrames;
    return iBack < 0 ? iBufferFrames - 1 - (kBackFrames - iStart) : iBack;
}

double DistanceUs(const FrameStore& store, std::size_t uiCamera, int iSlot, double dTime0)
{
    return std::abs(FrameTimeDifference(dTime0, store.SlotTime(uiCamera, iSlot))) * 1'000'000.0;
}

std::uint8_t Pins(const FrameStore& store, int iSlot)
{
    const std::uint8_t* pSlot = store.Slot(0, iSlot);
    return pSlot != nullptr ? pSlot[kPinByte] & kPinBits : 0;
}

// Camera 0's recording begins with the frame at which its input pins change.
void AlignCamera0(FrameStore& store, int iFirst)
{
    const int iSlots = store.m_iBufferFrames;
    const int iSearch = StartOfSearch(store.m_istartFrame[0], iSlots);
    std::optional<std::uint8_t> before;
    for (int i = iFirst; i < kSearchFrames; ++i) {
        const int iSlot = RingSlot(iSearch, i, iSlots);
        const std::uint8_t pins = Pins(store, iSlot);
        if (before && *before != pins) {
            store.m_istartFrame[0] = iSlot;
            return;
        }
        before = pins;
    }
}

// False when no frame near camera c's start was taken at the time of camera 0's.
bool AlignCamera(FrameStore& store, std::size_t c, int iFirst)
{
    const int iSlots = store.m_iBufferFrames;
    const double dTime0 = store.SlotTime(0, store.m_istartFrame[0]);
    if (DistanceUs(store, c, store.m_istartFrame[c], dTime0) <= kAlignedUs + kRoundingUs)
        return true;
    const int iSearch = StartOfSearch(store.m_istartFrame[c], iSlots);
    for (int i = iFirst; i < kSearchFrames; ++i) {
        const int iSlot = RingSlot(iSearch, i, iSlots);
        if (DistanceUs(store, c, iSlot, dTime0) < kAlignedUs - kRoundingUs) {
            store.m_istartFrame[c] = iSlot;
            return true;
        }
    }
    return false;
}

// False when there is nothing to wait for any more.
bool WaitForFrames(CVireoDoc& doc, std::size_t c, const CheckAbandoned& abandoned)
{
    while (!doc.m_store.m_bRecordDone[c]) {
        if (abandoned(c))
            return false;
        doc.GetPlatform().clock.SleepMs(1);
    }
    return !abandoned(0);
}

// One camera against camera 0; the number of frames that disagreed.
std::uint32_t CountDisagreements(CVireoDoc& doc, std::size_t c)
{
    const FrameStore& store = doc.m_store;
    const int iSlots = store.m_iBufferFrames;
    double dTolerance = (1.0 + kPeriodSlack) / doc.m_capture.m_running.iFps;
    std::uint32_t uiCount = 0;
    for (int i = doc.m_capture.m_iSaveFirstFrame; i < store.m_iRecordTarget; ++i) {
        const int iSlot0 = RingSlot(store.m_istartFrame[0], i, iSlots);
        const int iSlotC = RingSlot(store.m_istartFrame[c], i, iSlots);
        const double dTime0 = store.SlotTime(0, iSlot0);
        const double dTimeC = store.SlotTime(c, iSlotC);
        const double dApart = std::abs(FrameTimeDifference(dTime0, dTimeC));
        if (!(dApart > dTolerance))
            continue;
        char strLine[200];
        std::snprintf(strLine, sizeof strLine, "SyncCheck2()->start frame%u %d %d %f %f %f %f\n",
            static_cast<unsigned int>(c), iSlot0, iSlotC, dTime0, dTimeC, dApart, dTolerance);
        doc.GetPlatform().log.Write(strLine);
        dTolerance = dApart;
        ++uiCount;
    }
    return uiCount;
}

} // namespace

bool AlignStartFrames(CVireoDoc& doc, const CheckAbandoned& abandoned)
{
    const int iFirst = doc.m_capture.m_iSaveFirstFrame;
    AlignCamera0(doc.m_store, iFirst);
    for (std::size_t c = 1; c < doc.m_cameras.m_uiNumCameras; ++c) {
        if (!WaitForFrames(doc, c, abandoned))
            return false;
        if (!AlignCamera(doc.m_store, c, iFirst))
            ShowMessage(doc.GetPlatform().window, messages::kSyncMatchError, { static_cast<std::int64_t>(c) });
    }
    return true;
}

bool SyncCheck2(CVireoDoc& doc, const CheckAbandoned& abandoned)
{
    CaptureFlags& capture = doc.m_capture;
    capture.m_uiOutOfSyncCount = 0;
    capture.m_uiMissedCount = 0;
    for (std::size_t c = 1; c < doc.m_cameras.m_uiNumCameras; ++c) {
        if (!WaitForFrames(doc, c, abandoned))
            return false;
        const std::uint32_t uiCount = CountDisagreements(doc, c);
        capture.m_uiOutOfSyncCount += uiCount;
        capture.m_uiMissedCount += uiCount;
    }
    UpdateMeasuredFps(doc);
    if (capture.m_uiOutOfSyncCount > 0)
        ShowMessage(doc.GetPlatform().window, messages::kOutOfSync, { std::int64_t { capture.m_uiOutOfSyncCount } });
    return true;
}

void CheckSynchronisation(CVireoDoc& doc, const CheckAbandoned& abandoned)
{
    if (AlignStartFrames(doc, abandoned))
        SyncCheck2(doc, abandoned);
}

} // namespace vireo
