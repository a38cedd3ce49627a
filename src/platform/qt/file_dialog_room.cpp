#include "platform/qt/file_dialog_room.h"

#include <QFileDialog>
#include <QHeaderView>
#include <QScreen>
#include <QSplitter>
#include <QTreeView>
#include <algorithm>

namespace vireo {

void GiveRoom(QFileDialog& dialog)
{
    const int iLetter = dialog.fontMetrics().height();
    const QSize wanted = QSize(iLetter * 48, iLetter * 27).boundedTo(dialog.screen()->availableSize());
    dialog.resize(dialog.size().expandedTo(wanted));
    if (auto* pSplitter = dialog.findChild<QSplitter*>(QStringLiteral("splitter"))) {
        QList<int> sizes = pSplitter->sizes();
        const int iSideBar = iLetter * 10;
        if (sizes.size() == 2 && sizes[0] < iSideBar)
            pSplitter->setSizes({ iSideBar, std::max(iSideBar, dialog.width() - iSideBar) });
    }
    if (auto* pTree = dialog.findChild<QTreeView*>(QStringLiteral("treeView"))) {
        constexpr int kDate = 3;
        const int iDate = pTree->fontMetrics().horizontalAdvance(QStringLiteral("00 WWW 0000 00:00:00 "));
        if (pTree->header()->count() > kDate)
            pTree->header()->resizeSection(kDate, std::max(pTree->header()->sectionSize(kDate), iDate));
    }
}

} // namespace vireo
