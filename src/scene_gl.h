#pragma once

#include <array>
#include <string>
#include <vector>

#include <epoxy/gl.h>

class GLViewport;

// Draws the viewport's units as boxes: vehicles on the ground (brighter when selected) and
// aircraft with a thin post down to the terrain so their position over the map reads at a glance.
// The terrain itself is the map renderer's.
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
    void BuildUnits(const GLViewport& View);

    GLuint Program = 0;
    GLint ViewProjectionLocation = -1;
    GLuint UnitArray = 0, UnitBuffer = 0;
    std::vector<float> UnitVertices;
};
