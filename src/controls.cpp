#include "controls.h"

namespace
{
constexpr SDL_Keymod Ctrl = SDL_KMOD_CTRL;
constexpr SDL_Keymod Shift = SDL_KMOD_SHIFT;
constexpr SDL_Keymod CtrlShift = SDL_KMOD_CTRL | SDL_KMOD_SHIFT;

// clang-format off
const Control Controls[] = {
    {"Left drag on the map", "box-select units (a left click selects the unit under the pointer; the aircraft are selected together as one group); Shift adds to the selection"},
    {"Alt + left drag", "orbit the camera (turn and tilt)"},
    {"Middle drag", "pan the view"},
    {"Mouse wheel", "zoom towards or away from the map"},
    {"Right click", "move the selected units to that point; Shift queues the waypoint behind their current orders"},
    {"Right drag", "draw a path: the selected vehicles spread along it in formation; Shift queues it"},
    {"P", "with the aircraft selected, arm patrol placement: left clicks place patrol points, Shift-click appends, Escape or a right click cancels", AppAction::None, {{{SDLK_P}, {SDLK_ESCAPE}}}},
    {"Navigation widget (bottom right)", "zoom in, reset view, zoom out; rotate and pan arrows; hold a button to repeat"},
    {"Rotate (bottom right)", "turn the automatic slow rotation of the camera on or off"},
    {"Effects panel (top right)", "jet-effects quality presets and figures"},
    {"Minimap (top left): left click or drag", "move the view's centre to that point of the map"},
    {"Minimap: right click", "move the selected units to that point; Shift queues the waypoint"},
    {"F1 or ?", "show or hide this list of controls", AppAction::ToggleHelp, {{{SDLK_F1}, {SDLK_QUESTION, Shift}}}},
    {"F2", "show or hide the frame counter (frames per second, CPU and GPU ms of the last frame)", AppAction::ToggleFrameStats, {{{SDLK_F2}}}},
    {"F3", "show or hide the effects panel", AppAction::ToggleEffectsPanel, {{{SDLK_F3}}}},
    {"M", "show or hide the minimap", AppAction::ToggleMinimap, {{{SDLK_M}}}},
    {"Home", "frame the whole map again", AppAction::FrameMap, {{{SDLK_HOME}}}},
    {"Arrow keys", "move the view over the map, faster the farther out the camera is", AppAction::MoveView, {{{SDLK_UP}, {SDLK_DOWN}, {SDLK_LEFT}, {SDLK_RIGHT}}}},
    {"Q / E", "turn the view left / right", AppAction::TurnView, {{{SDLK_Q}, {SDLK_E}}}},
    {"Page Up / Page Down", "tilt the view towards the horizon / towards looking straight down", AppAction::TiltView, {{{SDLK_PAGEUP}, {SDLK_PAGEDOWN}}}},
    {"+", "zoom in by one wheel notch", AppAction::ZoomIn, {{{SDLK_EQUALS}, {SDLK_EQUALS, Shift}, {SDLK_PLUS}, {SDLK_KP_PLUS}}}},
    {"-", "zoom out by one wheel notch", AppAction::ZoomOut, {{{SDLK_MINUS}, {SDLK_KP_MINUS}}}},
    {"Pointer at the window's edge", "move the view that way (on by default in fullscreen)"},
    {"Ctrl+E", "switch moving the view at the window's edge on or off", AppAction::ToggleEdgeScroll, {{{SDLK_E, Ctrl}}}},
    {"F", "frame the selected units", AppAction::FrameSelection, {{{SDLK_F}}}},
    {"Ctrl+A", "select all vehicles and the aircraft", AppAction::SelectAllUnits, {{{SDLK_A, Ctrl}}}},
    {"Ctrl+1 ... Ctrl+9", "store the selection as group 1 ... 9", AppAction::StoreGroup, {{{SDLK_1, Ctrl}, {SDLK_2, Ctrl}, {SDLK_3, Ctrl}, {SDLK_4, Ctrl}, {SDLK_5, Ctrl}, {SDLK_6, Ctrl}, {SDLK_7, Ctrl}, {SDLK_8, Ctrl}, {SDLK_9, Ctrl}}}},
    {"1 ... 9", "select group 1 ... 9", AppAction::RecallGroup, {{{SDLK_1}, {SDLK_2}, {SDLK_3}, {SDLK_4}, {SDLK_5}, {SDLK_6}, {SDLK_7}, {SDLK_8}, {SDLK_9}}}},
    {"S", "stop the selected units: they drop their orders", AppAction::StopUnits, {{{SDLK_S}}}},
    {"Ctrl+Shift+L", "switch the jet-exhaust effect on or off", AppAction::ToggleJetEffect, {{{SDLK_L, CtrlShift}}}},
    {"Ctrl+Shift+R", "reload the jet-exhaust shaders", AppAction::ReloadJetShaders, {{{SDLK_R, CtrlShift}}}},
    {"W", "show or hide the water", AppAction::ToggleWater, {{{SDLK_W}}}},
    {"T", "show or hide the map's features", AppAction::ToggleFeatures, {{{SDLK_T}}}},
    {"F6 ... F10", "author views: height, slope, metal, type, grass (again: off)", AppAction::ShowAuthorView, {{{SDLK_F6}, {SDLK_F7}, {SDLK_F8}, {SDLK_F9}, {SDLK_F10}}}},
    {"F5", "reload the map from its files (--watch reloads whenever they change)", AppAction::ReloadMap,
     {{{SDLK_F5}}}},
    {"Tab", "open or close the map browser: type to filter, Up/Down and Enter or a click open a map",
     AppAction::ToggleMapBrowser, {{{SDLK_TAB}}}},
    {"Ctrl+O", "open a map with the desktop's file dialog", AppAction::OpenMapDialog, {{{SDLK_O, Ctrl}}}},
    {"Dropping a map on the window", "open it: an .smf, .sd7 or .sdz file or an .sdd folder"},
    {"Ctrl+Q, or closing the window", "quit", AppAction::Quit, {{{SDLK_Q, Ctrl}}}},
};
// clang-format on

// Either side of a modifier counts; Caps Lock, Num Lock and the like never do.
SDL_Keymod ReduceMods(SDL_Keymod Mods)
{
    SDL_Keymod reduced = SDL_KMOD_NONE;
    for (SDL_Keymod side : {SDL_KMOD_CTRL, SDL_KMOD_SHIFT, SDL_KMOD_ALT})
        if (Mods & side)
            reduced |= side;
    return reduced;
}
} // namespace

std::span<const Control> GetControls()
{
    return Controls;
}

const Control* FindKeyControl(SDL_Keycode Key, SDL_Keymod Mods)
{
    for (const Control& control : Controls)
        if (FindChordIndex(control, Key, Mods) >= 0)
            return &control;
    return nullptr;
}

int FindChordIndex(const Control& Row, SDL_Keycode Key, SDL_Keymod Mods)
{
    if (Key == SDLK_UNKNOWN)
        return -1;
    const SDL_Keymod mods = ReduceMods(Mods);
    for (std::size_t i = 0; i < Row.Chords.size(); ++i)
        if (Row.Chords[i].Key == Key && ReduceMods(Row.Chords[i].Mods) == mods)
            return static_cast<int>(i);
    return -1;
}
