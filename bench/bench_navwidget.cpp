// Navigation widget costs: one hit test, one frame with a button held, and recording the whole widget
// (85 primitives) into Rend. The widget reads GL flags, so the drawing benchmark runs on a hidden
// window's GL context from SDL's offscreen driver.
#include <benchmark/benchmark.h>

#include <SDL3/SDL.h>

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
        View.NavWidgetSize = 0.3;
        View.NavWidgetMargin = 0.02;
    }

    // Global coordinates of a viewport-local point; the viewport covers the window.
    void PointAtLocal(double x01, double y01)
    {
        MouseState.X3D = -1.0 + 2.0 * x01;
        MouseState.Y3D = 1.0 - 2.0 * y01;
    }
};

// A GL context for the process, made once; null when none can be had.
SDL_GLContext EnsureGLContext()
{
    static SDL_GLContext context = []() -> SDL_GLContext
    {
        SDL_SetHint(SDL_HINT_VIDEO_DRIVER, "offscreen");
        if (!SDL_Init(SDL_INIT_VIDEO))
            return nullptr;
        SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
        SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 3);
        SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_CORE);
        SDL_Window* window =
            SDL_CreateWindow("bench_navwidget", 64, 64, SDL_WINDOW_OPENGL | SDL_WINDOW_HIDDEN);
        return window ? SDL_GL_CreateContext(window) : nullptr;
    }();
    return context;
}

void BM_HitNavButton(benchmark::State& state)
{
    BenchApp app;
    // A walk over the panel and beyond, so every branch of the hit test is taken.
    double x = 0.6, y = 0.45;
    int hits = 0;
    for (auto _ : state)
    {
        bool bInside = false;
        hits += app.View.HitNavButton(x, y, &bInside);
        benchmark::DoNotOptimize(bInside);
        x = x > 1.0 ? 0.6 : x + 0.0037;
        y = y > 1.0 ? 0.45 : y + 0.0011;
    }
    benchmark::DoNotOptimize(hits);
}
BENCHMARK(BM_HitNavButton);

void BM_HeldButtonFrame(benchmark::State& state)
{
    BenchApp app;
    app.PointAtLocal(0.68 + 0.66 * 0.3, 0.515 + 0.435 * 0.465); // rotate right
    app.MouseState.pButton[Mouse::Left] = true;
    app.View.MouseProcessing(); // the press starts the hold
    app.MouseState.pPrevButton[Mouse::Left] = true;
    for (auto _ : state)
    {
        app.View.MouseProcessing();
        benchmark::DoNotOptimize(app.View.CameraYawDeg);
    }
    if (app.View.ActiveNavButton != 7)
        state.SkipWithError("the button was not held");
}
BENCHMARK(BM_HeldButtonFrame);

void BM_RenderNavWidgetOverlay(benchmark::State& state)
{
    if (!EnsureGLContext())
    {
        state.SkipWithError("no GL context");
        return;
    }
    BenchApp app;
    app.View.HoverNavButton = 5;
    for (auto _ : state)
    {
        app.Renderer.ClearRecord();
        app.View.RenderNavWidgetOverlay();
        benchmark::DoNotOptimize(app.Renderer.GetPrimitives().data());
    }
    if (app.Renderer.GetPrimitives().size() != 85)
        state.SkipWithError("the widget was not recorded whole");
    state.counters["primitives"] = static_cast<double>(app.Renderer.GetPrimitives().size());
}
BENCHMARK(BM_RenderNavWidgetOverlay);
} // namespace
