#include "gltogglebutton.h"

void GLToggleButton::SetChecked(bool bChecked, bool bNotify)
{
    const bool bChanged = bChecked != bCheckedState;
    bCheckedState = bChecked;
    if (bChanged && bNotify && OnToggled)
        OnToggled(bCheckedState);
}

void GLToggleButton::RenderInRect(double, double, double, double) {}

void GLToggleButton::EventMouseClick(int ButtonID, double x, double y)
{
    GLChildWindow::EventMouseClick(ButtonID, x, y);
    if (ButtonID == 0 && bEnabled)
        SetChecked(!bCheckedState, true);
}
