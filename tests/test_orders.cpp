// Unit orders: the move order's spiral slots, the formation order along a drawn path (against a
// restart-from-the-start walk), the aircraft route and patrol orders, and the screen waypoint entry.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "order_test_view.h"

namespace
{
using ordertest::AddAircraft;
using ordertest::AddVehicle;
using ordertest::MapApp;
using ordertest::SelectVehicles;

constexpr double GoldenAngleRad = 2.3999632297286535;

void ExpectPoint(const Vec3D& got, const Vec3D& want, const char* what, double tolerance = 1e-9)
{
    EXPECT_NEAR(got.X, want.X, tolerance) << what;
    EXPECT_NEAR(got.Y, want.Y, tolerance) << what;
    EXPECT_NEAR(got.Z, want.Z, tolerance) << what;
}

// Slot k of a move order lies sqrt(k) x spacing x 0.72 from the waypoint, at k golden angles from
// `right` towards `forward` (forward is `right` turned a quarter towards +Z from +X).
Vec3D Slot(const Vec3D& waypoint, int k, double spacing, double rightX, double rightZ)
{
    const double r = std::sqrt(double(k)) * spacing * 0.72, a = k * GoldenAngleRad;
    const double localRight = r * std::cos(a), localForward = r * std::sin(a);
    return Vec3D(waypoint.X + rightX * localRight - rightZ * localForward, 0.0,
                 waypoint.Z + rightZ * localRight + rightX * localForward);
}

TEST(MoveOrder, SlotsFollowTheProjectionOnRightAndTheLargestRadiusSetsTheSpacing)
{
    struct Placed
    {
        double X, Z;
        float Radius;
        int Slot;
    };
    // clang-format off
    struct Case { const char* Name; std::vector<Placed> Vehicles; Vec3D Waypoint; double RightX, RightZ, Spacing; } cases[] = {
        {"travelling +Z: right is +X", {{520, 400, 5, 1}, {480, 400, 5, 0}}, Vec3D(500, 7, 600), 1, 0, 20.0},
        {"travelling +X: right is -Z", {{300, 580, 5, 1}, {300, 620, 5, 0}}, Vec3D(500, 7, 600), 0, -1, 20.0},
        {"one large vehicle: 30 x 1.58", {{100, 0, 4, 0}, {110, 0, 30, 1}, {120, 0, 6, 2}}, Vec3D(110, 0, 500), 1, 0, 47.4},
        {"centroid on the waypoint faces +Z", {{330, 200, 5, 2}, {270, 205, 5, 0}, {300, 195, 5, 1}}, Vec3D(300, 0, 200), 1, 0, 20.0},
        {"travel of exactly 1e-5 has no direction", {{-30, 1, 5, 0}, {30, -1, 5, 1}}, Vec3D(1e-5, 0, 0), 1, 0, 20.0},
    };
    // clang-format on
    for (const Case& c : cases)
        for (bool bAppend : {false, true})
        {
            MapApp app;
            for (const Placed& v : c.Vehicles)
                AddVehicle(app, v.X, v.Z, v.Radius);
            app.View.VehicleSelectionMask.assign(c.Vehicles.size(), true);
            app.View.SubmitSelectedVehicleRoute(c.Waypoint, bAppend);
            ASSERT_EQ(app.View.RoutePlans.size(), 1u) << c.Name;
            const auto& plan = app.View.RoutePlans[0];
            EXPECT_EQ(plan.bAppend, bAppend) << c.Name;
            EXPECT_EQ(plan.Active, std::vector<bool>(c.Vehicles.size(), true)) << c.Name;
            ASSERT_EQ(plan.Goals.size(), c.Vehicles.size()) << c.Name;
            for (std::size_t i = 0; i < c.Vehicles.size(); ++i)
                ExpectPoint(plan.Goals[i],
                            Slot(c.Waypoint, c.Vehicles[i].Slot, c.Spacing, c.RightX, c.RightZ), c.Name);
            // Slot points reach the snapping with Y 0, never the waypoint's height.
            for (const Vec3D& request : app.View.DriveableRequests)
                EXPECT_EQ(request.Y, 0.0) << c.Name;
        }
}

TEST(MoveOrder, DegenerateSelectionsStillCallThePlannerExactlyOnce)
{
    // A selected aircraft gets a one-point route at its own altitude whatever the vehicles' mask.
    // clang-format off
    struct Case { const char* Name; int Vehicles; std::vector<bool> Mask; bool bAir; std::vector<bool> ExpectedActive; std::size_t ExpectedSnaps; } cases[] = {
        {"nothing selected", 2, {false, false}, false, {false, false}, 0},
        {"empty vehicle list", 0, {true}, false, {}, 0},
        {"stale mask", 2, {true, true, true}, true, {false, false}, 0},
        {"one vehicle", 3, {false, true, false}, true, {false, true, false}, 1},
    };
    // clang-format on
    const Vec3D waypoint(40.0, 12.5, 60.0);
    for (const Case& c : cases)
    {
        MapApp app;
        for (int i = 0; i < c.Vehicles; ++i)
            AddVehicle(app, 10.0 * i, 500.0, 50.0f);
        AirUnit& aircraft = AddAircraft(app, 0.0, 300.0, 0.0, 250.0f);
        app.View.bAirUnitsSelected = c.bAir;
        app.View.VehicleSelectionMask = c.Mask;
        app.View.SubmitSelectedVehicleRoute(waypoint, true);

        ASSERT_EQ(app.View.RoutePlans.size(), 1u) << c.Name;
        const auto& plan = app.View.RoutePlans[0];
        EXPECT_EQ(plan.Active, c.ExpectedActive) << c.Name;
        EXPECT_EQ(app.View.VehicleSelectionMask, c.ExpectedActive) << c.Name;
        ASSERT_EQ(plan.Goals.size(), static_cast<std::size_t>(c.Vehicles)) << c.Name;
        // Every goal is the waypoint itself: a lone vehicle is snapped from it, height included.
        for (std::size_t i = 0; i < plan.Goals.size(); ++i)
            ExpectPoint(plan.Goals[i], waypoint, c.Name);
        ASSERT_EQ(app.View.DriveableRequests.size(), c.ExpectedSnaps) << c.Name;
        for (const Vec3D& request : app.View.DriveableRequests)
            ExpectPoint(request, waypoint, c.Name);
        ASSERT_EQ(aircraft.ActiveCommand.Points.size(), c.bAir ? 1u : 0u) << c.Name;
        if (c.bAir)
            ExpectPoint(aircraft.ActiveCommand.Points[0], Vec3D(40.0, 250.0, 60.0), c.Name);
    }
}

// --- Formation order ---

// Places go along the path at equal steps in the order of the vehicles' projections on the axis from
// its start to its end; unselected vehicles carry a copy of the end, whole, and stay inactive.
TEST(FormationOrder, WorkedPlacesAlongThePath)
{
    // clang-format off
    struct Case { const char* Name; std::vector<Vec3D> Path; std::vector<std::pair<double, double>> Vehicles; std::vector<bool> Mask; std::vector<Vec3D> Goals; } cases[] = {
        {"one vehicle: the middle", {Vec3D(0, 5, 0), Vec3D(100, 9, 0)}, {{-500, 30}}, {true}, {Vec3D(50, 0, 0)}},
        {"L path: the corners in axis order", {Vec3D(0, 3, 0), Vec3D(100, 3, 0), Vec3D(100, 8, 100)}, {{90, 90}, {-40, -40}, {10, 20}, {0, 0}}, {true, true, true, false},
         {Vec3D(100, 0, 100), Vec3D(0, 0, 0), Vec3D(100, 0, 0), Vec3D(100, 8, 100)}},
        {"slanted axis: by projection, not by coordinate", {Vec3D(100, 0, 0), Vec3D(200, 0, 50)}, {{100, 100}, {130, 0}}, {true, true}, {Vec3D(200, 0, 50), Vec3D(100, 0, 0)}},
        {"repeated points", {Vec3D(0, 0, 0), Vec3D(0, 0, 0), Vec3D(40, 0, 0), Vec3D(40, 0, 0), Vec3D(40, 0, 0), Vec3D(80, 0, 0)}, {{0, 0}, {10, 0}, {20, 0}, {30, 0}, {40, 0}},
         {true, true, true, true, true}, {Vec3D(0, 0, 0), Vec3D(20, 0, 0), Vec3D(40, 0, 0), Vec3D(60, 0, 0), Vec3D(80, 0, 0)}},
    };
    // clang-format on
    for (const Case& c : cases)
        for (bool bAppend : {false, true})
        {
            MapApp app;
            for (const auto& [x, z] : c.Vehicles)
                AddVehicle(app, x, z);
            app.View.VehicleSelectionMask = c.Mask;
            app.View.SubmitSelectedVehicleFormationRoute(c.Path, bAppend);
            ASSERT_EQ(app.View.RoutePlans.size(), 1u) << c.Name;
            const auto& plan = app.View.RoutePlans[0];
            EXPECT_EQ(plan.bAppend, bAppend) << c.Name;
            EXPECT_EQ(plan.Active, c.Mask) << c.Name;
            ASSERT_EQ(plan.Goals.size(), c.Goals.size()) << c.Name;
            for (std::size_t i = 0; i < c.Goals.size(); ++i)
                ExpectPoint(plan.Goals[i], c.Goals[i], c.Name);
            EXPECT_EQ(app.View.DriveableRequests.size(),
                      std::size_t(std::count(c.Mask.begin(), c.Mask.end(), true)));
            for (const Vec3D& request : app.View.DriveableRequests)
                EXPECT_EQ(request.Y, 0.0) << c.Name;
        }
}

TEST(FormationOrder, DegeneratePathsAndSelectionsFallBackOrSubmitNothing)
{
    // Queued orders stack up on the selected aircraft: its point count tells how many routes it got.
    // clang-format off
    struct Case { const char* Name; std::vector<Vec3D> Path; std::vector<bool> Mask; std::size_t Plans, AirPoints; } cases[] = {
        {"empty path", {}, {true, true}, 0, 0},
        {"one point: a move order", {Vec3D(5, 0, 5)}, {true, true}, 1, 2},
        {"closed loop: a move order to the last point", {Vec3D(10, 0, 10), Vec3D(60, 0, 10), Vec3D(10.00005, 0, 10.00005)}, {true, true}, 1, 4},
        {"nothing selected", {Vec3D(0, 0, 0), Vec3D(50, 0, 0)}, {false, false}, 0, 2},
        {"stale mask", {Vec3D(0, 0, 0), Vec3D(50, 0, 0)}, {true}, 0, 2},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        MapApp app;
        AddVehicle(app, 0.0, 100.0);
        AddVehicle(app, 30.0, 100.0);
        AirUnit& aircraft = AddAircraft(app, 0.0, 300.0, 0.0);
        app.View.bAirUnitsSelected = true;
        app.View.VehicleSelectionMask = c.Mask;
        app.View.SubmitSelectedVehicleFormationRoute(c.Path, true);

        EXPECT_EQ(app.View.RoutePlans.size(), c.Plans) << c.Name;
        EXPECT_EQ(app.View.VehicleSelectionMask.size(), 2u) << c.Name;
        EXPECT_EQ(aircraft.ActiveCommand.Points.size(), c.AirPoints) << c.Name;
        EXPECT_EQ(aircraft.bHasActiveOrder, c.AirPoints > 0) << c.Name;
        if (c.Plans == 1) // the move order's centre slot is the path's last point
        {
            ASSERT_FALSE(app.View.DriveableRequests.empty()) << c.Name;
            ExpectPoint(app.View.DriveableRequests[0], Vec3D(c.Path.back().X, 0.0, c.Path.back().Z), c.Name);
        }
    }
}

// The obvious placement: every place walks the path from its first segment again.
Vec3D PlaceByRestartWalk(const std::vector<Vec3D>& path, double t)
{
    std::vector<double> cumulative(path.size(), 0.0);
    for (std::size_t i = 1; i < path.size(); ++i)
        cumulative[i] = cumulative[i - 1] + std::hypot(path[i].X - path[i - 1].X, path[i].Z - path[i - 1].Z);
    const double targetDistance = std::clamp(t, 0.0, 1.0) * cumulative.back();
    std::size_t i = 1;
    while (targetDistance > cumulative[i] && i + 1 < path.size())
        ++i;
    const double span = std::max(cumulative[i] - cumulative[i - 1], 1e-9);
    const double u = std::clamp((targetDistance - cumulative[i - 1]) / span, 0.0, 1.0);
    return Vec3D(path[i - 1].X + (path[i].X - path[i - 1].X) * u, 0.0,
                 path[i - 1].Z + (path[i].Z - path[i - 1].Z) * u);
}

TEST(FormationOrder, ResumingWalkMatchesTheRestartWalkOnRandomPaths)
{
    const unsigned seed = 20261122u;
    std::printf("FormationOrder random paths: seed %u\n", seed);
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> step(-60.0, 60.0);
    std::uniform_int_distribution<int> pointCount(2, 80);
    std::uniform_int_distribution<int> vehicleCount(1, 60);
    std::bernoulli_distribution repeat(0.2);
    for (int trial = 0; trial < 200; ++trial)
    {
        std::vector<Vec3D> path = {Vec3D(0.0, 0.0, 0.0)};
        const int points = pointCount(rng);
        while (static_cast<int>(path.size()) < points)
            path.push_back(repeat(rng)
                               ? path.back()
                               : Vec3D(path.back().X + step(rng), step(rng), path.back().Z + step(rng)));
        if (std::hypot(path.back().X, path.back().Z) < 0.0001)
            continue; // a closed loop is a move order, tested elsewhere
        MapApp app;
        const int n = vehicleCount(rng);
        for (int i = 0; i < n; ++i)
            AddVehicle(app, step(rng), step(rng));
        app.View.VehicleSelectionMask.assign(static_cast<std::size_t>(n), true);
        app.View.SubmitSelectedVehicleFormationRoute(path, false);

        // Snapping requests come in place order, first place first.
        ASSERT_EQ(app.View.DriveableRequests.size(), static_cast<std::size_t>(n)) << "trial " << trial;
        for (int slot = 0; slot < n; ++slot)
        {
            const double t = n == 1 ? 0.5 : static_cast<double>(slot) / (n - 1);
            const Vec3D expected = PlaceByRestartWalk(path, t);
            const Vec3D& got = app.View.DriveableRequests[static_cast<std::size_t>(slot)];
            ASSERT_EQ(got.X, expected.X) << "trial " << trial << " slot " << slot;
            ASSERT_EQ(got.Z, expected.Z) << "trial " << trial << " slot " << slot;
            ASSERT_EQ(got.Y, 0.0) << "trial " << trial << " slot " << slot;
        }
    }
}

// --- Aircraft orders ---

TEST(AirOrders, EachAircraftFliesThePointsAtItsOwnAltitudeSkippingEmptyEntries)
{
    TestApp app;
    app.View.AirUnits.push_back(nullptr);
    AirUnit& first = AddAircraft(app, 0.0, 0.0, 0.0, 300.0f);
    app.View.AirUnits.push_back(nullptr);
    AirUnit& second = AddAircraft(app, 0.0, 0.0, 0.0, 450.0f);
    app.View.bAirUnitsSelected = true;

    app.View.SubmitSelectedAirRoute({Vec3D(10.0, 5.0, 20.0)}, false);
    ASSERT_EQ(first.ActiveCommand.Points.size(), 1u);
    ASSERT_EQ(second.ActiveCommand.Points.size(), 1u);
    EXPECT_EQ(first.ActiveCommand.Type, AirCommandType::Move);
    ExpectPoint(first.ActiveCommand.Points[0], Vec3D(10.0, 300.0, 20.0), "route, first");
    ExpectPoint(second.ActiveCommand.Points[0], Vec3D(10.0, 450.0, 20.0), "route, second");

    app.View.SubmitSelectedAirPatrol(Vec3D(10.0, -7.0, 20.0), false);
    EXPECT_EQ(first.ActiveCommand.Type, AirCommandType::Patrol);
    ASSERT_EQ(first.ActiveCommand.Points.size(), 1u);
    ExpectPoint(first.ActiveCommand.Points[0], Vec3D(10.0, 300.0, 20.0), "patrol, first");
    ExpectPoint(second.ActiveCommand.Points[0], Vec3D(10.0, 450.0, 20.0), "patrol, second");
    EXPECT_TRUE(first.Flight.Navigator.IsLooping());

    // Points of different heights: one altitude for the whole route; appending queues behind.
    app.View.SubmitSelectedAirRoute({Vec3D(1, 100, 2), Vec3D(3, -50, 4)}, true);
    ASSERT_EQ(second.ActiveCommand.Points.size(), 3u);
    ExpectPoint(second.ActiveCommand.Points[1], Vec3D(1.0, 450.0, 2.0), "appended 1");
    ExpectPoint(second.ActiveCommand.Points[2], Vec3D(3.0, 450.0, 4.0), "appended 2");
}

TEST(AirOrders, PatrolFlagsAreClearedOnlyByASelectedReplacingNonEmptyRoute)
{
    // clang-format off
    struct Case { bool bSelected, bAircraft; std::vector<Vec3D> Path; bool bAppend, bFlags; } cases[] = {
        {true, true, {Vec3D(1, 0, 1)}, false, false}, {true, false, {Vec3D(1, 0, 1)}, false, false},
        {true, true, {Vec3D(1, 0, 1)}, true, true},   {false, true, {Vec3D(1, 0, 1)}, false, true},
        {true, true, {}, false, true},                {true, false, {}, false, true},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        if (c.bAircraft)
            AddAircraft(app, 0, 0, 0);
        app.View.bAirUnitsSelected = c.bSelected;
        app.View.bAirPatrolPlacement = app.View.bAirPatrolRouteActive = true;
        app.View.SubmitSelectedAirRoute(c.Path, c.bAppend);
        EXPECT_EQ(app.View.bAirPatrolPlacement, c.bFlags) << &c - cases;
        EXPECT_EQ(app.View.bAirPatrolRouteActive, c.bFlags) << &c - cases;
        EXPECT_TRUE(!c.bAircraft ||
                    app.View.AirUnits[0]->bHasActiveOrder == (c.bSelected && !c.Path.empty()));
    }
    // The patrol order needs the selection and leaves the placement flags alone.
    TestApp app;
    AirUnit& aircraft = AddAircraft(app, 0, 0, 0);
    app.View.bAirPatrolPlacement = true;
    app.View.SubmitSelectedAirPatrol(Vec3D(1, 0, 1), false);
    EXPECT_FALSE(aircraft.bHasActiveOrder);
    app.View.bAirUnitsSelected = true;
    app.View.SubmitSelectedAirPatrol(Vec3D(1, 0, 1), false);
    EXPECT_TRUE(aircraft.bHasActiveOrder && app.View.bAirPatrolPlacement);
}

// --- Waypoint from screen ---

TEST(WaypointFromScreen, IssuesAMoveOrderOnlyWithControlAMapPointAndASelection)
{
    // clang-format off
    struct Case { const char* Name; bool bControl; bool bMapLoaded; double GlobalX, GlobalY; std::vector<bool> Mask; bool bAir; bool bParent; bool bQueue; bool bExpected; const char* ExpectedMessage; } cases[] = {
        {"control off", false, true, 0.0, 0.0, {true}, false, true, false, false, nullptr},
        {"outside the viewport", true, true, 1.5, 0.0, {true}, false, true, false, false, nullptr},
        {"no map", true, false, 0.0, 0.0, {true}, false, true, false, false, nullptr},
        {"nothing selected", true, true, 0.0, 0.0, {false}, false, true, false, false, nullptr},
        {"vehicle, replace", true, true, 0.0, 0.0, {true}, false, true, false, true, "Selected units ordered to waypoint."},
        {"vehicle, queue", true, true, 0.0, 0.0, {true}, false, true, true, true, "Waypoint queued for selected units."},
        {"aircraft only", true, true, 0.0, 0.0, {false}, true, true, false, true, "Selected units ordered to waypoint."},
        {"stale mask", true, true, 0.0, 0.0, {false, true}, false, true, false, true, "Selected units ordered to waypoint."},
        {"no window", true, true, 0.0, 0.0, {true}, false, false, false, true, nullptr},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        ordertest::LookStraightDown(app, 400.0, 300.0);
        if (!c.bMapLoaded)
            app.View.SpringMap.Unload();
        app.View.bVehicleControl = c.bControl;
        VehicleUnit& vehicle = AddVehicle(app, 0.0, 0.0);
        AirUnit& aircraft = AddAircraft(app, 0.0, 300.0, 0.0);
        app.View.VehicleSelectionMask = c.Mask;
        app.View.bAirUnitsSelected = c.bAir;
        if (!c.bParent)
            app.View.pParentWindow = nullptr;

        EXPECT_EQ(app.View.SetSpringVehicleWaypointFromScreen(c.GlobalX, c.GlobalY, c.bQueue), c.bExpected)
            << c.Name;
        EXPECT_EQ(app.View.RoutePlans.size(), c.bExpected ? 1u : 0u) << c.Name;
        if (c.ExpectedMessage)
            EXPECT_EQ(app.Messages(), std::vector<std::string>({c.ExpectedMessage})) << c.Name;
        else
            EXPECT_TRUE(app.Messages().empty()) << c.Name;
        const bool bVehicleMoves = c.bExpected && c.Mask.size() == 1 && c.Mask[0];
        EXPECT_EQ(vehicle.bHasTarget, bVehicleMoves) << c.Name;
        if (bVehicleMoves)
            ExpectPoint(vehicle.Target, Vec3D(400.0, 0.0, 300.0), c.Name, 1e-6); // the viewport's centre
        EXPECT_EQ(aircraft.bHasActiveOrder, c.bExpected && c.bAir) << c.Name;
    }
}

} // namespace
