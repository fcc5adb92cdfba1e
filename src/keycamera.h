#pragma once

#include <array>

#include <SDL3/SDL_keycode.h>

#include "controls.h"

class GLViewport;

// Where the pointer is for edge scrolling: window pixels, origin top left.
struct EdgePointer
{
    bool bInWindow = false;
    double XPx = 0.0;
    double YPx = 0.0;
    int WindowWidthPx = 0;
    int WindowHeightPx = 0;
};

// The camera moves of held keys and of the pointer resting at the window's edge. Moves are rates
// per second applied over each frame's time, so they do not depend on the frame rate.
class KeyCamera
{
  public:
    // The orbit centre crosses this many camera distances per second: the map slides across the
    // screen at the same pace whatever the zoom.
    static constexpr double MoveDistancesPerSec = 0.8;
    static constexpr double TurnDegPerSec = 90.0;
    static constexpr double TiltDegPerSec = 45.0;
    static constexpr double MinPitchDeg = 8.0; // the map view's pitch limits
    static constexpr double MaxPitchDeg = 84.0;
    // A pointer within this many pixels of the border scrolls; in fullscreen it rests on the
    // outermost one.
    static constexpr double EdgeBandPx = 6.0;
    // A longer frame is not caught up at once, so a hitch does not throw the view across the map.
    static constexpr double MaxStepSec = 0.25;

    bool bEdgeScroll = false;

    // A key of a held camera control (MoveView, TurnView, TiltView) went down; the chord picks the
    // direction. False for any other action.
    bool Hold(AppAction Action, int ChordIndex, SDL_Keycode Key);
    // The key went up: whatever it held stops.
    void Release(SDL_Keycode Key);
    void ReleaseAll();

    // Applies dtSec seconds of the held keys and of edge scrolling.
    void Step(GLViewport& View, double dtSec, const EdgePointer& Pointer) const;

    // One wheel notch towards (Direction > 0) or away from the map, with the wheel's step and limits.
    static void ZoomByNotch(GLViewport& View, int Direction);

  private:
    enum Move
    {
        Forward,
        Back,
        Left,
        Right,
        TurnLeft,
        TurnRight,
        TiltUp,
        TiltDown,
        MoveCount
    };
    // The key holding each move, SDLK_UNKNOWN when none.
    std::array<SDL_Keycode, MoveCount> HeldBy{};

    bool IsHeld(Move Which) const { return HeldBy[Which] != SDLK_UNKNOWN; }
    double GetAxis(Move Negative, Move Positive) const;
};
