#pragma once

#include <string>
#include <vector>

class FontMetrics;

// Top-level window: owns the status bar that shows the latest message.
class GLWindow
{
  public:
    static constexpr int StatusBarHeightPx = 22; // one line of StatusBarFontPx text with a margin
    static constexpr int StatusBarFontPx = 13;
    static constexpr int TextMarginPx = 8;

    // Right end of the bar in global units (-1..1): widgets at the window's bottom right set it so
    // the bar does not cover them.
    float StatusBarRightX = 1.0f;
    // The drawn font's widths: with them a message too long for the bar ends in "..." at its right
    // end (the full text stays the status text). Null draws the text whole.
    const FontMetrics* pMetrics = nullptr;

    virtual ~GLWindow() = default;

    virtual void SetStatusBarText(const std::string& Text);
    const std::string& GetStatusBarText() const { return StatusBarText; }
    // Every message shown since start, oldest first.
    const std::vector<std::string>& GetStatusHistory() const { return StatusHistory; }

    // Draws the bar along the bottom edge of the window, from its left edge to StatusBarRightX, through
    // p->pRend (and its pTTF).
    void RenderStatusBar() const;

  private:
    std::string StatusBarText;
    std::vector<std::string> StatusHistory;
};
