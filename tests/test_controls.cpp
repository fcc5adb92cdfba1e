// The controls table: no chord taken twice, and modifiers matched the way a person presses them.
#include <gtest/gtest.h>

#include "controls.h"

namespace
{
TEST(Controls, NoTwoControlsShareAChord)
{
    for (const Control& control : GetControls())
    {
        for (const KeyChord& chord : control.Chords)
        {
            if (chord.Key == SDLK_UNKNOWN)
                continue;
            EXPECT_EQ(FindKeyControl(chord.Key, chord.Mods), &control) << control.Input;
        }
    }
}

TEST(Controls, ModifiersMatchExactlyOnEitherSide)
{
    struct Case
    {
        SDL_Keycode Key;
        SDL_Keymod Mods;
        AppAction Expected; // None: no control at all
    };
    // clang-format off
    const Case cases[] = {
        {SDLK_L, SDL_KMOD_LCTRL | SDL_KMOD_RSHIFT, AppAction::ToggleJetEffect},
        {SDLK_L, SDL_KMOD_RCTRL | SDL_KMOD_LSHIFT | SDL_KMOD_CAPS | SDL_KMOD_NUM, AppAction::ToggleJetEffect},
        {SDLK_L, SDL_KMOD_LCTRL, AppAction::None},
        {SDLK_L, SDL_KMOD_LCTRL | SDL_KMOD_LSHIFT | SDL_KMOD_LALT, AppAction::None},
        {SDLK_Q, SDL_KMOD_RCTRL, AppAction::Quit},
        {SDLK_HOME, SDL_KMOD_NONE, AppAction::FrameMap},
        {SDLK_HOME, SDL_KMOD_LSHIFT, AppAction::None},
        {SDLK_Q, SDL_KMOD_NONE, AppAction::TurnView},
        {SDLK_A, SDL_KMOD_RCTRL, AppAction::SelectAllUnits},
        {SDLK_A, SDL_KMOD_NONE, AppAction::None},
        {SDLK_9, SDL_KMOD_LCTRL, AppAction::StoreGroup},
        {SDLK_9, SDL_KMOD_NONE, AppAction::RecallGroup},
        {SDLK_0, SDL_KMOD_NONE, AppAction::None},
        {SDLK_EQUALS, SDL_KMOD_LSHIFT, AppAction::ZoomIn},
        {SDLK_UNKNOWN, SDL_KMOD_NONE, AppAction::None},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        const Control* pControl = FindKeyControl(c.Key, c.Mods);
        EXPECT_EQ(pControl ? pControl->Action : AppAction::None, c.Expected)
            << SDL_GetKeyName(c.Key) << " mods " << c.Mods;
    }
}
} // namespace
