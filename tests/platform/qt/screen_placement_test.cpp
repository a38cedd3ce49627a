#include "platform/qt/screen_placement.h"

#include <climits>
#include <gtest/gtest.h>

namespace vireo {
namespace {

const QList<QRect> kTwoScreens { QRect(0, 0, 1920, 1080), QRect(1920, 0, 1280, 1024) };

TEST(StoredRect, KeepsWhatAWindowCanHave)
{
    EXPECT_EQ(StoredRect(10, 20, 810, 620), QRect(10, 20, 800, 600));
    EXPECT_EQ(StoredRect(-100, -50, 0, 0), QRect(-100, -50, 100, 50));
}

TEST(StoredRect, RefusesAbsurdRectangles)
{
    const struct {
        const char* strName;
        std::int32_t iLeft, iTop, iRight, iBottom;
    } rows[] = {
        { "empty", 0, 0, 0, 0 },
        { "turned over", 800, 600, 0, 0 },
        { "no width", 5, 0, 5, 100 },
        { "wider than 32 bits", INT_MIN, 0, INT_MAX, 100 },
        { "wider than a window can be", 0, 0, 40000, 100 },
        { "higher than a window can be", 0, 0, 100, 40000 },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.strName);
        EXPECT_FALSE(StoredRect(row.iLeft, row.iTop, row.iRight, row.iBottom).isValid());
    }
}

TEST(StoredRect, BringsFarCornersIntoReach)
{
    EXPECT_EQ(StoredRect(INT_MAX - 100, 0, INT_MAX, 100).x(), 32767);
    EXPECT_EQ(StoredRect(INT_MIN, 0, INT_MIN + 100, 100).x(), -32767);
}

TEST(OnVisibleScreen, LeavesWhatCanBeSeen)
{
    for (const QRect& rect :
        { QRect(0, 0, 800, 600), QRect(2000, 100, 800, 600), QRect(1500, 900, 800, 600), QRect(-700, 0, 800, 600) })
        EXPECT_EQ(OnVisibleScreen(rect, kTwoScreens), rect);
}

TEST(OnVisibleScreen, BringsBackWhatLiesOutside)
{
    EXPECT_EQ(OnVisibleScreen(QRect(5000, 5000, 800, 600), kTwoScreens), QRect(1120, 480, 800, 600));
    EXPECT_EQ(OnVisibleScreen(QRect(-790, 0, 800, 600), kTwoScreens), QRect(0, 0, 800, 600));
    EXPECT_EQ(OnVisibleScreen(QRect(0, -30, 800, 600), kTwoScreens), QRect(0, 0, 800, 600)) << "title above the screen";
    EXPECT_EQ(OnVisibleScreen(QRect(0, -8, 800, 600), kTwoScreens), QRect(0, 0, 800, 600)) << "part of it above";
    EXPECT_EQ(OnVisibleScreen(QRect(9000, 9000, 9000, 9000), kTwoScreens), QRect(0, 0, 1920, 1080));
}

TEST(InsideArea, KeepsTheTitleInReach)
{
    EXPECT_EQ(InsideArea(QRect(100, 100, 640, 500), { 1000, 800 }), QRect(100, 100, 640, 500));
    EXPECT_EQ(InsideArea(QRect(4000, 4000, 640, 500), { 1000, 800 }).topLeft(), QPoint(952, 752));
    EXPECT_EQ(InsideArea(QRect(-4000, -4000, 640, 500), { 1000, 800 }).topLeft(), QPoint(-592, 0));
}

TEST(TilePositions, StandSideBySideWhenTheyFit)
{
    EXPECT_EQ(TilePositions(4, { 600, 500 }, { 1300, 1100 }),
        QList<QPoint>({ { 0, 0 }, { 600, 0 }, { 0, 500 }, { 600, 500 } }));
    EXPECT_EQ(TilePositions(1, { 600, 500 }, { 100, 100 }), QList<QPoint>({ { 0, 0 } }));
}

TEST(TilePositions, StandInOneRowOrOneColumnWhenAsked)
{
    EXPECT_EQ(TilePositions(3, { 600, 500 }, { 1800, 600 }, 3), QList<QPoint>({ { 0, 0 }, { 600, 0 }, { 1200, 0 } }));
    EXPECT_EQ(TilePositions(3, { 600, 500 }, { 1000, 900 }, 1), QList<QPoint>({ { 0, 0 }, { 0, 200 }, { 0, 400 } }));
    EXPECT_EQ(TilePositions(3, { 600, 500 }, { 100, 100 }, 1), QList<QPoint>({ { 0, 0 }, { 0, 48 }, { 0, 96 } }));
}

TEST(TilePositions, OverlapEvenlyWhenTheyDoNot)
{
    const auto positions = TilePositions(4, { 648, 508 }, { 800, 520 });
    EXPECT_EQ(positions[1], QPoint(152, 0));
    EXPECT_EQ(positions[2], QPoint(0, 48)) << "each title can be gripped";
}

} // namespace
} // namespace vireo
