#pragma once
#include "app/recording_preset.h"
#include "platform/image.h"

#include <QImage>
#include <functional>

namespace vireo {

/// Draws a picture through a view transform: a copy of the picture, and a surface of the view's size that
/// it is drawn on. User-interface thread.
class AffinePainter {
public:
    /// Makes a surface; null when it cannot be had. Tests bring their own.
    using MakeSurface = std::function<QImage(QSize)>;
    explicit AffinePainter(MakeSurface makeSurface = {});

    /// Whether a copy of a picture of this size can be kept.
    [[nodiscard]] bool CanStore(QSize size) const { return !m_makeSurface(size).isNull(); }
    /// The surface, when there is none yet. False when it cannot be had.
    bool CreateDeviceResources(QSize size);
    /// Another size for an existing surface, device pixels.
    void Resize(QSize size);
    void DiscardDeviceResources();
    /// Takes a copy of a Bgru picture. False, with the old copy kept, without a surface or memory.
    bool UpdateBitmap(const Image& image);
    /// The picture through the transform, the rest black. False without surface or picture.
    bool Draw(const AffineTransform& transform);

    [[nodiscard]] const QImage& Surface() const { return m_surface; }
    [[nodiscard]] const QImage& Bitmap() const { return m_bitmap; }

private:
    MakeSurface m_makeSurface;
    QImage m_surface;
    QImage m_bitmap;
};

} // namespace vireo
