#pragma once
#include "camera/vireo_doc.h"

#include <array>
#include <cstdint>
#include <optional>

namespace vireo {

/// One entry for each of kFrameRates.
using RecordTimes = std::array<int, kFrameRates.size()>;

constexpr int kLongestRecordSec = 3600; ///< s, where nothing else sets a limit

/// The longest record time in seconds per frame rate, from what memory and two GiB of file per camera
/// allow. `uiCameras` is at least 1.
RecordTimes MaxRecordSeconds(std::uint64_t uiAvailableKiB, unsigned int uiCameras, int iImageSizeIndex);

/// Fills m_iMaxRecordSec for the connected cameras and an image size. What the frame store holds counts as
/// available: it is given back before the next one is built. Changes nothing without cameras.
void ComputeMaxRecordSec(CVireoDoc& doc, int iImageSizeIndex);

/// The longest record time at a frame rate: its entry of m_iMaxRecordSec, never above kLongestRecordSec.
int LongestRecordSec(const CaptureParameters& parameters, int iFps);

/// The highest frame rate of an image size in fps; one GigE camera lowers it for all. None for a size index
/// outside 0..3.
std::optional<int> HighestRateOfSize(int iImageSizeIndex, bool bAnyGigE);

/// Asks the connected cameras for the highest frame rate of an image size. Recomputes m_iMaxRecordSec for
/// it and keeps the answer's text in m_strCameraQuery.
/// False, with `iRate` as it was: a camera did not answer (shown) or is none of the six models, and
/// m_iMaxRecordSec stands for size 0 then; or there is no such size.
bool HighestFrameRate(CVireoDoc& doc, int iSizeIndex, int& iRate);

} // namespace vireo
