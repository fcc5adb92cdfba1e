#pragma once

#include <array>
#include <string>
#include <vector>

#include <epoxy/gl.h>

class GLViewport;
class SpringMapRenderer;

// Draws the viewport's 3D scene: the terrain as a height-coloured, lit mesh and the units as boxes.
// The terrain mesh is built once per loaded map, at most 257 x 257 vertices so a large map stays
// interactive on a software rasteriser.
class SceneGL
{
  public:
    SceneGL() = default;
    SceneGL(const SceneGL&) = delete;
    SceneGL& operator=(const SceneGL&) = delete;
    ~SceneGL();

    bool Create(std::string& Error);
    // ViewProjection: column-major, world to clip space.
    void Draw(const GLViewport& View, const std::array<float, 16>& ViewProjection);

  private:
    void BuildTerrain(const SpringMapRenderer& Map);
    void BuildUnits(const GLViewport& View);
    void DrawBuffer(GLuint VertexArray, GLsizei VertexCount) const;

    GLuint Program = 0;
    GLint ViewProjectionLocation = -1;
    GLuint TerrainArray = 0, TerrainBuffer = 0, TerrainIndexBuffer = 0;
    GLsizei TerrainIndexCount = 0;
    GLuint UnitArray = 0, UnitBuffer = 0;
    std::vector<float> UnitVertices;
    // What the terrain mesh was built from; a different map rebuilds it.
    int BuiltGridWidth = 0, BuiltGridHeight = 0;
    float BuiltSquareSize = 0.0f;
    float BuiltCornerHeights[4] = {};
};
