#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <SDL3/SDL.h>
#include <gtest/gtest.h>

#include "application.h"
#include "sdl_seam.h"

// The whole application in a hidden window on SDL's offscreen driver, driven the way a person drives
// it: events through SDL's queue, then a frame.
class HeadlessApp : public ::testing::Test
{
  protected:
    std::unique_ptr<Application> App;

    void TearDown() override { App.reset(); }
    // The largest difference of any colour channel between two read-backs of the window, over the
    // pixels from (X1, Y1) up to (X2, Y2), top-down.
    int GetMostApart(const std::vector<std::uint8_t>& A, const std::vector<std::uint8_t>& B, int X1, int Y1,
                     int X2, int Y2) const
    {
        const int widthPx = App->GetCoreSDL().Width;
        int most = 0;
        for (int y = Y1; y < Y2; ++y)
            for (int x = X1; x < X2; ++x)
                for (int c = 0; c < 3; ++c)
                {
                    const std::size_t at = (static_cast<std::size_t>(y) * widthPx + x) * 4 + c;
                    most = std::max(most, std::abs(A[at] - B[at]));
                }
        return most;
    }
    // A fresh application (the previous one closed first); FrameCount 1 steps by a fixed 1/60 s.
    void Start(const AppOptions& Options)
    {
        App.reset();
        SDL_SetHint(SDL_HINT_VIDEO_DRIVER, "offscreen");
        sdlseam::Reset();
        App = std::make_unique<Application>();
        std::string error;
        ASSERT_TRUE(App->Start(Options, error)) << error;
    }
    GLViewport& View() { return App->GetViewport(); }
    const std::string& Status() { return App->GetWindow().GetStatusBarText(); }
    // Runs the given number of frames, each drawn; false once the application asked to quit.
    bool Frame(int Count = 1)
    {
        bool bGoOn = true;
        for (int i = 0; i < Count; ++i)
        {
            bGoOn = App->ProcessInput();
            App->DrawFrame();
        }
        return bGoOn;
    }
    // Queues an event for the application's window.
    void Push(SDL_Event Event)
    {
        Event.common.timestamp = SDL_GetTicksNS();
        Event.window.windowID = SDL_GetWindowID(App->GetCoreSDL().pWindow);
        ASSERT_TRUE(SDL_PushEvent(&Event)) << SDL_GetError();
    }
    void Key(bool bDown, SDL_Keycode Code, SDL_Keymod Mods = SDL_KMOD_NONE, bool bRepeat = false)
    {
        SDL_Event e{};
        e.type = bDown ? SDL_EVENT_KEY_DOWN : SDL_EVENT_KEY_UP;
        e.key.key = Code, e.key.mod = Mods, e.key.down = bDown, e.key.repeat = bRepeat;
        Push(e);
    }
    // A key pressed and released, then a frame.
    bool Tap(SDL_Keycode Code, SDL_Keymod Mods = SDL_KMOD_NONE)
    {
        Key(true, Code, Mods);
        Key(false, Code, Mods);
        return Frame();
    }
    void Move(float XPx, float YPx)
    {
        SDL_Event e{};
        e.type = SDL_EVENT_MOUSE_MOTION, e.motion.x = XPx, e.motion.y = YPx;
        Push(e);
    }
    void Button(bool bDown, Uint8 Which, float XPx, float YPx)
    {
        SDL_Event e{};
        e.type = bDown ? SDL_EVENT_MOUSE_BUTTON_DOWN : SDL_EVENT_MOUSE_BUTTON_UP;
        e.button.button = Which, e.button.down = bDown, e.button.x = XPx, e.button.y = YPx;
        Push(e);
    }
    // A press and release at one point, then a frame.
    void Click(Uint8 Which, float XPx, float YPx)
    {
        Button(true, Which, XPx, YPx);
        Button(false, Which, XPx, YPx);
        Frame();
    }
};
