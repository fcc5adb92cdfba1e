// Per-frame input costs: an idle MouseProcessing frame, an orbit-drag frame and one terrain pick.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench_app.h"
#include "core.h"
#include "glviewport.h"
#include "glwindow.h"
#include "mouse.h"
#include "rend.h"

namespace
{
struct BenchApp : BenchServices<>
{
    GLWindow Window;

    BenchApp()
    {
        View.pParentWindow = &Window;
        std::vector<float> heights(257 * 257);
        for (int z = 0; z < 257; ++z)
            for (int x = 0; x < 257; ++x)
                heights[z * 257 + x] = static_cast<float>((x * 7 + z * 3) % 50);
        View.SpringMap.LoadHeightGrid(257, 257, 8.0f, std::move(heights));
        View.ResetSpringMapCamera();
        MouseState.X3D = 0.1;
        MouseState.Y3D = -0.2;
    }
};

void BM_IdleFrame(benchmark::State& state)
{
    BenchApp app;
    for (auto _ : state)
    {
        app.View.MouseProcessing();
        benchmark::DoNotOptimize(app.View.MouseLocalX);
    }
}
BENCHMARK(BM_IdleFrame);

void BM_OrbitDragFrame(benchmark::State& state)
{
    BenchApp app;
    app.MouseState.pButton[Mouse::Left] = true;
    app.View.MouseProcessing(); // the press starts the orbit
    app.MouseState.pPrevButton[Mouse::Left] = true;
    double dx = 0.001;
    for (auto _ : state)
    {
        app.MouseState.X3D += dx;
        dx = -dx;
        app.View.MouseProcessing();
        benchmark::DoNotOptimize(app.View.CameraYawDeg);
    }
}
BENCHMARK(BM_OrbitDragFrame);

void BM_TerrainPick(benchmark::State& state)
{
    BenchApp app;
    Vec3D world;
    double x = 0.3;
    for (auto _ : state)
    {
        x = x > 0.7 ? 0.3 : x + 0.001;
        benchmark::DoNotOptimize(app.View.ScreenToSpringMapWorld(x, 0.6, world));
    }
}
BENCHMARK(BM_TerrainPick);
} // namespace
