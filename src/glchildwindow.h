#pragma once

#include <functional>

class GLWindow;

// A rectangle of the window system in global coordinates (-1..1 across the application window,
// Y up, so WindowY1, the top edge, is the larger value).
class GLChildWindow
{
public:
    GLChildWindow() = default;
    GLChildWindow(const GLChildWindow&) = delete;
    GLChildWindow& operator=(const GLChildWindow&) = delete;
    virtual ~GLChildWindow() = default;

    bool bVisible = true;
    bool bEnabled = true;
    double WindowX1 = -1.0;
    double WindowY1 = 1.0;
    double WindowX2 = 1.0;
    double WindowY2 = -1.0;
    bool bHasFocus = false;
    bool bMouseOver = false;
    GLWindow* pParentWindow = nullptr;

    // Called by the window system when the pointer leaves the window.
    virtual void EventMouseOut();
    // Discrete clicks: 0 left, 1 middle, 2 right, 3 wheel towards zoom-in, 4 wheel towards zoom-out.
    virtual void EventMouseClick(int ButtonID, double x, double y);
    // Called once per frame, wherever the pointer is.
    virtual void MouseProcessing();
    // Draws the window; called by the draw pass.
    virtual void Render();

    // True when the global point lies inside the window rectangle.
    bool ContainsGlobal(double x, double y) const;

    // Base click handling: a click gives the window keyboard focus and is passed to OnClick.
    std::function<void(int ButtonID, double x, double y)> OnClick;
};
