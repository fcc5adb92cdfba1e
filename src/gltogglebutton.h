#pragma once

#include <functional>
#include <string>

#include "glchildwindow.h"

// A checkable button with a caption.
class GLToggleButton : public GLChildWindow
{
public:
    std::string Label;

    // bNotify: call OnToggled when the state changes.
    void SetChecked(bool bChecked, bool bNotify);
    bool IsChecked() const { return bCheckedState; }

    // Draws the button on a rectangle in global coordinates, X1/Y1 the left and upper edges.
    virtual void RenderInRect(double X1, double Y1, double X2, double Y2);

    // On its own the button toggles on a left click.
    void EventMouseClick(int ButtonID, double x, double y) override;

    std::function<void(bool bChecked)> OnToggled;

private:
    bool bCheckedState = false;
};
