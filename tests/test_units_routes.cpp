// Drivable cells and route planning: slope limits, grid sizes, the nearest drivable point against a
// brute-force search, routes around a ridge, unreachable goals, and random maps against a plain
// Dijkstra over the same cells.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <random>

#include <tuple>

#include <gtest/gtest.h>

#include "driveabilitygrid.h"
#include "goaldistancefield.h"
#include "routeplanner.h"
#include "test_units_terrain.h"
#include "unitsimulation.h"
#include "vehicleunit.h"

namespace
{
using namespace unitterrain;

// A flat map of N x N corners where each corner is raised into a steep block with this chance.
void LoadScatteredBlocks(SpringMapRenderer& map, DriveabilityGrid& grid, int n, double chance,
                         std::mt19937& rng)
{
    std::vector<float> heights(static_cast<std::size_t>(n) * n, 0.0f);
    std::bernoulli_distribution raised(chance);
    for (float& h : heights)
        h = raised(rng) ? 40.0f : 0.0f;
    map.LoadHeightGrid(n, n, SquareSize, std::move(heights));
    grid.SyncWith(map);
}

// Reference: Dijkstra over the drivable cells with the same moves (8 neighbours, no corner
// cutting), by repeated linear scans. Returns the cost in cells to every cell (infinity if cut off).
std::vector<double> ReferenceCosts(const DriveabilityGrid& grid, int startX, int startZ,
                                   double diagonalCost = std::sqrt(2.0))
{
    const int w = grid.GetWidth(), h = grid.GetHeight();
    std::vector<double> cost(static_cast<std::size_t>(w) * h, std::numeric_limits<double>::infinity());
    std::vector<bool> done(cost.size(), false);
    cost[static_cast<std::size_t>(startZ) * w + startX] = 0.0;
    for (;;)
    {
        std::size_t best = cost.size();
        for (std::size_t i = 0; i < cost.size(); ++i)
            if (!done[i] && std::isfinite(cost[i]) && (best == cost.size() || cost[i] < cost[best]))
                best = i;
        if (best == cost.size())
            return cost;
        done[best] = true;
        const int x = static_cast<int>(best) % w, z = static_cast<int>(best) / w;
        for (int dz = -1; dz <= 1; ++dz)
            for (int dx = -1; dx <= 1; ++dx)
            {
                if ((dx == 0 && dz == 0) || !grid.IsCellDriveable(x + dx, z + dz))
                    continue;
                if (dx != 0 && dz != 0 &&
                    (!grid.IsCellDriveable(x + dx, z) || !grid.IsCellDriveable(x, z + dz)))
                    continue;
                const std::size_t next = static_cast<std::size_t>(z + dz) * w + (x + dx);
                cost[next] = std::min(cost[next], cost[best] + ((dx != 0 && dz != 0) ? diagonalCost : 1.0));
            }
    }
}

// The reference cost in world units from one point's cell to another's.
double ReferenceCost(const DriveabilityGrid& grid, const Vec3D& from, const Vec3D& to)
{
    int fx = 0, fz = 0, tx = 0, tz = 0;
    grid.FindCell(from.X, from.Z, fx, fz);
    grid.FindCell(to.X, to.Z, tx, tz);
    return ReferenceCosts(grid, fx, fz)[tz * grid.GetWidth() + tx] * SquareSize;
}

// The ridge map and its drivable cells.
struct RidgeWorld
{
    SpringMapRenderer Map;
    DriveabilityGrid Grid;
    RidgeWorld() { LoadRidgeMap(Map), Grid.SyncWith(Map); }
};

// Every point of every leg, sampled finely, lies on drivable ground.
void ExpectLegsDriveable(const DriveabilityGrid& grid, double fromX, double fromZ,
                         const std::vector<Vec3D>& route, const char* what)
{
    for (std::size_t i = 0; i < route.size(); ++i)
    {
        const double length = std::hypot(route[i].X - fromX, route[i].Z - fromZ);
        const int samples = static_cast<int>(length / 0.25) + 1;
        for (int s = 0; s <= samples; ++s)
        {
            const double t = static_cast<double>(s) / samples;
            const double x = fromX + (route[i].X - fromX) * t, z = fromZ + (route[i].Z - fromZ) * t;
            ASSERT_TRUE(grid.IsDriveable(x, z)) << what << ": leg " << i << " at (" << x << ", " << z << ")";
        }
        fromX = route[i].X;
        fromZ = route[i].Z;
    }
}

// Plans a route in one slice; returns the cells the planner searched, as its budget counts them.
std::size_t PlanCountingCells(RoutePlanner& planner, const DriveabilityGrid& grid,
                              const SpringMapRenderer& map, const Vec3D& from, const Vec3D& to,
                              std::vector<Vec3D>& route)
{
    const std::size_t budget = 1u << 30;
    std::size_t cells = budget;
    EXPECT_TRUE(planner.BeginRoute(grid, from, to));
    EXPECT_TRUE(planner.ContinueRoute(grid, map, cells, route));
    return budget - cells;
}

TEST(DriveabilityGrid, SlopeLimitSeparatesDrivableFromSteepSquares)
{
    // The limit is 0.6 per unit: 4.8 over a square of 8, along X, Z or both (the gradient's length).
    // clang-format off
    const struct { float h00, h10, h01, h11; bool bDriveable; const char* what; } cases[] = {
        {0, 0, 0, 0, true, "flat"}, {0, 4.79f, 0, 4.79f, true, "just under along X"}, {0, 4.81f, 0, 4.81f, false, "just over along X"},
        {0, 0, 4.81f, 4.81f, false, "just over along Z"}, {0, 3.39f, 3.39f, 6.78f, true, "diagonal 3.39 each way: 4.794"},
        {0, 3.40f, 3.40f, 6.80f, false, "diagonal 3.40 each way: 4.808"}, {0, 0, 0, 4.81f, false, "one raised corner"},
        {100, 95.3f, 100, 95.3f, true, "falling under the limit at height"}, {0, NAN, 0, 0, false, "a NaN corner"},
    };
    // clang-format on
    for (const auto& c : cases)
    {
        SpringMapRenderer map;
        map.LoadHeightGrid(2, 2, SquareSize, {c.h00, c.h10, c.h01, c.h11});
        DriveabilityGrid grid;
        ASSERT_TRUE(grid.SyncWith(map)) << c.what;
        EXPECT_EQ(grid.IsCellDriveable(0, 0), c.bDriveable) << c.what;
    }
}

TEST(DriveabilityGrid, NearestDriveablePointMatchesBruteForce)
{
    RidgeWorld world;
    const DriveabilityGrid& grid = world.Grid;
    const unsigned seed = 20261122u;
    std::printf("seed %u\n", seed);
    std::mt19937 rng(seed);
    // Half the points near the ridge's steep band (world Z 248..264), some off the map.
    std::uniform_real_distribution<double> anyX(-60.0, 572.0), nearRidgeZ(240.0, 272.0), anyZ(-60.0, 572.0);
    const double cell = grid.GetCellSizeWorld();
    for (int i = 0; i < 400; ++i)
    {
        const double x = anyX(rng), z = (i % 2 == 0) ? nearRidgeZ(rng) : anyZ(rng);
        double bestDist = INFINITY;
        for (int cz = 0; cz < grid.GetHeight(); ++cz)
            for (int cx = 0; cx < grid.GetWidth(); ++cx)
                if (grid.IsCellDriveable(cx, cz))
                {
                    const double nx = std::clamp(x, cx * cell, (cx + 1) * cell);
                    const double nz = std::clamp(z, cz * cell, (cz + 1) * cell);
                    bestDist = std::min(bestDist, std::hypot(nx - x, nz - z));
                }
        double outX = 0, outZ = 0;
        ASSERT_TRUE(grid.FindNearestDriveable(x, z, outX, outZ)) << x << "," << z;
        EXPECT_TRUE(grid.IsDriveable(outX, outZ)) << x << "," << z;
        // The result sits a hundredth of a cell inside its cell.
        EXPECT_NEAR(std::hypot(outX - x, outZ - z), bestDist, 0.01 * cell * std::sqrt(2.0) + 1e-9)
            << x << "," << z;
        if (grid.IsDriveable(x, z))
        {
            EXPECT_EQ(outX, x);
            EXPECT_EQ(outZ, z);
        }
    }
}

TEST(RoutePlanner, ShortAndDegenerateRequests)
{
    SpringMapRenderer map;
    LoadRidgeMap(map);
    DriveabilityGrid grid;
    RoutePlanner planner;
    std::vector<Vec3D> route{Vec3D(1, 2, 3)};
    EXPECT_FALSE(planner.PlanRoute(grid, map, Vec3D(10, 0, 10), Vec3D(20, 0, 20), route)) << "no grid yet";
    grid.SyncWith(map);
    EXPECT_FALSE(planner.PlanRoute(grid, map, Vec3D(NAN, 0, 10), Vec3D(20, 0, 20), route));
    EXPECT_FALSE(planner.PlanRoute(grid, map, Vec3D(10, 0, 10), Vec3D(20, 0, INFINITY), route));
    ASSERT_EQ(route.size(), 1u);
    EXPECT_EQ(route[0].X, 1.0) << "a refused request leaves the route alone";

    // Same cell: straight to the goal, at the terrain height whatever Y was asked for.
    ASSERT_TRUE(planner.PlanRoute(grid, map, Vec3D(10, 0, 10), Vec3D(12, 999, 13), route));
    ASSERT_EQ(route.size(), 1u);
    EXPECT_EQ(std::tuple(route[0].X, route[0].Y, route[0].Z), std::tuple(12.0, 0.0, 13.0));

    // Open ground: one straight leg even across many cells, found by searching little more than
    // the 36 cells along it (ties between equal totals go to the cell nearer the goal).
    const std::size_t cells =
        PlanCountingCells(planner, grid, map, Vec3D(10, 0, 10), Vec3D(300, 0, 170), route);
    ASSERT_EQ(route.size(), 1u);
    EXPECT_EQ(route[0].X, 300.0);
    EXPECT_GE(cells, 36u);
    EXPECT_LE(cells, 72u);

    ASSERT_TRUE(planner.BeginRoute(grid, Vec3D(10, 0, 10), Vec3D(300, 0, 170)));
    planner.CancelRoute();
    EXPECT_FALSE(planner.IsPlanning());
}

TEST(RoutePlanner, UnreachableGoalEndsAtTheNearestReachableCell)
{
    // A walled square basin: flat inside, but its rim is steep all round.
    SpringMapRenderer map;
    const int n = RidgeCells + 1;
    std::vector<float> heights(static_cast<std::size_t>(n) * n, 0.0f);
    for (int i = 20; i <= 40; ++i)
    {
        heights[20 * n + i] = heights[40 * n + i] = RidgeHeight;
        heights[i * n + 20] = heights[i * n + 40] = RidgeHeight;
    }
    map.LoadHeightGrid(n, n, SquareSize, std::move(heights));
    DriveabilityGrid grid;
    grid.SyncWith(map);
    RoutePlanner planner;
    // clang-format off
    const struct { Vec3D From, To; std::size_t MaxCells; } cases[] = {
        {{40, 0, 40}, {300, 0, 300}, 3400}, // into the basin: stops short of all 3,612 outer cells
        {{40, 0, 40}, {172, 0, 172}, 1500}, // to its corner nearest the first steep cell
        {{172, 0, 172}, {8, 0, 8}, 324},    // out of it from the inner corner nearest the goal
    };
    // clang-format on
    for (const auto& c : cases)
    {
        ASSERT_TRUE(grid.IsDriveable(c.To.X, c.To.Z));
        std::vector<Vec3D> route;
        const std::size_t cells = PlanCountingCells(planner, grid, map, c.From, c.To, route);
        ASSERT_FALSE(route.empty());
        ExpectLegsDriveable(grid, c.From.X, c.From.Z, route, "unreachable goal");
        EXPECT_LE(cells, c.MaxCells) << c.From.X;

        int fromX = 0, fromZ = 0, toX = 0, toZ = 0, endX = 0, endZ = 0;
        grid.FindCell(c.From.X, c.From.Z, fromX, fromZ);
        grid.FindCell(c.To.X, c.To.Z, toX, toZ);
        const std::vector<double> reach = ReferenceCosts(grid, fromX, fromZ);
        ASSERT_TRUE(grid.FindCell(route.back().X, route.back().Z, endX, endZ));
        EXPECT_TRUE(std::isfinite(reach[endZ * grid.GetWidth() + endX])) << "the end is reachable";
        // No reachable cell is nearer to the goal, counting in cells along the octile metric.
        const auto octile = [&](int cx, int cz)
        {
            const int dx = std::abs(cx - toX), dz = std::abs(cz - toZ);
            return std::max(dx, dz) + (std::sqrt(2.0) - 1.0) * std::min(dx, dz);
        };
        double nearest = INFINITY;
        for (int cz = 0; cz < grid.GetHeight(); ++cz)
            for (int cx = 0; cx < grid.GetWidth(); ++cx)
                if (std::isfinite(reach[cz * grid.GetWidth() + cx]))
                    nearest = std::min(nearest, octile(cx, cz));
        EXPECT_NEAR(octile(endX, endZ), nearest, 1e-6) << c.From.X;
    }
}

// A line is clear exactly when fine samples along it all lie on drivable cells, on random grids.
// Lines passing within 0.1 units of a cell corner are left out: there a sample walk may step over
// the corner's cells, which the clear-line test must both check.
TEST(RoutePlanner, ClearLineMatchesFineSamplingOnRandomGrids)
{
    const unsigned seed = 5150u;
    std::printf("clear line seed %u\n", seed);
    std::mt19937 rng(seed);
    int clear = 0, blocked = 0;
    for (int mapIndex = 0; mapIndex < 4; ++mapIndex)
    {
        SpringMapRenderer map;
        DriveabilityGrid grid;
        LoadScatteredBlocks(map, grid, 33, 0.03 + 0.02 * mapIndex, rng);
        std::uniform_real_distribution<double> coord(0.0, 32.0 * SquareSize);
        for (int line = 0; line < 300; ++line)
        {
            const double fromX = coord(rng), fromZ = coord(rng);
            // Short, axis-aligned and long lines alike.
            double toX = coord(rng), toZ = coord(rng);
            if (line % 5 == 1)
                toZ = fromZ;
            else if (line % 5 == 2)
                toX = fromX;
            else if (line % 5 == 3)
                toX = std::clamp(fromX + (toX - fromX) * 0.1, 0.0, 255.9),
                toZ = std::clamp(fromZ + (toZ - fromZ) * 0.1, 0.0, 255.9);
            const int samples = static_cast<int>(std::hypot(toX - fromX, toZ - fromZ) / 0.02) + 1;
            bool bAllDriveable = true, bNearCorner = false;
            for (int k = 0; k <= samples; ++k)
            {
                const double x = fromX + (toX - fromX) * k / samples, z = fromZ + (toZ - fromZ) * k / samples;
                bAllDriveable = bAllDriveable && grid.IsDriveable(x, z);
                const double cornerX = std::round(x / SquareSize) * SquareSize;
                const double cornerZ = std::round(z / SquareSize) * SquareSize;
                bNearCorner = bNearCorner || std::hypot(x - cornerX, z - cornerZ) < 0.1;
            }
            if (bNearCorner)
                continue;
            (bAllDriveable ? clear : blocked) += 1;
            EXPECT_EQ(RoutePlanner::HasClearLine(grid, fromX, fromZ, toX, toZ), bAllDriveable)
                << "seed " << seed << " map " << mapIndex << " line " << line << " (" << fromX << ", "
                << fromZ << ") to (" << toX << ", " << toZ << ")";
        }
    }
    EXPECT_GT(clear, 100);
    EXPECT_GT(blocked, 100);

    // Exactly through a cell corner, in each diagonal direction: both cells beside the corner must
    // be drivable. Corner (4, 2) raised: squares (3..4, 1..2) are steep, their neighbours flat.
    SpringMapRenderer map;
    std::vector<float> heights(81, 0.0f);
    heights[2 * 9 + 4] = 40.0f;
    map.LoadHeightGrid(9, 9, SquareSize, std::move(heights));
    DriveabilityGrid grid;
    grid.SyncWith(map);
    // clang-format off
    const struct { double FromX, FromZ, ToX, ToZ; bool bClear; } corners[] = {
        {20, 20, 28, 28, false}, {28, 28, 20, 20, false},  // beside (3, 2)
        {44, 20, 36, 28, false}, {36, 28, 44, 20, false},  // beside (4, 2)
        {44, 44, 52, 52, true},  {52, 36, 44, 44, true},   // open ground
        {44, 44, 80, 44, false}};                          // off the map
    // clang-format on
    for (const auto& c : corners)
        EXPECT_EQ(RoutePlanner::HasClearLine(grid, c.FromX, c.FromZ, c.ToX, c.ToZ), c.bClear)
            << "(" << c.FromX << ", " << c.FromZ << ") to (" << c.ToX << ", " << c.ToZ << ")";
}

TEST(RoutePlanner, RandomMapsAgreeWithReferenceDijkstra)
{
    const unsigned seed = 77031u;
    std::printf("seed %u\n", seed);
    std::mt19937 rng(seed);
    for (int mapIndex = 0; mapIndex < 6; ++mapIndex)
    {
        // 48x48 squares with random steep blocks (single raised corners) of varying density.
        SpringMapRenderer map;
        DriveabilityGrid grid;
        LoadScatteredBlocks(map, grid, 49, 0.05 + 0.05 * mapIndex, rng);
        RoutePlanner planner; // one planner for all pairs: reused buffers must not leak state
        std::uniform_real_distribution<double> coord(0.0, 48.0 * SquareSize);
        for (int pair = 0; pair < 25; ++pair)
        {
            Vec3D from(coord(rng), 0.0, coord(rng)), to(coord(rng), 0.0, coord(rng));
            if (!grid.IsDriveable(from.X, from.Z) || !grid.IsDriveable(to.X, to.Z))
                continue;
            std::vector<Vec3D> route;
            ASSERT_TRUE(planner.PlanRoute(grid, map, from, to, route))
                << "map " << mapIndex << " pair " << pair;
            ASSERT_FALSE(route.empty());
            ExpectLegsDriveable(grid, from.X, from.Z, route, "random route");
            const double reference = ReferenceCost(grid, from, to);
            const bool bReached = route.back().X == to.X && route.back().Z == to.Z;
            EXPECT_EQ(bReached, std::isfinite(reference)) << "map " << mapIndex << " pair " << pair;
            if (bReached)
            {
                EXPECT_LE(RouteLength(from.X, from.Z, route),
                          reference + 2.0 * std::sqrt(2.0) * SquareSize + 1e-9)
                    << "map " << mapIndex << " pair " << pair;
            }
        }
    }
}
TEST(GoalDistanceField, MatchesReferenceDijkstraWithWholeNumberCosts)
{
    RidgeWorld world;
    const DriveabilityGrid& grid = world.Grid;
    const int source = 50 * grid.GetWidth() + 10; // south of the crest, west of the gap
    GoalDistanceField field;
    field.BeginBuild(grid, source);
    for (std::size_t oneCell = 1; !field.ContinueBuild(grid, oneCell); oneCell = 1)
    {
    }
    EXPECT_EQ(field.GetSourceCell(), source);
    EXPECT_EQ(field.GetGridRevision(), grid.GetRevision());
    // Reference in plain units: straight 1, diagonal 1.4, scaled by 5 to the field's units.
    const std::vector<double> reference = ReferenceCosts(grid, 10, 50, 1.4);
    for (int cell = 0; cell < grid.GetWidth() * grid.GetHeight(); ++cell)
    {
        if (!std::isfinite(reference[cell]))
        {
            EXPECT_EQ(field.GetCost(cell), RouteStepCost::Unreached) << "cell " << cell;
            continue;
        }
        EXPECT_EQ(field.GetCost(cell), static_cast<std::uint32_t>(std::lround(reference[cell] * 5.0)))
            << "cell " << cell;
    }
}

TEST(RoutePlanner, GroupOrderAcrossTheRidgeSharesOneFieldAndStaysDrivable)
{
    // Twenty vehicles south-west of the crest ordered to a disc north of it: each route is valid,
    // ends at its own goal and is at most a few cells longer than the shortest cell path, and only
    // the first builds a goal field: the others follow it at a quarter of its cost at most.
    RidgeWorld world;
    const SpringMapRenderer& map = world.Map;
    const DriveabilityGrid& grid = world.Grid;
    RoutePlanner planner;
    std::size_t firstCells = 0;
    for (int i = 0; i < 20; ++i)
    {
        const Vec3D from(40.0 + (i % 5) * 12.0, 0.0, 60.0 + (i / 5) * 12.0);
        const Vec3D to(130.0 + std::sqrt(i) * 14.4 * std::cos(i * 2.4), 0.0,
                       420.0 + std::sqrt(i) * 14.4 * std::sin(i * 2.4));
        std::vector<Vec3D> route;
        const std::size_t cells = PlanCountingCells(planner, grid, map, from, to, route);
        if (i == 0)
            firstCells = cells;
        else
            EXPECT_LT(cells * 4, firstCells) << "vehicle " << i;
        ASSERT_FALSE(route.empty());
        EXPECT_EQ(route.back().X, to.X) << "vehicle " << i;
        EXPECT_EQ(route.back().Z, to.Z) << "vehicle " << i;
        for (const Vec3D& point : route)
            EXPECT_EQ(point.Y, map.GetTerrainHeight(point.X, point.Z)) << "vehicle " << i;
        ExpectLegsDriveable(grid, from.X, from.Z, route, "group route");
        EXPECT_LE(RouteLength(from.X, from.Z, route), ReferenceCost(grid, from, to) + 4.0 * SquareSize)
            << "vehicle " << i;
    }
}
void ExpectSameRoute(const std::vector<Vec3D>& route, const std::vector<Vec3D>& expected, int which)
{
    ASSERT_EQ(route.size(), expected.size()) << "route " << which;
    for (std::size_t k = 0; k < route.size(); ++k)
        EXPECT_TRUE(route[k].X == expected[k].X && route[k].Y == expected[k].Y && route[k].Z == expected[k].Z)
            << "route " << which << " point " << k;
}

TEST(RoutePlanner, SlicedRoutesEqualWholeRoutes)
{
    // Two planners take the same requests in the same order, one whole and one a few cells at a
    // time: unreachable goals, steep starts and goal fields included, the routes match exactly.
    const unsigned seed = 52127u;
    std::printf("seed %u\n", seed);
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> coord(0.0, 64.0 * SquareSize);
    std::uniform_int_distribution<std::size_t> sliceCells(1, 40);
    for (const double chance : {0.04, 0.1, 0.16})
    {
        SpringMapRenderer map;
        DriveabilityGrid grid;
        LoadScatteredBlocks(map, grid, 65, chance, rng);
        RoutePlanner whole, sliced;
        for (int pair = 0; pair < 40; ++pair)
        {
            const Vec3D from(coord(rng), 0.0, coord(rng)), to(coord(rng), 0.0, coord(rng));
            std::vector<Vec3D> expected, route;
            ASSERT_TRUE(whole.PlanRoute(grid, map, from, to, expected));
            ASSERT_TRUE(sliced.BeginRoute(grid, from, to));
            for (std::size_t cells = sliceCells(rng); !sliced.ContinueRoute(grid, map, cells, route);)
                cells = sliceCells(rng);
            ExpectSameRoute(route, expected, pair);
        }
    }
}

TEST(UnitSimulation, BudgetedPlanningGivesTheDirectPlannersRoutesAsTheyArrive)
{
    // With no time to spare each step searches only its guaranteed cells: the order arrives over
    // many steps in list order, a long route spans several, vehicles stand still until theirs
    // arrives, and every route equals what one planner gives for the same requests in the same order.
    const unsigned seed = 40417u;
    std::printf("seed %u\n", seed);
    std::mt19937 rng(seed);
    SpringMapRenderer map;
    DriveabilityGrid grid;
    LoadScatteredBlocks(map, grid, 129, 0.1, rng);
    std::vector<std::unique_ptr<VehicleUnit>> vehicles;
    std::vector<std::unique_ptr<AirUnit>> airUnits;
    std::vector<Vec3D> starts, goals;
    std::uniform_real_distribution<double> coord(0.0, 128.0 * SquareSize);
    while (vehicles.size() < 60)
    {
        const Vec3D from(coord(rng), 0.0, coord(rng)), to(coord(rng), 0.0, coord(rng));
        if (!grid.IsDriveable(from.X, from.Z))
            continue;
        vehicles.push_back(std::make_unique<VehicleUnit>());
        vehicles.back()->Position = Vec3D(from.X, map.GetTerrainHeight(from.X, from.Z), from.Z);
        vehicles.back()->SetWaypoint(to);
        starts.push_back(vehicles.back()->Position);
        goals.push_back(to);
    }
    UnitSimulation simulation(map, vehicles, airUnits);
    simulation.RoutePlanBudgetMs = 0.0;
    std::vector<std::vector<Vec3D>> arrived(vehicles.size());
    std::vector<int> arrivalStep(vehicles.size(), -1);
    for (int step = 0; step < 1000 && arrivalStep.back() < 0; ++step)
    {
        simulation.Step(1.0 / 60.0);
        for (std::size_t i = 0; i < vehicles.size(); ++i)
        {
            if (arrivalStep[i] < 0 && !vehicles[i]->bNeedsRouteRefresh)
            {
                arrivalStep[i] = step;
                arrived[i] = vehicles[i]->Route;
            }
            if (arrivalStep[i] < 0)
            {
                EXPECT_EQ(vehicles[i]->Position.X, starts[i].X) << "waiting vehicle " << i << " moved";
            }
        }
    }
    RoutePlanner direct;
    int longestGap = 0;
    for (std::size_t i = 0; i < vehicles.size(); ++i)
    {
        if (i > 0)
        {
            EXPECT_GE(arrivalStep[i], arrivalStep[i - 1]) << "vehicle " << i;
            longestGap = std::max(longestGap, arrivalStep[i] - arrivalStep[i - 1]);
        }
        std::vector<Vec3D> route;
        ASSERT_TRUE(direct.PlanRoute(grid, map, starts[i], goals[i], route)) << "vehicle " << i;
        ExpectSameRoute(arrived[i], route, static_cast<int>(i));
    }
    EXPECT_GE(longestGap, 3) << "no route was spread over steps";
}
} // namespace
