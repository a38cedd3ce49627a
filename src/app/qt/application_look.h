#pragma once
#include <QColor>
#include <QString>
#include <span>

class QApplication;

namespace vireo {

constexpr int kDefaultLook = 215;

/// One of the visual styles of the main window.
struct ApplicationLook {
    int iId; ///< menu command 210..218
    const char* pName; ///< menu text
    const char* pStyle; ///< the toolkit's base style
    QRgb window, base, text, button, highlight; ///< palette
    QRgb barTop, barBottom, barBorder, barText; ///< menu, tool and status bars
    QRgb hoverTop, hoverBottom, hoverBorder; ///< what the pointer is on
    QRgb area; ///< behind the views
    bool bFlatBars; ///< the base style draws the bars, nothing of ours
};

std::span<const ApplicationLook> ApplicationLooks();
/// The look with that id; the default one for any other number.
const ApplicationLook& LookOf(int iId);
/// Dresses the whole program: style, palette, bars.
void ApplyLook(QApplication& application, const ApplicationLook& look);

} // namespace vireo
