#include "scene_gl.h"

#include <algorithm>
#include <cmath>

#include "glprogram.h"
#include "glviewport.h"
#include "vehicleunit.h"

namespace
{
const char* VertexShader = R"(#version 330 core
uniform mat4 ViewProjection;
layout(location = 0) in vec3 Position;
layout(location = 1) in vec4 Colour;
out vec4 VertexColour;
void main()
{
    VertexColour = Colour;
    gl_Position = ViewProjection * vec4(Position, 1.0);
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

constexpr int FloatsPerVertex = 7;

struct Rgb
{
    float R, G, B;
};

void CreateVertexArray(GLuint& array, GLuint& buffer)
{
    glGenVertexArrays(1, &array);
    glGenBuffers(1, &buffer);
    glBindVertexArray(array);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    const GLsizei stride = FloatsPerVertex * sizeof(float);
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, stride, nullptr);
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(1, 4, GL_FLOAT, GL_FALSE, stride, reinterpret_cast<const void*>(3 * sizeof(float)));
}

// An axis-aligned box from its base centre, as 12 triangles with a lit top and darker sides.
void AppendBox(std::vector<float>& out, double cx, double baseY, double cz, double halfSize, double height,
               Rgb colour)
{
    const float x0 = static_cast<float>(cx - halfSize), x1 = static_cast<float>(cx + halfSize);
    const float z0 = static_cast<float>(cz - halfSize), z1 = static_cast<float>(cz + halfSize);
    const float y0 = static_cast<float>(baseY), y1 = static_cast<float>(baseY + height);
    const auto face = [&](const float(&corners)[4][3], float shade)
    {
        for (int c : {0, 1, 2, 0, 2, 3})
            out.insert(out.end(), {corners[c][0], corners[c][1], corners[c][2], colour.R * shade,
                                   colour.G * shade, colour.B * shade, 1.0f});
    };
    face({{x0, y1, z0}, {x1, y1, z0}, {x1, y1, z1}, {x0, y1, z1}}, 1.0f);
    face({{x0, y0, z1}, {x1, y0, z1}, {x1, y1, z1}, {x0, y1, z1}}, 0.8f);
    face({{x0, y0, z0}, {x1, y0, z0}, {x1, y1, z0}, {x0, y1, z0}}, 0.6f);
    face({{x0, y0, z0}, {x0, y0, z1}, {x0, y1, z1}, {x0, y1, z0}}, 0.7f);
    face({{x1, y0, z0}, {x1, y0, z1}, {x1, y1, z1}, {x1, y1, z0}}, 0.7f);
}
} // namespace

SceneGL::~SceneGL()
{
    glDeleteBuffers(1, &UnitBuffer);
    glDeleteVertexArrays(1, &UnitArray);
    if (Program)
        glDeleteProgram(Program);
}

bool SceneGL::Create(std::string& Error)
{
    Program = CreateGLProgram(VertexShader, FragmentShader, Error);
    if (Program == 0)
        return false;
    ViewProjectionLocation = glGetUniformLocation(Program, "ViewProjection");
    CreateVertexArray(UnitArray, UnitBuffer);
    glBindVertexArray(0);
    return true;
}

void SceneGL::BuildUnits(const GLViewport& View)
{
    UnitVertices.clear();
    for (std::size_t i = 0; i < View.Vehicles.size(); ++i)
    {
        const VehicleUnit* vehicle = View.Vehicles[i].get();
        if (!vehicle)
            continue;
        const bool bSelected = i < View.VehicleSelectionMask.size() && View.VehicleSelectionMask[i];
        const double halfSize = std::max(vehicle->Radius, 1.0f);
        AppendBox(UnitVertices, vehicle->Position.X, vehicle->Position.Y, vehicle->Position.Z, halfSize,
                  halfSize * 1.2, bSelected ? Rgb{0.35f, 1.0f, 0.45f} : Rgb{0.25f, 0.55f, 0.95f});
    }
    for (const auto& air : View.AirUnits)
    {
        if (!air)
            continue;
        const Vec3D& at = air->Aircraft.Position;
        AppendBox(UnitVertices, at.X, at.Y - 6.0, at.Z, 14.0, 12.0,
                  View.bAirUnitsSelected ? Rgb{1.0f, 0.95f, 0.35f} : Rgb{0.95f, 0.55f, 0.2f});
        // A thin post down to the ground shows where the aircraft is over the map.
        const double ground =
            View.SpringMap.GetTerrainHeight(static_cast<float>(at.X), static_cast<float>(at.Z));
        if (at.Y - 6.0 > ground)
            AppendBox(UnitVertices, at.X, ground, at.Z, 1.5, at.Y - 6.0 - ground, Rgb{0.6f, 0.6f, 0.6f});
    }
}

void SceneGL::Draw(const GLViewport& View, const std::array<float, 16>& ViewProjection)
{
    if (Program == 0)
        return;
    BuildUnits(View);
    if (UnitVertices.empty())
        return;
    glUseProgram(Program);
    glUniformMatrix4fv(ViewProjectionLocation, 1, GL_FALSE, ViewProjection.data());
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LESS);
    glDisable(GL_BLEND);
    glBindVertexArray(UnitArray);
    glBindBuffer(GL_ARRAY_BUFFER, UnitBuffer);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(UnitVertices.size() * sizeof(float)),
                 UnitVertices.data(), GL_STREAM_DRAW);
    glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(UnitVertices.size() / FloatsPerVertex));
    glBindVertexArray(0);
    glDisable(GL_DEPTH_TEST);
}
