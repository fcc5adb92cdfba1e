// A long random input run through the real application: SDL events pushed into SDL's own queue
// (pointer moves, buttons, wheel, the pointer leaving and entering), window resizes through SDL,
// and the keys and modifiers through the tests' input seam, with the camera and selection
// invariants checked after every frame. The built-in map and every fixture map take turns, each
// replacing the last, so freed maps and stale pointers into them show up. Meant for the sanitizer build,
// where a crash, a leak or undefined behaviour fails the run. QUINDLE_SOAK_FRAMES (default 20000) and
// QUINDLE_SOAK_SEED choose the length and the seed; the seed is printed so a failure reproduces.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include <SDL3/SDL.h>
#include <gtest/gtest.h>

#include "application.h"
#include "sdl_seam.h"
#include "vehicleunit.h"

namespace
{
std::uint64_t ReadEnvNumber(const char* Name, std::uint64_t Default)
{
    const char* text = std::getenv(Name);
    if (!text || !*text)
        return Default;
    char* end = nullptr;
    const unsigned long long value = std::strtoull(text, &end, 10);
    return *end == '\0' && value > 0 ? value : Default;
}

constexpr std::uint64_t DrawEveryFrames = 8;

// One random person at the keyboard and mouse: pointer moves (mostly near the last point, sometimes
// around the units at the window's centre or far outside), buttons including ones to ignore, the
// wheel, the pointer leaving and entering, Home now and then, resizes, keys and modifiers.
struct RandomInput
{
    std::mt19937_64 Random;
    SDL_Window* pWindow;
    float X = 0.0f, Y = 0.0f;

    int Pick(int Low, int High) { return std::uniform_int_distribution<int>(Low, High)(Random); }
    bool Chance(double P) { return std::bernoulli_distribution(P)(Random); }

    void PushFrameEvents()
    {
        int widthPt = 1, heightPt = 1;
        SDL_GetWindowSize(pWindow, &widthPt, &heightPt);
        for (int i = Pick(0, 3); i > 0; --i)
        {
            SDL_Event event{};
            event.window.windowID = SDL_GetWindowID(pWindow); // the same offset in every event kind
            const int kind = Pick(0, 99);
            if (kind < 55 && Chance(0.2))
                X = widthPt * 0.5f + Pick(-40, 40), Y = heightPt * 0.5f + Pick(-30, 30);
            else if (kind < 55 && Chance(0.05))
                X = float(Pick(-5000, 5000)), Y = float(Pick(-5000, 5000));
            else if (kind < 55)
                X = std::clamp(X + Pick(-30, 30), -20.0f, widthPt + 20.0f),
                Y = std::clamp(Y + Pick(-30, 30), -20.0f, heightPt + 20.0f);
            if (kind < 55)
                event.type = SDL_EVENT_MOUSE_MOTION, event.motion.x = X, event.motion.y = Y;
            else if (kind < 85)
            {
                const Uint8 buttons[] = {SDL_BUTTON_LEFT,  SDL_BUTTON_LEFT,  SDL_BUTTON_MIDDLE,
                                         SDL_BUTTON_RIGHT, SDL_BUTTON_RIGHT, SDL_BUTTON_X1};
                event.button.down = Chance(0.5);
                event.type = event.button.down ? SDL_EVENT_MOUSE_BUTTON_DOWN : SDL_EVENT_MOUSE_BUTTON_UP;
                event.button.button = buttons[Pick(0, 5)], event.button.x = X, event.button.y = Y;
            }
            else if (kind < 95)
            {
                event.type = SDL_EVENT_MOUSE_WHEEL, event.wheel.mouse_x = X, event.wheel.mouse_y = Y;
                event.wheel.y = Pick(-3, 3) * (Chance(0.2) ? 0.25f : 1.0f);
                event.wheel.direction = Chance(0.1) ? SDL_MOUSEWHEEL_FLIPPED : SDL_MOUSEWHEEL_NORMAL;
            }
            else if (kind < 98)
                event.type = Chance(0.5) ? SDL_EVENT_WINDOW_MOUSE_LEAVE : SDL_EVENT_WINDOW_MOUSE_ENTER;
            else // Home frames the map again, so the camera does not stay lost far from the units.
                event.type = SDL_EVENT_KEY_DOWN, event.key.key = SDLK_HOME,
                event.key.scancode = SDL_SCANCODE_HOME, event.key.down = true;
            SDL_PushEvent(&event);
        }
        const SDL_Keymod mods[] = {SDL_KMOD_NONE, SDL_KMOD_LSHIFT, SDL_KMOD_RSHIFT,
                                   SDL_KMOD_LALT, SDL_KMOD_RALT,   SDL_KMOD_LSHIFT | SDL_KMOD_LALT};
        if (Chance(0.02))
            sdlseam::SetKey(SDL_SCANCODE_P, Chance(0.5));
        if (Chance(0.02))
            sdlseam::SetKey(SDL_SCANCODE_ESCAPE, Chance(0.5));
        if (Chance(0.05))
            sdlseam::SetMods(mods[Pick(0, 5)]);
        if (Chance(0.002))
            SDL_SetWindowSize(pWindow, Pick(64, 480), Pick(64, 360));
        sdlseam::AdvanceTicks(static_cast<std::uint64_t>(Pick(0, 40)));
    }
};

// "" (the built-in map) and each map in the fixture folder, when there is one.
std::vector<std::string> ListSoakMaps()
{
    std::vector<std::string> maps{""};
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(QUINDLE_MAPS_DIR, ec))
        if (entry.is_directory() || entry.path().extension() == ".sd7" || entry.path().extension() == ".sdz")
            maps.push_back(entry.path().string());
    std::sort(maps.begin() + 1, maps.end());
    return maps;
}

// The count a selection message reports, or -1 for any other message.
int ParseSelectionCount(const std::string& Message)
{
    if (Message == "No units selected.")
        return 0;
    const std::string tail = " unit(s) selected. Right click to move.";
    if (Message.size() <= tail.size() ||
        Message.compare(Message.size() - tail.size(), tail.size(), tail) != 0)
        return -1;
    return std::atoi(Message.c_str());
}

TEST(Soak, RandomInputKeepsTheCameraAndSelectionValid)
{
    const std::uint64_t frameCount = ReadEnvNumber("QUINDLE_SOAK_FRAMES", 20000);
    const std::uint64_t seed = ReadEnvNumber("QUINDLE_SOAK_SEED", 20260611);
    std::printf("soak: seed %llu, %llu frames (QUINDLE_SOAK_SEED, QUINDLE_SOAK_FRAMES)\n",
                static_cast<unsigned long long>(seed), static_cast<unsigned long long>(frameCount));
    SDL_SetHint(SDL_HINT_VIDEO_DRIVER, "offscreen");
    sdlseam::Reset();

    AppOptions options;
    options.WidthPx = 320; // small, so llvmpipe keeps up under the sanitizers
    options.HeightPx = 180;
    options.FrameCount = static_cast<int>(frameCount);
    Application app;
    std::string error;
    ASSERT_TRUE(app.Start(options, error)) << error;
    GLViewport& view = app.GetViewport();
    const GLWindow& window = app.GetWindow();
    RandomInput input{std::mt19937_64(seed), app.GetCoreSDL().pWindow};

    std::size_t messagesSeen = window.GetStatusHistory().size();
    int selections = 0, resizes = 0;
    int lastWidthPx = app.GetCoreSDL().Width;
    double distance = view.CameraDistance;
    // Every map twice over the run.
    const std::vector<std::string> maps = ListSoakMaps();
    const std::uint64_t framesPerMap = std::max<std::uint64_t>(frameCount / (2 * maps.size()), 1);
    for (std::uint64_t frame = 0; frame < frameCount; ++frame)
    {
        if (frame > 0 && frame % framesPerMap == 0)
        {
            const std::string& map = maps[frame / framesPerMap % maps.size()];
            ASSERT_TRUE(app.OpenMap(map)) << map << ": " << window.GetStatusBarText();
            distance = view.CameraDistance;
        }
        input.PushFrameEvents();
        ASSERT_TRUE(app.ProcessInput()) << "frame " << frame;
        // Input is the subject; drawing every frame would make llvmpipe the whole run time.
        if (frame % DrawEveryFrames == 0)
        {
            app.DrawFrame();
            app.PresentFrame();
        }

        SCOPED_TRACE("seed " + std::to_string(seed) + ", frame " + std::to_string(frame));
        ASSERT_GT(view.CameraYawDeg, -180.0);
        ASSERT_LE(view.CameraYawDeg, 180.0);
        ASSERT_GE(view.CameraPitchDeg, 8.0) << "the default map is always shown";
        ASSERT_LE(view.CameraPitchDeg, 84.0);
        const FrameStats& stats = app.GetFrameStats();
        for (const double number :
             {view.PanX, view.PanY, view.CameraDistance, view.MinCameraDistance, view.MaxCameraDistance,
              stats.GetFramesPerSecond(), stats.GetCpuMs(), stats.GetGpuMs()})
            ASSERT_TRUE(std::isfinite(number)) << view.PanX << ", " << view.PanY << ", "
                                               << view.CameraDistance << ", " << stats.FormatLine();
        ASSERT_EQ(view.VehicleSelectionMask.size(), view.GetControllableVehicles().size());
        // Each zoom bounds the side it moves towards.
        if (view.CameraDistance < distance)
        {
            ASSERT_GE(view.CameraDistance, view.MinCameraDistance) << "from " << distance;
        }
        else if (view.CameraDistance > distance)
        {
            ASSERT_LE(view.CameraDistance, view.MaxCameraDistance) << "from " << distance;
        }
        distance = view.CameraDistance;

        const std::vector<std::string>& history = window.GetStatusHistory();
        for (; messagesSeen < history.size(); ++messagesSeen)
        {
            const int count = ParseSelectionCount(history[messagesSeen]);
            if (count < 0)
                continue;
            ++selections;
            int selected = view.bAirUnitsSelected ? 1 : 0;
            for (const bool bSelected : view.VehicleSelectionMask)
                selected += bSelected ? 1 : 0;
            ASSERT_EQ(count, selected) << history[messagesSeen];
        }
        resizes += app.GetCoreSDL().Width != lastWidthPx ? 1 : 0;
        lastWidthPx = app.GetCoreSDL().Width;
    }
    std::printf("soak: %d selections, %d resizes\n", selections, resizes);
    // A run of some length that never selected or never resized did not exercise what it claims to.
    if (frameCount >= 2000)
    {
        EXPECT_GT(selections, 0);
        EXPECT_GT(resizes, 0);
    }
}
} // namespace
