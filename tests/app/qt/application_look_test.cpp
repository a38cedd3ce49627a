#include "app/qt/application_look.h"

#include <QApplication>
#include <QLabel>
#include <QMainWindow>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPushButton>
#include <QStatusBar>
#include <QStyle>
#include <QStyleOptionTitleBar>
#include <QToolBar>
#include <gtest/gtest.h>
#include <map>

namespace vireo {
namespace {

TEST(ApplicationLook, IdsRunFrom210To218)
{
    int iId = 210;
    for (const ApplicationLook& look : ApplicationLooks())
        EXPECT_EQ(look.iId, iId++);
    EXPECT_EQ(iId, 219);
}

TEST(ApplicationLook, UnknownIdsMeanTheDefault)
{
    for (const int iId : { 0, 209, 219, -1, 215 })
        EXPECT_EQ(LookOf(iId).iId, 215);
    EXPECT_EQ(LookOf(218).iId, 218);
}

TEST(ApplicationLook, EveryLookDrawsTheWindowDifferently)
{
    QMainWindow frame;
    frame.resize(400, 200);
    QToolBar* pBar = frame.addToolBar(QStringLiteral("bar"));
    pBar->addAction(QStringLiteral("command"));
    frame.setCentralWidget(new QPushButton(QStringLiteral("button")));
    frame.statusBar()->addWidget(new QLabel(QStringLiteral("status")));
    frame.show();
    std::map<int, QImage> pictures;
    for (const ApplicationLook& look : ApplicationLooks()) {
        ApplyLook(*qApp, look);
        QApplication::processEvents();
        pictures[look.iId] = frame.grab().toImage();
    }
    for (const auto& [iId, picture] : pictures)
        for (const auto& [iOther, other] : pictures)
            EXPECT_EQ(picture == other, iId == iOther) << iId << " and " << iOther;
}

TEST(ApplicationLook, TextStandsOutFromItsGroundInEveryLook)
{
    const auto contrast = [](QRgb a, QRgb b) { return std::abs(qGray(a) - qGray(b)); };
    for (const ApplicationLook& look : ApplicationLooks()) {
        SCOPED_TRACE(look.iId);
        EXPECT_GT(contrast(look.text, look.window), 110);
        EXPECT_GT(contrast(look.text, look.base), 110);
        EXPECT_GT(contrast(look.text, look.button), 110);
        EXPECT_GT(contrast(look.barText, look.barBottom), 90);
        EXPECT_GT(contrast(look.barText, look.barTop), 110);
        ApplyLook(*qApp, look);
        const QPalette palette = QApplication::palette();
        EXPECT_GT(contrast(palette.color(QPalette::HighlightedText).rgb(), look.highlight), 110);
        EXPECT_GT(contrast(qRgb(255, 255, 255), look.highlight), 110) << "the active title is white on it";
        EXPECT_LT(qGray(look.area), 110) << "pictures stand on dark ground";
    }
}

TEST(ApplicationLook, CloseBoxesOfTheViewsCanBeSeenInEveryLook)
{
    QMdiArea area;
    area.resize(500, 300);
    QMdiSubWindow* pFirst = area.addSubWindow(new QWidget);
    QMdiSubWindow* pSecond = area.addSubWindow(new QWidget);
    for (QMdiSubWindow* pFrame : { pFirst, pSecond }) {
        pFrame->setWindowFlags(Qt::SubWindow | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint
            | Qt::WindowCloseButtonHint);
        pFrame->resize(220, 150);
    }
    area.show();
    for (const ApplicationLook& look : ApplicationLooks()) {
        ApplyLook(*qApp, look);
        for (QMdiSubWindow* pActive : { pFirst, pSecond }) {
            area.setActiveSubWindow(pActive);
            QApplication::processEvents();
            QStyleOptionTitleBar option;
            option.initFrom(pFirst);
            option.titleBarFlags = pFirst->windowFlags();
            option.rect.setHeight(pFirst->style()->pixelMetric(QStyle::PM_TitleBarHeight, &option, pFirst));
            const QRect box =
                pFirst->style()->subControlRect(QStyle::CC_TitleBar, &option, QStyle::SC_TitleBarCloseButton, pFirst);
            ASSERT_GT(box.width(), 8);
            const QImage title = pFirst->grab().toImage();
            int iDarkest = 255;
            int iBrightest = 0;
            for (int iX = box.left() + 4; iX <= box.right() - 4; ++iX) // without the edge of the box
                for (int iY = box.top() + 4; iY <= box.bottom() - 4; ++iY) {
                    iDarkest = std::min(iDarkest, qGray(title.pixel(iX, iY)));
                    iBrightest = std::max(iBrightest, qGray(title.pixel(iX, iY)));
                }
            EXPECT_GT(iBrightest - iDarkest, 90) << look.iId << (pActive == pFirst ? " active" : " inactive");
        }
    }
}

} // namespace
} // namespace vireo
