#include "terrain_normalmap.h"

#include <algorithm>
#include <cmath>

namespace terrainnormalmap
{
std::vector<std::uint8_t> EncodeTexels(const std::vector<float>& PositionsNormals, int Width, int Height)
{
    const std::size_t corners = static_cast<std::size_t>(Width) * Height;
    std::vector<std::uint8_t> texels(corners * 4);
    for (std::size_t i = 0; i < corners; ++i)
    {
        for (int c = 0; c < 3; ++c)
        {
            const float unit = std::clamp(PositionsNormals[i * 6 + 3 + c], -1.0f, 1.0f);
            texels[i * 4 + c] = static_cast<std::uint8_t>(std::lround(unit * 127.5f + 127.5f));
        }
        texels[i * 4 + 3] = 255;
    }
    return texels;
}
} // namespace terrainnormalmap
