#include "app/qt/icons.h"

#include "app/qt/commands.h"

#include <QApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <array>
#include <functional>
#include <utility>

namespace vireo {

namespace {

/// Draws on a square of 16 units.
using DrawIcon = std::function<void(QPainter&)>;

/// Drawn anew in every size, so that it is sharp on every screen.
class DrawnIcon : public QIconEngine {
public:
    explicit DrawnIcon(DrawIcon draw)
        : m_draw(std::move(draw))
    {
    }
    void paint(QPainter* pPainter, const QRect& rect, QIcon::Mode eMode, QIcon::State /*eState*/) override
    {
        const QPalette palette = QApplication::palette();
        const QColor ink = eMode == QIcon::Disabled ? palette.color(QPalette::Disabled, QPalette::ButtonText)
                                                    : palette.color(QPalette::Active, QPalette::ButtonText);
        pPainter->save();
        pPainter->setRenderHint(QPainter::Antialiasing);
        if (eMode == QIcon::Disabled)
            pPainter->setOpacity(0.45);
        pPainter->translate(rect.topLeft());
        pPainter->scale(rect.width() / 16.0, rect.height() / 16.0);
        pPainter->setPen(QPen(ink, 1.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        pPainter->setBrush(Qt::NoBrush);
        m_draw(*pPainter);
        pPainter->restore();
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode eMode, QIcon::State eState) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(0, 0), size), eMode, eState);
        return pixmap;
    }
    QIconEngine* clone() const override { return new DrawnIcon(m_draw); }

private:
    DrawIcon m_draw;
};

constexpr QColor kBlue(0x2F, 0x6F, 0xD0);
constexpr QColor kRed(0xD6, 0x3A, 0x32);
constexpr QColor kGreen(0x2E, 0x9E, 0x5B);
constexpr QColor kAmber(0xE3, 0x9A, 0x1C);

void DrawProgram(QPainter& painter)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x1E, 0x25, 0x2E));
    painter.drawRoundedRect(QRectF(0, 0, 16, 16), 3, 3);
    const struct {
        double dX, dY;
        QColor colour;
    } tiles[] = { { 2.5, 2.5, kBlue }, { 8.4, 2.5, kGreen }, { 2.5, 8.4, kAmber }, { 8.4, 8.4, kRed } };
    for (const auto& tile : tiles) {
        painter.setBrush(tile.colour);
        painter.drawRoundedRect(QRectF(tile.dX, tile.dY, 5.1, 5.1), 1, 1);
    }
}

void DrawSave(QPainter& painter)
{
    painter.drawRoundedRect(QRectF(1.5, 3.5, 9, 9), 1, 1);
    for (const double dY : { 5.0, 8.0, 11.0 })
        painter.drawLine(QPointF(3.2, dY), QPointF(3.2, dY));
    painter.setPen(QPen(kBlue, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawLine(QPointF(11.5, 5), QPointF(11.5, 12.2));
    painter.drawPolyline(QPolygonF({ QPointF(8.6, 9.6), QPointF(11.5, 12.6), QPointF(14.4, 9.6) }));
    painter.drawLine(QPointF(8.6, 14.6), QPointF(14.4, 14.6));
}

void DrawPrint(QPainter& painter)
{
    painter.drawRect(QRectF(4, 1.5, 8, 4));
    painter.drawRoundedRect(QRectF(1.5, 5.5, 13, 6), 1, 1);
    painter.setBrush(QApplication::palette().base());
    painter.drawRect(QRectF(4, 9.5, 8, 5));
    painter.setPen(QPen(kBlue, 1));
    painter.drawLine(QPointF(5.5, 11.5), QPointF(10.5, 11.5));
    painter.drawLine(QPointF(5.5, 13), QPointF(9, 13));
}

void DrawUndo(QPainter& painter)
{
    QPainterPath path(QPointF(3, 6));
    path.lineTo(9.5, 6);
    path.arcTo(QRectF(6, 6, 7.5, 7.5), 90, -180);
    path.lineTo(6, 13.5);
    painter.drawPath(path);
    painter.drawPolyline(QPolygonF({ QPointF(5.8, 3.2), QPointF(3, 6), QPointF(5.8, 8.8) }));
}

void DrawCut(QPainter& painter)
{
    painter.drawLine(QPointF(4.5, 1.8), QPointF(10.2, 10.2));
    painter.drawLine(QPointF(11.5, 1.8), QPointF(5.8, 10.2));
    painter.setPen(QPen(kBlue, 1.4));
    painter.drawEllipse(QPointF(4.4, 12), 2.2, 2.2);
    painter.drawEllipse(QPointF(11.6, 12), 2.2, 2.2);
}

void DrawCopy(QPainter& painter)
{
    painter.drawRoundedRect(QRectF(1.8, 1.8, 8, 9.5), 1, 1);
    painter.setBrush(QApplication::palette().base());
    painter.setPen(QPen(kBlue, 1.2));
    painter.drawRoundedRect(QRectF(6, 5, 8, 9.5), 1, 1);
}

void DrawPaste(QPainter& painter)
{
    painter.drawRoundedRect(QRectF(2, 3, 9, 11.5), 1, 1);
    painter.drawRect(QRectF(4.5, 1.6, 4, 2.6));
    painter.setBrush(QApplication::palette().base());
    painter.setPen(QPen(kBlue, 1.2));
    painter.drawRect(QRectF(7, 7, 7, 7.5));
}

void DrawPanel(QPainter& painter)
{
    const struct {
        double dX, dKnob;
        QColor colour;
    } sliders[] = { { 3.5, 10, kGreen }, { 8, 5, kRed }, { 12.5, 8.5, kBlue } };
    for (const auto& slider : sliders) {
        painter.drawLine(QPointF(slider.dX, 1.8), QPointF(slider.dX, 14.2));
        painter.save();
        painter.setPen(Qt::NoPen);
        painter.setBrush(slider.colour);
        painter.drawRoundedRect(QRectF(slider.dX - 2, slider.dKnob - 1.5, 4, 3), 0.8, 0.8);
        painter.restore();
    }
}

void DrawPanelPosition(QPainter& painter)
{
    painter.drawRect(QRectF(1.8, 2.5, 12.4, 11));
    painter.setPen(Qt::NoPen);
    painter.setBrush(kBlue);
    painter.drawRect(QRectF(2.8, 3.5, 4.5, 6));
}

void DrawFrames(QPainter& painter, std::initializer_list<QRectF> frames)
{
    for (const QRectF& frame : frames) {
        painter.save();
        painter.setBrush(QApplication::palette().base());
        painter.drawRect(frame);
        painter.setPen(Qt::NoPen);
        painter.setBrush(kBlue);
        painter.drawRect(QRectF(frame.left() + 0.6, frame.top() + 0.6, frame.width() - 1.2, 1.8));
        painter.restore();
    }
}

void DrawAbout(QPainter& painter)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(kBlue);
    painter.drawEllipse(QPointF(8, 8), 6.6, 6.6);
    painter.setBrush(Qt::white);
    painter.drawEllipse(QPointF(8, 4.9), 1.05, 1.05);
    painter.drawRoundedRect(QRectF(7, 6.9, 2, 5.2), 0.8, 0.8);
}

} // namespace

QIcon ProgramIcon()
{
    QIcon icon;
    for (const int iSize : { 16, 24, 32, 48, 64, 128 }) // the window system wants pixmaps
        icon.addPixmap(DrawnIcon(DrawProgram).pixmap(QSize(iSize, iSize), QIcon::Normal, QIcon::Off));
    return icon;
}

QIcon CommandIcon(int iCommand)
{
    const struct {
        int iCommand;
        DrawIcon draw;
    } icons[] = {
        { menu::kSaveAvi, DrawSave },
        { menu::kPrint, DrawPrint },
        { menu::kUndo, DrawUndo },
        { menu::kCut, DrawCut },
        { menu::kCopy, DrawCopy },
        { menu::kPaste, DrawPaste },
        { menu::kPanel, DrawPanel },
        { menu::kPanelPosition, DrawPanelPosition },
        { menu::kCascade,
            [](QPainter& painter) {
                DrawFrames(painter, { QRectF(1.5, 1.5, 9, 8), QRectF(5.5, 6, 9, 8) });
            } },
        { menu::kTileRows,
            [](QPainter& painter) {
                DrawFrames(painter, { QRectF(1.5, 1.5, 13, 6), QRectF(1.5, 8.5, 13, 6) });
            } },
        { menu::kTileColumns,
            [](QPainter& painter) {
                DrawFrames(painter, { QRectF(1.5, 1.5, 6, 13), QRectF(8.5, 1.5, 6, 13) });
            } },
        { menu::kAbout, DrawAbout },
    };
    for (const auto& icon : icons)
        if (icon.iCommand == iCommand)
            return QIcon(new DrawnIcon(icon.draw));
    return {};
}

} // namespace vireo
