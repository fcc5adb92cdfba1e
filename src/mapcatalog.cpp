#include "mapcatalog.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "minimap.h"
#include "springmap_archive.h"
#include "springmap_loader.h"

namespace fs = std::filesystem;

namespace
{
void AddFolder(std::vector<std::string>& Folders, const fs::path& Folder)
{
    std::error_code ec;
    if (Folder.empty() || !fs::is_directory(Folder, ec))
        return;
    const std::string canonical = fs::weakly_canonical(Folder, ec).string();
    if (std::find(Folders.begin(), Folders.end(), canonical) == Folders.end())
        Folders.push_back(canonical);
}

void AddEnvironmentFolders(std::vector<std::string>& Folders, const char* Variable)
{
    const char* value = std::getenv(Variable);
    if (!value)
        return;
    const std::string list = value;
    for (std::size_t start = 0; start <= list.size();)
    {
        const std::size_t end = std::min(list.find(':', start), list.size());
        if (end > start)
            AddFolder(Folders, fs::path(list.substr(start, end - start)) / "maps");
        start = end + 1;
    }
}

std::string GetPacking(const fs::directory_entry& Entry)
{
    std::error_code ec;
    const std::string name = Entry.path().filename().string();
    if (Entry.is_directory(ec))
        return SpringMapFiles::EndsWithIgnoreCase(name, ".sdd") ? "sdd" : "";
    for (const char* extension : {"sd7", "sdz", "smf"})
        if (SpringMapFiles::EndsWithIgnoreCase(name, std::string(".") + extension))
            return extension;
    return "";
}
} // namespace

std::vector<std::string> GetUserMapFolders()
{
    std::vector<std::string> folders;
    AddEnvironmentFolders(folders, "SPRING_DATADIR");
    AddEnvironmentFolders(folders, "SPRING_WRITEDIR");
    const char* home = std::getenv("HOME");
    if (!home || !*home)
        return folders;
    AddFolder(folders, fs::path(home) / ".spring" / "maps");
    for (const char* parent : {".local/state", ".local/share"})
    {
        std::error_code ec;
        for (fs::directory_iterator it(fs::path(home) / parent, ec), end; !ec && it != end; it.increment(ec))
            AddFolder(folders, it->path() / "maps");
    }
    return folders;
}

std::vector<MapListing> ListMapsInFolder(const std::string& Folder)
{
    std::vector<MapListing> maps;
    std::error_code ec;
    for (fs::directory_iterator it(Folder, ec), end; !ec && it != end; it.increment(ec))
        if (const std::string packing = GetPacking(*it); !packing.empty())
        {
            MapListing listing;
            listing.Path = it->path().string();
            listing.Packing = packing;
            listing.Name = it->path().filename().string();
            maps.push_back(std::move(listing));
        }
    std::sort(maps.begin(), maps.end(),
              [](const MapListing& a, const MapListing& b) { return a.Path < b.Path; });
    return maps;
}

void ReadMapListing(MapListing& Listing)
{
    SpringMap map;
    std::string error;
    Listing.bRead = true;
    // The tiles are most of a map's bytes and none of its listing.
    SpringMapLoader::Options options;
    options.bReadTiles = false;
    if (!SpringMapLoader::Load(Listing.Path, map, error, options))
    {
        Listing.Error = error;
        return;
    }
    Listing.Name = map.Name.empty() ? Listing.Name : map.Name;
    Listing.WidthSquares = map.Smf.MapX;
    Listing.HeightSquares = map.Smf.MapY;
    DecodeMinimapRgb(map.Smf.Minimap, MapListing::ThumbnailCells, Listing.Thumbnail);
}
