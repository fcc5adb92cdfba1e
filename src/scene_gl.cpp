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
constexpr int MaxTerrainVerticesPerSide = 257;

struct Rgb
{
    float R, G, B;
};

// Low ground green, slopes brown, peaks pale: readable at a glance on any map.
Rgb HeightColour(float t)
{
    const Rgb low{0.20f, 0.42f, 0.18f}, mid{0.52f, 0.45f, 0.28f}, high{0.86f, 0.85f, 0.80f};
    t = std::clamp(t, 0.0f, 1.0f);
    const auto mix = [](Rgb a, Rgb b, float f) {
        return Rgb{a.R + (b.R - a.R) * f, a.G + (b.G - a.G) * f, a.B + (b.B - a.B) * f};
    };
    return t < 0.5f ? mix(low, mid, t * 2.0f) : mix(mid, high, (t - 0.5f) * 2.0f);
}

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
    const GLuint buffers[] = {TerrainBuffer, TerrainIndexBuffer, UnitBuffer};
    glDeleteBuffers(3, buffers);
    const GLuint arrays[] = {TerrainArray, UnitArray};
    glDeleteVertexArrays(2, arrays);
    if (Program)
        glDeleteProgram(Program);
}

bool SceneGL::Create(std::string& Error)
{
    Program = CreateGLProgram(VertexShader, FragmentShader, Error);
    if (Program == 0)
        return false;
    ViewProjectionLocation = glGetUniformLocation(Program, "ViewProjection");
    CreateVertexArray(TerrainArray, TerrainBuffer);
    glGenBuffers(1, &TerrainIndexBuffer);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, TerrainIndexBuffer);
    CreateVertexArray(UnitArray, UnitBuffer);
    glBindVertexArray(0);
    return true;
}

void SceneGL::BuildTerrain(const SpringMapRenderer& Map)
{
    const int stride =
        std::max(1, (std::max(Map.GetGridWidth(), Map.GetGridHeight()) + MaxTerrainVerticesPerSide - 2) /
                        (MaxTerrainVerticesPerSide - 1));
    const int columns = (Map.GetGridWidth() - 1 + stride - 1) / stride + 1;
    const int rows = (Map.GetGridHeight() - 1 + stride - 1) / stride + 1;
    const float stepWorld = Map.GetSquareSize() * stride;
    const auto worldX = [&](int column) { return std::min(column * stepWorld, Map.GetWorldWidth()); };
    const auto worldZ = [&](int row) { return std::min(row * stepWorld, Map.GetWorldDepth()); };

    std::vector<float> heights(static_cast<std::size_t>(columns) * rows);
    float minHeight = 1e30f, maxHeight = -1e30f;
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column)
        {
            const float h = Map.GetTerrainHeight(worldX(column), worldZ(row));
            heights[static_cast<std::size_t>(row) * columns + column] = h;
            minHeight = std::min(minHeight, h);
            maxHeight = std::max(maxHeight, h);
        }
    const float heightRange = std::max(maxHeight - minHeight, 1.0f);
    const float lightX = 0.45f, lightY = 0.80f, lightZ = 0.40f; // from the upper left, roughly unit length

    std::vector<float> vertices;
    vertices.reserve(heights.size() * FloatsPerVertex);
    const auto heightAt = [&](int column, int row)
    {
        column = std::clamp(column, 0, columns - 1);
        row = std::clamp(row, 0, rows - 1);
        return heights[static_cast<std::size_t>(row) * columns + column];
    };
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column)
        {
            const float h = heightAt(column, row);
            // Normal from central differences: (-dh/dx, 1, -dh/dz) before normalising.
            const float nx = (heightAt(column - 1, row) - heightAt(column + 1, row)) / (2.0f * stepWorld);
            const float nz = (heightAt(column, row - 1) - heightAt(column, row + 1)) / (2.0f * stepWorld);
            const float shade = 0.45f + 0.55f * std::max(0.0f, (nx * lightX + lightY + nz * lightZ) /
                                                                   std::sqrt(nx * nx + 1.0f + nz * nz));
            const Rgb colour = HeightColour((h - minHeight) / heightRange);
            vertices.insert(vertices.end(), {worldX(column), h, worldZ(row), colour.R * shade,
                                             colour.G * shade, colour.B * shade, 1.0f});
        }
    std::vector<GLuint> indices;
    indices.reserve(static_cast<std::size_t>(columns - 1) * (rows - 1) * 6);
    for (int row = 0; row + 1 < rows; ++row)
        for (int column = 0; column + 1 < columns; ++column)
        {
            const GLuint a = static_cast<GLuint>(row * columns + column), b = a + 1;
            const GLuint c = a + static_cast<GLuint>(columns), d = c + 1;
            indices.insert(indices.end(), {a, c, b, b, c, d});
        }
    glBindVertexArray(TerrainArray);
    glBindBuffer(GL_ARRAY_BUFFER, TerrainBuffer);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(vertices.size() * sizeof(float)), vertices.data(),
                 GL_STATIC_DRAW);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, TerrainIndexBuffer);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(indices.size() * sizeof(GLuint)),
                 indices.data(), GL_STATIC_DRAW);
    glBindVertexArray(0);
    TerrainIndexCount = static_cast<GLsizei>(indices.size());
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

void SceneGL::DrawBuffer(GLuint VertexArray, GLsizei VertexCount) const
{
    glBindVertexArray(VertexArray);
    glDrawArrays(GL_TRIANGLES, 0, VertexCount);
}

void SceneGL::Draw(const GLViewport& View, const std::array<float, 16>& ViewProjection)
{
    if (Program == 0)
        return;
    const SpringMapRenderer& map = View.SpringMap;
    if (map.IsLoaded())
    {
        const float corners[4] = {map.GetTerrainHeight(0, 0), map.GetTerrainHeight(map.GetWorldWidth(), 0),
                                  map.GetTerrainHeight(0, map.GetWorldDepth()),
                                  map.GetTerrainHeight(map.GetWorldWidth(), map.GetWorldDepth())};
        if (map.GetGridWidth() != BuiltGridWidth || map.GetGridHeight() != BuiltGridHeight ||
            map.GetSquareSize() != BuiltSquareSize || !std::equal(corners, corners + 4, BuiltCornerHeights))
        {
            BuildTerrain(map);
            BuiltGridWidth = map.GetGridWidth();
            BuiltGridHeight = map.GetGridHeight();
            BuiltSquareSize = map.GetSquareSize();
            std::copy(corners, corners + 4, BuiltCornerHeights);
        }
    }
    BuildUnits(View);

    glUseProgram(Program);
    glUniformMatrix4fv(ViewProjectionLocation, 1, GL_FALSE, ViewProjection.data());
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LESS);
    glDisable(GL_BLEND);
    if (map.IsLoaded() && TerrainIndexCount > 0)
    {
        glBindVertexArray(TerrainArray);
        glDrawElements(GL_TRIANGLES, TerrainIndexCount, GL_UNSIGNED_INT, nullptr);
    }
    if (!UnitVertices.empty())
    {
        glBindBuffer(GL_ARRAY_BUFFER, UnitBuffer);
        glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(UnitVertices.size() * sizeof(float)),
                     UnitVertices.data(), GL_STREAM_DRAW);
        DrawBuffer(UnitArray, static_cast<GLsizei>(UnitVertices.size() / FloatsPerVertex));
    }
    glBindVertexArray(0);
    glDisable(GL_DEPTH_TEST);
}
