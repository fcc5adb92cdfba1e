#include "springmap_loader.h"

#include <algorithm>
#include <array>
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

bool OpenMapFiles(const std::string& path, const Options& opts, MapFiles& files, std::string& error)
{
    std::error_code ec;
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
        if (!files.Archive.Open(root.string(), error) || !files.Archive.Find(entry, files.SmfEntry))
            return error = path + ": cannot read the map's folder", false;
        files.Label = root.string() + "/";
        return true;
    }
    files.Label = path + (fs::is_directory(path, ec) ? "/" : ":");
    return files.Archive.Open(path, error, opts.bReadTiles);
}

void RunMapInfo(const MapFiles& files, SpringMapInfo& info, std::vector<std::string>& warnings)
{
    std::string entry, error;
    std::vector<std::uint8_t> source;
    if (!files.Archive.Find("mapinfo.lua", entry))
        return;
    if (!files.Archive.Read(entry, source, error) ||
        !SpringMapInfoLua::Run(std::string(source.begin(), source.end()), entry, files.Archive, info, error))
        warnings.push_back(files.Label + entry + ": " + error + "; using the .smf header values");
}

bool FindSmf(MapFiles& files, const SpringMapInfo& info, std::string& error)
{
    if (!files.SmfEntry.empty())
        return true;
    if (info.MapFile && files.Archive.Find(*info.MapFile, files.SmfEntry))
        return true;
    for (const std::string& entry : files.Archive.GetEntries())
        if (SpringMapFiles::EndsWithIgnoreCase(entry, ".smf"))
        {
            files.SmfEntry = entry;
            return true;
        }
    error = files.Archive.GetPath() + ": no .smf file in the map";
    return false;
}

// The engine's lookup: the .smf's folder first, then the archive root, ignoring case.
bool ResolveTileFile(const MapFiles& files, const std::string& name, std::string& outEntry)
{
    const std::string smfDir = fs::path(files.SmfEntry).parent_path().generic_string();
    return files.Archive.Find(smfDir.empty() ? name : smfDir + "/" + name, outEntry) ||
           files.Archive.Find(name, outEntry);
}

bool LoadTileFiles(const MapFiles& files, const SpringMapInfo& info, const Options& opts, SpringMap& map,
                   std::string& error)
{
    const auto& refs = map.Smf.TileFiles;
    const bool bOverride = !info.SmtFileNames.empty() && info.SmtFileNames.size() == refs.size();
    if (!info.SmtFileNames.empty() && !bOverride)
        map.Warnings.push_back(files.Label + "mapinfo.lua: " + std::to_string(info.SmtFileNames.size()) +
                               " smtFileName entries for " + std::to_string(refs.size()) +
                               " tile files; using the names in the .smf");
    int firstTile = 0;
    for (std::size_t i = 0; i < refs.size(); ++i)
    {
        SpringMap::TileFile file;
        file.Name = bOverride ? info.SmtFileNames[i] : refs[i].Name;
        file.FirstTile = firstTile;
        file.TileCount = refs[i].TileCount;
        firstTile += refs[i].TileCount;
        if (!ResolveTileFile(files, file.Name, file.ResolvedPath))
        {
            map.Warnings.push_back(files.Label + file.Name + ": tile file not found; its " +
                                   std::to_string(file.TileCount) + " tiles are drawn as a placeholder");
            file.ResolvedPath.clear();
        }
        else if (opts.bReadTiles)
        {
            std::vector<std::uint8_t> data;
            const std::string label = files.Label + file.ResolvedPath;
            if (!files.Archive.Read(file.ResolvedPath, data, error) ||
                !SpringMapSmtFormat::Check(data, file.TileCount, label, error))
                return false;
            data.erase(data.begin(), data.begin() + SpringMapSmtFormat::HeaderBytes);
            data.resize(static_cast<std::size_t>(file.TileCount) * SpringMapSmtFormat::TileBytes);
            file.Tiles = std::move(data);
        }
        map.TileFiles.push_back(std::move(file));
    }
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
    MapFiles files;
    SpringMap map;
    SpringMapInfo info;
    if (!OpenMapFiles(Path, Opts, files, Error))
        return false;
    RunMapInfo(files, info, map.Warnings);
    if (!FindSmf(files, info, Error))
        return false;
    std::vector<std::uint8_t> smfData;
    if (!files.Archive.Read(files.SmfEntry, smfData, Error) ||
        !SpringMapSmfFormat::Parse(smfData, files.Label + files.SmfEntry, map.Smf, Error))
        return false;
    smfData = {};
    map.SourcePath = Path;
    map.SmfPath = files.SmfEntry;
    map.Name = info.Name.value_or(fs::path(files.SmfEntry).stem().string());
    // Each override stands on its own; an inverted range is what some maps ask for.
    map.MinHeight = info.MinHeight.value_or(map.Smf.MinHeight);
    map.MaxHeight = info.MaxHeight.value_or(map.Smf.MaxHeight);
    map.MaxMetal = info.MaxMetal.value_or(0.02f);
    if (!LoadTileFiles(files, info, Opts, map, Error))
        return false;
    Out = std::move(map);
    return true;
}
} // namespace SpringMapLoader
