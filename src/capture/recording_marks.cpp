#include "capture/recording_marks.h"

#include "camera/vireo_doc.h"

namespace vireo {

void ResetMarks(CVireoDoc& doc)
{
    CaptureFlags& capture = doc.m_capture;
    capture.m_iMarkStart = 0;
    capture.m_iMarkEnd = doc.m_store.m_iRecordTarget - 1;
    capture.m_iSaveFirstFrame = 0;
    capture.m_iSaveLastFrame = -1;
}

} // namespace vireo
