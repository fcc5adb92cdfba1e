#pragma once

#include <string>

#include <epoxy/gl.h>

class SpringMapRenderer;
struct TerrainShading;

// The water surface: a plane at height 0 over the map, drawn only where the ground lies below it,
// in mapinfo's surface colour and opacity, fogged like the ground. The ground under it takes the
// water's colour by depth in the terrain's own shading; this is the surface over it.
class WaterGL
{
  public:
    // Why the last Draw that returned false could not build its shaders.
    const std::string& GetCreateError() const { return CreateError; }
    WaterGL() = default;
    WaterGL(const WaterGL&) = delete;
    WaterGL& operator=(const WaterGL&) = delete;
    ~WaterGL();

    // After the terrain, with its depth buffer. Nothing when the ground never goes below 0.
    // False when the program cannot be built.
    bool Draw(const SpringMapRenderer& Map, const TerrainShading& Shading, const float* ViewProj4x4);

  private:
    bool Create(std::string& Error);
    void UploadHeights(const SpringMapRenderer& Map);

    GLuint Program = 0, EmptyArray = 0, HeightTexture = 0;
    GLint ViewProjLocation = -1, MapSizeLocation = -1, GridLocation = -1, SurfaceLocation = -1;
    GLint EyeLocation = -1, FogRangeLocation = -1, FogColourLocation = -1;
    int UploadedRevision = -1;
    std::string CreateError; // why the shaders could not be built; not retried every frame
};
