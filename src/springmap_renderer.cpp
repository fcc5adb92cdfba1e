#include "springmap_renderer.h"

#include <algorithm>
#include <cmath>

#include "springmap_loader.h"
#include "springmap_terrain_gl.h"

struct SpringMapRenderer::MeshRanges
{
    std::vector<SpringMapTerrainGL::MeshRange> Ranges;
};

SpringMapRenderer::SpringMapRenderer()
    : pTerrainGL(std::make_unique<SpringMapTerrainGL>()), pRanges(std::make_unique<MeshRanges>())
{
}

SpringMapRenderer::~SpringMapRenderer() = default;

bool SpringMapRenderer::LoadHeightGrid(int Width, int Height, float SquareSizeWorld,
                                       std::vector<float> Heights)
{
    if (Width < 2 || Height < 2 || !(SquareSizeWorld > 0.0f) ||
        Heights.size() != static_cast<std::size_t>(Width) * static_cast<std::size_t>(Height))
        return false;
    GridWidth = Width;
    GridHeight = Height;
    SquareSize = SquareSizeWorld;
    HeightGrid = std::move(Heights);
    const auto [lowest, highest] = std::minmax_element(HeightGrid.begin(), HeightGrid.end());
    LowestHeight = *lowest;
    HighestHeight = *highest;
    IndexCount = (Width - 1) * (Height - 1) * 6;
    Ground.Clear();
    Minimap.clear();
    Layers = {};
    Textures.clear();
    Shading.Look = {};
    ++LoadRevision;
    bLoaded = true;
    bGLStale = true;
    return true;
}

bool SpringMapRenderer::LoadMap(const SpringMap& Map, std::uint64_t GroundBudgetBytes)
{
    const int cornersX = Map.Smf.MapX + 1, cornersZ = Map.Smf.MapY + 1;
    if (Map.Smf.RawHeights.size() != static_cast<std::size_t>(cornersX) * cornersZ)
        return false;
    std::vector<float> heights(Map.Smf.RawHeights.size());
    for (int z = 0; z < cornersZ; ++z)
        for (int x = 0; x < cornersX; ++x)
            heights[static_cast<std::size_t>(z) * cornersX + x] = Map.GetCornerHeight(x, z);
    SpringMapGround ground;
    if (!ground.Build(Map, GroundBudgetBytes) ||
        !LoadHeightGrid(cornersX, cornersZ, 8.0f, std::move(heights)))
        return false;
    Ground = std::move(ground);
    Minimap = Map.Smf.Minimap;
    Layers = SpringMapLayers::From(Map);
    Shading.Look = Map.Look;
    Textures = Map.Textures;
    return true;
}

void SpringMapRenderer::Unload()
{
    bLoaded = false;
    GridWidth = GridHeight = 0;
    IndexCount = 0;
    HeightGrid.clear();
    Ground.Clear();
    Minimap.clear();
    Layers = {};
    Textures.clear();
    ++LoadRevision;
    bGLStale = true;
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

void SpringMapRenderer::BuildMesh(std::vector<float>& positionsNormals, std::vector<std::uint32_t>& indices)
{
    positionsNormals.resize(HeightGrid.size() * 6);
    for (int z = 0; z < GridHeight; ++z)
        for (int x = 0; x < GridWidth; ++x)
        {
            // Central differences, one-sided at the edges.
            const int x0 = std::max(x - 1, 0), x1 = std::min(x + 1, GridWidth - 1);
            const int z0 = std::max(z - 1, 0), z1 = std::min(z + 1, GridHeight - 1);
            const std::size_t row = static_cast<std::size_t>(z) * GridWidth;
            const float dhdx = (HeightGrid[row + x1] - HeightGrid[row + x0]) / ((x1 - x0) * SquareSize);
            const float dhdz = (HeightGrid[static_cast<std::size_t>(z1) * GridWidth + x] -
                                HeightGrid[static_cast<std::size_t>(z0) * GridWidth + x]) /
                               ((z1 - z0) * SquareSize);
            const float length = std::sqrt(dhdx * dhdx + 1.0f + dhdz * dhdz);
            float* vertex = &positionsNormals[(row + x) * 6];
            vertex[0] = x * SquareSize;
            vertex[1] = HeightGrid[row + x];
            vertex[2] = z * SquareSize;
            vertex[3] = -dhdx / length;
            vertex[4] = 1.0f / length;
            vertex[5] = -dhdz / length;
        }
    // Patches of the level-of-detail mesh, each drawn with the texture of the ground patch it lies in.
    std::vector<terrainlod::Patch> lodPatches;
    terrainlod::BuildMesh(HeightGrid, GridWidth, GridHeight, SquareSize, positionsNormals, indices,
                          lodPatches);
    pRanges->Ranges.clear();
    const int patchCount = static_cast<int>(Ground.GetPatches().size());
    const int squaresX = GridWidth - 1, squaresZ = GridHeight - 1;
    const int groundSquares = SpringMapGround::PatchSquares;
    const int groundPatchesX = (squaresX + groundSquares - 1) / groundSquares;
    for (terrainlod::Patch& lod : lodPatches)
    {
        SpringMapTerrainGL::MeshRange range;
        const int px = lod.SquareX / groundSquares * groundSquares,
                  pz = lod.SquareZ / groundSquares * groundSquares;
        const int patchIndex = pz / groundSquares * groundPatchesX + px / groundSquares;
        const bool bPatch = patchIndex < patchCount;
        const int endX = std::min(px + groundSquares, squaresX),
                  endZ = std::min(pz + groundSquares, squaresZ);
        range.PatchIndex = bPatch ? patchIndex : -1;
        range.UvRect[0] = bPatch ? px * SquareSize : 0.0f;
        range.UvRect[1] = bPatch ? pz * SquareSize : 0.0f;
        range.UvRect[2] = 1.0f / ((bPatch ? endX - px : squaresX) * SquareSize);
        range.UvRect[3] = 1.0f / ((bPatch ? endZ - pz : squaresZ) * SquareSize);
        range.Lod = std::move(lod);
        pRanges->Ranges.push_back(std::move(range));
    }
}

bool SpringMapRenderer::Render(const float* ViewProj4x4ColumnMajor)
{
    if (!bLoaded || IndexCount < 1)
        return false;
    SpringMapTerrainGL::Source source;
    std::vector<float> positionsNormals;
    std::vector<std::uint32_t> indices;
    if (bGLStale)
    {
        // The mesh lives on the GPU only: built here, uploaded by the first draw, then dropped.
        pTerrainGL->Release();
        BuildMesh(positionsNormals, indices);
        bGLStale = false;
    }
    source.pPositionsNormals = &positionsNormals;
    source.GridWidth = GridWidth;
    source.GridHeight = GridHeight;
    source.SquareSize = SquareSize;
    source.pIndices = &indices;
    source.pRanges = &pRanges->Ranges;
    source.pGround = &Ground;
    source.pMinimap = &Minimap;
    source.MinHeight = LowestHeight;
    source.MaxHeight = HighestHeight;
    source.bAllowCompressedUpload = bAllowCompressedUpload;
    source.bForSoftwareGL = bForSoftwareGL;
    source.LodErrorPx = LodErrorPx;
    source.pShading = &Shading;
    source.pTextures = &Textures;
    source.WorldWidth = GetWorldWidth();
    source.WorldDepth = GetWorldDepth();
    return pTerrainGL->Draw(source, ViewProj4x4ColumnMajor);
}

void SpringMapRenderer::ReleaseGL()
{
    pTerrainGL->Release();
    bGLStale = true;
}

bool SpringMapRenderer::UsedCompressedUpload() const
{
    return pTerrainGL->UsedCompressedUpload();
}

long long SpringMapRenderer::GetDrawnTriangles() const
{
    return pTerrainGL->GetDrawnTriangles();
}
