#include "camera/vireo_doc.h"
#include "capture/grab_threads.h"
#include "capture/take_report.h"

#include <algorithm>

namespace vireo {

bool IsCameraLost(CVireoDoc& doc, std::size_t uiCamera)
{
    CameraInfo info;
    const bool bSilent =
        doc.m_grabThreads && uiCamera < doc.m_grabThreads->Cameras() && doc.m_grabThreads->Status(uiCamera).m_bStalled;
    return bSilent || !CameraOf(doc, uiCamera).GetCameraInfo(info).IsOk();
}

TakeEvidence CollectTake(CVireoDoc& doc)
{
    const CaptureSnapshot& running = doc.m_capture.m_running;
    const FrameStore& store = doc.m_store;
    TakeEvidence evidence;
    evidence.iFps = running.iFps;
    evidence.iTarget = store.m_iRecordTarget;
    evidence.iCutFrom = store.m_iCutFrom;
    evidence.bTriggered = running.iMode == capture_mode::kRing;
    evidence.bOutsideTrigger = evidence.bTriggered && running.bTriggerWaitRing;
    for (unsigned int c = 0; doc.m_grabThreads && c < doc.m_grabThreads->Cameras(); ++c) {
        CameraEvidence camera;
        camera.iNumber = static_cast<int>(c) + running.iFirstCamera;
        camera.uiSerial = running.serials[c];
        camera.strModel = running.models[c];
        camera.eInterface = running.interfaces[c];
        camera.uiClockDomain = running.clockDomains[c];
        camera.iLostBefore = store.m_iLostBefore[c];
        camera.statistics = CameraOf(doc, c).GetStreamStatistics();
        const int iFrames = std::clamp(store.m_isaveFrameCount[c].load(), 0, std::max(evidence.iTarget, 0));
        camera.frames.reserve(static_cast<std::size_t>(iFrames));
        for (int i = 0; i < iFrames; ++i) {
            const int iSlot = RingSlot(store.m_istartFrame[c], i, store.m_iBufferFrames);
            if (store.Slot(c, iSlot) == nullptr)
                break;
            const FrameEvidence& frame = store.m_evidence[c][static_cast<std::size_t>(iSlot)];
            camera.uiColdSlots += frame.bCold ? 1 : 0;
            camera.frames.push_back({ store.SlotTime(c, iSlot), frame.iExposure, frame.arrival });
        }
        // A camera that goes when its take is whole has lost nothing.
        const bool bWhole = evidence.iCutFrom == 0 && iFrames >= evidence.iTarget;
        camera.bLost = !bWhole && IsCameraLost(doc, c);
        evidence.cameras.push_back(std::move(camera));
    }
    return evidence;
}

TakeReport ReportTake(CVireoDoc& doc)
{
    TakeReport report = JudgeTake(CollectTake(doc));
    report.uiMissed = doc.m_capture.m_uiMissedCount;
    report.uiOutOfSync = doc.m_capture.m_uiOutOfSyncCount;
    report.uiStoreKiB = std::uint64_t { doc.m_store.m_uiSlotBytes }
        * static_cast<unsigned>(doc.m_store.m_iAllocatedFrames) * doc.m_store.m_uiCameras / 1024;
    return report;
}

} // namespace vireo
