#pragma once

#include <string>

// What the command line asks of one run of the application.
struct AppOptions
{
    enum class Panel
    {
        Auto, // shown where its rows fit the window
        On,
        Off
    };

    std::string MapPath;   // empty: the built-in default map
    int VehicleCount = 12; // a platoon: enough to try box selection and formations
    int AircraftCount = 4; // a flight of four
    int WidthPx = 1280;
    int HeightPx = 720;
    int FrameCount = 0;         // 0: run until the window is closed
    std::string ScreenshotPath; // PNG of the last frame
    std::string StateOutPath;   // JSON written at exit
    Panel EffectsPanel = Panel::Auto;
    bool bWater = true;       // the water over ground below height 0 (W switches it)
    bool bFeatures = true;    // the map's trees, rocks and vents (T switches them)
    int AuthorViewIndex = 0;  // 0: the map's own look; 1..5: height, slope, metal, type, grass (F6..F10)
    bool bInfo = false;       // print the map's facts and warnings instead of opening a window
    bool bJson = false;       // with bInfo: as JSON
    bool bWatch = false;      // reload the map whenever its files change
    bool bBrowse = false;     // open the map browser at start
    std::string BrowseFolder; // with bBrowse: listed before the user's map folders
};

enum class ParseOutcome
{
    Run,  // Options filled
    Help, // Text holds the help or the version to print on stdout; exit 0
    Error // Text holds one line for stderr; exit 2
};

// Parses the command line and checks that the output files can be written (their folder exists and
// is writable), so a bad path fails at start, not after the last frame. On an error Text is a single
// line naming the bad option and why.
ParseOutcome ParseCommandLine(int Argc, const char* const* Argv, AppOptions& Options, std::string& Text);

// Parses "WxH" with each side in 64..16384; false leaves the outputs untouched.
bool ParseWindowSize(const std::string& Text, int& WidthPx, int& HeightPx);

// Empty when Path can be written as a new or replaced file, else why not (from strerror).
std::string CheckOutputPath(const std::string& Path);
