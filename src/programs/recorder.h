#pragma once
#include "app/recording_preset.h"
#include "app/vireo_app.h"
#include "capture/take_report.h"
#include "platform/headless/headless_window.h"
#include "programs/record_options.h"

#include <functional>
#include <string>

namespace vireo {

class CVireoDoc;

namespace record_status {
constexpr int kSaved = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;
constexpr int kStrict = 3; ///< saved, but frames are missed (also before the recording) or out of sync
} // namespace record_status

/// How a recording without a window ended.
struct RecordOutcome {
    int iStatus = record_status::kSaved;
    std::string strError; ///< one line; empty when all went well
    bool bRecorded = false; ///< there was something to save
    TakeReport report;
};

/// One recording from the first camera found to the last file written, for scripts and servers.
class Recorder {
public:
    /// `stopRequests` tells how often the program was asked to stop so far; any number above 0 ends the
    /// recording and saves what there is. `progress` gets a short text now and then. Both are called on
    /// the calling thread.
    Recorder(CVireoApp& app, HeadlessWindow& window, RecordOptions options, std::function<int()> stopRequests,
        std::function<void(const std::string&)> progress);

    /// Records and saves. User-interface thread.
    RecordOutcome Run();

private:
    bool Fail(int iStatus, std::string strError);
    void BeginStep();
    bool FailWithMessage(const char* pInstead);
    bool Discover(CVireoDoc& doc);
    bool CheckRate(CVireoDoc& doc);
    bool CheckModelRates(CVireoDoc& doc, const RecordingPreset& preset);
    bool CheckTargets(CVireoDoc& doc);
    bool Apply(CVireoDoc& doc);
    bool WaitLive(CVireoDoc& doc);
    bool Record(CVireoDoc& doc);
    bool EndRecording(CVireoDoc& doc, const char* pGivenUp);
    void NameLostCameras(CVireoDoc& doc);
    void SaveTake(CVireoDoc& doc);
    RecordingPreset Values();

    CVireoApp& m_app;
    HeadlessWindow& m_window;
    const RecordOptions m_options;
    std::function<int()> m_stopRequests;
    std::function<void(const std::string&)> m_progress;
    bool m_bExitPosted = false;
    std::size_t m_uiToldBefore = 0; ///< messages that earlier steps have shown
    RecordOutcome m_outcome;
};

} // namespace vireo
