#include "appoptions.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <optional>

#include <CLI/CLI.hpp>

#include "authorview.h"
#include "controls.h"

namespace
{
constexpr int MinSidePx = 64;
constexpr int MaxSidePx = 16384;

bool ParseSide(const char* first, const char* last, int& out)
{
    int value = 0;
    const auto [end, error] = std::from_chars(first, last, value);
    if (error != std::errc() || end != last || value < MinSidePx || value > MaxSidePx)
        return false;
    out = value;
    return true;
}

std::string OneLine(std::string text)
{
    std::replace(text.begin(), text.end(), '\n', ' ');
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    return text;
}

// One option as the manual page shows it.
struct OptionHelp
{
    const char* Name;
    const char* Value;
    const char* Meaning; // what it does, its range and its default, in words
};

// clang-format off
const OptionHelp Options[] = {
    {"--map", "FILE", "Open this Spring map: an .smf file, an .sdd folder, or an .sdz or .sd7 archive.\n"
                      "Default: the built-in map."},
    {"--vehicles", "N", "Place N ground vehicles around the map's centre, a whole number from 0 to 5000.\n"
                        "Default: 12."},
    {"--aircraft", "N", "Place N aircraft circling above them, a whole number from 0 to 200. Default: 4."},
    {"--size", "WxH", "Open the window W pixels wide and H high, each from 64 to 16384. Default: 1280x720."},
    {"--frames", "N", "Draw N frames, then exit, N from 1 to 100000000; the simulation then steps at a\n"
                      "fixed 60 Hz, so runs repeat exactly. Default: run until the window is closed."},
    {"--screenshot", "FILE.png", "Write the last frame to this PNG file (opaque RGB). Its folder must exist\n"
                                 "and be writable. Default: no screenshot."},
    {"--state-out", "FILE", "At exit, write the camera, the effects preset, the selection, every unit and\n"
                            "every status message as JSON to this file. Its folder must exist and be\n"
                            "writable. Default: no state file."},
    {"--effects-panel", "on|off", "Show or hide the jet-effects panel at start (F3 switches it later).\n"
                                  "Default: shown when the window is wide enough for its text."},
    {"--water", "on|off", "Show or hide the water over ground below height 0 at start (W switches it later).\n"
                          "Default: on."},
    {"--features", "on|off", "Show or hide the map's features (trees, rocks, geovents) at start (T switches\n"
                             "them later). Default: on."},
    {"--view", "NAME", "Start in an author view: height, slope, metal, type or grass (F6 to F10 switch them\n"
                       "later). Default: off, the map's own look."},
    {"--watch", nullptr, "Reload the map whenever its files change (an exporter's new .smf or .smt, an edited\n"
                         "mapinfo.lua), keeping the camera; needs --map. F5 reloads by hand."},
    {"--browse", "[FOLDER]", "Open the map browser (Tab) at start, listing the maps in FOLDER first, then those in\n"
                             "the usual Spring map folders."},
    {"--info", "MAP", "Print the map's facts (name, size, heights, tile files, features, water) and every\n"
                      "warning without opening a window, then exit. Also --info --map FILE."},
    {"--json", nullptr, "With --info: print the same as JSON."},
    {"--help", nullptr, "Print this manual and exit."},
    {"--version", nullptr, "Print the version and exit."},
};
// clang-format on

// Text with Prefix before each line; lines longer than the page are broken at spaces.
std::string Indent(const std::string& Text, const std::string& Prefix)
{
    constexpr std::size_t PageColumns = 96;
    std::string out = Prefix;
    std::size_t column = Prefix.size();
    for (std::size_t i = 0; i < Text.size(); ++i)
    {
        const std::size_t wordEnd = std::min(Text.find_first_of(" \n", i + 1), Text.size());
        if (Text[i] == '\n' || (Text[i] == ' ' && column + (wordEnd - i) > PageColumns))
        {
            out += "\n" + Prefix;
            column = Prefix.size();
            continue;
        }
        out += Text[i];
        ++column;
    }
    return out + "\n";
}

std::string BuildManual()
{
    std::string text = "NAME\n    quindle - a 3D viewer for Spring maps with ground vehicles and aircraft\n\n"
                       "SYNOPSIS\n    quindle [OPTION]...\n\nOPTIONS\n";
    for (const OptionHelp& option : Options)
    {
        text +=
            "    " + std::string(option.Name) + (option.Value ? " " + std::string(option.Value) : "") + "\n";
        text += Indent(option.Meaning, "        ");
    }
    text += "\nCONTROLS\n";
    for (const Control& control : GetControls())
        text += "    " + std::string(control.Input) + "\n" + Indent(control.Does, "        ");
    text +=
        "\nSIGNALS\n"
        "    SIGUSR1   write the --state-out file after the current frame\n"
        "    SIGUSR2   write the --state-out file and the --screenshot after the current frame\n"
        "    SIGTERM   close the window, as its close button does\n"
        "\nEXIT STATUS\n"
        "    0   the window was closed, or the frames asked for were drawn\n"
        "    2   a bad option, an output file that cannot be written, a missing or corrupt map, or\n"
        "        no usable OpenGL 3.3 context; one line starting with \"quindle:\" on stderr says which\n";
    return text;
}

// A whole number from Min to Max, or the line that says what is wrong with Text.
std::optional<std::string> ParseCount(const char* Name, const std::string& Text, int Min, int Max, int& Out)
{
    const std::string expected =
        " (expected a whole number from " + std::to_string(Min) + " to " + std::to_string(Max) + ")";
    long long value = 0;
    const auto [end, error] = std::from_chars(Text.data(), Text.data() + Text.size(), value);
    if (Text.empty() || end != Text.data() + Text.size() || error == std::errc::invalid_argument)
        return "quindle: " + std::string(Name) + ": '" + Text + "' is not a number" + expected;
    if (error != std::errc() || value < Min || value > Max)
        return "quindle: " + std::string(Name) + ": " + Text + " is out of range" + expected;
    Out = static_cast<int>(value);
    return std::nullopt;
}

// "on" or "off" into Out, or the line that says what is wrong with Text.
std::optional<std::string> ParseOnOff(const char* Name, const std::string& Text, bool& Out)
{
    if (Text != "on" && Text != "off")
        return "quindle: " + std::string(Name) + ": expected on or off, got '" + Text + "'";
    Out = Text == "on";
    return std::nullopt;
}
} // namespace

bool ParseWindowSize(const std::string& Text, int& WidthPx, int& HeightPx)
{
    const std::size_t x = Text.find_first_of("xX");
    if (x == std::string::npos)
        return false;
    int width = 0, height = 0;
    if (!ParseSide(Text.data(), Text.data() + x, width) ||
        !ParseSide(Text.data() + x + 1, Text.data() + Text.size(), height))
        return false;
    WidthPx = width;
    HeightPx = height;
    return true;
}

std::string CheckOutputPath(const std::string& Path)
{
    const std::filesystem::path path(Path);
    const std::string folder = path.has_parent_path() ? path.parent_path().string() : ".";
    struct stat info = {};
    if (::stat(folder.c_str(), &info) != 0)
        return std::strerror(errno);
    if (!S_ISDIR(info.st_mode))
        return std::strerror(ENOTDIR);
    if (::stat(Path.c_str(), &info) == 0)
    {
        if (S_ISDIR(info.st_mode))
            return std::strerror(EISDIR);
        return ::access(Path.c_str(), W_OK) == 0 ? "" : std::strerror(errno);
    }
    return ::access(folder.c_str(), W_OK | X_OK) == 0 ? "" : std::strerror(errno);
}

ParseOutcome ParseCommandLine(int Argc, const char* const* Argv, AppOptions& Options, std::string& Text)
{
    CLI::App app{"", "quindle"};
    app.set_help_flag();
    bool bHelp = false, bVersion = false;
    AppOptions parsed;
    std::string vehicles, aircraft, size, frames, panel, water, features, view;
    app.add_flag("--help,-h", bHelp);
    app.add_flag("--version", bVersion);
    app.add_option("--map", parsed.MapPath);
    app.add_option("--vehicles", vehicles);
    app.add_option("--aircraft", aircraft);
    app.add_option("--size", size);
    app.add_option("--frames", frames);
    app.add_option("--screenshot", parsed.ScreenshotPath);
    app.add_option("--state-out", parsed.StateOutPath);
    app.add_option("--effects-panel", panel);
    app.add_option("--water", water);
    app.add_option("--features", features);
    app.add_option("--view", view);
    app.add_flag("--watch", parsed.bWatch);
    CLI::Option* browse = app.add_option("--browse", parsed.BrowseFolder)->expected(0, 1);
    CLI::Option* info = app.add_flag("--info", parsed.bInfo);
    app.add_flag("--json", parsed.bJson)->needs(info);
    app.add_option("MAP", parsed.MapPath)->needs(info);
    try
    {
        app.parse(Argc, Argv);
    }
    catch (const CLI::ArgumentMismatch& error)
    {
        // "--map: 1 required TEXT missing": the option's name, in plain words.
        const std::string what = error.what();
        Text = "quindle: " + what.substr(0, what.find(':')) + ": needs a value (see quindle --help)";
        return ParseOutcome::Error;
    }
    catch (const CLI::ParseError& error)
    {
        Text = "quindle: " + OneLine(error.what()) + " (see quindle --help)";
        return ParseOutcome::Error;
    }
    if (bHelp || bVersion)
    {
        Text = bHelp ? BuildManual() : "quindle " QUINDLE_VERSION "\n";
        return ParseOutcome::Help;
    }
    std::optional<std::string> error;
    struct stat mapInfo = {};
    if (!parsed.MapPath.empty() && ::stat(parsed.MapPath.c_str(), &mapInfo) != 0)
        error = "quindle: --map: " + parsed.MapPath + ": " + std::strerror(errno);
    parsed.bBrowse = browse->count() > 0;
    if (!parsed.BrowseFolder.empty() && !std::filesystem::is_directory(parsed.BrowseFolder) && !error)
        error = "quindle: --browse: " + parsed.BrowseFolder + ": not a folder";
    if (parsed.bWatch && parsed.MapPath.empty() && !error)
        error = "quindle: --watch: needs --map (the built-in map never changes)";
    if (!vehicles.empty() && !error)
        error = ParseCount("--vehicles", vehicles, 0, 5000, parsed.VehicleCount);
    if (!aircraft.empty() && !error)
        error = ParseCount("--aircraft", aircraft, 0, 200, parsed.AircraftCount);
    if (!frames.empty() && !error)
        error = ParseCount("--frames", frames, 1, 100000000, parsed.FrameCount);
    if (!size.empty() && !error && !ParseWindowSize(size, parsed.WidthPx, parsed.HeightPx))
        error = "quindle: --size: expected WIDTHxHEIGHT with each side in 64..16384, got '" + size + "'";
    bool bPanel = false;
    if (!panel.empty() && !error && !(error = ParseOnOff("--effects-panel", panel, bPanel)))
        parsed.EffectsPanel = bPanel ? AppOptions::Panel::On : AppOptions::Panel::Off;
    if (!water.empty() && !error)
        error = ParseOnOff("--water", water, parsed.bWater);
    if (!features.empty() && !error)
        error = ParseOnOff("--features", features, parsed.bFeatures);
    if (!view.empty() && !error)
    {
        int index = 0;
        while (index <= static_cast<int>(AuthorView::Grass) && view != GetAuthorViewName(AuthorView(index)))
            ++index;
        if (index > static_cast<int>(AuthorView::Grass))
            error = "quindle: --view: expected off, height, slope, metal, type or grass, got '" + view + "'";
        else
            parsed.AuthorViewIndex = index;
    }
    if (!parsed.ScreenshotPath.empty() && !error)
    {
        std::string extension = std::filesystem::path(parsed.ScreenshotPath).extension().string();
        std::transform(extension.begin(), extension.end(), extension.begin(),
                       [](unsigned char c) { return std::tolower(c); });
        if (extension != ".png")
            error = "quindle: --screenshot: only .png is supported";
        else if (const std::string why = CheckOutputPath(parsed.ScreenshotPath); !why.empty())
            error = "quindle: --screenshot: cannot write " + parsed.ScreenshotPath + ": " + why;
    }
    if (!parsed.StateOutPath.empty() && !error)
        if (const std::string why = CheckOutputPath(parsed.StateOutPath); !why.empty())
            error = "quindle: --state-out: cannot write " + parsed.StateOutPath + ": " + why;
    if (error)
    {
        Text = *error;
        return ParseOutcome::Error;
    }
    Options = parsed;
    return ParseOutcome::Run;
}
