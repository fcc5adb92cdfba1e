#include "scene_gl.h"

#include <algorithm>
#include <cmath>

#include "airsim.h"
#include "glprogram.h"
#include "springmap_renderer.h"
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

constexpr int FloatsPerVertex = 7;

// Sizes of the markers: a ring clears the unit's outline, dots stay a few pixels at any zoom.
constexpr int RingSegments = 24;
constexpr double VehicleRingRadii = 1.6;
constexpr double AircraftRingWorld = 26.0;
constexpr double AirGoalRingWorld = 12.0; // the ground mark under an aircraft's goal
constexpr double MarkerLiftWorld = 2.0;   // keeps rings and lines off the terrain they follow
constexpr float GoalDotSizePx = 6.0f;

// Aircraft shape: a delta wing SceneGL::AircraftLengthWorld long, this wide at the tail.
constexpr double AircraftSpanWorld = 26.0;

struct Rgb
{
    float R, G, B;
};

Rgb ToRgb(const std::array<float, 3>& c)
{
    return {c[0], c[1], c[2]};
}

void AppendVertex(std::vector<float>& out, const Vec3D& at, Rgb colour, float shade = 1.0f)
{
    out.insert(out.end(), {static_cast<float>(at.X), static_cast<float>(at.Y), static_cast<float>(at.Z),
                           colour.R * shade, colour.G * shade, colour.B * shade, 1.0f});
}

// Ground-plane frame of a heading: Forward along it, Right a quarter turn clockwise seen from above.
struct HeadingFrame
{
    double ForwardX, ForwardZ, RightX, RightZ;

    explicit HeadingFrame(double headingDeg)
    {
        const double rad = headingDeg * M_PI / 180.0;
        ForwardX = std::sin(rad);
        ForwardZ = std::cos(rad);
        RightX = -ForwardZ;
        RightZ = ForwardX;
    }
    Vec3D At(const Vec3D& origin, double forward, double right, double up) const
    {
        return Vec3D(origin.X + ForwardX * forward + RightX * right, origin.Y + up,
                     origin.Z + ForwardZ * forward + RightZ * right);
    }
};

// A box turned to a heading, from the centre of its base, as 10 triangles (no bottom) with a lit top
// and darker sides so its orientation reads without lighting.
void AppendBox(std::vector<float>& out, const HeadingFrame& frame, const Vec3D& base, double halfLength,
               double halfWidth, double height, Rgb colour)
{
    Vec3D c[8];
    for (int i = 0; i < 8; ++i)
        c[i] = frame.At(base, (i & 1) ? halfLength : -halfLength, (i & 2) ? halfWidth : -halfWidth,
                        (i & 4) ? height : 0.0);
    const auto face = [&](int a, int b, int d, int e, float shade)
    {
        for (int k : {a, b, d, a, d, e})
            AppendVertex(out, c[k], colour, shade);
    };
    face(4, 5, 7, 6, 1.0f);  // top
    face(1, 3, 7, 5, 0.85f); // front
    face(0, 2, 6, 4, 0.6f);  // back
    face(0, 1, 5, 4, 0.7f);  // left
    face(2, 3, 7, 6, 0.7f);  // right
}

void AppendLine(std::vector<float>& out, const Vec3D& from, const Vec3D& to, Rgb colour)
{
    AppendVertex(out, from, colour);
    AppendVertex(out, to, colour);
}

// A horizontal circle of segments around Centre; with a map, each point sits on the terrain.
void AppendRing(std::vector<float>& out, const Vec3D& centre, double radius, const SpringMapRenderer* pMap,
                Rgb colour)
{
    Vec3D previous;
    for (int i = 0; i <= RingSegments; ++i)
    {
        const double angle = 2.0 * M_PI * i / RingSegments;
        Vec3D point(centre.X + radius * std::cos(angle), centre.Y, centre.Z + radius * std::sin(angle));
        if (pMap)
            point.Y = pMap->GetTerrainHeight(static_cast<float>(point.X), static_cast<float>(point.Z)) +
                      MarkerLiftWorld;
        if (i > 0)
            AppendLine(out, previous, point, colour);
        previous = point;
    }
}

// How much larger than life a unit of SizeWorld at At is drawn, so it keeps MinUnitPx on screen.
double GetDrawScale(const SceneContent& Content, const Vec3D& At, double SizeWorld)
{
    if (!(Content.WorldPerPxPerDistance > 0.0) || !(SizeWorld > 0.0))
        return 1.0;
    const double distance = std::hypot(At.X - Content.Eye.X, At.Y - Content.Eye.Y, At.Z - Content.Eye.Z);
    const double scale = SceneGL::MinUnitPx * distance * Content.WorldPerPxPerDistance / SizeWorld;
    return std::isfinite(scale) ? std::max(1.0, scale) : 1.0;
}

// A flat arrow along the heading, lying just above the vehicle's ground: the icon of a far vehicle.
void AppendArrowIcon(std::vector<float>& out, const HeadingFrame& frame, const Vec3D& base, double r,
                     Rgb colour)
{
    const Vec3D nose = frame.At(base, r * 1.2, 0.0, r * 0.3);
    const Vec3D notch = frame.At(base, -r * 0.4, 0.0, r * 0.3);
    for (const Vec3D& v : {nose, frame.At(base, -r, -r * 0.9, r * 0.3), notch})
        AppendVertex(out, v, colour);
    for (const Vec3D& v : {nose, notch, frame.At(base, -r, r * 0.9, r * 0.3)})
        AppendVertex(out, v, colour, 0.8f);
}

// A vehicle's shape at heading 0, base at the origin, one radius across each unit: the instanced
// draw turns, scales and colours it. Shade and turret flag travel as the red and green of the colour.
std::vector<float> BuildVehicleShape(bool bIcon)
{
    const HeadingFrame frame(0.0);
    const Vec3D base;
    const Rgb hull{1.0f, 0.0f, 0.0f}, turret{1.0f, 1.0f, 0.0f};
    std::vector<float> vertices;
    if (bIcon)
        AppendArrowIcon(vertices, frame, base, 1.0, turret);
    else
    {
        AppendBox(vertices, frame, base, 1.0, 0.7, 0.6, hull);
        // Turret behind the middle, barrel reaching past the front: the heading reads from any side.
        AppendBox(vertices, frame, frame.At(base, -0.15, 0.0, 0.6), 0.45, 0.4, 0.4, turret);
        AppendBox(vertices, frame, frame.At(base, 0.85, 0.0, 0.72), 0.55, 0.1, 0.14, turret);
    }
    // At heading 0 forward is +Z and right is -X.
    std::vector<float> shape;
    for (std::size_t i = 0; i < vertices.size(); i += FloatsPerVertex)
    {
        const float* v = &vertices[i];
        shape.insert(shape.end(), {v[2], -v[0], v[1], v[3], v[4] > 0.5f * v[3] ? 1.0f : 0.0f});
    }
    return shape;
}

void DrawAircraft(std::vector<float>& solid, const AirUnit& air, const SpringMapRenderer& map, bool bSelected,
                  double Scale)
{
    const HeadingFrame frame(air.Flight.HeadingDeg);
    const Vec3D& at = air.Aircraft.Position;
    const Rgb wing = bSelected ? Rgb{1.0f, 0.95f, 0.35f} : Rgb{0.95f, 0.55f, 0.2f};
    const double half = SceneGL::AircraftLengthWorld * 0.5 * Scale, span = AircraftSpanWorld * 0.5 * Scale;
    const Vec3D nose = frame.At(at, half, 0.0, 0.0);
    const Vec3D notch = frame.At(at, -half * 0.55, 0.0, 0.0);
    const Vec3D leftTip = frame.At(at, -half, -span, 0.0);
    const Vec3D rightTip = frame.At(at, -half, span, 0.0);
    const Vec3D finTop = frame.At(at, -half * 0.9, 0.0, span * 0.6);
    for (const Vec3D& v : {nose, leftTip, notch})
        AppendVertex(solid, v, wing);
    for (const Vec3D& v : {nose, notch, rightTip})
        AppendVertex(solid, v, wing, 0.85f);
    for (const Vec3D& v : {frame.At(at, 0.0, 0.0, 0.0), notch, finTop})
        AppendVertex(solid, v, wing, 0.65f);
    // A thin post down to the ground shows where the aircraft is over the map.
    const double ground = map.GetTerrainHeight(static_cast<float>(at.X), static_cast<float>(at.Z));
    if (at.Y > ground)
        AppendBox(solid, HeadingFrame(0.0), Vec3D(at.X, ground, at.Z), 1.5 * Scale, 1.5 * Scale,
                  at.Y - ground, Rgb{0.6f, 0.6f, 0.6f});
}

// A line from the unit through each goal in order, with a dot at every goal; a looping route closes.
void DrawOrders(std::vector<float>& lines, std::vector<float>& points, const Vec3D& from,
                const std::vector<Vec3D>& goals, bool bLoop, Rgb colour)
{
    if (goals.empty())
        return;
    Vec3D previous = from;
    for (const Vec3D& goal : goals)
    {
        AppendLine(lines, previous, goal, colour);
        AppendVertex(points, goal, colour);
        previous = goal;
    }
    if (bLoop && goals.size() > 1)
        AppendLine(lines, goals.back(), goals.front(), colour);
}

// An aircraft's goals at its flying height, each with a ring on the ground under it and a line
// down to that ring, so a person sees where on the map the click landed.
void DrawAirGoalMarks(std::vector<float>& lines, const std::vector<Vec3D>& goals,
                      const SpringMapRenderer* pMap, double RingRadius)
{
    for (const Vec3D& goal : goals)
    {
        const double ground =
            pMap ? pMap->GetTerrainHeight(static_cast<float>(goal.X), static_cast<float>(goal.Z)) : 0.0;
        AppendRing(lines, Vec3D(goal.X, ground, goal.Z), RingRadius, pMap,
                   ToRgb(SceneGL::AircraftOrderColour));
        AppendLine(lines, Vec3D(goal.X, ground + MarkerLiftWorld, goal.Z), goal,
                   ToRgb(SceneGL::AircraftOrderColour));
    }
}

std::vector<Vec3D> VehicleGoals(const VehicleUnit& vehicle)
{
    std::vector<Vec3D> goals;
    if (!vehicle.bHasTarget)
        return goals;
    goals.push_back(vehicle.Target);
    goals.insert(goals.end(), vehicle.WaypointQueue.begin(), vehicle.WaypointQueue.end());
    return goals;
}

// The points an aircraft still has to fly: from its current one on; a patrol loops through all.
std::vector<Vec3D> AircraftGoals(const AirUnit& air)
{
    const WaypointNavigator& navigator = air.Flight.Navigator;
    const std::vector<Vec3D>& path = navigator.GetPath();
    Vec3D current;
    if (!air.bHasActiveOrder || !navigator.GetCurrentPoint(current))
        return {};
    std::vector<Vec3D> goals(path.begin() + static_cast<std::ptrdiff_t>(navigator.GetCurrentIndex()),
                             path.end());
    if (navigator.IsLooping())
        goals.insert(goals.end(), path.begin(),
                     path.begin() + static_cast<std::ptrdiff_t>(navigator.GetCurrentIndex()));
    return goals;
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

GLsizei VertexCount(const std::vector<float>& vertices)
{
    return static_cast<GLsizei>(vertices.size() / FloatsPerVertex);
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
    if (!Sky.Create(Error))
        return false;
    Program = CreateGLProgram(VertexShader, VertexColourFragmentSource, Error);
    if (Program == 0)
        return false;
    ViewProjectionLocation = glGetUniformLocation(Program, "ViewProjection");
    CreateVertexArray(UnitArray, UnitBuffer);
    glBindVertexArray(0);
    return Vehicles.Create(BuildVehicleShape(false), BuildVehicleShape(true), Error);
}

void SceneGL::BuildGeometry(const SceneContent& Content)
{
    SolidVertices.clear();
    VehicleModels.clear();
    VehicleIcons.clear();
    LineVertices.clear();
    PointVertices.clear();
    const SpringMapRenderer* pMap = Content.Map.IsLoaded() ? &Content.Map : nullptr;
    // The mask is index-aligned with the controllable vehicles, which skip empty entries.
    std::size_t controllableIndex = 0;
    for (const std::unique_ptr<VehicleUnit>& vehicle : Content.Vehicles)
    {
        if (!vehicle)
            continue;
        const std::size_t maskIndex = controllableIndex++;
        const bool bSelected =
            maskIndex < Content.VehicleSelectionMask.size() && Content.VehicleSelectionMask[maskIndex];
        const double radius = std::max(vehicle->Radius, 1.0f);
        const double scale = GetDrawScale(Content, vehicle->Position, radius * 2.0);
        const Vec3D& at = vehicle->Position;
        // Beyond IconScale a vehicle is drawn as a flat arrow.
        std::vector<float>& instances = scale > IconScale ? VehicleIcons : VehicleModels;
        instances.insert(instances.end(),
                         {static_cast<float>(at.X), static_cast<float>(at.Y), static_cast<float>(at.Z),
                          static_cast<float>(vehicle->HeadingDeg * M_PI / 180.0),
                          static_cast<float>(radius * scale), bSelected ? 1.0f : 0.0f});
        if (bSelected)
            AppendRing(LineVertices, vehicle->Position, radius * VehicleRingRadii * scale, pMap,
                       ToRgb(SelectionRingColour));
        if (bSelected || Content.bShowAllOrders)
            DrawOrders(LineVertices, PointVertices, vehicle->Position, VehicleGoals(*vehicle), false,
                       ToRgb(VehicleOrderColour));
    }
    for (const auto& air : Content.AirUnits)
    {
        if (!air)
            continue;
        const double scale = GetDrawScale(Content, air->Aircraft.Position, AircraftLengthWorld);
        DrawAircraft(SolidVertices, *air, Content.Map, Content.bAirUnitsSelected, scale);
        if (Content.bAirUnitsSelected)
            AppendRing(LineVertices, air->Aircraft.Position, AircraftRingWorld * scale, nullptr,
                       ToRgb(SelectionRingColour));
        if (!Content.bAirUnitsSelected && !Content.bShowAllOrders)
            continue;
        const std::vector<Vec3D> goals = AircraftGoals(*air);
        DrawOrders(LineVertices, PointVertices, air->Aircraft.Position, goals,
                   air->Flight.Navigator.IsLooping(), ToRgb(AircraftOrderColour));
        DrawAirGoalMarks(LineVertices, goals, pMap, AirGoalRingWorld * scale);
    }
}

void SceneGL::Draw(const SceneContent& Content, const std::array<float, 16>& ViewProjection)
{
    if (Program == 0)
        return;
    BuildGeometry(Content);
    glDisable(GL_BLEND);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LESS);
    Vehicles.Draw(VehicleModels, VehicleIcons, ViewProjection);
    const std::size_t totalFloats = SolidVertices.size() + LineVertices.size() + PointVertices.size();
    if (totalFloats == 0)
    {
        glDisable(GL_DEPTH_TEST);
        return;
    }
    glUseProgram(Program);
    glUniformMatrix4fv(ViewProjectionLocation, 1, GL_FALSE, ViewProjection.data());
    glBindVertexArray(UnitArray);
    glBindBuffer(GL_ARRAY_BUFFER, UnitBuffer);
    // One upload per frame: units, then lines, then dots.
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(totalFloats * sizeof(float)), nullptr,
                 GL_STREAM_DRAW);
    GLintptr offsetBytes = 0;
    for (const std::vector<float>* part : {&SolidVertices, &LineVertices, &PointVertices})
    {
        const auto bytes = static_cast<GLsizeiptr>(part->size() * sizeof(float));
        glBufferSubData(GL_ARRAY_BUFFER, offsetBytes, bytes, part->data());
        offsetBytes += bytes;
    }
    GLint first = 0;
    glDrawArrays(GL_TRIANGLES, first, VertexCount(SolidVertices));
    first += VertexCount(SolidVertices);
    glDisable(GL_DEPTH_TEST);
    if (!LineVertices.empty())
        glDrawArrays(GL_LINES, first, VertexCount(LineVertices));
    first += VertexCount(LineVertices);
    if (!PointVertices.empty())
    {
        glPointSize(GoalDotSizePx);
        glDrawArrays(GL_POINTS, first, VertexCount(PointVertices));
        glPointSize(1.0f);
    }
    glBindVertexArray(0);
}
