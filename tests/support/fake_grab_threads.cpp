#include "support/fake_grab_threads.h"

#include "capture/strobe.h"

#include <utility>

namespace vireo {

void StartGrabThreads(CVireoDoc& doc, ThreadStartOrder eOrder)
{
    test::FakeGrabThreads& asked = test::GrabThreadsAsked();
    asked.starts.push_back(eOrder);
    asked.snapshots.push_back(doc.m_capture.m_running);
    asked.startRequests.push_back(doc.m_store.m_bStartRequest);
}

bool StopGrab(CVireoDoc& doc)
{
    const auto stopCameras = [&doc] {
        bool bStopped = true;
        for (std::size_t uiCamera = 0; uiCamera < doc.m_cameras.m_uiNumCameras; ++uiCamera)
            bStopped = CameraOf(doc, uiCamera).StopCapture().IsOk() && bStopped;
        return bStopped;
    };
    if (!doc.m_capture.m_bCapturing) {
        if (std::exchange(test::GrabThreadsAsked().bCamerasLeft, false))
            stopCameras();
        return true;
    }
    ++test::GrabThreadsAsked().iStops;
    doc.m_capture.m_bCapturing = false;
    doc.m_capture.m_bKeyWaitRun = false;
    for (auto& bRun : doc.m_capture.m_bGrabRun)
        bRun = false;
    SynchroStrobePost(doc);
    const bool bStopped = stopCameras();
    test::GrabThreadsAsked().bCamerasLeft = !bStopped;
    return bStopped;
}

namespace test {

FakeGrabThreads& GrabThreadsAsked()
{
    static FakeGrabThreads asked;
    return asked;
}

} // namespace test

} // namespace vireo
