#include "mapsetup.h"

#include <cmath>
#include <vector>

#include "springmap_loader.h"
#include "springmap_renderer.h"

bool LoadDefaultMap(SpringMapRenderer& Map)
{
    constexpr int Squares = 256;
    constexpr float SquareSizeWorld = 8.0f;
    constexpr int Corners = Squares + 1;
    std::vector<float> heights(static_cast<std::size_t>(Corners) * Corners);
    for (int z = 0; z < Corners; ++z)
        for (int x = 0; x < Corners; ++x)
        {
            const double u = static_cast<double>(x) / Squares, v = static_cast<double>(z) / Squares;
            const double hills =
                40.0 * std::sin(u * 9.0) * std::cos(v * 7.0) + 25.0 * std::sin((u + v) * 13.0);
            const double ridge = 220.0 * std::exp(-std::pow((u - 0.25 - 0.3 * v) / 0.07, 2.0));
            const double basin = -90.0 * std::exp(-(std::pow(u - 0.7, 2.0) + std::pow(v - 0.65, 2.0)) / 0.02);
            heights[static_cast<std::size_t>(z) * Corners + x] =
                static_cast<float>(120.0 + hills + ridge + basin);
        }
    return Map.LoadHeightGrid(Corners, Corners, SquareSizeWorld, std::move(heights));
}

bool LoadMap(const std::string& Path, SpringMapRenderer& Map, std::string& Name, std::string& Error)
{
    if (Path.empty())
    {
        Name = "Default";
        if (LoadDefaultMap(Map))
            return true;
        Error = "the default map could not be built";
        return false;
    }
    SpringMap loaded;
    if (!SpringMapLoader::Load(Path, loaded, Error))
        return false;
    if (!Map.LoadMap(loaded))
    {
        Error = Path + ": the map's height grid cannot be used";
        return false;
    }
    Name = loaded.Name;
    return true;
}
