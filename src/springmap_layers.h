#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct SpringMap;

// What a map holds besides its ground, kept for drawing: the grids map authors paint (metal,
// terrain type, grass) and the feature placements.
struct SpringMapLayers
{
    // One byte per cell, row-major from the north-west corner.
    struct Grid
    {
        int Width = 0, Height = 0;
        float CellWorld = 0.0f; // world units per cell side
        std::vector<std::uint8_t> Values;
    };
    struct Feature
    {
        int Type = 0; // index into FeatureTypes
        float X = 0.0f, Z = 0.0f;
        float HeadingRad = 0.0f; // turned about the vertical, from the 16-bit heading the map stores
    };

    Grid Metal, TerrainType, Grass;
    float MaxMetal = 0.02f; // metal per cell at byte 255
    std::vector<std::string> FeatureTypes;
    std::vector<Feature> Features;

    static SpringMapLayers From(const SpringMap& Map);
};
