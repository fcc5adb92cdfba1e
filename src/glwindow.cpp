#include "glwindow.h"

#include <algorithm>

#include "core.h"
#include "fontmetrics.h"
#include "glcolor.h"
#include "rend.h"
#include "ttf.h"

void GLWindow::SetStatusBarText(const std::string& Text)
{
    StatusBarText = Text;
    StatusHistory.push_back(Text);
}

void GLWindow::RenderStatusBar() const
{
    if (!p || !p->pRend || !p->pCoreSDL || p->pCoreSDL->Height <= 0)
        return;
    Rend& rend = *p->pRend;
    const float unitsPerPxY = 2.0f / static_cast<float>(p->pCoreSDL->Height);
    const float unitsPerPxX = 2.0f / static_cast<float>(std::max(p->pCoreSDL->Width, 1));
    const float top = -1.0f + StatusBarHeightPx * unitsPerPxY;
    const float right = std::clamp(StatusBarRightX, -1.0f, 1.0f);
    if (!(right > -1.0f))
        return;
    if (!rend.beginFrame())
        return;
    rend.drawRect(-1.0f, top, right, -1.0f, GLColor(0.05f, 0.06f, 0.08f, 0.85f));
    rend.drawLine(-1.0f, top, right, top, GLColor(0.25f, 0.88f, 1.0f, 0.5f), 1.0f);
    rend.endFrame();
    if (rend.pTTF && !StatusBarText.empty())
    {
        // Baseline a third of the way up the bar leaves room for descenders.
        const float baseline = -1.0f + (StatusBarHeightPx / 3.0f) * unitsPerPxY;
        // The same 8 px margin at both ends of the text.
        const int textWidthPx = static_cast<int>((right + 1.0f) / unitsPerPxX) - 2 * TextMarginPx;
        const std::string shown =
            pMetrics ? pMetrics->FitTextToWidth(StatusBarText, StatusBarFontPx, textWidthPx) : StatusBarText;
        rend.pTTF->Text3DL(shown.c_str(), -1.0f + TextMarginPx * unitsPerPxX, baseline, 0.0f, StatusBarFontPx,
                           GLColor(0.92f, 0.94f, 0.98f, 1.0f));
    }
}
