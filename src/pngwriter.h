#pragma once

#include <cstdint>
#include <string>

// Writes 8-bit RGBA pixels, rows top first, as a PNG. False with a reason on any failure.
bool WritePngRgba(const std::string& Path, int WidthPx, int HeightPx, const std::uint8_t* Pixels,
                  std::string& Error);
