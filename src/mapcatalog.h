#pragma once

#include <cstdint>
#include <string>
#include <vector>

// A map found on disk, for the map browser: where it is and how it is packed at once, its own
// name, size and minimap thumbnail once read.
struct MapListing
{
    static constexpr int ThumbnailCells = 16;

    std::string Path;
    std::string Packing; // "sd7", "sdz", "sdd" (a folder) or "smf"
    std::string Name;    // the file name until read, then the map's own name
    int WidthSquares = 0, HeightSquares = 0;
    bool bRead = false;                  // facts read, or Error says why not
    std::string Error;                   // one line
    std::vector<std::uint8_t> Thumbnail; // ThumbnailCells^2 RGB rows once read
};

// Where a Spring-engine player keeps maps, as existing folders, each once: every folder of
// SPRING_DATADIR (colon-separated) and SPRING_WRITEDIR with "/maps", ~/.spring/maps, and the "maps"
// folder of each game install under ~/.local/state and ~/.local/share.
std::vector<std::string> GetUserMapFolders();
// The maps directly inside Folder (.sd7, .sdz and .smf files, .sdd folders), sorted by name,
// unread; none when Folder cannot be listed.
std::vector<MapListing> ListMapsInFolder(const std::string& Folder);
// Reads the map, tiles left out, to fill in its name, size and thumbnail; a map that fails says so
// in Error.
void ReadMapListing(MapListing& Listing);
