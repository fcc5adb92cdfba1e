#pragma once

#include <string>

#include <epoxy/gl.h>

#include "springmap_look.h"

// The views a map author checks the ground with, drawn over the terrain instead of its texture.
enum class AuthorView
{
    Off,
    Height, // colour ramp with contour lines
    Slope,  // steepness, and where our vehicles cannot drive
    Metal,
    Type,
    Grass,
};

// How the terrain is shaded in one frame: the map's light, water and fog, and the author view.
struct TerrainShading
{
    SpringMapLook Look;
    float EyeWorld[3] = {0.0f, 0.0f, 0.0f};
    float ViewRangeWorld = 0.0f; // the fog's fractions are of this distance from the eye; 0: no fog
    bool bWater = true;          // ground below height 0 takes the water's colour by depth
    AuthorView View = AuthorView::Off;
    float ContourStepWorld = 50.0f;
    float DriveSlope = 0.6f; // the slope view turns from green to yellow at this rise per unit
    // The view's grid (R8, one texel per cell, row 0 north) and the world size it spans; 0: none.
    GLuint LayerTexture = 0;
    float LayerExtentWorld[2] = {1.0f, 1.0f};
    float LayerScale = 1.0f; // a cell of byte value B is drawn at strength B * LayerScale / 255
};

// The terrain program's sources and its shading uniforms. The vertex shader takes position (0) and
// the ViewProj and UvRect uniforms; the fragment shader lights each pixel by the Normals texture
// (NormalUv maps world X, Z onto it) and samples Ground (unit 0) with Mode 1, or colours by
// HeightRange with Mode 0.
class TerrainShadingProgram
{
  public:
    static const char* const VertexSource;
    // The fragment shader with Defines (TerrainTexturesGL::GetDefines) and the author views' colours
    // ahead of its body.
    static std::string BuildFragmentSource(const std::string& Defines);
    // AUTHOR_VIEW and WATER, each 1 only while a frame can show it. Software GL runs both sides of
    // a branch on every pixel, so what is compiled out costs nothing there.
    static std::string GetDefines(const TerrainShading& Shading, float LowestHeightWorld);
    static constexpr int LayerTextureUnit = 1;
    static constexpr int NormalTextureUnit = 6; // after the map's ground textures

    void Locate(GLuint Program);
    // Sets the uniforms of the bound program and binds the layer texture.
    void Apply(const TerrainShading& Shading) const;

  private:
    GLint SunDir = -1, GroundAmbient = -1, GroundDiffuse = -1, Eye = -1, FogRange = -1, FogColour = -1;
    GLint WaterAbsorb = -1, WaterBase = -1, WaterMin = -1;
    static const char* const FragmentBody;
    GLint View = -1, Layer = -1, LayerExtent = -1, LayerScale = -1, ContourStep = -1, DriveSlope = -1;
};

// The view drawn: Off for a view whose grid is missing.
AuthorView GetDrawnView(const TerrainShading& Shading);
// The fog's start and end distances for a look and view range (both 0 without fog).
void GetFogRangeWorld(const SpringMapLook& Look, float ViewRangeWorld, float& StartWorld, float& EndWorld);
// Unit length, or straight up for a zero vector.
void NormaliseSunDir(const SpringMapLook& Look, float Out[3]);
