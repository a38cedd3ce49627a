#include "camera/record_time.h"

#include "capture/messages.h"

#include <algorithm>
#include <limits>

namespace vireo {

namespace {

constexpr std::uint64_t kFileCapKiB = 2'097'152; // two GiB of file per camera

// Rates whose file limit is computed from a rounded frame size.
constexpr bool RoundsFrameSize(int iFps) { return iFps == 60 || iFps == 400; }

struct HighestRate {
    int iOthers; // fps, USB3 cameras only
    int iGigE; // fps, at least one GigE camera
};
constexpr HighestRate kHighestRates[] = {
    { 350, 250 }, // 640x480
    { 200, 100 }, // 1024x768
    { 200, 60 }, // 1280x720
    { 150, 30 }, // 1920x1080
};

int EntryOf(std::uint64_t uiUsableKiB, std::uint32_t uiCameras, std::uint32_t uiFps, std::uint32_t uiFrameKiB)
{
    const std::uint32_t uiKiBPerSecond = uiCameras * uiFps * uiFrameKiB;
    const std::uint64_t uiFileKiB = uiCameras * kFileCapKiB;
    const std::uint32_t uiRoundedKiB = uiCameras * uiFps * (uiFrameKiB / 20);
    std::uint64_t uiEntry = uiUsableKiB / (uiKiBPerSecond + 64);
    if (uiFileKiB / (uiKiBPerSecond / 20) < uiEntry)
        uiEntry = uiFileKiB / (RoundsFrameSize(static_cast<int>(uiFps)) ? uiRoundedKiB : uiKiBPerSecond / 20);
    return static_cast<int>(std::min<std::uint64_t>(uiEntry, std::numeric_limits<int>::max()));
}

} // namespace

RecordTimes MaxRecordSeconds(std::uint64_t uiAvailableKiB, unsigned int uiCameras, int iImageSizeIndex)
{
    const std::uint32_t uiFrameKiB = SlotBytes(iImageSizeIndex) >> 10;
    const std::uint64_t uiUsableKiB = uiAvailableKiB * 8 / 10;
    RecordTimes times {};
    for (std::size_t i = 0; i < times.size(); ++i)
        times[i] = EntryOf(uiUsableKiB, uiCameras, static_cast<std::uint32_t>(kFrameRates[i]), uiFrameKiB);
    return times;
}

void ComputeMaxRecordSec(CVireoDoc& doc, int iImageSizeIndex)
{
    const unsigned int uiCameras = doc.m_cameras.m_uiNumCameras;
    if (uiCameras < 1)
        return;
    const std::uint64_t uiHeldKiB = doc.m_store.m_arena ? doc.m_store.m_arena->ResidentKiB() : 0;
    const std::uint64_t uiAvailableKiB = doc.GetPlatform().memory.AvailableKiB() + uiHeldKiB;
    doc.m_parameters.m_iMaxRecordSec = MaxRecordSeconds(uiAvailableKiB, uiCameras, iImageSizeIndex);
}

int LongestRecordSec(const CaptureParameters& parameters, int iFps)
{
    const int iRate = RateIndex(iFps);
    if (iRate < 0)
        return kLongestRecordSec;
    return std::min(kLongestRecordSec, parameters.m_iMaxRecordSec[static_cast<std::size_t>(iRate)]);
}

std::optional<int> HighestRateOfSize(int iImageSizeIndex, bool bAnyGigE)
{
    if (iImageSizeIndex < 0 || iImageSizeIndex >= static_cast<int>(std::size(kHighestRates)))
        return std::nullopt;
    const HighestRate& row = kHighestRates[iImageSizeIndex];
    return bAnyGigE ? row.iGigE : row.iOthers;
}

bool HighestFrameRate(CVireoDoc& doc, int iSizeIndex, int& iRate)
{
    bool bAnyGigE = false;
    const unsigned int uiCameras = doc.m_cameras.m_uiNumCameras;
    for (std::size_t uiCamera = 0; uiCamera < uiCameras; ++uiCamera) {
        CameraInfo info;
        const Error error = CameraOf(doc, uiCamera).GetCameraInfo(info);
        const bool bAnswered = Passed(doc.GetPlatform().window, error, messages::kCameraInfoReadFailed);
        if (!bAnswered || !IsStrobeCapable(info.modelName)) {
            ComputeMaxRecordSec(doc, 0);
            return false;
        }
        bAnyGigE = bAnyGigE || Has(ClassifyModel(info.modelName), CameraModelKind::Gs3GigE);
    }

    ComputeMaxRecordSec(doc, iSizeIndex);
    const std::optional<int> highest = HighestRateOfSize(iSizeIndex, bAnyGigE);
    if (!highest)
        return false;
    iRate = *highest;
    doc.m_parameters.m_strCameraQuery = FormatMessage(messages::kHighestRate, { iRate });
    return true;
}

} // namespace vireo
