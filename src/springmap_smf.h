#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "springmap_limits.h"

// The contents of an .smf file, every section checked against the file before it was copied.
struct SpringMapSmf
{
    struct TileFileRef
    {
        std::string Name; // as stored in the .smf
        int TileCount = 0;
    };
    struct Feature
    {
        int Type = 0;
        float X = 0.0f, Y = 0.0f, Z = 0.0f;
        float Rotation = 0.0f;
        float RelativeSize = 0.0f;
    };

    std::uint32_t MapId = 0; // written as an arbitrary 32-bit value
    int MapX = 0;            // squares, west to east
    int MapY = 0;            // squares, north to south
    float MinHeight = 0.0f;  // header values; mapinfo may override them
    float MaxHeight = 0.0f;
    std::vector<std::uint16_t> RawHeights; // (MapX+1)*(MapY+1) corner heights, rows north first
    std::vector<std::uint8_t> TypeMap;     // (MapX/2)*(MapY/2)
    std::vector<std::uint8_t> MetalMap;    // (MapX/2)*(MapY/2)
    std::vector<std::uint8_t> GrassMap;    // (MapX/4)*(MapY/4), empty without a grass header
    std::vector<std::uint8_t> Minimap;     // DXT1 1024x1024 with its 9 mip levels
    int NumTiles = 0;
    std::vector<TileFileRef> TileFiles;
    std::vector<std::int32_t> TileIndex; // (MapX/4)*(MapY/4), each in [0, NumTiles)
    std::vector<std::string> FeatureTypes;
    std::vector<Feature> Features;
};

namespace SpringMapSmfFormat
{
constexpr int HeaderBytes = 80;
constexpr int MinimapSize = 1024;
constexpr std::uint64_t MinimapBytes = 699048; // 1024^2/2 and its 8 smaller mips
constexpr int MaxFeatureTypes = 16384;

// Parses an .smf held in memory. FileName only labels the error ("<FileName>: <problem>").
// Returns false with Error set, leaving Out untouched, on anything malformed or beyond Caps.
bool Parse(std::span<const std::uint8_t> Data, const std::string& FileName, SpringMapSmf& Out,
           std::string& Error, const SpringMapFiles::Limits& Caps = {});
} // namespace SpringMapSmfFormat
