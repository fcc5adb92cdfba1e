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
    {"Ctrl+Shift+L", "switch the jet-exhaust effect on or off", AppAction::ToggleJetEffect, {{{SDLK_L, CtrlShift}}}},
    {"Ctrl+Shift+R", "reload the jet-exhaust shaders", AppAction::ReloadJetShaders, {{{SDLK_R, CtrlShift}}}},
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
    if (Key == SDLK_UNKNOWN)
        return nullptr;
    const SDL_Keymod mods = ReduceMods(Mods);
    for (const Control& control : Controls)
        for (const KeyChord& chord : control.Chords)
            if (chord.Key == Key && ReduceMods(chord.Mods) == mods)
                return &control;
    return nullptr;
}
