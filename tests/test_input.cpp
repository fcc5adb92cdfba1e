// Per-frame mouse processing: guards, pointer, button edges, camera orbit and pan, the interaction
// gate and the end-of-frame bookkeeping.
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "test_app.h"

namespace
{

TEST(WrapAngleDeg, WrapsIntoHalfOpenRange)
{
    // clang-format off
    struct Case { double In, Out; } cases[] = {
        {181.0, -179.0}, {179.0 + 2.0, -179.0}, {-180.0, 180.0}, {180.0, 180.0},
        {540.0, 180.0},  {-540.0, 180.0},       {360.0, 0.0},    {-181.0, 179.0},
        {0.0, 0.0},      {-179.5, -179.5},      {719.0, -1.0},   {180.05, -179.95},
    };
    // clang-format on
    for (const Case& c : cases)
        EXPECT_DOUBLE_EQ(WrapAngleDeg(c.In), c.Out) << "input " << c.In;
    EXPECT_TRUE(std::isnan(WrapAngleDeg(std::numeric_limits<double>::quiet_NaN())));
}

TEST(MouseProcessingGuards, HiddenDisabledOrEmptyViewportTouchesNothing)
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
        app.View.WindowX1 = c.X1;
        app.View.WindowY1 = c.Y1;
        app.View.WindowX2 = c.X2;
        app.View.WindowY2 = c.Y2;
        app.View.MouseLocalX = 0.25;
        app.MouseState.X3D = 0.0;
        app.MouseState.Y3D = 0.0;
        app.Frame(true);
        app.Frame(true);
        EXPECT_EQ(app.View.MouseLocalX, 0.25) << c.Name;
        EXPECT_FALSE(app.View.bMouseOver) << c.Name;
        EXPECT_FALSE(app.View.bOrbitDrag) << c.Name;
        EXPECT_FALSE(app.App.bChildWindowProcessed) << c.Name;
    }
}

TEST(MouseProcessingPointer, LocalCoordinatesFollowThePointerInsideAndOutside)
{
    TestApp app;
    app.PointAtGlobal(0.0, 0.0);
    app.Frame();
    EXPECT_TRUE(app.View.bMouseInside);
    EXPECT_TRUE(app.View.bMouseOver);
    EXPECT_DOUBLE_EQ(app.View.MouseLocalX, 0.5);
    EXPECT_DOUBLE_EQ(app.View.MouseLocalY, 0.5);
    EXPECT_EQ(app.View.MouseLocalXPx, 640);
    EXPECT_EQ(app.View.MouseLocalYPx, 360);

    // Half the window's viewport: local pixels count the viewport's own pixels.
    app.View.WindowX1 = 0.0;
    app.View.WindowY2 = 0.0;
    app.PointAtGlobal(0.5, 0.25);
    app.Frame();
    EXPECT_DOUBLE_EQ(app.View.MouseLocalX, 0.5);
    EXPECT_DOUBLE_EQ(app.View.MouseLocalY, 0.75);
    EXPECT_EQ(app.View.MouseLocalXPx, 320);
    EXPECT_EQ(app.View.MouseLocalYPx, 270);

    // Outside: coordinates still follow, bMouseOver stays set until a mouse-out.
    app.PointAtGlobal(-0.5, 0.5);
    app.Frame();
    EXPECT_FALSE(app.View.bMouseInside);
    EXPECT_TRUE(app.View.bMouseOver);
    EXPECT_DOUBLE_EQ(app.View.MouseLocalX, -0.5);
    EXPECT_EQ(app.View.MouseLocalXPx, -320);
}

TEST(MouseProcessingOrbit, LeftDragTurnsYawAndPitchByPixels)
{
    TestApp app;
    app.LoadFlatMap();
    sdlseam::SetMods(SDL_KMOD_LALT); // over the map a plain left press draws a selection band
    app.View.CameraYawDeg = 10.0;
    app.View.CameraPitchDeg = 40.0;
    app.View.OrbitDegPerPixel = 0.5;
    app.PointAtPixel(640, 360);
    app.Frame(true); // press: starts the orbit, no movement yet
    EXPECT_TRUE(app.View.bOrbitDrag);
    EXPECT_TRUE(app.App.bChildWindowProcessed);
    EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, 10.0);

    app.PointAtPixel(650, 364); // 10 px right, 4 px down
    app.Frame(true);
    EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, 15.0);
    EXPECT_DOUBLE_EQ(app.View.CameraPitchDeg, 42.0);

    // The release frame ends the orbit; later motion does nothing.
    app.Frame(false);
    EXPECT_FALSE(app.View.bOrbitDrag);
    app.MouseState.X3D += 0.5;
    app.Frame(false);
    EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, 15.0);
}

TEST(MouseProcessingOrbit, PitchClampsInMapViewAndWrapsOutsideIt)
{
    for (const bool bMapView : {true, false})
    {
        TestApp app;
        app.LoadFlatMap();
        sdlseam::SetMods(SDL_KMOD_LALT); // over the map a plain left press draws a selection band
        app.View.bSpringMapView = bMapView;
        app.View.CameraYawDeg = 179.0;
        app.View.CameraPitchDeg = 80.0;
        app.View.OrbitDegPerPixel = 1.0;
        app.PointAtPixel(640, 72);
        app.Frame(true);
        app.PointAtPixel(642, 182); // 2 px right, 110 px down
        app.Frame(true);
        EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, -179.0) << "map view " << bMapView;
        EXPECT_DOUBLE_EQ(app.View.CameraPitchDeg, bMapView ? 84.0 : -170.0) << "map view " << bMapView;
        app.PointAtPixel(642, 10); // far up again
        app.Frame(true);
        if (bMapView)
        {
            EXPECT_DOUBLE_EQ(app.View.CameraPitchDeg, 8.0);
        }
    }
}

TEST(MouseProcessingPan, StepDependsOnDistanceFovAndViewportHeight)
{
    // Returns PanX, PanY after a 10 px right, 5 px down middle drag.
    const auto panAfterDrag = [](double distance, double fovDeg, double windowY2)
    {
        TestApp app;
        app.View.CameraDistance = distance;
        app.View.CameraFovDeg = fovDeg;
        app.View.WindowY2 = windowY2;
        app.PointAtGlobal(0.0, 0.5);
        app.Frame(false, true);
        EXPECT_TRUE(app.View.bPanDrag);
        app.MouseState.X += 10;
        app.MouseState.Y += 5;
        app.Frame(false, true);
        return std::pair<double, double>(app.View.PanX, app.View.PanY);
    };
    // Full-height viewport of 720 px, distance 100, fov 90: 200 / 720 world units per pixel.
    const double perPx = 200.0 / 720.0;
    auto [x, y] = panAfterDrag(100.0, 90.0, -1.0);
    EXPECT_NEAR(x, 10 * perPx, 1e-12);
    EXPECT_NEAR(y, -5 * perPx, 1e-12);
    EXPECT_NEAR(panAfterDrag(200.0, 90.0, -1.0).first, 20 * perPx, 1e-12);
    // Half the height in pixels doubles the step.
    EXPECT_NEAR(panAfterDrag(100.0, 90.0, 0.0).first, 20 * perPx, 1e-12);
    // Field of view clamps to 1..170; a zero distance uses the 0.001 floor.
    EXPECT_NEAR(panAfterDrag(100.0, 500.0, -1.0).first, 10 * 200.0 * std::tan(85.0 * M_PI / 180.0) / 720.0,
                1e-9);
    EXPECT_NEAR(panAfterDrag(0.0, 90.0, -1.0).first, 10 * 0.002 / 720.0, 1e-15);
    EXPECT_NEAR(panAfterDrag(100.0, 0.5, -1.0).first, 10 * 200.0 * std::tan(0.5 * M_PI / 180.0) / 720.0,
                1e-12);
}

TEST(MouseProcessingPan, OnlyAHeldMiddleButtonOfAPanDragPans)
{
    TestApp app;
    app.View.CameraDistance = 360.0;
    app.View.CameraFovDeg = 90.0;
    app.PointAtGlobal(0.0, 0.0);
    app.Frame(false, true);
    // The release frame's pointer move does not pan.
    app.MouseState.X += 7;
    app.Frame();
    EXPECT_EQ(app.View.PanX, 0.0);
    // Nor does a middle drag that started on the widget panel.
    app.View.NavWidgetSize = 0.3;
    app.PointAtLocal(0.9, 0.9);
    app.Frame(false, true);
    app.MouseState.X += 7;
    app.Frame(false, true);
    EXPECT_FALSE(app.View.bPanDrag);
    EXPECT_EQ(app.View.PanX, 0.0);
}

TEST(MouseProcessingPan, PointerMovingLeftAndUpPansNegativeXPositiveY)
{
    TestApp app;
    app.View.CameraDistance = 360.0;
    app.View.CameraFovDeg = 90.0;
    app.PointAtGlobal(0.0, 0.0);
    app.Frame(false, true);
    app.MouseState.X -= 3; // unsigned pixels: the difference is read as signed
    app.MouseState.Y -= 2;
    app.Frame(false, true);
    EXPECT_NEAR(app.View.PanX, -3.0, 1e-12);
    EXPECT_NEAR(app.View.PanY, 2.0, 1e-12);
}

TEST(MouseProcessingDrags, MiddlePressSwitchesOrbitToPanAndDragsGoOnOutside)
{
    TestApp app;
    app.LoadFlatMap();
    sdlseam::SetMods(SDL_KMOD_LALT); // over the map a plain left press draws a selection band
    app.PointAtLocal(0.5, 0.5);
    app.Frame(true);
    EXPECT_TRUE(app.View.bOrbitDrag);
    app.Frame(true, true);
    EXPECT_FALSE(app.View.bOrbitDrag);
    EXPECT_TRUE(app.View.bPanDrag);
    EXPECT_EQ(app.View.PanStartXPx, 640);

    // The pan goes on with the pointer outside the viewport, but marks nothing at the end of the frame.
    app.View.WindowX2 = 0.5;
    app.PointAtGlobal(0.9, 0.0);
    const double panXBefore = app.View.PanX;
    app.Frame(false, true);
    EXPECT_FALSE(app.View.bMouseInside);
    EXPECT_TRUE(app.View.bPanDrag);
    EXPECT_NE(app.View.PanX, panXBefore);

    // A press outside the viewport starts nothing.
    app.Frame(false, false);
    app.Frame(true, false);
    EXPECT_FALSE(app.View.bOrbitDrag);
    EXPECT_FALSE(app.App.bChildWindowProcessed);
}

TEST(MouseProcessingGate, DragsPauseWhileInteractionIsOffAndResume)
{
    TestApp app;
    app.LoadFlatMap();
    sdlseam::SetMods(SDL_KMOD_LALT); // over the map a plain left press draws a selection band
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

    // With interaction off a new press starts no drag, and releasing keeps the flag untouched.
    app.Frame(false);
    app.View.bMouseInteraction = false;
    app.Frame(true);
    EXPECT_FALSE(app.View.bOrbitDrag);
    app.Frame(false, true);
    EXPECT_FALSE(app.View.bPanDrag);
}

TEST(MouseProcessingBookkeeping, MarksOnlyInsideWithAButtonHeld)
{
    TestApp app;
    app.PointAtLocal(0.3, 0.3);
    app.Frame();
    EXPECT_FALSE(app.App.bChildWindowProcessed);
    app.Frame(false, false, true);
    EXPECT_TRUE(app.App.bChildWindowProcessed) << "right button held inside";
    app.Frame(false, false, false);
    EXPECT_FALSE(app.App.bChildWindowProcessed);
    EXPECT_FALSE(app.View.bOrderDrag);
}

} // namespace
