#include "viewkeys.h"

#include "glviewport.h"
#include "glwindow.h"

namespace
{
void ShowStatus(GLViewport& View, const std::string& Text)
{
    if (View.pParentWindow && !Text.empty())
        View.pParentWindow->SetStatusBarText(Text);
}
} // namespace

bool ViewKeys::HandleKeyDown(const Control& Row, const SDL_KeyboardEvent& Key, GLViewport& View)
{
    const int chord = FindChordIndex(Row, Key.key, Key.mod);
    if (Camera.Hold(Row.Action, chord, Key.key))
        return true;
    // Zoom repeats with the key, like wheel notches; a command runs once per press.
    const auto runOnce = [&](const auto& Command)
    {
        if (!Key.repeat)
            ShowStatus(View, Command());
        return true;
    };
    switch (Row.Action)
    {
    case AppAction::ZoomIn:
    case AppAction::ZoomOut:
        KeyCamera::ZoomByNotch(View, Row.Action == AppAction::ZoomIn ? 1 : -1);
        return true;
    case AppAction::ToggleEdgeScroll:
        return runOnce(
            [&]
            {
                Camera.bEdgeScroll = !Camera.bEdgeScroll;
                return std::string(Camera.bEdgeScroll ? "Edge scrolling on" : "Edge scrolling off");
            });
    case AppAction::FrameSelection:
        return runOnce([&] { return FrameSelectedUnits(View); });
    case AppAction::SelectAllUnits:
        return runOnce([&] { return SelectAllUnits(View); });
    case AppAction::StoreGroup:
        return runOnce([&] { return Groups.Store(chord + 1, View); });
    case AppAction::RecallGroup:
        return runOnce([&] { return Groups.Recall(chord + 1, View); });
    case AppAction::StopUnits:
        return runOnce([&] { return StopSelectedUnits(View); });
    default:
        return false;
    }
}
