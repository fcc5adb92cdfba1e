#include "glchildwindow.h"

void GLChildWindow::EventMouseOut()
{
    bMouseOver = false;
}

void GLChildWindow::EventMouseClick(int ButtonID, double x, double y)
{
    bHasFocus = true;
    if (OnClick)
        OnClick(ButtonID, x, y);
}

void GLChildWindow::MouseProcessing() {}

void GLChildWindow::Render() {}

bool GLChildWindow::ContainsGlobal(double x, double y) const
{
    return x >= WindowX1 && x <= WindowX2 && y <= WindowY1 && y >= WindowY2;
}
