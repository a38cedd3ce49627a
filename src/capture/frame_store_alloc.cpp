#include "capture/frame_store_alloc.h"

#include "camera/vireo_doc.h"
#include "capture/messages.h"
#include "capture/recording_marks.h"

#include <algorithm>
#include <new>

namespace vireo {

namespace {

constexpr int kFirstSeconds = 2; // worth of frames to touch before capture may start
constexpr ClockTime kFirstLimit = kNsPerSecond; // but no longer than this

// Takes the store down, but leaves the memory to the arena.
void EmptyStore(CVireoDoc& doc)
{
    FrameStore& store = doc.m_store;
    if (!store.Exists())
        return;
    store.m_arena->StopTouching();
    for (unsigned int uiCamera = 0; uiCamera < store.m_uiCameras; ++uiCamera) {
        store.m_evidence[uiCamera] = {};
        store.m_bRecordDone[uiCamera] = false;
        store.m_isaveFrameCount[uiCamera] = kIdleFrameCount;
    }
    store.m_iAllocatedFrames = 0;
    store.m_uiCameras = 0;
    store.m_iStartMark = -1;
    store.m_iStopMark = -1;
    store.m_bStartRequest = false;
    store.m_bStopRequest = false;
    store.m_uiDoneCameras = 0;
    ResetMarks(doc);
}

// Beyond the stated check, whose product may also wrap to something small: more than everything that is
// free cannot work out.
bool FitsAtAll(std::uint64_t uiAvailableKiB, int iFrames, unsigned int uiCameras, std::uint32_t uiSlotBytes)
{
    const std::uint64_t uiCameraKiB = static_cast<std::uint64_t>(iFrames) * (uiSlotBytes / 1024);
    return uiCameras == 0 || uiCameraKiB <= uiAvailableKiB / uiCameras;
}

// Builds `iFrames` slots per camera. False leaves the store empty, without memory.
bool BuildStore(FrameStore& store, int iFrames, unsigned int uiCameras, std::uint32_t uiSlotBytes)
{
    bool bBuilt = false;
    try {
        store.EnsureCameras(uiCameras);
        bBuilt = iFrames > 0
            && store.m_arena->Reserve(uiCameras, static_cast<std::uint64_t>(iFrames) * SlotStride(uiSlotBytes));
        for (unsigned int uiCamera = 0; bBuilt && uiCamera < uiCameras; ++uiCamera)
            store.m_evidence[uiCamera].assign(static_cast<std::size_t>(iFrames), FrameEvidence {});
    } catch (const std::bad_alloc&) {
        bBuilt = false;
    }
    if (!bBuilt) {
        for (auto& evidence : store.m_evidence)
            evidence = {};
        store.m_arena->Release();
        return false;
    }
    for (auto& uiCount : store.m_uiColdSlots)
        uiCount = 0;
    for (auto& uiCount : store.m_uiTruncated)
        uiCount = 0;
    store.m_iAllocatedFrames = iFrames;
    store.m_uiCameras = uiCameras;
    store.m_uiSlotBytes = uiSlotBytes;
    return true;
}

void StartTouching(CVireoDoc& doc)
{
    const auto iFirstFrames = std::clamp<std::int64_t>(
        std::int64_t { kFirstSeconds } * doc.m_parameters.m_iFps, 0, doc.m_store.m_iAllocatedFrames);
    WindowSystem& window = doc.GetPlatform().window;
    const CaptureParameters& parameters = doc.m_parameters;
    doc.m_store.m_arena->StartTouching(static_cast<std::uint64_t>(iFirstFrames) * SlotStride(doc.m_store.m_uiSlotBytes),
        doc.GetPlatform().clock.Now() + kFirstLimit,
        [&window, iRecordSec = parameters.m_iRecordSec, iFps = parameters.m_iFps] {
            ShowMessage(window, messages::kMemoryShort, { iRecordSec, iFps });
        });
}

} // namespace

bool AllocateFrameStore(CVireoDoc& doc)
{
    FrameStore& store = doc.m_store;
    CaptureParameters& parameters = doc.m_parameters;
    const int iFrames = BufferFramesFor(parameters.m_iRecordSec, parameters.m_iFps);
    const unsigned int uiCameras = doc.m_cameras.m_uiNumCameras;
    const std::uint32_t uiSlotBytes = SlotBytes(parameters.m_iImageSizeIndex);

    EmptyStore(doc);
    Memory& memory = doc.GetPlatform().memory;
    if (!store.m_arena)
        store.m_arena = memory.CreateArena();

    // What the old store held is used again or given back first.
    const std::uint64_t uiAvailableKiB = memory.AvailableKiB() + store.m_arena->ResidentKiB();
    const bool bFits = HasMemoryFor(uiAvailableKiB, iFrames, uiCameras, uiSlotBytes);
    const bool bRequested = bFits && FitsAtAll(uiAvailableKiB, iFrames, uiCameras, uiSlotBytes)
        && BuildStore(store, iFrames, uiCameras, uiSlotBytes);
    if (bRequested) {
        store.m_iBufferFrames = iFrames;
        StartTouching(doc);
        return true;
    }

    ShowMessage(doc.GetPlatform().window, messages::kNoBuffer, { parameters.m_iRecordSec, parameters.m_iFps });
    parameters.m_iRecordSec = 1;
    // The shorter record time takes effect in the next allocation; until then the size before this call
    // stays, if it can be had with the new slot size at all. If it was the request itself that could not be
    // had, nothing smaller is tried.
    if (!bFits && FitsAtAll(uiAvailableKiB, store.m_iBufferFrames, uiCameras, uiSlotBytes)
        && BuildStore(store, store.m_iBufferFrames, uiCameras, uiSlotBytes))
        StartTouching(doc);
    else
        store.m_arena->Release();
    return false;
}

void FreeFrameStore(CVireoDoc& doc)
{
    if (!doc.m_store.Exists())
        return;
    EmptyStore(doc);
    doc.m_store.m_arena->Release();
}

bool StoreIsShort(const CVireoDoc& doc) { return doc.m_store.m_arena && doc.m_store.m_arena->IsShort(); }

} // namespace vireo
