#pragma once
#include "app/recording_preset.h"

namespace vireo {

/// A pointer position, in device pixels of the view.
struct ViewPoint {
    int x = 0;
    int y = 0;
    friend bool operator==(const ViewPoint&, const ViewPoint&) = default;
};

constexpr ViewPoint kNoPoint { -1, -1 };

/// What the mouse is doing in a view.
struct MouseState {
    bool m_bLButton = false;
    bool m_bRButton = false;
    bool m_bPanning = false;
    ViewPoint m_ptAnchor = kNoPoint; ///< of the last button press
    ViewPoint m_ptLast = kNoPoint; ///< of the last step that was applied
};

void LeftButtonDown(MouseState& mouse, ViewPoint point);
void LeftButtonUp(MouseState& mouse);
void RightButtonDown(MouseState& mouse, ViewPoint point);
void RightButtonUp(MouseState& mouse);
/// Both buttons pan, the right one alone zooms about the anchor; a step takes 5 pixels.
/// @return whether `transform` changed.
bool MouseMove(MouseState& mouse, AffineTransform& transform, ViewPoint point);

/// `transform` followed by a move.
AffineTransform Translated(const AffineTransform& transform, float fX, float fY);
/// `transform` followed by a uniform scale about `centre`.
AffineTransform ScaledAbout(const AffineTransform& transform, float fScale, ViewPoint centre);

} // namespace vireo
