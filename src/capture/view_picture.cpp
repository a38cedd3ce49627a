#include "capture/view_picture.h"

#include <algorithm>
#include <cstring>
#include <mutex>

namespace vireo {

namespace {

std::uint8_t* ShapePicture(ViewImage& view, const CaptureSnapshot& running)
{
    return view.m_viewImage.Reshape(static_cast<std::uint32_t>(std::max(running.iHeight, 0)),
        static_cast<std::uint32_t>(std::max(running.iWidth, 0)),
        running.bView24 ? PixelFormat::Bgr : PixelFormat::Bgru);
}

} // namespace

void PrepareView(CVireoDoc& doc, std::size_t uiCamera)
{
    ViewImage& view = doc.m_capture.m_view[uiCamera];
    std::lock_guard lock(view.m_csView);
    ShapePicture(view, doc.m_capture.m_running);
}

Error ShowInView(CVireoDoc& doc, std::size_t uiCamera, const Image& frame)
{
    const CaptureSnapshot& running = doc.m_capture.m_running;
    ViewImage& view = doc.m_capture.m_view[uiCamera];
    ImageView source = frame.View();
    std::lock_guard lock(view.m_csView);
    std::uint8_t* pPixels = ShapePicture(view, running);
    const Image& picture = view.m_viewImage;
    if (source.uiRows != view.m_uiFrameRows || source.uiCols != view.m_uiFrameCols) {
        view.m_uiFrameRows = source.uiRows;
        view.m_uiFrameCols = source.uiCols;
        if (picture.GetDataSize() > 0)
            std::memset(pPixels, 0, picture.GetDataSize());
    }
    source.uiRows = std::min(source.uiRows, picture.GetRows());
    source.uiCols = std::min(source.uiCols, picture.GetCols());
    Error error = doc.GetPlatform().converter.Convert(source, picture.GetPixelFormat(), pPixels, picture.GetStride());
    if (error.IsOk())
        view.m_viewImage.SetArrivalTime(frame.GetArrivalTime());
    return error;
}

} // namespace vireo
