#pragma once

#include <string>
#include <vector>

class GLViewport;
class GLWindow;

// The viewer's state as a JSON document: the camera fields, the effects preset, the selection, every
// unit's position and goals, the map loader's warnings and every status message shown, oldest first.
std::string BuildStateJson(const GLViewport& View, const GLWindow& Window, int FramesRendered,
                           const std::vector<std::string>& MapWarnings = {});
// A JSON array of strings on one line.
std::string JsonStrings(const std::vector<std::string>& Texts);

// A JSON string literal, quotes included; control characters are escaped, UTF-8 passes through.
std::string JsonQuote(const std::string& Text);
// A JSON number; NaN and infinities, which JSON cannot hold, become null.
std::string JsonNumber(double Value);
