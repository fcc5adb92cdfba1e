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
};
} // namespace SpringMapFiles
