#include "mouseinput.h"

#include <algorithm>
#include <cmath>

#include "mouse.h"

namespace
{
// SDL numbers the buttons 1 left, 2 middle, 3 right; Mouse indexes them 0, 1, 2.
int ToButtonIndex(Uint8 SdlButton)
{
    switch (SdlButton)
    {
    case SDL_BUTTON_LEFT:
        return Mouse::Left;
    case SDL_BUTTON_MIDDLE:
        return Mouse::Middle;
    case SDL_BUTTON_RIGHT:
        return Mouse::Right;
    default:
        return -1;
    }
}

// Past the right or bottom edge the pixel keeps growing, so a drag that SDL keeps capturing outside
// the window goes on; left of or above the window it stops at 0, the least the field can hold.
unsigned int ToWholePixel(float Px)
{
    constexpr float Limit = 1 << 24;
    if (!(Px > 0.0f))
        return 0u;
    return static_cast<unsigned int>(std::floor(std::min(Px, Limit)));
}
} // namespace

bool MouseInput::EndsFrame(const SDL_Event& Event) const
{
    switch (Event.type)
    {
    case SDL_EVENT_MOUSE_BUTTON_DOWN:
    case SDL_EVENT_MOUSE_BUTTON_UP:
    {
        const int index = ToButtonIndex(Event.button.button);
        return index >= 0 && bButtonDown[index] != (Event.type == SDL_EVENT_MOUSE_BUTTON_DOWN);
    }
    case SDL_EVENT_MOUSE_WHEEL:
        return Event.wheel.y != 0.0f;
    default:
        return false;
    }
}

void MouseInput::HandleEvent(const SDL_Event& Event, float PixelsPerPointX, float PixelsPerPointY)
{
    switch (Event.type)
    {
    case SDL_EVENT_MOUSE_MOTION:
        PointerXPx = Event.motion.x * PixelsPerPointX;
        PointerYPx = Event.motion.y * PixelsPerPointY;
        bPointerInWindow = true;
        break;
    case SDL_EVENT_MOUSE_BUTTON_DOWN:
    case SDL_EVENT_MOUSE_BUTTON_UP:
    {
        PointerXPx = Event.button.x * PixelsPerPointX;
        PointerYPx = Event.button.y * PixelsPerPointY;
        const int index = ToButtonIndex(Event.button.button);
        if (index < 0)
            break;
        const bool bDown = Event.type == SDL_EVENT_MOUSE_BUTTON_DOWN;
        if (bDown && !bButtonDown[index])
        {
            bPressedSinceFrame[index] = true;
            Clicks.push_back({index, PointerXPx, PointerYPx});
        }
        bButtonDown[index] = bDown;
        break;
    }
    case SDL_EVENT_MOUSE_WHEEL:
    {
        float wheelY = Event.wheel.y;
        if (Event.wheel.direction == SDL_MOUSEWHEEL_FLIPPED)
            wheelY = -wheelY;
        PointerXPx = Event.wheel.mouse_x * PixelsPerPointX;
        PointerYPx = Event.wheel.mouse_y * PixelsPerPointY;
        // One click per wheel notch; a smooth-scrolling fraction still counts as one.
        const int notches = std::max(1, static_cast<int>(std::lround(std::fabs(wheelY))));
        if (wheelY != 0.0f)
            for (int i = 0; i < notches; ++i)
                Clicks.push_back({wheelY > 0.0f ? 3 : 4, PointerXPx, PointerYPx});
        break;
    }
    case SDL_EVENT_WINDOW_MOUSE_ENTER:
        bPointerInWindow = true;
        break;
    case SDL_EVENT_WINDOW_MOUSE_LEAVE:
        bPointerInWindow = false;
        break;
    default:
        return;
    }
    bPendingInput = true;
}

std::vector<MouseClick> MouseInput::FillMouse(Mouse& MouseState, int WidthPx, int HeightPx)
{
    std::copy(std::begin(MouseState.pButton), std::end(MouseState.pButton),
              std::begin(MouseState.pPrevButton));
    for (int i = 0; i < 3; ++i)
    {
        MouseState.pButton[i] = bButtonDown[i] || bPressedSinceFrame[i];
        bPressedSinceFrame[i] = false;
    }
    MouseState.X = ToWholePixel(PointerXPx);
    MouseState.Y = ToWholePixel(PointerYPx);
    // Global coordinates run -1..1 across the window with Y up.
    const double widthPx = std::max(WidthPx, 1);
    const double heightPx = std::max(HeightPx, 1);
    MouseState.X3D = PointerXPx / widthPx * 2.0 - 1.0;
    MouseState.Y3D = 1.0 - PointerYPx / heightPx * 2.0;
    bPendingInput = false;
    std::vector<MouseClick> clicks;
    clicks.swap(Clicks);
    return clicks;
}
