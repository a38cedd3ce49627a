#pragma once
#include "camera/operator_actions.h"
#include "support/camera_document.h"
#include "support/fake_grab_threads.h"

#include <stdexcept>

namespace vireo::test {

using Texts = std::vector<std::string>;

/// An open document that captures without threads: what is called and asked is the test's own doing.
class OpenDocument : public CameraDocument {
public:
    explicit OpenDocument(
        std::string_view strSource = "simulated:2xFL3-U3-13Y3M", const CooperationRequest& request = {})
        : CameraDocument(strSource, request)
    {
        if (!Open())
            throw std::runtime_error("cannot open");
        Doc().m_naming.m_strSaveFolder = m_folder.Path();
        Doc().m_naming.m_strFileTitle = "take";
        Forget();
    }
    void Forget()
    {
        CameraDocument::Forget();
        GrabThreadsAsked() = {};
    }
    CaptureFlags& Flags() { return Doc().m_capture; }
    FrameStore& Store() { return Doc().m_store; }
    WindowRecord Asked() const { return m_test.m_window.Record(); }

    /// What a recording of `iFrames` frames of every camera leaves, the capture stopped.
    void MakeRecording(int iFrames)
    {
        FrameStore& store = Store();
        store.m_geometry.uiRows = 480;
        store.m_geometry.uiCols = 640;
        store.m_geometry.uiStride = 640;
        store.m_geometry.uiDataSize = 640 * 480;
        store.m_geometry.uiPixelFormat = static_cast<std::uint32_t>(PixelFormat::Raw8);
        store.m_iRecordTarget = iFrames;
        for (unsigned int c = 0; c < Doc().m_cameras.m_uiNumCameras; ++c) {
            store.m_istartFrame[c] = 3;
            store.m_iendFrame[c] = 9 + iFrames;
            store.m_isaveFrameCount[c] = iFrames + 6;
            store.m_iLastFrame[c] = 8 + iFrames;
            store.m_bRecordDone[c] = true;
        }
        store.m_iStartMark = 3;
        store.m_iStopMark = 12;
        store.m_uiDoneCameras = Doc().m_cameras.m_uiNumCameras.load();
        StopGrab(Doc());
        Forget();
    }
};

} // namespace vireo::test
