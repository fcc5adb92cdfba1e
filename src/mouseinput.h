#pragma once

#include <vector>

#include <SDL3/SDL_events.h>

class Mouse;

// A discrete click for the window system: 0 left, 1 middle, 2 right, 3 wheel towards zoom-in
// (wheel up), 4 wheel towards zoom-out; at a point in window pixels.
struct MouseClick
{
    int ButtonID = 0;
    float XPx = 0.0f;
    float YPx = 0.0f;
};

// Collects the SDL events of one frame into the pointer and button state the window system hands
// out once per frame. Pure: no SDL call, so tests feed it events directly.
class MouseInput
{
  public:
    // Pointer coordinates of SDL events are in window points; PixelsPerPoint turns them into the
    // drawable's pixels (2 on a high-DPI display), so Mouse::X/Y and CoreSDL's size agree.
    void HandleEvent(const SDL_Event& Event, float PixelsPerPointX, float PixelsPerPointY);

    // True for a button going down or up and for a wheel turn: the caller hands out the frame's
    // input right after such an event (and, when HasPendingInput, right before it too), so a frame
    // that sees a press, a release or a notch sees the pointer where it happened, and a press and a
    // release of one button in the same batch of events become two frames.
    bool EndsFrame(const SDL_Event& Event) const;
    // Some pointer event came in since the last FillMouse.
    bool HasPendingInput() const { return bPendingInput; }

    // Writes the frame's state into Mouse (the previous frame's buttons become pPrevButton) and
    // hands back the clicks collected since the last call. A button pressed and released between
    // two frames is seen down for one frame, so no click is lost to a fast finger.
    std::vector<MouseClick> FillMouse(Mouse& MouseState, int WidthPx, int HeightPx);

    bool IsPointerInWindow() const { return bPointerInWindow; }

  private:
    float PointerXPx = 0.0f;
    float PointerYPx = 0.0f;
    bool bPointerInWindow = false;
    bool bPendingInput = false;
    bool bButtonDown[3] = {};
    bool bPressedSinceFrame[3] = {};
    std::vector<MouseClick> Clicks;
};
