#pragma once

#include <cstdint>
#include <span>
#include <string>

// .smt tile files: a 32-byte header, then tiles of 680 bytes (32x32, 16x16, 8x8 and 4x4 DXT1 levels).
namespace SpringMapSmtFormat
{
constexpr int HeaderBytes = 32;
constexpr int TileBytes = 680;
constexpr int TileTexels = 32;
constexpr int TileMipCount = 4;
// Byte offset of mip level Mip inside a tile.
constexpr int MipOffset(int Mip)
{
    return Mip == 0 ? 0 : Mip == 1 ? 512 : Mip == 2 ? 640 : 672;
}

// Checks the header and that the file holds TileCount tiles. The header's own tile count is not
// trusted (some writers leave it 0). FileName only labels the error.
bool Check(std::span<const std::uint8_t> Data, std::int64_t TileCount, const std::string& FileName,
           std::string& Error);
} // namespace SpringMapSmtFormat
