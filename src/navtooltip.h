#pragma once

#include <cstdint>

class FontMetrics;
class GLViewport;
class PixelCanvas;

// The name of the action under the pointer, shown after it rested for DelayMs on a navigation
// button or on the Rotate toggle. The box sits beside the pointer (above and to the left where there
// is room), never under it.
class NavTooltip
{
  public:
    static constexpr std::uint64_t DelayMs = 500;
    // Rotate toggle's target code, after the navigation buttons' 1 to 11.
    static constexpr int RotateToggleTarget = 12;

    // Follows what the pointer rests on; call once per frame after the viewport's mouse processing.
    void Update(const GLViewport& View, std::uint64_t NowMs);
    // The text shown now, or null.
    const char* GetShownText() const;
    void Render(const PixelCanvas& Canvas, const FontMetrics& Metrics, const GLViewport& View) const;

  private:
    int Target = 0; // 0: nothing to name
    std::uint64_t SinceMs = 0;
    bool bShown = false;
};

// "Zoom in", "Turn left", ... for a navigation button code 1..11 or RotateToggleTarget; null otherwise.
const char* GetNavActionName(int Target);
