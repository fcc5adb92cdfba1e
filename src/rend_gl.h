#pragma once

#include <string>
#include <vector>

#include "batch2d_gl.h"
#include "rend.h"

// OpenGL backend of Rend: turns recorded primitives into solid or image quads of a 2D batch, in order.
// Lines are expanded to quads so their pixel width does not depend on the driver's line support.
// SolidU, SolidV: a fully covered texel of the texture the batch is submitted with.
void AppendRendPrimitives(const std::vector<RendPrimitive>& Primitives, int WidthPx, int HeightPx,
                          float SolidU, float SolidV, Batch2DGL& Batch);

// Rend's records drawn on their own, in one draw call (the application batches them with the text
// of the same frame instead).
class RendGL
{
  public:
    RendGL() = default;
    RendGL(const RendGL&) = delete;
    RendGL& operator=(const RendGL&) = delete;
    ~RendGL();

    // Needs a current GL 3.3 core context. False with a reason when the shaders cannot be built.
    bool Create(std::string& Error);
    void Draw(const std::vector<RendPrimitive>& Primitives, int WidthPx, int HeightPx);

  private:
    Batch2DGL Batch;
    GLuint SolidTexture = 0; // one fully covered texel
};
