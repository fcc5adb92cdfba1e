// Selection and order costs on the frame loop's thread: band and click selection over 100,000
// vehicles (and the band's floor), a move order and a formation order for 10,000 vehicles, and the formation
// preview. Snapping and route planning are trivial here, so the figures are the layer's own.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "bench_app.h"
#include "core.h"
#include "glviewport.h"
#include "heaptuning.h"
#include "mouse.h"
#include "rend.h"
#include "vehicleunit.h"

namespace
{
class BenchViewport : public GLViewport
{
  public:
    std::size_t PlannedGoals = 0;

    Vec3D FindDriveableVehicleWaypoint(const Vec3D& Point) const override { return Point; }
    void SubmitVehicleRoutePlan(const std::vector<Vec3D>& goals, const std::vector<bool>&, bool) override
    {
        PlannedGoals = goals.size();
    }
};

struct BenchApp : BenchServices<BenchViewport>
{
    // Vehicles spread over the 1024 x 1024 map, seen whole by the reset camera. No status window:
    // its message history would grow with every iteration.
    explicit BenchApp(int vehicleCount)
    {
        // The heap as the application sets it up: the vehicle list a selection asks for is reused,
        // not mapped afresh and faulted in page by page.
        static const bool bHeapTuned = (TuneHeapForMapLoading(), true);
        (void)bHeapTuned;
        View.SpringMap.LoadHeightGrid(129, 129, 8.0f, std::vector<float>(129 * 129, 0.0f));
        View.ResetSpringMapCamera();
        std::mt19937 rng(12345u);
        std::uniform_real_distribution<double> coordinate(0.0, 1024.0);
        View.Vehicles.reserve(static_cast<std::size_t>(vehicleCount));
        for (int i = 0; i < vehicleCount; ++i)
        {
            View.Vehicles.push_back(std::make_unique<VehicleUnit>());
            View.Vehicles.back()->Position = Vec3D(coordinate(rng), 0.0, coordinate(rng));
        }
    }
    void SelectAll() { View.VehicleSelectionMask.assign(View.Vehicles.size(), true); }
};

// A winding path of `points` map points, about 1,500 units long.
std::vector<Vec3D> MakeWindingPath(int points)
{
    std::vector<Vec3D> path;
    path.reserve(static_cast<std::size_t>(points));
    for (int i = 0; i < points; ++i)
    {
        const double s = static_cast<double>(i) / (points - 1);
        path.emplace_back(100.0 + 800.0 * s, 0.0, 500.0 + 300.0 * std::sin(s * 12.0));
    }
    return path;
}

void BM_SelectBand100k(benchmark::State& state)
{
    BenchApp app(100000);
    for (auto _ : state)
    {
        app.View.SelectVehiclesInScreenRect(0.2, 0.25, 0.8, 0.75, false);
        benchmark::DoNotOptimize(app.View.LastSelectedVehicleIndex);
    }
}
BENCHMARK(BM_SelectBand100k)->Unit(benchmark::kMillisecond);

// What band selection cannot beat: the same four-edge test over the same positions laid out one
// after another, each verdict stored without a branch. Its ratio to BM_SelectBand100k is what the
// vehicles' layout and the selection's bookkeeping cost.
void BM_SelectBandFloor100k(benchmark::State& state)
{
    BenchApp app(100000);
    std::vector<double> xz;
    for (const auto& vehicle : app.View.Vehicles)
        xz.insert(xz.end(), {vehicle->Position.X, vehicle->Position.Z});
    // The band's corners and edges on the map, as the layer finds them for this band.
    const double originX[4] = {200.0, 800.0, 800.0, 200.0}, originZ[4] = {250.0, 250.0, 750.0, 750.0};
    const double dirX[4] = {600.0, 0.0, -600.0, 0.0}, dirZ[4] = {0.0, 500.0, 0.0, -500.0};
    std::vector<std::uint8_t> inside(xz.size() / 2);
    for (auto _ : state)
    {
        for (std::size_t i = 0; i < inside.size(); ++i)
        {
            bool bPositive = false, bNegative = false;
            for (int e = 0; e < 4; ++e)
            {
                const double cross =
                    dirX[e] * (xz[2 * i + 1] - originZ[e]) - dirZ[e] * (xz[2 * i] - originX[e]);
                bPositive |= cross > 1e-5;
                bNegative |= cross < -1e-5;
            }
            inside[i] = !(bPositive && bNegative);
        }
        benchmark::DoNotOptimize(inside.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_SelectBandFloor100k)->Unit(benchmark::kMillisecond);

void BM_SelectClick100k(benchmark::State& state)
{
    BenchApp app(100000);
    for (auto _ : state)
    {
        app.View.SelectVehiclesInScreenRect(0.5, 0.5, 0.5, 0.5, false);
        benchmark::DoNotOptimize(app.View.LastSelectedVehicleIndex);
    }
}
BENCHMARK(BM_SelectClick100k)->Unit(benchmark::kMillisecond);

void BM_MoveOrder10k(benchmark::State& state)
{
    BenchApp app(10000);
    app.SelectAll();
    for (auto _ : state)
    {
        app.View.SubmitSelectedVehicleRoute(Vec3D(700.0, 0.0, 300.0), false);
        benchmark::DoNotOptimize(app.View.PlannedGoals);
    }
}
BENCHMARK(BM_MoveOrder10k)->Unit(benchmark::kMillisecond);

void BM_FormationOrder10kOn1000Points(benchmark::State& state)
{
    BenchApp app(10000);
    app.SelectAll();
    const std::vector<Vec3D> path = MakeWindingPath(1000);
    for (auto _ : state)
    {
        app.View.SubmitSelectedVehicleFormationRoute(path, false);
        benchmark::DoNotOptimize(app.View.PlannedGoals);
    }
}
BENCHMARK(BM_FormationOrder10kOn1000Points)->Unit(benchmark::kMillisecond);

void BM_FormationPreview10kOn1000Samples(benchmark::State& state)
{
    BenchApp app(10000);
    app.SelectAll();
    app.View.bOrderDrag = true;
    for (const Vec3D& point : MakeWindingPath(1000))
    {
        app.View.FormationScreenX.push_back(point.X / 1024.0);
        app.View.FormationScreenY.push_back(point.Z / 1024.0);
    }
    for (auto _ : state)
    {
        app.Renderer.ClearRecord(); // keeps its capacity: the record does not grow across iterations
        app.View.RenderFormationOrderOverlay();
        benchmark::DoNotOptimize(app.Renderer.GetPrimitives().data());
    }
    state.counters["primitives"] = static_cast<double>(app.Renderer.GetPrimitives().size());
}
BENCHMARK(BM_FormationPreview10kOn1000Samples)->Unit(benchmark::kMillisecond);
} // namespace
