#include "mapreport.h"

#include <cstdio>
#include <map>
#include <vector>

#include "springmap_loader.h"
#include "statejson.h"

namespace
{
constexpr float WaterLevel = 0.0f; // the engine's sea level
constexpr int WorldUnitsPerSquare = 8;

std::string FormatRange(float Low, float High)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%g..%g", Low, High);
    return text;
}

// Placed features per type name, in type order; types with none placed are left out.
std::vector<std::pair<std::string, int>> CountFeatures(const SpringMap& Map)
{
    std::map<int, int> counts;
    for (const SpringMapSmf::Feature& feature : Map.Smf.Features)
        ++counts[feature.Type];
    std::vector<std::pair<std::string, int>> result;
    for (const auto& [type, count] : counts)
        result.emplace_back(Map.Smf.FeatureTypes[static_cast<std::size_t>(type)], count);
    return result;
}

std::string JsonPair(double A, double B)
{
    return "[" + JsonNumber(A) + ", " + JsonNumber(B) + "]";
}
} // namespace

std::string BuildMapReportText(const SpringMap& Map)
{
    float lowest = 0.0f, highest = 0.0f;
    Map.GetGroundRange(lowest, highest);
    const int mapX = Map.Smf.MapX, mapY = Map.Smf.MapY;
    std::string out =
        "name: " + Map.Name + "\nsource: " + Map.SourcePath + "\nsmf: " + Map.SmfPath +
        "\nsize: " + std::to_string(mapX) + "x" + std::to_string(mapY) + " squares, " +
        std::to_string(mapX * WorldUnitsPerSquare) + "x" + std::to_string(mapY * WorldUnitsPerSquare) +
        " world units" +
        "\nheights in the .smf header: " + FormatRange(Map.Smf.MinHeight, Map.Smf.MaxHeight) +
        "\nheights after mapinfo: " + FormatRange(Map.MinHeight, Map.MaxHeight) +
        "\nground: " + FormatRange(lowest, highest) +
        (lowest < WaterLevel ? ", some below the water level (0)\n" : ", none below the water level (0)\n");
    out += "tile files: " + std::to_string(Map.TileFiles.size()) + " (" + std::to_string(Map.Smf.NumTiles) +
           " tiles)\n";
    for (const SpringMap::TileFile& file : Map.TileFiles)
        out += "  " + file.Name + ": " +
               (file.ResolvedPath.empty() ? std::string("not found") : "found as " + file.ResolvedPath) +
               ", " + std::to_string(file.TileCount) + " tiles\n";
    out += "textures: " + std::to_string(Map.Textures.size()) + "\n";
    for (const SpringMapTexture& texture : Map.Textures)
        out +=
            "  " + texture.Key + ": " + texture.Name + ": " +
            (texture.ResolvedPath.empty() ? std::string("not found") : "found as " + texture.ResolvedPath) +
            (texture.Image.Rgba.empty()
                 ? std::string(texture.ResolvedPath.empty() ? "" : ", not read")
                 : ", " + std::to_string(texture.Image.Width) + "x" + std::to_string(texture.Image.Height)) +
            "\n";
    out += "features: " + std::to_string(Map.Smf.Features.size()) + " placed, " +
           std::to_string(Map.Smf.FeatureTypes.size()) + " types\n";
    for (const auto& [type, count] : CountFeatures(Map))
        out += "  " + type + ": " + std::to_string(count) + "\n";
    out += "warnings: " + std::to_string(Map.Warnings.size()) + "\n";
    for (const std::string& warning : Map.Warnings)
        out += "  " + warning + "\n";
    out += "files read:";
    for (const std::string& entry : Map.ReadEntries)
        out += " " + entry;
    return out + "\n";
}

std::string BuildMapReportJson(const SpringMap& Map)
{
    float lowest = 0.0f, highest = 0.0f;
    Map.GetGroundRange(lowest, highest);
    const int mapX = Map.Smf.MapX, mapY = Map.Smf.MapY;
    std::string tiles = "[";
    for (const SpringMap::TileFile& file : Map.TileFiles)
        tiles += std::string(tiles.size() > 1 ? ", " : "") + "{\"name\": " + JsonQuote(file.Name) +
                 ", \"resolved\": " + (file.ResolvedPath.empty() ? "null" : JsonQuote(file.ResolvedPath)) +
                 ", \"tiles\": " + std::to_string(file.TileCount) + "}";
    std::string textures = "[";
    for (const SpringMapTexture& texture : Map.Textures)
        textures +=
            std::string(textures.size() > 1 ? ", " : "") + "{\"key\": " + JsonQuote(texture.Key) +
            ", \"name\": " + JsonQuote(texture.Name) +
            ", \"resolved\": " + (texture.ResolvedPath.empty() ? "null" : JsonQuote(texture.ResolvedPath)) +
            ", \"size\": " +
            (texture.Image.Rgba.empty() ? "null" : JsonPair(texture.Image.Width, texture.Image.Height)) + "}";
    std::string features = "{";
    for (const auto& [type, count] : CountFeatures(Map))
        features += (features.size() > 1 ? ", " : "") + JsonQuote(type) + ": " + std::to_string(count);
    return "{\n  \"name\": " + JsonQuote(Map.Name) + ",\n  \"source\": " + JsonQuote(Map.SourcePath) +
           ",\n  \"smf\": " + JsonQuote(Map.SmfPath) + ",\n  \"squares\": " + JsonPair(mapX, mapY) +
           ",\n  \"worldUnits\": " + JsonPair(mapX * WorldUnitsPerSquare, mapY * WorldUnitsPerSquare) +
           ",\n  \"headerHeights\": " + JsonPair(Map.Smf.MinHeight, Map.Smf.MaxHeight) +
           ",\n  \"heights\": " + JsonPair(Map.MinHeight, Map.MaxHeight) +
           ",\n  \"groundHeights\": " + JsonPair(lowest, highest) +
           ",\n  \"belowWater\": " + (lowest < WaterLevel ? "true" : "false") +
           ",\n  \"tileFiles\": " + tiles + "],\n  \"tiles\": " + std::to_string(Map.Smf.NumTiles) +
           ",\n  \"textures\": " + textures + "]" +
           ",\n  \"features\": " + std::to_string(Map.Smf.Features.size()) +
           ",\n  \"featuresByType\": " + features + "},\n  \"warnings\": " + JsonStrings(Map.Warnings) +
           ",\n  \"filesRead\": " + JsonStrings(Map.ReadEntries) + "\n}\n";
}
