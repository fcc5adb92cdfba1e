#include "keycamera.h"

#include <algorithm>
#include <cmath>

#include "cameraguard.h"
#include "glviewport.h"
#include "rotatecontinuity.h"

namespace
{
constexpr double DegToRad = M_PI / 180.0;

// -1 near the low border, +1 near the high one, 0 between.
double GetEdgeAxis(double Px, int SizePx)
{
    if (SizePx <= 0 || !std::isfinite(Px))
        return 0.0;
    if (Px < KeyCamera::EdgeBandPx)
        return -1.0;
    if (Px >= SizePx - KeyCamera::EdgeBandPx)
        return 1.0;
    return 0.0;
}
} // namespace

bool KeyCamera::Hold(AppAction Action, int ChordIndex, SDL_Keycode Key)
{
    int first = 0, count = 0;
    switch (Action)
    {
    case AppAction::MoveView:
        first = Forward, count = 4;
        break;
    case AppAction::TurnView:
        first = TurnLeft, count = 2;
        break;
    case AppAction::TiltView:
        first = TiltUp, count = 2;
        break;
    default:
        return false;
    }
    if (ChordIndex >= 0 && ChordIndex < count)
        HeldBy[static_cast<std::size_t>(first + ChordIndex)] = Key;
    return true;
}

void KeyCamera::Release(SDL_Keycode Key)
{
    for (SDL_Keycode& heldBy : HeldBy)
        if (heldBy == Key)
            heldBy = SDLK_UNKNOWN;
}

void KeyCamera::ReleaseAll()
{
    HeldBy.fill(SDLK_UNKNOWN);
}

double KeyCamera::GetAxis(Move Negative, Move Positive) const
{
    return (IsHeld(Positive) ? 1.0 : 0.0) - (IsHeld(Negative) ? 1.0 : 0.0);
}

void KeyCamera::Step(GLViewport& View, double dtSec, const EdgePointer& Pointer) const
{
    if (!(dtSec > 0.0) || !std::isfinite(dtSec))
        return;
    dtSec = std::min(dtSec, MaxStepSec);

    double forward = GetAxis(Back, Forward);
    double right = GetAxis(Left, Right);
    if (bEdgeScroll && Pointer.bInWindow)
    {
        right += GetEdgeAxis(Pointer.XPx, Pointer.WindowWidthPx);
        forward -= GetEdgeAxis(Pointer.YPx, Pointer.WindowHeightPx);
    }
    forward = std::clamp(forward, -1.0, 1.0);
    right = std::clamp(right, -1.0, 1.0);
    if (forward != 0.0 || right != 0.0)
    {
        // Screen up on the ground is the drawn yaw's forward: (sin, -cos); screen right is (cos, sin).
        const double yawRad = GetRenderedYawDeg(View) * DegToRad;
        const double stepWorld = MoveDistancesPerSec * std::max(View.CameraDistance, 1.0) * dtSec;
        const double x =
            View.WorldOffsetX + (forward * std::sin(yawRad) + right * std::cos(yawRad)) * stepWorld;
        const double z =
            View.WorldOffsetZ + (-forward * std::cos(yawRad) + right * std::sin(yawRad)) * stepWorld;
        // The orbit centre stays over the map, so the view cannot drift off into the void.
        const bool bMap = View.SpringMap.IsLoaded();
        View.WorldOffsetX =
            bMap ? std::clamp(x, 0.0, static_cast<double>(View.SpringMap.GetWorldWidth())) : x;
        View.WorldOffsetZ =
            bMap ? std::clamp(z, 0.0, static_cast<double>(View.SpringMap.GetWorldDepth())) : z;
    }
    const double turn = GetAxis(TurnLeft, TurnRight);
    if (turn != 0.0)
        View.CameraYawDeg = WrapAngleDeg(View.CameraYawDeg + turn * TurnDegPerSec * dtSec);
    // Tilting down raises the pitch: positive looks down onto the map.
    const double tilt = GetAxis(TiltUp, TiltDown);
    if (tilt != 0.0)
        View.CameraPitchDeg =
            std::clamp(View.CameraPitchDeg + tilt * TiltDegPerSec * dtSec, MinPitchDeg, MaxPitchDeg);
}

void KeyCamera::ZoomByNotch(GLViewport& View, int Direction)
{
    const double step =
        HasActiveMapView(View) ? std::max(0.08 * View.CameraDistance, View.ZoomStep) : View.ZoomStep;
    const double distance = View.CameraDistance + (Direction > 0 ? -step : step);
    View.CameraDistance = std::min(std::max(distance, View.MinCameraDistance), View.MaxCameraDistance);
}
