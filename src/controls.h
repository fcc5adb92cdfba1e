#pragma once

#include <array>
#include <span>

#include <SDL3/SDL_keyboard.h>
#include <SDL3/SDL_keycode.h>

// Everything a person can do with the mouse, the keys and the on-screen widgets, in one table: the
// application dispatches its keys from it, the help overlay lists it and the README's controls
// table matches it, so no two features can quietly take the same key.

// What the application does for a key. None: the row only documents the control (mouse input, the
// widgets, or a key the viewport reads itself, such as P and Escape).
enum class AppAction
{
    None,
    Quit,
    FrameMap,
    ToggleJetEffect,
    ReloadJetShaders,
    ToggleHelp,
    ToggleFrameStats,
    ToggleEffectsPanel,
    ToggleMinimap,
    MoveView, // chords: up, down, left, right
    TurnView, // chords: left, right
    TiltView, // chords: up, down
    ZoomIn,
    ZoomOut,
    ToggleEdgeScroll,
    FrameSelection,
    SelectAllUnits,
    StoreGroup,  // chord i stores group i + 1
    RecallGroup, // chord i recalls group i + 1
    StopUnits,
    ReloadMap,
    OpenMapDialog,
    ToggleMapBrowser,
    ToggleWater,
    ToggleFeatures,
    ShowAuthorView, // chord i shows author view i + 1 (AuthorView order), or the map's look again
};

// A key with the modifiers it needs. Ctrl, Shift and Alt count on either side and must match
// exactly, so Ctrl+A and A stay two controls.
struct KeyChord
{
    SDL_Keycode Key = SDLK_UNKNOWN;
    SDL_Keymod Mods = SDL_KMOD_NONE;
};

struct Control
{
    const char* Input; // as a person reads it, e.g. "Ctrl+Shift+L"
    const char* Does;
    AppAction Action = AppAction::None;
    // The keys that trigger the control (spellings such as F1 and ?, or a group such as the four
    // arrows or the nine digits); empty for mouse rows.
    std::array<KeyChord, 9> Chords{};
};

std::span<const Control> GetControls();

// The control whose chord a key press matches (modifiers reduced to Ctrl, Shift and Alt), or null.
const Control* FindKeyControl(SDL_Keycode Key, SDL_Keymod Mods);

// Which of the control's chords a key press matches (0 for the first), or -1: a row that covers a
// group of keys (the arrows, the digits) tells them apart by it.
int FindChordIndex(const Control& Row, SDL_Keycode Key, SDL_Keymod Mods);
