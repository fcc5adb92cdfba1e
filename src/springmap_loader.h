#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "springmap_limits.h"
#include "springmap_look.h"
#include "springmap_smf.h"
#include "springmap_textures.h"

// A Spring map as loaded from an .smf path, an .sdd folder or an .sdz/.sd7 archive: the parsed .smf,
// the mapinfo overrides applied, and the tiles of every resolvable .smt.
struct SpringMap
{
    struct TileFile
    {
        std::string Name;         // the name used for the lookup (mapinfo's when it overrides)
        std::string ResolvedPath; // entry inside the map's files; empty when it could not be found
        int FirstTile = 0;        // global index of this file's first tile
        int TileCount = 0;
        std::vector<std::uint8_t> Tiles; // TileCount * 680 bytes; empty when unresolved
    };

    std::string Name;       // mapinfo's name, else the .smf's base name
    std::string SourcePath; // what was opened
    std::string SmfPath;    // entry of the .smf inside the map's files
    SpringMapSmf Smf;
    float MinHeight = 0.0f; // after the mapinfo overrides; MinHeight > MaxHeight is legal (inverted)
    float MaxHeight = 0.0f;
    float MaxMetal = 0.02f;
    SpringMapLook Look;                          // mapinfo's lighting, sky and water
    std::uint16_t LowestRaw = 0, HighestRaw = 0; // range of the stored corner heights
    std::vector<TileFile> TileFiles;
    std::vector<SpringMapTexture> Textures; // the ground's textures mapinfo names, as resolved and read
    std::vector<std::string> Warnings; // "<file>: <problem>", one line each, for what did not stop the load
    std::vector<std::string> ReadEntries; // the map's files that were read (unpacked), in order

    // Corner height in world units: MinHeight + raw * (MaxHeight - MinHeight) / 65536.
    float GetCornerHeight(int X, int Z) const;
    // The 680 bytes of a global tile index, or a visible placeholder when its file is unresolved.
    const std::uint8_t* GetTile(int GlobalIndex) const;
    // Lowest and highest corner height in world units, from LowestRaw and HighestRaw.
    void GetGroundRange(float& Lowest, float& Highest) const;
};

namespace SpringMapLoader
{
struct Options
{
    bool bReadTiles = true; // false skips the .smt files and textures (header, heights and minimap only)
    // Unpacks every archive entry up front instead of only the ones needed: the reference the
    // selective reading is checked against.
    bool bUnpackWholeArchive = false;
    SpringMapFiles::Limits Caps; // on the bytes and entries read from the map's files
};

// Opens a map. Returns false with a one-line Error naming the file and the problem, leaving Out
// untouched. Archives are read only as far as the map needs: mapinfo.lua and what it includes, the
// .smf and the tile files it names.
bool Load(const std::string& Path, SpringMap& Out, std::string& Error, const Options& Opts = {});
// The same over a map held in memory: Name's ending picks an .smf, else a zip or 7z archive.
bool LoadFromMemory(const std::string& Name, std::span<const std::uint8_t> Bytes, SpringMap& Out,
                    std::string& Error, const Options& Opts = {});
// The placeholder drawn for tiles whose .smt cannot be found: a magenta and black checker.
const std::uint8_t* GetPlaceholderTile();
} // namespace SpringMapLoader
