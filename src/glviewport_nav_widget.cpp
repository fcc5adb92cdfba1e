// =====================================================================================================
// Navigation widget: the camera buttons in the viewport's bottom-right corner (layout, hit testing,
// camera actions, drawing) and the auto-rotate toggle that shares that corner.
// =====================================================================================================

#include <algorithm>

#include <epoxy/gl.h>

#include "core.h"
#include "glcolor.h"
#include "glviewport.h"
#include "rend.h"

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
// The map view never looks flat along the ground nor straight down, where the yaw would be lost.
constexpr double NavMapPitchMinDeg = 8.0;
constexpr double NavMapPitchMaxDeg = 84.0;

constexpr float NavOutlineWidthPx = 1.6f;
constexpr float NavGlyphWidthPx = 2.2f;
constexpr float NavHighlightBoost = 0.16f;

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

GLColor MakeNavFaceColor(NavFaceGroup Group, bool bHighlighted)
{
    float r = 0.20f, g = 0.56f, b = 0.88f; // pan
    switch (Group)
    {
    case NavFaceGroup::Zoom:
        r = 0.42f, g = 0.28f, b = 0.70f;
        break;
    case NavFaceGroup::Reset:
        r = 0.36f, g = 0.36f, b = 0.40f;
        break;
    case NavFaceGroup::Rotate:
        r = 0.80f, g = 0.44f, b = 0.18f;
        break;
    case NavFaceGroup::Pan:
        break;
    }
    if (bHighlighted)
    {
        r = std::min(r + NavHighlightBoost, 1.0f);
        g = std::min(g + NavHighlightBoost, 1.0f);
        b = std::min(b + NavHighlightBoost, 1.0f);
    }
    return GLColor(r, g, b, 0.92f);
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
        CameraPitchDeg = IsMapViewActive()
                             ? std::min(NavMapPitchMaxDeg, std::max(NavMapPitchMinDeg, pitchDeg))
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
    const double spanX = WindowX2 - WindowX1;
    const double spanY = WindowY2 - WindowY1; // negative: global Y grows upwards
    pAutoRotateToggle->RenderInRect(WindowX1 + x1 * spanX, WindowY1 + y1 * spanY, WindowX1 + x2 * spanX,
                                    WindowY1 + y2 * spanY);
}
