// Cost of the jet-exhaust effect with 100 aircraft (two nozzles each) per quality preset: building
// the billboards on the CPU alone, and one whole effect frame at 1280x720 in SDL's offscreen GL
// context, waited for with glFinish so the time includes the rasteriser's work.
#include <string>
#include <vector>

#include <SDL3/SDL.h>
#include <benchmark/benchmark.h>
#include <epoxy/gl.h>

#include "core.h"
#include "jetexhaust.h"
#include "jetexhaust_particles.h"
#include "viewcamera.h"

namespace
{
constexpr int FrameWidthPx = 1280;
constexpr int FrameHeightPx = 720;
constexpr int AircraftCount = 100;

// A 10 x 10 formation flying +X, nozzles 6 units apart, spread over the middle of the picture.
std::vector<JetExhaustEmitter> MakeEmitters()
{
    std::vector<JetExhaustEmitter> emitters;
    for (int i = 0; i < AircraftCount; ++i)
        for (float side : {-3.0f, 3.0f})
        {
            JetExhaustEmitter emitter;
            emitter.Position[0] = static_cast<float>(i % 10) * 90.0f - 400.0f;
            emitter.Position[1] = 300.0f;
            emitter.Position[2] = static_cast<float>(i / 10) * 70.0f - 320.0f + side;
            emitter.Direction[0] = 1.0f;
            emitter.Direction[2] = 0.0f;
            emitters.push_back(emitter);
        }
    return emitters;
}

JetExhaustDebugSettings MakeSettings(benchmark::State& state)
{
    JetExhaustDebugSettings settings;
    settings.Quality = static_cast<JetExhaustQuality>(state.range(0));
    return settings;
}

const char* QualityLabel(int quality)
{
    return quality == 0 ? "Low" : quality == 1 ? "Medium" : "High";
}

void BM_BuildJetExhaustParticles(benchmark::State& state)
{
    const JetExhaustWork work = GetJetExhaustWork(MakeSettings(state));
    const std::vector<JetExhaustEmitter> emitters = MakeEmitters();
    std::vector<JetExhaustParticle> particles;
    double timeSec = 0.0;
    for (auto _ : state)
    {
        BuildJetExhaustParticles(emitters, work, 60.0f, timeSec, particles);
        benchmark::DoNotOptimize(particles.data());
        timeSec += 1.0 / 60.0;
    }
    state.counters["particles"] = static_cast<double>(particles.size());
    state.SetLabel(QualityLabel(static_cast<int>(state.range(0))));
}
BENCHMARK(BM_BuildJetExhaustParticles)->DenseRange(0, 2);

void BM_JetExhaustFrame(benchmark::State& state)
{
    SDL_SetHint(SDL_HINT_VIDEO_DRIVER, "offscreen");
    CoreSDL window;
    std::string error;
    if (!window.Open("bench", FrameWidthPx, FrameHeightPx, false, error))
    {
        state.SkipWithError(error.c_str());
        return;
    }
    JetExhaustSystem jet;
    jet.Debug() = MakeSettings(state);
    JetExhaustFrameInput input;
    input.Emitters = MakeEmitters();
    OrbitCamera camera;
    camera.PitchDeg = 45.0;
    camera.Distance = 1400.0;
    camera.Aspect = double(FrameWidthPx) / FrameHeightPx;
    input.ViewProjection =
        (BuildPerspectiveMatrix(camera.FovDeg, camera.Aspect, 1.0, 10000.0) * BuildOrbitViewMatrix(camera))
            .ToFloat();
    input.ViewportWidthPx = FrameWidthPx;
    input.ViewportHeightPx = FrameHeightPx;
    // The presets' scales, as the effects panel applies them.
    const float scales[3] = {0.5f, 0.75f, 1.0f};
    input.Scale = scales[state.range(0)];
    JetExhaustFigures figures;
    jet.Render(input, figures); // compiles the shaders and allocates the targets outside the timing
    glFinish();
    for (auto _ : state)
    {
        glClear(GL_COLOR_BUFFER_BIT);
        jet.Render(input, figures);
        glFinish();
        input.TimeSec += 1.0 / 60.0;
    }
    const char* const passNames[JetExhaustPassCount] = {"scene", "mask", "shimmer", "bloom", "comp"};
    for (int i = 0; i < JetExhaustPassCount; ++i)
        state.counters[std::string("gpu_ms_") + passNames[i]] = figures.GpuMs[i];
    state.counters["cpu_ms_scene"] = figures.CpuMs[0];
    state.counters["MiB"] = figures.MemoryMiB;
    state.SetLabel(std::string(QualityLabel(static_cast<int>(state.range(0)))) + " " +
                   std::to_string(figures.TargetWidth) + "x" + std::to_string(figures.TargetHeight));
    jet.ReleaseGL();
}
BENCHMARK(BM_JetExhaustFrame)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
} // namespace
