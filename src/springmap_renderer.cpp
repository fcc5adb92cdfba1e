#include "springmap_renderer.h"

#include <algorithm>
#include <cmath>

bool SpringMapRenderer::LoadHeightGrid(int Width, int Height, float SquareSizeWorld, std::vector<float> Heights)
{
    if (Width < 2 || Height < 2 || !(SquareSizeWorld > 0.0f) ||
        Heights.size() != static_cast<std::size_t>(Width) * static_cast<std::size_t>(Height))
        return false;
    GridWidth = Width;
    GridHeight = Height;
    SquareSize = SquareSizeWorld;
    HeightGrid = std::move(Heights);
    IndexCount = (Width - 1) * (Height - 1) * 6;
    bLoaded = true;
    return true;
}

void SpringMapRenderer::Unload()
{
    bLoaded = false;
    GridWidth = GridHeight = 0;
    IndexCount = 0;
    HeightGrid.clear();
}

float SpringMapRenderer::GetTerrainHeight(float x, float z) const
{
    if (!bLoaded)
        return 0.0f;
    // Grid coordinates, clamped so off-map points take the edge height (NaN lands on 0).
    const float maxGx = static_cast<float>(GridWidth - 1);
    const float maxGz = static_cast<float>(GridHeight - 1);
    float gx = x / SquareSize;
    float gz = z / SquareSize;
    gx = (gx > 0.0f) ? std::min(gx, maxGx) : 0.0f;
    gz = (gz > 0.0f) ? std::min(gz, maxGz) : 0.0f;
    const int ix = std::min(static_cast<int>(gx), GridWidth - 2);
    const int iz = std::min(static_cast<int>(gz), GridHeight - 2);
    const float fx = gx - static_cast<float>(ix);
    const float fz = gz - static_cast<float>(iz);
    const float* row0 = &HeightGrid[static_cast<std::size_t>(iz) * GridWidth + ix];
    const float* row1 = row0 + GridWidth;
    const float top = row0[0] + (row0[1] - row0[0]) * fx;
    const float bottom = row1[0] + (row1[1] - row1[0]) * fx;
    return top + (bottom - top) * fz;
}
