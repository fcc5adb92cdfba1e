// The controls table: no chord taken twice, modifiers matched the way a person presses them, and the
// README listing the same rows.
#include <fstream>
#include <string>
#include <vector>

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

// The rows of the README's "## Controls" table, "Input" and "Does" cells, header left out.
std::vector<std::pair<std::string, std::string>> ReadReadmeControls()
{
    std::ifstream file(QUINDLE_README);
    std::vector<std::pair<std::string, std::string>> rows;
    std::string line;
    bool bInSection = false;
    while (std::getline(file, line))
    {
        if (line.rfind("## ", 0) == 0)
            bInSection = line == "## Controls";
        else if (bInSection && line.rfind("| ", 0) == 0 && line != "| Input | Does |")
        {
            const std::size_t bar = line.find(" | ");
            rows.emplace_back(line.substr(2, bar - 2), line.substr(bar + 3, line.size() - bar - 5));
        }
    }
    return rows;
}

TEST(Controls, ReadmeTableListsEveryControlInOrder)
{
    const auto rows = ReadReadmeControls();
    const auto controls = GetControls();
    ASSERT_EQ(rows.size(), controls.size()) << "README at " << QUINDLE_README;
    for (std::size_t i = 0; i < rows.size(); ++i)
    {
        EXPECT_EQ(rows[i].first, controls[i].Input) << "row " << i;
        EXPECT_EQ(rows[i].second, controls[i].Does) << "row " << i;
    }
}
} // namespace
