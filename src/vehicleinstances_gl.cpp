#include "vehicleinstances_gl.h"

#include "glprogram.h"

namespace
{
// Hull and turret colours, plain and selected; the same as the scene's other shapes use.
const char* VertexShader = R"(#version 330 core
uniform mat4 ViewProjection;
layout(location = 0) in vec3 Local; // forward, right, up
layout(location = 1) in vec2 Paint; // shade, turret
layout(location = 2) in vec4 Placement; // base X, Y, Z, heading
layout(location = 3) in vec2 SizeSelected;
out vec4 VertexColour;
void main()
{
    vec3 forward = vec3(sin(Placement.w), 0.0, cos(Placement.w));
    vec3 right = vec3(-forward.z, 0.0, forward.x);
    vec3 world = Placement.xyz + (forward * Local.x + right * Local.y + vec3(0.0, Local.z, 0.0)) * SizeSelected.x;
    vec3 hull = SizeSelected.y > 0.5 ? vec3(0.35, 0.9, 0.45) : vec3(0.25, 0.5, 0.9);
    vec3 turret = SizeSelected.y > 0.5 ? vec3(0.6, 1.0, 0.65) : vec3(0.55, 0.75, 1.0);
    VertexColour = vec4((Paint.y > 0.5 ? turret : hull) * Paint.x, 1.0);
    gl_Position = ViewProjection * vec4(world, 1.0);
}
)";

// One array per shape: the shape's vertices from FirstVertex on, the instances from the shared buffer.
void CreateShapeArray(GLuint& array, GLuint shapeBuffer, GLint firstVertex, GLuint instanceBuffer)
{
    glGenVertexArrays(1, &array);
    glBindVertexArray(array);
    glBindBuffer(GL_ARRAY_BUFFER, shapeBuffer);
    const GLsizei vertexStride = VehicleInstancesGL::FloatsPerVertex * sizeof(float);
    const auto at = [](GLint floats)
    { return reinterpret_cast<const void*>(static_cast<std::size_t>(floats) * sizeof(float)); };
    const GLint first = firstVertex * VehicleInstancesGL::FloatsPerVertex;
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, vertexStride, at(first));
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, vertexStride, at(first + 3));
    glBindBuffer(GL_ARRAY_BUFFER, instanceBuffer);
    const GLsizei instanceStride = VehicleInstancesGL::FloatsPerInstance * sizeof(float);
    glEnableVertexAttribArray(2);
    glVertexAttribPointer(2, 4, GL_FLOAT, GL_FALSE, instanceStride, nullptr);
    glVertexAttribDivisor(2, 1);
    glEnableVertexAttribArray(3);
    glVertexAttribPointer(3, 2, GL_FLOAT, GL_FALSE, instanceStride, at(4));
    glVertexAttribDivisor(3, 1);
    glBindVertexArray(0);
}
} // namespace

VehicleInstancesGL::~VehicleInstancesGL()
{
    glDeleteVertexArrays(1, &ModelArray);
    glDeleteVertexArrays(1, &IconArray);
    glDeleteBuffers(1, &ShapeBuffer);
    glDeleteBuffers(1, &InstanceBuffer);
    if (Program)
        glDeleteProgram(Program);
}

bool VehicleInstancesGL::Create(const std::vector<float>& ModelVertices,
                                const std::vector<float>& IconVertices, std::string& Error)
{
    Program = CreateGLProgram(VertexShader, VertexColourFragmentSource, Error);
    if (Program == 0)
        return false;
    ViewProjectionLocation = glGetUniformLocation(Program, "ViewProjection");
    std::vector<float> shapes = ModelVertices;
    shapes.insert(shapes.end(), IconVertices.begin(), IconVertices.end());
    ModelVertexCount = static_cast<GLsizei>(ModelVertices.size() / FloatsPerVertex);
    IconVertexCount = static_cast<GLsizei>(IconVertices.size() / FloatsPerVertex);
    glGenBuffers(1, &ShapeBuffer);
    glGenBuffers(1, &InstanceBuffer);
    glBindBuffer(GL_ARRAY_BUFFER, ShapeBuffer);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(shapes.size() * sizeof(float)), shapes.data(),
                 GL_STATIC_DRAW);
    CreateShapeArray(ModelArray, ShapeBuffer, 0, InstanceBuffer);
    CreateShapeArray(IconArray, ShapeBuffer, ModelVertexCount, InstanceBuffer);
    return true;
}

void VehicleInstancesGL::Draw(const std::vector<float>& Models, const std::vector<float>& Icons,
                              const std::array<float, 16>& ViewProjection)
{
    if (Program == 0 || (Models.empty() && Icons.empty()))
        return;
    glUseProgram(Program);
    glUniformMatrix4fv(ViewProjectionLocation, 1, GL_FALSE, ViewProjection.data());
    glBindBuffer(GL_ARRAY_BUFFER, InstanceBuffer);
    const auto bytes = [](const std::vector<float>& v)
    { return static_cast<GLsizeiptr>(v.size() * sizeof(float)); };
    // Models first, then icons.
    glBufferData(GL_ARRAY_BUFFER, bytes(Models) + bytes(Icons), nullptr, GL_STREAM_DRAW);
    glBufferSubData(GL_ARRAY_BUFFER, 0, bytes(Models), Models.data());
    glBufferSubData(GL_ARRAY_BUFFER, bytes(Models), bytes(Icons), Icons.data());
    const auto instances = [](const std::vector<float>& v)
    { return static_cast<GLsizei>(v.size() / FloatsPerInstance); };
    if (!Models.empty())
    {
        glBindVertexArray(ModelArray);
        glDrawArraysInstanced(GL_TRIANGLES, 0, ModelVertexCount, instances(Models));
    }
    if (!Icons.empty())
    {
        // GL 3.3 has no base instance: the icons' attributes are pointed past the models'.
        glBindVertexArray(IconArray);
        const GLsizei instanceStride = FloatsPerInstance * sizeof(float);
        const auto offset = [&](int floats) {
            return reinterpret_cast<const void*>(static_cast<std::size_t>(bytes(Models)) +
                                                 floats * sizeof(float));
        };
        glVertexAttribPointer(2, 4, GL_FLOAT, GL_FALSE, instanceStride, offset(0));
        glVertexAttribPointer(3, 2, GL_FLOAT, GL_FALSE, instanceStride, offset(4));
        glDrawArraysInstanced(GL_TRIANGLES, 0, IconVertexCount, instances(Icons));
    }
    glBindVertexArray(0);
}
