#include "app/qt/application_look.h"

#include <QApplication>
#include <QPainter>
#include <QPalette>
#include <QProxyStyle>
#include <QStyle>
#include <QStyleFactory>
#include <QStyleOptionTitleBar>

namespace vireo {

namespace {

constexpr QRgb Rgb(QRgb uiValue) { return 0xFF000000U | uiValue; }

// The columns as in the header, colours as RRGGBB.
constexpr ApplicationLook kLooks[] = {
    { 210, "Windows 2000(&2)", "Windows", Rgb(0xD4D0C8), Rgb(0xFFFFFF), Rgb(0x000000), Rgb(0xD4D0C8), Rgb(0x0A246A),
        Rgb(0xD4D0C8), Rgb(0xD4D0C8), Rgb(0x9A968E), Rgb(0x000000), Rgb(0xD4D0C8), Rgb(0xD4D0C8), Rgb(0x808080),
        Rgb(0x5F5F5F), true },
    { 211, "Office XP(&X)", "Fusion", Rgb(0xEFEDDE), Rgb(0xFFFFFF), Rgb(0x1A1A1A), Rgb(0xF4F2E8), Rgb(0x316AC5),
        Rgb(0xEFEDDE), Rgb(0xEFEDDE), Rgb(0xC9C6B4), Rgb(0x1A1A1A), Rgb(0xC1D2EE), Rgb(0xC1D2EE), Rgb(0x316AC5),
        Rgb(0x4A4A44), false },
    { 212, "Windows XP(&W)", "Fusion", Rgb(0xEFEFEF), Rgb(0xFFFFFF), Rgb(0x1A1A1A), Rgb(0xF6F6F6), Rgb(0x308CC6),
        Rgb(0xF7F7F7), Rgb(0xE4E4E4), Rgb(0xB9B9B9), Rgb(0x1A1A1A), Rgb(0xFFFFFF), Rgb(0xE8F2FA), Rgb(0x7FB6DC),
        Rgb(0x3A3D41), true },
    { 213, "Office 2003(&3)", "Fusion", Rgb(0xC4DAFA), Rgb(0xFFFFFF), Rgb(0x10264D), Rgb(0xDDEBFD), Rgb(0x2A5CB8),
        Rgb(0xE3EFFF), Rgb(0x8CB0EA), Rgb(0x3B619C), Rgb(0x10264D), Rgb(0xFFF4CC), Rgb(0xFFC884), Rgb(0x000080),
        Rgb(0x33425C), false },
    { 214, "Visual Studio 2005(&V)", "Fusion", Rgb(0xECE9D8), Rgb(0xFFFFFF), Rgb(0x1E1E16), Rgb(0xF5F3E8),
        Rgb(0x5F7BA8), Rgb(0xFBFBF8), Rgb(0xCFCBB6), Rgb(0xA9A58F), Rgb(0x1E1E16), Rgb(0xD8E2F4), Rgb(0xBCCCEA),
        Rgb(0x4B6EAF), Rgb(0x55534A), false },
    { 215, "Office 2007 (ブルー)(&B)", "Fusion", Rgb(0xD5E4F7), Rgb(0xFFFFFF), Rgb(0x15294B), Rgb(0xE7F0FB),
        Rgb(0x3D7BD0), Rgb(0xEFF6FF), Rgb(0xC5DAF5), Rgb(0x8DB2E3), Rgb(0x15428B), Rgb(0xFFF8DC), Rgb(0xFFDF8C),
        Rgb(0xDDB54B), Rgb(0x22303F), false },
    { 216, "Office 2007 (ブラック)(&K)", "Fusion", Rgb(0x3A3D42), Rgb(0x26282C), Rgb(0xF0F1F3), Rgb(0x4A4E55),
        Rgb(0xB46A0C), Rgb(0x5C6169), Rgb(0x2A2D31), Rgb(0x17191C), Rgb(0xF4F5F7), Rgb(0x7C6A3C), Rgb(0x5B4A1D),
        Rgb(0xE3B44A), Rgb(0x121316), false },
    { 217, "Office 2007 (シルバー)(&S)", "Fusion", Rgb(0xE2E4EA), Rgb(0xFFFFFF), Rgb(0x2B2F3A), Rgb(0xF1F2F6),
        Rgb(0x6F7E9E), Rgb(0xFAFBFD), Rgb(0xCDD1DC), Rgb(0xA5ABBB), Rgb(0x3B4152), Rgb(0xFFF3D1), Rgb(0xFCD98B),
        Rgb(0xC9A24A), Rgb(0x3B3F49), false },
    { 218, "Office 2007 (アクア)(&A)", "Fusion", Rgb(0xD3ECEA), Rgb(0xFFFFFF), Rgb(0x0E3A3A), Rgb(0xE6F6F4),
        Rgb(0x1A8F8A), Rgb(0xF0FCFA), Rgb(0xAEDCD8), Rgb(0x6BB3AE), Rgb(0x0B4A49), Rgb(0xFFF8DC), Rgb(0xFFDF8C),
        Rgb(0xDDB54B), Rgb(0x1F3836), false },
};

/// The base style, without icons on plain buttons, and with close boxes that can be seen on dark titles.
class LookStyle : public QProxyStyle {
public:
    using QProxyStyle::QProxyStyle;
    int styleHint(
        StyleHint eHint, const QStyleOption* pOption, const QWidget* pWidget, QStyleHintReturn* pReturn) const override
    {
        if (eHint == SH_DialogButtonBox_ButtonsHaveIcons)
            return 0;
        return QProxyStyle::styleHint(eHint, pOption, pWidget, pReturn);
    }
    void drawComplexControl(ComplexControl eControl, const QStyleOptionComplex* pOption, QPainter* pPainter,
        const QWidget* pWidget) const override
    {
        const auto* pTitle = qstyleoption_cast<const QStyleOptionTitleBar*>(pOption);
        const bool bDarkTitle = eControl == CC_TitleBar && pTitle != nullptr
            && !(pTitle->titleBarState & static_cast<int>(State_Active))
            && pTitle->palette.color(QPalette::Window).lightness() < 128;
        if (!bDarkTitle || !(pTitle->subControls & SC_TitleBarCloseButton)) {
            QProxyStyle::drawComplexControl(eControl, pOption, pPainter, pWidget);
            return;
        }
        QStyleOptionTitleBar rest(*pTitle); // the base style draws the box black
        rest.subControls &= ~SC_TitleBarCloseButton;
        QProxyStyle::drawComplexControl(eControl, &rest, pPainter, pWidget);
        const QRectF box = proxy()->subControlRect(CC_TitleBar, pTitle, SC_TitleBarCloseButton, pWidget);
        const qreal dMargin = box.height() * 0.32;
        const QRectF cross = box.adjusted(dMargin, dMargin, -dMargin, -dMargin);
        pPainter->save();
        pPainter->setRenderHint(QPainter::Antialiasing);
        pPainter->setPen(QPen(pTitle->palette.color(QPalette::WindowText), 1.8));
        pPainter->drawLine(cross.topLeft(), cross.bottomRight());
        pPainter->drawLine(cross.topRight(), cross.bottomLeft());
        pPainter->restore();
    }
};

QString Hex(QRgb colour) { return QColor::fromRgb(colour).name(); }

QPalette PaletteOf(const ApplicationLook& look)
{
    const QColor window = QColor::fromRgb(look.window);
    const QColor text = QColor::fromRgb(look.text);
    const QColor base = QColor::fromRgb(look.base);
    const QColor button = QColor::fromRgb(look.button);
    QPalette palette(button, window);
    for (const auto eRole : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText })
        palette.setColor(eRole, text);
    palette.setColor(QPalette::Base, base);
    const bool bDark = window.lightness() < 128;
    palette.setColor(QPalette::AlternateBase, bDark ? base.lighter(125) : base.darker(104));
    palette.setColor(QPalette::ToolTipBase, bDark ? base : QColor(0xFF, 0xFF, 0xE6));
    palette.setColor(QPalette::Highlight, QColor::fromRgb(look.highlight));
    constexpr int kBright = 140; // white could not be read on it
    palette.setColor(
        QPalette::HighlightedText, qGray(look.highlight) > kBright ? QColor::fromRgb(look.base) : QColor(Qt::white));
    const auto mix = [](const QColor& a, const QColor& b) {
        return QColor((a.red() + b.red()) / 2, (a.green() + b.green()) / 2, (a.blue() + b.blue()) / 2);
    };
    const QColor faint = mix(mix(text, window), window);
    palette.setColor(QPalette::PlaceholderText, mix(text, window));
    for (const auto eRole : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText })
        palette.setColor(QPalette::Disabled, eRole, bDark ? mix(text, button) : mix(faint, mix(text, window)));
    palette.setColor(QPalette::Disabled, QPalette::Highlight, mix(window, QColor::fromRgb(look.highlight)));
    palette.setColor(QPalette::Disabled, QPalette::Base, mix(base, window));
    return palette;
}

QString BarSheet(const ApplicationLook& look)
{
    if (look.bFlatBars)
        return QStringLiteral("QToolBar { spacing: 2px; padding: 2px; }");
    return QStringLiteral(
        "QMenuBar { background: transparent; color: %4; }"
        "QMenuBar::item { padding: 4px 9px; background: transparent; border: 1px solid transparent; }"
        "QMenuBar::item:selected, QMenuBar::item:pressed {"
        " background: qlineargradient(x1:0,y1:0,x2:0,y2:1,stop:0 %5,stop:1 %6); border: 1px solid %7; }"
        "QToolBar { background: qlineargradient(x1:0,y1:0,x2:0,y2:1,stop:0 %1,stop:1 %2);"
        " border: 1px solid %3; border-radius: 2px; spacing: 2px; padding: 2px; }"
        "QToolBar:vertical, QToolBar:left, QToolBar:right {"
        " background: qlineargradient(x1:0,y1:0,x2:1,y2:0,stop:0 %1,stop:1 %2); }"
        "QToolBar QToolButton { color: %4; border: 1px solid transparent; border-radius: 2px; padding: 3px; }"
        "QToolBar QToolButton:hover, QToolBar QToolButton:checked {"
        " background: qlineargradient(x1:0,y1:0,x2:0,y2:1,stop:0 %5,stop:1 %6); border: 1px solid %7; }"
        "QToolBar QToolButton:pressed { background: %6; border: 1px solid %7; }"
        "QStatusBar { background: qlineargradient(x1:0,y1:0,x2:0,y2:1,stop:0 %1,stop:1 %2);"
        " border-top: 1px solid %3; }"
        "QStatusBar QLabel { color: %4; }")
        .arg(Hex(look.barTop), Hex(look.barBottom), Hex(look.barBorder), Hex(look.barText), Hex(look.hoverTop),
            Hex(look.hoverBottom), Hex(look.hoverBorder));
}

} // namespace

std::span<const ApplicationLook> ApplicationLooks() { return kLooks; }

const ApplicationLook& LookOf(int iId)
{
    const ApplicationLook* pDefault = &kLooks[0];
    for (const ApplicationLook& look : kLooks) {
        if (look.iId == iId)
            return look;
        if (look.iId == kDefaultLook)
            pDefault = &look;
    }
    return *pDefault;
}

void ApplyLook(QApplication& application, const ApplicationLook& look)
{
    application.setStyleSheet({});
    application.setStyle(new LookStyle(QStyleFactory::create(QString::fromLatin1(look.pStyle))));
    application.setPalette(PaletteOf(look));
    application.setStyleSheet(BarSheet(look));
}

} // namespace vireo
