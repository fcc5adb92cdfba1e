// Click and mouse-out events: wheel zoom, right clicks kept from the base window over the map,
// and the states a mouse-out ends or keeps.
#include <gtest/gtest.h>

#include "test_app.h"

namespace
{

struct BaseClickLog
{
    int Count = 0;
    int LastButton = -1;
    double LastX = 0.0, LastY = 0.0;
};

void ObserveBaseClicks(TestApp& app, BaseClickLog& log)
{
    app.View.OnClick = [&log](int button, double x, double y)
    {
        ++log.Count;
        log.LastButton = button;
        log.LastX = x;
        log.LastY = y;
    };
}

TEST(EventMouseClickWheel, StepIsEightPercentOverTheMapAndZoomStepOtherwise)
{
    // clang-format off
    struct Case { const char* Name; bool bLoadMap, bMapView; int Button; double Distance, ZoomStep, Expected; } cases[] = {
        {"map in", true, true, 3, 1000.0, 10.0, 920.0},
        {"map out", true, true, 4, 1000.0, 10.0, 1080.0},
        {"map, ZoomStep larger than 8 %", true, true, 3, 100.0, 30.0, 70.0},
        {"no map view flag", true, false, 3, 1000.0, 10.0, 990.0},
        {"map not loaded", false, true, 4, 1000.0, 10.0, 1010.0},
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
        app.View.MinCameraDistance = 1.0;
        app.View.MaxCameraDistance = 5000.0;
        BaseClickLog log;
        ObserveBaseClicks(app, log);
        app.View.EventMouseClick(c.Button, 0.0, 0.0);
        EXPECT_DOUBLE_EQ(app.View.CameraDistance, c.Expected) << c.Name;
        EXPECT_TRUE(app.App.bChildWindowProcessed) << c.Name;
        EXPECT_EQ(log.Count, 0) << c.Name;
    }
}

TEST(EventMouseClickWheel, DistanceBoundsWithTheMaximumWinningWhenTheyCross)
{
    TestApp app;
    app.View.ZoomStep = 50.0;
    app.View.bSpringMapView = false;
    app.View.MinCameraDistance = 100.0;
    app.View.MaxCameraDistance = 200.0;
    app.View.CameraDistance = 120.0;
    app.View.EventMouseClick(3, 0.0, 0.0);
    EXPECT_DOUBLE_EQ(app.View.CameraDistance, 100.0);
    app.View.CameraDistance = 180.0;
    app.View.EventMouseClick(4, 0.0, 0.0);
    EXPECT_DOUBLE_EQ(app.View.CameraDistance, 200.0);

    app.View.MinCameraDistance = 300.0; // crossed limits
    app.View.EventMouseClick(3, 0.0, 0.0);
    EXPECT_DOUBLE_EQ(app.View.CameraDistance, 200.0);
    app.View.EventMouseClick(4, 0.0, 0.0);
    EXPECT_DOUBLE_EQ(app.View.CameraDistance, 200.0);
}

TEST(EventMouseClickWheel, OutsideOrWithInteractionOffGoesToTheBaseUnchanged)
{
    TestApp app;
    app.LoadFlatMap();
    app.View.WindowX2 = 0.0; // left half of the window
    app.View.CameraDistance = 500.0;
    BaseClickLog log;
    ObserveBaseClicks(app, log);
    app.View.EventMouseClick(3, 0.5, 0.25);
    EXPECT_EQ(log.Count, 1);
    EXPECT_EQ(log.LastButton, 3);
    EXPECT_DOUBLE_EQ(log.LastX, 0.5);
    EXPECT_DOUBLE_EQ(log.LastY, 0.25);
    EXPECT_DOUBLE_EQ(app.View.CameraDistance, 500.0);
    EXPECT_FALSE(app.App.bChildWindowProcessed);

    app.View.bMouseInteraction = false;
    app.View.EventMouseClick(4, -0.5, 0.0);
    EXPECT_EQ(log.Count, 2);
    EXPECT_DOUBLE_EQ(app.View.CameraDistance, 500.0);
}

TEST(EventMouseClickRight, KeptFromTheBaseOnlyOverTheActiveMapView)
{
    // clang-format off
    struct Case { const char* Name; bool bLoadMap, bVehicleControl; double X; bool bTaken; } cases[] = {
        {"map, inside", true, true, 0.0, true},
        {"map unloaded", false, true, 0.0, false},
        {"vehicle control off", true, false, 0.0, false},
        {"outside the viewport", true, true, 0.6, false},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        if (c.bLoadMap)
            app.LoadFlatMap();
        app.View.bVehicleControl = c.bVehicleControl;
        app.View.WindowX2 = 0.5;
        BaseClickLog log;
        ObserveBaseClicks(app, log);
        app.View.EventMouseClick(2, c.X, 0.0);
        EXPECT_EQ(log.Count, c.bTaken ? 0 : 1) << c.Name;
        EXPECT_EQ(app.App.bChildWindowProcessed, c.bTaken) << c.Name;
    }
}

TEST(EventMouseClick, LeftAndUnknownCodesGoToTheBaseAndMarkingNeedsTheCore)
{
    TestApp app;
    app.LoadFlatMap();
    BaseClickLog log;
    ObserveBaseClicks(app, log);
    app.View.EventMouseClick(0, 0.0, 0.0);
    app.View.EventMouseClick(7, 0.0, 0.0);
    EXPECT_EQ(log.Count, 2);
    EXPECT_TRUE(app.View.bHasFocus) << "the base gives focus on click";

    // Without the application object the click is still taken, just not marked.
    app.CoreServices.pQuindle = nullptr;
    const double before = app.View.CameraDistance;
    app.View.EventMouseClick(3, 0.0, 0.0);
    EXPECT_LT(app.View.CameraDistance, before);
}

TEST(EventMouseOut, EndsLeftButtonStatesAndKeepsHeldPanAndOrderGesture)
{
    TestApp app;
    app.View.bMouseOver = app.View.bMouseInside = true;
    app.View.bOrbitDrag = app.View.bSelectionDragActive = true;
    app.View.bPanDrag = app.View.bOrderDrag = app.View.bOrderDragMoved = true;
    app.View.HoverNavButton = 4;
    app.View.ActiveNavButton = 4;
    app.View.NavLastRepeatMs = 1234;
    app.MouseState.pButton[Mouse::Middle] = true;
    app.MouseState.pButton[Mouse::Right] = true;
    app.View.EventMouseOut();
    EXPECT_FALSE(app.View.bMouseOver);
    EXPECT_FALSE(app.View.bMouseInside);
    EXPECT_FALSE(app.View.bOrbitDrag);
    EXPECT_FALSE(app.View.bSelectionDragActive);
    EXPECT_EQ(app.View.HoverNavButton, 0);
    EXPECT_EQ(app.View.ActiveNavButton, 0);
    EXPECT_EQ(app.View.NavLastRepeatMs, 0u);
    EXPECT_TRUE(app.View.bPanDrag);
    EXPECT_TRUE(app.View.bOrderDrag);
    EXPECT_TRUE(app.View.bOrderDragMoved);
    EXPECT_FALSE(app.App.bChildWindowProcessed);

    // Buttons up: pan and order gesture end too.
    app.MouseState.pButton[Mouse::Middle] = false;
    app.MouseState.pButton[Mouse::Right] = false;
    app.View.EventMouseOut();
    EXPECT_FALSE(app.View.bPanDrag);
    EXPECT_FALSE(app.View.bOrderDrag);
    EXPECT_FALSE(app.View.bOrderDragMoved);

    // Without a mouse record everything ends.
    app.View.bPanDrag = app.View.bOrderDrag = app.View.bOrderDragMoved = true;
    app.CoreServices.pMouse = nullptr;
    app.View.EventMouseOut();
    EXPECT_FALSE(app.View.bPanDrag);
    EXPECT_FALSE(app.View.bOrderDrag);
    EXPECT_FALSE(app.View.bOrderDragMoved);
}

TEST(EventMouseOut, OrbitDoesNotResumeWhenThePointerComesBackHeld)
{
    TestApp app;
    app.LoadFlatMap();
    app.View.OrbitDegPerPixel = 1.0;
    app.PointAtPixel(100, 100);
    app.Frame(true);
    app.View.EventMouseOut();
    app.PointAtPixel(150, 100);
    app.Frame(true);
    app.PointAtPixel(200, 100);
    app.Frame(true);
    EXPECT_FALSE(app.View.bOrbitDrag);
    EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, 0.0);
}

} // namespace
