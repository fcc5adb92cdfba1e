#pragma once

#include <cstdint>
#include <vector>

// The grid's corner normals as a texture, so the terrain is lit per pixel: a patch drawn with few
// triangles keeps the light and shade of every square under it.
namespace terrainnormalmap
{
// RGBA8 texels, one per corner of the Width x Height grid, row-major in Z rows: each component of
// the corner's normal mapped from -1..1 to 0..255, alpha 255. PositionsNormals: 6 floats per vertex,
// the grid's corners first (as SpringMapRenderer::BuildMesh lays them out).
std::vector<std::uint8_t> EncodeTexels(const std::vector<float>& PositionsNormals, int Width, int Height);
} // namespace terrainnormalmap
