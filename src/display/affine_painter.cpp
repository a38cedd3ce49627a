#include "display/affine_painter.h"

#include <QPainter>
#include <QTransform>
#include <cstring>
#include <utility>

namespace vireo {

AffinePainter::AffinePainter(MakeSurface makeSurface)
    : m_makeSurface(std::move(makeSurface))
{
    if (!m_makeSurface)
        m_makeSurface = [](QSize size) { return QImage(size, QImage::Format_RGB32); };
}

bool AffinePainter::CreateDeviceResources(QSize size)
{
    if (m_surface.isNull())
        m_surface = m_makeSurface(size);
    return !m_surface.isNull();
}

void AffinePainter::Resize(QSize size)
{
    if (!m_surface.isNull() && m_surface.size() != size)
        m_surface = m_makeSurface(size);
}

void AffinePainter::DiscardDeviceResources()
{
    m_surface = {};
    m_bitmap = {};
}

bool AffinePainter::UpdateBitmap(const Image& image)
{
    if (m_surface.isNull() || image.GetData() == nullptr || image.GetPixelFormat() != PixelFormat::Bgru)
        return false;
    const QSize size(static_cast<int>(image.GetCols()), static_cast<int>(image.GetRows()));
    if (m_bitmap.size() != size) {
        QImage bitmap = m_makeSurface(size);
        if (bitmap.isNull())
            return false;
        m_bitmap = std::move(bitmap);
    }
    for (int iRow = 0; iRow < size.height(); ++iRow)
        std::memcpy(m_bitmap.scanLine(iRow),
            image.GetData() + std::size_t { image.GetStride() } * static_cast<unsigned>(iRow),
            static_cast<std::size_t>(size.width()) * 4);
    return true;
}

bool AffinePainter::Draw(const AffineTransform& transform)
{
    if (m_surface.isNull() || m_bitmap.isNull())
        return false;
    m_surface.fill(Qt::black);
    QPainter painter(&m_surface);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setTransform(QTransform(transform._11, transform._12, transform._21, transform._22,
        static_cast<qreal>(transform._31), static_cast<qreal>(transform._32)));
    painter.drawImage(0, 0, m_bitmap);
    return true;
}

} // namespace vireo
