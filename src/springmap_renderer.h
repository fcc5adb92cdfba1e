#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "springmap_ground.h"
#include "springmap_layers.h"
#include "springmap_textures.h"
#include "terrain_shading.h"

struct SpringMap;
class SpringMapTerrainGL;

// The terrain of the loaded Spring map: a grid of corner heights with a spacing of SquareSize world
// units, spanning X 0..(GridWidth-1)*SquareSize and Z 0..(GridHeight-1)*SquareSize, and, for a real
// map, its ground texture (or the minimap where no tile file was found). Loading and height queries
// need no GL context; the first Render creates the GL objects.
class SpringMapRenderer
{
  public:
    SpringMapRenderer();
    ~SpringMapRenderer();
    SpringMapRenderer(const SpringMapRenderer&) = delete;
    SpringMapRenderer& operator=(const SpringMapRenderer&) = delete;

    // Installs a height grid of Width x Height corner heights (row-major, Z rows) and builds the
    // terrain mesh's index count. Returns false, leaving the map as it was, on a bad grid. The terrain
    // is coloured by height.
    bool LoadHeightGrid(int Width, int Height, float SquareSizeWorld, std::vector<float> Heights);
    // Installs a loaded map: (MapX+1)x(MapY+1) corners 8 world units apart, heights scaled by the
    // map's range, and its ground texture within GroundBudgetBytes of DXT1 data.
    bool LoadMap(const SpringMap& Map, std::uint64_t GroundBudgetBytes = SpringMapGround::DefaultBudgetBytes);
    // Test hook (the application keeps its map): back to the state before any load.
    void Unload();

    bool IsLoaded() const { return bLoaded; }
    // Counts the loads, so GL copies of the map's data can tell when they are stale.
    int GetLoadRevision() const { return LoadRevision; }
    // Bilinear over the corner heights; points off the map take the nearest edge's height.
    float GetTerrainHeight(float x, float z) const;

    int GetGridWidth() const { return GridWidth; }
    int GetGridHeight() const { return GridHeight; }
    float GetSquareSize() const { return SquareSize; }
    // The corner heights, row-major in Z rows; empty while no map is loaded.
    const std::vector<float>& GetHeightGrid() const { return HeightGrid; }
    float GetWorldWidth() const { return (GridWidth - 1) * SquareSize; }
    float GetWorldDepth() const { return (GridHeight - 1) * SquareSize; }
    // Lowest and highest corner actually present (not the header's range).
    float GetLowestHeight() const { return LowestHeight; }
    float GetHighestHeight() const { return HighestHeight; }
    const SpringMapGround& GetGround() const { return Ground; }
    bool HasMinimap() const { return !Minimap.empty(); }
    // The map's own minimap: DXT1 1024x1024 with its 9 mip levels; empty when the map has none.
    const std::vector<std::uint8_t>& GetMinimap() const { return Minimap; }
    // The loaded map's grids and features; empty for a bare height grid.
    const SpringMapLayers& GetLayers() const { return Layers; }

    // Draws the terrain with the scene's view-projection (column-major 4x4, world units in, clip space
    // out): the same transform picking inverts. Needs a current GL 3.3 core context; false when
    // nothing is loaded or the shaders cannot be built.
    bool Render(const float* ViewProj4x4ColumnMajor);
    // Frees the GL objects; call with the context current before destroying it.
    void ReleaseGL();
    // True when the last upload sent DXT1 blocks to the driver (S3TC present and allowed).
    bool UsedCompressedUpload() const;

    // Indices of the terrain mesh (two triangles per grid square).
    int IndexCount = 0;
    // Off: decode the ground on the CPU even where the driver has S3TC. Takes effect on the next upload.
    bool bAllowCompressedUpload = true;
    // On where the context runs on the CPU, which pays for every texel it fetches: the ground is
    // decoded once at upload when its finest level fits the decoded budget, instead of a compressed
    // texel on every sample, and sampled from the nearest mip level, not a blend of two. Takes effect
    // on the next upload.
    bool bForSoftwareGL = false;
    // Each patch in view is drawn with the fewest triangles whose heights stay within this many
    // pixels of the full grid's on screen; 0 or less draws every square.
    float LodErrorPx = 1.0f;
    // Where GL runs on the CPU every triangle costs: a third of the triangles of 1 px for a few
    // pixels of outline. The light stays the full grid's, as the shader reads the normals per pixel.
    static constexpr float SoftwareGLLodErrorPx = 3.0f;
    // Triangles the last Render drew (skirts included): what the view, not the map, asks for.
    long long GetDrawnTriangles() const;
    // How Render shades the ground; a load sets the map's look and leaves the rest.
    TerrainShading Shading;

    // The mesh the first Render uploads: 6 floats per corner (position, normal) and two triangles per
    // square, grouped by ground patch. Needs no GL context.
    void BuildMesh(std::vector<float>& positionsNormals, std::vector<std::uint32_t>& indices);

  private:
    bool bLoaded = false;
    int LoadRevision = 0;
    int GridWidth = 0;
    int GridHeight = 0;
    float SquareSize = 8.0f;
    float LowestHeight = 0.0f, HighestHeight = 0.0f;
    std::vector<float> HeightGrid;
    SpringMapGround Ground;
    std::vector<std::uint8_t> Minimap;
    SpringMapLayers Layers;
    std::vector<SpringMapTexture> Textures; // the ground's textures from the map's resources
    std::unique_ptr<SpringMapTerrainGL> pTerrainGL;
    struct MeshRanges;
    std::unique_ptr<MeshRanges> pRanges;
    bool bGLStale = true;
};
