#include "ui/save_progress_bar.h"

#include <QLabel>
#include <QVBoxLayout>

namespace vireo {

SaveProgressBar::SaveProgressBar(QWidget* pParent)
    : QDialog(pParent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint)
    , m_pBar(new QProgressBar)
{
    setObjectName(QStringLiteral("315"));
    setWindowTitle(QStringLiteral("保存"));
    m_pBar->setTextVisible(true);
    m_pBar->setMinimumWidth(fontMetrics().height() * 18);
    auto* pLayout = new QVBoxLayout(this);
    pLayout->setContentsMargins(16, 16, 16, 16);
    pLayout->setSpacing(10);
    pLayout->addWidget(new QLabel(QStringLiteral("AVIﾌｧｲﾙに保存しています。")));
    pLayout->addWidget(m_pBar);
    setFixedSize(sizeHint());
}

} // namespace vireo
