#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

// A picture from a map's files decoded to RGBA8, row 0 at the top (the map's north edge when it
// spans the map).
struct SpringMapImage
{
    int Width = 0, Height = 0;
    std::vector<std::uint8_t> Rgba;
};

namespace SpringMapImageFile
{
// The largest side a DDS may declare (16384 texels covers a 32x32 map at full detail), and the
// largest any image may have where it is decoded: a DDS past it needs a smaller mip level.
constexpr int MaxDeclaredSidePx = 16384;
constexpr int MaxDecodedSidePx = 8192;

// Decodes a DDS (DXT1, DXT3, DXT5 or uncompressed), a BMP or a PNG by its leading bytes, and a TGA
// (which has none) by Name's ending. An image wider or taller than MaxSidePx is halved until it
// fits; a DDS starts at its first mip level that does. False with a short reason on anything else.
bool Decode(std::span<const std::uint8_t> Bytes, const std::string& Name, int MaxSidePx, SpringMapImage& Out,
            std::string& Error);
// Averages 2x2 texels until both sides are at most MaxSidePx.
void ShrinkToFit(SpringMapImage& Image, int MaxSidePx);
} // namespace SpringMapImageFile
