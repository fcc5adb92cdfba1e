#include "markerinstances_gl.h"

#include "glprogram.h"
#include "heighttexture_gl.h"
#include "springmap_renderer.h"

namespace
{
// The ring's points and the segment's ends come from gl_VertexID: no shape buffer at all. A ring is
// a line loop, so each of its points is shaded once. Terrain
// heights are bilinear over the corner heights, off-map points taking the nearest edge's, as the
// map's own height query does.
const std::string VertexShader = R"(#version 330 core
uniform mat4 ViewProjection;
uniform int Kind;
uniform int RingPoints;
uniform vec3 Grid; // 1 / square size, and whether a map is there
uniform sampler2D Heights;
layout(location = 0) in vec4 A;
layout(location = 1) in vec3 B;
layout(location = 2) in vec3 Colour;
out vec4 VertexColour;
const float MarkerLift = )" + std::to_string(MarkerInstancesGL::MarkerLiftWorld) +
                                 R"(;

float TerrainHeight(vec2 xz)
{
    ivec2 size = textureSize(Heights, 0);
    vec2 g = xz * Grid.x;
    g = vec2(g.x > 0.0 ? min(g.x, float(size.x - 1)) : 0.0, g.y > 0.0 ? min(g.y, float(size.y - 1)) : 0.0);
    ivec2 i = min(ivec2(g), size - 2);
    vec2 f = g - vec2(i);
    float h00 = texelFetch(Heights, i, 0).r, h10 = texelFetch(Heights, i + ivec2(1, 0), 0).r;
    float h01 = texelFetch(Heights, i + ivec2(0, 1), 0).r, h11 = texelFetch(Heights, i + ivec2(1, 1), 0).r;
    float top = h00 + (h10 - h00) * f.x, bottom = h01 + (h11 - h01) * f.x;
    return top + (bottom - top) * f.y;
}

void main()
{
    vec3 world = A.xyz;
    if (Kind <= 1)
    {
        float angle = 6.283185307179586 * float(gl_VertexID) / float(RingPoints);
        world = vec3(A.x + A.w * cos(angle), A.y, A.z + A.w * sin(angle));
        if (B.x > 0.5 && Grid.y > 0.5)
            world.y = TerrainHeight(world.xz) + MarkerLift;
    }
    else if (Kind == 2 && gl_VertexID == 1)
        world = B;
    VertexColour = vec4(Colour, 1.0);
    gl_Position = ViewProjection * vec4(world, 1.0);
}
)";

const void* FloatOffset(std::size_t floats)
{
    return reinterpret_cast<const void*>(floats * sizeof(float));
}
} // namespace

MarkerInstancesGL::~MarkerInstancesGL()
{
    glDeleteVertexArrays(1, &Array);
    glDeleteBuffers(1, &InstanceBuffer);
    glDeleteTextures(1, &HeightTexture);
    if (Program)
        glDeleteProgram(Program);
}

bool MarkerInstancesGL::Create(std::string& Error)
{
    Program = CreateGLProgram(VertexShader.c_str(), VertexColourFragmentSource, Error);
    if (Program == 0)
        return false;
    ViewProjectionLocation = glGetUniformLocation(Program, "ViewProjection");
    KindLocation = glGetUniformLocation(Program, "Kind");
    RingPointsLocation = glGetUniformLocation(Program, "RingPoints");
    GridLocation = glGetUniformLocation(Program, "Grid");
    glGenVertexArrays(1, &Array);
    glGenBuffers(1, &InstanceBuffer);
    glGenTextures(1, &HeightTexture);
    glBindVertexArray(Array);
    for (GLuint attribute = 0; attribute < 3; ++attribute)
    {
        glEnableVertexAttribArray(attribute);
        glVertexAttribDivisor(attribute, 1);
    }
    glBindVertexArray(0);
    return true;
}

void MarkerInstancesGL::UploadHeights(const SpringMapRenderer& Map)
{
    UploadHeightTexture(HeightTexture, Map, GL_NEAREST);
    UploadedRevision = Map.GetLoadRevision();
}

void MarkerInstancesGL::Draw(const std::array<std::vector<float>, KindCount>& Instances,
                             const std::array<float, 16>& ViewProjection, const SpringMapRenderer* pMap,
                             float DotSizePx)
{
    std::size_t totalFloats = 0;
    for (const std::vector<float>& instances : Instances)
        totalFloats += instances.size();
    if (Program == 0 || totalFloats == 0)
        return;
    glActiveTexture(GL_TEXTURE0);
    if (pMap && UploadedRevision != pMap->GetLoadRevision())
        UploadHeights(*pMap);
    glBindTexture(GL_TEXTURE_2D, HeightTexture);
    glUseProgram(Program);
    glUniformMatrix4fv(ViewProjectionLocation, 1, GL_FALSE, ViewProjection.data());
    glUniform3f(GridLocation, pMap ? 1.0f / pMap->GetSquareSize() : 0.0f, pMap ? 1.0f : 0.0f, 0.0f);
    glBindVertexArray(Array);
    glBindBuffer(GL_ARRAY_BUFFER, InstanceBuffer);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(totalFloats * sizeof(float)), nullptr,
                 GL_STREAM_DRAW);
    glPointSize(DotSizePx);
    constexpr GLenum Primitives[KindCount] = {GL_LINE_LOOP, GL_LINE_LOOP, GL_LINES, GL_POINTS};
    constexpr GLsizei Vertices[KindCount] = {RingSegments, SmallRingSegments, 2, 1};
    const GLsizei stride = FloatsPerInstance * sizeof(float);
    std::size_t firstFloat = 0;
    for (int kind = 0; kind < KindCount; ++kind)
    {
        const std::vector<float>& instances = Instances[kind];
        if (instances.empty())
            continue;
        glBufferSubData(GL_ARRAY_BUFFER, static_cast<GLintptr>(firstFloat * sizeof(float)),
                        static_cast<GLsizeiptr>(instances.size() * sizeof(float)), instances.data());
        // GL 3.3 has no base instance: the attributes are pointed at this kind's markers.
        glVertexAttribPointer(0, 4, GL_FLOAT, GL_FALSE, stride, FloatOffset(firstFloat));
        glVertexAttribPointer(1, 3, GL_FLOAT, GL_FALSE, stride, FloatOffset(firstFloat + 4));
        glVertexAttribPointer(2, 3, GL_FLOAT, GL_FALSE, stride, FloatOffset(firstFloat + 7));
        glUniform1i(KindLocation, kind);
        glUniform1i(RingPointsLocation, Vertices[kind]);
        glDrawArraysInstanced(Primitives[kind], 0, Vertices[kind],
                              static_cast<GLsizei>(instances.size() / FloatsPerInstance));
        firstFloat += instances.size();
    }
    glPointSize(1.0f);
    glBindVertexArray(0);
    glBindTexture(GL_TEXTURE_2D, 0);
}
