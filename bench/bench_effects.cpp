// Cost of drawing the effects panel into the recording renderer: ten shapes and seven text rows,
// composed from the figures every frame. The record is cleared each iteration (keeping its
// capacity), as the GL backend does once per frame.
#include <benchmark/benchmark.h>

#include "core.h"
#include "glviewport.h"
#include "rend.h"
#include "ttf.h"

namespace
{
struct EffectsBenchApp
{
    Rend Renderer;
    TTF Font;
    Core CoreServices{nullptr, &Renderer, nullptr, nullptr};
    GLViewport View;

    EffectsBenchApp()
    {
        p = &CoreServices;
        Renderer.pTTF = &Font;
        View.JetEffectsTargetWidth = 960;
        View.JetEffectsTargetHeight = 540;
        const double cpuMs[5] = {0.8, 0.3, 0.1, 0.6, 0.2};
        const double gpuMs[5] = {2.1, 0.4, 0.9, 1.2, 0.3};
        for (int i = 0; i < 5; ++i)
        {
            View.JetEffectsCpuMs[i] = cpuMs[i];
            View.JetEffectsGpuMs[i] = gpuMs[i];
        }
        View.JetEffectsMemoryMiB = 48.0;
        View.JetEffectsStatusText = "Composite link failed: fragment shader output 'bloom' is not declared";
    }
    ~EffectsBenchApp() { p = nullptr; }
};

void BM_RenderEffectsPanel(benchmark::State& state)
{
    EffectsBenchApp app;
    for (auto _ : state)
    {
        app.Renderer.ClearRecord();
        app.Font.ClearRecord();
        app.View.RenderJetEffectsOverlay();
        benchmark::DoNotOptimize(app.Font.GetTextCalls().data());
    }
    state.counters["texts"] = static_cast<double>(app.Font.GetTextCalls().size());
    state.counters["shapes"] = static_cast<double>(app.Renderer.GetPrimitives().size());
}
BENCHMARK(BM_RenderEffectsPanel);

// The hidden panel: the price every frame pays while it is switched off.
void BM_RenderEffectsPanelHidden(benchmark::State& state)
{
    EffectsBenchApp app;
    app.View.bJetEffectsPanelVisible = false;
    for (auto _ : state)
    {
        app.View.RenderJetEffectsOverlay();
        benchmark::DoNotOptimize(app.Renderer.GetBeginFrameCount());
    }
}
BENCHMARK(BM_RenderEffectsPanelHidden);
} // namespace
