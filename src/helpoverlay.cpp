#include "helpoverlay.h"

#include <algorithm>
#include <span>

#include "controls.h"
#include "fontmetrics.h"
#include "glcolor.h"
#include "pixelcanvas.h"

namespace
{
constexpr const char* Title = "Controls";
constexpr const char* Footer = "F1 or ? closes this list";
constexpr int PaddingPx = 12;
constexpr int ColumnGapPx = 16;
constexpr int MarginPx = 8;

// Words of Text in lines no wider than WidthPx; a single word wider than that gets a line of its own.
std::vector<std::string> WrapWords(const FontMetrics& Metrics, const std::string& Text, int SizePx,
                                   double WidthPx)
{
    std::vector<std::string> lines;
    std::string line;
    std::size_t start = 0;
    while (start < Text.size())
    {
        std::size_t end = Text.find(' ', start);
        if (end == std::string::npos)
            end = Text.size();
        const std::string word = Text.substr(start, end - start);
        const std::string candidate = line.empty() ? word : line + " " + word;
        if (!line.empty() && Metrics.MeasureTextPx(candidate, SizePx) > WidthPx)
        {
            lines.push_back(line);
            line = word;
        }
        else
            line = candidate;
        start = end + 1;
    }
    lines.push_back(line);
    return lines;
}

// The entries at one font size, wrapped (bWrap) or one line each; false when they do not fit.
bool TryLayout(const FontMetrics& Metrics, int WidthPx, int AvailableHeightPx, int SizePx, bool bWrap,
               HelpOverlay::Layout& Out)
{
    HelpOverlay::Layout layout;
    layout.FontPx = SizePx;
    layout.LineHeightPx = SizePx + std::max(2, SizePx / 4);
    double inputWidthPx = 0.0;
    for (const Control& control : GetControls())
        inputWidthPx = std::max<double>(inputWidthPx, Metrics.MeasureTextPx(control.Input, SizePx));
    const double boxWidthPx = std::min(WidthPx - 2.0 * MarginPx, inputWidthPx + ColumnGapPx + 60.0 * SizePx);
    const double doesWidthPx = boxWidthPx - 2.0 * PaddingPx - inputWidthPx - ColumnGapPx;
    if (doesWidthPx < 8.0 * SizePx)
        return false;
    for (const Control& control : GetControls())
    {
        const std::vector<std::string> wrapped =
            bWrap ? WrapWords(Metrics, control.Does, SizePx, doesWidthPx)
                  : std::vector<std::string>{
                        Metrics.FitTextToWidth(control.Does, SizePx, static_cast<int>(doesWidthPx))};
        for (std::size_t i = 0; i < wrapped.size(); ++i)
            layout.Lines.push_back({i == 0 ? control.Input : "", wrapped[i]});
    }
    // Title, a blank line, the entries, a blank line, the footer.
    const double boxHeightPx = (layout.Lines.size() + 4.0) * layout.LineHeightPx + 2.0 * PaddingPx;
    if (boxHeightPx > AvailableHeightPx - 2.0 * MarginPx)
        return false;
    layout.X1Px = (WidthPx - boxWidthPx) * 0.5;
    layout.X2Px = layout.X1Px + boxWidthPx;
    layout.Y1Px = std::max<double>(MarginPx, (AvailableHeightPx - boxHeightPx) * 0.5);
    layout.Y2Px = layout.Y1Px + boxHeightPx;
    layout.DoesXPx = layout.X1Px + PaddingPx + inputWidthPx + ColumnGapPx;
    Out = std::move(layout);
    return true;
}
} // namespace

HelpOverlay::Layout HelpOverlay::BuildLayout(const FontMetrics& Metrics, int WidthPx, int AvailableHeightPx)
{
    Layout layout;
    for (bool bWrap : {true, false})
        for (int sizePx = 13; sizePx >= 9; --sizePx)
            if (TryLayout(Metrics, WidthPx, AvailableHeightPx, sizePx, bWrap, layout))
                return layout;
    // A window too small for even that: one line per entry at 9 px, as many as fit, and a last line
    // saying how many more there are.
    layout.FontPx = 9;
    layout.LineHeightPx = 11;
    layout.X1Px = MarginPx;
    layout.X2Px = WidthPx - MarginPx;
    layout.Y1Px = MarginPx;
    layout.Y2Px = AvailableHeightPx - MarginPx;
    layout.DoesXPx = WidthPx * 0.4;
    const int inputWidthPx = static_cast<int>(layout.DoesXPx - layout.X1Px) - PaddingPx - ColumnGapPx / 2;
    const int doesWidthPx = static_cast<int>(layout.X2Px - layout.DoesXPx) - PaddingPx;
    // Title, a blank line, a blank line and the footer around the entries.
    const int roomLines = std::max(
        1, static_cast<int>((layout.Y2Px - layout.Y1Px - 2.0 * PaddingPx) / layout.LineHeightPx) - 4);
    const std::span<const Control> controls = GetControls();
    const int shownCount = static_cast<int>(controls.size()) <= roomLines ? roomLines : roomLines - 1;
    for (int i = 0; i < static_cast<int>(controls.size()) && i < shownCount; ++i)
        layout.Lines.push_back({Metrics.FitTextToWidth(controls[i].Input, 9, inputWidthPx),
                                Metrics.FitTextToWidth(controls[i].Does, 9, doesWidthPx)});
    if (shownCount < static_cast<int>(controls.size()))
        layout.Lines.push_back(
            {"...", Metrics.FitTextToWidth(std::to_string(controls.size() - shownCount) +
                                               " more in a larger window, or in quindle --help",
                                           9, doesWidthPx)});
    return layout;
}

void HelpOverlay::Render(const PixelCanvas& Canvas, const FontMetrics& Metrics, int AvailableHeightPx) const
{
    if (!bVisible || !Canvas.Begin())
        return;
    const Layout layout = BuildLayout(Metrics, Canvas.GetWidthPx(), AvailableHeightPx);
    Canvas.FillRect(layout.X1Px, layout.Y1Px, layout.X2Px, layout.Y2Px, GLColor(0.02f, 0.03f, 0.06f, 0.86f));
    Canvas.OutlineRect(layout.X1Px, layout.Y1Px, layout.X2Px, layout.Y2Px, GLColor(0.25f, 0.88f, 1.0f, 0.8f));
    Canvas.End();
    const double x = layout.X1Px + PaddingPx;
    // Baselines sit a line height down from each line's top, less the descent.
    double baselinePx = layout.Y1Px + PaddingPx + layout.FontPx;
    Canvas.Text(Title, x, baselinePx, layout.FontPx + 2, GLColor(0.72f, 0.94f, 1.0f, 1.0f));
    baselinePx += 2.0 * layout.LineHeightPx;
    for (const Line& line : layout.Lines)
    {
        if (!line.Input.empty())
            Canvas.Text(line.Input, x, baselinePx, layout.FontPx, GLColor(1.0f, 0.86f, 0.5f, 1.0f));
        Canvas.Text(line.Does, layout.DoesXPx, baselinePx, layout.FontPx, GLColor(0.9f, 0.93f, 0.98f, 1.0f));
        baselinePx += layout.LineHeightPx;
    }
    baselinePx += layout.LineHeightPx;
    Canvas.Text(Footer, x, baselinePx, layout.FontPx, GLColor(0.6f, 0.7f, 0.8f, 1.0f));
}
