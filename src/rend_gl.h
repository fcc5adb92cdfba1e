#pragma once

#include <vector>

#include "batch2d_gl.h"
#include "rend.h"

// OpenGL backend of Rend: turns recorded primitives into solid quads of a 2D batch, in order.
// Lines are expanded to quads so their pixel width does not depend on the driver's line support.
// SolidU, SolidV: a fully covered texel of the texture the batch is submitted with.
void AppendRendPrimitives(const std::vector<RendPrimitive>& Primitives, int WidthPx, int HeightPx,
                          float SolidU, float SolidV, Batch2DGL& Batch);
