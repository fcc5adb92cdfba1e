// Navigation and interaction layer of GLViewport.
//
// Index of this file:
//   1. Input routing      MouseProcessing, EventMouseClick, EventMouseOut, camera drags
//   2. Picking            ScreenToSpringMapWorld, ScreenToSpringMapWorldAtHeight
//
// The layer throws nothing of its own and logs nothing: failures are bool results, and the only
// report a person sees is a status-bar message.

#include <algorithm>
#include <cmath>
#include <cstdint>

#include <SDL3/SDL.h>

#include "core.h"
#include "glviewport.h"
#include "glwindow.h"
#include "mouse.h"

double WrapAngleDeg(double AngleDeg)
{
    const double r = std::fmod(AngleDeg, 360.0);
    if (r > 180.0)
        return r - 360.0;
    if (r <= -180.0)
        return r + 360.0;
    return r;
}

bool GLViewport::IsMapViewActive() const
{
    return bSpringMapView && SpringMap.IsLoaded() && SpringMap.IndexCount > 0;
}

void GLViewport::ShowStatus(const std::string& Text) const
{
    if (pParentWindow)
        pParentWindow->SetStatusBarText(Text);
}

// =====================================================================================================
// 1. Input routing
// =====================================================================================================

namespace
{
constexpr SDL_Scancode PatrolScancode = SDL_SCANCODE_P;
constexpr SDL_Scancode EscapeScancode = SDL_SCANCODE_ESCAPE;
constexpr std::uint64_t NavRepeatDelayMs = 90; // a press is one step; holding repeats after this
constexpr double MapPitchMinDeg = 8.0;         // never flat enough to lose the horizon
constexpr double MapPitchMaxDeg = 84.0;        // never straight down, so yaw stays meaningful
constexpr double DegToRad = 0.017453292519943295;
} // namespace

void GLViewport::MouseProcessing()
{
    if (!bVisible || !bEnabled || !(WindowX2 > WindowX1) || !(WindowY1 > WindowY2))
        return;

    const Mouse& mouse = *p->pMouse;
    int localXpx = 0;
    int localYpx = 0;
    bMouseInside = GlobalToLocalPixels(mouse.X3D, mouse.Y3D, localXpx, localYpx);
    MouseLocalXPx = localXpx;
    MouseLocalYPx = localYpx;
    GlobalToLocal01(mouse.X3D, mouse.Y3D, MouseLocalX, MouseLocalY);
    if (bMouseInside)
        bMouseOver = true;

    MouseFrame frame;
    frame.lPressed = mouse.pButton[Mouse::Left] && !mouse.pPrevButton[Mouse::Left];
    frame.lReleased = !mouse.pButton[Mouse::Left] && mouse.pPrevButton[Mouse::Left];
    frame.lHeld = mouse.pButton[Mouse::Left];
    frame.mPressed = mouse.pButton[Mouse::Middle] && !mouse.pPrevButton[Mouse::Middle];
    frame.mReleased = !mouse.pButton[Mouse::Middle] && mouse.pPrevButton[Mouse::Middle];
    frame.mHeld = mouse.pButton[Mouse::Middle];
    frame.rPressed = mouse.pButton[Mouse::Right] && !mouse.pPrevButton[Mouse::Right];
    frame.rReleased = !mouse.pButton[Mouse::Right] && mouse.pPrevButton[Mouse::Right];
    frame.rHeld = mouse.pButton[Mouse::Right];
    frame.now = SDL_GetTicks();
    const bool* keyboardState = SDL_GetKeyboardState(nullptr);
    const bool patrolKey = bHasFocus && keyboardState && keyboardState[PatrolScancode];
    const bool escapeKey = bHasFocus && keyboardState && keyboardState[EscapeScancode];

    ProcessPatrolKeys(patrolKey, escapeKey);

    frame.bInsideWidgetPanel = false;
    HoverNavButton = HitNavButton(MouseLocalX, MouseLocalY, &frame.bInsideWidgetPanel);

    if (ProcessEffectsPanelPress(frame))
        return;

    double rotateX1 = 0.0, rotateY1 = 0.0, rotateX2 = 0.0, rotateY2 = 0.0;
    const bool bInsideRotateToggle = GetAutoRotateToggleRect(rotateX1, rotateY1, rotateX2, rotateY2) &&
                                     rotateX1 <= MouseLocalX && MouseLocalX <= rotateX2 &&
                                     rotateY1 <= MouseLocalY && MouseLocalY <= rotateY2;
    // A press on the toggle from outside the viewport is nobody's: it skips the widget too.
    const bool bToggleTookPressOutside = frame.lPressed && bInsideRotateToggle && !bMouseInside;
    if (frame.lPressed && bInsideRotateToggle && bMouseInside)
    {
        bAutoRotate = !bAutoRotate;
        bOrbitDrag = false;
        bPanDrag = false;
        p->pQuindle->MarkChildWindowProcessed();
        return;
    }

    if (!bToggleTookPressOutside && frame.lPressed && bMouseInside && HoverNavButton > 0)
    {
        ApplyNavButton(HoverNavButton);
        bOrbitDrag = false;
        ActiveNavButton = HoverNavButton;
        NavRepeatStartMs = frame.now + NavRepeatDelayMs;
        NavLastRepeatMs = frame.now;
        p->pQuindle->MarkChildWindowProcessed();
        return;
    }

    // Holding a button repeats it at a rate set by elapsed time, not by the frame rate.
    if (ActiveNavButton > 0)
    {
        if (!frame.lHeld || ActiveNavButton != HoverNavButton)
        {
            ActiveNavButton = 0;
        }
        else if (frame.now >= NavRepeatStartMs)
        {
            const std::uint64_t fromMs = std::max(NavRepeatStartMs, NavLastRepeatMs);
            if (fromMs < frame.now)
            {
                const double dtSec = static_cast<double>(frame.now - fromMs) * 0.001;
                if (dtSec > 0.0)
                {
                    ApplyNavButtonScaled(ActiveNavButton, dtSec * std::max(NavHoldRate, 1.0));
                    NavLastRepeatMs = frame.now;
                    p->pQuindle->MarkChildWindowProcessed();
                }
            }
        }
    }

    if (!bMouseInteraction)
    {
        // Drags pause with their flags intact and resume when interaction comes back.
        if (frame.lReleased)
        {
            ActiveNavButton = 0;
            NavLastRepeatMs = 0;
        }
        if (bMouseInside && (frame.lHeld || frame.mHeld || frame.rHeld || frame.bInsideWidgetPanel))
            p->pQuindle->MarkChildWindowProcessed();
        return;
    }

    if (ProcessPatrolClicks(frame))
        return;

    if (bVehicleControl)
        ProcessBoxSelection(frame);

    if (frame.lPressed && bMouseInside && !frame.bInsideWidgetPanel && !bSelectionDragActive)
    {
        bOrbitDrag = true;
        bPanDrag = false;
        OrbitLastXPx = MouseLocalXPx;
        OrbitLastYPx = MouseLocalYPx;
        p->pQuindle->MarkChildWindowProcessed();
    }

    if (ProcessOrderGesture(frame))
        return;

    if (frame.mPressed && bMouseInside && !frame.bInsideWidgetPanel && !bOrderDrag)
    {
        bOrbitDrag = false;
        bPanDrag = true;
        PanStartXPx = MouseLocalXPx;
        PanStartYPx = MouseLocalYPx;
        PanLastMouseX = mouse.X;
        PanLastMouseY = mouse.Y;
        p->pQuindle->MarkChildWindowProcessed();
    }

    UpdateCameraDrags(frame);

    if (!frame.lHeld)
        bOrbitDrag = false;
    if (!frame.mHeld)
        bPanDrag = false;
    if (!frame.rHeld)
    {
        bOrderDrag = false;
        bOrderDragMoved = false;
    }
    if (frame.lReleased)
    {
        ActiveNavButton = 0;
        NavLastRepeatMs = 0;
    }
    if (bMouseInside && (frame.lHeld || frame.mHeld || frame.rHeld || frame.bInsideWidgetPanel))
        p->pQuindle->MarkChildWindowProcessed();
}

void GLViewport::UpdateCameraDrags(const MouseFrame& frame)
{
    const Mouse& mouse = *p->pMouse;
    if (bOrbitDrag && frame.lHeld)
    {
        const int dx = MouseLocalXPx - OrbitLastXPx;
        const int dy = MouseLocalYPx - OrbitLastYPx;
        OrbitLastXPx = MouseLocalXPx;
        OrbitLastYPx = MouseLocalYPx;
        CameraYawDeg = WrapAngleDeg(CameraYawDeg + dx * OrbitDegPerPixel);
        const double pitch = CameraPitchDeg + dy * OrbitDegPerPixel;
        CameraPitchDeg = IsMapViewActive() ? std::min(MapPitchMaxDeg, std::max(MapPitchMinDeg, pitch))
                                           : WrapAngleDeg(pitch);
        p->pQuindle->MarkChildWindowProcessed();
    }

    if (bPanDrag && frame.mHeld && !bOrderDrag)
    {
        // Unsigned pixel differences read as signed: a pointer moving left gives a negative dx.
        const int dx = static_cast<int>(mouse.X - PanLastMouseX);
        const int dy = static_cast<int>(mouse.Y - PanLastMouseY);
        PanLastMouseX = mouse.X;
        PanLastMouseY = mouse.Y;
        // World units per pixel at the orbit target, so the map follows the pointer.
        const long hPx = std::max(std::lround((WindowY1 - WindowY2) * p->pCoreSDL->Height * 0.5), 1L);
        const double fovRad = std::clamp(CameraFovDeg, 1.0, 170.0) * DegToRad;
        const double worldPerPixel =
            2.0 * std::max(CameraDistance, 0.001) * std::tan(fovRad * 0.5) / static_cast<double>(hPx);
        PanX = PanX + dx * worldPerPixel;
        PanY = PanY - dy * worldPerPixel;
        p->pQuindle->MarkChildWindowProcessed();
    }
}

void GLViewport::EventMouseClick(int ButtonID, double x, double y)
{
    double localX01 = 0.0;
    double localY01 = 0.0;
    const bool insideRenderedViewport = GlobalToLocal01(x, y, localX01, localY01);
    const auto mark = []
    {
        if (p && p->pQuindle)
            p->pQuindle->MarkChildWindowProcessed();
    };

    if (ButtonID == 2)
    {
        // Right clicks over the map are unit orders, handled by MouseProcessing.
        if (bVehicleControl && IsMapViewActive() && insideRenderedViewport)
        {
            mark();
            return;
        }
    }
    else if ((ButtonID == 3 || ButtonID == 4) && bMouseInteraction && insideRenderedViewport)
    {
        // Over the map a wheel click moves at least 8 % of the distance, so zoom feels the same
        // close up and far away.
        const double step = IsMapViewActive() ? std::max(0.08 * CameraDistance, ZoomStep) : ZoomStep;
        const double distance = ButtonID == 3 ? CameraDistance - step : CameraDistance + step;
        CameraDistance = std::min(std::max(distance, MinCameraDistance), MaxCameraDistance);
        mark();
        return;
    }
    GLChildWindow::EventMouseClick(ButtonID, x, y);
}

void GLViewport::EventMouseOut()
{
    bMouseOver = false;
    bMouseInside = false;
    bOrbitDrag = false;
    bSelectionDragActive = false;
    HoverNavButton = 0;
    ActiveNavButton = 0;
    NavLastRepeatMs = 0;
    if (p && p->pMouse)
    {
        // A pan or an order gesture whose button is still down goes on outside the viewport.
        if (!p->pMouse->pButton[Mouse::Middle])
            bPanDrag = false;
        if (p->pMouse->pButton[Mouse::Right])
            return;
        bOrderDrag = false;
        bOrderDragMoved = false;
        return;
    }
    bPanDrag = false;
    bOrderDrag = false;
    bOrderDragMoved = false;
}

// =====================================================================================================
// 2. Picking
// =====================================================================================================
//
// The camera orbits the target (WorldOffsetX, 0, WorldOffsetZ) at CameraDistance; the pick rebuilds
// the renderer's view and walks the ray under the point back into the world:
//
//        eye *
//             `.   ray (not normalised)
//               `.
//   ~~~~~~~~~~~~~~*~~~~~~~ terrain, refined twice from the hit with the plane Y = 0
namespace
{
struct PickRay
{
    double EyeX = 0.0, EyeY = 0.0, EyeZ = 0.0;
    double DirX = 0.0, DirY = 0.0, DirZ = 0.0;
};

bool BuildPickRay(const GLViewport& view, double x01, double y01, PickRay& ray)
{
    if (!view.SpringMap.IsLoaded() || view.SpringMap.IndexCount < 1 || !p || !p->pCoreSDL)
        return false;
    GLdouble renderedX1 = 0.0, renderedY1 = 0.0, renderedX2 = 0.0, renderedY2 = 0.0;
    view.GetRenderedViewportRect(renderedX1, renderedY1, renderedX2, renderedY2);
    // Clamp before the multiplication so a collapsed viewport still gives a finite aspect.
    const double viewportWidth = std::max(renderedX2 - renderedX1, 1.0) * p->pCoreSDL->Width;
    const double viewportHeight = std::max(renderedY1 - renderedY2, 1.0) * p->pCoreSDL->Height;
    const double aspect = viewportWidth / viewportHeight;
    const double tanFov = std::tan(std::clamp(view.CameraFovDeg, 1.0, 170.0) * M_PI / 360.0);

    const double rx = (2.0 * x01 - 1.0) * aspect * tanFov;
    const double ry = (1.0 - 2.0 * y01) * tanFov;

    const double renderYawDeg = view.bAutoRotate
                                    ? view.CameraYawDeg + SDL_GetTicks() * 0.001 * view.AutoRotateDegPerSec
                                    : view.CameraYawDeg;
    const double pitch = -view.CameraPitchDeg * M_PI / 180.0;
    const double yaw = -renderYawDeg * M_PI / 180.0;
    const double cosPitch = std::cos(pitch), sinPitch = std::sin(pitch);
    const double cosYaw = std::cos(yaw), sinYaw = std::sin(yaw);

    const double py = ry * cosPitch + sinPitch;
    const double pz = ry * sinPitch - cosPitch;
    ray.DirX = rx * cosYaw + pz * sinYaw;
    ray.DirY = py;
    ray.DirZ = pz * cosYaw - rx * sinYaw;
    if (std::abs(ray.DirY) < 1e-6)
        return false;

    const double positivePitch = view.CameraPitchDeg * M_PI / 180.0;
    const double qy = view.CameraDistance * std::sin(positivePitch) - view.PanY * std::cos(positivePitch);
    const double qz = view.PanY * std::sin(positivePitch) + view.CameraDistance * std::cos(positivePitch);
    const double qx = -view.PanX;
    ray.EyeX = view.WorldOffsetX + qx * cosYaw + qz * sinYaw;
    ray.EyeY = qy;
    ray.EyeZ = view.WorldOffsetZ - qx * sinYaw + qz * cosYaw;
    return true;
}
} // namespace

bool GLViewport::ScreenToSpringMapWorld(double x01, double y01, Vec3D& outWorld) const
{
    PickRay ray;
    if (!BuildPickRay(*this, x01, y01, ray))
        return false;
    double distance = (0.0 - ray.EyeY) / ray.DirY;
    if (distance < 0.0)
        return false;
    for (int i = 0; i < 2; ++i)
    {
        const float h = SpringMap.GetTerrainHeight(static_cast<float>(ray.EyeX + ray.DirX * distance),
                                                   static_cast<float>(ray.EyeZ + ray.DirZ * distance));
        distance = (static_cast<double>(h) - ray.EyeY) / ray.DirY;
    }
    if (distance < 0.0)
        return false;
    outWorld = Vec3D(ray.EyeX + ray.DirX * distance, 0.0, ray.EyeZ + ray.DirZ * distance);
    return true;
}

bool GLViewport::ScreenToSpringMapWorldAtHeight(double x01, double y01, double height, Vec3D& outWorld) const
{
    PickRay ray;
    if (!BuildPickRay(*this, x01, y01, ray))
        return false;
    const double distance = (height - ray.EyeY) / ray.DirY;
    if (distance < 0.0)
        return false;
    outWorld = Vec3D(ray.EyeX + ray.DirX * distance, height, ray.EyeZ + ray.DirZ * distance);
    return true;
}
