// Frame cost of the application at 1280x720, headless (SDL's offscreen driver; on a machine
// without a GPU that is Mesa's llvmpipe), in six scenes: the default map, Blank16 (1024x1024
// squares), the default map with 2,000 vehicles and 100 aircraft, a generated map like the
// default one with 4,000 features of every kind, the default map at 1920x1080, and the default map
// with 2,000 vehicles and 4 aircraft. Each scene reports the
// whole frame (waited for with glFinish, swap and readback excluded), its parts (terrain, water, features,
// units, jet effect, overlays), the effect's five pass figures as its panel shows them, and the whole frame
// over the terrain-only frame. Each author view's frame is timed against the normal frame. A last
// benchmark times the frames while a 2,000-vehicle formation order is planned (with 100 or 4 aircraft), and
// the overlays' CPU side.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include <SDL3/SDL.h>
#include <benchmark/benchmark.h>
#include <unistd.h>

#include "application.h"
#include "framepartstimer.h"
#include "scene_gl.h"
#include "springmap_generator.h"
#include "vehicleunit.h"

namespace
{
enum class SceneMap
{
    Default,
    Blank16,
    WithFeatures,
};

struct SceneSetup
{
    SceneMap Map;
    int VehicleCount;
    int AircraftCount;
    int WidthPx = 1280, HeightPx = 720;
};

// clang-format off
const SceneSetup Scenes[] = {
    {SceneMap::Default, 12, 4},
    {SceneMap::Blank16, 12, 4},
    {SceneMap::Default, 2000, 100},
    {SceneMap::WithFeatures, 12, 4},
    {SceneMap::Default, 12, 4, 1920, 1080},
    {SceneMap::Default, 2000, 4},
};
// clang-format on

// The default map's terrain with 4,000 features, written to a temporary folder on first use and
// removed when the program ends.
class FeaturesMap
{
  public:
    FeaturesMap()
    {
        Dir = std::filesystem::temp_directory_path() / ("quindle-bench-" + std::to_string(getpid()));
        std::filesystem::create_directories(Dir);
        SpringMapGenerator::Options options;
        options.FeatureCount = 4000;
        std::string error;
        if (!SpringMapGenerator::WriteFiles(options, Dir.string(), "features", Path, error))
            std::fprintf(stderr, "bench_frame: %s\n", error.c_str());
    }
    ~FeaturesMap()
    {
        std::error_code ec;
        std::filesystem::remove_all(Dir, ec);
    }
    std::string Path; // empty when it could not be written
  private:
    std::filesystem::path Dir;
};

std::string GetMapPath(SceneMap Map)
{
    switch (Map)
    {
    case SceneMap::Blank16:
        return std::string(QUINDLE_MAPS_DIR) + "/Blank16.sdd";
    case SceneMap::WithFeatures:
    {
        static const FeaturesMap generated;
        return generated.Path;
    }
    default:
        return ""; // the built-in map
    }
}

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
        return created;
    }();
    return app.get();
}

// Every overlay visible: every unit selected, a selection band and a formation path in progress.
void ShowOverlays(GLViewport& view)
{
    view.VehicleSelectionMask.assign(view.Vehicles.size(), true);
    view.bAirUnitsSelected = true;
    view.bSelectionDragActive = true;
    view.SelectionStartX = 0.2, view.SelectionStartY = 0.3;
    view.SelectionEndX = 0.45, view.SelectionEndY = 0.6;
    view.bOrderDrag = view.bOrderDragMoved = true;
    view.OrderPressX = 0.3, view.OrderPressY = 0.7;
    view.OrderCurrentX = 0.6, view.OrderCurrentY = 0.55;
    view.FormationScreenX.clear();
    view.FormationScreenY.clear();
    for (int i = 0; i <= 40; ++i)
    {
        view.FormationScreenX.push_back(0.3 + 0.3 * i / 40.0);
        view.FormationScreenY.push_back(0.7 - 0.15 * i / 40.0 + 0.03 * ((i % 5) - 2) / 2.0);
    }
}

bool ShowScene(Application& app, const SceneSetup& scene)
{
    GLViewport& view = app.GetViewport();
    const std::string mapPath = GetMapPath(scene.Map);
    if (scene.Map == SceneMap::WithFeatures && mapPath.empty())
        return false;
    if (app.GetMapPath() != mapPath && !app.OpenMap(mapPath))
        return false;
    if (!view.PlaceUnitsOnMap(scene.VehicleCount, scene.AircraftCount))
        return false;
    // The window takes the scene's size; the application reads it from the resize event.
    SDL_Window* pWindow = SDL_GL_GetCurrentWindow();
    int widthPx = 0, heightPx = 0;
    if (SDL_GetWindowSizeInPixels(pWindow, &widthPx, &heightPx) &&
        (widthPx != scene.WidthPx || heightPx != scene.HeightPx))
    {
        SDL_SetWindowSize(pWindow, scene.WidthPx, scene.HeightPx);
        SDL_SyncWindow(pWindow);
    }
    ShowOverlays(view);
    app.ProcessInput();
    return true;
}

double MsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// Mean milliseconds of Frames whole frames, each waited for.
double MeasureFrameMs(Application& app, int frames)
{
    glFinish();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < frames; ++i)
    {
        app.DrawFrame(true);
        glFinish();
    }
    return MsSince(start) / frames;
}

// The sky and the terrain alone, as a frame with nothing else would draw them.
double MeasureTerrainOnlyMs(Application& app, int frames)
{
    GLViewport& view = app.GetViewport();
    const std::array<float, 16> viewProjection = view.GetSceneViewProjection().ToFloat();
    glFinish();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < frames; ++i)
    {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        view.pScene->DrawSky(view.CameraPitchDeg, view.CameraFovDeg, view.SpringMap.Shading.Look);
        view.SpringMap.Render(viewProjection.data());
        glFinish();
    }
    return MsSince(start) / frames;
}

void BM_Frame(benchmark::State& state)
{
    Application* app = SharedApp();
    if (!app || !ShowScene(*app, Scenes[state.range(0)]))
        return state.SkipWithError("no GL context or the scene did not load");
    GLViewport& view = app->GetViewport();
    app->DrawFrame(true); // first-use uploads stay out of the figures
    glFinish();
    double wholeMs = 0.0;
    for (auto _ : state)
        wholeMs += MeasureFrameMs(*app, 1);
    wholeMs /= static_cast<double>(std::max<benchmark::IterationCount>(state.iterations(), 1));
    constexpr int PartFrames = 5;
    FramePartsTimer timer;
    view.pPartsTimer = &timer;
    for (int i = 0; i < PartFrames; ++i)
        app->DrawFrame(true);
    view.pPartsTimer = nullptr;
    const auto part = [&](FramePartsTimer::Part which) { return timer.GetMeanMs(which); };
    state.counters["fps"] = 1000.0 / wholeMs;
    state.counters["terrain_ms"] = part(FramePartsTimer::Part::Terrain);
    state.counters["units_ms"] = part(FramePartsTimer::Part::Units);
    state.counters["jet_ms"] = part(FramePartsTimer::Part::JetEffect);
    state.counters["overlays_ms"] = part(FramePartsTimer::Part::Overlays);
    state.counters["water_ms"] = part(FramePartsTimer::Part::Water);
    state.counters["features_ms"] = part(FramePartsTimer::Part::Features);
    static const char* const PassNames[JetExhaustPassCount] = {"jet_scene", "jet_mask", "jet_shimmer",
                                                               "jet_bloom", "jet_composite"};
    for (int pass = 0; pass < JetExhaustPassCount; ++pass)
        state.counters[PassNames[pass]] = view.JetEffectsGpuMs[pass];
    const double terrainOnlyMs = MeasureTerrainOnlyMs(*app, PartFrames);
    state.counters["terrain_only_ms"] = terrainOnlyMs;
    state.counters["whole_over_terrain"] = wholeMs / terrainOnlyMs;
    state.counters["terrain_triangles"] = static_cast<double>(view.SpringMap.GetDrawnTriangles());
    state.counters["gpu_queries"] = timer.UsesGpuQueries() ? 1 : 0;
}
// 0: the default map, 1: Blank16, 2: the default map with 2,000 vehicles and 100 aircraft, 3: the
// default terrain with 4,000 features, 4: the default map at 1920x1080, 5: the default map with 2,000
// vehicles and its 4 aircraft.
BENCHMARK(BM_Frame)->ArgName("scene")->DenseRange(0, 5)->Unit(benchmark::kMillisecond)->UseRealTime();

// One author view on the default map (1 height ... 5 grass), its frame against the normal frame
// measured in the same run.
void BM_AuthorView(benchmark::State& state)
{
    Application* app = SharedApp();
    if (!app || !ShowScene(*app, Scenes[0]))
        return state.SkipWithError("no GL context or the scene did not load");
    MapLookOptions& display = app->GetViewport().MapDisplay;
    constexpr int NormalFrames = 5;
    display.View = AuthorView::Off;
    app->DrawFrame(true);
    const double normalMs = MeasureFrameMs(*app, NormalFrames);
    display.View = static_cast<AuthorView>(state.range(0));
    app->DrawFrame(true); // the view's grid uploads stay out of the figures
    double viewMs = 0.0;
    for (auto _ : state)
        viewMs += MeasureFrameMs(*app, 1);
    display.View = AuthorView::Off;
    viewMs /= static_cast<double>(std::max<benchmark::IterationCount>(state.iterations(), 1));
    state.SetLabel(GetAuthorViewName(static_cast<AuthorView>(state.range(0))));
    state.counters["view_ms"] = viewMs;
    state.counters["normal_ms"] = normalMs;
    state.counters["view_over_normal"] = viewMs / normalMs;
}
BENCHMARK(BM_AuthorView)->ArgName("view")->DenseRange(1, 5)->Unit(benchmark::kMillisecond)->UseRealTime();

// A formation order for 2,000 vehicles across the default map, with 100 aircraft (scene 2) or the
// usual 4 (scene 5), then frames as the application runs them (input, simulation step, drawing)
// until every route is planned: the longest frame is what a person sees stutter.
void BM_FormationOrder2000Frames(benchmark::State& state)
{
    Application* app = SharedApp();
    if (!app || !ShowScene(*app, Scenes[state.range(0)]))
        return state.SkipWithError("no GL context or the scene did not load");
    GLViewport& view = app->GetViewport();
    view.bOrderDrag = view.bOrderDragMoved = view.bSelectionDragActive = false;
    view.Units.RoutePlanBudgetMs = Application::InteractiveRoutePlanBudgetMs; // as a person's run plans
    const double sizeX = view.SpringMap.GetWorldWidth(), sizeZ = view.SpringMap.GetWorldDepth();
    std::vector<Vec3D> path;
    for (int i = 0; i <= 20; ++i)
        path.emplace_back(sizeX * (0.15 + 0.7 * i / 20.0), 0.0, sizeZ * (0.2 + 0.1 * (i % 2)));
    const auto anyWaiting = [&]
    {
        return std::any_of(view.Vehicles.begin(), view.Vehicles.end(),
                           [](const auto& v) { return v && v->bHasTarget && v->bNeedsRouteRefresh; });
    };
    app->DrawFrame(true); // first-use uploads stay out of the figures
    glFinish();
    double longestMs = 0.0, longestInputMs = 0.0, totalMs = 0.0;
    int frames = 0;
    for (auto _ : state)
    {
        auto start = std::chrono::steady_clock::now();
        view.SubmitSelectedVehicleFormationRoute(path, false);
        do
        {
            app->ProcessInput();
            longestInputMs = std::max(longestInputMs, MsSince(start));
            app->DrawFrame(true);
            glFinish();
            const double frameMs = MsSince(start);
            longestMs = std::max(longestMs, frameMs);
            totalMs += frameMs;
            start = std::chrono::steady_clock::now();
            ++frames;
        } while (anyWaiting() && frames < 10000);
    }
    // Input and simulation step, the route planning in it, apart from the drawing.
    state.counters["longest_step_ms"] = longestInputMs;
    state.counters["longest_frame_ms"] = longestMs;
    state.counters["mean_frame_ms"] = totalMs / frames;
    state.counters["frames_to_plan"] = static_cast<double>(frames) / static_cast<double>(state.iterations());
}
BENCHMARK(BM_FormationOrder2000Frames)
    ->ArgName("scene")
    ->Arg(2)
    ->Arg(5)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);

// All five overlays: recording, vertex building and submission.
void BM_OverlaysCpu(benchmark::State& state)
{
    Application* app = SharedApp();
    if (!app || !ShowScene(*app, Scenes[0]))
        return state.SkipWithError("no GL context or the scene did not load");
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
    if (!app || !ShowScene(*app, Scenes[0]))
        return state.SkipWithError("no GL context or the scene did not load");
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
