#include "unitinstances_gl.h"

#include "glprogram.h"

namespace
{
// Colours plain and selected; the same as the scene's other shapes use.
const char* VertexShader = R"(#version 330 core
uniform mat4 ViewProjection;
layout(location = 0) in vec3 Local; // forward, right, up
layout(location = 1) in vec2 Paint; // shade, what it paints
layout(location = 2) in vec4 Placement; // X, Y, Z, heading
layout(location = 3) in vec3 SizeSelectedGround;
out vec4 VertexColour;
void main()
{
    bool post = Paint.y > 2.5;
    float heading = post ? 0.0 : Placement.w;
    vec3 forward = vec3(sin(heading), 0.0, cos(heading));
    vec3 right = vec3(-forward.z, 0.0, forward.x);
    float size = SizeSelectedGround.x, ground = SizeSelectedGround.z;
    vec3 world = Placement.xyz + (forward * Local.x + right * Local.y + vec3(0.0, Local.z, 0.0)) * size;
    if (post)
        world.y = ground + Local.z * max(Placement.y - ground, 0.0);
    bool selected = SizeSelectedGround.y > 0.5;
    vec3 hull = selected ? vec3(0.35, 0.9, 0.45) : vec3(0.25, 0.5, 0.9);
    vec3 turret = selected ? vec3(0.6, 1.0, 0.65) : vec3(0.55, 0.75, 1.0);
    vec3 wing = selected ? vec3(1.0, 0.95, 0.35) : vec3(0.95, 0.55, 0.2);
    vec3 paints[4] = vec3[4](hull, turret, wing, vec3(0.6));
    VertexColour = vec4(paints[int(Paint.y + 0.5)] * Paint.x, 1.0);
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
    glVertexAttribPointer(2, 4, GL_FLOAT, GL_FALSE, instanceStride, FloatOffset(first));
    glVertexAttribPointer(3, 3, GL_FLOAT, GL_FALSE, instanceStride, FloatOffset(first + 4));
}

// One array per shape: the shape's vertices from FirstVertex on, the instances from the shared buffer.
void CreateShapeArray(GLuint& array, GLuint shapeBuffer, std::size_t firstVertex, GLuint instanceBuffer)
{
    glGenVertexArrays(1, &array);
    glBindVertexArray(array);
    glBindBuffer(GL_ARRAY_BUFFER, shapeBuffer);
    const GLsizei vertexStride = UnitInstancesGL::FloatsPerVertex * sizeof(float);
    const std::size_t first = firstVertex * UnitInstancesGL::FloatsPerVertex;
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, vertexStride, FloatOffset(first));
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, vertexStride, FloatOffset(first + 3));
    glBindBuffer(GL_ARRAY_BUFFER, instanceBuffer);
    glEnableVertexAttribArray(2);
    glVertexAttribDivisor(2, 1);
    glEnableVertexAttribArray(3);
    glVertexAttribDivisor(3, 1);
    PointInstances(0);
    glBindVertexArray(0);
}
} // namespace

UnitInstancesGL::~UnitInstancesGL()
{
    glDeleteVertexArrays(ShapeCount, Arrays.data());
    glDeleteBuffers(1, &ShapeBuffer);
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
    std::vector<float> shapes;
    for (const std::vector<float>& shape : ShapeVertices)
        shapes.insert(shapes.end(), shape.begin(), shape.end());
    glGenBuffers(1, &ShapeBuffer);
    glGenBuffers(1, &InstanceBuffer);
    glBindBuffer(GL_ARRAY_BUFFER, ShapeBuffer);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(shapes.size() * sizeof(float)), shapes.data(),
                 GL_STATIC_DRAW);
    std::size_t firstVertex = 0;
    for (int shape = 0; shape < ShapeCount; ++shape)
    {
        CreateShapeArray(Arrays[shape], ShapeBuffer, firstVertex, InstanceBuffer);
        VertexCounts[shape] = static_cast<GLsizei>(ShapeVertices[shape].size() / FloatsPerVertex);
        firstVertex += static_cast<std::size_t>(VertexCounts[shape]);
    }
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
        glDrawArraysInstanced(GL_TRIANGLES, 0, VertexCounts[shape], static_cast<GLsizei>(count));
        firstInstance += count;
    }
    glBindVertexArray(0);
}
