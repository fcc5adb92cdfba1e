#pragma once

#include <string>
#include <vector>

#include <epoxy/gl.h>

#include "springmap_look.h"
#include "springmap_textures.h"

// The ground's textures from the map's resources as GL textures, and the terrain program's uniforms
// that use them: a detail texture tiled over the ground, or detail splatting (four tiled channels
// weighted by a map-wide distribution), and a map-wide specular colour and exponent.
class TerrainTexturesGL
{
  public:
    static constexpr int FirstUnit = 2; // detail, specular, splat distribution, splat detail

    // The terrain program's defines for these textures: DETAIL_MODE 0 (none), 1 (detail texture) or
    // 2 (splatting, which needs both of its textures and then takes the detail texture's place), and
    // SPECULAR 0 or 1.
    static std::string GetDefines(const std::vector<SpringMapTexture>& Textures);
    void Locate(GLuint Program);
    // Needs the context current; textures that were not read stay off.
    void Upload(const std::vector<SpringMapTexture>& Textures);
    // Binds the textures and sets the uniforms of the bound program for a map of this world size.
    void Apply(const SpringMapLook& Look, float WorldWidth, float WorldDepth) const;
    void Release();

  private:
    enum Slot
    {
        Detail,
        Specular,
        SplatDistr,
        SplatDetail,
        SlotCount,
    };
    GLuint Textures[SlotCount] = {};
    GLint Samplers[SlotCount] = {-1, -1, -1, -1};
    GLint MapExtent = -1, SplatScales = -1, SplatMults = -1, SpecularExponent = -1, GroundSpecular = -1;
};
