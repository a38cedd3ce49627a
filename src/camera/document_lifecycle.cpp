#include "camera/document_lifecycle.h"

#include "camera/camera_connection.h"
#include "camera/document_settings.h"
#include "capture/frame_store_alloc.h"
#include "capture/grab_threads.h"

namespace vireo {

void OnCloseDocument(CVireoDoc& doc)
{
    // Before its flag is cleared: a stop that finds the flag clear would leave threads on the cameras.
    StopGrab(doc);
    doc.m_capture.m_bCapturing = false;
    doc.m_grabThreads.reset(); // joins also a thread that was late to leave its camera
    if (doc.m_windows.m_bControlPanelShown)
        ToggleControlPanel(doc);
    ReleaseCameras(doc);
    FreeFrameStore(doc);
    doc.m_cameras.m_uiNumCameras = 0;
    SaveFileList(doc);
}

void ToggleControlPanel(CVireoDoc& doc)
{
    WindowSystem& window = doc.GetPlatform().window;
    const bool bShow = !doc.m_windows.m_bControlPanelShown;
    window.ShowControlPanel(bShow); // places it where it was, or keeps where it is
    doc.m_windows.m_bControlPanelShown = bShow;
    if (bShow)
        window.RefreshPanel();
}

} // namespace vireo
