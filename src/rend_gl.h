#pragma once

#include <string>
#include <vector>

#include <epoxy/gl.h>

#include "rend.h"

// OpenGL backend of Rend: draws recorded primitives with alpha blending in one draw call.
// Lines are expanded to quads so their pixel width does not depend on the driver's line support.
class RendGL
{
  public:
    RendGL() = default;
    RendGL(const RendGL&) = delete;
    RendGL& operator=(const RendGL&) = delete;
    ~RendGL();

    // Needs a current GL 3.3 core context. False with a reason when the shaders cannot be built.
    bool Create(std::string& Error);
    // Draws the primitives over whatever is in the framebuffer, on a window of WidthPx x HeightPx.
    void Draw(const std::vector<RendPrimitive>& Primitives, int WidthPx, int HeightPx);

  private:
    GLuint Program = 0;
    GLuint VertexArray = 0;
    GLuint VertexBuffer = 0;
    std::vector<float> Vertices;
};
