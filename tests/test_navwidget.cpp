// Navigation widget: panel and toggle rectangles, hit testing, the camera actions of the buttons, the
// press-and-hold timeline through MouseProcessing, and the auto-rotate toggle's sync and drawing.
#include <array>
#include <climits>
#include <cmath>
#include <limits>
#include <string>
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

TEST(NavWidgetLayout, PanelRectClampsSizeAndMarginAndHiddenElementsWriteNothing)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    // clang-format off
    struct Case { double Size, Margin; bool bVisible; PanelRect Expected; } cases[] = {
        {0.30, 0.02, true, {0.68, 0.515, 0.98, 0.98}},  {0.48, 0.20, true, {0.32, 0.056, 0.80, 0.80}},
        {0.18, 0.00, true, {0.82, 0.721, 1.00, 1.00}},  {0.10, 0.00, true, {0.82, 0.721, 1.00, 1.00}},
        {-1.0, 0.00, true, {0.82, 0.721, 1.00, 1.00}},  {0.90, 0.20, true, {0.32, 0.056, 0.80, 0.80}},
        {0.30, -0.10, true, {0.70, 0.535, 1.00, 1.00}}, {0.30, 0.50, true, {0.50, 0.335, 0.80, 0.80}},
        {0.30, 0.02, false, {}}, {nan, 0.02, true, {}}, {0.30, nan, true, {}},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        app.View.NavWidgetSize = c.Size, app.View.NavWidgetMargin = c.Margin;
        app.View.bNavWidgetVisible = c.bVisible;
        PanelRect r;
        EXPECT_EQ(app.View.GetNavWidgetPanelRect(r.X1, r.Y1, r.X2, r.Y2), c.Expected.X2 > 0.0) << c.Size;
        const double got[] = {r.X1, r.Y1, r.X2, r.Y2},
                     want[] = {c.Expected.X1, c.Expected.Y1, c.Expected.X2, c.Expected.Y2};
        for (int k = 0; k < 4; ++k)
            EXPECT_NEAR(got[k], want[k], 1e-12)
                << "size " << c.Size << " margin " << c.Margin << " corner value " << k;
    }

    // A hidden toggle writes nothing (its drawn rectangle is checked with the toggle below).
    TestApp app;
    app.View.bAutoRotateToggleVisible = false;
    PanelRect hidden{1, 1, 1, 1};
    EXPECT_FALSE(app.View.GetAutoRotateToggleRect(hidden.X1, hidden.Y1, hidden.X2, hidden.Y2));
    EXPECT_TRUE(hidden.X1 == 1.0 && hidden.Y1 == 1.0 && hidden.X2 == 1.0 && hidden.Y2 == 1.0);
}

// The double near Lo + Target * Extent whose panel coordinate, computed the way the hit test computes
// it, is exactly Target (0 when none lies within 64 steps); and the first double beyond it outwards.
double ExactPanelCoord(double Lo, double Extent, double Target)
{
    double below = Lo + Target * Extent, above = below;
    for (int step = 0; step <= 64;
         ++step, below = std::nextafter(below, -1.0), above = std::nextafter(above, 2.0))
        for (double candidate : {below, above})
            if ((candidate - Lo) / Extent == Target)
                return candidate;
    return 0.0;
}

double StepOutside(double Lo, double Extent, double Edge, double From, double Direction)
{
    while ((From - Lo) / Extent == Edge)
        From = std::nextafter(From, Direction);
    return From;
}

TEST(NavWidgetHitTest, RegionEdgesAreClosed)
{
    // Exactly-on-edge points exist only for some panel geometries: try a grid of them per corner.
    int cornersTested = 0;
    for (const NavButtonCase& b : NavButtonCases)
        for (double u : {b.U1, b.U2})
            for (double v : {b.V1, b.V2})
                for (int step = 0; step < 31 * 21; ++step)
                {
                    TestApp app;
                    app.View.NavWidgetSize = 0.18 + 0.01 * (step / 21);
                    app.View.NavWidgetMargin = 0.01 * (step % 21);
                    const PanelRect r = GetPanel(app.View);
                    const double w = r.X2 - r.X1, h = r.Y2 - r.Y1;
                    const double x = ExactPanelCoord(r.X1, w, u), y = ExactPanelCoord(r.Y1, h, v);
                    if (x == 0.0 || y == 0.0)
                        continue;
                    ++cornersTested;
                    bool bInside = false;
                    EXPECT_EQ(app.View.HitNavButton(x, y, &bInside), b.Id)
                        << b.Name << " corner " << u << ", " << v;
                    EXPECT_TRUE(bInside) << b.Name;
                    // One representable step outwards leaves the button.
                    const double outX = StepOutside(r.X1, w, u, x, u == b.U1 ? -1.0 : 2.0);
                    const double outY = StepOutside(r.Y1, h, v, y, v == b.V1 ? -1.0 : 2.0);
                    EXPECT_NE(app.View.HitNavButton(outX, y, nullptr), b.Id) << b.Name << " beyond u " << u;
                    EXPECT_NE(app.View.HitNavButton(x, outY, nullptr), b.Id) << b.Name << " beyond v " << v;
                    break;
                }
    // u = 0.04 has no exact preimage in any geometry; every other corner must have been checked.
    EXPECT_GE(cornersTested, 42);
}

TEST(NavWidgetHitTest, GapsBelongToThePanelAndOutsidePointsDoNot)
{
    TestApp app;
    app.View.NavWidgetSize = 0.3, app.View.NavWidgetMargin = 0.02;
    const PanelRect r = GetPanel(app.View);
    // clang-format off
    struct Case { const char* Name; double X, Y; bool bInside; } cases[] = {
        {"gap in top row", r.X1 + 0.32 * 0.3, r.Y1 + 0.10 * 0.465, true},
        {"centre of rotate cross", r.X1 + 0.50 * 0.3, r.Y1 + 0.45 * 0.465, true},
        {"panel top-left corner", r.X1, r.Y1, true}, {"panel bottom-right corner", r.X2, r.Y2, true},
        {"between rotate and pan cross", r.X1 + 0.35 * 0.3, r.Y1 + 0.615 * 0.465, true},
        {"just left of the panel", std::nextafter(r.X1, 0.0), r.Y1 + 0.1, false},
        {"just above the panel", r.X1 + 0.1, std::nextafter(r.Y1, 0.0), false},
        {"just right of the panel", std::nextafter(r.X2, 1.0), r.Y2, false},
        {"just below the panel", r.X2, std::nextafter(r.Y2, 1.0), false},
        {"viewport centre", 0.5, 0.5, false}, {"outside the viewport", 1.5, 0.9, false},
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
    View.CameraDistance = s.Distance, View.CameraYawDeg = s.YawDeg, View.CameraPitchDeg = s.PitchDeg;
    View.PanX = s.PanX, View.PanY = s.PanY;
}

void ExpectCamera(const GLViewport& View, const CameraState& s, const std::string& Name)
{
    const double got[] = {View.CameraDistance, View.CameraYawDeg, View.CameraPitchDeg, View.PanX, View.PanY};
    const double want[] = {s.Distance, s.YawDeg, s.PitchDeg, s.PanX, s.PanY};
    for (int k = 0; k < 5; ++k)
        EXPECT_NEAR(got[k], want[k], 1e-9) << Name << ": distance, yaw, pitch, pan x, pan y [" << k << "]";
}

// Speeds 5 degrees and 0.08 pan (times distance / 3.2, at least 0.5), zoom 2 x 0.5 = 1, distance 1..100.
// Map: 0 none, 1 the map view, 2 a loaded map shown outside the map view (it wraps like no map).
TEST(NavButtonActions, EachCodeMovesItsOwnFieldByOneScaledStepWithFloorsBoundsAndWraps)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const CameraState s{32.0, 10.0, 20.0, 1.0, 2.0}, z{32.0, 0.0, 20.0, 0.0, 0.0};
    // clang-format off
    struct Case { const char* Name; int Map; int Id; double Scale, RotateSpeed, PanSpeed; CameraState Start, Expected; } cases[] = {
        {"zoom in", 0, 1, 1.0, 5, 0.08, s, {31.0, 10, 20, 1, 2}},
        {"zoom out", 0, 2, 1.0, 5, 0.08, s, {33.0, 10, 20, 1, 2}},
        {"rotate up", 0, 4, 1.0, 5, 0.08, s, {32, 10, 15, 1, 2}},
        {"rotate down", 0, 5, 1.0, 5, 0.08, s, {32, 10, 25, 1, 2}},
        {"rotate left", 0, 6, 1.0, 5, 0.08, s, {32, 5, 20, 1, 2}},
        {"rotate right", 0, 7, 1.0, 5, 0.08, s, {32, 15, 20, 1, 2}},
        {"pan up", 0, 8, 1.0, 5, 0.08, s, {32, 10, 20, 1, 2.8}},
        {"pan down", 0, 9, 1.0, 5, 0.08, s, {32, 10, 20, 1, 1.2}},
        {"pan left", 0, 10, 1.0, 5, 0.08, s, {32, 10, 20, 0.2, 2}},
        {"pan right", 0, 11, 1.0, 5, 0.08, s, {32, 10, 20, 1.8, 2}},
        {"pan right 0.25", 0, 11, 0.25, 5, 0.08, s, {32, 10, 20, 1.2, 2}},
        {"code 0", 0, 0, 1.0, 5, 0.08, s, s}, {"code 12", 0, 12, 1.0, 5, 0.08, s, s},
        {"code -1", 0, -1, 1.0, 5, 0.08, s, s}, {"code INT_MIN", 0, INT_MIN, 1.0, 5, 0.08, s, s},
        {"rotate speed 0 uses 0.01", 0, 7, 1.0, 0.0, 0.08, z, {32, 0.01, 20, 0, 0}},
        {"negative rotate speed uses 0.01", 0, 7, 3.0, -4.0, 0.08, z, {32, 0.03, 20, 0, 0}},
        {"rotate speed just above the floor", 0, 7, 1.0, 0.02, 0.08, z, {32, 0.02, 20, 0, 0}},
        {"pan speed 0 uses 0.0005", 0, 11, 1.0, 5, 0.0, z, {32, 0, 20, 0.005, 0}},
        {"distance 1.6 gives factor 0.5", 0, 11, 1.0, 5, 0.08, {1.6, 0, 20, 0, 0}, {1.6, 0, 20, 0.04, 0}},
        {"distance 3.2 gives factor 1", 0, 11, 1.0, 5, 0.08, {3.2, 0, 20, 0, 0}, {3.2, 0, 20, 0.08, 0}},
        {"scale 0: zoom in raises to the minimum", 0, 1, 0.0, 5, 0.08, {0.5, 0, 20, 0, 0}, {1, 0, 20, 0, 0}},
        {"scale -1: zoom in ignores the maximum", 0, 1, -1.0, 5, 0.08, {200, 0, 20, 0, 0}, {200, 0, 20, 0, 0}},
        {"scale nan: zoom out lowers to the maximum", 0, 2, nan, 5, 0.08, {200, 0, 20, 0, 0}, {100, 0, 20, 0, 0}},
        {"scale -1e300: zoom out ignores the minimum", 0, 2, -1e300, 5, 0.08, {0.5, 0, 20, 0, 0}, {0.5, 0, 20, 0, 0}},
        {"scale 0: pitch up clamps to 84 in the map", 1, 4, 0.0, 5, 0.08, {32, 0, 90, 0, 0}, {32, 0, 84, 0, 0}},
        {"scale -1: pitch down clamps to 8 in the map", 1, 5, -1.0, 5, 0.08, {32, 0, 3, 0, 0}, {32, 0, 8, 0, 0}},
        {"scale nan: pitch wraps without the map", 0, 5, nan, 5, 0.08, {32, 0, 181, 0, 0}, {32, 0, -179, 0, 0}},
        {"scale 0: yaw left wraps", 0, 6, 0.0, 5, 0.08, {32, 540, 20, 0, 0}, {32, 180, 20, 0, 0}},
        {"scale -1: yaw right wraps", 0, 7, -1.0, 5, 0.08, {32, -190, 20, 0, 0}, {32, 170, 20, 0, 0}},
        {"scale nan: pan stays", 0, 11, nan, 5, 0.08, s, s},
        {"scale 0: reset resets", 0, 3, 0.0, 5, 0.08, s, {3.2, 0, -12, 0, 0}},
        {"yaw 179.5 + 1", 0, 7, 1.0, 1, 0.08, {32, 179.5, 20, 0, 0}, {32, -179.5, 20, 0, 0}},
        {"yaw -179.5 - 1", 0, 6, 1.0, 1, 0.08, {32, -179.5, 20, 0, 0}, {32, 179.5, 20, 0, 0}},
        {"yaw exactly -180 becomes 180", 0, 6, 1.0, 1, 0.08, {32, -179, 20, 0, 0}, {32, 180, 20, 0, 0}},
        {"map pitch 83.5 + 2", 1, 5, 1.0, 2, 0.08, {32, 0, 83.5, 0, 0}, {32, 0, 84, 0, 0}},
        {"map pitch 9 - 2", 1, 4, 1.0, 2, 0.08, {32, 0, 9, 0, 0}, {32, 0, 8, 0, 0}},
        {"free pitch 83.5 + 2", 0, 5, 1.0, 2, 0.08, {32, 0, 83.5, 0, 0}, {32, 0, 85.5, 0, 0}},
        {"map shown outside the map view", 2, 5, 1.0, 2, 0.08, {32, 0, 83.5, 0, 0}, {32, 0, 85.5, 0, 0}},
        {"free pitch 179 + 2 wraps", 0, 5, 1.0, 2, 0.08, {32, 0, 179, 0, 0}, {32, 0, -179, 0, 0}},
        {"free pitch -179 - 2 wraps", 0, 4, 1.0, 2, 0.08, {32, 0, -179, 0, 0}, {32, 0, 179, 0, 0}},
    };
    // clang-format on
    for (const Case& c : cases)
        for (bool bWhole : {false, true})
        {
            if (bWhole && c.Scale != 1.0)
                continue; // ApplyNavButton is one whole step
            TestApp app;
            app.View.NavRotateSpeed = c.RotateSpeed, app.View.NavPanSpeed = c.PanSpeed;
            app.View.ZoomStep = 2.0, app.View.NavZoomRate = 0.5;
            app.View.MinCameraDistance = 1.0, app.View.MaxCameraDistance = 100.0;
            if (c.Map > 0)
                app.LoadFlatMap(8);
            app.View.bSpringMapView = c.Map != 2;
            SetCamera(app.View, c.Start);
            if (bWhole)
                app.View.ApplyNavButton(c.Id);
            else
                app.View.ApplyNavButtonScaled(c.Id, c.Scale);
            ExpectCamera(app.View, c.Expected, std::string(c.Name) + (bWhole ? " (whole step)" : ""));
            EXPECT_EQ(app.View.ResetCameraCalls, 0) << c.Name;
        }
}

TEST(NavButtonActions, ResetUsesTheDefaultCameraOutsideTheMapViewAndDelegatesInIt)
{
    // clang-format off
    struct Case { const char* Name; double MinDistance, MaxDistance, ExpectedDistance; } cases[] = {
        {"minimum 5 wins", 5.0, 10.0, 5.0}, {"maximum 2 wins", 0.1, 2.0, 2.0},
        {"inside the bounds", 1.0, 10.0, 3.2}, {"minimum above maximum: maximum wins", 5.0, 4.0, 4.0},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        app.View.MinCameraDistance = c.MinDistance, app.View.MaxCameraDistance = c.MaxDistance;
        SetCamera(app.View, {40.0, 33.0, 44.0, 5.0, 6.0});
        app.View.WorldOffsetX = 7.0, app.View.WorldOffsetZ = 8.0;
        app.View.ApplyNavButtonScaled(3, 7.0);
        ExpectCamera(app.View, {c.ExpectedDistance, 0.0, -12.0, 0.0, 0.0}, c.Name);
        EXPECT_EQ(app.View.WorldOffsetX + app.View.WorldOffsetZ, 0.0) << c.Name;
    }

    TestApp app;
    app.LoadFlatMap(8);
    SetCamera(app.View, {40.0, 33.0, 44.0, 5.0, 6.0});
    app.View.WorldOffsetX = 7.0;
    app.View.ApplyNavButtonScaled(3, 0.25);
    EXPECT_EQ(app.View.ResetCameraCalls, 1);
    ExpectCamera(app.View, {40.0, 33.0, 44.0, 5.0, 6.0}, "map reset");
    EXPECT_EQ(app.View.WorldOffsetX, 7.0);
    app.View.SpringMap.IndexCount = 0; // a map without a mesh is not the map view
    app.View.ApplyNavButton(3);
    EXPECT_EQ(app.View.ResetCameraCalls, 1);
    EXPECT_EQ(app.View.CameraPitchDeg, -12.0);
}

// --- Press and hold through MouseProcessing ---------------------------------------------------------

// Rotate right, 5 degrees per step, no map: nothing clamps.
void SetUpHold(TestApp& app, double HoldRate)
{
    app.View.NavRotateSpeed = 5.0;
    app.View.NavHoldRate = HoldRate;
    app.View.NavWidgetSize = 0.3;
    PointAtButton(app, 7);
}

TEST(NavButtonHold, PressAppliesOneStepThenRepeatsByElapsedTimeWhateverTheFrameRate)
{
    for (double holdRate : {6.0, 0.25, -3.0})
        for (std::uint64_t frameMs : {7, 16, 100})
        {
            const std::string name =
                "rate " + std::to_string(holdRate) + " frames " + std::to_string(frameMs);
            TestApp app;
            SetUpHold(app, holdRate);
            sdlseam::SetTicks(1000);
            app.Frame(true);
            EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, 5.0) << name;
            EXPECT_EQ(app.View.ActiveNavButton, 7) << name;
            EXPECT_EQ(app.View.NavRepeatStartMs, 1090u) << name;
            EXPECT_EQ(app.View.NavLastRepeatMs, 1000u) << name;
            EXPECT_FALSE(app.View.bOrbitDrag) << name;
            EXPECT_TRUE(app.App.bChildWindowProcessed) << name;
            for (std::uint64_t now = 1000 + frameMs; now < 1300; now += frameMs)
            {
                sdlseam::SetTicks(now);
                app.Frame(true);
                EXPECT_TRUE(now > 1090 || app.View.CameraYawDeg == 5.0) << name << " at " << now;
            }
            sdlseam::SetTicks(1300);
            app.Frame(true);
            // One whole step plus 0.21 s of repeats at the hold rate, at least one step a second.
            const double yaw = 5.0 + 0.21 * std::max(holdRate, 1.0) * 5.0;
            EXPECT_NEAR(app.View.CameraYawDeg, yaw, 1e-9) << name;
            EXPECT_EQ(app.View.NavLastRepeatMs, 1300u) << name;
            sdlseam::SetTicks(1316);
            app.Frame(false); // the release ends the hold and clears the repeat clock
            EXPECT_EQ(app.View.ActiveNavButton, 0) << name;
            EXPECT_EQ(app.View.NavLastRepeatMs, 0u) << name;
            EXPECT_NEAR(app.View.CameraYawDeg, yaw, 1e-9) << name;
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

    PointAtButton(app, 6); // slide to rotate left with the button still down, and back
    for (std::uint64_t now : {300, 400, 900})
    {
        sdlseam::SetTicks(now);
        app.Frame(true);
        EXPECT_EQ(app.View.ActiveNavButton, 0) << "at " << now;
        EXPECT_EQ(app.View.HoverNavButton, now == 300 ? 6 : 7) << "at " << now;
        EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, yawAfterHold) << "at " << now;
        EXPECT_FALSE(app.View.bOrbitDrag) << "the held press must not turn into an orbit";
        PointAtButton(app, 7);
    }
    app.Frame(false); // a new press starts a new hold
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
    app.Frame(true);
    app.PointAtLocal(x - 0.05, y);
    app.Frame(true);
    EXPECT_FALSE(app.View.bOrbitDrag);
    EXPECT_EQ(app.View.ActiveNavButton, 0);
    EXPECT_DOUBLE_EQ(app.View.CameraYawDeg, 0.0);
}

// --- Auto-rotate toggle -----------------------------------------------------------------------------

TEST(AutoRotateToggle, SyncedFromTheViewportBeforeItDrawsEvenWhenNothingIsDrawn)
{
    TestApp app;
    GLToggleButton& toggle = *app.View.pAutoRotateToggle;
    toggle.bVisible = toggle.bEnabled = false;
    toggle.Label = "stale";
    int notifications = 0;
    toggle.OnToggled = [&](bool) { ++notifications; };
    app.View.bAutoRotate = true;
    app.Renderer.bDrawingAllowed = false;
    app.View.RenderAutoRotateToggleOverlay();
    EXPECT_TRUE(toggle.bVisible && toggle.bEnabled && toggle.IsChecked() && toggle.Label == "Rotate");
    EXPECT_EQ(toggle.pParentWindow, &app.Window);
    EXPECT_EQ(notifications, 0) << "syncing is not a toggle by a person";
    EXPECT_TRUE(app.Renderer.GetPrimitives().empty() && app.Renderer.GetEndFrameCount() == 0);
    // Hidden: a direct sync follows the flag; the overlay neither draws nor syncs. A null button is allowed.
    app.Renderer.bDrawingAllowed = true;
    app.View.bAutoRotateToggleVisible = false;
    app.View.pParentWindow = nullptr;
    app.View.SyncAutoRotateToggleState();
    EXPECT_FALSE(toggle.bVisible || toggle.bEnabled || toggle.pParentWindow);
    app.View.bAutoRotate = false;
    app.View.RenderAutoRotateToggleOverlay();
    EXPECT_TRUE(app.Renderer.GetPrimitives().empty() && toggle.IsChecked());
    app.View.pAutoRotateToggle.reset();
    app.View.bAutoRotateToggleVisible = true;
    app.View.SyncAutoRotateToggleState();
    app.View.RenderAutoRotateToggleOverlay();
    EXPECT_TRUE(app.Renderer.GetPrimitives().empty() && app.Font.GetTextCalls().empty());
}

// The button's box is its first shape, on the toggle's rectangle in global coordinates; its indicator,
// the last rectangle, is lit when checked.
TEST(AutoRotateToggle, DrawnOnItsRectangleAndAPressFlipsWhatTheNextDrawingShows)
{
    // clang-format off
    struct Case { double WindowX1, WindowY1, WindowX2, WindowY2; float Box[4]; } cases[] = {
        {-1.0, 1.0, 1.0, -1.0, {0.78f, -0.87f, 0.97f, -0.97f}}, {0.0, 1.0, 1.0, -1.0, {0.89f, -0.87f, 0.985f, -0.97f}},
        {-1.0, 1.0, 0.0, 0.0, {-0.11f, 0.065f, -0.015f, 0.015f}},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        app.View.WindowX1 = c.WindowX1, app.View.WindowY1 = c.WindowY1;
        app.View.WindowX2 = c.WindowX2, app.View.WindowY2 = c.WindowY2;
        app.View.RenderAutoRotateToggleOverlay();
        ASSERT_FALSE(app.Renderer.GetPrimitives().empty());
        const RendPrimitive& box = app.Renderer.GetPrimitives().front();
        EXPECT_EQ(box.Type, RendPrimitive::Kind::Rect);
        const float drawn[4] = {box.X1, box.Y1, box.X2, box.Y2};
        for (int k = 0; k < 4; ++k)
            EXPECT_FLOAT_EQ(drawn[k], c.Box[k])
                << "window x " << c.WindowX1 << ".." << c.WindowX2 << " " << k;
    }
    const auto indicator = [](const Rend& Renderer)
    {
        const RendPrimitive* last = nullptr;
        for (const RendPrimitive& prim : Renderer.GetPrimitives())
            last = prim.Type == RendPrimitive::Kind::Rect ? &prim : last;
        return last ? *last : RendPrimitive{};
    };
    TestApp app;
    app.View.bAutoRotate = true;
    app.View.RenderAutoRotateToggleOverlay();
    const RendPrimitive checked = indicator(app.Renderer);
    ASSERT_EQ(app.Font.GetTextCalls().size(), 1u);
    EXPECT_EQ(app.Font.GetTextCalls()[0].Text, "Rotate");
    EXPECT_EQ(app.Font.GetTextCalls()[0].SizePx, app.Renderer.FontSmallerPx);
    EXPECT_EQ(app.Renderer.GetBeginFrameCount(), app.Renderer.GetEndFrameCount());

    // A press on the toggle, where it lies over the widget panel's corner, goes to the toggle, once.
    app.View.NavWidgetSize = 0.48, app.View.NavWidgetMargin = 0.0;
    app.PointAtLocal(0.95, 0.96);
    app.Frame(true);
    EXPECT_FALSE(app.View.bAutoRotate || app.View.bOrbitDrag);
    EXPECT_EQ(app.View.ActiveNavButton, 0);
    EXPECT_TRUE(app.App.bChildWindowProcessed);
    app.Frame(true);
    EXPECT_FALSE(app.View.bAutoRotate);
    app.Renderer.ClearRecord();
    app.View.RenderAutoRotateToggleOverlay();
    EXPECT_FALSE(app.View.pAutoRotateToggle->IsChecked());
    EXPECT_TRUE(checked.B > 0.9f && checked.B - checked.R > 0.5f) << "checked: a lit accent";
    EXPECT_LT(indicator(app.Renderer).B, 0.5f) << "unchecked: dark";
}

} // namespace
