#include "appoptions.h"

#include <algorithm>
#include <charconv>

#include <CLI/CLI.hpp>

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

ParseOutcome ParseCommandLine(int Argc, const char* const* Argv, AppOptions& Options, std::string& Text)
{
    CLI::App app{"Quindle: a 3D viewer for Spring maps with ground vehicles and aircraft", "quindle"};
    AppOptions parsed;
    std::string size;
    app.add_option("--map", parsed.MapPath, "Spring map to open (.smf, .sdd folder, .sdz or .sd7)")
        ->check(CLI::ExistingPath);
    app.add_option("--vehicles", parsed.VehicleCount, "ground vehicles to place (0..5000)")
        ->check(CLI::Range(0, 5000));
    app.add_option("--aircraft", parsed.AircraftCount, "aircraft to place (0..200)")
        ->check(CLI::Range(0, 200));
    app.add_option("--size", size, "window size in pixels, e.g. 1280x720");
    app.add_option("--frames", parsed.FrameCount, "render this many frames, then exit")
        ->check(CLI::Range(1, 100000000));
    app.add_option("--screenshot", parsed.ScreenshotPath, "write the last frame to this PNG file");
    app.add_option("--state-out", parsed.StateOutPath, "write the viewer's state as JSON at exit");
    CLI::Option* info =
        app.add_flag("--info", parsed.bInfo, "print the map's facts and warnings without opening a window");
    app.add_flag("--json", parsed.bJson, "with --info: print them as JSON")->needs(info);
    app.add_option("MAP", parsed.MapPath, "with --info: the map, as for --map")
        ->check(CLI::ExistingPath)
        ->needs(info);
    try
    {
        app.parse(Argc, Argv);
    }
    catch (const CLI::CallForHelp&)
    {
        Text = app.help();
        return ParseOutcome::Help;
    }
    catch (const CLI::ParseError& error)
    {
        Text = "quindle: " + OneLine(error.what()) + " (see quindle --help)";
        return ParseOutcome::Error;
    }
    if (!size.empty() && !ParseWindowSize(size, parsed.WidthPx, parsed.HeightPx))
    {
        Text = "quindle: --size: expected WIDTHxHEIGHT with each side in 64..16384, got '" + size + "'";
        return ParseOutcome::Error;
    }
    Options = parsed;
    return ParseOutcome::Run;
}
