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

// The viewer's state as a JSON document: the camera fields, the effects preset, the selection, every
// unit's position and goals, the map with its loader's warnings and every status message shown,
// oldest first.
std::string BuildStateJson(const GLViewport& View, const GLWindow& Window, int FramesRendered,
                           const MapFacts& Map = {});
// A JSON array of strings on one line.
std::string JsonStrings(const std::vector<std::string>& Texts);

// A JSON string literal, quotes included; control characters are escaped, UTF-8 passes through.
std::string JsonQuote(const std::string& Text);
// A JSON number; NaN and infinities, which JSON cannot hold, become null.
std::string JsonNumber(double Value);
