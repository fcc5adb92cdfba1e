#include "rend_gl.h"

#include <algorithm>
#include <cmath>

#include "glprogram.h"

namespace
{
const char* VertexShader = R"(#version 330 core
layout(location = 0) in vec2 Position;
layout(location = 1) in vec4 Colour;
out vec4 VertexColour;
void main()
{
    VertexColour = Colour;
    gl_Position = vec4(Position, 0.0, 1.0);
}
)";

const char* FragmentShader = R"(#version 330 core
in vec4 VertexColour;
out vec4 FragColour;
void main()
{
    FragColour = VertexColour;
}
)";

constexpr int FloatsPerVertex = 6;

void PushCorner(std::vector<float>& out, float x, float y, const RendPrimitive& prim)
{
    out.insert(out.end(), {x, y, prim.R, prim.G, prim.B, prim.A});
}

void PushQuad(std::vector<float>& out, const float (&xs)[4], const float (&ys)[4], const RendPrimitive& prim)
{
    for (int corner : {0, 1, 2, 0, 2, 3})
        PushCorner(out, xs[corner], ys[corner], prim);
}
// Two triangles per primitive: x, y, r, g, b, a for each of six corners.
void AppendPrimitiveVertices(const RendPrimitive& Primitive, int WidthPx, int HeightPx,
                             std::vector<float>& Vertices)
{
    if (Primitive.Type == RendPrimitive::Kind::Rect)
    {
        const float xs[4] = {Primitive.X1, Primitive.X2, Primitive.X2, Primitive.X1};
        const float ys[4] = {Primitive.Y1, Primitive.Y1, Primitive.Y2, Primitive.Y2};
        PushQuad(Vertices, xs, ys, Primitive);
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
    PushQuad(Vertices, xs, ys, Primitive);
}
} // namespace

RendGL::~RendGL()
{
    if (VertexBuffer)
        glDeleteBuffers(1, &VertexBuffer);
    if (VertexArray)
        glDeleteVertexArrays(1, &VertexArray);
    if (Program)
        glDeleteProgram(Program);
}

bool RendGL::Create(std::string& Error)
{
    Program = CreateGLProgram(VertexShader, FragmentShader, Error);
    if (Program == 0)
        return false;
    glGenVertexArrays(1, &VertexArray);
    glGenBuffers(1, &VertexBuffer);
    glBindVertexArray(VertexArray);
    glBindBuffer(GL_ARRAY_BUFFER, VertexBuffer);
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, FloatsPerVertex * sizeof(float), nullptr);
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(1, 4, GL_FLOAT, GL_FALSE, FloatsPerVertex * sizeof(float),
                          reinterpret_cast<const void*>(2 * sizeof(float)));
    glBindVertexArray(0);
    return true;
}

void RendGL::Draw(const std::vector<RendPrimitive>& Primitives, int WidthPx, int HeightPx)
{
    if (Program == 0 || Primitives.empty())
        return;
    Vertices.clear();
    for (const RendPrimitive& primitive : Primitives)
        AppendPrimitiveVertices(primitive, WidthPx, HeightPx, Vertices);
    if (Vertices.empty())
        return;
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glUseProgram(Program);
    glBindVertexArray(VertexArray);
    glBindBuffer(GL_ARRAY_BUFFER, VertexBuffer);
    // Orphan the buffer each time: the driver need not wait for the previous draw.
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(Vertices.size() * sizeof(float)), Vertices.data(),
                 GL_STREAM_DRAW);
    glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(Vertices.size() / FloatsPerVertex));
    glBindVertexArray(0);
}
