#include "effectspanelfit.h"

#include <string>

#include "fontmetrics.h"

namespace
{
// The panel's own geometry, fixed by the layer that draws it: x 0.6..0.98 of the viewport, content
// 0.012 global units (0.006 of the viewport width) in from the left edge, rows 0.03 global units
// (1.5 % of the viewport height) apart, the help row its longest.
constexpr double PanelWidth01 = 0.98 - 0.6;
constexpr double ContentInset01 = 0.006;
constexpr double RowPitch01 = 0.015;
const char* const HelpRow =
    "Click presets/toggles; lower rows: scale then fog | Ctrl+Shift+R shaders | Ctrl+Shift+L effect";
constexpr int FloorPx = 9;    // the panel never draws smaller
constexpr int LargestPx = 13; // the status bar's size: a panel no louder than the bar
} // namespace

EffectsPanelFont ChooseEffectsPanelFont(const FontMetrics& Metrics, int ViewportWidthPx, int ViewportHeightPx)
{
    // The same inset on the right as on the left keeps the text off the border line.
    const double textWidthPx = (PanelWidth01 - 2.0 * ContentInset01) * ViewportWidthPx;
    const double rowPitchPx = RowPitch01 * ViewportHeightPx;
    for (int sizePx = LargestPx; sizePx >= FloorPx; --sizePx)
        if (sizePx <= rowPitchPx && Metrics.MeasureTextPx(HelpRow, sizePx) <= textWidthPx)
            return {sizePx, true};
    return {FloorPx, false};
}
