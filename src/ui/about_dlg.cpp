#include "ui/about_dlg.h"

#include <QDialogButtonBox>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace vireo {

CAboutDlg2::CAboutDlg2(const QIcon& icon, const QString& strVersion, QWidget* pParent)
    : QDialog(pParent)
{
    setObjectName(QStringLiteral("321"));
    setWindowTitle(QStringLiteral("バージョン情報 Tessel2"));

    auto* pIcon = new QLabel;
    pIcon->setPixmap(icon.pixmap(QSize(64, 64), devicePixelRatioF()));
    auto* pName = new QLabel(QStringLiteral("Tessel"));
    QFont font = pName->font();
    font.setPointSizeF(font.pointSizeF() * 1.6);
    font.setBold(true);
    pName->setFont(font);
    auto* pVersion = new QLabel(QStringLiteral("Version %1").arg(strVersion));
    pVersion->setObjectName(QStringLiteral("version"));
    auto* pPurpose = new QLabel(QStringLiteral("高速度カメラ 同期録画"));
    pPurpose->setForegroundRole(QPalette::PlaceholderText);

    auto* pTexts = new QVBoxLayout;
    pTexts->setSpacing(4);
    pTexts->addWidget(pName);
    pTexts->addWidget(pVersion);
    pTexts->addWidget(pPurpose);
    auto* pTop = new QHBoxLayout;
    pTop->setSpacing(18);
    pTop->addWidget(pIcon, 0, Qt::AlignTop);
    pTop->addLayout(pTexts, 1);

    auto* pButtons = new QDialogButtonBox(QDialogButtonBox::Ok);
    pButtons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("1"));
    connect(pButtons, &QDialogButtonBox::accepted, this, &QDialog::accept);

    auto* pLayout = new QVBoxLayout(this);
    pLayout->setContentsMargins(22, 20, 22, 16);
    pLayout->setSpacing(18);
    pLayout->addLayout(pTop);
    pLayout->addWidget(pButtons);
    setMinimumWidth(fontMetrics().height() * 22);
    setFixedSize(sizeHint());
}

} // namespace vireo
