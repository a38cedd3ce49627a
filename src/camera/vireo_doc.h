#pragma once
#include "app/vireo_app.h"
#include "camera/camera_model_kind.h"
#include "camera/camera_slots.h"
#include "camera/capture_parameters.h"
#include "camera/naming.h"
#include "capture/capture_state.h"
#include "capture/frame_store.h"

#include <memory>

namespace vireo {

class GrabThreads;

/// The single document: the state of every subsystem, composed. It holds no rules of its own; each
/// subsystem's operations are free functions that take the document.
///
/// Threads: made, opened and closed on the user-interface thread. The structs say who may touch what
/// while grab threads run.
class CVireoDoc {
public:
    /// Sets every field to its default; touches no camera. The application and the platform behind it
    /// outlive the document.
    explicit CVireoDoc(CVireoApp& app);
    /// Joins what still runs and releases what close has not.
    ~CVireoDoc();
    CVireoDoc(const CVireoDoc&) = delete;
    CVireoDoc& operator=(const CVireoDoc&) = delete;

    CVireoApp& App() { return m_app; }
    Platform& GetPlatform() { return m_app.GetPlatform(); }
    const CooperationRequest& Request() const { return m_app.Request(); }

    CaptureParameters m_parameters;
    Naming m_naming;
    Windows m_windows;
    FrameStore m_store;
    CaptureFlags m_capture;
    CameraSlots m_cameras; ///< released before the store, which outlives whoever fills it

    std::int64_t m_llClockFrequency; ///< performance counter, counts per second
    std::int64_t m_llClockBase; ///< counter value at construction

    std::shared_ptr<GrabThreads>
        m_grabThreads; ///< the running threads; its deleter ends and joins them before the cameras go

private:
    CVireoApp& m_app;
};

/// The camera behind a slot; the slot must hold one.
inline CameraBase& CameraOf(CVireoDoc& doc, std::size_t uiCamera) { return *doc.m_cameras.m_ppCameraBase[uiCamera]; }

} // namespace vireo
