// Click and mouse-out events: wheel zoom, right clicks kept from the base window over the map,
// and the states a mouse-out ends or keeps.
#include <gtest/gtest.h>

#include "test_app.h"

namespace
{

struct BaseClickLog
{
    int Count = 0, LastButton = -1;
    double LastX = 0.0, LastY = 0.0;
};

void ObserveBaseClicks(TestApp& app, BaseClickLog& log)
{
    app.View.OnClick = [&log](int button, double x, double y) { log = {log.Count + 1, button, x, y}; };
}

TEST(EventMouseClick, WheelStepsEightPercentOverTheMapZoomStepOtherwiseWithinTheBounds)
{
    // clang-format off
    struct Case { const char* Name; bool bLoadMap, bMapView; int Button; double Distance, ZoomStep, Min, Max, Expected; } cases[] = {
        {"map in", true, true, 3, 1000.0, 10.0, 1.0, 5000.0, 920.0},
        {"map out", true, true, 4, 1000.0, 10.0, 1.0, 5000.0, 1080.0},
        {"map, ZoomStep larger than 8 %", true, true, 3, 100.0, 30.0, 1.0, 5000.0, 70.0},
        {"no map view flag", true, false, 3, 1000.0, 10.0, 1.0, 5000.0, 990.0},
        {"map not loaded", false, true, 4, 1000.0, 10.0, 1.0, 5000.0, 1010.0},
        {"stops at the minimum", false, false, 3, 120.0, 50.0, 100.0, 200.0, 100.0},
        {"stops at the maximum", false, false, 4, 180.0, 50.0, 100.0, 200.0, 200.0},
        {"crossed bounds: the maximum wins in", false, false, 3, 200.0, 50.0, 300.0, 200.0, 200.0},
        {"crossed bounds: the maximum wins out", false, false, 4, 200.0, 50.0, 300.0, 200.0, 200.0},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        if (c.bLoadMap)
            app.LoadFlatMap();
        app.View.bSpringMapView = c.bMapView;
        app.View.CameraDistance = c.Distance;
        app.View.ZoomStep = c.ZoomStep;
        app.View.MinCameraDistance = c.Min;
        app.View.MaxCameraDistance = c.Max;
        BaseClickLog log;
        ObserveBaseClicks(app, log);
        app.View.EventMouseClick(c.Button, 0.0, 0.0);
        EXPECT_DOUBLE_EQ(app.View.CameraDistance, c.Expected) << c.Name;
        EXPECT_TRUE(app.App.bChildWindowProcessed) << c.Name;
        EXPECT_EQ(log.Count, 0) << c.Name;
    }
}

TEST(EventMouseClick, WhatTheViewDoesNotTakeGoesToTheBaseUnchanged)
{
    // clang-format off
    struct Case { const char* Name; int Button; double X; bool bInteraction, bLoadMap, bVehicleControl, bTaken; } cases[] = {
        {"wheel outside", 3, 0.5, true, true, true, false},
        {"wheel with interaction off", 4, -0.5, false, true, true, false},
        {"right, over the map", 2, -0.5, true, true, true, true},
        {"right, map unloaded", 2, -0.5, true, false, true, false},
        {"right, vehicle control off", 2, -0.5, true, true, false, false},
        {"right, outside", 2, 0.5, true, true, true, false},
        {"left", 0, -0.5, true, true, true, false},
        {"unknown code", 7, -0.5, true, true, true, false},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        if (c.bLoadMap)
            app.LoadFlatMap();
        app.View.WindowX2 = 0.0; // left half of the window
        app.View.CameraDistance = 500.0;
        app.View.bMouseInteraction = c.bInteraction;
        app.View.bVehicleControl = c.bVehicleControl;
        BaseClickLog log;
        ObserveBaseClicks(app, log);
        app.View.EventMouseClick(c.Button, c.X, 0.25);
        EXPECT_EQ(log.Count, c.bTaken ? 0 : 1) << c.Name;
        EXPECT_EQ(app.App.bChildWindowProcessed, c.bTaken) << c.Name;
        EXPECT_DOUBLE_EQ(app.View.CameraDistance, 500.0) << c.Name;
        if (!c.bTaken)
        {
            EXPECT_EQ(log.LastButton, c.Button) << c.Name;
            EXPECT_DOUBLE_EQ(log.LastX, c.X) << c.Name;
            EXPECT_DOUBLE_EQ(log.LastY, 0.25) << c.Name;
        }
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
        EXPECT_EQ(app.View.HoverNavButton + app.View.ActiveNavButton, 0) << c.Name;
        EXPECT_EQ(app.View.NavLastRepeatMs, 0u) << c.Name;
        EXPECT_EQ(app.View.bPanDrag, c.bKeepPan) << c.Name;
        EXPECT_EQ(app.View.bOrderDrag, c.bKeepOrder) << c.Name;
        EXPECT_EQ(app.View.bOrderDragMoved, c.bKeepOrder) << c.Name;
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
