#pragma once

#include <cstdint>

// DXT1 (BC1) blocks: 8 bytes per 4x4 texels, two RGB565 end points and 2-bit indices.
namespace SpringMapDxt1
{
constexpr int BlockBytes = 8;

// Decodes one block into 16 RGBA8 texels (row-major). Handles both colour modes: c0 > c1 gives four
// opaque colours, otherwise three colours plus transparent black at index 3.
void DecodeBlock(const std::uint8_t* pBlock, std::uint8_t* pRgba64);

// Decodes a whole level of WidthTexels x HeightTexels (multiples of 4) into RGBA8, rows top first.
void DecodeImage(const std::uint8_t* pBlocks, int WidthTexels, int HeightTexels, std::uint8_t* pRgba);

// Encodes 16 opaque RGBA8 texels (row-major) in four-colour mode with the two most distant texels
// as end points: good enough for generated terrain.
void EncodeBlock(const std::uint8_t* pRgba64, std::uint8_t* pBlock);

std::uint64_t LevelBytes(int WidthTexels, int HeightTexels);
} // namespace SpringMapDxt1
