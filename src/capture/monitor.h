#pragma once
#include "capture/grab_threads.h"
#include "capture/stall_watch.h"

#include <string>

namespace vireo {

/// Watches a running capture, once per millisecond: counts frames out of step, puts the trigger level back
/// after a start pulse, shows the key prompts, and lets a camera fail that has fallen silent.
class Monitor {
public:
    Monitor(CVireoDoc& doc, GrabThreads& threads);
    /// Until the monitor's run flag is cleared.
    void Run();

private:
    void Pass();
    void FailStalledCamera();
    void CountOutOfStep();
    void RestoreLevel();
    void ShowPrompt();

    CVireoDoc& m_doc;
    GrabThreads& m_threads;
    bool m_bStrobeCapable = true;
    bool m_bPrompts = false;
    StallWatch m_stalls;
    int m_iCountedFrame = -1; ///< camera 0's slot at which a frame was counted last
    std::string m_strTitle; ///< shown last
};

/// Body of the monitor thread.
void RunMonitor(CVireoDoc& doc, GrabThreads& threads);

} // namespace vireo
