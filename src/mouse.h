#pragma once

// Pointer and button state of the current and the previous frame, filled by the window system.
class Mouse
{
public:
    static constexpr int ButtonCount = 7;
    static constexpr int Left = 0;
    static constexpr int Middle = 1;
    static constexpr int Right = 2;

    unsigned int X = 0; // window pixels, origin top left
    unsigned int Y = 0;
    double X3D = 0.0; // global coordinates: -1..1 across the window, Y up
    double Y3D = 0.0;
    bool pButton[ButtonCount] = {};
    bool pPrevButton[ButtonCount] = {};
};
