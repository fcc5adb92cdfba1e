#pragma once

#include <vector>

// The terrain of the loaded Spring map: a grid of corner heights with a spacing of SquareSize world
// units, spanning X 0..(GridWidth-1)*SquareSize and Z 0..(GridHeight-1)*SquareSize.
class SpringMapRenderer
{
public:
    // Installs a height grid of Width x Height corner heights (row-major, Z rows) and builds the
    // terrain mesh's index count. Returns false, leaving the map as it was, on a bad grid.
    bool LoadHeightGrid(int Width, int Height, float SquareSizeWorld, std::vector<float> Heights);
    void Unload();

    bool IsLoaded() const { return bLoaded; }
    // Bilinear over the corner heights; points off the map take the nearest edge's height.
    float GetTerrainHeight(float x, float z) const;

    int GetGridWidth() const { return GridWidth; }
    int GetGridHeight() const { return GridHeight; }
    float GetSquareSize() const { return SquareSize; }
    // The corner heights, row-major in Z rows; empty while no map is loaded.
    const std::vector<float>& GetHeightGrid() const { return HeightGrid; }
    float GetWorldWidth() const { return (GridWidth - 1) * SquareSize; }
    float GetWorldDepth() const { return (GridHeight - 1) * SquareSize; }

    // Indices of the terrain mesh (two triangles per grid square).
    int IndexCount = 0;

private:
    bool bLoaded = false;
    int GridWidth = 0;
    int GridHeight = 0;
    float SquareSize = 8.0f;
    std::vector<float> HeightGrid;
};
