// Per-frame mouse processing: guards, pointer, camera orbit and pan, the interaction gate and the
// end-of-frame bookkeeping.
#include <cmath>

#include <gtest/gtest.h>

#include "test_app.h"

namespace
{

TEST(MouseProcessing, HiddenDisabledOrEmptyViewportTouchesNothing)
{
    // clang-format off
    struct Case { const char* Name; bool bVisible, bEnabled; double X1, Y1, X2, Y2; } cases[] = {
        {"hidden", false, true, -1, 1, 1, -1},       {"disabled", true, false, -1, 1, 1, -1},
        {"zero width", true, true, 0.5, 1, 0.5, -1}, {"inverted x", true, true, 1, 1, -1, -1},
        {"zero height", true, true, -1, 0, 1, 0},    {"inverted y", true, true, -1, -1, 1, 1},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        app.LoadFlatMap();
        app.View.bVisible = c.bVisible;
        app.View.bEnabled = c.bEnabled;
        app.View.WindowX1 = c.X1, app.View.WindowY1 = c.Y1, app.View.WindowX2 = c.X2,
        app.View.WindowY2 = c.Y2;
        app.View.MouseLocalX = 0.25;
        app.PointAtGlobal(0.0, 0.0);
        app.Frame(true);
        app.Frame(true);
        EXPECT_EQ(app.View.MouseLocalX, 0.25) << c.Name;
        EXPECT_FALSE(app.View.bMouseOver || app.View.bOrbitDrag || app.App.bChildWindowProcessed) << c.Name;
    }
}

TEST(MouseProcessing, LocalCoordinatesFollowThePointerInsideAndOutside)
{
    // clang-format off
    struct Case { double WindowX1, WindowY2, Gx, Gy; bool bInside; double X, Y; int XPx, YPx; } cases[] = {
        {-1.0, -1.0, 0.0, 0.0, true, 0.5, 0.5, 640, 360},
        {0.0, 0.0, 0.5, 0.25, true, 0.5, 0.75, 320, 270},   // half the window: the viewport's own pixels
        {0.0, 0.0, -0.5, 0.5, false, -0.5, 0.5, -320, 180}, // outside: still followed
    };
    // clang-format on
    TestApp app;
    for (const Case& c : cases)
    {
        app.View.WindowX1 = c.WindowX1;
        app.View.WindowY2 = c.WindowY2;
        app.PointAtGlobal(c.Gx, c.Gy);
        app.Frame();
        EXPECT_EQ(app.View.bMouseInside, c.bInside) << c.Gx;
        EXPECT_TRUE(app.View.bMouseOver) << "kept until a mouse-out";
        EXPECT_DOUBLE_EQ(app.View.MouseLocalX, c.X) << c.Gx;
        EXPECT_DOUBLE_EQ(app.View.MouseLocalY, c.Y) << c.Gx;
        EXPECT_EQ(app.View.MouseLocalXPx, c.XPx) << c.Gx;
        EXPECT_EQ(app.View.MouseLocalYPx, c.YPx) << c.Gx;
    }
}

TEST(MouseProcessing, LeftDragOrbitsByPixelsClampingThePitchOnlyInTheMapView)
{
    for (const bool bMapView : {true, false})
    {
        TestApp app;
        app.LoadFlatMap();
        sdlseam::SetMods(SDL_KMOD_LALT); // over the map a plain left press draws a selection band
        app.View.bSpringMapView = bMapView;
        app.View.CameraYawDeg = 179.0;
        app.View.CameraPitchDeg = 40.0;
        app.View.OrbitDegPerPixel = 0.5;
        app.PointAtPixel(640, 360);
        app.Frame(true); // the press starts the orbit without moving
        EXPECT_TRUE(app.View.bOrbitDrag && app.App.bChildWindowProcessed);
        EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, 179.0);
        app.PointAtPixel(644, 370); // 4 px right, 10 px down
        app.Frame(true);
        EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, -179.0) << bMapView;
        EXPECT_DOUBLE_EQ(app.View.CameraPitchDeg, 45.0) << bMapView;
        app.PointAtPixel(644, 450); // 80 px down: 85, past the map's 84
        app.Frame(true);
        EXPECT_DOUBLE_EQ(app.View.CameraPitchDeg, bMapView ? 84.0 : 85.0) << bMapView;
        app.PointAtPixel(644, 270); // 180 px up
        app.Frame(true);
        EXPECT_DOUBLE_EQ(app.View.CameraPitchDeg, bMapView ? 8.0 : -5.0) << bMapView;
        app.PointAtPixel(644, 180); // 90 px further up: below -180 outside the map view it wraps
        app.View.CameraPitchDeg = bMapView ? 8.0 : -170.0;
        app.Frame(true);
        EXPECT_DOUBLE_EQ(app.View.CameraPitchDeg, bMapView ? 8.0 : 145.0) << bMapView;
        // The release frame ends the orbit; later motion does nothing.
        app.Frame(false);
        EXPECT_FALSE(app.View.bOrbitDrag);
        app.PointAtPixel(700, 0);
        app.Frame(false);
        EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, -179.0);
    }
}

TEST(MouseProcessing, PanStepDependsOnDistanceFovAndViewportHeight)
{
    const double perPx = 200.0 / 720.0; // distance 100, fov 90 over 720 px
    const auto tanDeg = [](double deg) { return std::tan(deg * M_PI / 180.0); };
    // clang-format off
    struct Case { double Distance, FovDeg, WindowY2; int Dx, Dy; double PanX, PanY; } cases[] = {
        {100.0, 90.0, -1.0, 10, 5, 10 * perPx, -5 * perPx},
        {100.0, 90.0, -1.0, -3, -2, -3 * perPx, 2 * perPx}, // unsigned pixels, read as signed
        {200.0, 90.0, -1.0, 10, 0, 20 * perPx, 0.0},
        {100.0, 90.0, 0.0, 10, 0, 20 * perPx, 0.0},          // half the height in pixels
        {100.0, 500.0, -1.0, 10, 0, 10 * 200.0 * tanDeg(85.0) / 720.0, 0.0}, // fov clamps to 170
        {100.0, 0.5, -1.0, 10, 0, 10 * 200.0 * tanDeg(0.5) / 720.0, 0.0},    // and to 1
        {0.0, 90.0, -1.0, 10, 0, 10 * 0.002 / 720.0, 0.0},                   // distance floor 0.001
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        app.View.CameraDistance = c.Distance;
        app.View.CameraFovDeg = c.FovDeg;
        app.View.WindowY2 = c.WindowY2;
        app.PointAtGlobal(0.0, 0.5);
        app.Frame(false, true);
        EXPECT_TRUE(app.View.bPanDrag);
        app.MouseState.X += c.Dx;
        app.MouseState.Y += c.Dy;
        app.Frame(false, true);
        EXPECT_NEAR(app.View.PanX, c.PanX, 1e-12 * (1 + std::abs(c.PanX))) << c.Distance << " " << c.FovDeg;
        EXPECT_NEAR(app.View.PanY, c.PanY, 1e-12) << c.Distance << " " << c.FovDeg;
        // The release frame's move does not pan.
        app.MouseState.X += 7;
        app.Frame();
        EXPECT_NEAR(app.View.PanX, c.PanX, 1e-12 * (1 + std::abs(c.PanX)));
    }
}

TEST(MouseProcessing, MiddlePressOnTheWidgetPanelStartsNoPan)
{
    TestApp app;
    app.View.NavWidgetSize = 0.3;
    app.PointAtLocal(0.9, 0.9);
    app.Frame(false, true);
    app.MouseState.X += 7;
    app.Frame(false, true);
    EXPECT_FALSE(app.View.bPanDrag);
    EXPECT_EQ(app.View.PanX, 0.0);
}

TEST(MouseProcessing, MiddlePressSwitchesOrbitToPanAndDragsGoOnOutside)
{
    TestApp app;
    app.LoadFlatMap();
    sdlseam::SetMods(SDL_KMOD_LALT);
    app.PointAtLocal(0.5, 0.5);
    app.Frame(true);
    EXPECT_TRUE(app.View.bOrbitDrag);
    app.Frame(true, true);
    EXPECT_FALSE(app.View.bOrbitDrag);
    EXPECT_TRUE(app.View.bPanDrag);
    EXPECT_EQ(app.View.PanStartXPx, 640);

    // The pan goes on with the pointer outside the viewport.
    app.View.WindowX2 = 0.5;
    app.PointAtGlobal(0.9, 0.0);
    app.Frame(false, true);
    EXPECT_FALSE(app.View.bMouseInside);
    EXPECT_TRUE(app.View.bPanDrag);
    EXPECT_NE(app.View.PanX, 0.0);

    // A press outside the viewport starts nothing.
    app.Frame();
    app.Frame(true);
    EXPECT_FALSE(app.View.bOrbitDrag);
    EXPECT_FALSE(app.App.bChildWindowProcessed);
}

TEST(MouseProcessing, DragsPauseWhileInteractionIsOffAndResume)
{
    TestApp app;
    app.LoadFlatMap();
    sdlseam::SetMods(SDL_KMOD_LALT);
    app.View.OrbitDegPerPixel = 1.0;
    app.PointAtPixel(640, 360);
    app.Frame(true);
    app.View.bMouseInteraction = false;
    app.PointAtPixel(650, 360);
    app.Frame(true);
    EXPECT_TRUE(app.View.bOrbitDrag);
    EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, 0.0);
    EXPECT_TRUE(app.App.bChildWindowProcessed) << "a held button inside still marks";

    // Back on with the button still held: the accumulated motion is applied at once.
    app.View.bMouseInteraction = true;
    app.Frame(true);
    EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, 10.0);

    // With interaction off a new press starts no drag.
    app.Frame(false);
    app.View.bMouseInteraction = false;
    app.Frame(true);
    EXPECT_FALSE(app.View.bOrbitDrag);
    app.Frame(false, true);
    EXPECT_FALSE(app.View.bPanDrag);
}

TEST(MouseProcessing, MarksTheFrameOnlyInsideWithAButtonHeld)
{
    TestApp app;
    app.PointAtLocal(0.3, 0.3);
    for (const bool bRight : {false, true, false})
    {
        app.Frame(false, false, bRight);
        EXPECT_EQ(app.App.bChildWindowProcessed, bRight);
    }
    EXPECT_FALSE(app.View.bOrderDrag) << "no map: no order gesture";
}

} // namespace
