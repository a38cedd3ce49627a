#include "app/qt/printing.h"

#include <QPainter>
#include <QPixmap>
#include <QPrintDialog>
#include <QPrinter>
#include <QPrinterInfo>
#include <QWidget>

namespace vireo {

void PrintWidget(QWidget& widget, QWidget* pOwner, Ask eAsk)
{
    const QPixmap picture = widget.grab();
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageOrientation(QPageLayout::Landscape);
    if (eAsk == Ask::Always || QPrinterInfo::defaultPrinter().isNull()) {
        QPrintDialog dialog(&printer, pOwner);
        dialog.setWindowTitle(QStringLiteral("印刷"));
        if (dialog.exec() != QDialog::Accepted)
            return;
    }
    QPainter painter(&printer);
    const QRectF page = printer.pageLayout().paintRectPixels(printer.resolution());
    QSizeF size = picture.size();
    size.scale(page.size(), Qt::KeepAspectRatio);
    painter.drawPixmap(QRectF(QPointF(0, 0), size), picture, QRectF(picture.rect()));
}

} // namespace vireo
