#include "glreadback.h"

#include <algorithm>
#include <cstddef>

#include <epoxy/gl.h>

std::vector<std::uint8_t> ReadPixelsTopDown(int LeftPx, int BottomPx, int WidthPx, int HeightPx)
{
    const std::size_t rowBytes = static_cast<std::size_t>(std::max(WidthPx, 0)) * 4;
    const int rows = std::max(HeightPx, 0);
    std::vector<std::uint8_t> bottomUp(rowBytes * rows);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(LeftPx, BottomPx, WidthPx, HeightPx, GL_RGBA, GL_UNSIGNED_BYTE, bottomUp.data());
    std::vector<std::uint8_t> topDown(bottomUp.size());
    for (int y = 0; y < rows; ++y)
        std::copy_n(bottomUp.begin() + static_cast<std::ptrdiff_t>(y * rowBytes), rowBytes,
                    topDown.begin() + static_cast<std::ptrdiff_t>((rows - 1 - y) * rowBytes));
    return topDown;
}
