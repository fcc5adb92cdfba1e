// The command line, the controls table and the README's copy of it, and the state file's JSON,
// without a window.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "appoptions.h"
#include "controls.h"
#include "statejson.h"

namespace
{
ParseOutcome Parse(std::vector<const char*> args, AppOptions& options, std::string& text)
{
    args.insert(args.begin(), "quindle");
    return ParseCommandLine(static_cast<int>(args.size()), args.data(), options, text);
}

std::string Summary(const AppOptions& o)
{
    const char* const panels[] = {"auto", "on", "off"};
    return "map=" + o.MapPath + " vehicles=" + std::to_string(o.VehicleCount) +
           " aircraft=" + std::to_string(o.AircraftCount) + " size=" + std::to_string(o.WidthPx) + "x" +
           std::to_string(o.HeightPx) + " frames=" + std::to_string(o.FrameCount) +
           " shot=" + o.ScreenshotPath + " state=" + o.StateOutPath +
           " panel=" + panels[static_cast<int>(o.EffectsPanel)];
}

TEST(CommandLine, WhatEachCommandLineRunsWithOrItsOneLineMistake)
{
    const std::string folder = ::testing::TempDir(), file = folder + "quindle-options-file";
    std::fclose(std::fopen(file.c_str(), "w"));
    const std::string insideFile = file + "/s.json", shot = folder + "x.PNG";
    const std::string defaults = "map= vehicles=12 aircraft=4 size=1280x720 frames=0 shot= state= panel=auto";
    const std::string range = " is out of range (expected a whole number from ";
    // clang-format off
    const struct { std::vector<const char*> Args; std::string Expected; } cases[] = {
        {{}, defaults},
        {{"--map", ".", "--vehicles", "5000", "--aircraft", "200", "--size", "64x16384", "--frames", "100000000",
          "--screenshot", shot.c_str(), "--state-out", "s.json", "--effects-panel", "off"},
         "map=. vehicles=5000 aircraft=200 size=64x16384 frames=100000000 shot=" + shot + " state=s.json panel=off"},
        {{"--vehicles", "0", "--aircraft", "0", "--frames", "1", "--effects-panel", "on"},
         "map= vehicles=0 aircraft=0 size=1280x720 frames=1 shot= state= panel=on"},
        {{"--bogus"}, "quindle: The following argument was not expected: --bogus (see quindle --help)"},
        {{"stray-argument"}, "quindle: MAP requires --info (see quindle --help)"},
        {{"--map"}, "quindle: --map: needs a value (see quindle --help)"},
        {{"--map", "/no/such/map.sdz"}, "quindle: --map: /no/such/map.sdz: No such file or directory"},
        {{"--vehicles", "abc"}, "quindle: --vehicles: 'abc' is not a number (expected a whole number from 0 to 5000)"},
        {{"--vehicles", "12x"}, "quindle: --vehicles: '12x' is not a number (expected a whole number from 0 to 5000)"},
        {{"--vehicles", "-1"}, "quindle: --vehicles: -1" + range + "0 to 5000)"},
        {{"--vehicles", "5001"}, "quindle: --vehicles: 5001" + range + "0 to 5000)"},
        {{"--aircraft", "201"}, "quindle: --aircraft: 201" + range + "0 to 200)"},
        {{"--frames", "0"}, "quindle: --frames: 0" + range + "1 to 100000000)"},
        {{"--frames", "99999999999999999999"}, "quindle: --frames: 99999999999999999999" + range + "1 to 100000000)"},
        {{"--size", "big"}, "quindle: --size: expected WIDTHxHEIGHT with each side in 64..16384, got 'big'"},
        {{"--effects-panel", "maybe"}, "quindle: --effects-panel: expected on or off, got 'maybe'"},
        {{"--screenshot", "shot.jpg"}, "quindle: --screenshot: only .png is supported"},
        {{"--screenshot", "/no/such/dir/a.png"}, "quindle: --screenshot: cannot write /no/such/dir/a.png: No such file or directory"},
        {{"--state-out", folder.c_str()}, "quindle: --state-out: cannot write " + folder + ": Is a directory"},
        {{"--state-out", insideFile.c_str()}, "quindle: --state-out: cannot write " + insideFile + ": Not a directory"}};
    // clang-format on
    for (const auto& c : cases)
    {
        AppOptions options;
        std::string text;
        const ParseOutcome outcome = Parse(c.Args, options, text);
        EXPECT_EQ(outcome, c.Expected.starts_with("quindle: ") ? ParseOutcome::Error : ParseOutcome::Run)
            << c.Expected;
        EXPECT_EQ(outcome == ParseOutcome::Run ? Summary(options) : text, c.Expected);
        EXPECT_TRUE(outcome == ParseOutcome::Run || Summary(options) == defaults)
            << "a mistake changes nothing";
    }
    std::remove(file.c_str());
    AppOptions options;
    std::string text;
    ASSERT_EQ(Parse({"--version"}, options, text), ParseOutcome::Help);
    EXPECT_TRUE(text.starts_with("quindle ") && text.find('\n') == text.size() - 1) << text;
}

TEST(CommandLine, WindowSizeBoundaries)
{
    constexpr int No = -7; // rejected: the outputs keep what they held
    // clang-format off
    const struct { const char* Text; int W, H; } cases[] = {
        {"64x64", 64, 64}, {"16384x16384", 16384, 16384}, {"1920X1080", 1920, 1080}, {"63x64", No, No}, {"64x63", No, No},
        {"16385x64", No, No}, {"64x16385", No, No}, {"", No, No}, {"x", No, No}, {"640x480x2", No, No}, {"-640x480", No, No},
        {" 640x480", No, No}, {"12a0x720", No, No}, {"99999999999x480", No, No}};
    // clang-format on
    for (const auto& c : cases)
    {
        int w = No, h = No;
        EXPECT_EQ(ParseWindowSize(c.Text, w, h), c.W != No) << "'" << c.Text << "'";
        EXPECT_EQ(std::make_pair(w, h), std::make_pair(c.W, c.H)) << "'" << c.Text << "'";
    }
}

TEST(Controls, HelpAndReadmeListEveryControlAndEachChordMatchesExactly)
{
    AppOptions options;
    std::string help;
    ASSERT_EQ(Parse({"--help"}, options, help), ParseOutcome::Help);
    for (const char* part :
         {"--map", "--vehicles", "--aircraft", "--size", "--frames", "--screenshot", "--state-out",
          "--effects-panel", "--info", "--version", "Default: 12.", "SIGUSR2", "EXIT STATUS"})
        EXPECT_NE(help.find(part), std::string::npos) << part;
    // The parser's own vocabulary stays out of a page meant for people.
    for (const char* jargon : {"TEXT", "INT", "UINT", "REQUIRED", "[Option", "Excludes", ":{", "Options:"})
        EXPECT_EQ(help.find(jargon), std::string::npos) << jargon;
    std::ifstream readme(QUINDLE_README);
    std::vector<std::string> rows; // its "## Controls" table as "Input | Does", the header left out
    bool bInSection = false;
    for (std::string line; std::getline(readme, line);)
        if (line.rfind("## ", 0) == 0)
            bInSection = line == "## Controls";
        else if (bInSection && line.rfind("| ", 0) == 0 && line != "| Input | Does |")
            rows.push_back(line.substr(2, line.size() - 4));
    ASSERT_EQ(rows.size(), GetControls().size()) << "README at " << QUINDLE_README;
    for (std::size_t i = 0; i < rows.size(); ++i)
    {
        const Control& control = GetControls()[i];
        EXPECT_EQ(rows[i], std::string(control.Input) + " | " + control.Does) << "row " << i;
        EXPECT_NE(help.find("    " + std::string(control.Input) + "\n"), std::string::npos) << control.Input;
        for (const KeyChord& chord : control.Chords)
            EXPECT_TRUE(chord.Key == SDLK_UNKNOWN || FindKeyControl(chord.Key, chord.Mods) == &control)
                << control.Input;
    }
    // Ctrl, Shift and Alt count on either side and must match exactly; Caps and Num Lock do not count.
    // clang-format off
    const struct { SDL_Keycode Key; SDL_Keymod Mods; AppAction Expected; } cases[] = {
        {SDLK_L, SDL_KMOD_RCTRL | SDL_KMOD_LSHIFT | SDL_KMOD_CAPS | SDL_KMOD_NUM, AppAction::ToggleJetEffect},
        {SDLK_L, SDL_KMOD_LCTRL | SDL_KMOD_LSHIFT | SDL_KMOD_LALT, AppAction::None},
        {SDLK_Q, SDL_KMOD_NONE, AppAction::TurnView}, {SDLK_HOME, SDL_KMOD_LSHIFT, AppAction::None},
        {SDLK_A, SDL_KMOD_RCTRL, AppAction::SelectAllUnits}, {SDLK_A, SDL_KMOD_NONE, AppAction::None},
        {SDLK_9, SDL_KMOD_LCTRL, AppAction::StoreGroup}, {SDLK_9, SDL_KMOD_NONE, AppAction::RecallGroup},
        {SDLK_0, SDL_KMOD_NONE, AppAction::None}, {SDLK_EQUALS, SDL_KMOD_LSHIFT, AppAction::ZoomIn},
        {SDLK_UNKNOWN, SDL_KMOD_NONE, AppAction::None}};
    // clang-format on
    for (const auto& c : cases)
    {
        const Control* pControl = FindKeyControl(c.Key, c.Mods);
        EXPECT_EQ(pControl ? pControl->Action : AppAction::None, c.Expected)
            << SDL_GetKeyName(c.Key) << " " << c.Mods;
    }
}

TEST(StateJson, StringsAndNumbers)
{
    // clang-format off
    const std::pair<std::string, std::string> quoted[] = {
        {"plain", "\"plain\""}, {"say \"hi\"\\ now", "\"say \\\"hi\\\"\\\\ now\""}, {"a\nb\tc\rd", "\"a\\nb\\tc\\rd\""},
        {std::string("\x01\x1f", 2), "\"\\u0001\\u001f\""}, {"50 % \xc3\x97 2", "\"50 % \xc3\x97 2\""}};
    const std::pair<double, std::string> numbers[] = {
        {0.0, "0"}, {-12.5, "-12.5"}, {1200.0, "1200"}, {std::nan(""), "null"}, {std::numeric_limits<double>::infinity(), "null"}};
    // clang-format on
    for (const auto& [text, json] : quoted)
        EXPECT_EQ(JsonQuote(text), json);
    for (const auto& [number, json] : numbers)
        EXPECT_EQ(JsonNumber(number), json);
}
} // namespace
