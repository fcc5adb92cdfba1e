#include "navtooltip.h"

#include <array>
#include <string>

#include "fontmetrics.h"
#include "glcolor.h"
#include "glviewport.h"
#include "pixelcanvas.h"

namespace
{
constexpr int FontPx = 12;
constexpr int PaddingPx = 5;
// Clear of the pointer's hotspot, and of an arrow cursor's image below and right of it.
constexpr int GapPx = 10;
constexpr int CursorWidthPx = 16, CursorHeightPx = 22;
} // namespace

const char* GetNavActionName(int Target)
{
    // clang-format off
    static const std::array<const char*, 13> Names = {
        nullptr, "Zoom in", "Zoom out", "Reset view", "Tilt up", "Tilt down", "Turn left", "Turn right",
        "Pan up", "Pan down", "Pan left", "Pan right", "Rotate: turn the camera slowly"};
    // clang-format on
    return Target >= 0 && Target < static_cast<int>(Names.size()) ? Names[Target] : nullptr;
}

void NavTooltip::Update(const GLViewport& View, std::uint64_t NowMs)
{
    int target = 0;
    double x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
    // The toggle is tested before the widget, as the viewport routes presses.
    if (View.bMouseInside && View.GetAutoRotateToggleRect(x1, y1, x2, y2) && View.MouseLocalX >= x1 &&
        View.MouseLocalX <= x2 && View.MouseLocalY >= y1 && View.MouseLocalY <= y2)
        target = RotateToggleTarget;
    else if (View.bMouseInside)
        target = View.HoverNavButton;
    // A held button is busy, not being explored.
    if (View.ActiveNavButton != 0)
        target = 0;
    if (target != Target)
    {
        Target = target;
        SinceMs = NowMs;
    }
    bShown = Target != 0 && NowMs - SinceMs >= DelayMs;
}

const char* NavTooltip::GetShownText() const
{
    return bShown ? GetNavActionName(Target) : nullptr;
}

void NavTooltip::Render(const PixelCanvas& Canvas, const FontMetrics& Metrics, const GLViewport& View) const
{
    const char* text = GetShownText();
    if (!text)
        return;
    const double widthPx = Metrics.MeasureTextPx(text, FontPx) + 2.0 * PaddingPx;
    const double heightPx = FontPx + 2.0 * PaddingPx;
    // The pointer in window pixels: the viewport's local 0..1 point mapped through its rectangle.
    const double globalX = View.WindowX1 + View.MouseLocalX * (View.WindowX2 - View.WindowX1);
    const double globalY = View.WindowY1 + View.MouseLocalY * (View.WindowY2 - View.WindowY1);
    const double pointerXPx = (globalX + 1.0) * 0.5 * Canvas.GetWidthPx();
    const double pointerYPx = (1.0 - globalY) * 0.5 * Canvas.GetHeightPx();
    // Above and left of the pointer; to the right below the cursor image, or below, where that runs
    // off the window.
    double x1Px = pointerXPx - GapPx - widthPx;
    if (x1Px < 0.0)
        x1Px = pointerXPx + CursorWidthPx;
    double y1Px = pointerYPx - GapPx - heightPx;
    if (y1Px < 0.0)
        y1Px = pointerYPx + CursorHeightPx;
    if (!Canvas.Begin())
        return;
    Canvas.FillRect(x1Px, y1Px, x1Px + widthPx, y1Px + heightPx, GLColor(0.98f, 0.96f, 0.82f, 0.95f));
    Canvas.OutlineRect(x1Px, y1Px, x1Px + widthPx, y1Px + heightPx, GLColor(0.2f, 0.2f, 0.2f, 1.0f));
    Canvas.End();
    Canvas.Text(text, x1Px + PaddingPx, y1Px + PaddingPx + FontPx * 0.8, FontPx,
                GLColor(0.08f, 0.08f, 0.1f, 1.0f));
}
