#include "gltogglebutton.h"

#include "core.h"
#include "glcolor.h"
#include "rend.h"
#include "ttf.h"

void GLToggleButton::SetChecked(bool bChecked, bool bNotify)
{
    const bool bChanged = bChecked != bCheckedState;
    bCheckedState = bChecked;
    if (bChanged && bNotify && OnToggled)
        OnToggled(bCheckedState);
}

// A dark translucent box with a square indicator at its left, lit when checked, and the caption
// beside it. Global coordinates: Y1 is the upper edge.
void GLToggleButton::RenderInRect(double X1, double Y1, double X2, double Y2)
{
    if (!bVisible || !p || !p->pRend || !p->pRend->beginFrame())
        return;
    Rend& rend = *p->pRend;
    const float x1 = static_cast<float>(X1), y1 = static_cast<float>(Y1);
    const float x2 = static_cast<float>(X2), y2 = static_cast<float>(Y2);
    rend.drawRect(x1, y1, x2, y2, GLColor(0.06f, 0.08f, 0.12f, 0.78f));

    const GLColor outline(0.70f, 0.76f, 0.84f, 0.90f);
    rend.drawLine(x1, y1, x2, y1, outline, 1.0f);
    rend.drawLine(x2, y1, x2, y2, outline, 1.0f);
    rend.drawLine(x2, y2, x1, y2, outline, 1.0f);
    rend.drawLine(x1, y2, x1, y1, outline, 1.0f);

    // The indicator: 0.18 of the width, 0.6 of the height: about square on a 16:9 window.
    const float height = y1 - y2;
    const float boxX1 = x1 + 0.06f * (x2 - x1);
    const float boxX2 = boxX1 + 0.18f * (x2 - x1);
    const float boxY1 = y1 - 0.2f * height;
    const float boxY2 = y2 + 0.2f * height;
    if (bCheckedState)
        rend.drawRect(boxX1, boxY1, boxX2, boxY2, GLColor(0.30f, 0.76f, 1.00f, 0.95f));
    else
        rend.drawRect(boxX1, boxY1, boxX2, boxY2, GLColor(0.16f, 0.18f, 0.22f, 0.90f));

    if (rend.pTTF)
    {
        const float alpha = bEnabled ? 1.0f : 0.5f;
        rend.pTTF->Text3DL(Label.c_str(), boxX2 + 0.06f * (x2 - x1), y2 + 0.3f * height, 0.0f,
                           rend.FontSmallerPx, GLColor(0.92f, 0.95f, 1.00f, alpha));
    }
    rend.endFrame();
}

void GLToggleButton::EventMouseClick(int ButtonID, double x, double y)
{
    GLChildWindow::EventMouseClick(ButtonID, x, y);
    if (ButtonID == 0 && bEnabled)
        SetChecked(!bCheckedState, true);
}
