// Unit simulation costs on a 512x512-square procedural map (4096 world units a side) with 2,000
// vehicles and 100 aircraft: one simulation step with everything moving, and a 200-vehicle
// formation order across ridges (goals snapped, plan submitted, routes planned in the next step).
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "glviewport.h"
#include "vehicleunit.h"

namespace
{
constexpr int MapSquares = 512;
constexpr double FrameSec = 1.0 / 60.0;

// Rolling hills under the drive limit, crossed by three steep walls with two gaps each.
std::vector<float> MakeTerrain()
{
    const int n = MapSquares + 1;
    std::vector<float> heights(static_cast<std::size_t>(n) * n);
    for (int z = 0; z < n; ++z)
        for (int x = 0; x < n; ++x)
        {
            float h = 30.0f * std::sin(x * 0.05f) * std::cos(z * 0.04f) + 20.0f * std::sin((x + z) * 0.02f);
            for (int wall : {128, 256, 384})
            {
                const bool bGap = (x > 60 && x < 80) || (x > 420 && x < 440);
                if (std::abs(z - wall) <= 1 && !bGap)
                    h += 150.0f;
            }
            heights[static_cast<std::size_t>(z) * n + x] = h;
        }
    return heights;
}

struct UnitWorld
{
    GLViewport View;

    UnitWorld()
    {
        View.SpringMap.LoadHeightGrid(MapSquares + 1, MapSquares + 1, 8.0f, MakeTerrain());
        View.PlaceUnitsOnMap(2000, 100);
    }

    // Sends every vehicle to the far side of the map and every aircraft on a two-point patrol.
    void OrderEveryone()
    {
        const double size = MapSquares * 8.0;
        for (std::size_t i = 0; i < View.Vehicles.size(); ++i)
        {
            VehicleUnit& v = *View.Vehicles[i];
            const double x = (i % 2 == 0) ? size * 0.1 : size * 0.9;
            const double z = (v.Position.Z < size * 0.5) ? size * 0.9 : size * 0.1;
            v.SetWaypoint(
                View.FindDriveableVehicleWaypoint(Vec3D(x + (i % 40) * 10.0, 0, z + (i / 40) % 40 * 10.0)));
        }
        for (auto& airUnit : View.AirUnits)
        {
            SubmitAirPatrolCommand(*airUnit, Vec3D(500, 400, 500), false, 1.0f);
            SubmitAirPatrolCommand(*airUnit, Vec3D(3500, 400, 3500), true, 1.0f);
        }
    }
    // Steps until every route is planned (the planning budget spreads them over a few steps).
    void PlanAll()
    {
        for (int step = 0; step < 64; ++step)
            View.Units.Step(FrameSec);
    }
    int CountMoving() const
    {
        int moving = 0;
        for (const auto& v : View.Vehicles)
            moving += v->bHasTarget ? 1 : 0;
        return moving;
    }
};

void BM_SimulationStep(benchmark::State& state)
{
    UnitWorld world;
    world.OrderEveryone();
    world.PlanAll();
    for (auto _ : state)
        world.View.Units.Step(FrameSec);
    state.counters["vehicles_moving"] = world.CountMoving();
    state.counters["aircraft"] = static_cast<double>(world.View.AirUnits.size());
}
BENCHMARK(BM_SimulationStep)->Unit(benchmark::kMillisecond)->Iterations(600);

// The goals of a 200-vehicle order: a sunflower disc around a clicked point (spacing 20, as a
// right click gives), or a line 1,000 units long (as a drawn formation gives).
std::vector<Vec3D> MakeFormation(bool bLine, double centreX, double centreZ)
{
    std::vector<Vec3D> points;
    for (int i = 0; i < 200; ++i)
    {
        if (bLine)
            points.emplace_back(centreX - 500.0 + i * 5.0, 0.0, centreZ);
        else
            points.emplace_back(centreX + std::sqrt(i) * 14.4 * std::cos(i * 2.3999632297286535), 0.0,
                                centreZ + std::sqrt(i) * 14.4 * std::sin(i * 2.3999632297286535));
    }
    return points;
}

// 200 selected vehicles ordered across a wall and back, alternately: the goals are snapped to
// drivable ground as the order gesture does, the plan submitted, and the next step plans all 200
// routes (and moves all 2,000 vehicles and 100 aircraft).
void BM_FormationOrder200(benchmark::State& state)
{
    const bool bLine = state.range(0) != 0;
    UnitWorld world;
    std::vector<bool> active(world.View.Vehicles.size(), false);
    for (std::size_t i = 0; i < 200; ++i)
        active[i] = true;
    bool bNorth = false;
    double routePoints = 0.0;
    for (auto _ : state)
    {
        bNorth = !bNorth;
        const std::vector<Vec3D> slots = MakeFormation(bLine, 2048.0, bNorth ? 600.0 : 3500.0);
        std::vector<Vec3D> goals(world.View.Vehicles.size(), slots[0]);
        for (std::size_t i = 0; i < 200; ++i)
            goals[i] = world.View.FindDriveableVehicleWaypoint(slots[i]);
        world.View.SubmitVehicleRoutePlan(goals, active, false);
        // Past the replan cooldown, so this step plans every one of them.
        for (std::size_t i = 0; i < 200; ++i)
            world.View.Vehicles[i]->RouteRefreshCooldown = 0.0f;
        world.View.Units.Step(FrameSec);
        state.PauseTiming();
        for (std::size_t i = 0; i < 200; ++i)
            routePoints += static_cast<double>(world.View.Vehicles[i]->Route.size());
        state.ResumeTiming();
    }
    state.counters["route_points_per_vehicle"] =
        routePoints / (200.0 * static_cast<double>(state.iterations()));
}
BENCHMARK(BM_FormationOrder200)->ArgName("line")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The same order to a region no earlier order went to: the planner starts without goal fields, so
// the first routes across a wall pay for building one.
void BM_FormationOrder200Cold(benchmark::State& state)
{
    UnitWorld world;
    std::vector<bool> active(world.View.Vehicles.size(), false);
    for (std::size_t i = 0; i < 200; ++i)
        active[i] = true;
    const std::vector<Vec3D> slots = MakeFormation(false, 2048.0, 3500.0);
    std::vector<Vec3D> goals(world.View.Vehicles.size(), slots[0]);
    for (std::size_t i = 0; i < 200; ++i)
        goals[i] = world.View.FindDriveableVehicleWaypoint(slots[i]);
    for (auto _ : state)
    {
        state.PauseTiming();
        world.View.Units.GetRoutePlanner() = RoutePlanner();
        for (std::size_t i = 0; i < 200; ++i)
            world.View.Vehicles[i]->RouteRefreshCooldown = 0.0f;
        state.ResumeTiming();
        world.View.SubmitVehicleRoutePlan(goals, active, false);
        world.View.Units.Step(FrameSec);
    }
}
BENCHMARK(BM_FormationOrder200Cold)->Unit(benchmark::kMillisecond);

// One cross-map route through two wall gaps, on the shared grid with reused buffers.
void BM_PlanCrossMapRoute(benchmark::State& state)
{
    UnitWorld world;
    const DriveabilityGrid& grid = world.View.Units.GetDriveability();
    std::vector<Vec3D> route;
    for (auto _ : state)
    {
        world.View.Units.GetRoutePlanner().PlanRoute(grid, world.View.SpringMap, Vec3D(2048, 0, 200),
                                                     Vec3D(2048, 0, 3900), route);
        benchmark::DoNotOptimize(route.data());
    }
    state.counters["route_points"] = static_cast<double>(route.size());
}
BENCHMARK(BM_PlanCrossMapRoute)->Unit(benchmark::kMicrosecond);
} // namespace
