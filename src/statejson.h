#pragma once

#include <string>

class GLViewport;
class GLWindow;

// The viewer's state as a JSON document: the camera fields, the effects preset, the selection, every
// unit's position and goals, and every status message shown, oldest first.
std::string BuildStateJson(const GLViewport& View, const GLWindow& Window, int FramesRendered);

// A JSON string literal, quotes included; control characters are escaped, UTF-8 passes through.
std::string JsonQuote(const std::string& Text);
// A JSON number; NaN and infinities, which JSON cannot hold, become null.
std::string JsonNumber(double Value);
