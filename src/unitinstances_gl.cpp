#include "unitinstances_gl.h"

#include <algorithm>

#include "glprogram.h"

namespace
{
// Colours plain and selected; the same as the scene's other shapes use.
const char* VertexShader = R"(#version 330 core
uniform mat4 ViewProjection;
layout(location = 0) in vec3 Local; // forward, right, up
layout(location = 1) in vec3 PlainColour;
layout(location = 2) in vec3 SelectedColour;
layout(location = 3) in float Post;
layout(location = 4) in vec4 Placement; // X, Y, Z, sine of the heading
layout(location = 5) in vec4 CosSizeSelectedGround;
out vec4 VertexColour;
void main()
{
    // A post keeps heading 0: forward +Z, right -X.
    vec2 sinCos = mix(vec2(Placement.w, CosSizeSelectedGround.x), vec2(0.0, 1.0), Post);
    vec3 local = Local * CosSizeSelectedGround.y;
    vec3 world = Placement.xyz + vec3(sinCos.x * local.x - sinCos.y * local.y, local.z,
                                      sinCos.y * local.x + sinCos.x * local.y);
    float ground = CosSizeSelectedGround.w;
    world.y = mix(world.y, ground + Local.z * max(Placement.y - ground, 0.0), Post);
    VertexColour = vec4(mix(PlainColour, SelectedColour, CosSizeSelectedGround.z), 1.0);
    gl_Position = ViewProjection * vec4(world, 1.0);
}
)";

const void* FloatOffset(std::size_t floats)
{
    return reinterpret_cast<const void*>(floats * sizeof(float));
}

// Points the instance attributes of the bound array at the instances from FirstInstance on: GL 3.3
// has no base instance.
void PointInstances(std::size_t firstInstance)
{
    const GLsizei instanceStride = UnitInstancesGL::FloatsPerInstance * sizeof(float);
    const std::size_t first = firstInstance * UnitInstancesGL::FloatsPerInstance;
    glVertexAttribPointer(4, 4, GL_FLOAT, GL_FALSE, instanceStride, FloatOffset(first));
    glVertexAttribPointer(5, 4, GL_FLOAT, GL_FALSE, instanceStride, FloatOffset(first + 4));
}

// A triangle list as its distinct vertices and the indices that draw them.
void IndexShape(const std::vector<float>& triangles, std::vector<float>& vertices,
                std::vector<GLuint>& indices)
{
    constexpr int n = UnitInstancesGL::FloatsPerVertex;
    const std::size_t firstVertex = vertices.size() / n;
    for (std::size_t i = 0; i + n <= triangles.size(); i += n)
    {
        const auto vertex = triangles.begin() + static_cast<std::ptrdiff_t>(i);
        std::size_t found = firstVertex;
        while (found < vertices.size() / n &&
               !std::equal(vertex, vertex + n, vertices.begin() + static_cast<std::ptrdiff_t>(found * n)))
            ++found;
        if (found == vertices.size() / n)
            vertices.insert(vertices.end(), vertex, vertex + n);
        indices.push_back(static_cast<GLuint>(found - firstVertex));
    }
}

// One array per shape: the shape's vertices from FirstVertex on, the instances from the shared buffer.
void CreateShapeArray(GLuint& array, GLuint shapeBuffer, std::size_t firstVertex, GLuint indexBuffer,
                      GLuint instanceBuffer)
{
    glGenVertexArrays(1, &array);
    glBindVertexArray(array);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indexBuffer);
    glBindBuffer(GL_ARRAY_BUFFER, shapeBuffer);
    const GLsizei vertexStride = UnitInstancesGL::FloatsPerVertex * sizeof(float);
    const std::size_t first = firstVertex * UnitInstancesGL::FloatsPerVertex;
    // Local, plain colour, selected colour, post.
    constexpr GLint Sizes[4] = {3, 3, 3, 1};
    std::size_t offset = first;
    for (GLuint attribute = 0; attribute < 4; ++attribute)
    {
        glEnableVertexAttribArray(attribute);
        glVertexAttribPointer(attribute, Sizes[attribute], GL_FLOAT, GL_FALSE, vertexStride,
                              FloatOffset(offset));
        offset += static_cast<std::size_t>(Sizes[attribute]);
    }
    glBindBuffer(GL_ARRAY_BUFFER, instanceBuffer);
    for (GLuint attribute : {4U, 5U})
    {
        glEnableVertexAttribArray(attribute);
        glVertexAttribDivisor(attribute, 1);
    }
    PointInstances(0);
    glBindVertexArray(0);
}
} // namespace

UnitInstancesGL::~UnitInstancesGL()
{
    glDeleteVertexArrays(ShapeCount, Arrays.data());
    glDeleteBuffers(1, &ShapeBuffer);
    glDeleteBuffers(1, &IndexBuffer);
    glDeleteBuffers(1, &InstanceBuffer);
    if (Program)
        glDeleteProgram(Program);
}

bool UnitInstancesGL::Create(const std::array<std::vector<float>, ShapeCount>& ShapeVertices,
                             std::string& Error)
{
    Program = CreateGLProgram(VertexShader, VertexColourFragmentSource, Error);
    if (Program == 0)
        return false;
    ViewProjectionLocation = glGetUniformLocation(Program, "ViewProjection");
    std::vector<float> vertices;
    std::vector<GLuint> indices;
    std::array<std::size_t, ShapeCount> firstVertices{};
    for (int shape = 0; shape < ShapeCount; ++shape)
    {
        firstVertices[shape] = vertices.size() / FloatsPerVertex;
        FirstIndices[shape] = indices.size();
        IndexShape(ShapeVertices[shape], vertices, indices);
        IndexCounts[shape] = static_cast<GLsizei>(indices.size() - FirstIndices[shape]);
    }
    glGenBuffers(1, &ShapeBuffer);
    glGenBuffers(1, &IndexBuffer);
    glGenBuffers(1, &InstanceBuffer);
    glBindBuffer(GL_ARRAY_BUFFER, ShapeBuffer);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(vertices.size() * sizeof(float)), vertices.data(),
                 GL_STATIC_DRAW);
    for (int shape = 0; shape < ShapeCount; ++shape)
        CreateShapeArray(Arrays[shape], ShapeBuffer, firstVertices[shape], IndexBuffer, InstanceBuffer);
    // The element buffer binding belongs to an array: fill it through one.
    glBindVertexArray(Arrays[0]);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(indices.size() * sizeof(GLuint)),
                 indices.data(), GL_STATIC_DRAW);
    glBindVertexArray(0);
    return true;
}

void UnitInstancesGL::Draw(const std::array<std::vector<float>, ShapeCount>& Instances,
                           const std::array<float, 16>& ViewProjection)
{
    std::size_t totalFloats = 0;
    for (const std::vector<float>& instances : Instances)
        totalFloats += instances.size();
    if (Program == 0 || totalFloats == 0)
        return;
    glUseProgram(Program);
    glUniformMatrix4fv(ViewProjectionLocation, 1, GL_FALSE, ViewProjection.data());
    glBindBuffer(GL_ARRAY_BUFFER, InstanceBuffer);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(totalFloats * sizeof(float)), nullptr,
                 GL_STREAM_DRAW);
    std::size_t firstInstance = 0;
    for (int shape = 0; shape < ShapeCount; ++shape)
    {
        const std::vector<float>& instances = Instances[shape];
        const std::size_t count = instances.size() / FloatsPerInstance;
        if (count == 0)
            continue;
        glBufferSubData(GL_ARRAY_BUFFER,
                        static_cast<GLintptr>(firstInstance * FloatsPerInstance * sizeof(float)),
                        static_cast<GLsizeiptr>(instances.size() * sizeof(float)), instances.data());
        glBindVertexArray(Arrays[shape]);
        PointInstances(firstInstance);
        // The model is closed but for its bottom, which the ground hides: the faces turned away need no
        // drawing. The icon and the aircraft are flat and seen from both sides.
        (shape == Model ? glEnable : glDisable)(GL_CULL_FACE);
        glDrawElementsInstanced(GL_TRIANGLES, IndexCounts[shape], GL_UNSIGNED_INT,
                                reinterpret_cast<const void*>(FirstIndices[shape] * sizeof(GLuint)),
                                static_cast<GLsizei>(count));
        firstInstance += count;
    }
    glDisable(GL_CULL_FACE);
    glBindVertexArray(0);
}
