#include "rend_gl.h"

#include <algorithm>
#include <cmath>

namespace
{
void AppendPrimitive(const RendPrimitive& Primitive, int WidthPx, int HeightPx, float SolidU, float SolidV,
                     Batch2DGL& Batch)
{
    if (Primitive.Type != RendPrimitive::Kind::Line)
    {
        const float xs[4] = {Primitive.X1, Primitive.X2, Primitive.X2, Primitive.X1};
        const float ys[4] = {Primitive.Y1, Primitive.Y1, Primitive.Y2, Primitive.Y2};
        if (Primitive.Type == RendPrimitive::Kind::Image)
            Batch.AddImageQuad(xs, ys, Primitive.ImageId);
        else
            Batch.AddSolidQuad(xs, ys, SolidU, SolidV, Primitive.R, Primitive.G, Primitive.B, Primitive.A);
        return;
    }
    // Work in pixels so the width is the same along both axes, then go back to global units.
    const double unitsPerPxX = 2.0 / std::max(WidthPx, 1);
    const double unitsPerPxY = 2.0 / std::max(HeightPx, 1);
    const double dxPx = (Primitive.X2 - Primitive.X1) / unitsPerPxX;
    const double dyPx = (Primitive.Y2 - Primitive.Y1) / unitsPerPxY;
    const double lengthPx = std::hypot(dxPx, dyPx);
    if (!(lengthPx > 1e-6))
        return;
    // Thinner than a pixel would flicker in and out as the line moves.
    const double halfWidthPx = std::max(static_cast<double>(Primitive.WidthPx), 1.0) * 0.5;
    const float nx = static_cast<float>(-dyPx / lengthPx * halfWidthPx * unitsPerPxX);
    const float ny = static_cast<float>(dxPx / lengthPx * halfWidthPx * unitsPerPxY);
    const float xs[4] = {Primitive.X1 + nx, Primitive.X2 + nx, Primitive.X2 - nx, Primitive.X1 - nx};
    const float ys[4] = {Primitive.Y1 + ny, Primitive.Y2 + ny, Primitive.Y2 - ny, Primitive.Y1 - ny};
    Batch.AddSolidQuad(xs, ys, SolidU, SolidV, Primitive.R, Primitive.G, Primitive.B, Primitive.A);
}
} // namespace

void AppendRendPrimitives(const std::vector<RendPrimitive>& Primitives, int WidthPx, int HeightPx,
                          float SolidU, float SolidV, Batch2DGL& Batch)
{
    for (const RendPrimitive& primitive : Primitives)
        AppendPrimitive(primitive, WidthPx, HeightPx, SolidU, SolidV, Batch);
}

RendGL::~RendGL()
{
    if (SolidTexture)
        glDeleteTextures(1, &SolidTexture);
}

bool RendGL::Create(std::string& Error)
{
    if (!Batch.Create(Error))
        return false;
    const unsigned char covered = 255;
    glGenTextures(1, &SolidTexture);
    glBindTexture(GL_TEXTURE_2D, SolidTexture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_R8, 1, 1, 0, GL_RED, GL_UNSIGNED_BYTE, &covered);
    return true;
}

void RendGL::Draw(const std::vector<RendPrimitive>& Primitives, int WidthPx, int HeightPx)
{
    AppendRendPrimitives(Primitives, WidthPx, HeightPx, 0.5f, 0.5f, Batch);
    Batch.Submit(SolidTexture);
}
