#pragma once

#include <cstdint>
#include <string>

// Writes 8-bit RGBA pixels, rows top first, as an opaque RGB PNG: the alpha a framebuffer keeps
// after blending translucent overlays is no part of the picture, and viewers would show it washed
// out. False with a reason on any failure.
bool WritePngRgb(const std::string& Path, int WidthPx, int HeightPx, const std::uint8_t* Pixels,
                 std::string& Error);
