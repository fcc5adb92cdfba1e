#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <epoxy/gl.h>

#include "springmap_terrain_lod.h"
#include "terrain_shading.h"
#include "terrain_textures_gl.h"

class SpringMapGround;

// The GL side of the terrain: one vertex buffer (position + normal), indices grouped by ground patch,
// one texture per patch (or the minimap, or a height ramp), the corner normals as a texture (the
// shader lights per pixel, so coarse patches keep the grid's shading), and a GL 3.3 core program
// shaded as TerrainShading says.
// Everything is created on first use, so it needs a current context only when drawing.
class SpringMapTerrainGL
{
  public:
    struct MeshRange
    {
        terrainlod::Patch Lod;          // the patch's index lists, finest first, and its bounds
        float UvRect[4] = {0, 0, 1, 1}; // world X, Z of the texture's corner and 1 / its size
        int PatchIndex = -1;            // ground patch drawn on it; -1: the minimap or the height ramp
    };
    struct Source
    {
        const std::vector<float>* pPositionsNormals = nullptr; // 6 floats per vertex, the grid's first
        int GridWidth = 0, GridHeight = 0;                     // corners
        float SquareSize = 1.0f;                               // world units between corners
        const std::vector<std::uint32_t>* pIndices = nullptr;
        const std::vector<MeshRange>* pRanges = nullptr;
        const SpringMapGround* pGround = nullptr;
        const std::vector<std::uint8_t>* pMinimap = nullptr; // DXT1 1024x1024 with mips, or empty
        float MinHeight = 0.0f, MaxHeight = 1.0f;            // for the ramp when nothing else is there
        bool bAllowCompressedUpload = true;
        bool bForSoftwareGL = false; // see SpringMapRenderer::bForSoftwareGL
        std::uint64_t DecodedBudgetBytes = 128ull << 20;
        float LodErrorPx = 1.0f;                                  // see SpringMapRenderer::LodErrorPx
        const TerrainShading* pShading = nullptr;                 // null: the engine's default light, no fog
        const std::vector<SpringMapTexture>* pTextures = nullptr; // the map's resources, or null
        float WorldWidth = 1.0f, WorldDepth = 1.0f;               // what the map-wide textures span
    };

    // Creates what is missing, then draws. False when the program cannot be built. The GL objects
    // live until Release, which needs the context current; the context's end frees them otherwise.
    bool Draw(const Source& From, const float* ViewProj4x4ColumnMajor);
    void Release();
    bool UsedCompressedUpload() const { return bCompressed; }
    // Triangles the last Draw sent, skirts included.
    long long GetDrawnTriangles() const { return DrawnTriangles; }

  private:
    bool CreateProgram(const std::string& Defines);
    void CreateMesh(const Source& From);
    void CreateTextures(const Source& From);
    // Compressed or decoded as bCompressed says.
    GLuint UploadDxt1(const std::vector<const std::uint8_t*>& levels, int width, int height,
                      std::uint64_t decodedBudgetBytes, bool bNearestMip);

    GLuint Program = 0, Vao = 0, Vbo = 0, Ibo = 0;
    std::string ProgramDefines; // what Program was built with
    GLint ViewProjLocation = -1, UvRectLocation = -1, ModeLocation = -1, HeightRangeLocation = -1;
    GLint NormalsLocation = -1, NormalUvLocation = -1;
    TerrainShadingProgram Shading;
    TerrainTexturesGL GroundTextures;
    std::vector<GLuint> PatchTextures;
    GLuint MinimapTexture = 0;
    GLuint NormalTexture = 0;
    float NormalUv[4] = {};
    bool bCreated = false;
    bool bCompressed = false;
    long long DrawnTriangles = 0;
};
