// Ground vehicles: driving with a speed and a turn rate, queued goals, the replan budget, and the
// viewport's unit services (drivable goals, route plans, placement).
#include <algorithm>
#include <cmath>
#include <memory>
#include <tuple>

#include <gtest/gtest.h>

#include "test_app.h"
#include "test_units_terrain.h"
#include "unitsimulation.h"
#include "vehicleunit.h"

namespace
{
using namespace unitterrain;

constexpr double FrameSec = 1.0 / 60.0;

// One vehicle on a flat map, stepped by the unit simulation.
struct DriveWorld
{
    SpringMapRenderer Map;
    std::vector<std::unique_ptr<VehicleUnit>> Vehicles;
    std::vector<std::unique_ptr<AirUnit>> AirUnits;
    UnitSimulation Simulation{Map, Vehicles, AirUnits};
    VehicleUnit& Vehicle = *Vehicles.emplace_back(std::make_unique<VehicleUnit>());

    DriveWorld() { Map.LoadHeightGrid(65, 65, SquareSize, std::vector<float>(65 * 65, 0.0f)); }
    void Step(double dtSec = FrameSec) { Simulation.Step(dtSec); }
};

TEST(VehicleDriving, StraightLegCoversSpeedTimesTimeThenStopsAtTheGoal)
{
    DriveWorld world;
    world.Vehicle.Position = Vec3D(100, 0, 100);
    world.Vehicle.SetWaypoint(Vec3D(100, 0, 400));
    for (int frame = 0; frame < 60; ++frame)
        world.Step();
    // Facing +Z already: one second at 60 units per second.
    EXPECT_LT(std::hypot(world.Vehicle.Position.X - 100.0, world.Vehicle.Position.Z - 160.0), 1e-6);
    EXPECT_TRUE(world.Vehicle.bHasTarget);
    for (int frame = 0; frame < 4 * 60 + 5; ++frame)
        world.Step();
    EXPECT_FALSE(world.Vehicle.bHasTarget);
    EXPECT_NEAR(world.Vehicle.Position.Z, 400.0, 0.5);
    const Vec3D stopped = world.Vehicle.Position;
    world.Step();
    EXPECT_EQ(world.Vehicle.Position.Z, stopped.Z) << "no goal, no motion";
}

TEST(VehicleDriving, QueuedGoalsAreDrivenInOrder)
{
    DriveWorld world;
    VehicleUnit& v = world.Vehicle;
    v.Position = Vec3D(50, 0, 50);
    const Vec3D goals[] = {Vec3D(150, 0, 50), Vec3D(150, 0, 150), Vec3D(50, 0, 150)};
    v.QueueWaypoint(goals[0]); // no target yet: becomes the target
    v.QueueWaypoint(goals[1]);
    v.QueueWaypoint(goals[2]);
    ASSERT_EQ(v.WaypointQueue.size(), 2u);
    std::size_t reached = 0;
    for (int frame = 0; frame < 1200 && v.bHasTarget; ++frame)
    {
        world.Step();
        if (reached < 3 && std::hypot(v.Position.X - goals[reached].X, v.Position.Z - goals[reached].Z) < 0.5)
            ++reached;
        ASSERT_EQ(v.WaypointQueue.size() + (v.bHasTarget ? 1u : 0u), 3u - std::min<std::size_t>(reached, 3))
            << "frame " << frame << ": goals left after " << reached << " reached";
    }
    EXPECT_EQ(reached, 3u);
    EXPECT_FALSE(v.bHasTarget);

    // A new order replaces the queue.
    v.QueueWaypoint(goals[0]);
    v.QueueWaypoint(goals[1]);
    v.SetWaypoint(goals[2]);
    EXPECT_TRUE(v.WaypointQueue.empty());
    EXPECT_EQ(v.Target.X, goals[2].X);
}

TEST(VehicleDriving, BadTimeStepsChangeNothing)
{
    DriveWorld world;
    VehicleUnit& v = world.Vehicle;
    v.Position = Vec3D(100, 0, 100);
    v.SetWaypoint(Vec3D(100, 0, 400));
    world.Step(); // planned, cooldown running
    const Vec3D position = v.Position;
    const float cooldown = v.RouteRefreshCooldown;
    for (double dt : {0.0, -1.0, double(NAN), -double(INFINITY), double(INFINITY)})
    {
        world.Step(dt);
        EXPECT_EQ(std::tuple(v.Position.X, v.Position.Z, v.RouteRefreshCooldown, std::isfinite(v.HeadingDeg)),
                  std::tuple(position.X, position.Z, cooldown, true))
            << "dt " << dt;
    }
}

// --- The viewport's unit services ---

void AddVehicle(GLViewport& view, double x, double z)
{
    auto vehicle = std::make_unique<VehicleUnit>();
    vehicle->Position = Vec3D(x, 0, z);
    view.Vehicles.push_back(std::move(vehicle));
}

TEST(ViewportUnits, DriveableWaypointIsTheNearestDrivablePointAtTerrainHeight)
{
    TestApp app;
    app.View.bIdentityDriveable = false;
    LoadRidgeMap(app.View.SpringMap);
    const double inset = 0.08; // a hundredth of a cell inside the chosen cell
    // clang-format off
    const struct { Vec3D request; double x, z; const char* what; } cases[] = {
        {Vec3D(100, 0, 100), 100, 100, "open ground: unchanged"}, {Vec3D(100, 999, 100), 100, 100, "the requested height is ignored"},
        {Vec3D(100, 0, 250), 100, 248 - inset, "north flank: to its foot"}, {Vec3D(100, 0, 262), 100, 264 + inset, "south flank: to its foot"},
        {Vec3D(395, 0, 256), 395, 256, "inside the gap"}, {Vec3D(-50, 0, 100), inset, 100, "west of the map"},
        {Vec3D(600, 0, 700), 512 - inset, 512 - inset, "beyond the far corner"}, {Vec3D(NAN, 0, 100), 0, 100, "no X: the map's edge"},
    };
    // clang-format on
    for (const auto& c : cases)
    {
        const Vec3D goal = app.View.FindDriveableVehicleWaypoint(c.request);
        EXPECT_LT(std::hypot(goal.X - c.x, goal.Z - c.z), 1e-6) << c.what << ": " << goal.X << ", " << goal.Z;
        EXPECT_TRUE(goal.Y == 0.0 && goal.Y == app.View.SpringMap.GetTerrainHeight(goal.X, goal.Z)) << c.what;
    }
    // No map: the point at the (flat) default height.
    TestApp empty;
    empty.View.bIdentityDriveable = false;
    const Vec3D goal = empty.View.FindDriveableVehicleWaypoint(Vec3D(5, 7, 9));
    EXPECT_EQ(std::tuple(goal.X, goal.Y, goal.Z), std::tuple(5.0, 0.0, 9.0));
}

TEST(ViewportUnits, RoutePlanReplacesOrQueuesAndLeavesInactiveVehiclesAlone)
{
    for (const bool bAppend : {false, true})
    {
        TestApp app;
        for (int i = 0; i < 4; ++i)
            AddVehicle(app.View, 10.0 * i, 10.0);
        std::vector<VehicleUnit*> v = app.View.GetControllableVehicles();
        for (VehicleUnit* vehicle : v)
            vehicle->SetWaypoint(Vec3D(1, 0, 1));
        v[0]->bNeedsRouteRefresh = false; // as after a plan
        v[1]->bNeedsRouteRefresh = false;
        const VehicleUnit inactiveBefore = *v[1];
        app.View.SubmitVehicleRoutePlan({Vec3D(5, 0, 5), Vec3D(6, 0, 6), Vec3D(NAN, 0, 7), Vec3D(8, 0, 8)},
                                        {true, false, true, true}, bAppend);
        const char* mode = bAppend ? "append" : "replace";
        // Vehicle 0: the new goal replaces the old one, or waits behind it.
        EXPECT_EQ(v[0]->Target.X, bAppend ? 1.0 : 5.0) << mode;
        ASSERT_EQ(v[0]->WaypointQueue.size(), bAppend ? 1u : 0u) << mode;
        EXPECT_EQ(bAppend ? v[0]->WaypointQueue.front().X : 5.0, 5.0) << mode;
        EXPECT_EQ(v[0]->bNeedsRouteRefresh, !bAppend) << mode << ": only a new target needs a route";
        // Vehicle 1: inactive, untouched.
        EXPECT_EQ(std::tuple(v[1]->Target.X, v[1]->WaypointQueue.size(), v[1]->bNeedsRouteRefresh),
                  std::tuple(inactiveBefore.Target.X, inactiveBefore.WaypointQueue.size(),
                             inactiveBefore.bNeedsRouteRefresh))
            << mode;
        // Vehicle 2: a goal that is not finite is refused.
        EXPECT_EQ(v[2]->Target.X, 1.0) << mode;
        EXPECT_TRUE(v[2]->WaypointQueue.empty()) << mode;
        // Vehicle 3 gets its goal.
        EXPECT_EQ(bAppend ? v[3]->WaypointQueue.back().X : v[3]->Target.X, 8.0) << mode;

        // Shorter lists reach only the vehicles they cover.
        app.View.SubmitVehicleRoutePlan({Vec3D(9, 0, 9)}, {true, true, true, true}, false);
        EXPECT_EQ(v[0]->Target.X, 9.0) << mode;
        EXPECT_NE(v[1]->Target.X, 9.0) << mode;
        app.View.SubmitVehicleRoutePlan({Vec3D(9, 0, 9), Vec3D(9, 0, 9)}, {false}, false);
        EXPECT_NE(v[1]->Target.X, 9.0) << mode;
    }
}

TEST(ViewportUnits, PlacementIsDeterministicOnDrivableGroundAndAllOrNothing)
{
    TestApp a, b;
    LoadRidgeMap(a.View.SpringMap);
    LoadRidgeMap(b.View.SpringMap);
    ASSERT_TRUE(a.View.PlaceUnitsOnMap(120, 5));
    ASSERT_TRUE(b.View.PlaceUnitsOnMap(120, 5));
    ASSERT_EQ(std::tuple(a.View.Vehicles.size(), a.View.AirUnits.size()), std::tuple(120u, 5u));
    EXPECT_EQ(a.View.VehicleSelectionMask, std::vector<bool>(120, false));
    for (std::size_t i = 0; i < a.View.Vehicles.size(); ++i)
    {
        const Vec3D& p = a.View.Vehicles[i]->Position;
        EXPECT_TRUE(a.View.Units.GetDriveability().IsDriveable(p.X, p.Z)) << "vehicle " << i;
        EXPECT_EQ(p.Y, a.View.SpringMap.GetTerrainHeight(p.X, p.Z)) << "vehicle " << i;
        EXPECT_TRUE(p.X == b.View.Vehicles[i]->Position.X && p.Z == b.View.Vehicles[i]->Position.Z)
            << "vehicle " << i << " placed differently the second time";
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_GT(std::hypot(p.X - a.View.Vehicles[j]->Position.X, p.Z - a.View.Vehicles[j]->Position.Z),
                      8.0)
                << "vehicles " << j << " and " << i << " overlap";
    }
    for (const auto& airUnit : a.View.AirUnits)
    {
        EXPECT_GE(airUnit->Aircraft.TargetAltitude, RidgeHeight + 150.0f);
        EXPECT_EQ(airUnit->Aircraft.Position.Y, airUnit->Aircraft.TargetAltitude);
    }

    // Failures change nothing: no map, bad counts, or more vehicles than the ground holds.
    TestApp empty;
    AddVehicle(empty.View, 1, 1);
    EXPECT_FALSE(empty.View.PlaceUnitsOnMap(3, 1));
    EXPECT_EQ(empty.View.Vehicles.size(), 1u);
    EXPECT_FALSE(a.View.PlaceUnitsOnMap(-1, 1));
    EXPECT_FALSE(a.View.PlaceUnitsOnMap(100000, 1));
    EXPECT_EQ(std::tuple(a.View.Vehicles.size(), a.View.AirUnits.size()), std::tuple(120u, 5u));
}

} // namespace
