#include "camera/vireo_doc.h"

namespace vireo {

CaptureFlags::CaptureFlags()
{
    for (auto& bEnded : m_bThreadEnded)
        bEnded = true; // no thread has been started yet
}

CVireoDoc::CVireoDoc(CVireoApp& app)
    : m_llClockFrequency(Clock::Frequency())
    , m_llClockBase(app.GetPlatform().clock.Now())
    , m_app(app)
{
    m_naming.m_strFilePath = m_naming.m_strSaveFolder + "\\" + m_naming.m_strFileTitle;
}

CVireoDoc::~CVireoDoc() = default;

} // namespace vireo
