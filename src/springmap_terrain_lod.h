#pragma once

#include <array>
#include <cstdint>
#include <vector>

// Level of detail for the terrain mesh: the grid is cut into square patches, and each patch has
// index lists at steps of 1, 2, 4, ... squares, each with the largest height its triangles miss by.
// A frame draws every patch in view at the coarsest step whose error stays under a pixel on screen,
// so the triangles follow the screen rather than the map. Where neighbours differ in step, the
// cracks between them are hidden by skirts: strips hanging down from the inner patch edges.
//
//      patch A (step 1)   | patch B (step 4)
//      ___/\/\___________ | ___________          surface
//                |skirt|  |                       skirt drops below either edge
namespace terrainlod
{
constexpr int PatchSquares = 64;

struct Level
{
    int FirstIndex = 0;
    int IndexCount = 0;
    float ErrorWorld = 0.0f; // the largest height between this level's surface and the grid's
};

struct Patch
{
    int SquareX = 0, SquareZ = 0, WidthSquares = 0, DepthSquares = 0;
    float BoundsMin[3] = {}, BoundsMax[3] = {}; // world units, skirts included
    std::vector<Level> Levels;                  // finest first
};

// Appends the skirt vertices to PositionsNormals (6 floats per vertex, the grid's Width x Height
// vertices first, row-major in Z rows) and fills Indices and Patches. Heights: the grid's corners.
void BuildMesh(const std::vector<float>& Heights, int Width, int Height, float SquareSize,
               std::vector<float>& PositionsNormals, std::vector<std::uint32_t>& Indices,
               std::vector<Patch>& Patches);

// What one frame's choice needs from its view.
class ViewSelector
{
  public:
    // ViewProj: world to clip space, column-major; ViewportHeightPx: the target's height.
    // MaxErrorPx <= 0 draws every square.
    ViewSelector(const float* ViewProj, int ViewportHeightPx, float MaxErrorPx);
    // The level to draw the patch at, or -1 when it lies outside the view.
    int ChooseLevel(const Patch& P) const;

  private:
    std::array<std::array<float, 4>, 6> Planes{};
    std::array<float, 4> DepthRow{};
    float PxPerWorldAtUnitDepth = 0.0f;
    float MaxErrorPx = 0.0f;
};
} // namespace terrainlod
