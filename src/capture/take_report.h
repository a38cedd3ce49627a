#pragma once
#include "platform/camera_types.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vireo {

class CVireoDoc;

/// What is known of one recorded frame.
struct FrameSample {
    double dDeviceTime = 0.0; ///< embedded time, s, wrapping every 128 s
    std::int64_t iExposure = -1; ///< number among the camera's exposures; -1 = the frame stands in for a lost one
    ClockTime arrival = 0; ///< when the host had it, ns
};

/// The evidence of one camera's recording.
struct CameraEvidence {
    int iNumber = 0; ///< in file names and titles
    std::uint32_t uiSerial = 0;
    std::string strModel;
    InterfaceType eInterface = InterfaceType::Unknown;
    std::uint32_t uiClockDomain = 0; ///< cameras of one domain share a clock
    std::vector<FrameSample> frames;
    int iLostBefore = 0; ///< frames lost between capture start and recording
    StreamStatistics statistics;
    std::uint64_t uiColdSlots = 0; ///< frames of the take that were written to memory not touched before
    bool bLost = false; ///< the camera went, or fell silent, before the take was whole
};

/// The evidence of one take.
struct TakeEvidence {
    int iFps = 30; ///< as asked for
    int iTarget = 0; ///< frames that each camera was to record
    int iCutFrom = 0; ///< the target before a camera failed in mid-take; 0 = none did
    bool bTriggered = false; ///< the cameras expose on common edges; else each on its own
    bool bOutsideTrigger = false; ///< the edges come from outside, at a pace of their own
    std::vector<CameraEvidence> cameras;
};

enum class Verdict {
    InSync, ///< no gap, no fault
    FramesMissed, ///< a frame is missing on some camera
    OutOfSync, ///< none is missing, but the instants differ
    NotChecked, ///< the evidence does not suffice
};
/// "in sync", "frames missed", "out of sync", "not checked".
const char* VerdictText(Verdict eVerdict);

/// A loss within the recording.
struct Gap {
    int iFrame = 0; ///< index of the frame behind the loss
    int iMissing = 0; ///< frames missing before it
    friend bool operator==(const Gap&, const Gap&) = default;
};

struct CameraReport {
    int iNumber = 0;
    std::uint32_t uiSerial = 0;
    std::string strModel;
    InterfaceType eInterface = InterfaceType::Unknown;
    std::vector<std::string> files; ///< filled in by who saves
    int iFirstSaved = 0; ///< index of the files' first frame in the recording; filled in by who saves
    int iSaved = 0; ///< frames handed to the files; filled in by who saves
    int iReadBack = -1; ///< frames found in the files after saving; -1 = not looked at; filled in by who saves
    int iFrames = 0;
    double dFirstTimestamp = 0.0; ///< s, as embedded
    std::vector<Gap> gaps;
    int iLostBefore = 0;
    double dMaxIntervalUs = 0.0;
    double dMaxOffsetUs = 0.0; ///< largest residual against camera 0
    double dClockPpm = 0.0; ///< rate of the camera's clock against the host's
    StreamStatistics statistics;
    std::uint64_t uiColdSlots = 0;
    bool bLost = false;
    std::vector<double> offsetsUs; ///< residual of every frame against camera 0; empty when it cannot be told
    bool bCompared = false; ///< whether the residuals could be trusted; true for camera 0
    std::vector<double> times; ///< embedded time of every frame, s, without its wraps
    std::vector<std::int64_t> exposures; ///< number of every frame; -1 = it stands in for a lost one
};

struct TakeReport {
    int iFpsRequested = 0;
    double dFpsMeasured = 0.0;
    int iFrames = 0; ///< target
    std::uint32_t uiMissed = 0; ///< the document's counters, as the status bar shows them
    std::uint32_t uiOutOfSync = 0;
    double dRecordSeconds = 0.0;
    double dSaveSeconds = 0.0;
    std::uint64_t uiStoreKiB = 0;
    Verdict eVerdict = Verdict::NotChecked;
    std::string strReason; ///< one line; empty for "in sync"
    double dOffsetLimitUs = 0.0; ///< a frame is out of sync beyond this residual
    std::vector<CameraReport> cameras;
};

/// Judges a take from every frame of every camera. Pure.
///
/// Times of one clock domain are compared as they are. A clock of its own is laid over the host's by the
/// line under all its (device time, arrival - device time) points that lies closest to them: frames can
/// arrive late but never early, so neither the offset nor the rate rests on the pairing that is judged.
TakeReport JudgeTake(const TakeEvidence& evidence);

/// The camera is gone or fell silent since the capture began. User-interface thread.
bool IsCameraLost(CVireoDoc& doc, std::size_t uiCamera);

/// The evidence of the recording that stands in the document's store, after its threads have ended.
/// User-interface thread.
TakeEvidence CollectTake(CVireoDoc& doc);

/// CollectTake and JudgeTake, with the document's counters; files and save time are still to be filled in.
TakeReport ReportTake(CVireoDoc& doc);

} // namespace vireo
