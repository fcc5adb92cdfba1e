#include "windowsystem.h"

#include <algorithm>

#include "core.h"
#include "glchildwindow.h"
#include "mouse.h"

void WindowSystem::AddChild(GLChildWindow* Child)
{
    if (!Child || std::find(Children.begin(), Children.end(), Child) != Children.end())
        return;
    Children.push_back(Child);
    Entries.push_back({});
}

bool WindowSystem::IsShownAndEnabled(const GLChildWindow& Child) const
{
    return Child.bVisible && Child.bEnabled;
}

void WindowSystem::ProcessFrame(Mouse& MouseState, Quindle& App, const std::vector<GlobalClick>& Clicks,
                                bool bPointerInWindow)
{
    App.bChildWindowProcessed = false;

    // Leaving first, so a child sees its mouse-out before the frame that no longer covers it.
    for (std::size_t i = 0; i < Children.size(); ++i)
    {
        const bool bInside = bPointerInWindow && Children[i]->bVisible &&
                             Children[i]->ContainsGlobal(MouseState.X3D, MouseState.Y3D);
        if (Entries[i].bPointerInside && !bInside)
            Children[i]->EventMouseOut();
        Entries[i].bPointerInside = bInside;
    }

    // Children at an index below actingCount may act on the frame's input. A child behind the one
    // that consumed it sees held buttons still held (its running drags end normally on release)
    // but no new press.
    std::size_t actingCount = Children.size();
    bool bConsumed = false;
    const Mouse realState = MouseState;
    for (std::size_t i = 0; i < Children.size(); ++i)
    {
        if (i >= actingCount)
            for (int b = 0; b < Mouse::ButtonCount; ++b)
                MouseState.pButton[b] = realState.pButton[b] && realState.pPrevButton[b];
        Children[i]->MouseProcessing();
        MouseState = realState;
        if (App.bChildWindowProcessed && !bConsumed)
        {
            bConsumed = true;
            actingCount = i + 1;
        }
    }

    for (const GlobalClick& click : Clicks)
    {
        for (std::size_t i = 0; i < actingCount; ++i)
        {
            GLChildWindow& child = *Children[i];
            if (!IsShownAndEnabled(child) || !child.ContainsGlobal(click.X, click.Y))
                continue;
            App.bChildWindowProcessed = false;
            child.EventMouseClick(click.ButtonID, click.X, click.Y);
            if (App.bChildWindowProcessed)
            {
                bConsumed = true;
                actingCount = i + 1;
                break;
            }
        }
    }
    App.bChildWindowProcessed = bConsumed;
}

GlobalClick MouseClickToGlobal(const MouseClick& Click, int WidthPx, int HeightPx)
{
    const double widthPx = std::max(WidthPx, 1);
    const double heightPx = std::max(HeightPx, 1);
    return {Click.ButtonID, Click.XPx / widthPx * 2.0 - 1.0, 1.0 - Click.YPx / heightPx * 2.0};
}
