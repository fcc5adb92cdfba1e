// Navigation widget: panel and toggle rectangles, hit testing, the camera actions of the buttons, the
// press-and-hold timeline through MouseProcessing, and the auto-rotate toggle's sync and drawing.
#include <climits>
#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "navwidget_buttons.h"
#include "test_app.h"

namespace
{
struct PanelRect
{
    double X1 = 0.0, Y1 = 0.0, X2 = 0.0, Y2 = 0.0;
};

PanelRect GetPanel(const GLViewport& View)
{
    PanelRect r;
    EXPECT_TRUE(View.GetNavWidgetPanelRect(r.X1, r.Y1, r.X2, r.Y2));
    return r;
}

// Viewport-local point of a panel point (u, v), as the widget is drawn.
void PanelToLocal(const PanelRect& r, double u, double v, double& x, double& y)
{
    x = r.X1 + u * (r.X2 - r.X1);
    y = r.Y1 + v * (r.Y2 - r.Y1);
}

void PointAtButton(TestApp& app, int Id)
{
    const NavButtonCase& b = FindNavButtonCase(Id);
    double x = 0.0, y = 0.0;
    PanelToLocal(GetPanel(app.View), (b.U1 + b.U2) / 2.0, (b.V1 + b.V2) / 2.0, x, y);
    app.PointAtLocal(x, y);
}

TEST(NavWidgetLayout, PanelRectClampsSizeAndMargin)
{
    // clang-format off
    struct Case { double Size, Margin; double X1, Y1, X2, Y2; } cases[] = {
        {0.30, 0.02, 0.68, 0.515, 0.98, 0.98},  {0.48, 0.20, 0.32, 0.056, 0.80, 0.80},
        {0.18, 0.00, 0.82, 0.721, 1.00, 1.00},  {0.10, 0.00, 0.82, 0.721, 1.00, 1.00},  // too small: as 0.18
        {-1.0, 0.00, 0.82, 0.721, 1.00, 1.00},  // negative: as 0.18
        {0.90, 0.20, 0.32, 0.056, 0.80, 0.80},  // too large: as 0.48
        {0.30, -0.10, 0.70, 0.535, 1.00, 1.00},  // negative margin: as 0
        {0.30, 0.50, 0.50, 0.335, 0.80, 0.80},  // too wide a margin: as 0.2
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        app.View.NavWidgetSize = c.Size;
        app.View.NavWidgetMargin = c.Margin;
        const PanelRect r = GetPanel(app.View);
        EXPECT_NEAR(r.X1, c.X1, 1e-12) << "size " << c.Size << " margin " << c.Margin;
        EXPECT_NEAR(r.Y1, c.Y1, 1e-12) << "size " << c.Size << " margin " << c.Margin;
        EXPECT_NEAR(r.X2, c.X2, 1e-12) << "size " << c.Size << " margin " << c.Margin;
        EXPECT_NEAR(r.Y2, c.Y2, 1e-12) << "size " << c.Size << " margin " << c.Margin;
    }
}

TEST(NavWidgetLayout, ToggleRectIsFixedWhateverTheWidget)
{
    TestApp app;
    app.View.NavWidgetSize = 0.48;
    app.View.NavWidgetMargin = 0.0;
    double x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
    ASSERT_TRUE(app.View.GetAutoRotateToggleRect(x1, y1, x2, y2));
    EXPECT_EQ(x1, 0.89);
    EXPECT_EQ(y1, 0.935);
    EXPECT_EQ(x2, 0.985);
    EXPECT_EQ(y2, 0.985);
}

TEST(NavWidgetLayout, HiddenOrNonFiniteElementsLeaveTheOutputsUntouched)
{
    TestApp app;
    double x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
    app.View.bNavWidgetVisible = false;
    EXPECT_FALSE(app.View.GetNavWidgetPanelRect(x1, y1, x2, y2));
    app.View.bNavWidgetVisible = true;
    app.View.NavWidgetSize = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(app.View.GetNavWidgetPanelRect(x1, y1, x2, y2));
    app.View.NavWidgetSize = 0.3;
    app.View.NavWidgetMargin = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(app.View.GetNavWidgetPanelRect(x1, y1, x2, y2));
    app.View.bAutoRotateToggleVisible = false;
    EXPECT_FALSE(app.View.GetAutoRotateToggleRect(x1, y1, x2, y2));
    EXPECT_EQ(x1, 0.0);
    EXPECT_EQ(y1, 0.0);
    EXPECT_EQ(x2, 0.0);
    EXPECT_EQ(y2, 0.0);
}

TEST(NavWidgetHitTest, ButtonCentresForEverySizeAndMargin)
{
    for (double size : {0.1, 0.3, 0.9})
        for (double margin : {-0.1, 0.02, 0.5})
        {
            TestApp app;
            app.View.NavWidgetSize = size;
            app.View.NavWidgetMargin = margin;
            const PanelRect r = GetPanel(app.View);
            for (const NavButtonCase& b : NavButtonCases)
            {
                double x = 0.0, y = 0.0;
                PanelToLocal(r, (b.U1 + b.U2) / 2.0, (b.V1 + b.V2) / 2.0, x, y);
                bool bInside = false;
                EXPECT_EQ(app.View.HitNavButton(x, y, &bInside), b.Id)
                    << b.Name << " size " << size << " margin " << margin;
                EXPECT_TRUE(bInside) << b.Name << " size " << size << " margin " << margin;
                EXPECT_EQ(app.View.HitNavButton(x, y, nullptr), b.Id) << b.Name << " without the flag";
            }
        }
}

// The double nearest to Lo + Target * Extent whose panel coordinate, computed the way the hit test
// computes it, is exactly Target; false when no such double lies within 64 steps.
bool FindExactPanelCoord(double Lo, double Extent, double Target, double& Out)
{
    const double start = Lo + Target * Extent;
    double below = start, above = start;
    for (int step = 0; step <= 64; ++step)
    {
        for (double candidate : {below, above})
            if ((candidate - Lo) / std::max(Extent, 1e-9) == Target)
            {
                Out = candidate;
                return true;
            }
        below = std::nextafter(below, -1.0);
        above = std::nextafter(above, 2.0);
    }
    return false;
}

// Steps a coordinate outwards until its panel coordinate leaves the edge value.
double StepOutside(double Lo, double Extent, double Edge, double From, double Direction)
{
    double x = From;
    while ((x - Lo) / std::max(Extent, 1e-9) == Edge)
        x = std::nextafter(x, Direction);
    return x;
}

TEST(NavWidgetHitTest, RegionEdgesAreClosed)
{
    // Exactly-on-edge points exist only for some panel geometries: try a grid of them per corner.
    int cornersTested = 0;
    for (const NavButtonCase& b : NavButtonCases)
        for (double u : {b.U1, b.U2})
            for (double v : {b.V1, b.V2})
            {
                bool bFound = false;
                for (int sizeStep = 0; sizeStep <= 30 && !bFound; ++sizeStep)
                    for (int marginStep = 0; marginStep <= 20 && !bFound; ++marginStep)
                    {
                        TestApp app;
                        app.View.NavWidgetSize = 0.18 + 0.01 * sizeStep;
                        app.View.NavWidgetMargin = 0.01 * marginStep;
                        const PanelRect r = GetPanel(app.View);
                        double x = 0.0, y = 0.0;
                        if (!FindExactPanelCoord(r.X1, r.X2 - r.X1, u, x) ||
                            !FindExactPanelCoord(r.Y1, r.Y2 - r.Y1, v, y))
                            continue;
                        bFound = true;
                        ++cornersTested;
                        EXPECT_EQ(app.View.HitNavButton(x, y, nullptr), b.Id)
                            << b.Name << " corner " << u << ", " << v;
                        // One representable step outwards leaves the button.
                        const double outX = StepOutside(r.X1, r.X2 - r.X1, u, x, u == b.U1 ? -1.0 : 2.0);
                        const double outY = StepOutside(r.Y1, r.Y2 - r.Y1, v, y, v == b.V1 ? -1.0 : 2.0);
                        EXPECT_NE(app.View.HitNavButton(outX, y, nullptr), b.Id)
                            << b.Name << " beyond u " << u;
                        EXPECT_NE(app.View.HitNavButton(x, outY, nullptr), b.Id)
                            << b.Name << " beyond v " << v;
                    }
            }
    // u = 0.04 has no exact preimage in any geometry; every other corner must have been checked.
    EXPECT_GE(cornersTested, 42);
}

TEST(NavWidgetHitTest, GapsBelongToThePanelAndOutsidePointsDoNot)
{
    TestApp app;
    app.View.NavWidgetSize = 0.3;
    app.View.NavWidgetMargin = 0.02;
    const PanelRect r = GetPanel(app.View);
    // clang-format off
    struct Case { const char* Name; double X, Y; bool bInside; } cases[] = {
        {"gap in top row", r.X1 + 0.32 * 0.3, r.Y1 + 0.10 * 0.465, true},
        {"centre of rotate cross", r.X1 + 0.50 * 0.3, r.Y1 + 0.45 * 0.465, true},
        {"panel top-left corner", r.X1, r.Y1, true},
        {"panel bottom-right corner", r.X2, r.Y2, true},
        {"between rotate and pan cross", r.X1 + 0.35 * 0.3, r.Y1 + 0.615 * 0.465, true},
        {"just left of the panel", std::nextafter(r.X1, 0.0), r.Y1 + 0.1, false},
        {"just above the panel", r.X1 + 0.1, std::nextafter(r.Y1, 0.0), false},
        {"just right of the panel", std::nextafter(r.X2, 1.0), r.Y2, false},
        {"just below the panel", r.X2, std::nextafter(r.Y2, 1.0), false},
        {"viewport centre", 0.5, 0.5, false},
        {"outside the viewport", 1.5, 0.9, false},
        {"not a number", std::numeric_limits<double>::quiet_NaN(), 0.9, false},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        bool bInside = !c.bInside; // the flag is written either way
        EXPECT_EQ(app.View.HitNavButton(c.X, c.Y, &bInside), 0) << c.Name;
        EXPECT_EQ(bInside, c.bInside) << c.Name;
    }

    // A hidden widget has no panel: the flag is cleared even on a button's centre.
    app.View.bNavWidgetVisible = false;
    bool bInside = true;
    EXPECT_EQ(app.View.HitNavButton(r.X1 + 0.5 * 0.3, r.Y1 + 0.12 * 0.465, &bInside), 0);
    EXPECT_FALSE(bInside);
}

// --- Camera actions ---------------------------------------------------------------------------------

struct CameraState
{
    double Distance, YawDeg, PitchDeg, PanX, PanY;
};

void SetCamera(GLViewport& View, const CameraState& s)
{
    View.CameraDistance = s.Distance;
    View.CameraYawDeg = s.YawDeg;
    View.CameraPitchDeg = s.PitchDeg;
    View.PanX = s.PanX;
    View.PanY = s.PanY;
}

void ExpectCamera(const GLViewport& View, const CameraState& s, const char* Name)
{
    EXPECT_NEAR(View.CameraDistance, s.Distance, 1e-9) << Name;
    EXPECT_NEAR(View.CameraYawDeg, s.YawDeg, 1e-9) << Name;
    EXPECT_NEAR(View.CameraPitchDeg, s.PitchDeg, 1e-9) << Name;
    EXPECT_NEAR(View.PanX, s.PanX, 1e-9) << Name;
    EXPECT_NEAR(View.PanY, s.PanY, 1e-9) << Name;
}

// Distance 32 gives a pan distance factor of 10; speeds: 5 degrees, 0.08 pan, zoom 2 x 0.5 = 1.
void UseStandardSpeeds(GLViewport& View)
{
    View.NavRotateSpeed = 5.0;
    View.NavPanSpeed = 0.08;
    View.ZoomStep = 2.0;
    View.NavZoomRate = 0.5;
    View.MinCameraDistance = 1.0;
    View.MaxCameraDistance = 100.0;
}

TEST(NavButtonActions, EachCodeMovesItsOwnFieldByOneScaledStep)
{
    const CameraState start{32.0, 10.0, 20.0, 1.0, 2.0};
    // clang-format off
    struct Case { const char* Name; int Id; double Scale; CameraState Expected; } cases[] = {
        {"zoom in", 1, 1.0, {31.0, 10.0, 20.0, 1.0, 2.0}},
        {"zoom in half", 1, 0.5, {31.5, 10.0, 20.0, 1.0, 2.0}},
        {"zoom out", 2, 1.0, {33.0, 10.0, 20.0, 1.0, 2.0}},
        {"rotate up", 4, 1.0, {32.0, 10.0, 15.0, 1.0, 2.0}},
        {"rotate down", 5, 1.0, {32.0, 10.0, 25.0, 1.0, 2.0}},
        {"rotate left", 6, 1.0, {32.0, 5.0, 20.0, 1.0, 2.0}},
        {"rotate right", 7, 1.0, {32.0, 15.0, 20.0, 1.0, 2.0}},
        {"rotate right 2.5", 7, 2.5, {32.0, 22.5, 20.0, 1.0, 2.0}},
        {"pan up", 8, 1.0, {32.0, 10.0, 20.0, 1.0, 2.8}},
        {"pan down", 9, 1.0, {32.0, 10.0, 20.0, 1.0, 1.2}},
        {"pan left", 10, 1.0, {32.0, 10.0, 20.0, 0.2, 2.0}},
        {"pan right", 11, 1.0, {32.0, 10.0, 20.0, 1.8, 2.0}},
        {"pan right 0.25", 11, 0.25, {32.0, 10.0, 20.0, 1.2, 2.0}},
        {"code 0", 0, 1.0, start},
        {"code 12", 12, 1.0, start},
        {"code -1", -1, 1.0, start},
        {"code INT_MIN", INT_MIN, 1.0, start},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        UseStandardSpeeds(app.View);
        SetCamera(app.View, start);
        app.View.ApplyNavButtonScaled(c.Id, c.Scale);
        ExpectCamera(app.View, c.Expected, c.Name);
        EXPECT_EQ(app.View.ResetCameraCalls, 0) << c.Name;
    }

    // ApplyNavButton is one whole step.
    TestApp app;
    UseStandardSpeeds(app.View);
    SetCamera(app.View, start);
    app.View.ApplyNavButton(7);
    ExpectCamera(app.View, {32.0, 15.0, 20.0, 1.0, 2.0}, "ApplyNavButton");
}

TEST(NavButtonActions, SpeedFloorsAndThePanDistanceFactor)
{
    // clang-format off
    struct Case { const char* Name; double RotateSpeed, PanSpeed, Distance; int Id; double Scale; double ExpectedYawDeg, ExpectedPanX; } cases[] = {
        {"rotate speed 0 uses 0.01", 0.0, 0.08, 32.0, 7, 1.0, 0.01, 0.0},
        {"negative rotate speed uses 0.01", -4.0, 0.08, 32.0, 7, 3.0, 0.03, 0.0},
        {"rotate speed just above the floor", 0.02, 0.08, 32.0, 7, 1.0, 0.02, 0.0},
        {"pan speed 0 uses 0.0005", 5.0, 0.0, 32.0, 11, 1.0, 0.0, 0.005},
        {"negative pan speed uses 0.0005", 5.0, -1.0, 32.0, 11, 1.0, 0.0, 0.005},
        {"distance 1 gives factor 0.5", 5.0, 0.08, 1.0, 11, 1.0, 0.0, 0.04},
        {"distance 1.6 gives factor 0.5", 5.0, 0.08, 1.6, 11, 1.0, 0.0, 0.04},
        {"distance 3.2 gives factor 1", 5.0, 0.08, 3.2, 11, 1.0, 0.0, 0.08},
        {"distance 0 gives factor 0.5", 5.0, 0.08, 0.0, 11, 1.0, 0.0, 0.04},
        {"distance 32 gives factor 10", 5.0, 0.08, 32.0, 11, 1.0, 0.0, 0.8},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        app.View.NavRotateSpeed = c.RotateSpeed;
        app.View.NavPanSpeed = c.PanSpeed;
        app.View.MinCameraDistance = 0.0;
        SetCamera(app.View, {c.Distance, 0.0, 20.0, 0.0, 0.0});
        app.View.ApplyNavButtonScaled(c.Id, c.Scale);
        EXPECT_NEAR(app.View.CameraYawDeg, c.ExpectedYawDeg, 1e-12) << c.Name;
        EXPECT_NEAR(app.View.PanX, c.ExpectedPanX, 1e-12) << c.Name;
        EXPECT_EQ(app.View.CameraDistance, c.Distance) << c.Name;
    }
}

TEST(NavButtonActions, ZeroOrNegativeScaleMovesNothingButStillBounds)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    // clang-format off
    struct Case { const char* Name; bool bMapView; int Id; CameraState Start, Expected; } cases[] = {
        {"zoom in raises to the minimum", false, 1, {0.5, 0, 20, 0, 0}, {1.0, 0, 20, 0, 0}},
        {"zoom in ignores the maximum", false, 1, {200, 0, 20, 0, 0}, {200, 0, 20, 0, 0}},
        {"zoom out lowers to the maximum", false, 2, {200, 0, 20, 0, 0}, {100, 0, 20, 0, 0}},
        {"zoom out ignores the minimum", false, 2, {0.5, 0, 20, 0, 0}, {0.5, 0, 20, 0, 0}},
        {"pitch up clamps to 84 in the map", true, 4, {32, 0, 90, 0, 0}, {32, 0, 84, 0, 0}},
        {"pitch down clamps to 8 in the map", true, 5, {32, 0, 3, 0, 0}, {32, 0, 8, 0, 0}},
        {"pitch wraps without the map", false, 5, {32, 0, 181, 0, 0}, {32, 0, -179, 0, 0}},
        {"yaw left wraps", false, 6, {32, 540, 20, 0, 0}, {32, 180, 20, 0, 0}},
        {"yaw right wraps", false, 7, {32, -190, 20, 0, 0}, {32, 170, 20, 0, 0}},
        {"pan stays", false, 11, {32, 0, 20, 1, 2}, {32, 0, 20, 1, 2}},
        {"reset resets", false, 3, {32, 40, 20, 1, 2}, {3.2, 0, -12, 0, 0}},
    };
    // clang-format on
    for (const Case& c : cases)
        for (double scale : {0.0, -1.0, -1e300, nan})
        {
            TestApp app;
            UseStandardSpeeds(app.View);
            if (c.bMapView)
                app.LoadFlatMap(8);
            SetCamera(app.View, c.Start);
            app.View.ApplyNavButtonScaled(c.Id, scale);
            ExpectCamera(app.View, c.Expected, c.Name);
            EXPECT_FALSE(std::isnan(app.View.CameraYawDeg)) << c.Name << " scale " << scale;
        }
}

TEST(NavButtonActions, WrapAndPitchBoundsAtTheEdges)
{
    // clang-format off
    struct Case { const char* Name; bool bMapView; int Id; double YawDeg, PitchDeg, Step; double ExpectedYawDeg, ExpectedPitchDeg; } cases[] = {
        {"yaw 179.5 + 1", false, 7, 179.5, 20, 1.0, -179.5, 20},
        {"yaw -179.5 - 1", false, 6, -179.5, 20, 1.0, 179.5, 20},
        {"yaw exactly -180 becomes 180", false, 6, -179.0, 20, 1.0, 180.0, 20},
        {"map pitch 83.5 + 2", true, 5, 0, 83.5, 2.0, 0, 84},
        {"map pitch 9 - 2", true, 4, 0, 9.0, 2.0, 0, 8},
        {"map pitch inside the bounds", true, 4, 0, 50.0, 2.0, 0, 48},
        {"free pitch 83.5 + 2", false, 5, 0, 83.5, 2.0, 0, 85.5},
        {"free pitch 179 + 2 wraps", false, 5, 0, 179.0, 2.0, 0, -179},
        {"free pitch -179 - 2 wraps", false, 4, 0, -179.0, 2.0, 0, 179},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        app.View.NavRotateSpeed = c.Step;
        if (c.bMapView)
            app.LoadFlatMap(8);
        app.View.CameraYawDeg = c.YawDeg;
        app.View.CameraPitchDeg = c.PitchDeg;
        app.View.ApplyNavButton(c.Id);
        EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, c.ExpectedYawDeg) << c.Name;
        EXPECT_DOUBLE_EQ(app.View.CameraPitchDeg, c.ExpectedPitchDeg) << c.Name;
    }

    // A loaded map shown outside the map view (bSpringMapView off) wraps like no map at all.
    TestApp app;
    app.LoadFlatMap(8);
    app.View.bSpringMapView = false;
    app.View.NavRotateSpeed = 2.0;
    app.View.CameraPitchDeg = 83.5;
    app.View.ApplyNavButton(5);
    EXPECT_DOUBLE_EQ(app.View.CameraPitchDeg, 85.5);
}

TEST(NavButtonActions, ResetOutsideTheMapViewUsesTheDefaultCamera)
{
    // clang-format off
    struct Case { const char* Name; double MinDistance, MaxDistance, ExpectedDistance; } cases[] = {
        {"minimum 5 wins", 5.0, 10.0, 5.0},
        {"maximum 2 wins", 0.1, 2.0, 2.0},
        {"inside the bounds", 1.0, 10.0, 3.2},
        {"minimum above maximum: maximum wins", 5.0, 4.0, 4.0},
    };
    // clang-format on
    for (const Case& c : cases)
        for (double scale : {1.0, 0.0, 7.0})
        {
            TestApp app;
            app.View.MinCameraDistance = c.MinDistance;
            app.View.MaxCameraDistance = c.MaxDistance;
            SetCamera(app.View, {40.0, 33.0, 44.0, 5.0, 6.0});
            app.View.WorldOffsetX = 7.0;
            app.View.WorldOffsetZ = 8.0;
            app.View.ApplyNavButtonScaled(3, scale);
            ExpectCamera(app.View, {c.ExpectedDistance, 0.0, -12.0, 0.0, 0.0}, c.Name);
            EXPECT_EQ(app.View.WorldOffsetX, 0.0) << c.Name;
            EXPECT_EQ(app.View.WorldOffsetZ, 0.0) << c.Name;
            EXPECT_EQ(app.View.ResetCameraCalls, 0) << c.Name;
        }
}

TEST(NavButtonActions, ResetInTheMapViewDelegatesAndTouchesNothingElse)
{
    TestApp app;
    app.LoadFlatMap(8);
    SetCamera(app.View, {40.0, 33.0, 44.0, 5.0, 6.0});
    app.View.WorldOffsetX = 7.0;
    app.View.ApplyNavButtonScaled(3, 0.25);
    EXPECT_EQ(app.View.ResetCameraCalls, 1);
    ExpectCamera(app.View, {40.0, 33.0, 44.0, 5.0, 6.0}, "map reset");
    EXPECT_EQ(app.View.WorldOffsetX, 7.0);

    // A map without a mesh is not the map view.
    app.View.SpringMap.IndexCount = 0;
    app.View.ApplyNavButton(3);
    EXPECT_EQ(app.View.ResetCameraCalls, 1);
    EXPECT_EQ(app.View.CameraPitchDeg, -12.0);
}

// --- Press and hold through MouseProcessing ---------------------------------------------------------

// Yaw changes by 5 degrees per step (rotate right); the view has no map, so nothing clamps.
void SetUpHold(TestApp& app, double HoldRate)
{
    app.View.NavRotateSpeed = 5.0;
    app.View.NavHoldRate = HoldRate;
    app.View.CameraYawDeg = 0.0;
    app.View.NavWidgetSize = 0.3;
    PointAtButton(app, 7);
}

TEST(NavButtonHold, PressAppliesOnceThenRepeatsByElapsedTime)
{
    for (double holdRate : {6.0, 1.0, 0.25, -3.0})
    {
        TestApp app;
        SetUpHold(app, holdRate);
        sdlseam::SetTicks(1000);
        app.Frame(true);
        EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, 5.0) << "rate " << holdRate;
        EXPECT_EQ(app.View.ActiveNavButton, 7) << "rate " << holdRate;
        EXPECT_EQ(app.View.NavRepeatStartMs, 1090u) << "rate " << holdRate;
        EXPECT_EQ(app.View.NavLastRepeatMs, 1000u) << "rate " << holdRate;
        EXPECT_FALSE(app.View.bOrbitDrag) << "rate " << holdRate;
        EXPECT_TRUE(app.App.bChildWindowProcessed) << "rate " << holdRate;

        // 16 ms frames up to 300 ms after the press; the repeats start at 1090.
        const double stepsPerSec = std::max(holdRate, 1.0);
        double expectedYaw = 5.0;
        std::uint64_t lastRepeatMs = 1090;
        for (std::uint64_t now = 1016;; now = std::min<std::uint64_t>(now + 16, 1300))
        {
            sdlseam::SetTicks(now);
            app.Frame(true);
            if (now > lastRepeatMs)
            {
                expectedYaw += (now - lastRepeatMs) * 0.001 * stepsPerSec * 5.0;
                lastRepeatMs = now;
            }
            EXPECT_NEAR(app.View.CameraYawDeg, expectedYaw, 1e-9) << "rate " << holdRate << " at " << now;
            if (now == 1300)
                break;
        }
        // One whole step plus 0.21 s of repeats.
        EXPECT_NEAR(app.View.CameraYawDeg, 5.0 + 0.21 * stepsPerSec * 5.0, 1e-9) << "rate " << holdRate;
        EXPECT_EQ(app.View.NavLastRepeatMs, 1300u) << "rate " << holdRate;

        // Release: the hold ends and the repeat clock is cleared.
        sdlseam::SetTicks(1316);
        app.Frame(false);
        EXPECT_EQ(app.View.ActiveNavButton, 0) << "rate " << holdRate;
        EXPECT_EQ(app.View.NavLastRepeatMs, 0u) << "rate " << holdRate;
        EXPECT_NEAR(app.View.CameraYawDeg, 5.0 + 0.21 * stepsPerSec * 5.0, 1e-9) << "rate " << holdRate;
    }
}

TEST(NavButtonHold, TotalDependsOnElapsedTimeNotOnFrameRate)
{
    for (std::uint64_t frameMs : {1, 7, 16, 33, 100, 400})
    {
        TestApp app;
        SetUpHold(app, 6.0);
        sdlseam::SetTicks(0);
        app.Frame(true);
        for (std::uint64_t now = frameMs; now < 400; now += frameMs)
        {
            sdlseam::SetTicks(now);
            app.Frame(true);
        }
        sdlseam::SetTicks(400);
        app.Frame(true);
        // 5 degrees for the press, then (400 - 90) ms at 6 steps a second.
        EXPECT_NEAR(app.View.CameraYawDeg, 5.0 + 0.31 * 6.0 * 5.0, 1e-9) << "frames of " << frameMs << " ms";
    }
}

TEST(NavButtonHold, SlidingOffEndsTheHoldAndSlidingBackDoesNotRestartIt)
{
    TestApp app;
    SetUpHold(app, 6.0);
    sdlseam::SetTicks(0);
    app.Frame(true);
    sdlseam::SetTicks(200);
    app.Frame(true);
    const double yawAfterHold = app.View.CameraYawDeg;
    EXPECT_NEAR(yawAfterHold, 5.0 + 0.11 * 6.0 * 5.0, 1e-9);

    PointAtButton(app, 6); // slide to rotate left with the button still down
    sdlseam::SetTicks(300);
    app.Frame(true);
    EXPECT_EQ(app.View.ActiveNavButton, 0);
    EXPECT_EQ(app.View.HoverNavButton, 6);
    EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, yawAfterHold);
    EXPECT_FALSE(app.View.bOrbitDrag) << "the held press must not turn into an orbit";

    PointAtButton(app, 7); // and back
    for (std::uint64_t now : {400, 500, 900})
    {
        sdlseam::SetTicks(now);
        app.Frame(true);
        EXPECT_EQ(app.View.ActiveNavButton, 0) << "at " << now;
        EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, yawAfterHold) << "at " << now;
    }

    // A new press starts a new hold.
    app.Frame(false);
    sdlseam::SetTicks(1000);
    app.Frame(true);
    EXPECT_EQ(app.View.ActiveNavButton, 7);
    EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, yawAfterHold + 5.0);
}

TEST(NavButtonHold, HoverFollowsThePointerEveryFrameAndGapsBlockTheOrbit)
{
    TestApp app;
    app.View.NavWidgetSize = 0.3;
    for (const NavButtonCase& b : NavButtonCases)
    {
        PointAtButton(app, b.Id);
        app.Frame();
        EXPECT_EQ(app.View.HoverNavButton, b.Id) << b.Name;
        EXPECT_TRUE(app.App.bChildWindowProcessed) << b.Name << ": the pointer is over the widget";
    }
    app.PointAtLocal(0.3, 0.3);
    app.Frame();
    EXPECT_EQ(app.View.HoverNavButton, 0);

    // A press between two buttons belongs to the widget: no orbit, no button.
    double x = 0.0, y = 0.0;
    PanelToLocal(GetPanel(app.View), 0.50, 0.45, x, y);
    app.PointAtLocal(x, y);
    const double yaw = app.View.CameraYawDeg;
    app.Frame(true);
    app.PointAtLocal(x - 0.05, y);
    app.Frame(true);
    EXPECT_FALSE(app.View.bOrbitDrag);
    EXPECT_EQ(app.View.ActiveNavButton, 0);
    EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, yaw);
}

// --- Auto-rotate toggle -----------------------------------------------------------------------------

class RecordingToggle : public GLToggleButton
{
  public:
    struct Call
    {
        double X1, Y1, X2, Y2;
        bool bChecked;
    };
    std::vector<Call> Calls;
    void RenderInRect(double X1, double Y1, double X2, double Y2) override
    {
        Calls.push_back({X1, Y1, X2, Y2, IsChecked()});
        GLToggleButton::RenderInRect(X1, Y1, X2, Y2);
    }
};

RecordingToggle& InstallRecordingToggle(TestApp& app)
{
    auto toggle = std::make_unique<RecordingToggle>();
    RecordingToggle& ref = *toggle;
    app.View.pAutoRotateToggle = std::move(toggle);
    return ref;
}

TEST(AutoRotateToggle, SyncCopiesTheViewportStateIntoTheButton)
{
    TestApp app;
    RecordingToggle& toggle = InstallRecordingToggle(app);
    toggle.bVisible = false;
    toggle.bEnabled = false;
    toggle.Label = "stale";
    int notifications = 0;
    toggle.OnToggled = [&](bool) { ++notifications; };
    app.View.bAutoRotate = true;
    app.View.SyncAutoRotateToggleState();
    EXPECT_TRUE(toggle.bVisible);
    EXPECT_TRUE(toggle.bEnabled);
    EXPECT_EQ(toggle.pParentWindow, &app.Window);
    EXPECT_TRUE(toggle.IsChecked());
    EXPECT_EQ(toggle.Label, "Rotate");
    EXPECT_EQ(notifications, 0) << "syncing is not a toggle by a person";

    // Synced directly, the button follows the visibility flag.
    app.View.bAutoRotateToggleVisible = false;
    app.View.pParentWindow = nullptr;
    app.View.SyncAutoRotateToggleState();
    EXPECT_FALSE(toggle.bVisible);
    EXPECT_FALSE(toggle.bEnabled);
    EXPECT_EQ(toggle.pParentWindow, nullptr);
    EXPECT_TRUE(toggle.Calls.empty());

    // Hidden, the overlay neither draws nor syncs: the button keeps its last synced state.
    app.View.bAutoRotate = false;
    app.View.RenderAutoRotateToggleOverlay();
    EXPECT_TRUE(toggle.Calls.empty());
    EXPECT_TRUE(toggle.IsChecked());
    EXPECT_TRUE(app.Renderer.GetPrimitives().empty());

    // A null button is allowed.
    app.View.pAutoRotateToggle.reset();
    app.View.SyncAutoRotateToggleState();
    app.View.RenderAutoRotateToggleOverlay();
    EXPECT_TRUE(app.Renderer.GetPrimitives().empty());
    EXPECT_TRUE(app.Font.GetTextCalls().empty());
}

TEST(AutoRotateToggle, DrawnOnTheToggleRectInGlobalCoordinates)
{
    // clang-format off
    struct Case { const char* Name; double WindowX1, WindowY1, WindowX2, WindowY2; double X1, Y1, X2, Y2; } cases[] = {
        {"full window", -1.0, 1.0, 1.0, -1.0, 0.78, -0.87, 0.97, -0.97},
        {"right half", 0.0, 1.0, 1.0, -1.0, 0.89, -0.87, 0.985, -0.97},
        {"top-left quarter", -1.0, 1.0, 0.0, 0.0, -0.11, 0.065, -0.015, 0.015},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        RecordingToggle& toggle = InstallRecordingToggle(app);
        app.View.WindowX1 = c.WindowX1;
        app.View.WindowY1 = c.WindowY1;
        app.View.WindowX2 = c.WindowX2;
        app.View.WindowY2 = c.WindowY2;
        app.View.RenderAutoRotateToggleOverlay();
        ASSERT_EQ(toggle.Calls.size(), 1u) << c.Name;
        EXPECT_NEAR(toggle.Calls[0].X1, c.X1, 1e-12) << c.Name;
        EXPECT_NEAR(toggle.Calls[0].Y1, c.Y1, 1e-12) << c.Name;
        EXPECT_NEAR(toggle.Calls[0].X2, c.X2, 1e-12) << c.Name;
        EXPECT_NEAR(toggle.Calls[0].Y2, c.Y2, 1e-12) << c.Name;
        // The button's own drawing starts with its box on that rectangle.
        ASSERT_FALSE(app.Renderer.GetPrimitives().empty()) << c.Name;
        const RendPrimitive& box = app.Renderer.GetPrimitives().front();
        EXPECT_EQ(box.Type, RendPrimitive::Kind::Rect) << c.Name;
        EXPECT_FLOAT_EQ(box.X1, static_cast<float>(c.X1)) << c.Name;
        EXPECT_FLOAT_EQ(box.Y1, static_cast<float>(c.Y1)) << c.Name;
        EXPECT_FLOAT_EQ(box.X2, static_cast<float>(c.X2)) << c.Name;
        EXPECT_FLOAT_EQ(box.Y2, static_cast<float>(c.Y2)) << c.Name;
    }
}

// The indicator is the last rectangle the button draws; lit when checked.
const RendPrimitive* FindIndicator(const Rend& Renderer)
{
    const RendPrimitive* last = nullptr;
    for (const RendPrimitive& prim : Renderer.GetPrimitives())
        if (prim.Type == RendPrimitive::Kind::Rect)
            last = &prim;
    return last;
}

TEST(AutoRotateToggle, PressFlipsTheStateAndTheNextDrawingShowsIt)
{
    TestApp app;
    app.View.bAutoRotate = true;
    app.View.RenderAutoRotateToggleOverlay();
    const RendPrimitive* checked = FindIndicator(app.Renderer);
    ASSERT_NE(checked, nullptr);
    const float checkedBlue = checked->B, checkedRed = checked->R;
    ASSERT_EQ(app.Font.GetTextCalls().size(), 1u);
    EXPECT_EQ(app.Font.GetTextCalls()[0].Text, "Rotate");
    EXPECT_EQ(app.Font.GetTextCalls()[0].SizePx, app.Renderer.FontSmallerPx);
    EXPECT_EQ(app.Renderer.GetBeginFrameCount(), app.Renderer.GetEndFrameCount());

    // A press on the toggle, where it lies over the widget panel's corner, goes to the toggle.
    app.View.NavWidgetSize = 0.48;
    app.View.NavWidgetMargin = 0.0;
    app.PointAtLocal(0.95, 0.96);
    app.Frame(true);
    EXPECT_FALSE(app.View.bAutoRotate);
    EXPECT_FALSE(app.View.bOrbitDrag);
    EXPECT_EQ(app.View.ActiveNavButton, 0);
    EXPECT_TRUE(app.App.bChildWindowProcessed);
    app.Frame(true); // holding does not flip it again
    EXPECT_FALSE(app.View.bAutoRotate);

    app.Renderer.ClearRecord();
    app.Font.ClearRecord();
    app.View.RenderAutoRotateToggleOverlay();
    EXPECT_FALSE(app.View.pAutoRotateToggle->IsChecked());
    const RendPrimitive* unchecked = FindIndicator(app.Renderer);
    ASSERT_NE(unchecked, nullptr);
    EXPECT_GT(checkedBlue, 0.9f) << "checked: a lit accent";
    EXPECT_LT(unchecked->B, 0.5f) << "unchecked: dark";
    EXPECT_GT(checkedBlue - checkedRed, 0.5f);
    EXPECT_EQ(app.Font.GetTextCalls().size(), 1u);
}

TEST(AutoRotateToggle, NothingIsDrawnWhenRendRefuses)
{
    TestApp app;
    app.Renderer.bDrawingAllowed = false;
    app.View.RenderAutoRotateToggleOverlay();
    EXPECT_TRUE(app.Renderer.GetPrimitives().empty());
    EXPECT_TRUE(app.Font.GetTextCalls().empty());
    EXPECT_EQ(app.Renderer.GetEndFrameCount(), 0);
    EXPECT_EQ(app.View.pAutoRotateToggle->Label, "Rotate") << "synced even so";
}

} // namespace
