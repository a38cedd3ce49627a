#include "display/view_transform.h"

#include <gtest/gtest.h>

namespace vireo {
namespace {

/// Where the transform puts a point.
std::pair<float, float> Apply(const AffineTransform& t, float fX, float fY)
{
    return { fX * t._11 + fY * t._21 + t._31, fX * t._12 + fY * t._22 + t._32 };
}

class ViewTransform : public testing::Test {
protected:
    MouseState m_mouse;
    AffineTransform m_transform;
};

TEST_F(ViewTransform, RightDragZoomsAboutTheAnchor)
{
    const struct {
        const char* strName;
        int iDrag;
        bool bApplied;
        float fScale;
    } rows[] = {
        { "4 pixels are trembling", 4, false, 1.0F },
        { "5 pixels are a step", 5, true, 1.0F - 0.5F / 30.0F },
        { "30 down shrink by a tenth", 30, true, 0.9F },
        { "30 up grow by a tenth", -30, true, 1.1F },
        { "300 down in one step", 300, true, 0.0F },
        { "beyond that it turns over", 600, true, -1.0F },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.strName);
        MouseState mouse;
        AffineTransform transform;
        RightButtonDown(mouse, { 100, 200 });
        EXPECT_EQ(MouseMove(mouse, transform, { 100, 200 + row.iDrag }), row.bApplied);
        EXPECT_NEAR(transform._11, row.fScale, 1e-5);
        EXPECT_NEAR(transform._22, row.fScale, 1e-5);
        const auto [fX, fY] = Apply(transform, 100, 200);
        EXPECT_NEAR(fX, 100, 1e-3) << "the anchor stays";
        EXPECT_NEAR(fY, 200, 1e-3);
    }
}

TEST_F(ViewTransform, SidewaysRightDragDoesNothing)
{
    RightButtonDown(m_mouse, { 100, 200 });
    EXPECT_FALSE(MouseMove(m_mouse, m_transform, { 300, 204 }));
    EXPECT_EQ(m_transform, AffineTransform {});
}

TEST_F(ViewTransform, StepsAddUpFromTheLastOne)
{
    RightButtonDown(m_mouse, { 0, 0 });
    EXPECT_TRUE(MouseMove(m_mouse, m_transform, { 0, 30 }));
    EXPECT_FALSE(MouseMove(m_mouse, m_transform, { 0, 34 })) << "4 pixels from the last step";
    EXPECT_TRUE(MouseMove(m_mouse, m_transform, { 0, 60 }));
    EXPECT_NEAR(m_transform._11, 0.81F, 1e-5);
}

TEST_F(ViewTransform, BothButtonsPan)
{
    LeftButtonDown(m_mouse, { 10, 10 });
    RightButtonDown(m_mouse, { 10, 10 });
    EXPECT_FALSE(MouseMove(m_mouse, m_transform, { 13, 13 }));
    EXPECT_TRUE(m_mouse.m_bPanning);
    EXPECT_TRUE(MouseMove(m_mouse, m_transform, { 13, 14 })) << "3 and 4 make 5";
    EXPECT_EQ(m_transform, (AffineTransform { 1, 0, 0, 1, 3, 4 }));
    EXPECT_TRUE(MouseMove(m_mouse, m_transform, { 23, 4 }));
    EXPECT_EQ(m_transform, (AffineTransform { 1, 0, 0, 1, 13, -6 }));
}

TEST_F(ViewTransform, PanningFollowsZooming)
{
    RightButtonDown(m_mouse, { 0, 0 });
    MouseMove(m_mouse, m_transform, { 0, 30 });
    LeftButtonDown(m_mouse, { 0, 30 });
    MouseMove(m_mouse, m_transform, { 10, 30 });
    const auto [fX, fY] = Apply(m_transform, 100, 0);
    EXPECT_NEAR(fX, 100 * 0.9 + 10, 1e-3) << "moved in the view, not in the picture";
    EXPECT_NEAR(fY, 0, 1e-3);
}

TEST_F(ViewTransform, LeftButtonAloneMovesNothing)
{
    LeftButtonDown(m_mouse, { 10, 10 });
    EXPECT_FALSE(MouseMove(m_mouse, m_transform, { 200, 200 }));
    EXPECT_EQ(m_transform, AffineTransform {});
}

TEST_F(ViewTransform, ReleasesForgetTheLastStep)
{
    RightButtonDown(m_mouse, { 0, 0 });
    MouseMove(m_mouse, m_transform, { 0, 30 });
    LeftButtonDown(m_mouse, { 0, 30 });
    LeftButtonUp(m_mouse);
    EXPECT_EQ(m_mouse.m_ptLast, (ViewPoint { 0, 30 })) << "the right button is still down";
    EXPECT_FALSE(m_mouse.m_bPanning);
    RightButtonUp(m_mouse);
    EXPECT_EQ(m_mouse.m_ptLast, kNoPoint);
    EXPECT_FALSE(MouseMove(m_mouse, m_transform, { 0, 90 }));
}

} // namespace
} // namespace vireo
