#include "springmap_layers.h"

#include <cmath>

#include "springmap_loader.h"

namespace
{
SpringMapLayers::Grid MakeGrid(const std::vector<std::uint8_t>& Values, int Width, int Height,
                               float CellWorld)
{
    SpringMapLayers::Grid grid;
    if (Width < 1 || Height < 1 || Values.size() != static_cast<std::size_t>(Width) * Height)
        return grid; // absent (no grass header) or not matching the map: drawn as empty
    grid.Width = Width;
    grid.Height = Height;
    grid.CellWorld = CellWorld;
    grid.Values = Values;
    return grid;
}
} // namespace

SpringMapLayers SpringMapLayers::From(const SpringMap& Map)
{
    const SpringMapSmf& smf = Map.Smf;
    SpringMapLayers layers;
    // Metal and type cover 2x2 squares (16 world units), grass 4x4.
    layers.Metal = MakeGrid(smf.MetalMap, smf.MapX / 2, smf.MapY / 2, 16.0f);
    layers.TerrainType = MakeGrid(smf.TypeMap, smf.MapX / 2, smf.MapY / 2, 16.0f);
    layers.Grass = MakeGrid(smf.GrassMap, smf.MapX / 4, smf.MapY / 4, 32.0f);
    layers.MaxMetal = Map.MaxMetal;
    layers.FeatureTypes = smf.FeatureTypes;
    for (const SpringMapSmf::Feature& feature : smf.Features)
    {
        if (feature.Type < 0 || feature.Type >= static_cast<int>(smf.FeatureTypes.size()) ||
            !std::isfinite(feature.X) || !std::isfinite(feature.Z))
            continue;
        // The map stores a heading in 1/65536 of a turn as a float; anything finite wraps.
        const float turns =
            std::isfinite(feature.Rotation) ? std::fmod(feature.Rotation, 65536.0f) / 65536.0f : 0.0f;
        layers.Features.push_back({feature.Type, feature.X, feature.Z, turns * 6.2831853f});
    }
    return layers;
}
