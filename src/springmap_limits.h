#pragma once

#include <cstddef>
#include <cstdint>

namespace SpringMapFiles
{
// What one map may make the loader read, so a hostile archive costs bounded memory and time.
struct Limits
{
    std::uint64_t MaxEntryBytes = 256ull << 20; // a 32x32 map's full tile file is 178 MB
    std::uint64_t MaxTotalBytes = 1ull << 30;   // everything read from one map, includes counted again
    std::size_t MaxEntries = 50000;             // real maps hold hundreds to a few thousand files
    int MaxMapSquares = 64 * 256; // along each side: far beyond the largest map an engine accepts
    int MaxTileFiles = 4096;      // an .smf names one tile file, or a few
    // mapinfo.lua's sandbox. Instructions alone do not bound time: a garbage collector near the
    // memory cap or string functions on large inputs can be slow per instruction.
    std::size_t MapInfoBytes = 16u << 20; // real mapinfo files need well under 1 MiB
    int MapInfoInstructions = 20'000'000;
    int MapInfoMs = 2000;
};
} // namespace SpringMapFiles
