#include "display/view_transform.h"

namespace vireo {

namespace {

constexpr int kStepSquared = 25; ///< shorter moves are trembling
constexpr float kScalePerPixel = 0.1F / 30.0F; ///< 30 pixels are 10 %

ViewPoint Reference(const MouseState& mouse) { return mouse.m_ptLast != kNoPoint ? mouse.m_ptLast : mouse.m_ptAnchor; }

} // namespace

void LeftButtonDown(MouseState& mouse, ViewPoint point)
{
    mouse.m_bLButton = true;
    mouse.m_bPanning = false;
    mouse.m_ptAnchor = point;
}

void LeftButtonUp(MouseState& mouse)
{
    mouse.m_bLButton = false;
    if (!mouse.m_bRButton)
        mouse.m_ptLast = kNoPoint;
    mouse.m_bPanning = false;
}

void RightButtonDown(MouseState& mouse, ViewPoint point)
{
    mouse.m_bRButton = true;
    mouse.m_ptAnchor = point;
}

void RightButtonUp(MouseState& mouse)
{
    mouse.m_bRButton = false;
    mouse.m_ptLast = kNoPoint;
}

bool MouseMove(MouseState& mouse, AffineTransform& transform, ViewPoint point)
{
    if (!mouse.m_bRButton)
        return false;
    const ViewPoint reference = Reference(mouse);
    const int iX = point.x - reference.x;
    const int iY = point.y - reference.y;
    if (mouse.m_bLButton) {
        mouse.m_bPanning = true;
        if (iX * iX + iY * iY < kStepSquared)
            return false;
        transform = Translated(transform, static_cast<float>(iX), static_cast<float>(iY));
    } else {
        if (iY * iY < kStepSquared)
            return false;
        transform = ScaledAbout(transform, 1.0F - static_cast<float>(iY) * kScalePerPixel, mouse.m_ptAnchor);
    }
    mouse.m_ptLast = point;
    return true;
}

AffineTransform Translated(const AffineTransform& transform, float fX, float fY)
{
    AffineTransform result = transform;
    result._31 += fX;
    result._32 += fY;
    return result;
}

AffineTransform ScaledAbout(const AffineTransform& transform, float fScale, ViewPoint centre)
{
    const auto fCentreX = static_cast<float>(centre.x);
    const auto fCentreY = static_cast<float>(centre.y);
    return { transform._11 * fScale, transform._12 * fScale, transform._21 * fScale, transform._22 * fScale,
        (transform._31 - fCentreX) * fScale + fCentreX, (transform._32 - fCentreY) * fScale + fCentreY };
}

} // namespace vireo
