#pragma once

#include <array>

// How a map's author lit and coloured it in mapinfo.lua (lighting, atmosphere, water). Each value
// starts at the engine's default, so a map that leaves a key out looks as it does in the game.
struct SpringMapLook
{
    using Colour = std::array<float, 3>;

    std::array<float, 3> SunDir{0.0f, 1.0f, 2.0f}; // towards the sun; normalised where used
    Colour GroundAmbient{0.5f, 0.5f, 0.5f};
    Colour GroundDiffuse{0.5f, 0.5f, 0.5f};
    Colour SkyColour{0.1f, 0.15f, 0.7f};
    Colour FogColour{0.7f, 0.7f, 0.8f};
    float FogStart = 0.1f; // fractions of the view range
    float FogEnd = 1.0f;
    // Water: the surface laid over the ground below height 0, and the light the water takes from
    // the ground under it per unit of depth (Base at the shore, never below Min).
    Colour WaterSurface{0.75f, 0.8f, 0.85f};
    float WaterSurfaceAlpha = 0.55f;
    Colour WaterAbsorb{0.0f, 0.0f, 0.0f};
    Colour WaterBase{0.0f, 0.0f, 0.0f};
    Colour WaterMin{0.0f, 0.0f, 0.0f};
    // A specular texture's highlight: its colour, and the sharpest one its full alpha asks for.
    Colour GroundSpecular{0.1f, 0.1f, 0.1f};
    float SpecularExponent = 100.0f;
    // Detail splatting: world units to texture repeats, and strength, for each of the 4 channels.
    std::array<float, 4> SplatTexScales{0.02f, 0.02f, 0.02f, 0.02f};
    std::array<float, 4> SplatTexMults{1.0f, 1.0f, 1.0f, 1.0f};
};
