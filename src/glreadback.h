#pragma once

#include <cstdint>
#include <vector>

// The read framebuffer's pixels in the rectangle from (LeftPx, BottomPx), WidthPx x HeightPx, as
// RGBA rows with the top row first (GL's rows start at the bottom; images at the top).
std::vector<std::uint8_t> ReadPixelsTopDown(int LeftPx, int BottomPx, int WidthPx, int HeightPx);
