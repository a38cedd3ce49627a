#include "platform/qt/camera_selection_dlg.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTableWidget>
#include <QVBoxLayout>
#include <algorithm>

namespace vireo {

namespace {

const char* const kSimulatedVendor = "Simulated";
constexpr int kRowsShown = 10;
const char* const kSimulatedText = "シミュレーション";

void FillRow(QTableWidget& table, int iRow, const CameraInfo& camera)
{
    const bool bSimulated = camera.vendorName == kSimulatedVendor;
    const QString astrTexts[] = {
        QString::fromStdString(camera.modelName),
        QString::number(camera.serialNumber),
        InterfaceText(camera.interfaceType),
        bSimulated ? QString::fromUtf8(kSimulatedText) : QString::fromStdString(camera.vendorName),
    };
    for (int iColumn = 0; iColumn < table.columnCount(); ++iColumn) {
        auto* pItem = new QTableWidgetItem(astrTexts[iColumn]);
        if (bSimulated) {
            QFont font = table.font();
            font.setItalic(iColumn == 3);
            pItem->setFont(font);
            pItem->setToolTip(QStringLiteral("実機ではなく、シミュレーションのカメラです"));
        }
        table.setItem(iRow, iColumn, pItem);
    }
}

} // namespace

QString InterfaceText(InterfaceType eInterface)
{
    switch (eInterface) {
    case InterfaceType::Ieee1394: return QStringLiteral("IEEE 1394");
    case InterfaceType::Usb2: return QStringLiteral("USB 2.0");
    case InterfaceType::Usb3: return QStringLiteral("USB 3.0");
    case InterfaceType::GigE: return QStringLiteral("GigE");
    case InterfaceType::Unknown: break;
    }
    return QStringLiteral("不明");
}

CameraSelectionDlg::CameraSelectionDlg(std::span<const CameraInfo> cameras, QWidget* pParent)
    : QDialog(pParent)
{
    setObjectName(QStringLiteral("camera_selection"));
    setWindowTitle(QStringLiteral("カメラの選択"));

    auto* pText = new QLabel(cameras.empty() ? QStringLiteral("カメラが見つかりません。")
                                             : QStringLiteral("次の %1 台のカメラを使用します。").arg(cameras.size()));
    auto* pTable = new QTableWidget(static_cast<int>(cameras.size()), 4);
    pTable->setObjectName(QStringLiteral("cameras"));
    pTable->setHorizontalHeaderLabels({ QStringLiteral("型名"), QStringLiteral("シリアル番号"),
        QStringLiteral("インターフェース"), QStringLiteral("メーカー") });
    pTable->setEditTriggers(QAbstractItemView::NoEditTriggers);
    pTable->setSelectionMode(QAbstractItemView::NoSelection);
    pTable->setFocusPolicy(Qt::NoFocus);
    pTable->setShowGrid(false);
    pTable->setAlternatingRowColors(true);
    pTable->verticalHeader()->hide();
    for (int iRow = 0; iRow < pTable->rowCount(); ++iRow)
        FillRow(*pTable, iRow, cameras[static_cast<std::size_t>(iRow)]);
    pTable->resizeColumnsToContents();
    for (int iColumn = 0; iColumn < pTable->columnCount(); ++iColumn) // room between the columns
        pTable->setColumnWidth(iColumn, pTable->columnWidth(iColumn) + pTable->fontMetrics().height());
    pTable->horizontalHeader()->setStretchLastSection(true);
    pTable->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    pTable->horizontalHeader()->setHighlightSections(false);
    // As high as its rows; beyond a handful it scrolls.
    const int iShown = std::clamp(pTable->rowCount(), 3, kRowsShown);
    pTable->setSizeAdjustPolicy(QAbstractScrollArea::AdjustToContents);
    pTable->setMinimumHeight(pTable->horizontalHeader()->sizeHint().height()
        + iShown * pTable->verticalHeader()->defaultSectionSize() + 2 * pTable->frameWidth());

    auto* pButtons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(pButtons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(pButtons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* pLayout = new QVBoxLayout(this);
    pLayout->addWidget(pText);
    pLayout->addWidget(pTable, 1);
    pLayout->addWidget(pButtons);
    pButtons->button(QDialogButtonBox::Ok)->setDefault(true);
    pButtons->button(QDialogButtonBox::Ok)->setFocus();
    pLayout->setContentsMargins(16, 16, 16, 14);
    pLayout->setSpacing(12);
    // As wide as its columns, as far as the screen goes.
    const QMargins margins = pLayout->contentsMargins();
    const int iColumns =
        pTable->horizontalHeader()->length() + 2 * pTable->frameWidth() + margins.left() + margins.right();
    const int iWidth = std::max(fontMetrics().height() * 34, iColumns);
    resize(std::min(iWidth, screen()->availableSize().width()), sizeHint().height());
}

} // namespace vireo
