#pragma once
#include "display/vireo_view.h"
#include "support/camera_document.h"
#include "support/qt_tools.h"

#include <QMdiArea>
#include <QMdiSubWindow>

namespace vireo::test {

/// Views in an area, over a document whose pictures the test makes. No camera is opened.
class ViewFixture : public testing::Test {
protected:
    ViewFixture()
    {
        m_area.resize(1400, 1200);
        m_area.show();
        Doc().m_parameters.InitialCameraNumber = 1;
        for (std::size_t uiCamera = 0; uiCamera < 4; ++uiCamera)
            Doc().m_cameras.m_uiSerialNumber[uiCamera] = 13000001 + static_cast<std::uint32_t>(uiCamera);
    }

    CVireoDoc& Doc() { return m_document.Doc(); }

    /// A new view in a frame, drawing nothing yet.
    CVireoView& OpenView(DrawingPath path = {}, ViewHooks hooks = {}, AffinePainter::MakeSurface makeSurface = {},
        std::shared_ptr<GlDriver> glDriver = {})
    {
        auto* pView =
            new CVireoView(Doc(), std::move(hooks), path, nullptr, std::move(makeSurface), std::move(glDriver));
        QMdiSubWindow* pFrame = m_area.addSubWindow(pView);
        pFrame->resize(pFrame->sizeHint());
        m_bPlaced = pView->OnInitialUpdate();
        pFrame->show();
        Pump();
        return *pView;
    }
    static QMdiSubWindow& FrameOf(CVireoView& view) { return *qobject_cast<QMdiSubWindow*>(view.parentWidget()); }

    /// Gives a camera a picture: grey, with a white pixel at its right bottom corner.
    void SetPicture(std::size_t uiCamera, std::uint32_t uiWidth, std::uint32_t uiHeight, std::uint8_t uiGrey = 100,
        PixelFormat eFormat = PixelFormat::Bgru)
    {
        ViewImage& view = Doc().m_capture.m_view[uiCamera];
        const std::lock_guard lock(view.m_csView);
        std::uint8_t* pPixels = view.m_viewImage.Reshape(uiHeight, uiWidth, eFormat);
        const std::size_t uiSize = view.m_viewImage.GetDataSize();
        std::fill_n(pPixels, uiSize, uiGrey);
        std::fill_n(pPixels + uiSize - BytesPerPixel(eFormat), BytesPerPixel(eFormat), std::uint8_t { 255 });
    }

    CameraDocument m_document { "simulated" };
    QMdiArea m_area;
    bool m_bPlaced = false; ///< the view opened last had a stored place
};

} // namespace vireo::test
