#pragma once

#include <string>
#include <vector>

class GLViewport;
class GLWindow;

// The map on screen as the state file names it.
struct MapFacts
{
    std::string Name;
    std::string Path; // "" for the built-in map
    int Reloads = 0;
    std::vector<std::string> Warnings; // the loader's, of the latest load
};

// The application's own panels, as a script checking what is on screen needs them.
struct PanelFacts
{
    bool bHelp = false, bMinimap = false, bFrameStats = false, bBrowser = false;
    const char* pTooltip = nullptr; // the tooltip's text while one is shown
};

// The viewer's state as a JSON document: the camera fields, the effects preset, the selection, every
// unit's position and goals, the map with its loader's warnings, the panels shown (the effects panel
// among them) and every status message shown, oldest first.
std::string BuildStateJson(const GLViewport& View, const GLWindow& Window, int FramesRendered,
                           const MapFacts& Map = {}, const PanelFacts& Panels = {});
// A JSON array of strings on one line.
std::string JsonStrings(const std::vector<std::string>& Texts);

// A JSON string literal, quotes included; control characters are escaped, UTF-8 passes through.
std::string JsonQuote(const std::string& Text);
// A JSON number; NaN and infinities, which JSON cannot hold, become null.
std::string JsonNumber(double Value);
