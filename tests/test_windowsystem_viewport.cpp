// The real viewport behind the window system: wheel and right clicks reach it with the codes it
// expects, and what it consumes stays away from a window behind it.
#include <gtest/gtest.h>

#include "test_app.h"
#include "windowsystem.h"

namespace
{
class CountingChild : public GLChildWindow
{
  public:
    int Clicks = 0;
    int Presses = 0;
    void EventMouseClick(int, double, double) override { ++Clicks; }
    void MouseProcessing() override
    {
        if (p->pMouse->pButton[Mouse::Left] && !p->pMouse->pPrevButton[Mouse::Left])
            ++Presses;
    }
};

class ViewportRouting : public ::testing::Test
{
  protected:
    TestApp App;
    CountingChild Behind;
    WindowSystem Windows;

    void SetUp() override
    {
        App.LoadFlatMap();
        App.View.CameraDistance = 1000.0;
        App.View.ZoomStep = 10.0;
        Windows.AddChild(&App.View);
        Windows.AddChild(&Behind);
    }
    void Frame(bool bLeft, std::vector<GlobalClick> clicks)
    {
        std::copy(std::begin(App.MouseState.pButton), std::end(App.MouseState.pButton),
                  std::begin(App.MouseState.pPrevButton));
        App.MouseState.pButton[Mouse::Left] = bLeft;
        Windows.ProcessFrame(App.MouseState, App.App, clicks, true);
    }
};
} // namespace

TEST_F(ViewportRouting, WheelCodesZoomTheViewportAndStopThere)
{
    App.PointAtLocal(0.5, 0.5);
    Frame(false, {{3, 0.0, 0.0}});
    EXPECT_DOUBLE_EQ(App.View.CameraDistance, 920.0) << "code 3 zooms in by 8 % over the map";
    Frame(false, {{4, 0.0, 0.0}});
    EXPECT_DOUBLE_EQ(App.View.CameraDistance, 993.6) << "code 4 zooms out by 8 % of 920";
    EXPECT_EQ(Behind.Clicks, 0);
    EXPECT_TRUE(App.App.bChildWindowProcessed);
}

TEST_F(ViewportRouting, RightClickOverTheMapIsTakenLeftClickFallsThrough)
{
    App.PointAtLocal(0.5, 0.5);
    Frame(false, {{2, 0.0, 0.0}});
    EXPECT_EQ(Behind.Clicks, 0) << "the viewport takes right clicks over the map";
    App.View.SpringMap.Unload();
    Frame(false, {{2, 0.0, 0.0}});
    EXPECT_EQ(Behind.Clicks, 1) << "without a map the right click is not the viewport's";
}

TEST_F(ViewportRouting, OrbitPressInTheViewportHidesThePressFromTheWindowBehind)
{
    App.View.bVehicleControl = false; // with it a left press starts a box selection instead
    App.View.bHasFocus = false;
    App.PointAtLocal(0.4, 0.4);
    Frame(true, {{0, App.MouseState.X3D, App.MouseState.Y3D}});
    EXPECT_TRUE(App.View.bOrbitDrag);
    EXPECT_EQ(Behind.Presses, 0);
    EXPECT_EQ(Behind.Clicks, 0);
    EXPECT_TRUE(App.View.bHasFocus) << "the left click reached the viewport's own click handling";
}
