#pragma once
#include "capture/grab_loop.h"

#include <cstddef>
#include <memory>

namespace vireo {

/// Camera 0: begins and ends recordings, measures the frame rate, counts missed frames, notifies the partner.
class MasterRole : public GrabRole {
public:
    void Begin(GrabLoop& loop) override;
    bool BeginPass(GrabLoop& loop) override;
    bool SkipsTimeout() const override { return true; }
    void ShowFetchFailure(GrabLoop& loop, const Error& error) override;
    bool SetsAside(GrabLoop& loop) override;
    void BeforeCount(GrabLoop& loop) override;
    void AfterCount(GrabLoop& loop, const RecordingPlace& place) override;
    void Done(GrabLoop& loop) override;
    void EndPass(GrabLoop& loop) override;
    void Leave(GrabLoop& loop) override;

private:
    void BeginRecording(GrabLoop& loop);
    void Complete(GrabLoop& loop);
    void FirstFrame(GrabLoop& loop);
    void StoreOnceMore(GrabLoop& loop);
    void TakeStopRequest(GrabLoop& loop);
    void TellFinished(GrabLoop& loop);
    void CountMissed(GrabLoop& loop);

    bool m_bStrobeCapable = true; ///< camera 0 is one of the models that skip the checks at the end
    bool m_bDiscard = false; ///< the first frame is still to be set aside
    bool m_bAhead = false; ///< one frame was set aside: the ring's slots are one exposure early
    bool m_bWatching = false; ///< the linear loop fetches while it waits for the trigger
    bool m_bRefused = false; ///< a recording was refused, and logged
    bool m_bFinished = false; ///< the target of this recording was reached
    bool m_bMissedEnded = false; ///< and its last frame was looked at
    double m_dPreviousTime = 0.0; ///< s; 0 = none
};

/// Cameras 1 to 3.
class SlaveRole : public GrabRole {
public:
    void ShowFetchFailure(GrabLoop& loop, const Error& error) override;
    void BeforeCount(GrabLoop& loop) override;
    void AfterCount(GrabLoop& loop, const RecordingPlace& place) override;
    void Leave(GrabLoop& loop) override;
};

std::unique_ptr<GrabRole> MakeGrabRole(std::size_t uiCamera);

} // namespace vireo
