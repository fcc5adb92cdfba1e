#include "springmap_loader.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>

#include "springmap_archive.h"
#include "springmap_mapinfo.h"
#include "springmap_smt.h"

namespace fs = std::filesystem;

float SpringMap::GetCornerHeight(int X, int Z) const
{
    const std::uint16_t raw = Smf.RawHeights[static_cast<std::size_t>(Z) * (Smf.MapX + 1) + X];
    return MinHeight + raw * ((MaxHeight - MinHeight) / 65536.0f);
}

void SpringMap::GetGroundRange(float& Lowest, float& Highest) const
{
    const float scale = (MaxHeight - MinHeight) / 65536.0f;
    // An inverted range (MinHeight > MaxHeight) puts the highest raw value lowest.
    Lowest = std::min(MinHeight + LowestRaw * scale, MinHeight + HighestRaw * scale);
    Highest = std::max(MinHeight + LowestRaw * scale, MinHeight + HighestRaw * scale);
}

const std::uint8_t* SpringMap::GetTile(int GlobalIndex) const
{
    for (const TileFile& file : TileFiles)
        if (GlobalIndex >= file.FirstTile && GlobalIndex < file.FirstTile + file.TileCount)
            return file.Tiles.empty()
                       ? SpringMapLoader::GetPlaceholderTile()
                       : file.Tiles.data() + static_cast<std::size_t>(GlobalIndex - file.FirstTile) *
                                                 SpringMapSmtFormat::TileBytes;
    return SpringMapLoader::GetPlaceholderTile();
}

namespace SpringMapLoader
{
namespace
{
std::array<std::uint8_t, SpringMapSmtFormat::TileBytes> BuildPlaceholderTile()
{
    std::array<std::uint8_t, SpringMapSmtFormat::TileBytes> tile{};
    // Solid blocks (all indices 0) alternating magenta and black, 4 texels wide at every level.
    const std::uint8_t magenta[8] = {0x1F, 0xF8, 0x00, 0x00, 0, 0, 0, 0};
    const std::uint8_t black[8] = {0x00, 0x00, 0x00, 0x00, 0, 0, 0, 0};
    for (int mip = 0; mip < SpringMapSmtFormat::TileMipCount; ++mip)
    {
        const int blocks = (SpringMapSmtFormat::TileTexels >> mip) / 4;
        for (int by = 0; by < blocks; ++by)
            for (int bx = 0; bx < blocks; ++bx)
                std::copy_n((bx + by) % 2 ? black : magenta, 8,
                            tile.data() + SpringMapSmtFormat::MipOffset(mip) + (by * blocks + bx) * 8);
    }
    return tile;
}

struct MapFiles
{
    SpringMapArchive Archive;
    std::string SmfEntry; // empty: find it by the engine's rule
    std::string Label;    // how errors name the map's files
};

bool OpenMapFiles(const std::string& path, const std::span<const std::uint8_t>* pBytes, MapFiles& files,
                  std::string& error, const SpringMapFiles::Limits& caps)
{
    std::error_code ec;
    if (pBytes)
    {
        // A bare .smf in memory is the one entry there is.
        files.Label = path + ":";
        if (!files.Archive.OpenMemory(path, *pBytes, error, caps))
            return false;
        if (SpringMapFiles::EndsWithIgnoreCase(path, ".smf") && !files.Archive.GetEntries().empty())
            files.SmfEntry = files.Archive.GetEntries().front();
        return true;
    }
    if (SpringMapFiles::EndsWithIgnoreCase(path, ".smf") && fs::is_regular_file(path, ec))
    {
        // A bare .smf: its folder, or the map folder around a "maps" folder, is the map's root.
        fs::path smf = fs::absolute(path, ec);
        fs::path root = smf.parent_path();
        std::string entry = smf.filename().string();
        if (SpringMapFiles::ToLower(root.filename().string()) == "maps")
        {
            entry = root.filename().string() + "/" + entry;
            root = root.parent_path();
        }
        if (!files.Archive.Open(root.string(), error, caps) || !files.Archive.Find(entry, files.SmfEntry))
            return error = path + ": cannot read the map's folder", false;
        files.Label = root.string() + "/";
        return true;
    }
    files.Label = path + (fs::is_directory(path, ec) ? "/" : ":");
    return files.Archive.Open(path, error, caps);
}

void RunMapInfo(MapFiles& files, SpringMapInfo& info, std::vector<std::string>& warnings,
                const SpringMapFiles::Limits& caps)
{
    std::string entry, error;
    std::vector<std::uint8_t> source;
    if (!files.Archive.Find("mapinfo.lua", entry))
        return;
    const std::string label = files.Label + entry + ": ";
    if (!files.Archive.Read(entry, source, error) ||
        !SpringMapInfoLua::Run(std::string(source.begin(), source.end()), entry, files.Archive, info, error,
                               caps))
        warnings.push_back(label + error + "; using the .smf header values");
    for (const std::string& ignored : info.Ignored)
        warnings.push_back(label + ignored);
}

bool EscapesTheMap(std::string path)
{
    std::replace(path.begin(), path.end(), '\\', '/');
    return path.starts_with('/') || ("/" + path + "/").find("/../") != std::string::npos;
}

// How a list of several maps names one: an .sdd folder by its name, anything else by its path.
std::string NameMapOf(const std::string& entry)
{
    const std::string top = entry.substr(0, entry.find('/'));
    return SpringMapFiles::EndsWithIgnoreCase(top, ".sdd") ? top : entry;
}

bool FindSmf(MapFiles& files, const SpringMapInfo& info, std::string& error)
{
    if (!files.SmfEntry.empty())
        return true;
    std::string mapInfoEntry = "mapinfo.lua";
    const bool bHasMapInfo = files.Archive.Find(mapInfoEntry, mapInfoEntry);
    if (info.MapFile)
    {
        // As in the engine, a map that names its .smf must hold it.
        error = files.Label + mapInfoEntry + ": mapfile '" + *info.MapFile + "' ";
        if (EscapesTheMap(*info.MapFile))
            return error += "points outside the map", false;
        if (!files.Archive.Find(*info.MapFile, files.SmfEntry))
            return error += "is not in the map", false;
        return true;
    }
    // Without mapinfo.lua, more than one .smf (or map archives in a folder) means several maps.
    std::vector<std::string> maps;
    for (const std::string& entry : files.Archive.GetEntries())
    {
        const bool bSmf = SpringMapFiles::EndsWithIgnoreCase(entry, ".smf");
        if (bSmf && files.SmfEntry.empty())
            files.SmfEntry = entry;
        if ((bSmf || SpringMapFiles::EndsWithIgnoreCase(entry, ".sdz") ||
             SpringMapFiles::EndsWithIgnoreCase(entry, ".sd7")) &&
            std::find(maps.begin(), maps.end(), NameMapOf(entry)) == maps.end())
            maps.push_back(NameMapOf(entry));
    }
    if (!bHasMapInfo && maps.size() > 1)
    {
        error = files.Archive.GetPath() + ": holds several maps (";
        for (std::size_t i = 0; i < maps.size(); ++i)
            error += (i ? ", " : "") + maps[i];
        return error += "); open one of them", false;
    }
    if (files.SmfEntry.empty())
        return error =
                   files.Archive.GetPath() + ": no .smf file in the map" +
                   (maps.empty() ? ""
                                 : " (archives inside an archive, such as " + maps[0] + ", are not opened)"),
               false;
    return true;
}

// The engine's lookup: the .smf's folder first, then the archive root, ignoring case.
bool ResolveTileFile(const MapFiles& files, const std::string& name, std::string& outEntry)
{
    const std::string smfDir = fs::path(files.SmfEntry).parent_path().generic_string();
    return files.Archive.Find(smfDir.empty() ? name : smfDir + "/" + name, outEntry) ||
           files.Archive.Find(name, outEntry);
}

bool LoadTileFiles(MapFiles& files, const SpringMapInfo& info, const Options& opts, SpringMap& map,
                   std::string& error)
{
    const auto& refs = map.Smf.TileFiles;
    const bool bOverride = !info.SmtFileNames.empty() && info.SmtFileNames.size() == refs.size();
    if (!info.SmtFileNames.empty() && !bOverride)
        map.Warnings.push_back(files.Label + "mapinfo.lua: " + std::to_string(info.SmtFileNames.size()) +
                               " smtFileName entries for " + std::to_string(refs.size()) +
                               " tile files; using the names in the .smf");
    int firstTile = 0;
    std::vector<std::string> resolved;
    for (const SpringMapSmf::TileFileRef& ref : refs)
    {
        SpringMap::TileFile file;
        file.Name = bOverride ? info.SmtFileNames[map.TileFiles.size()] : ref.Name;
        file.FirstTile = firstTile;
        file.TileCount = ref.TileCount;
        firstTile += ref.TileCount;
        if (ResolveTileFile(files, file.Name, file.ResolvedPath))
            resolved.push_back(file.ResolvedPath);
        map.TileFiles.push_back(std::move(file));
    }
    // The ground is built from tiles only when some tile file is there; otherwise the minimap is.
    // A hostile .smf may list thousands of files: the first few missing are named, the rest counted.
    constexpr std::size_t NamedMissingFiles = 8;
    std::size_t missing = 0;
    for (const SpringMap::TileFile& file : map.TileFiles)
        if (file.ResolvedPath.empty() && ++missing <= NamedMissingFiles)
            map.Warnings.push_back(files.Label + file.Name + ": tile file not found; " +
                                   (resolved.empty() ? "the minimap stands in for its "
                                                     : "a magenta and black placeholder stands in for its ") +
                                   std::to_string(file.TileCount) + " tiles");
    if (missing > NamedMissingFiles)
        map.Warnings.push_back(files.Label + files.SmfEntry + ": " +
                               std::to_string(missing - NamedMissingFiles) + " more tile files not found");
    if (!opts.bReadTiles)
        return true;
    // One pass over the archive for the tiles and the ground's textures.
    for (const std::string& entry : SpringMapTextures::ListResolved(map.Textures))
        resolved.push_back(entry);
    if (!files.Archive.Unpack(resolved, error))
        return false;
    for (SpringMap::TileFile& file : map.TileFiles)
    {
        std::vector<std::uint8_t> data;
        if (file.ResolvedPath.empty())
            continue;
        if (!files.Archive.Read(file.ResolvedPath, data, error) ||
            !SpringMapSmtFormat::Check(data, file.TileCount, files.Label + file.ResolvedPath, error))
            return false;
        data.erase(data.begin(), data.begin() + SpringMapSmtFormat::HeaderBytes);
        data.resize(static_cast<std::size_t>(file.TileCount) * SpringMapSmtFormat::TileBytes);
        file.Tiles = std::move(data);
    }
    SpringMapTextures::Read(files.Archive, files.Label, map.Textures, map.Warnings);
    return true;
}

void FindRawRange(SpringMap& map)
{
    // A plain loop: it vectorises, where std::minmax_element does not.
    std::uint16_t lowest = 0xFFFF, highest = 0;
    for (const std::uint16_t raw : map.Smf.RawHeights)
    {
        lowest = std::min(lowest, raw);
        highest = std::max(highest, raw);
    }
    map.LowestRaw = lowest;
    map.HighestRaw = highest;
}

// Stored heights that vary but span less than one unit: the header's placeholder range was left in
// and no mapinfo value replaced it, so the relief is drawn squashed flat.
void WarnIfFlat(const MapFiles& files, SpringMap& map)
{
    float lowest = 0.0f, highest = 0.0f;
    map.GetGroundRange(lowest, highest);
    if (map.LowestRaw == map.HighestRaw || highest - lowest >= 1.0f)
        return;
    char range[64];
    std::snprintf(range, sizeof(range), "%g..%g", map.MinHeight, map.MaxHeight);
    map.Warnings.push_back(files.Label + files.SmfEntry + ": flat: heights " + range +
                           " look like a placeholder; the ground is drawn less than 1 unit tall");
}

bool LoadMap(const std::string& path, const std::span<const std::uint8_t>* pBytes, SpringMap& map,
             std::string& error, const Options& opts)
{
    MapFiles files;
    SpringMapInfo info;
    if (!OpenMapFiles(path, pBytes, files, error, opts.Caps) ||
        (opts.bUnpackWholeArchive && !files.Archive.Unpack(files.Archive.GetEntries(), error)))
        return false;
    map.Warnings = files.Archive.GetWarnings();
    RunMapInfo(files, info, map.Warnings, opts.Caps);
    if (!FindSmf(files, info, error))
        return false;
    std::vector<std::uint8_t> smfData;
    std::span<const std::uint8_t> smfView;
    if (!files.Archive.ReadView(files.SmfEntry, smfData, smfView, error) ||
        !SpringMapSmfFormat::Parse(smfView, files.Label + files.SmfEntry, map.Smf, error, opts.Caps))
        return false;
    smfData = {};
    map.SourcePath = path;
    map.SmfPath = files.SmfEntry;
    map.Name = info.Name.value_or(fs::path(files.SmfEntry).stem().string());
    // Each override stands on its own; an inverted range is what some maps ask for.
    map.MinHeight = info.MinHeight.value_or(map.Smf.MinHeight);
    map.MaxHeight = info.MaxHeight.value_or(map.Smf.MaxHeight);
    map.MaxMetal = info.MaxMetal.value_or(0.02f);
    map.Look = info.Look;
    map.Textures = SpringMapTextures::Resolve(files.Archive, files.Label, info.Textures, map.Warnings);
    if (!LoadTileFiles(files, info, opts, map, error))
        return false;
    FindRawRange(map);
    WarnIfFlat(files, map);
    map.ReadEntries = files.Archive.GetReadEntries();
    return true;
}

bool LoadOneLine(const std::string& path, const std::span<const std::uint8_t>* pBytes, SpringMap& out,
                 std::string& error, const Options& opts)
{
    SpringMap map;
    // Names inside map files (tile files, Lua messages) may hold line breaks; every line we print is one.
    if (!LoadMap(path, pBytes, map, error, opts))
        return error = SpringMapFiles::OneLine(error), false;
    for (std::string& warning : map.Warnings)
        warning = SpringMapFiles::OneLine(warning);
    out = std::move(map);
    return true;
}
} // namespace

const std::uint8_t* GetPlaceholderTile()
{
    static const auto tile = BuildPlaceholderTile();
    return tile.data();
}

bool Load(const std::string& Path, SpringMap& Out, std::string& Error, const Options& Opts)
{
    return LoadOneLine(Path, nullptr, Out, Error, Opts);
}

bool LoadFromMemory(const std::string& Name, std::span<const std::uint8_t> Bytes, SpringMap& Out,
                    std::string& Error, const Options& Opts)
{
    return LoadOneLine(Name, &Bytes, Out, Error, Opts);
}
} // namespace SpringMapLoader
