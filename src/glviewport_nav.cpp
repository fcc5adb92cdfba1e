// Navigation and interaction layer of GLViewport.
//
// Index of this file:
//   Input routing          MouseProcessing, EventMouseClick, EventMouseOut, camera drags
//   Picking                ScreenToSpringMapWorld, ScreenToSpringMapWorldAtHeight
//   Navigation widget      panel layout, hit testing, camera buttons, drawing, auto-rotate toggle
//   Selection and orders   selection, move orders, formation orders, air orders, the order
//                          gestures of MouseProcessing, their overlays
//   Effects panel          panel layout and drawing, preset buttons
//
// The layer throws nothing of its own and logs nothing: failures are bool results, and the only
// report a person sees is a status-bar message.

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <SDL3/SDL.h>
#include <epoxy/gl.h>

#include "airsim.h"
#include "core.h"
#include "glcolor.h"
#include "glviewport.h"
#include "glwindow.h"
#include "heading.h"
#include "mouse.h"
#include "rend.h"
#include "ttf.h"
#include "vehicleunit.h"

namespace
{
// The map view never looks flat along the ground nor straight down, where the yaw would be lost.
constexpr double MapPitchMinDeg = 8.0;
constexpr double MapPitchMaxDeg = 84.0;
constexpr double DegToRad = 0.017453292519943295;

// Tells the window system that this viewport consumed the frame's mouse input.
void MarkFrameTaken()
{
    if (p && p->pQuindle)
        p->pQuindle->MarkChildWindowProcessed();
}

// Viewport-local 0..1 to the global coordinate between the window edges From (at 0) and To (at 1).
double LocalToGlobal(double local01, double windowFrom, double windowTo)
{
    return windowFrom + (windowTo - windowFrom) * local01;
}
} // namespace

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
// Input routing
// =====================================================================================================

namespace
{
constexpr SDL_Scancode PatrolScancode = SDL_SCANCODE_P;
constexpr SDL_Scancode EscapeScancode = SDL_SCANCODE_ESCAPE;
constexpr std::uint64_t NavRepeatDelayMs = 90; // a press is one step; holding repeats after this
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
        MarkFrameTaken();
        return;
    }

    if (!bToggleTookPressOutside && frame.lPressed && bMouseInside && HoverNavButton > 0)
    {
        ApplyNavButton(HoverNavButton);
        bOrbitDrag = false;
        ActiveNavButton = HoverNavButton;
        NavRepeatStartMs = frame.now + NavRepeatDelayMs;
        NavLastRepeatMs = frame.now;
        MarkFrameTaken();
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
                    MarkFrameTaken();
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
            MarkFrameTaken();
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
        MarkFrameTaken();
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
        MarkFrameTaken();
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
        MarkFrameTaken();
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
        MarkFrameTaken();
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
        MarkFrameTaken();
    }
}

void GLViewport::EventMouseClick(int ButtonID, double x, double y)
{
    double localX01 = 0.0;
    double localY01 = 0.0;
    const bool insideRenderedViewport = GlobalToLocal01(x, y, localX01, localY01);

    if (ButtonID == 2)
    {
        // Right clicks over the map are unit orders, handled by MouseProcessing.
        if (bVehicleControl && IsMapViewActive() && insideRenderedViewport)
        {
            MarkFrameTaken();
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
        MarkFrameTaken();
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
// Picking
// =====================================================================================================
//
// The camera orbits the target (WorldOffsetX, 0, WorldOffsetZ) at CameraDistance; the pick rebuilds
// the renderer's view and walks the ray under the point back into the world:
//
//        eye *
//             `.   ray (not normalised)
//               `.
//   ~~~~~~~~~~~~~~*~~~~~~~ terrain, refined twice from the hit with the plane Y = 0
bool GLViewport::GetOrbitCamera(OrbitCamera& Camera) const
{
    Camera.WorldOffsetX = WorldOffsetX;
    Camera.WorldOffsetZ = WorldOffsetZ;
    // The renderer turns the view by the auto-rotation phase without changing CameraYawDeg.
    Camera.YawDeg = bAutoRotate ? CameraYawDeg + SDL_GetTicks() * 0.001 * AutoRotateDegPerSec : CameraYawDeg;
    Camera.PitchDeg = CameraPitchDeg;
    Camera.PanX = PanX;
    Camera.PanY = PanY;
    Camera.Distance = CameraDistance;
    Camera.FovDeg = CameraFovDeg;
    if (!p || !p->pCoreSDL)
        return false;
    GLdouble renderedX1 = 0.0, renderedY1 = 0.0, renderedX2 = 0.0, renderedY2 = 0.0;
    GetRenderedViewportRect(renderedX1, renderedY1, renderedX2, renderedY2);
    // Clamp before the multiplication so a collapsed viewport still gives a finite aspect.
    const double viewportWidth = std::max(renderedX2 - renderedX1, 1.0) * p->pCoreSDL->Width;
    const double viewportHeight = std::max(renderedY1 - renderedY2, 1.0) * p->pCoreSDL->Height;
    Camera.Aspect = viewportWidth / viewportHeight;
    return true;
}

namespace
{
bool BuildPickRay(const GLViewport& view, double x01, double y01, OrbitRay& ray)
{
    OrbitCamera camera;
    return view.SpringMap.IsLoaded() && view.SpringMap.IndexCount >= 1 && view.GetOrbitCamera(camera) &&
           BuildOrbitRay(camera, x01, y01, ray);
}
} // namespace

bool GLViewport::ScreenToSpringMapWorld(double x01, double y01, Vec3D& outWorld) const
{
    OrbitRay ray;
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
    OrbitRay ray;
    if (!BuildPickRay(*this, x01, y01, ray))
        return false;
    const double distance = (height - ray.EyeY) / ray.DirY;
    if (distance < 0.0)
        return false;
    outWorld = Vec3D(ray.EyeX + ray.DirX * distance, height, ray.EyeZ + ray.DirZ * distance);
    return true;
}

// =====================================================================================================
// Navigation widget: the camera buttons in the viewport's bottom-right corner (layout, hit testing,
// camera actions, drawing) and the auto-rotate toggle that shares that corner.
// =====================================================================================================

namespace
{
// Panel layout in panel coordinates (u right, v down, both 0..1). Regions are closed and disjoint;
// the gaps between them still belong to the panel, so a press there never reaches the map.
//
//   u  0.04     0.30 0.34     0.66 0.70     0.96
//      [ 1 zoom in ] [ 3 reset    ] [ 2 zoom out ]   v 0.04..0.20
//                      [ 4 ]                         v 0.26..0.37   rotate: pitch up
//                [ 6 ]         [ 7 ]                 v 0.38..0.49           yaw left / right
//                      [ 5 ]                         v 0.50..0.61           pitch down
//                      [ 8 ]                         v 0.62..0.73   pan: up
//                [10 ]         [11 ]                 v 0.74..0.85        left / right
//                      [ 9 ]                         v 0.86..0.97        down
//   u          0.27 0.41 0.43 0.57 0.59 0.73
enum class NavFaceGroup
{
    Zoom,
    Reset,
    Rotate,
    Pan
};

enum class NavGlyph
{
    Plus,
    Minus,
    Cross,
    ArrowUp,
    ArrowDown,
    ArrowLeft,
    ArrowRight
};

struct NavButtonRegion
{
    int Id;
    double U1, U2, V1, V2;
    NavFaceGroup Group;
    NavGlyph Glyph;
};

// In drawing order.
constexpr NavButtonRegion NavButtonRegions[] = {
    {1, 0.04, 0.30, 0.04, 0.20, NavFaceGroup::Zoom, NavGlyph::Plus},
    {3, 0.34, 0.66, 0.04, 0.20, NavFaceGroup::Reset, NavGlyph::Cross},
    {2, 0.70, 0.96, 0.04, 0.20, NavFaceGroup::Zoom, NavGlyph::Minus},
    {4, 0.43, 0.57, 0.26, 0.37, NavFaceGroup::Rotate, NavGlyph::ArrowUp},
    {6, 0.27, 0.41, 0.38, 0.49, NavFaceGroup::Rotate, NavGlyph::ArrowLeft},
    {7, 0.59, 0.73, 0.38, 0.49, NavFaceGroup::Rotate, NavGlyph::ArrowRight},
    {5, 0.43, 0.57, 0.50, 0.61, NavFaceGroup::Rotate, NavGlyph::ArrowDown},
    {8, 0.43, 0.57, 0.62, 0.73, NavFaceGroup::Pan, NavGlyph::ArrowUp},
    {10, 0.27, 0.41, 0.74, 0.85, NavFaceGroup::Pan, NavGlyph::ArrowLeft},
    {11, 0.59, 0.73, 0.74, 0.85, NavFaceGroup::Pan, NavGlyph::ArrowRight},
    {9, 0.43, 0.57, 0.86, 0.97, NavFaceGroup::Pan, NavGlyph::ArrowDown},
};

constexpr double NavWidgetSizeMin = 0.18;       // below this the glyphs stop being legible
constexpr double NavWidgetSizeMax = 0.48;       // above this the widget hides too much of the map
constexpr double NavWidgetMarginMax = 0.2;      // keeps the widget in the corner it is looked for in
constexpr double NavPanelHeightPerWidth = 1.55; // three rows of crosses under the zoom row

// Fixed, so the toggle stays put whatever the widget's size.
constexpr double RotateToggleX1 = 0.89, RotateToggleY1 = 0.935;
constexpr double RotateToggleX2 = 0.985, RotateToggleY2 = 0.985;

// The default camera of a view without a map: slightly below the horizon, close in.
constexpr double NavResetPitchDeg = -12.0;
constexpr double NavResetDistance = 3.2;
// The distance at which a pan step is exactly NavPanSpeed.
constexpr double NavPanReferenceDistance = 3.2;

constexpr float NavOutlineWidthPx = 1.6f;
constexpr float NavGlyphWidthPx = 2.2f;
constexpr double NavHighlightBoost = 0.16;

// Viewport-local 0..1 (y down) to Rend's -1..1 drawing range (y up).
double ToNdcX(double X01)
{
    return 2.0 * X01 - 1.0;
}
double ToNdcY(double Y01)
{
    return 1.0 - 2.0 * Y01;
}

// One primitive per frame pair: Rend batches the record, so the pairs cost little.
void DrawRect01(double X1, double Y1, double X2, double Y2, const GLColor& Color)
{
    if (!p || !p->pRend || !p->pRend->beginFrame())
        return;
    p->pRend->drawRect(static_cast<float>(ToNdcX(X1)), static_cast<float>(ToNdcY(Y1)),
                       static_cast<float>(ToNdcX(X2)), static_cast<float>(ToNdcY(Y2)), Color);
    p->pRend->endFrame();
}

void DrawLine01(double X1, double Y1, double X2, double Y2, const GLColor& Color, float WidthPx)
{
    if (!p || !p->pRend || !p->pRend->beginFrame())
        return;
    p->pRend->drawLine(static_cast<float>(ToNdcX(X1)), static_cast<float>(ToNdcY(Y1)),
                       static_cast<float>(ToNdcX(X2)), static_cast<float>(ToNdcY(Y2)), Color, WidthPx);
    p->pRend->endFrame();
}

// Top, right, bottom, left.
inline void DrawLineRect01(float WidthPx, double X1, double Y1, double X2, double Y2, const GLColor& Color)
{
    DrawLine01(X1, Y1, X2, Y1, Color, WidthPx);
    DrawLine01(X2, Y1, X2, Y2, Color, WidthPx);
    DrawLine01(X2, Y2, X1, Y2, Color, WidthPx);
    DrawLine01(X1, Y2, X1, Y1, Color, WidthPx);
}

// Computed in double and narrowed once, so a highlighted face is exactly its listed colour
// (0.80f + 0.16f in float lands one step above 0.96f).
GLColor MakeNavFaceColor(NavFaceGroup Group, bool bHighlighted)
{
    double r = 0.20, g = 0.56, b = 0.88; // pan
    switch (Group)
    {
    case NavFaceGroup::Zoom:
        r = 0.42, g = 0.28, b = 0.70;
        break;
    case NavFaceGroup::Reset:
        r = 0.36, g = 0.36, b = 0.40;
        break;
    case NavFaceGroup::Rotate:
        r = 0.80, g = 0.44, b = 0.18;
        break;
    case NavFaceGroup::Pan:
        break;
    }
    if (bHighlighted)
    {
        r = std::min(r + NavHighlightBoost, 1.0);
        g = std::min(g + NavHighlightBoost, 1.0);
        b = std::min(b + NavHighlightBoost, 1.0);
    }
    return GLColor(static_cast<float>(r), static_cast<float>(g), static_cast<float>(b), 0.92f);
}

GLColor MakeNavIconColor()
{
    return GLColor(0.92f, 0.95f, 1.0f, 0.98f);
}

// An arrow along (DirX, DirY), one of the four axis directions (y down): shaft through the centre,
// two head lines from the tip back 0.65 of the half-length and 0.55 of the half-size across.
void DrawNavArrow(double Cx, double Cy, double Sx, double Sy, int DirX, int DirY)
{
    const double tipX = Cx + DirX * Sx, tipY = Cy + DirY * Sy;
    const double headX = Cx + DirX * 0.35 * Sx, headY = Cy + DirY * 0.35 * Sy;
    const double acrossX = DirX == 0 ? 0.55 * Sx : 0.0;
    const double acrossY = DirX == 0 ? 0.0 : 0.55 * Sy;
    DrawLine01(Cx - DirX * Sx, Cy - DirY * Sy, tipX, tipY, MakeNavIconColor(), NavGlyphWidthPx);
    DrawLine01(tipX, tipY, headX - acrossX, headY - acrossY, MakeNavIconColor(), NavGlyphWidthPx);
    DrawLine01(tipX, tipY, headX + acrossX, headY + acrossY, MakeNavIconColor(), NavGlyphWidthPx);
}

void DrawNavGlyph(NavGlyph Glyph, double Cx, double Cy, double Sx, double Sy)
{
    switch (Glyph)
    {
    case NavGlyph::Minus:
        DrawLine01(Cx - Sx, Cy, Cx + Sx, Cy, MakeNavIconColor(), NavGlyphWidthPx);
        return;
    case NavGlyph::Cross:
        DrawLine01(Cx - Sx, Cy - Sy, Cx + Sx, Cy + Sy, MakeNavIconColor(), NavGlyphWidthPx);
        DrawLine01(Cx + Sx, Cy - Sy, Cx - Sx, Cy + Sy, MakeNavIconColor(), NavGlyphWidthPx);
        return;
    case NavGlyph::ArrowUp:
        DrawNavArrow(Cx, Cy, Sx, Sy, 0, -1);
        return;
    case NavGlyph::ArrowDown:
        DrawNavArrow(Cx, Cy, Sx, Sy, 0, 1);
        return;
    case NavGlyph::ArrowLeft:
        DrawNavArrow(Cx, Cy, Sx, Sy, -1, 0);
        return;
    case NavGlyph::ArrowRight:
        DrawNavArrow(Cx, Cy, Sx, Sy, 1, 0);
        return;
    case NavGlyph::Plus:
        break;
    }
    DrawLine01(Cx - Sx, Cy, Cx + Sx, Cy, MakeNavIconColor(), NavGlyphWidthPx);
    DrawLine01(Cx, Cy - Sy, Cx, Cy + Sy, MakeNavIconColor(), NavGlyphWidthPx);
}

// Face, outline, glyph, on exactly the rectangle that hit testing uses.
void DrawNavButton(const NavButtonRegion& Button, double X1, double Y1, double X2, double Y2,
                   bool bHighlighted)
{
    const double bx1 = X1 + Button.U1 * (X2 - X1), bx2 = X1 + Button.U2 * (X2 - X1);
    const double by1 = Y1 + Button.V1 * (Y2 - Y1), by2 = Y1 + Button.V2 * (Y2 - Y1);
    DrawRect01(bx1, by1, bx2, by2, MakeNavFaceColor(Button.Group, bHighlighted));
    DrawLineRect01(NavOutlineWidthPx, bx1, by1, bx2, by2, GLColor(0.92f, 0.95f, 1.0f, 0.95f));
    // Glyphs scale with the button, so they stretch with the viewport's aspect like the panel does.
    DrawNavGlyph(Button.Glyph, (bx1 + bx2) / 2.0, (by1 + by2) / 2.0, 0.26 * (bx2 - bx1), 0.26 * (by2 - by1));
}
} // namespace

bool GLViewport::GetNavWidgetPanelRect(double& X1, double& Y1, double& X2, double& Y2) const
{
    if (!bNavWidgetVisible)
        return false;
    const double size = std::clamp(NavWidgetSize, NavWidgetSizeMin, NavWidgetSizeMax);
    const double margin = std::clamp(NavWidgetMargin, 0.0, NavWidgetMarginMax);
    const double x2 = std::clamp(1.0 - margin, 0.0, 1.0);
    const double y2 = x2;
    const double x1 = std::clamp(1.0 - margin - size, 0.0, 1.0);
    const double y1 = std::clamp(1.0 - margin - NavPanelHeightPerWidth * size, 0.0, 1.0);
    // Only a non-finite size or margin gets here; the caller's outputs stay as they were.
    if (!(x2 > x1) || !(y2 > y1))
        return false;
    X1 = x1;
    Y1 = y1;
    X2 = x2;
    Y2 = y2;
    return true;
}

bool GLViewport::GetAutoRotateToggleRect(double& X1, double& Y1, double& X2, double& Y2) const
{
    if (!bAutoRotateToggleVisible)
        return false;
    X1 = RotateToggleX1;
    Y1 = RotateToggleY1;
    X2 = RotateToggleX2;
    Y2 = RotateToggleY2;
    return true;
}

int GLViewport::HitNavButton(double LocalX01, double LocalY01, bool* pbInsidePanel) const
{
    double x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
    const bool bOnPanel = GetNavWidgetPanelRect(x1, y1, x2, y2) && x1 <= LocalX01 && LocalX01 <= x2 &&
                          y1 <= LocalY01 && LocalY01 <= y2;
    if (pbInsidePanel)
        *pbInsidePanel = bOnPanel;
    if (!bOnPanel)
        return 0;
    const double u = (LocalX01 - x1) / std::max(x2 - x1, 1e-9);
    const double v = (LocalY01 - y1) / std::max(y2 - y1, 1e-9);
    for (const NavButtonRegion& button : NavButtonRegions)
    {
        if (button.U1 <= u && u <= button.U2 && button.V1 <= v && v <= button.V2)
            return button.Id;
    }
    return 0;
}

void GLViewport::ApplyNavButton(int ButtonID)
{
    ApplyNavButtonScaled(ButtonID, 1.0);
}

void GLViewport::ApplyNavButtonScaled(int ButtonID, double StepScale)
{
    // A zero scale still runs every code, so each one re-applies its bound.
    const double s = StepScale > 0.0 ? StepScale : 0.0;
    const double rotateStepDeg = std::max(NavRotateSpeed, 0.01) * s;
    // Pan faster when far away, so one step moves a similar share of the view at any distance.
    const double panStep =
        std::max(CameraDistance / NavPanReferenceDistance, 0.5) * std::max(NavPanSpeed, 0.0005) * s;
    const auto pitchBy = [this](double DeltaDeg)
    {
        const double pitchDeg = CameraPitchDeg + DeltaDeg;
        CameraPitchDeg = IsMapViewActive() ? std::min(MapPitchMaxDeg, std::max(MapPitchMinDeg, pitchDeg))
                                           : WrapAngleDeg(pitchDeg);
    };

    switch (ButtonID)
    {
    case 1: // zoom in: bounded on the near side only
        CameraDistance = std::max(CameraDistance - ZoomStep * NavZoomRate * s, MinCameraDistance);
        break;
    case 2: // zoom out: bounded on the far side only
        CameraDistance = std::min(CameraDistance + ZoomStep * NavZoomRate * s, MaxCameraDistance);
        break;
    case 3:
        if (IsMapViewActive())
        {
            ResetSpringMapCamera();
            break;
        }
        CameraYawDeg = 0.0;
        CameraPitchDeg = NavResetPitchDeg;
        CameraDistance = std::min(MaxCameraDistance, std::max(MinCameraDistance, NavResetDistance));
        PanX = PanY = WorldOffsetX = WorldOffsetZ = 0.0;
        break;
    case 4:
        pitchBy(-rotateStepDeg);
        break;
    case 5:
        pitchBy(rotateStepDeg);
        break;
    case 6:
        CameraYawDeg = WrapAngleDeg(CameraYawDeg - rotateStepDeg);
        break;
    case 7:
        CameraYawDeg = WrapAngleDeg(CameraYawDeg + rotateStepDeg);
        break;
    case 8:
        PanY += panStep;
        break;
    case 9:
        PanY -= panStep;
        break;
    case 10:
        PanX -= panStep;
        break;
    case 11:
        PanX += panStep;
        break;
    default:
        break;
    }
}

void GLViewport::RenderNavWidgetOverlay() const
{
    double x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
    if (!GetNavWidgetPanelRect(x1, y1, x2, y2))
        return;

    // A 2D overlay over the scene: no depth test, alpha blending; the flags are put back after.
    const bool wasDepth = glIsEnabled(GL_DEPTH_TEST) == GL_TRUE;
    const bool wasBlend = glIsEnabled(GL_BLEND) == GL_TRUE;
    if (wasDepth)
        glDisable(GL_DEPTH_TEST);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);

    DrawRect01(x1, y1, x2, y2, GLColor(0.04f, 0.06f, 0.11f, 0.72f));
    for (const NavButtonRegion& button : NavButtonRegions)
        DrawNavButton(button, x1, y1, x2, y2, button.Id == HoverNavButton || button.Id == ActiveNavButton);

    if (wasDepth)
        glEnable(GL_DEPTH_TEST);
    else
        glDisable(GL_DEPTH_TEST);
    if (wasBlend)
        glEnable(GL_BLEND);
    else
        glDisable(GL_BLEND);
}

void GLViewport::SyncAutoRotateToggleState() const
{
    if (!pAutoRotateToggle)
        return;
    GLToggleButton& toggle = *pAutoRotateToggle;
    toggle.bVisible = bAutoRotateToggleVisible;
    toggle.bEnabled = bAutoRotateToggleVisible;
    toggle.pParentWindow = pParentWindow;
    toggle.SetChecked(bAutoRotate, false);
    toggle.Label = "Rotate";
}

void GLViewport::RenderAutoRotateToggleOverlay() const
{
    double x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
    if (!GetAutoRotateToggleRect(x1, y1, x2, y2) || !pAutoRotateToggle)
        return;
    // The toggle is not kept up to date as the viewport changes: it is synced right before it draws.
    SyncAutoRotateToggleState();
    pAutoRotateToggle->RenderInRect(
        LocalToGlobal(x1, WindowX1, WindowX2), LocalToGlobal(y1, WindowY1, WindowY2),
        LocalToGlobal(x2, WindowX1, WindowX2), LocalToGlobal(y2, WindowY1, WindowY2));
}

// =====================================================================================================
// Selection and orders
//   Selection          box and click selection
//   Move orders        one waypoint for the selected vehicles, spread over spiral slots
//   Formation orders   the vehicles lined up along a drawn path
//   Air orders         routes and patrols of the selected aircraft
//   Gestures           the patrol, box-selection and order steps of MouseProcessing
//   Overlays           the selection band and the formation preview
// =====================================================================================================

namespace
{
const char* const ReplaceMoveMessage = "Selected units ordered to waypoint.";
const char* const QueueMoveMessage = "Waypoint queued for selected units.";

bool IsShiftKeyDown()
{
    return (SDL_GetModState() & SDL_KMOD_SHIFT) != 0;
}

bool IsAltKeyDown()
{
    return (SDL_GetModState() & SDL_KMOD_ALT) != 0;
}

bool IsAnyVehicleSelected(const std::vector<bool>& mask)
{
    return std::find(mask.begin(), mask.end(), true) != mask.end();
}

float LocalToGlobalX(const GLViewport& view, double x01)
{
    return static_cast<float>(LocalToGlobal(x01, view.WindowX1, view.WindowX2));
}

float LocalToGlobalY(const GLViewport& view, double y01)
{
    return static_cast<float>(LocalToGlobal(y01, view.WindowY1, view.WindowY2));
}
} // namespace

// --- Selection -----------------------------------------------------------------------------------

namespace
{
constexpr double SelectionClickMaxLocal = 0.012; // per axis: a smaller gesture is a click, not a band
constexpr double VehiclePickRadiusFactor = 1.45; // of Radius: a click just beside a vehicle still hits it
constexpr double VehiclePickRadiusMin = 28.0;    // map units: small vehicles stay easy to click
constexpr double AirPickRadius = 48.0;           // map units
constexpr double NoPickDistance = 1e30;
constexpr double SquaredTestMargin = 1.0 + 1e-6;
constexpr double BandEdgeTolerance = 1e-5; // squared map units: a unit on an edge counts as inside
constexpr double BandMinExtentLocal = 0.001;

// Aircraft are picked where they fly: at the height of the first aircraft. Empty entries are
// skipped here as everywhere else; false when there is no aircraft.
bool FindAirSelectionHeight(const std::vector<std::unique_ptr<AirUnit>>& airUnits, double& height)
{
    for (const auto& airUnit : airUnits)
        if (airUnit)
        {
            height = airUnit->Aircraft.Position.Y;
            return true;
        }
    return false;
}

using BandCorners = std::array<Vec3D, 4>;

// The band's corners on the map, (left, top), (right, top), (right, bottom), (left, bottom); on the
// terrain, or on the plane at *pHeight when given. False at the first corner that misses.
bool ProjectBandCorners(const GLViewport& view, double left, double top, double right, double bottom,
                        const double* pHeight, BandCorners& corners)
{
    const double xs[4] = {left, right, right, left};
    const double ys[4] = {top, top, bottom, bottom};
    for (std::size_t k = 0; k < corners.size(); ++k)
    {
        const bool bHit = pHeight ? view.ScreenToSpringMapWorldAtHeight(xs[k], ys[k], *pHeight, corners[k])
                                  : view.ScreenToSpringMapWorld(xs[k], ys[k], corners[k]);
        if (!bHit)
            return false;
    }
    return true;
}

// The projected band's edges, set up once for a test over many units. A point is inside (or on an
// edge, within the tolerance) when no two edges see it on strictly opposite sides: the band is
// convex, and the test needs no particular winding.
class BandEdges
{
  public:
    explicit BandEdges(const BandCorners& corners)
    {
        for (std::size_t e = 0; e < corners.size(); ++e)
        {
            const Vec3D& a = corners[e];
            const Vec3D& b = corners[(e + 1) % corners.size()];
            OriginX[e] = a.X;
            OriginZ[e] = a.Z;
            DirX[e] = b.X - a.X;
            DirZ[e] = b.Z - a.Z;
        }
    }

    bool Contains(const Vec3D& position) const
    {
        bool bPositive = false;
        bool bNegative = false;
        for (std::size_t e = 0; e < 4; ++e)
        {
            const double cross = DirX[e] * (position.Z - OriginZ[e]) - DirZ[e] * (position.X - OriginX[e]);
            // Branch-free: whether a unit lies inside is unpredictable.
            bPositive |= cross > BandEdgeTolerance;
            bNegative |= cross < -BandEdgeTolerance;
        }
        return !(bPositive && bNegative);
    }

  private:
    double OriginX[4] = {}, OriginZ[4] = {}, DirX[4] = {}, DirZ[4] = {};
};
} // namespace

void GLViewport::SelectVehiclesInScreenRect(double x1, double y1, double x2, double y2, bool additive)
{
    if (!bVehicleControl)
        return;
    const std::vector<VehicleUnit*> vehicles = GetControllableVehicles();
    if (VehicleSelectionMask.size() != vehicles.size() || !additive)
        VehicleSelectionMask.assign(vehicles.size(), false);
    if (!additive)
        bAirUnitsSelected = false;

    const bool bClick =
        std::abs(x2 - x1) < SelectionClickMaxLocal && std::abs(y2 - y1) < SelectionClickMaxLocal;
    const bool bPicked =
        bClick ? SelectNearestUnit(vehicles, x1, y1) : SelectUnitsInBand(vehicles, x1, y1, x2, y2);
    if (!bPicked)
        return;

    // The count covers the whole selection, flags kept by an additive gesture included; the
    // aircraft count as one unit.
    const int count =
        static_cast<int>(std::count(VehicleSelectionMask.begin(), VehicleSelectionMask.end(), true)) +
        (bAirUnitsSelected ? 1 : 0);
    ShowStatus(count > 0 ? std::to_string(count) + " unit(s) selected. Right click to move."
                         : "No units selected.");
}

bool GLViewport::SelectNearestUnit(const std::vector<VehicleUnit*>& vehicles, double x01, double y01)
{
    Vec3D point;
    if (!ScreenToSpringMapWorld(x01, y01, point))
        return false;
    // Aircraft are measured where the click meets their flying height, falling back to the ground.
    Vec3D airReference = point;
    double airHeight = 0.0;
    Vec3D airPoint;
    if (FindAirSelectionHeight(AirUnits, airHeight) &&
        ScreenToSpringMapWorldAtHeight(x01, y01, airHeight, airPoint))
        airReference = airPoint;

    // Strict comparisons: on a tie the earlier vehicle stays, and a vehicle beats an aircraft.
    int nearest = -1;
    double nearestDistance = NoPickDistance;
    for (std::size_t i = 0; i < vehicles.size(); ++i)
    {
        const double dx = vehicles[i]->Position.X - point.X;
        const double dz = vehicles[i]->Position.Z - point.Z;
        const double pickRadius = std::max(static_cast<double>(vehicles[i]->Radius) * VehiclePickRadiusFactor,
                                           VehiclePickRadiusMin);
        // hypot is slow and nearly every vehicle is far away: a squared test with a margin far above
        // its rounding skips those without changing which vehicle wins.
        const double reach = pickRadius * SquaredTestMargin;
        if (dx * dx + dz * dz > reach * reach)
            continue;
        const double d = std::hypot(dx, dz);
        if (d < pickRadius && d < nearestDistance)
        {
            nearestDistance = d;
            nearest = static_cast<int>(i);
        }
    }
    bool bNearestAir = false;
    for (const auto& airUnit : AirUnits)
    {
        if (!airUnit)
            continue;
        const Vec3D& position = airUnit->Aircraft.Position;
        const double d = std::hypot(position.X - airReference.X, position.Z - airReference.Z);
        if (d < AirPickRadius && d < nearestDistance)
        {
            nearestDistance = d;
            nearest = -1;
            bNearestAir = true;
        }
    }

    if (nearest >= 0)
    {
        VehicleSelectionMask[static_cast<std::size_t>(nearest)] = true;
        LastSelectedVehicleIndex = nearest;
    }
    else if (bNearestAir)
    {
        bAirUnitsSelected = true;
    }
    return true;
}

bool GLViewport::SelectUnitsInBand(const std::vector<VehicleUnit*>& vehicles, double x1, double y1, double x2,
                                   double y2)
{
    const double left = std::min(x1, x2);
    const double right = std::max(x1, x2);
    const double top = std::min(y1, y2);
    const double bottom = std::max(y1, y2);
    BandCorners corners;
    if (!ProjectBandCorners(*this, left, top, right, bottom, nullptr, corners))
        return false;

    const BandEdges band(corners);
    // Every vehicle is an allocation of its own, so each test would wait on memory: the position a
    // few vehicles ahead is asked for early (both ends, as it may straddle a cache line). Whether a
    // vehicle lies inside is unpredictable, so 64 verdicts are gathered into a word without a
    // branch, and only the vehicles inside are then marked, in order.
    constexpr std::size_t PrefetchAhead = 16;
    constexpr std::size_t WordBits = 64;
    const std::size_t count = vehicles.size();
    for (std::size_t first = 0; first < count; first += WordBits)
    {
        const std::size_t end = std::min(count, first + WordBits);
        std::uint64_t inside = 0;
        for (std::size_t i = first; i < end; ++i)
        {
            if (i + PrefetchAhead < count)
            {
                const Vec3D& ahead = vehicles[i + PrefetchAhead]->Position;
                __builtin_prefetch(&ahead.X);
                __builtin_prefetch(&ahead.Z);
            }
            inside |= static_cast<std::uint64_t>(band.Contains(vehicles[i]->Position)) << (i - first);
        }
        for (; inside != 0; inside &= inside - 1)
        {
            const std::size_t i = first + static_cast<std::size_t>(std::countr_zero(inside));
            VehicleSelectionMask[i] = true;
            LastSelectedVehicleIndex = static_cast<int>(i);
        }
    }

    // Aircraft are tested against the band where it lies at their flying height.
    double airHeight = 0.0;
    BandCorners airCorners;
    if (FindAirSelectionHeight(AirUnits, airHeight) &&
        ProjectBandCorners(*this, left, top, right, bottom, &airHeight, airCorners))
    {
        const BandEdges airBand(airCorners);
        for (const auto& airUnit : AirUnits)
            if (airUnit && airBand.Contains(airUnit->Aircraft.Position))
            {
                bAirUnitsSelected = true;
                break;
            }
    }
    return true;
}

// --- Move orders ---------------------------------------------------------------------------------

namespace
{
constexpr double TravelDirectionMinLength = 1e-5; // closer than this the group has no direction
constexpr double SlotSpacingPerRadius = 1.58;
constexpr double SlotSpacingMin = 20.0;
constexpr double SlotRingFactor = 0.72;

struct SelectedGroup
{
    double SumX = 0.0;
    double SumZ = 0.0;
    float MaxRadius = 0.0f;
    int Count = 0;
};

SelectedGroup MeasureSelectedGroup(const std::vector<VehicleUnit*>& vehicles, const std::vector<bool>& mask)
{
    SelectedGroup group;
    for (std::size_t i = 0; i < vehicles.size(); ++i)
    {
        if (!mask[i])
            continue;
        group.SumX += vehicles[i]->Position.X;
        group.SumZ += vehicles[i]->Position.Z;
        group.MaxRadius = std::max(group.MaxRadius, vehicles[i]->Radius);
        ++group.Count;
    }
    return group;
}

using ProjectedUnits = std::vector<std::pair<double, std::size_t>>;

// Units sorted by their position along an axis through an origin (ties in no defined order).
ProjectedUnits OrderAlongAxis(const std::vector<VehicleUnit*>& vehicles, const std::vector<bool>& mask,
                              std::size_t selectedCount, double originX, double originZ, double axisX,
                              double axisZ)
{
    ProjectedUnits ordered;
    ordered.reserve(selectedCount);
    for (std::size_t i = 0; i < vehicles.size(); ++i)
        if (mask[i])
            ordered.emplace_back(
                (vehicles[i]->Position.X - originX) * axisX + (vehicles[i]->Position.Z - originZ) * axisZ, i);
    std::sort(ordered.begin(), ordered.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    return ordered;
}

// Spreads a group over sunflower slots around the waypoint, turned to the group's direction of
// travel, so the vehicles do not all drive to one spot. The leftmost vehicle (smallest projection on
// `right`) takes the centre and the others follow outwards along the spiral.
//
//            forward
//               ^   . 1
//          4 .  |
//               0 ------> right        slot k at sqrt(k) * spacing * 0.72, angle k * golden angle
//       2 .        . 3
void PlaceGroupOnSpiral(const GLViewport& view, const std::vector<VehicleUnit*>& vehicles,
                        const std::vector<bool>& mask, const SelectedGroup& group, const Vec3D& waypoint,
                        std::vector<Vec3D>& goals)
{
    const double centroidX = group.SumX / group.Count;
    const double centroidZ = group.SumZ / group.Count;
    double forwardX = waypoint.X - centroidX;
    double forwardZ = waypoint.Z - centroidZ;
    const double length = std::hypot(forwardX, forwardZ);
    if (length > TravelDirectionMinLength)
    {
        forwardX /= length;
        forwardZ /= length;
    }
    else
    {
        forwardX = 0.0;
        forwardZ = 1.0;
    }
    const double rightX = forwardZ;
    const double rightZ = -forwardX;

    const ProjectedUnits ordered = OrderAlongAxis(vehicles, mask, static_cast<std::size_t>(group.Count),
                                                  centroidX, centroidZ, rightX, rightZ);
    const double spacing =
        std::max(SlotSpacingMin, static_cast<double>(group.MaxRadius) * SlotSpacingPerRadius);
    for (std::size_t slot = 0; slot < ordered.size(); ++slot)
    {
        double offsetX = 0.0;
        double offsetZ = 0.0;
        if (slot > 0)
        {
            const double ringRadius = std::sqrt(static_cast<double>(slot)) * spacing * SlotRingFactor;
            const double angle = static_cast<double>(slot) * GoldenAngleRad;
            const double localRight = std::cos(angle) * ringRadius;
            const double localForward = std::sin(angle) * ringRadius;
            offsetX = rightX * localRight + forwardX * localForward;
            offsetZ = rightZ * localRight + forwardZ * localForward;
        }
        const std::size_t unit = ordered[slot].second;
        goals[unit] =
            view.FindDriveableVehicleWaypoint(Vec3D(waypoint.X + offsetX, 0.0, waypoint.Z + offsetZ));
    }
}
} // namespace

void GLViewport::SubmitSelectedVehicleRoute(const Vec3D& waypoint, bool append)
{
    if (bAirUnitsSelected)
        SubmitSelectedAirRoute(std::vector<Vec3D>{waypoint}, append);
    const std::vector<VehicleUnit*> vehicles = GetControllableVehicles();
    // A mask from an older vehicle list no longer says who is who: nobody moves.
    if (VehicleSelectionMask.size() != vehicles.size())
        VehicleSelectionMask.assign(vehicles.size(), false);

    std::vector<Vec3D> goals(vehicles.size(), waypoint);
    const SelectedGroup group = MeasureSelectedGroup(vehicles, VehicleSelectionMask);
    if (group.Count <= 1)
    {
        for (std::size_t i = 0; i < vehicles.size(); ++i)
            if (VehicleSelectionMask[i])
                goals[i] = FindDriveableVehicleWaypoint(waypoint);
    }
    else
    {
        PlaceGroupOnSpiral(*this, vehicles, VehicleSelectionMask, group, waypoint, goals);
    }
    SubmitVehicleRoutePlan(goals, VehicleSelectionMask, append);
}

bool GLViewport::SetSpringVehicleWaypointFromScreen(double globalX, double globalY, bool queueWaypoint)
{
    if (!bVehicleControl)
        return false;
    double x01 = 0.0;
    double y01 = 0.0;
    if (!GlobalToLocal01(globalX, globalY, x01, y01))
        return false;
    Vec3D waypoint;
    if (!ScreenToSpringMapWorld(x01, y01, waypoint))
        return false;
    if (!IsAnyVehicleSelected(VehicleSelectionMask) && !bAirUnitsSelected)
        return false;
    SubmitSelectedVehicleRoute(waypoint, queueWaypoint);
    ShowStatus(queueWaypoint ? QueueMoveMessage : ReplaceMoveMessage);
    return true;
}

// --- Formation orders ----------------------------------------------------------------------------

namespace
{
constexpr double FormationMinLength = 0.0001; // start and end closer than this: a plain move order
constexpr double PathSpanMin = 1e-9;          // keeps zero-length segments from dividing by zero

// Path walking, shared by the formation order and its preview.

// Running horizontal length of a map path; entry 0 is 0.
std::vector<double> MeasureMapPath(const std::vector<Vec3D>& path)
{
    std::vector<double> cumulative(path.size(), 0.0);
    for (std::size_t i = 1; i < path.size(); ++i)
        cumulative[i] = cumulative[i - 1] + std::hypot(path[i].X - path[i - 1].X, path[i].Z - path[i - 1].Z);
    return cumulative;
}

// Running length of a screen path in local units (not corrected for the aspect ratio).
std::vector<double> MeasureScreenPath(const std::vector<double>& xs, const std::vector<double>& ys)
{
    std::vector<double> cumulative(xs.size(), 0.0);
    for (std::size_t i = 1; i < xs.size(); ++i)
        cumulative[i] = cumulative[i - 1] + std::hypot(xs[i] - xs[i - 1], ys[i] - ys[i - 1]);
    return cumulative;
}

// A place on a path: the segment from point Segment - 1 to point Segment, and the fraction along it.
struct PathPlace
{
    std::size_t Segment = 1;
    double U = 0.0;
};

// The place at a distance along a path of at least two points. Places are asked for at growing
// distances, so the walk resumes at the previous place's segment: every segment it skipped ends
// before the previous distance and therefore before this one, so the result equals a walk from the
// first segment, in linear instead of quadratic time over all places.
PathPlace LocatePathPlace(const std::vector<double>& cumulative, double targetDistance,
                          std::size_t fromSegment)
{
    std::size_t i = fromSegment;
    while (targetDistance > cumulative[i] && i + 1 < cumulative.size())
        ++i;
    const double span = std::max(cumulative[i] - cumulative[i - 1], PathSpanMin);
    return {i, std::clamp((targetDistance - cumulative[i - 1]) / span, 0.0, 1.0)};
}

double Interpolate(double from, double to, double u)
{
    return from + (to - from) * u;
}
} // namespace

// A line formation along the drawn path: places at equal arc-length steps from its first point to
// its last, the vehicle furthest back along the start-to-end axis taking the first place.
void GLViewport::SubmitSelectedVehicleFormationRoute(const std::vector<Vec3D>& path, bool append)
{
    if (bAirUnitsSelected)
        SubmitSelectedAirRoute(path, append);
    const std::vector<VehicleUnit*> vehicles = GetControllableVehicles();
    if (VehicleSelectionMask.size() != vehicles.size())
        VehicleSelectionMask.assign(vehicles.size(), false);
    if (path.empty())
        return;

    const Vec3D& start = path.front();
    const Vec3D& end = path.back();
    double axisX = end.X - start.X;
    double axisZ = end.Z - start.Z;
    const double length = std::hypot(axisX, axisZ);
    // A single point or a closed loop has no direction to line up along.
    if (path.size() == 1 || length < FormationMinLength)
    {
        SubmitSelectedVehicleRoute(path.back(), append);
        return;
    }
    axisX /= length;
    axisZ /= length;

    const ProjectedUnits ordered =
        OrderAlongAxis(vehicles, VehicleSelectionMask, vehicles.size(), start.X, start.Z, axisX, axisZ);
    if (ordered.empty())
        return;

    const std::vector<double> cumulative = MeasureMapPath(path);
    std::vector<Vec3D> goals(vehicles.size(), end);
    std::vector<bool> active(vehicles.size(), false);
    const std::size_t n = ordered.size();
    PathPlace place;
    for (std::size_t slot = 0; slot < n; ++slot)
    {
        const double t = n == 1 ? 0.5 : static_cast<double>(slot) / static_cast<double>(n - 1);
        place = LocatePathPlace(cumulative, std::clamp(t, 0.0, 1.0) * cumulative.back(), place.Segment);
        const Vec3D& from = path[place.Segment - 1];
        const Vec3D& to = path[place.Segment];
        const Vec3D target(Interpolate(from.X, to.X, place.U), 0.0, Interpolate(from.Z, to.Z, place.U));
        const std::size_t unit = ordered[slot].second;
        goals[unit] = FindDriveableVehicleWaypoint(target);
        active[unit] = true;
    }
    SubmitVehicleRoutePlan(goals, active, append);
}

// --- Air orders ----------------------------------------------------------------------------------

void GLViewport::SubmitSelectedAirRoute(const std::vector<Vec3D>& path, bool append)
{
    if (!bAirUnitsSelected || path.empty())
        return;
    // A replacing route ends any patrol being placed.
    if (!append)
    {
        bAirPatrolPlacement = false;
        bAirPatrolRouteActive = false;
    }
    for (const auto& airUnit : AirUnits)
    {
        if (!airUnit)
            continue;
        const AircraftComponent& aircraft = airUnit->Aircraft;
        std::vector<Vec3D> airPath;
        airPath.reserve(path.size());
        for (const Vec3D& point : path)
            airPath.emplace_back(point.X, static_cast<double>(aircraft.TargetAltitude), point.Z);
        SubmitAirMoveCommand(*airUnit, std::move(airPath), append);
    }
}

void GLViewport::SubmitSelectedAirPatrol(const Vec3D& waypoint, bool append)
{
    if (!bAirUnitsSelected)
        return;
    for (const auto& airUnit : AirUnits)
    {
        if (!airUnit)
            continue;
        const AircraftComponent& aircraft = airUnit->Aircraft;
        SubmitAirPatrolCommand(*airUnit,
                               Vec3D(waypoint.X, static_cast<double>(aircraft.TargetAltitude), waypoint.Z),
                               append, 1.0f);
    }
}

// --- Gestures ------------------------------------------------------------------------------------

namespace
{
constexpr double OrderDragMinLocal = 0.006;  // farther from the press is a drag; also the sample step
constexpr double OrderSampleMinWorld = 12.0; // a sample is also due when the map point moved this far
constexpr double OrderReleaseMinWorld = 1.0; // the release point joins the path beyond this distance
} // namespace

void GLViewport::ProcessPatrolKeys(bool patrolKey, bool escapeKey)
{
    // Only press edges count: holding a key acts once.
    if (patrolKey && !bPrevPatrolKey && bAirUnitsSelected)
    {
        bAirPatrolPlacement = true;
        bAirPatrolRouteActive = false;
        ShowStatus("Patrol: left click to place; Shift-click appends; Escape/right click cancels.");
    }
    if (escapeKey && !bPrevEscapeKey && (bAirPatrolPlacement || bAirPatrolRouteActive))
    {
        bAirPatrolPlacement = false;
        bAirPatrolRouteActive = false;
        ShowStatus("Patrol placement cancelled.");
    }
    bPrevPatrolKey = patrolKey;
    bPrevEscapeKey = escapeKey;
}

bool GLViewport::ProcessPatrolClicks(const MouseFrame& frame)
{
    // A right press cancels placement wherever the pointer is.
    if (bAirPatrolPlacement && frame.rPressed)
    {
        bAirPatrolPlacement = false;
        bAirPatrolRouteActive = false;
        ShowStatus("Patrol placement cancelled.");
        MarkFrameTaken();
        return true;
    }
    if (!(bAirPatrolPlacement || bAirPatrolRouteActive) || !frame.lPressed || !bMouseInside ||
        frame.bInsideWidgetPanel)
        return false;

    const bool append = IsShiftKeyDown();
    if (bAirPatrolRouteActive && !append)
    {
        // A plain click after the route was issued closes the sequence and lets go of the aircraft.
        bAirUnitsSelected = false;
        bAirPatrolPlacement = false;
        bAirPatrolRouteActive = false;
        ShowStatus("Air unit deselected.");
        MarkFrameTaken();
        return true;
    }
    Vec3D waypoint;
    if (ScreenToSpringMapWorld(MouseLocalX, MouseLocalY, waypoint))
    {
        SubmitSelectedAirPatrol(waypoint, append);
        bAirPatrolRouteActive = true;
        if (append)
        {
            ShowStatus("Patrol point appended.");
        }
        else
        {
            bAirPatrolPlacement = false;
            ShowStatus("Patrol route issued. Shift-click to append; Escape/right click cancels.");
        }
    }
    MarkFrameTaken();
    return true;
}

void GLViewport::ProcessBoxSelection(const MouseFrame& frame)
{
    // Alt keeps the left button for the camera orbit.
    if (IsMapViewActive() && frame.lPressed && bMouseInside && !frame.bInsideWidgetPanel && !IsAltKeyDown())
    {
        bSelectionDragActive = true;
        bOrbitDrag = false;
        bPanDrag = false;
        ActiveNavButton = 0;
        SelectionStartX = SelectionEndX = MouseLocalX;
        SelectionStartY = SelectionEndY = MouseLocalY;
        MarkFrameTaken();
    }
    if (frame.lHeld && bSelectionDragActive)
    {
        SelectionEndX = MouseLocalX;
        SelectionEndY = MouseLocalY;
        MarkFrameTaken();
    }
    if (frame.lReleased && bSelectionDragActive)
    {
        SelectVehiclesInScreenRect(SelectionStartX, SelectionStartY, SelectionEndX, SelectionEndY,
                                   IsShiftKeyDown());
        bSelectionDragActive = false;
        MarkFrameTaken();
    }
}

bool GLViewport::ProcessOrderGesture(const MouseFrame& frame)
{
    // The widget panels are not tested: a right press has no meaning there.
    if (frame.rPressed && bMouseInside && bVehicleControl && IsMapViewActive() &&
        (bAirUnitsSelected || IsAnyVehicleSelected(VehicleSelectionMask)))
        StartOrderGesture();
    if (frame.rHeld && bOrderDrag)
        UpdateOrderGesture();
    if (frame.rReleased && bOrderDrag)
    {
        FinishOrderGesture();
        return true;
    }
    return false;
}

void GLViewport::StartOrderGesture()
{
    Vec3D pressWorld;
    const bool hasPressWorld = ScreenToSpringMapWorld(MouseLocalX, MouseLocalY, pressWorld);
    // A press off the map keeps the previous gesture's point, so a click still has a target.
    OrderPressWorld = hasPressWorld ? pressWorld : OrderLastWorld;
    OrderLastWorld = OrderPressWorld;
    bOrderDrag = true;
    bOrderDragMoved = false;
    bOrbitDrag = false;
    bPanDrag = false;
    OrderPressX = OrderCurrentX = MouseLocalX;
    OrderPressY = OrderCurrentY = MouseLocalY;
    FormationScreenX.assign(1, MouseLocalX);
    FormationScreenY.assign(1, MouseLocalY);
    FormationPath.clear();
    if (hasPressWorld)
        FormationPath.push_back(OrderPressWorld);
    MarkFrameTaken();
}

void GLViewport::UpdateOrderGesture()
{
    OrderCurrentX = MouseLocalX;
    OrderCurrentY = MouseLocalY;
    if (std::hypot(MouseLocalX - OrderPressX, MouseLocalY - OrderPressY) > OrderDragMinLocal)
        bOrderDragMoved = true;

    Vec3D world;
    if (ScreenToSpringMapWorld(MouseLocalX, MouseLocalY, world))
    {
        OrderLastWorld = world;
        // Samples follow the pointer on screen, and also the ground where a small pointer move covers
        // much of it (near the horizon). After a press off the map the first map point is taken at once.
        const bool addSample = FormationScreenX.empty() ||
                               std::hypot(MouseLocalX - FormationScreenX.back(),
                                          MouseLocalY - FormationScreenY.back()) > OrderDragMinLocal ||
                               FormationPath.empty() ||
                               std::hypot(world.X - FormationPath.back().X,
                                          world.Z - FormationPath.back().Z) > OrderSampleMinWorld;
        if (addSample)
        {
            FormationScreenX.push_back(MouseLocalX);
            FormationScreenY.push_back(MouseLocalY);
            FormationPath.push_back(world);
        }
    }
    MarkFrameTaken();
}

void GLViewport::FinishOrderGesture()
{
    // Shift at the release decides, not Shift at the press.
    const bool queueWaypoint = IsShiftKeyDown();
    Vec3D releaseWorld;
    if (ScreenToSpringMapWorld(MouseLocalX, MouseLocalY, releaseWorld))
    {
        OrderLastWorld = releaseWorld;
        if (FormationPath.empty() ||
            std::hypot(releaseWorld.X - FormationPath.back().X, releaseWorld.Z - FormationPath.back().Z) >
                OrderReleaseMinWorld)
            FormationPath.push_back(releaseWorld);
    }

    // Once a drag, always a drag: coming back to the press point still draws a formation.
    const bool bDrag = bOrderDragMoved || std::hypot(OrderCurrentX - OrderPressX,
                                                     OrderCurrentY - OrderPressY) > OrderDragMinLocal;
    if (bDrag)
    {
        if (FormationPath.size() < 2)
            FormationPath.push_back(OrderLastWorld);
        SubmitSelectedVehicleFormationRoute(FormationPath, queueWaypoint);
        ShowStatus(queueWaypoint ? "Formation waypoint queued." : "Formation move order issued.");
    }
    else
    {
        SubmitSelectedVehicleRoute(OrderLastWorld, queueWaypoint);
        ShowStatus(queueWaypoint ? QueueMoveMessage : ReplaceMoveMessage);
    }
    bOrderDrag = false;
    bOrderDragMoved = false;
    MarkFrameTaken();
}

// --- Overlays ------------------------------------------------------------------------------------

namespace
{
constexpr float PreviewCrossHalfSize = 0.008f;
} // namespace

void GLViewport::RenderUnitSelectionOverlay() const
{
    if (!bVehicleControl || !bSelectionDragActive)
        return;
    const double left = std::min(SelectionStartX, SelectionEndX);
    const double right = std::max(SelectionStartX, SelectionEndX);
    const double top = std::min(SelectionStartY, SelectionEndY);
    const double bottom = std::max(SelectionStartY, SelectionEndY);
    // A band thin on one axis only is still drawn, so a straight drag shows at once.
    if (right - left < BandMinExtentLocal && bottom - top < BandMinExtentLocal)
        return;
    if (!p || !p->pRend || !p->pRend->beginFrame())
        return;
    Rend& rend = *p->pRend;
    const float gLeft = LocalToGlobalX(*this, left);
    const float gRight = LocalToGlobalX(*this, right);
    const float gTop = LocalToGlobalY(*this, top);
    const float gBottom = LocalToGlobalY(*this, bottom);
    // The fill's translucency relies on the blend state of the draw pass.
    rend.drawRect(gLeft, gTop, gRight, gBottom, GLColor(0.18f, 0.82f, 1.0f, 0.12f));
    const GLColor outline(0.3f, 0.92f, 1.0f, 0.96f);
    rend.drawLine(gLeft, gTop, gRight, gTop, outline, 1.5f);
    rend.drawLine(gRight, gTop, gRight, gBottom, outline, 1.5f);
    rend.drawLine(gRight, gBottom, gLeft, gBottom, outline, 1.5f);
    rend.drawLine(gLeft, gBottom, gLeft, gTop, outline, 1.5f);
    rend.endFrame();
}

// Previews the formation order while the right button draws its path: the path, and a cross where
// each selected vehicle will stand (by screen length, without drivable snapping).
void GLViewport::RenderFormationOrderOverlay() const
{
    if (!bVehicleControl || !bOrderDrag || !p || !p->pRend || !p->pRend->beginFrame())
        return;
    Rend& rend = *p->pRend;
    const GLColor line(1.0f, 0.9f, 0.22f, 0.96f);
    const GLColor tick(0.24f, 0.95f, 1.0f, 0.9f);
    const std::vector<double>& xs = FormationScreenX;
    const std::vector<double>& ys = FormationScreenY;

    // Mismatched sample lists count as no path: the straight press-to-pointer line stands in.
    const bool bHasPath = xs.size() >= 2 && ys.size() == xs.size();
    if (bHasPath)
    {
        for (std::size_t i = 1; i < xs.size(); ++i)
            rend.drawLine(LocalToGlobalX(*this, xs[i - 1]), LocalToGlobalY(*this, ys[i - 1]),
                          LocalToGlobalX(*this, xs[i]), LocalToGlobalY(*this, ys[i]), line, 2.0f);
    }
    else
    {
        rend.drawLine(LocalToGlobalX(*this, OrderPressX), LocalToGlobalY(*this, OrderPressY),
                      LocalToGlobalX(*this, OrderCurrentX), LocalToGlobalY(*this, OrderCurrentY), line, 2.0f);
    }

    const int selectedCount =
        static_cast<int>(std::count(VehicleSelectionMask.begin(), VehicleSelectionMask.end(), true));
    const int slots = std::max(selectedCount, 1);
    const std::vector<double> cumulative = bHasPath ? MeasureScreenPath(xs, ys) : std::vector<double>();
    PathPlace place;
    for (int i = 0; i < slots; ++i)
    {
        const float t = selectedCount <= 1 ? 0.5f : static_cast<float>(i) / static_cast<float>(slots - 1);
        double lx = OrderPressX + (OrderCurrentX - OrderPressX) * t;
        double ly = OrderPressY + (OrderCurrentY - OrderPressY) * t;
        if (bHasPath)
        {
            place = LocatePathPlace(cumulative, t * cumulative.back(), place.Segment);
            lx = Interpolate(xs[place.Segment - 1], xs[place.Segment], place.U);
            ly = Interpolate(ys[place.Segment - 1], ys[place.Segment], place.U);
        }
        const float x = LocalToGlobalX(*this, lx);
        const float y = LocalToGlobalY(*this, ly);
        const float s = PreviewCrossHalfSize;
        rend.drawLine(x - s, y, x + s, y, tick, 1.5f);
        rend.drawLine(x, y - s, x, y + s, tick, 1.5f);
    }
    rend.endFrame();
}

// =====================================================================================================
// Effects panel
// =====================================================================================================
//
// A fixed box in the upper right of the viewport that shows the jet-exhaust preset, the feature
// switches and the cost of the effect passes. It only displays: every figure is written by the
// effects rendering before the panel is drawn. Its three preset buttons are hit-tested with the
// very float geometry they are drawn with, so a pointer on a drawn button's pixel hits that button.
//
//   left                                               right
//   +--------------------------------------------------+  top
//   | MIRAVEL EFFECTS                                   |  top - 0.03   title
//   | Preset Medium | target 960x540                    |  top - 0.06   line1
//   | [  Low  ]  [ Medium ]  [  High  ]                 |  top - 0.07 .. top - 0.09  buttons
//   | ===========------------------                     |  top - 0.095 .. top - 0.108  quality bar
//   | Shimmer ON  Bloom ON  Fog ON  Trails ON           |  top - 0.12   line2
//   | ========-------------------                       |  top - 0.15 .. top - 0.163  scale bar
//   | help / CPU / GPU rows / status                    |  top - 0.19 .. top - 0.28
//   +--------------------------------------------------+  bottom
//   x0 = left + 0.012; buttons spread from x0 to right - 0.016 with gaps of 0.006.
//
// Every distance is in global units applied to the mapped floats: only the rectangle scales with
// the viewport, so in a short viewport the last rows fall below the panel; nothing clips them.

namespace
{
struct EffectsPreset
{
    JetExhaustQuality Quality;
    float Scale;
    const char* Label;
};

// One preset per button, left to right; the labels double as the preset names of the first row.
constexpr EffectsPreset EffectsPresets[] = {
    {JetExhaustQuality::Low, 0.5f, "Low"},
    {JetExhaustQuality::Medium, 0.75f, "Medium"},
    {JetExhaustQuality::High, 1.0f, "High"},
};
constexpr int EffectsPresetCount = static_cast<int>(std::size(EffectsPresets));

constexpr std::size_t EffectsStatusMaxChars = 56; // what fits the panel's width at the small font
constexpr int EffectsMinFontPx = 9;               // smaller text is unreadable

// The panel rectangle in global coordinates: mapped in double, then rounded once to float, so the
// drawing and the hit test start from the same bits.
struct EffectsPanelGlobalRect
{
    float Left = 0.0f, Right = 0.0f, Top = 0.0f, Bottom = 0.0f;
};

float MapEffectsPanelCoord(double local01, double windowFrom, double windowTo)
{
    return static_cast<float>(LocalToGlobal(local01, windowFrom, windowTo));
}

EffectsPanelGlobalRect MapEffectsPanelRect(const GLViewport& view, double x1, double y1, double x2, double y2)
{
    return {MapEffectsPanelCoord(x1, view.WindowX1, view.WindowX2),
            MapEffectsPanelCoord(x2, view.WindowX1, view.WindowX2),
            MapEffectsPanelCoord(y1, view.WindowY1, view.WindowY2),
            MapEffectsPanelCoord(y2, view.WindowY1, view.WindowY2)};
}

// The preset buttons' float geometry, shared by drawing and hit test. A panel narrower than its
// margins gives a negative width, and then no button can be hit.
struct EffectsPresetButtons
{
    float TopY = 0.0f;    // upper edge
    float BottomY = 0.0f; // lower edge
    float Width = 0.0f;
    float FirstX = 0.0f;

    explicit EffectsPresetButtons(const EffectsPanelGlobalRect& panel)
        : TopY(panel.Top - 0.07f), BottomY(TopY - 0.02f), Width((panel.Right - panel.Left - 0.04f) / 3.0f),
          FirstX(panel.Left + 0.012f)
    {
    }

    float GetLeft(int button) const { return static_cast<float>(button) * (Width + 0.006f) + FirstX; }

    // The button under a global point, every edge inclusive; -1 for none.
    int Hit(float x, float y) const
    {
        for (int button = 0; button < EffectsPresetCount; ++button)
        {
            const float buttonX = GetLeft(button);
            if (buttonX <= x && x <= buttonX + Width && BottomY <= y && y <= TopY)
                return button;
        }
        return -1;
    }
};

// A figure as a whole number, halves away from zero. Out-of-range values saturate at the int32
// limits and NaN prints as 0, so a broken timer shows a figure instead of converting undefinedly.
std::string FormatEffectsFigure(double value)
{
    const double rounded = std::round(value);
    std::int32_t whole = 0;
    if (rounded >= 2147483647.0)
        whole = std::numeric_limits<std::int32_t>::max();
    else if (rounded <= -2147483648.0)
        whole = std::numeric_limits<std::int32_t>::min();
    else if (!std::isnan(rounded))
        whole = static_cast<std::int32_t>(rounded);
    return std::to_string(whole);
}

const char* FormatEffectsSwitch(bool bOn)
{
    return bOn ? "ON" : "OFF";
}

// Shader and composite-link failures are the messages that need a person's attention.
bool IsEffectsErrorStatus(const std::string& status)
{
    return status.starts_with("Shader") || status.starts_with("Composite link");
}

void DrawEffectsPanelShapes(const GLViewport& view, Rend& rend, const EffectsPanelGlobalRect& panel)
{
    const JetExhaustDebugSettings& settings = view.JetExhaust.Debug();
    const int quality = static_cast<int>(settings.Quality);
    const float qualityFraction = quality == 0 ? 0.33f : (quality == 1 ? 0.66f : 1.0f);
    const float x0 = panel.Left + 0.012f;

    rend.drawRect(panel.Left, panel.Top, panel.Right, panel.Bottom, GLColor(0.025f, 0.045f, 0.075f, 0.9f));
    rend.drawLine(panel.Left, panel.Top, panel.Right, panel.Top, GLColor(0.25f, 0.88f, 1.0f, 0.95f), 1.5f);
    rend.drawLine(panel.Right, panel.Top, panel.Right, panel.Bottom, GLColor(0.25f, 0.88f, 1.0f, 0.75f),
                  1.0f);
    rend.drawLine(panel.Right, panel.Bottom, panel.Left, panel.Bottom, GLColor(0.25f, 0.88f, 1.0f, 0.75f),
                  1.0f);
    rend.drawLine(panel.Left, panel.Bottom, panel.Left, panel.Top, GLColor(0.25f, 0.88f, 1.0f, 0.75f), 1.0f);

    // Bars are unclamped: a value above 1 runs past the full length, a negative one runs leftwards.
    rend.drawRect(x0, panel.Top - 0.095f, 0.39f * qualityFraction + x0, panel.Top - 0.108f,
                  GLColor(0.2f, 0.78f, 1.0f, 0.85f));
    rend.drawRect(x0, panel.Top - 0.15f, 0.39f * view.JetEffectsScale + x0, panel.Top - 0.163f,
                  GLColor(0.96f, 0.6f, 0.18f, 0.85f));

    const EffectsPresetButtons buttons(panel);
    for (int button = 0; button < EffectsPresetCount; ++button)
    {
        const float bx = buttons.GetLeft(button);
        const GLColor color =
            quality == button ? GLColor(0.18f, 0.7f, 1.0f, 0.82f) : GLColor(0.12f, 0.18f, 0.26f, 0.85f);
        rend.drawRect(bx, buttons.TopY, bx + buttons.Width, buttons.BottomY, color);
    }
}

void DrawEffectsPanelText(const GLViewport& view, const Rend& rend, TTF& ttf,
                          const EffectsPanelGlobalRect& panel)
{
    const JetExhaustDebugSettings& settings = view.JetExhaust.Debug();
    const int quality = static_cast<int>(settings.Quality);
    const char* qualityName = quality == 0 || quality == 1 ? EffectsPresets[quality].Label : "High";
    const int font = rend.FontSmallerPx > EffectsMinFontPx ? rend.FontSmallerPx : EffectsMinFontPx;
    const float x0 = panel.Left + 0.012f;
    const auto drawRow = [&](const std::string& text, float offset, const GLColor& color)
    { ttf.Text3DL(text.c_str(), x0, panel.Top - offset, 0.02f, font, color); };
    const GLColor normal(0.75f, 0.88f, 0.96f, 1.0f);

    drawRow("MIRAVEL EFFECTS", 0.03f, GLColor(0.72f, 0.94f, 1.0f, 1.0f));
    drawRow(std::string("Preset ") + qualityName + " | target " + std::to_string(view.JetEffectsTargetWidth) +
                "x" + std::to_string(view.JetEffectsTargetHeight),
            0.06f, GLColor(0.95f, 0.96f, 1.0f, 1.0f));
    drawRow(std::string("Shimmer ") + FormatEffectsSwitch(settings.ShimmerEnabled) + "  Bloom " +
                FormatEffectsSwitch(settings.BloomEnabled) + "  Fog " +
                FormatEffectsSwitch(settings.DepthFogEnabled) + "  Trails " +
                FormatEffectsSwitch(settings.ContrailsEnabled),
            0.12f, normal);
    drawRow("Click presets/toggles; lower rows: scale then fog | Ctrl+Shift+R shaders | Ctrl+Shift+L effect",
            0.19f, normal);

    const double* cpu = view.JetEffectsCpuMs;
    drawRow("CPU ms scene " + FormatEffectsFigure(cpu[0]) + " mask " + FormatEffectsFigure(cpu[1]) +
                " bloom " + FormatEffectsFigure(cpu[3]) + " composite " + FormatEffectsFigure(cpu[4]),
            0.22f, normal);

    // GPU slot 1 has no label of its own but still costs frame time, so it counts in the total.
    const double* gpu = view.JetEffectsGpuMs;
    const double gpuTotal = gpu[0] + gpu[1] + gpu[2] + gpu[3] + gpu[4];
    drawRow("GPU ms scene " + FormatEffectsFigure(gpu[0]) + " mask " + FormatEffectsFigure(gpu[2]) +
                " bloom " + FormatEffectsFigure(gpu[3]) + " comp " + FormatEffectsFigure(gpu[4]) + " | " +
                FormatEffectsFigure(view.JetEffectsMemoryMiB) + " MiB",
            0.25f, gpuTotal > view.JetEffectsGpuBudgetMs ? GLColor(1.0f, 0.42f, 0.22f, 1.0f) : normal);

    const std::string& status = view.JetEffectsStatusText;
    drawRow(status.substr(0, EffectsStatusMaxChars), 0.28f,
            IsEffectsErrorStatus(status) ? GLColor(1.0f, 0.35f, 0.25f, 1.0f)
                                         : GLColor(0.55f, 1.0f, 0.7f, 1.0f));
}
} // namespace

bool GLViewport::GetJetEffectsPanelRect(double& x1, double& y1, double& x2, double& y2) const
{
    if (!bJetEffectsPanelVisible)
        return false;
    x1 = 0.6;
    y1 = 0.02;
    x2 = 0.98;
    y2 = 0.36;
    return true;
}

void GLViewport::RenderJetEffectsOverlay() const
{
    if (!bJetEffectsPanelVisible || !p || !p->pRend)
        return;
    Rend& rend = *p->pRend;
    if (!rend.beginFrame())
        return;
    double x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
    if (!GetJetEffectsPanelRect(x1, y1, x2, y2))
    {
        rend.endFrame();
        return;
    }
    const EffectsPanelGlobalRect panel = MapEffectsPanelRect(*this, x1, y1, x2, y2);
    DrawEffectsPanelShapes(*this, rend, panel);
    // Rows are composed after the frame is closed: an allocation failure then leaves no pair open.
    rend.endFrame();
    if (rend.pTTF)
        DrawEffectsPanelText(*this, rend, *rend.pTTF, panel);
}

bool GLViewport::ProcessEffectsPanelPress(MouseFrame& frame)
{
    double effectsX1 = 0.0, effectsY1 = 0.0, effectsX2 = 0.0, effectsY2 = 0.0;
    // Written as plain comparisons so a NaN pointer coordinate counts as outside.
    const bool bInsideEffectsPanel = GetJetEffectsPanelRect(effectsX1, effectsY1, effectsX2, effectsY2) &&
                                     effectsX1 <= MouseLocalX && MouseLocalX <= effectsX2 &&
                                     effectsY1 <= MouseLocalY && MouseLocalY <= effectsY2;
    if (bInsideEffectsPanel)
        frame.bInsideWidgetPanel = true;
    if (!frame.lPressed || !bMouseInside || !bInsideEffectsPanel)
        return false;

    const EffectsPanelGlobalRect panel =
        MapEffectsPanelRect(*this, effectsX1, effectsY1, effectsX2, effectsY2);
    const float mouseX = MapEffectsPanelCoord(MouseLocalX, WindowX1, WindowX2);
    const float mouseY = MapEffectsPanelCoord(MouseLocalY, WindowY1, WindowY2);
    const int button = EffectsPresetButtons(panel).Hit(mouseX, mouseY);
    if (button >= 0)
    {
        const EffectsPreset& preset = EffectsPresets[button];
        ApplyJetEffectsPreset(preset.Quality, preset.Scale, preset.Label);
    }
    else
    {
        // The rest of the panel swallows the press and ends any camera drag under it.
        bOrbitDrag = false;
        bPanDrag = false;
    }
    MarkFrameTaken();
    return true;
}
