// The application's frame around the viewport: the jet-effect key chords sent through SDL's event
// queue to a real headless application, and the status bar's extent next to the Rotate toggle.
#include <cmath>
#include <limits>
#include <string>

#include <SDL3/SDL.h>
#include <gtest/gtest.h>

#include "application.h"
#include "test_app.h"

namespace
{
void PushKey(SDL_Window* pWindow, SDL_Keycode Key, SDL_Scancode Code, SDL_Keymod Mods)
{
    SDL_Event event{};
    event.type = SDL_EVENT_KEY_DOWN;
    event.key.windowID = SDL_GetWindowID(pWindow);
    event.key.key = Key;
    event.key.scancode = Code;
    event.key.mod = Mods;
    event.key.down = true;
    ASSERT_TRUE(SDL_PushEvent(&event)) << SDL_GetError();
}

TEST(AppFrame, JetEffectKeyChordsReachTheEffect)
{
    SDL_SetHint(SDL_HINT_VIDEO_DRIVER, "offscreen");
    sdlseam::Reset();
    AppOptions options;
    options.WidthPx = 320;
    options.HeightPx = 180;
    options.FrameCount = 1;
    Application app;
    std::string error;
    ASSERT_TRUE(app.Start(options, error)) << error;
    GLViewport& view = app.GetViewport();
    ASSERT_FALSE(view.AirUnits.empty());
    app.ProcessInput();
    app.DrawFrame();
    ASSERT_EQ(view.JetEffectsStatusText, "Jet effects ready");
    ASSERT_GT(view.JetEffectsMemoryMiB, 0.0);
    // The status bar stops short of the Rotate toggle, which stays whole.
    double x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
    ASSERT_TRUE(view.GetAutoRotateToggleRect(x1, y1, x2, y2));
    const double toggleLeftX = view.WindowX1 + x1 * (view.WindowX2 - view.WindowX1);
    EXPECT_LT(app.GetWindow().StatusBarRightX, toggleLeftX);
    EXPECT_GT(app.GetWindow().StatusBarRightX, toggleLeftX - 0.1);

    // clang-format off
    struct Case { SDL_Keycode Key; SDL_Scancode Code; SDL_Keymod Mods; const char* ExpectedStatus; bool bExpectTargets; };
    const Case cases[] = {
        // One modifier short of the chord does nothing.
        {SDLK_L, SDL_SCANCODE_L, SDL_KMOD_LCTRL, "Jet effects ready", true},
        {SDLK_L, SDL_SCANCODE_L, SDL_KMOD_LSHIFT, "Jet effects ready", true},
        {SDLK_L, SDL_SCANCODE_L, SDL_KMOD_LCTRL | SDL_KMOD_RSHIFT, "Jet effects off", false},
        {SDLK_L, SDL_SCANCODE_L, SDL_KMOD_RCTRL | SDL_KMOD_LSHIFT, "Jet effects ready", true},
        {SDLK_R, SDL_SCANCODE_R, SDL_KMOD_LSHIFT, "Jet effects ready", true},
        {SDLK_R, SDL_SCANCODE_R, SDL_KMOD_LCTRL | SDL_KMOD_LSHIFT, "Jet shaders reloaded", true},
    };
    // clang-format on
    int step = 0;
    for (const Case& c : cases)
    {
        PushKey(app.GetCoreSDL().pWindow, c.Key, c.Code, c.Mods);
        app.ProcessInput();
        app.DrawFrame();
        EXPECT_EQ(view.JetEffectsStatusText, c.ExpectedStatus) << "step " << step;
        EXPECT_EQ(view.JetEffectsMemoryMiB > 0.0, c.bExpectTargets) << "step " << step;
        ++step;
    }
}

// The bar's background rectangle and top line as recorded by the 2D renderer.
TEST(AppFrame, StatusBarEndsAtItsRightEdge)
{
    // clang-format off
    struct Case { float RightX; bool bDrawn; float ExpectedRightX; };
    const Case cases[] = {
        {1.0f, true, 1.0f},   {0.76f, true, 0.76f}, {5.0f, true, 1.0f},
        {-1.0f, false, 0.0f}, {-3.0f, false, 0.0f}, {std::numeric_limits<float>::quiet_NaN(), false, 0.0f},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        app.Window.SetStatusBarText("Map Default");
        app.Window.StatusBarRightX = c.RightX;
        app.Window.RenderStatusBar();
        const auto& primitives = app.Renderer.GetPrimitives();
        if (!c.bDrawn)
        {
            EXPECT_TRUE(primitives.empty()) << "right edge " << c.RightX;
            continue;
        }
        ASSERT_EQ(primitives.size(), 2u) << "right edge " << c.RightX;
        for (const RendPrimitive& primitive : primitives)
        {
            EXPECT_FLOAT_EQ(std::fmin(primitive.X1, primitive.X2), -1.0f) << "right edge " << c.RightX;
            EXPECT_FLOAT_EQ(std::fmax(primitive.X1, primitive.X2), c.ExpectedRightX)
                << "right edge " << c.RightX;
        }
    }
}
} // namespace
