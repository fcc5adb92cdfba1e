// Click and mouse-out events: wheel zoom, right clicks kept from the base window over the map,
// and the states a mouse-out ends or keeps.
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "test_app.h"

namespace
{

// Wheel codes 3 (in) and 4 (out), right 2, left 0. Taken clicks are the view's; the rest reach the
// base window's handler unchanged.
TEST(EventMouseClick, WheelZoomsWithinTheBoundsAndTheRestGoesToTheBaseUnchanged)
{
    // clang-format off
    struct Case { const char* Name; bool bLoadMap, bMapView, bInteraction, bControl; int Button; double X, Distance, ZoomStep, Min, Max, Expected; bool bTaken; } cases[] = {
        {"map in: 8 %", true, true, true, true, 3, 0.0, 1000, 10, 1, 5000, 920, true},
        {"map out: 8 %", true, true, true, true, 4, 0.0, 1000, 10, 1, 5000, 1080, true},
        {"map, ZoomStep larger than 8 %", true, true, true, true, 3, 0.0, 100, 30, 1, 5000, 70, true},
        {"no map view flag: ZoomStep", true, false, true, true, 3, 0.0, 1000, 10, 1, 5000, 990, true},
        {"map not loaded: ZoomStep", false, true, true, true, 4, 0.0, 1000, 10, 1, 5000, 1010, true},
        {"stops at the minimum", false, false, true, true, 3, 0.0, 120, 50, 100, 200, 100, true},
        {"stops at the maximum", false, false, true, true, 4, 0.0, 180, 50, 100, 200, 200, true},
        {"crossed bounds: the maximum wins in", false, false, true, true, 3, 0.0, 200, 50, 300, 200, 200, true},
        {"crossed bounds: the maximum wins out", false, false, true, true, 4, 0.0, 200, 50, 300, 200, 200, true},
        {"wheel outside", true, true, true, true, 3, 0.5, 500, 10, 1, 5000, 500, false},
        {"wheel with interaction off", true, true, false, true, 4, -0.5, 500, 10, 1, 5000, 500, false},
        {"right, over the map", true, true, true, true, 2, -0.5, 500, 10, 1, 5000, 500, true},
        {"right, map unloaded", false, true, true, true, 2, -0.5, 500, 10, 1, 5000, 500, false},
        {"right, vehicle control off", true, true, true, false, 2, -0.5, 500, 10, 1, 5000, 500, false},
        {"right, outside", true, true, true, true, 2, 0.5, 500, 10, 1, 5000, 500, false},
        {"left", true, true, true, true, 0, -0.5, 500, 10, 1, 5000, 500, false},
        {"unknown code", true, true, true, true, 7, -0.5, 500, 10, 1, 5000, 500, false},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        if (c.bLoadMap)
            app.LoadFlatMap();
        app.View.WindowX2 = 0.25; // x -0.5 and 0 inside, 0.5 outside
        app.View.bSpringMapView = c.bMapView, app.View.bMouseInteraction = c.bInteraction;
        app.View.bVehicleControl = c.bControl;
        app.View.CameraDistance = c.Distance, app.View.ZoomStep = c.ZoomStep;
        app.View.MinCameraDistance = c.Min, app.View.MaxCameraDistance = c.Max;
        std::vector<std::tuple<int, double, double>> passed;
        app.View.OnClick = [&](int button, double x, double y) { passed.emplace_back(button, x, y); };
        app.View.EventMouseClick(c.Button, c.X, 0.25);
        EXPECT_DOUBLE_EQ(app.View.CameraDistance, c.Expected) << c.Name;
        EXPECT_EQ(app.App.bChildWindowProcessed, c.bTaken) << c.Name;
        using Passed = decltype(passed);
        EXPECT_EQ(passed, c.bTaken ? Passed() : Passed({{c.Button, c.X, 0.25}})) << c.Name;
    }

    // Without the application object a wheel click is still taken, just not marked.
    TestApp app;
    app.CoreServices.pQuindle = nullptr;
    const double before = app.View.CameraDistance;
    app.View.EventMouseClick(3, 0.0, 0.0);
    EXPECT_LT(app.View.CameraDistance, before);
}

TEST(EventMouseOut, EndsLeftButtonStatesAndKeepsOnlyHeldPanAndOrderGesture)
{
    // clang-format off
    struct Case { const char* Name; bool bMiddle, bRight, bMouse, bKeepPan, bKeepOrder; } cases[] = {
        {"middle and right held", true, true, true, true, true},
        {"middle held", true, false, true, true, false},
        {"right held", false, true, true, false, true},
        {"buttons up", false, false, true, false, false},
        {"no mouse record", true, true, false, false, false},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        app.View.bMouseOver = app.View.bMouseInside = true;
        app.View.bOrbitDrag = app.View.bSelectionDragActive = true;
        app.View.bPanDrag = app.View.bOrderDrag = app.View.bOrderDragMoved = true;
        app.View.HoverNavButton = app.View.ActiveNavButton = 4;
        app.View.NavLastRepeatMs = 1234;
        app.MouseState.pButton[Mouse::Middle] = c.bMiddle;
        app.MouseState.pButton[Mouse::Right] = c.bRight;
        if (!c.bMouse)
            app.CoreServices.pMouse = nullptr;
        app.View.EventMouseOut();
        EXPECT_FALSE(app.View.bMouseOver || app.View.bMouseInside || app.View.bOrbitDrag) << c.Name;
        EXPECT_FALSE(app.View.bSelectionDragActive) << c.Name;
        EXPECT_EQ(std::tuple(app.View.HoverNavButton + app.View.ActiveNavButton, app.View.NavLastRepeatMs,
                             app.View.bPanDrag, app.View.bOrderDrag, app.View.bOrderDragMoved),
                  std::tuple(0, 0u, c.bKeepPan, c.bKeepOrder, c.bKeepOrder))
            << c.Name;
        EXPECT_FALSE(app.App.bChildWindowProcessed) << c.Name;
    }
}

TEST(EventMouseOut, OrbitDoesNotResumeWhenThePointerComesBackHeld)
{
    TestApp app;
    app.LoadFlatMap();
    app.View.OrbitDegPerPixel = 1.0;
    app.PointAtPixel(100, 100);
    app.Frame(true);
    app.View.EventMouseOut();
    for (int x : {150, 200})
    {
        app.PointAtPixel(x, 100);
        app.Frame(true);
    }
    EXPECT_FALSE(app.View.bOrbitDrag);
    EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, 0.0);
}

} // namespace
