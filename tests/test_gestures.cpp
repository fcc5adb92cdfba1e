// Order gestures driven through MouseProcessing frames: patrol keys and clicks, box selection, the
// right-button click and drag orders with their sampling, and the formation preview.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "order_test_view.h"

namespace
{
using ordertest::AddAircraft;
using ordertest::AddVehicle;
using ordertest::SelectVehicles;
using Messages = std::vector<std::string>;
using Points = std::vector<std::pair<double, double>>;

const std::string ArmedMessage =
    "Patrol: left click to place; Shift-click appends; Escape/right click cancels.";
const std::string CancelledMessage = "Patrol placement cancelled.";
const std::string IssuedMessage = "Patrol route issued. Shift-click to append; Escape/right click cancels.";
const std::string MovedMessage = "Selected units ordered to waypoint.";
const std::string FormationMessage = "Formation move order issued.";

// Straight down over (512, 512) from 800: one local unit is about 1178 world units across.
struct GestureApp : ordertest::TopDownApp
{
    GestureApp()
    {
        AddVehicle(*this, 400.0, 400.0);
        AddVehicle(*this, 430.0, 400.0);
    }
    Vec3D GroundUnder(double x01, double y01) const
    {
        Vec3D world;
        EXPECT_TRUE(View.ScreenToSpringMapWorld(x01, y01, world)) << x01 << ", " << y01;
        return world;
    }
    void KeyFrame(SDL_Scancode code, bool bDown)
    {
        sdlseam::SetKey(code, bDown);
        Frame();
    }
    // A press at the first point, held over the rest, released at the last (with the given modifiers).
    void Gesture(const Points& points, bool bRight, SDL_Keymod releaseMods = SDL_KMOD_NONE)
    {
        for (std::size_t i = 0; i + 1 < points.size(); ++i)
        {
            PointAtLocal(points[i].first, points[i].second);
            Frame(!bRight, false, bRight);
        }
        PointAtLocal(points.back().first, points.back().second);
        sdlseam::SetMods(releaseMods);
        Frame();
        sdlseam::SetMods(SDL_KMOD_NONE);
    }
    void LeftClickAt(double x01, double y01, SDL_Keymod mods = SDL_KMOD_NONE)
    {
        sdlseam::SetMods(mods);
        Gesture({{x01, y01}, {x01, y01}}, false, mods);
    }
    void RightGesture(const Points& points, SDL_Keymod releaseMods = SDL_KMOD_NONE)
    {
        Gesture(points, true, releaseMods);
    }
};

// --- Patrol ---

TEST(PatrolKeys, OnlyPressEdgesWithFocusAndSelectedAircraftArmOrCancel)
{
    GestureApp app;
    AddAircraft(app, 0, 300, 0);
    app.View.bMouseInteraction = false; // the keys work without mouse interaction
    // clang-format off
    struct Step { SDL_Scancode Key; bool bDown, bSelected, bFocus, bArmed; } steps[] = {
        {SDL_SCANCODE_P, true, false, true, false},        {SDL_SCANCODE_P, false, true, true, false},
        {SDL_SCANCODE_P, true, true, true, true},          {SDL_SCANCODE_P, true, true, true, true}, // held: no second edge
        {SDL_SCANCODE_ESCAPE, true, true, true, false},    {SDL_SCANCODE_ESCAPE, false, true, true, false},
        {SDL_SCANCODE_ESCAPE, true, true, true, false},    {SDL_SCANCODE_ESCAPE, false, true, true, false}, // nothing armed: silent
        {SDL_SCANCODE_P, false, true, true, false},
        {SDL_SCANCODE_ESCAPE, true, true, true, false},    {SDL_SCANCODE_P, true, true, true, true}, // Escape held: no edge
        {SDL_SCANCODE_ESCAPE, false, true, true, true},    {SDL_SCANCODE_ESCAPE, true, true, true, false},
        {SDL_SCANCODE_ESCAPE, false, true, true, false},   {SDL_SCANCODE_P, false, true, true, false},
        {SDL_SCANCODE_P, true, true, false, false},        // without focus the key is remembered as up,
        {SDL_SCANCODE_P, true, true, true, true},          // so P held into focus is an edge
    };
    // clang-format on
    for (const Step& s : steps)
    {
        app.View.bAirUnitsSelected = s.bSelected;
        app.View.bHasFocus = s.bFocus;
        app.KeyFrame(s.Key, s.bDown);
        EXPECT_EQ(app.View.bAirPatrolPlacement, s.bArmed) << &s - steps;
    }
    EXPECT_EQ(app.Messages(),
              Messages({ArmedMessage, CancelledMessage, ArmedMessage, CancelledMessage, ArmedMessage}));
}

TEST(PatrolClicks, ShiftClicksAppendAndAPlainClickAfterARouteDeselects)
{
    const std::string appended = "Patrol point appended.", deselected = "Air unit deselected.";
    // clang-format off
    struct Case { std::vector<SDL_Keymod> Clicks; Messages Expected; } cases[] = {
        {{SDL_KMOD_LSHIFT, SDL_KMOD_RSHIFT, SDL_KMOD_NONE}, {ArmedMessage, appended, appended, deselected}},
        {{SDL_KMOD_NONE, SDL_KMOD_LSHIFT, SDL_KMOD_NONE}, {ArmedMessage, IssuedMessage, appended, deselected}},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        GestureApp app;
        AirUnit& aircraft = AddAircraft(app, 0, 300, 0, 350.0f);
        app.View.bAirUnitsSelected = true;
        app.KeyFrame(SDL_SCANCODE_P, true);
        for (std::size_t i = 0; i < c.Clicks.size(); ++i)
        {
            app.LeftClickAt(0.3 + 0.1 * i, 0.3, c.Clicks[i]);
            EXPECT_FALSE(app.View.bSelectionDragActive || app.View.bOrbitDrag)
                << c.Expected[1] << " click " << i;
        }
        EXPECT_EQ(app.Messages(), c.Expected);
        ASSERT_EQ(aircraft.ActiveCommand.Points.size(), 2u) << c.Expected[1];
        EXPECT_EQ(aircraft.ActiveCommand.Type, AirCommandType::Patrol);
        for (std::size_t i = 0; i < 2; ++i)
        {
            const Vec3D ground = app.GroundUnder(0.3 + 0.1 * i, 0.3),
                        &point = aircraft.ActiveCommand.Points[i];
            EXPECT_TRUE(std::abs(point.X - ground.X) < 1e-6 && std::abs(point.Z - ground.Z) < 1e-6 &&
                        point.Y == 350.0)
                << c.Expected[1] << " point " << i;
        }
        EXPECT_FALSE(app.View.bAirUnitsSelected || app.View.bAirPatrolPlacement ||
                     app.View.bAirPatrolRouteActive);
    }
}

TEST(PatrolClicks, FailedPicksAndPanelPressesPlaceNothingAndARightPressCancelsAnywhere)
{
    GestureApp app;
    AirUnit& aircraft = AddAircraft(app, 0, 300, 0);
    app.View.bAirUnitsSelected = true;
    app.KeyFrame(SDL_SCANCODE_P, true);
    // Looking almost level, the top of the viewport shows sky: the press is taken, nothing placed.
    app.View.CameraPitchDeg = 20.0;
    app.PointAtLocal(0.3, 0.0);
    app.Frame(true);
    EXPECT_TRUE(app.App.bChildWindowProcessed);
    EXPECT_FALSE(app.View.bOrbitDrag);
    app.Frame();
    // A press on the navigation panel (between its buttons) is not a patrol click.
    app.View.bNavWidgetVisible = true;
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    ASSERT_TRUE(app.View.GetNavWidgetPanelRect(x1, y1, x2, y2));
    app.LeftClickAt(x1 + (x2 - x1) * 0.01, y1 + (y2 - y1) * 0.5);
    EXPECT_EQ(app.View.HoverNavButton, 0);
    EXPECT_TRUE(app.View.bAirPatrolPlacement);
    EXPECT_FALSE(app.View.bAirPatrolRouteActive || aircraft.bHasActiveOrder);
    EXPECT_EQ(app.Messages(), Messages({ArmedMessage}));

    // A right press cancels the placement, even outside the viewport, and starts no order; the next is one.
    SelectVehicles(app, {0, 1});
    app.View.CameraPitchDeg = 90.0;
    app.RightGesture({{1.3, 0.4}, {1.3, 0.4}});
    EXPECT_FALSE(app.View.bAirPatrolPlacement);
    EXPECT_TRUE(app.View.RoutePlans.empty());
    EXPECT_EQ(app.Messages(), Messages({ArmedMessage, CancelledMessage}));
    app.RightGesture({{0.4, 0.4}, {0.4, 0.4}});
    EXPECT_EQ(app.View.RoutePlans.size(), 1u);
}

TEST(PatrolClicks, EscapeEndsAnIssuedRouteSequence)
{
    GestureApp app;
    AddAircraft(app, 0, 300, 0);
    app.View.bAirUnitsSelected = true;
    app.KeyFrame(SDL_SCANCODE_P, true);
    app.LeftClickAt(0.3, 0.3);
    EXPECT_TRUE(app.View.bAirPatrolRouteActive);
    app.KeyFrame(SDL_SCANCODE_ESCAPE, true);
    EXPECT_FALSE(app.View.bAirPatrolRouteActive);
    app.LeftClickAt(0.3, 0.3); // a plain click now selects as usual instead of deselecting the aircraft
    EXPECT_EQ(app.Messages(),
              Messages({ArmedMessage, IssuedMessage, CancelledMessage, "No units selected."}));
}

// --- Box selection ---

TEST(BoxSelectionGesture, DragSelectsAtTheReleaseAltOrbitsAndShiftAtTheReleaseAdds)
{
    GestureApp app;
    AddVehicle(app, 700.0, 600.0);
    double ax = 0, ay = 0, bx = 0, by = 0, cx = 0, cy = 0;
    ordertest::ProjectToLocal(app.View, 380.0, 0.0, 380.0, ax, ay);
    ordertest::ProjectToLocal(app.View, 450.0, 0.0, 420.0, bx, by);
    ordertest::ProjectToLocal(app.View, 700.0, 0.0, 600.0, cx, cy);
    app.PointAtLocal(bx, by); // dragged from the bottom right to the top left
    app.Frame(true);
    EXPECT_TRUE(app.View.bSelectionDragActive);
    EXPECT_FALSE(app.View.bOrbitDrag);
    app.PointAtLocal(ax, ay);
    app.Frame(true);
    EXPECT_EQ(app.View.SelectionEndX, ax);
    EXPECT_TRUE(app.View.VehicleSelectionMask.empty()) << "nothing is selected before the release";
    app.Frame();
    EXPECT_FALSE(app.View.bSelectionDragActive);
    EXPECT_EQ(app.View.VehicleSelectionMask, std::vector<bool>({true, true, false}));
    EXPECT_EQ(app.Messages(), Messages({"2 unit(s) selected. Right click to move."}));

    // Alt at the press: the camera orbits and the selection stays.
    sdlseam::SetMods(SDL_KMOD_RALT);
    app.PointAtLocal(0.5, 0.5);
    app.Frame(true);
    EXPECT_FALSE(app.View.bSelectionDragActive);
    EXPECT_TRUE(app.View.bOrbitDrag);
    app.Frame();
    sdlseam::SetMods(SDL_KMOD_NONE);
    app.Gesture({{cx, cy}, {cx, cy}}, false, SDL_KMOD_LSHIFT); // Shift counts at the release
    EXPECT_EQ(app.View.VehicleSelectionMask, std::vector<bool>({true, true, true}));
    EXPECT_EQ(app.Messages().back(), "3 unit(s) selected. Right click to move.");
    EXPECT_EQ(app.View.LastSelectedVehicleIndex, 2);
    // Without unit control a left press orbits.
    app.View.bVehicleControl = false;
    app.Frame(true);
    EXPECT_FALSE(app.View.bSelectionDragActive);
    EXPECT_TRUE(app.View.bOrbitDrag);
}

// --- Right-button orders ---

void ExpectXZ(const Vec3D& got, const Vec3D& want, const char* what, double tolerance = 1e-9)
{
    EXPECT_NEAR(got.X, want.X, tolerance) << what;
    EXPECT_NEAR(got.Z, want.Z, tolerance) << what;
}

TEST(OrderGesture, ClicksAndDragsGiveTheirOrderAndMessageWithShiftReadAtTheRelease)
{
    // clang-format off
    struct Case { const char* Name; Points Path; SDL_Keymod PressMods, ReleaseMods; std::string ExpectedMessage; bool bExpectAppend; } cases[] = {
        {"click", {{0.5, 0.5}, {0.5, 0.5}}, SDL_KMOD_NONE, SDL_KMOD_NONE, MovedMessage, false},
        {"Shift click", {{0.5, 0.5}, {0.5, 0.5}}, SDL_KMOD_NONE, SDL_KMOD_LSHIFT, "Waypoint queued for selected units.", true},
        {"Shift only at the press", {{0.5, 0.5}, {0.5, 0.5}}, SDL_KMOD_RSHIFT, SDL_KMOD_NONE, MovedMessage, false},
        {"wiggle within 0.006", {{0.5, 0.5}, {0.5045, 0.5}, {0.5, 0.504}, {0.503, 0.503}}, SDL_KMOD_NONE, SDL_KMOD_NONE, MovedMessage, false},
        {"drag", {{0.3, 0.5}, {0.4, 0.5}, {0.5, 0.55}}, SDL_KMOD_NONE, SDL_KMOD_NONE, FormationMessage, false},
        {"Shift drag", {{0.3, 0.5}, {0.4, 0.5}, {0.5, 0.55}}, SDL_KMOD_NONE, SDL_KMOD_RSHIFT, "Formation waypoint queued.", true},
        {"drag back to the press point", {{0.5, 0.5}, {0.6, 0.5}, {0.5, 0.5}, {0.5, 0.5}}, SDL_KMOD_NONE, SDL_KMOD_NONE, FormationMessage, false},
        {"drag released outside", {{0.5, 0.5}, {0.9, 0.5}, {1.2, 0.5}}, SDL_KMOD_NONE, SDL_KMOD_NONE, FormationMessage, false},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        GestureApp app;
        SelectVehicles(app, {0, 1});
        sdlseam::SetMods(c.PressMods);
        app.RightGesture(c.Path, c.ReleaseMods);
        EXPECT_EQ(app.Messages(), Messages({c.ExpectedMessage})) << c.Name;
        ASSERT_EQ(app.View.RoutePlans.size(), 1u) << c.Name;
        EXPECT_EQ(app.View.RoutePlans[0].bAppend, c.bExpectAppend) << c.Name;
        EXPECT_TRUE(app.App.bChildWindowProcessed) << c.Name;
        EXPECT_FALSE(app.View.bOrderDrag) << c.Name;
        // A click goes to the release point (the centre slot of the move order); a drag lines up from
        // the press point to the release point.
        const Vec3D release = app.GroundUnder(c.Path.back().first, c.Path.back().second);
        const Vec3D press = app.GroundUnder(c.Path.front().first, c.Path.front().second);
        const bool bDrag = c.ExpectedMessage.find("Formation") == 0;
        ExpectXZ(app.View.DriveableRequests.front(), bDrag ? press : release, c.Name, 1e-6);
        if (bDrag && c.Path.front() != c.Path.back()) // a closed drag is a move order to its last point
            ExpectXZ(app.View.DriveableRequests.back(), release, c.Name, 1e-6);
    }
}

TEST(OrderGesture, PathSamplesNeedScreenOrGroundDistanceAndTheReleaseNeedsOneUnit)
{
    // Four held steps along x and a release offset; at 800 0.005 local is about 5.9 world (two steps
    // make one sample), at 5000 about 36.8, beyond 12. A release 0.0005 local (0.6 world) from the last
    // sample is dropped, 0.0015 (1.8) is kept.
    // clang-format off
    struct Case { double Distance, Step, ReleaseStep; std::size_t Samples, PathPoints; } cases[] = {
        {800.0, 0.005, 0.0, 3, 3}, {800.0, 0.0065, 0.0, 5, 5}, {5000.0, 0.005, 0.0, 5, 5},
        {800.0, 0.005, 0.0005, 3, 3}, {800.0, 0.005, 0.0015, 3, 4},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        GestureApp app;
        app.View.CameraDistance = c.Distance;
        SelectVehicles(app, {0});
        Points points;
        for (int i = 0; i <= 4; ++i)
            points.push_back({0.5 + c.Step * i, 0.5});
        points.push_back({0.5 + c.Step * 4 + c.ReleaseStep, 0.5});
        app.RightGesture(points);
        const std::string name =
            std::to_string(c.Distance) + " " + std::to_string(c.Step) + " " + std::to_string(c.ReleaseStep);
        EXPECT_EQ(app.View.FormationScreenX.size(), c.Samples) << name;
        EXPECT_EQ(app.View.FormationScreenY.size(), c.Samples) << name;
        EXPECT_EQ(app.View.FormationPath.size(), c.PathPoints) << name;
        EXPECT_EQ(app.Messages(), Messages({FormationMessage})) << name;
    }
}

TEST(OrderGesture, ExactlyTheSampleStepFromTheLastSampleIsNoNewSample)
{
    GestureApp app;
    app.View.WindowX1 = 0.0; // the right half of the window: local x is global x, exactly
    SelectVehicles(app, {0});
    for (double x : {0.0, 0.006, 0.0120001}) // 3.5 world units a step: the ground distance stays short
    {
        app.PointAtGlobal(x, 0.0);
        app.Frame(false, false, true);
    }
    EXPECT_EQ(app.View.FormationScreenX, std::vector<double>({0.0, 0.0120001}));
}

TEST(OrderGesture, FailedPicksFallBackToTheLastPickedPoint)
{
    GestureApp app;
    SelectVehicles(app, {0});
    app.View.CameraPitchDeg = 20.0; // the top of the viewport shows sky
    app.RightGesture({{0.5, 0.6}, {0.5, 0.6}});
    // A click whose press and release both miss goes to the previous gesture's point.
    app.RightGesture({{0.5, 0.0}, {0.5, 0.0}});
    EXPECT_TRUE(app.View.FormationPath.empty());
    EXPECT_EQ(app.View.FormationScreenX.size(), 1u);
    ASSERT_EQ(app.View.RoutePlans.size(), 2u);
    ExpectXZ(app.View.RoutePlans[1].Goals[0], app.GroundUnder(0.5, 0.6), "missed click");
    ExpectXZ(app.View.OrderPressWorld, app.GroundUnder(0.5, 0.6), "press point kept");

    // A drag from the map into the sky: the only picked point is the press point, taken twice.
    app.RightGesture({{0.3, 0.7}, {0.3, 0.0}, {0.3, 0.0}});
    ASSERT_EQ(app.View.FormationPath.size(), 2u);
    for (const Vec3D& point : app.View.FormationPath)
        ExpectXZ(point, app.GroundUnder(0.3, 0.7), "path into the sky");
    EXPECT_EQ(app.Messages().back(), FormationMessage);
    ASSERT_EQ(app.View.RoutePlans.size(), 3u);
    ExpectXZ(app.View.RoutePlans[2].Goals[0], app.GroundUnder(0.3, 0.7), "formation into the sky");

    // After a press off the map, the first picked point starts the path even at the press sample
    // (here the camera tilts down while the button is held).
    app.PointAtLocal(0.5, 0.0);
    app.Frame(false, false, true);
    EXPECT_TRUE(app.View.FormationPath.empty());
    app.View.CameraPitchDeg = 40.0;
    app.Frame(false, false, true);
    ASSERT_EQ(app.View.FormationPath.size(), 1u);
    EXPECT_EQ(app.View.FormationScreenX.size(), 2u);
    app.Frame();
    EXPECT_EQ(app.View.FormationPath.size(), 1u) << "the release point is the same map point";
    EXPECT_EQ(app.Messages().back(), MovedMessage);
    ExpectXZ(app.View.RoutePlans.back().Goals[0], app.GroundUnder(0.5, 0.0), "tilted press");
}

// A drag released while interaction was off keeps its flags; a click pressed on the frame
// interaction comes back is a fresh gesture: a move order, not a formation.
TEST(OrderGesture, ANewPressStartsUnmoved)
{
    GestureApp app;
    SelectVehicles(app, {0, 1});
    for (double x : {0.3, 0.5})
    {
        app.PointAtLocal(x, 0.5);
        app.Frame(false, false, true);
    }
    ASSERT_TRUE(app.View.bOrderDragMoved);
    app.View.bMouseInteraction = false;
    app.Frame();
    app.View.bMouseInteraction = true;
    app.RightGesture({{0.5, 0.5}, {0.5, 0.5}});
    EXPECT_EQ(app.Messages().back(), MovedMessage);
}

TEST(OrderGesture, NeedsASelectionUnitControlAndTheMapButNotAWindow)
{
    // clang-format off
    struct Case { const char* Name; bool bVehicle, bAir, bControl, bMapView, bParent, bOrder; } cases[] = {
        {"nothing selected", false, false, true, true, true, false}, {"aircraft only", false, true, true, true, true, true},
        {"control off", true, false, false, true, true, false},     {"map view off", true, false, true, false, true, false},
        {"no window", true, false, true, true, false, true},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        GestureApp app;
        AirUnit& aircraft = AddAircraft(app, 0, 300, 0);
        if (c.bVehicle)
            SelectVehicles(app, {1});
        app.View.bAirUnitsSelected = c.bAir;
        app.View.bVehicleControl = c.bControl;
        app.View.bSpringMapView = c.bMapView;
        if (!c.bParent)
            app.View.pParentWindow = nullptr;
        app.PointAtLocal(0.5, 0.5);
        app.Frame(false, false, true);
        EXPECT_EQ(app.View.bOrderDrag, c.bOrder) << c.Name;
        app.Frame();
        EXPECT_EQ(app.View.RoutePlans.size(), c.bOrder ? 1u : 0u) << c.Name;
        EXPECT_EQ(aircraft.bHasActiveOrder, c.bOrder && c.bAir) << c.Name;
        EXPECT_EQ(app.View.Vehicles[1]->bHasTarget, c.bOrder && c.bVehicle) << c.Name;
        EXPECT_EQ(app.Messages().size(), c.bOrder && c.bParent ? 1u : 0u) << c.Name;
    }
}

// --- Formation preview ---

// The preview in local coordinates: path segments "x1,y1>x2,y2", then cross centres "+x,y". Segments
// are drawn in 1, 0.9 at width 2; each cross is a horizontal then a vertical stroke 0.016 long, 0.24
// red at alpha 0.9, width 1.5.
std::string DescribePreview(const Rend& rend)
{
    const auto local = [](double gx, double gy)
    {
        char text[32];
        std::snprintf(text, sizeof text, "%.3f,%.3f", (gx + 1.0) / 2.0, (1.0 - gy) / 2.0);
        return std::string(text);
    };
    std::string text;
    const std::vector<RendPrimitive>& lines = rend.GetPrimitives();
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        const RendPrimitive& h = lines[i];
        if (h.R == 1.0f && h.G == 0.9f && h.WidthPx == 2.0f)
        {
            text += local(h.X1, h.Y1) + ">" + local(h.X2, h.Y2) + " ";
            continue;
        }
        const RendPrimitive& v = lines[std::min(i + 1, lines.size() - 1)];
        const bool bCross = h.R == 0.24f && h.A == 0.9f && h.WidthPx == 1.5f && v.WidthPx == 1.5f &&
                            h.Y1 == h.Y2 && v.X1 == v.X2 && std::abs(h.X2 - h.X1 - 0.016f) < 1e-6f &&
                            std::abs(v.Y2 - v.Y1 - 0.016f) < 1e-6f;
        text += bCross ? "+" + local(v.X1, h.Y1) + " " : "? ";
        i += bCross;
    }
    return text;
}

// The press at (0.1, 0.1), the pointer at (0.4, 0.7). Crosses at equal screen-length steps along the
// sampled path, or along the press-to-pointer line without one; one place goes to the middle. Setup:
// c unit control off, g no gesture, f beginFrame refuses, r no renderer.
TEST(FormationPreview, CrossesAtEqualScreenLengthStepsAlongThePathOrThePressToPointerLine)
{
    const std::vector<double> xs{0.2, 0.5, 0.5}, ys{0.5, 0.5, 0.8};
    const std::string path = "0.200,0.500>0.500,0.500 0.500,0.500>0.500,0.800 ";
    const std::string line = "0.100,0.100>0.400,0.700 +0.100,0.100 +0.200,0.300 +0.300,0.500 +0.400,0.700 ";
    // clang-format off
    struct Case { const char* Name; std::vector<double> Xs, Ys; int Selected; const char* Setup; std::string Expected; } cases[] = {
        {"four vehicles", xs, ys, 4, "", path + "+0.200,0.500 +0.400,0.500 +0.500,0.600 +0.500,0.800 "},
        {"one vehicle: the middle", xs, ys, 1, "", path + "+0.500,0.500 "},
        {"aircraft only: the middle", xs, ys, 0, "", path + "+0.500,0.500 "},
        {"no sample", {}, {}, 4, "", line}, {"one sample", {0.3}, {0.3}, 4, "", line},
        {"mismatched lists", {0.3, 0.9, 0.2}, {0.3, 0.9}, 4, "", line},
        {"control off", xs, ys, 4, "c", ""}, {"no gesture", xs, ys, 4, "g", ""},
        {"beginFrame refuses", xs, ys, 4, "f", ""}, {"no renderer", xs, ys, 4, "r", ""},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        const std::string setup = c.Setup;
        TestApp app;
        app.View.bVehicleControl = setup != "c";
        app.View.bOrderDrag = setup != "g";
        app.Renderer.bDrawingAllowed = setup != "f";
        app.CoreServices.pRend = setup == "r" ? nullptr : &app.Renderer;
        app.View.OrderPressX = app.View.OrderPressY = 0.1;
        app.View.OrderCurrentX = 0.4, app.View.OrderCurrentY = 0.7;
        app.View.FormationScreenX = c.Xs, app.View.FormationScreenY = c.Ys;
        app.View.VehicleSelectionMask.assign(6, false);
        std::fill_n(app.View.VehicleSelectionMask.begin(), c.Selected, true);
        app.View.RenderFormationOrderOverlay();
        EXPECT_EQ(DescribePreview(app.Renderer), c.Expected) << c.Name;
        EXPECT_EQ(app.Renderer.GetEndFrameCount(), c.Expected.empty() ? 0 : 1) << c.Name;
    }
}

} // namespace
