#pragma once

#include <string>
#include <vector>

class FontMetrics;
class PixelCanvas;

// The on-screen list of controls (F1 or ?), built from the controls table: a translucent box over
// the middle of the window with the input on the left and what it does on the right, wrapped to the
// box. The font shrinks to fit the window, down to 9 px; where even that is too tall, each entry
// keeps one line, cut with "...".
class HelpOverlay
{
  public:
    bool bVisible = false;

    struct Line
    {
        std::string Input; // empty on a continuation line
        std::string Does;
    };
    struct Layout
    {
        int FontPx = 9;
        int LineHeightPx = 11;
        double X1Px = 0.0, Y1Px = 0.0, X2Px = 0.0, Y2Px = 0.0; // the box
        double DoesXPx = 0.0;                                  // left edge of the right column
        std::vector<Line> Lines;
    };

    // The box and its lines for a window of WidthPx x AvailableHeightPx (above the status bar).
    static Layout BuildLayout(const FontMetrics& Metrics, int WidthPx, int AvailableHeightPx);
    void Render(const PixelCanvas& Canvas, const FontMetrics& Metrics, int AvailableHeightPx) const;
};
