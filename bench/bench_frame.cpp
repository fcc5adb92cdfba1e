// Frame cost of the application at 1280x720 on the default map, headless (SDL's offscreen driver;
// on a machine without a GPU that is Mesa's llvmpipe). The whole frame waits for the GPU with
// glFinish; the overlay benchmarks measure the CPU side: recording plus building and submitting
// the batched vertices, with the GPU's catching up kept out of the timing.
#include <cstdio>
#include <memory>
#include <string>

#include <SDL3/SDL.h>
#include <benchmark/benchmark.h>

#include "application.h"

namespace
{
// One application for every benchmark: opening a window and a context per benchmark would
// measure the driver's start-up, not a frame.
Application* SharedApp()
{
    static std::unique_ptr<Application> app = []
    {
        SDL_SetHint(SDL_HINT_VIDEO_DRIVER, "offscreen");
        auto created = std::make_unique<Application>();
        AppOptions options;
        options.FrameCount = 1; // no vsync
        std::string error;
        if (!created->Start(options, error))
        {
            std::fprintf(stderr, "bench_frame: %s\n", error.c_str());
            return std::unique_ptr<Application>();
        }
        // Every overlay visible: a selection band and a formation path in progress.
        GLViewport& view = created->GetViewport();
        view.VehicleSelectionMask.assign(view.Vehicles.size(), true);
        view.bSelectionDragActive = true;
        view.SelectionStartX = 0.2, view.SelectionStartY = 0.3;
        view.SelectionEndX = 0.45, view.SelectionEndY = 0.6;
        view.bOrderDrag = view.bOrderDragMoved = true;
        view.OrderPressX = 0.3, view.OrderPressY = 0.7;
        view.OrderCurrentX = 0.6, view.OrderCurrentY = 0.55;
        for (int i = 0; i <= 40; ++i)
        {
            view.FormationScreenX.push_back(0.3 + 0.3 * i / 40.0);
            view.FormationScreenY.push_back(0.7 - 0.15 * i / 40.0 + 0.03 * ((i % 5) - 2) / 2.0);
        }
        created->ProcessInput();
        return created;
    }();
    return app.get();
}

void BM_FrameWithOverlays(benchmark::State& state)
{
    Application* app = SharedApp();
    if (!app)
        return state.SkipWithError("no GL context");
    for (auto _ : state)
    {
        app->DrawFrame(true);
        glFinish();
    }
}
BENCHMARK(BM_FrameWithOverlays)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_FrameWithoutOverlays(benchmark::State& state)
{
    Application* app = SharedApp();
    if (!app)
        return state.SkipWithError("no GL context");
    for (auto _ : state)
    {
        app->DrawFrame(false);
        glFinish();
    }
}
BENCHMARK(BM_FrameWithoutOverlays)->Unit(benchmark::kMillisecond)->UseRealTime();

// All five overlays: recording, vertex building and submission.
void BM_OverlaysCpu(benchmark::State& state)
{
    Application* app = SharedApp();
    if (!app)
        return state.SkipWithError("no GL context");
    for (auto _ : state)
    {
        app->DrawOverlays();
        state.PauseTiming();
        glFinish();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_OverlaysCpu)->Unit(benchmark::kMicrosecond);

// Recording alone: what the overlays cost before any GL call.
void BM_OverlaysRecordOnly(benchmark::State& state)
{
    Application* app = SharedApp();
    if (!app)
        return state.SkipWithError("no GL context");
    GLViewport& view = app->GetViewport();
    for (auto _ : state)
    {
        view.RenderNavWidgetOverlay();
        view.RenderAutoRotateToggleOverlay();
        view.RenderUnitSelectionOverlay();
        view.RenderFormationOrderOverlay();
        view.RenderJetEffectsOverlay();
        benchmark::DoNotOptimize(p->pRend->GetPrimitives().data());
        p->pRend->ClearRecord();
        p->pRend->pTTF->ClearRecord();
    }
}
BENCHMARK(BM_OverlaysRecordOnly)->Unit(benchmark::kMicrosecond);
} // namespace
