#include "scene_gl.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <unordered_set>

#include "airsim.h"
#include "springmap_renderer.h"
#include "vehicleunit.h"

namespace
{
constexpr int FloatsPerVertex = 7;

// Sizes of the markers: a ring clears the unit's outline, dots stay a few pixels at any zoom.
constexpr double VehicleRingRadii = 1.6;
constexpr double AircraftRingWorld = 26.0;
constexpr double AirGoalRingWorld = 12.0; // the ground mark under an aircraft's goal
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
// and darker sides so its orientation reads without lighting; each face turns counter-clockwise seen
// from outside, so the faces turned away can be culled.
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
    face(4, 6, 7, 5, 1.0f);  // top
    face(1, 5, 7, 3, 0.85f); // front
    face(0, 2, 6, 4, 0.6f);  // back
    face(0, 4, 5, 1, 0.7f);  // left
    face(2, 3, 7, 6, 0.7f);  // right
}

using Markers = std::array<std::vector<float>, MarkerInstancesGL::KindCount>;

void AppendMarker(Markers& out, MarkerInstancesGL::Kind kind, const Vec3D& a, double w, const Vec3D& b,
                  Rgb colour)
{
    out[kind].insert(out[kind].end(),
                     {static_cast<float>(a.X), static_cast<float>(a.Y), static_cast<float>(a.Z),
                      static_cast<float>(w), static_cast<float>(b.X), static_cast<float>(b.Y),
                      static_cast<float>(b.Z), colour.R, colour.G, colour.B});
}

void AppendLine(Markers& out, const Vec3D& from, const Vec3D& to, Rgb colour)
{
    AppendMarker(out, MarkerInstancesGL::Segment, from, 0.0, to, colour);
}

// World units per pixel at At; 0 when the scene does not know.
double GetWorldPerPx(const SceneContent& Content, const Vec3D& At)
{
    const double distance = std::hypot(At.X - Content.Eye.X, At.Y - Content.Eye.Y, At.Z - Content.Eye.Z);
    const double worldPerPx = distance * Content.WorldPerPxPerDistance;
    return std::isfinite(worldPerPx) && worldPerPx > 0.0 ? worldPerPx : 0.0;
}

// A horizontal circle around Centre; bOnTerrain sits each of its points on the terrain. One a few
// pixels across gets fewer points: at SmallRingMaxPx its sides stray under half a pixel from a circle.
void AppendRing(Markers& out, const SceneContent& Content, const Vec3D& centre, double radius,
                bool bOnTerrain, Rgb colour)
{
    const double worldPerPx = GetWorldPerPx(Content, centre);
    const bool bSmall = worldPerPx > 0.0 && radius <= SceneGL::SmallRingMaxPx * worldPerPx;
    AppendMarker(out, bSmall ? MarkerInstancesGL::SmallRing : MarkerInstancesGL::Ring, centre, radius,
                 Vec3D(bOnTerrain ? 1.0 : 0.0, 0.0, 0.0), colour);
}

// How much larger than life a unit of SizeWorld at At is drawn, so it keeps MinUnitPx on screen.
double GetDrawScale(const SceneContent& Content, const Vec3D& At, double SizeWorld)
{
    if (!(SizeWorld > 0.0))
        return 1.0;
    return std::max(1.0, SceneGL::MinUnitPx * GetWorldPerPx(Content, At) / SizeWorld);
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

// A delta wing pointing along the heading with a fin, centred on Centre.
void AppendDeltaWing(std::vector<float>& out, const HeadingFrame& frame, const Vec3D& centre, Rgb colour)
{
    const double half = SceneGL::AircraftLengthWorld * 0.5, span = AircraftSpanWorld * 0.5;
    const Vec3D nose = frame.At(centre, half, 0.0, 0.0);
    const Vec3D notch = frame.At(centre, -half * 0.55, 0.0, 0.0);
    for (const Vec3D& v : {nose, frame.At(centre, -half, -span, 0.0), notch})
        AppendVertex(out, v, colour);
    for (const Vec3D& v : {nose, notch, frame.At(centre, -half, span, 0.0)})
        AppendVertex(out, v, colour, 0.85f);
    for (const Vec3D& v : {centre, notch, frame.At(centre, -half * 0.9, 0.0, span * 0.6)})
        AppendVertex(out, v, colour, 0.65f);
}

// What a shape vertex paints, plain and selected; shapes carry it as the green of their colour.
enum Paint
{
    Hull,
    Turret,
    Wing,
    Post,
    PaintCount
};
// clang-format off
constexpr std::array<std::array<Rgb, 2>, PaintCount> PaintColours{{
    {{{0.25f, 0.5f, 0.9f}, {0.35f, 0.9f, 0.45f}}},
    {{{0.55f, 0.75f, 1.0f}, {0.6f, 1.0f, 0.65f}}},
    {{{0.95f, 0.55f, 0.2f}, {1.0f, 0.95f, 0.35f}}},
    {{{0.6f, 0.6f, 0.6f}, {0.6f, 0.6f, 0.6f}}},
}};
// clang-format on

// A unit's shape at heading 0 and size 1, base (an aircraft: its centre) at the origin, as a
// triangle list: the instanced draw turns, scales and colours it. Built with the shade as the red
// of the colour and the paint as green over red.
std::vector<float> BuildShape(UnitInstancesGL::Shape which)
{
    const HeadingFrame frame(0.0);
    const Vec3D base;
    const auto paint = [](Paint p) { return Rgb{1.0f, static_cast<float>(p), 0.0f}; };
    std::vector<float> vertices;
    if (which == UnitInstancesGL::Icon)
        AppendArrowIcon(vertices, frame, base, 1.0, paint(Turret));
    else if (which == UnitInstancesGL::Model)
    {
        AppendBox(vertices, frame, base, 1.0, 0.7, 0.6, paint(Hull));
        // Turret behind the middle, barrel reaching past the front: the heading reads from any side.
        AppendBox(vertices, frame, frame.At(base, -0.15, 0.0, 0.6), 0.45, 0.4, 0.4, paint(Turret));
        AppendBox(vertices, frame, frame.At(base, 0.85, 0.0, 0.72), 0.55, 0.1, 0.14, paint(Turret));
    }
    else
    {
        AppendDeltaWing(vertices, frame, base, paint(Wing));
        // A thin post down to the ground shows where the aircraft is over the map.
        AppendBox(vertices, frame, base, 1.5, 1.5, 1.0, paint(Post));
    }
    // At heading 0 forward is +Z and right is -X.
    std::vector<float> shape;
    for (std::size_t i = 0; i < vertices.size(); i += FloatsPerVertex)
    {
        const float* v = &vertices[i];
        const float shade = v[3];
        const int painted = static_cast<int>(std::lround(v[4] / shade));
        const Rgb plain = PaintColours[painted][0], selected = PaintColours[painted][1];
        shape.insert(shape.end(), {v[2], -v[0], v[1], plain.R * shade, plain.G * shade, plain.B * shade,
                                   selected.R * shade, selected.G * shade, selected.B * shade,
                                   painted == Post ? 1.0f : 0.0f});
    }
    return shape;
}

void AppendInstance(std::vector<float>& out, const Vec3D& at, double headingDeg, double size, bool bSelected,
                    double groundY)
{
    const double headingRad = headingDeg * M_PI / 180.0;
    out.insert(out.end(), {static_cast<float>(at.X), static_cast<float>(at.Y), static_cast<float>(at.Z),
                           static_cast<float>(std::sin(headingRad)), static_cast<float>(std::cos(headingRad)),
                           static_cast<float>(size), bSelected ? 1.0f : 0.0f, static_cast<float>(groundY)});
}

// A line from the unit through each goal in order, with a dot at every goal; a looping route closes.
void DrawOrders(Markers& markers, const Vec3D& from, const std::vector<Vec3D>& goals, bool bLoop, Rgb colour)
{
    if (goals.empty())
        return;
    Vec3D previous = from;
    for (const Vec3D& goal : goals)
    {
        AppendLine(markers, previous, goal, colour);
        AppendMarker(markers, MarkerInstancesGL::Dot, goal, 0.0, goal, colour);
        previous = goal;
    }
    if (bLoop && goals.size() > 1)
        AppendLine(markers, goals.back(), goals.front(), colour);
}

// An aircraft's goals at its flying height, each with a ring on the ground under it and a line
// down to that ring, so a person sees where on the map the click landed. A far ring grows as an
// aircraft there would; sized by where it lies, a goal shared by a whole fleet gives one mark.
void DrawAirGoalMarks(Markers& markers, const SceneContent& Content, const std::vector<Vec3D>& goals)
{
    const SpringMapRenderer* pMap = Content.Map.IsLoaded() ? &Content.Map : nullptr;
    for (const Vec3D& goal : goals)
    {
        const double ground =
            pMap ? pMap->GetTerrainHeight(static_cast<float>(goal.X), static_cast<float>(goal.Z)) : 0.0;
        const Vec3D centre(goal.X, ground, goal.Z);
        AppendRing(markers, Content, centre,
                   AirGoalRingWorld * GetDrawScale(Content, centre, SceneGL::AircraftLengthWorld),
                   pMap != nullptr, ToRgb(SceneGL::AircraftOrderColour));
        AppendLine(markers, Vec3D(goal.X, ground + MarkerInstancesGL::MarkerLiftWorld, goal.Z), goal,
                   ToRgb(SceneGL::AircraftOrderColour));
    }
}

// Drops every marker drawn again later unchanged: a fleet on one route would draw its legs, dots
// and goal rings once per aircraft. Markers are drawn in order without depth or blending, so
// keeping each one's last drawing leaves every pixel as it was.
void KeepLastOfEachMarker(std::vector<float>& markers)
{
    using Marker = std::array<float, MarkerInstancesGL::FloatsPerInstance>;
    struct MarkerHash
    {
        std::size_t operator()(const Marker& marker) const
        {
            std::size_t hash = 0;
            for (const float value : marker)
                hash = hash * 1000003U ^ std::hash<float>{}(value);
            return hash;
        }
    };
    constexpr std::size_t n = MarkerInstancesGL::FloatsPerInstance;
    const std::size_t count = markers.size() / n;
    std::unordered_set<Marker, MarkerHash> seen;
    std::vector<bool> bKeep(count, false);
    for (std::size_t i = count; i-- > 0;)
    {
        Marker marker;
        std::copy_n(markers.begin() + static_cast<std::ptrdiff_t>(i * n), n, marker.begin());
        bKeep[i] = seen.insert(marker).second;
    }
    std::size_t kept = 0;
    for (std::size_t i = 0; i < count; ++i)
        if (bKeep[i])
            std::copy_n(markers.begin() + static_cast<std::ptrdiff_t>(i * n), n,
                        markers.begin() + static_cast<std::ptrdiff_t>(kept++ * n));
    markers.resize(kept * n);
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

} // namespace

bool SceneGL::Create(std::string& Error)
{
    if (!Sky.Create(Error) || !Markers.Create(Error))
        return false;
    return Units.Create({BuildShape(UnitInstancesGL::Model), BuildShape(UnitInstancesGL::Icon),
                         BuildShape(UnitInstancesGL::Aircraft)},
                        Error);
}

bool SceneGL::IsSphereInView(const std::array<float, 16>& ViewProjection, const Vec3D& Centre,
                             double RadiusWorld)
{
    // Each side of the view is row 3 plus or minus row 0, 1 or 2 of the matrix (column-major), a
    // plane whose inside is where it is positive; scaled to a unit normal it gives distances.
    const std::array<float, 16>& m = ViewProjection;
    for (int row = 0; row < 3; ++row)
        for (const double sign : {1.0, -1.0})
        {
            const double a = m[3] + sign * m[row], b = m[7] + sign * m[4 + row],
                         c = m[11] + sign * m[8 + row], d = m[15] + sign * m[12 + row];
            const double length = std::sqrt(a * a + b * b + c * c);
            if (length > 0.0 && (a * Centre.X + b * Centre.Y + c * Centre.Z + d) / length < -RadiusWorld)
                return false;
        }
    return true;
}

void SceneGL::BuildGeometry(const SceneContent& Content, const std::array<float, 16>& ViewProjection)
{
    for (std::vector<float>& instances : UnitInstances)
        instances.clear();
    for (std::vector<float>& instances : MarkerInstances)
        instances.clear();
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
        // Beyond IconScale a vehicle is drawn as a flat arrow. Either shape lies within two size units
        // of its base; one wholly outside the view costs nothing to skip here and a vertex pass to draw.
        if (IsSphereInView(ViewProjection, vehicle->Position, 2.0 * radius * scale))
            AppendInstance(UnitInstances[scale > IconScale ? UnitInstancesGL::Icon : UnitInstancesGL::Model],
                           vehicle->Position, vehicle->HeadingDeg, radius * scale, bSelected,
                           vehicle->Position.Y);
        if (bSelected)
            AppendRing(MarkerInstances, Content, vehicle->Position, radius * VehicleRingRadii * scale,
                       pMap != nullptr, ToRgb(SelectionRingColour));
        if (bSelected || Content.bShowAllOrders)
            DrawOrders(MarkerInstances, vehicle->Position, VehicleGoals(*vehicle), false,
                       ToRgb(VehicleOrderColour));
    }
    for (const auto& air : Content.AirUnits)
    {
        if (!air)
            continue;
        const Vec3D& at = air->Aircraft.Position;
        const double scale = GetDrawScale(Content, at, AircraftLengthWorld);
        AppendInstance(UnitInstances[UnitInstancesGL::Aircraft], at, air->Flight.HeadingDeg, scale,
                       Content.bAirUnitsSelected,
                       Content.Map.GetTerrainHeight(static_cast<float>(at.X), static_cast<float>(at.Z)));
        if (Content.bAirUnitsSelected)
            AppendRing(MarkerInstances, Content, at, AircraftRingWorld * scale, false,
                       ToRgb(SelectionRingColour));
        if (!Content.bAirUnitsSelected && !Content.bShowAllOrders)
            continue;
        const std::vector<Vec3D> goals = AircraftGoals(*air);
        DrawOrders(MarkerInstances, at, goals, air->Flight.Navigator.IsLooping(), ToRgb(AircraftOrderColour));
        DrawAirGoalMarks(MarkerInstances, Content, goals);
    }
    for (std::vector<float>& markers : MarkerInstances)
        KeepLastOfEachMarker(markers);
}

void SceneGL::Draw(const SceneContent& Content, const std::array<float, 16>& ViewProjection)
{
    BuildGeometry(Content, ViewProjection);
    glDisable(GL_BLEND);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LESS);
    Units.Draw(UnitInstances, ViewProjection);
    glDisable(GL_DEPTH_TEST);
    Markers.Draw(MarkerInstances, ViewProjection, Content.Map.IsLoaded() ? &Content.Map : nullptr,
                 GoalDotSizePx);
}
