// =====================================================================================================
// Selection and orders: box and click selection, vehicle move and formation orders, aircraft route
// and patrol orders, the order gestures of MouseProcessing, and the band and formation overlays.
// =====================================================================================================

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <SDL3/SDL.h>

#include "airsim.h"
#include "core.h"
#include "glcolor.h"
#include "glviewport.h"
#include "rend.h"
#include "vehicleunit.h"

namespace
{
// Selection.
constexpr double SelectionClickMaxLocal = 0.012; // per axis: a smaller gesture is a click, not a band
constexpr double VehiclePickRadiusFactor = 1.45; // of Radius: a click just beside a vehicle still hits it
constexpr double VehiclePickRadiusMin = 28.0;    // map units: small vehicles stay easy to click
constexpr double AirPickRadius = 48.0;           // map units
constexpr double NoPickDistance = 1e30;
constexpr double SquaredTestMargin = 1.0 + 1e-6;
constexpr double BandEdgeTolerance = 1e-5; // squared map units: a unit on an edge counts as inside
constexpr double BandMinExtentLocal = 0.001;

// Order gesture.
constexpr double OrderDragMinLocal = 0.006;  // farther from the press is a drag; also the sample step
constexpr double OrderSampleMinWorld = 12.0; // a sample is also due when the map point moved this far
constexpr double OrderReleaseMinWorld = 1.0; // the release point joins the path beyond this distance

// Move order: a sunflower spiral of slots around the waypoint.
constexpr double TravelDirectionMinLength = 1e-5; // closer than this the group has no direction
constexpr double SlotSpacingPerRadius = 1.58;
constexpr double SlotSpacingMin = 20.0;
constexpr double SlotRingFactor = 0.72;
constexpr double GoldenAngleRad = 2.3999632297286535; // pi * (3 - sqrt(5))

// Formation order and its preview.
constexpr double FormationMinLength = 0.0001; // start and end closer than this: a plain move order
constexpr double PathSpanMin = 1e-9;          // keeps zero-length segments from dividing by zero
constexpr float PreviewCrossHalfSize = 0.008f;

const char* const ReplaceMoveMessage = "Selected units ordered to waypoint.";
const char* const QueueMoveMessage = "Waypoint queued for selected units.";

bool IsShiftKeyDown()
{
    return (SDL_GetModState() & SDL_KMOD_SHIFT) != 0;
}

bool IsAltKeyDown()
{
    return (SDL_GetModState() & SDL_KMOD_ALT) != 0;
}

bool IsAnyVehicleSelected(const std::vector<bool>& mask)
{
    return std::find(mask.begin(), mask.end(), true) != mask.end();
}

void MarkFrameTaken()
{
    p->pQuindle->MarkChildWindowProcessed();
}

float LocalToGlobalX(const GLViewport& view, double x01)
{
    return static_cast<float>(view.WindowX1 + (view.WindowX2 - view.WindowX1) * x01);
}

float LocalToGlobalY(const GLViewport& view, double y01)
{
    return static_cast<float>(view.WindowY1 + (view.WindowY2 - view.WindowY1) * y01);
}

// --- Selection helpers ---

// Aircraft are picked where they fly: at the height of the first aircraft. Empty entries are
// skipped here as everywhere else; false when there is no aircraft.
bool FindAirSelectionHeight(const std::vector<std::unique_ptr<AirUnit>>& airUnits, double& height)
{
    for (const auto& airUnit : airUnits)
        if (airUnit)
        {
            height = airUnit->Aircraft.Position.Y;
            return true;
        }
    return false;
}

using BandCorners = std::array<Vec3D, 4>;

// The band's corners on the map, (left, top), (right, top), (right, bottom), (left, bottom); on the
// terrain, or on the plane at *pHeight when given. False at the first corner that misses.
bool ProjectBandCorners(const GLViewport& view, double left, double top, double right, double bottom,
                        const double* pHeight, BandCorners& corners)
{
    const double xs[4] = {left, right, right, left};
    const double ys[4] = {top, top, bottom, bottom};
    for (std::size_t k = 0; k < corners.size(); ++k)
    {
        const bool bHit = pHeight ? view.ScreenToSpringMapWorldAtHeight(xs[k], ys[k], *pHeight, corners[k])
                                  : view.ScreenToSpringMapWorld(xs[k], ys[k], corners[k]);
        if (!bHit)
            return false;
    }
    return true;
}

// The projected band's edges, set up once for a test over many units. A point is inside (or on an
// edge, within the tolerance) when no two edges see it on strictly opposite sides: the band is
// convex, and the test needs no particular winding.
class BandEdges
{
  public:
    explicit BandEdges(const BandCorners& corners)
    {
        for (std::size_t e = 0; e < corners.size(); ++e)
        {
            const Vec3D& a = corners[e];
            const Vec3D& b = corners[(e + 1) % corners.size()];
            OriginX[e] = a.X;
            OriginZ[e] = a.Z;
            DirX[e] = b.X - a.X;
            DirZ[e] = b.Z - a.Z;
        }
    }

    bool Contains(const Vec3D& position) const
    {
        bool bPositive = false;
        bool bNegative = false;
        for (std::size_t e = 0; e < 4; ++e)
        {
            const double cross = DirX[e] * (position.Z - OriginZ[e]) - DirZ[e] * (position.X - OriginX[e]);
            // Branch-free: whether a unit lies inside is unpredictable.
            bPositive |= cross > BandEdgeTolerance;
            bNegative |= cross < -BandEdgeTolerance;
        }
        return !(bPositive && bNegative);
    }

  private:
    double OriginX[4] = {}, OriginZ[4] = {}, DirX[4] = {}, DirZ[4] = {};
};

// --- Path walking shared by the formation order and its preview ---

// Running horizontal length of a map path; entry 0 is 0.
std::vector<double> MeasureMapPath(const std::vector<Vec3D>& path)
{
    std::vector<double> cumulative(path.size(), 0.0);
    for (std::size_t i = 1; i < path.size(); ++i)
        cumulative[i] = cumulative[i - 1] + std::hypot(path[i].X - path[i - 1].X, path[i].Z - path[i - 1].Z);
    return cumulative;
}

// Running length of a screen path in local units (not corrected for the aspect ratio).
std::vector<double> MeasureScreenPath(const std::vector<double>& xs, const std::vector<double>& ys)
{
    std::vector<double> cumulative(xs.size(), 0.0);
    for (std::size_t i = 1; i < xs.size(); ++i)
        cumulative[i] = cumulative[i - 1] + std::hypot(xs[i] - xs[i - 1], ys[i] - ys[i - 1]);
    return cumulative;
}

// A place on a path: the segment from point Segment - 1 to point Segment, and the fraction along it.
struct PathPlace
{
    std::size_t Segment = 1;
    double U = 0.0;
};

// The place at a distance along a path of at least two points. Places are asked for at growing
// distances, so the walk resumes at the previous place's segment: every segment it skipped ends
// before the previous distance and therefore before this one, so the result equals a walk from the
// first segment, in linear instead of quadratic time over all places.
PathPlace LocatePathPlace(const std::vector<double>& cumulative, double targetDistance,
                          std::size_t fromSegment)
{
    std::size_t i = fromSegment;
    while (targetDistance > cumulative[i] && i + 1 < cumulative.size())
        ++i;
    const double span = std::max(cumulative[i] - cumulative[i - 1], PathSpanMin);
    return {i, std::clamp((targetDistance - cumulative[i - 1]) / span, 0.0, 1.0)};
}

double Interpolate(double from, double to, double u)
{
    return from + (to - from) * u;
}

// --- Move order helpers ---

struct SelectedGroup
{
    double SumX = 0.0;
    double SumZ = 0.0;
    float MaxRadius = 0.0f;
    int Count = 0;
};

SelectedGroup MeasureSelectedGroup(const std::vector<VehicleUnit*>& vehicles, const std::vector<bool>& mask)
{
    SelectedGroup group;
    for (std::size_t i = 0; i < vehicles.size(); ++i)
    {
        if (!mask[i])
            continue;
        group.SumX += vehicles[i]->Position.X;
        group.SumZ += vehicles[i]->Position.Z;
        group.MaxRadius = std::max(group.MaxRadius, vehicles[i]->Radius);
        ++group.Count;
    }
    return group;
}

using ProjectedUnits = std::vector<std::pair<double, std::size_t>>;

// Units sorted by their position along an axis through an origin (ties in no defined order).
ProjectedUnits OrderAlongAxis(const std::vector<VehicleUnit*>& vehicles, const std::vector<bool>& mask,
                              std::size_t selectedCount, double originX, double originZ, double axisX,
                              double axisZ)
{
    ProjectedUnits ordered;
    ordered.reserve(selectedCount);
    for (std::size_t i = 0; i < vehicles.size(); ++i)
        if (mask[i])
            ordered.emplace_back(
                (vehicles[i]->Position.X - originX) * axisX + (vehicles[i]->Position.Z - originZ) * axisZ, i);
    std::sort(ordered.begin(), ordered.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    return ordered;
}

// Spreads a group over sunflower slots around the waypoint, turned to the group's direction of
// travel, so the vehicles do not all drive to one spot. The leftmost vehicle (smallest projection on
// `right`) takes the centre and the others follow outwards along the spiral.
//
//            forward
//               ^   . 1
//          4 .  |
//               0 ------> right        slot k at sqrt(k) * spacing * 0.72, angle k * golden angle
//       2 .        . 3
void PlaceGroupOnSpiral(const GLViewport& view, const std::vector<VehicleUnit*>& vehicles,
                        const std::vector<bool>& mask, const SelectedGroup& group, const Vec3D& waypoint,
                        std::vector<Vec3D>& goals)
{
    const double centroidX = group.SumX / group.Count;
    const double centroidZ = group.SumZ / group.Count;
    double forwardX = waypoint.X - centroidX;
    double forwardZ = waypoint.Z - centroidZ;
    const double length = std::hypot(forwardX, forwardZ);
    if (length > TravelDirectionMinLength)
    {
        forwardX /= length;
        forwardZ /= length;
    }
    else
    {
        forwardX = 0.0;
        forwardZ = 1.0;
    }
    const double rightX = forwardZ;
    const double rightZ = -forwardX;

    const ProjectedUnits ordered = OrderAlongAxis(vehicles, mask, static_cast<std::size_t>(group.Count),
                                                  centroidX, centroidZ, rightX, rightZ);
    const double spacing =
        std::max(SlotSpacingMin, static_cast<double>(group.MaxRadius) * SlotSpacingPerRadius);
    for (std::size_t slot = 0; slot < ordered.size(); ++slot)
    {
        double offsetX = 0.0;
        double offsetZ = 0.0;
        if (slot > 0)
        {
            const double ringRadius = std::sqrt(static_cast<double>(slot)) * spacing * SlotRingFactor;
            const double angle = static_cast<double>(slot) * GoldenAngleRad;
            const double localRight = std::cos(angle) * ringRadius;
            const double localForward = std::sin(angle) * ringRadius;
            offsetX = rightX * localRight + forwardX * localForward;
            offsetZ = rightZ * localRight + forwardZ * localForward;
        }
        const std::size_t unit = ordered[slot].second;
        goals[unit] =
            view.FindDriveableVehicleWaypoint(Vec3D(waypoint.X + offsetX, 0.0, waypoint.Z + offsetZ));
    }
}
} // namespace

// --- Selection ---

void GLViewport::SelectVehiclesInScreenRect(double x1, double y1, double x2, double y2, bool additive)
{
    if (!bVehicleControl)
        return;
    const std::vector<VehicleUnit*> vehicles = GetControllableVehicles();
    if (VehicleSelectionMask.size() != vehicles.size() || !additive)
        VehicleSelectionMask.assign(vehicles.size(), false);
    if (!additive)
        bAirUnitsSelected = false;

    const bool bClick =
        std::abs(x2 - x1) < SelectionClickMaxLocal && std::abs(y2 - y1) < SelectionClickMaxLocal;
    const bool bPicked =
        bClick ? SelectNearestUnit(vehicles, x1, y1) : SelectUnitsInBand(vehicles, x1, y1, x2, y2);
    if (!bPicked)
        return;

    // The count covers the whole selection, flags kept by an additive gesture included; the
    // aircraft count as one unit.
    const int count =
        static_cast<int>(std::count(VehicleSelectionMask.begin(), VehicleSelectionMask.end(), true)) +
        (bAirUnitsSelected ? 1 : 0);
    ShowStatus(count > 0 ? std::to_string(count) + " unit(s) selected. Right click to move."
                         : "No units selected.");
}

bool GLViewport::SelectNearestUnit(const std::vector<VehicleUnit*>& vehicles, double x01, double y01)
{
    Vec3D point;
    if (!ScreenToSpringMapWorld(x01, y01, point))
        return false;
    // Aircraft are measured where the click meets their flying height, falling back to the ground.
    Vec3D airReference = point;
    double airHeight = 0.0;
    Vec3D airPoint;
    if (FindAirSelectionHeight(AirUnits, airHeight) &&
        ScreenToSpringMapWorldAtHeight(x01, y01, airHeight, airPoint))
        airReference = airPoint;

    // Strict comparisons: on a tie the earlier vehicle stays, and a vehicle beats an aircraft.
    int nearest = -1;
    double nearestDistance = NoPickDistance;
    for (std::size_t i = 0; i < vehicles.size(); ++i)
    {
        const double dx = vehicles[i]->Position.X - point.X;
        const double dz = vehicles[i]->Position.Z - point.Z;
        const double pickRadius = std::max(static_cast<double>(vehicles[i]->Radius) * VehiclePickRadiusFactor,
                                           VehiclePickRadiusMin);
        // hypot is slow and nearly every vehicle is far away: a squared test with a margin far above
        // its rounding skips those without changing which vehicle wins.
        const double reach = pickRadius * SquaredTestMargin;
        if (dx * dx + dz * dz > reach * reach)
            continue;
        const double d = std::hypot(dx, dz);
        if (d < pickRadius && d < nearestDistance)
        {
            nearestDistance = d;
            nearest = static_cast<int>(i);
        }
    }
    bool bNearestAir = false;
    for (const auto& airUnit : AirUnits)
    {
        if (!airUnit)
            continue;
        const Vec3D& position = airUnit->Aircraft.Position;
        const double d = std::hypot(position.X - airReference.X, position.Z - airReference.Z);
        if (d < AirPickRadius && d < nearestDistance)
        {
            nearestDistance = d;
            nearest = -1;
            bNearestAir = true;
        }
    }

    if (nearest >= 0)
    {
        VehicleSelectionMask[static_cast<std::size_t>(nearest)] = true;
        LastSelectedVehicleIndex = nearest;
    }
    else if (bNearestAir)
    {
        bAirUnitsSelected = true;
    }
    return true;
}

bool GLViewport::SelectUnitsInBand(const std::vector<VehicleUnit*>& vehicles, double x1, double y1, double x2,
                                   double y2)
{
    const double left = std::min(x1, x2);
    const double right = std::max(x1, x2);
    const double top = std::min(y1, y2);
    const double bottom = std::max(y1, y2);
    BandCorners corners;
    if (!ProjectBandCorners(*this, left, top, right, bottom, nullptr, corners))
        return false;

    const BandEdges band(corners);
    for (std::size_t i = 0; i < vehicles.size(); ++i)
        if (band.Contains(vehicles[i]->Position))
        {
            VehicleSelectionMask[i] = true;
            LastSelectedVehicleIndex = static_cast<int>(i);
        }

    // Aircraft are tested against the band where it lies at their flying height.
    double airHeight = 0.0;
    BandCorners airCorners;
    if (FindAirSelectionHeight(AirUnits, airHeight) &&
        ProjectBandCorners(*this, left, top, right, bottom, &airHeight, airCorners))
    {
        const BandEdges airBand(airCorners);
        for (const auto& airUnit : AirUnits)
            if (airUnit && airBand.Contains(airUnit->Aircraft.Position))
            {
                bAirUnitsSelected = true;
                break;
            }
    }
    return true;
}

void GLViewport::RenderUnitSelectionOverlay() const
{
    if (!bVehicleControl || !bSelectionDragActive)
        return;
    const double left = std::min(SelectionStartX, SelectionEndX);
    const double right = std::max(SelectionStartX, SelectionEndX);
    const double top = std::min(SelectionStartY, SelectionEndY);
    const double bottom = std::max(SelectionStartY, SelectionEndY);
    // A band thin on one axis only is still drawn, so a straight drag shows at once.
    if (right - left < BandMinExtentLocal && bottom - top < BandMinExtentLocal)
        return;
    if (!p || !p->pRend || !p->pRend->beginFrame())
        return;
    Rend& rend = *p->pRend;
    const float gLeft = LocalToGlobalX(*this, left);
    const float gRight = LocalToGlobalX(*this, right);
    const float gTop = LocalToGlobalY(*this, top);
    const float gBottom = LocalToGlobalY(*this, bottom);
    // The fill's translucency relies on the blend state of the draw pass.
    rend.drawRect(gLeft, gTop, gRight, gBottom, GLColor(0.18f, 0.82f, 1.0f, 0.12f));
    const GLColor outline(0.3f, 0.92f, 1.0f, 0.96f);
    rend.drawLine(gLeft, gTop, gRight, gTop, outline, 1.5f);
    rend.drawLine(gRight, gTop, gRight, gBottom, outline, 1.5f);
    rend.drawLine(gRight, gBottom, gLeft, gBottom, outline, 1.5f);
    rend.drawLine(gLeft, gBottom, gLeft, gTop, outline, 1.5f);
    rend.endFrame();
}

// --- Aircraft orders ---

void GLViewport::SubmitSelectedAirRoute(const std::vector<Vec3D>& path, bool append)
{
    if (!bAirUnitsSelected || path.empty())
        return;
    // A replacing route ends any patrol being placed.
    if (!append)
    {
        bAirPatrolPlacement = false;
        bAirPatrolRouteActive = false;
    }
    for (const auto& airUnit : AirUnits)
    {
        if (!airUnit)
            continue;
        const AircraftComponent& aircraft = airUnit->Aircraft;
        std::vector<Vec3D> airPath;
        airPath.reserve(path.size());
        for (const Vec3D& point : path)
            airPath.emplace_back(point.X, static_cast<double>(aircraft.TargetAltitude), point.Z);
        SubmitAirMoveCommand(*airUnit, std::move(airPath), append);
    }
}

void GLViewport::SubmitSelectedAirPatrol(const Vec3D& waypoint, bool append)
{
    if (!bAirUnitsSelected)
        return;
    for (const auto& airUnit : AirUnits)
    {
        if (!airUnit)
            continue;
        const AircraftComponent& aircraft = airUnit->Aircraft;
        SubmitAirPatrolCommand(*airUnit,
                               Vec3D(waypoint.X, static_cast<double>(aircraft.TargetAltitude), waypoint.Z),
                               append, 1.0f);
    }
}

// --- Vehicle orders ---

void GLViewport::SubmitSelectedVehicleRoute(const Vec3D& waypoint, bool append)
{
    if (bAirUnitsSelected)
        SubmitSelectedAirRoute(std::vector<Vec3D>{waypoint}, append);
    const std::vector<VehicleUnit*> vehicles = GetControllableVehicles();
    // A mask from an older vehicle list no longer says who is who: nobody moves.
    if (VehicleSelectionMask.size() != vehicles.size())
        VehicleSelectionMask.assign(vehicles.size(), false);

    std::vector<Vec3D> goals(vehicles.size(), waypoint);
    const SelectedGroup group = MeasureSelectedGroup(vehicles, VehicleSelectionMask);
    if (group.Count <= 1)
    {
        for (std::size_t i = 0; i < vehicles.size(); ++i)
            if (VehicleSelectionMask[i])
                goals[i] = FindDriveableVehicleWaypoint(waypoint);
    }
    else
    {
        PlaceGroupOnSpiral(*this, vehicles, VehicleSelectionMask, group, waypoint, goals);
    }
    SubmitVehicleRoutePlan(goals, VehicleSelectionMask, append);
}

// A line formation along the drawn path: places at equal arc-length steps from its first point to
// its last, the vehicle furthest back along the start-to-end axis taking the first place.
void GLViewport::SubmitSelectedVehicleFormationRoute(const std::vector<Vec3D>& path, bool append)
{
    if (bAirUnitsSelected)
        SubmitSelectedAirRoute(path, append);
    const std::vector<VehicleUnit*> vehicles = GetControllableVehicles();
    if (VehicleSelectionMask.size() != vehicles.size())
        VehicleSelectionMask.assign(vehicles.size(), false);
    if (path.empty())
        return;

    const Vec3D& start = path.front();
    const Vec3D& end = path.back();
    double axisX = end.X - start.X;
    double axisZ = end.Z - start.Z;
    const double length = std::hypot(axisX, axisZ);
    // A single point or a closed loop has no direction to line up along.
    if (path.size() == 1 || length < FormationMinLength)
    {
        SubmitSelectedVehicleRoute(path.back(), append);
        return;
    }
    axisX /= length;
    axisZ /= length;

    const ProjectedUnits ordered =
        OrderAlongAxis(vehicles, VehicleSelectionMask, vehicles.size(), start.X, start.Z, axisX, axisZ);
    if (ordered.empty())
        return;

    const std::vector<double> cumulative = MeasureMapPath(path);
    std::vector<Vec3D> goals(vehicles.size(), end);
    std::vector<bool> active(vehicles.size(), false);
    const std::size_t n = ordered.size();
    PathPlace place;
    for (std::size_t slot = 0; slot < n; ++slot)
    {
        const double t = n == 1 ? 0.5 : static_cast<double>(slot) / static_cast<double>(n - 1);
        place = LocatePathPlace(cumulative, std::clamp(t, 0.0, 1.0) * cumulative.back(), place.Segment);
        const Vec3D& from = path[place.Segment - 1];
        const Vec3D& to = path[place.Segment];
        const Vec3D target(Interpolate(from.X, to.X, place.U), 0.0, Interpolate(from.Z, to.Z, place.U));
        const std::size_t unit = ordered[slot].second;
        goals[unit] = FindDriveableVehicleWaypoint(target);
        active[unit] = true;
    }
    SubmitVehicleRoutePlan(goals, active, append);
}

// Previews the formation order while the right button draws its path: the path, and a cross where
// each selected vehicle will stand (by screen length, without drivable snapping).
void GLViewport::RenderFormationOrderOverlay() const
{
    if (!bVehicleControl || !bOrderDrag || !p || !p->pRend || !p->pRend->beginFrame())
        return;
    Rend& rend = *p->pRend;
    const GLColor line(1.0f, 0.9f, 0.22f, 0.96f);
    const GLColor tick(0.24f, 0.95f, 1.0f, 0.9f);
    const std::vector<double>& xs = FormationScreenX;
    const std::vector<double>& ys = FormationScreenY;

    // Mismatched sample lists count as no path: the straight press-to-pointer line stands in.
    const bool bHasPath = xs.size() >= 2 && ys.size() == xs.size();
    if (bHasPath)
    {
        for (std::size_t i = 1; i < xs.size(); ++i)
            rend.drawLine(LocalToGlobalX(*this, xs[i - 1]), LocalToGlobalY(*this, ys[i - 1]),
                          LocalToGlobalX(*this, xs[i]), LocalToGlobalY(*this, ys[i]), line, 2.0f);
    }
    else
    {
        rend.drawLine(LocalToGlobalX(*this, OrderPressX), LocalToGlobalY(*this, OrderPressY),
                      LocalToGlobalX(*this, OrderCurrentX), LocalToGlobalY(*this, OrderCurrentY), line, 2.0f);
    }

    const int selectedCount =
        static_cast<int>(std::count(VehicleSelectionMask.begin(), VehicleSelectionMask.end(), true));
    const int slots = std::max(selectedCount, 1);
    const std::vector<double> cumulative = bHasPath ? MeasureScreenPath(xs, ys) : std::vector<double>();
    PathPlace place;
    for (int i = 0; i < slots; ++i)
    {
        const float t = selectedCount <= 1 ? 0.5f : static_cast<float>(i) / static_cast<float>(slots - 1);
        double lx = OrderPressX + (OrderCurrentX - OrderPressX) * t;
        double ly = OrderPressY + (OrderCurrentY - OrderPressY) * t;
        if (bHasPath)
        {
            place = LocatePathPlace(cumulative, t * cumulative.back(), place.Segment);
            lx = Interpolate(xs[place.Segment - 1], xs[place.Segment], place.U);
            ly = Interpolate(ys[place.Segment - 1], ys[place.Segment], place.U);
        }
        const float x = LocalToGlobalX(*this, lx);
        const float y = LocalToGlobalY(*this, ly);
        const float s = PreviewCrossHalfSize;
        rend.drawLine(x - s, y, x + s, y, tick, 1.5f);
        rend.drawLine(x, y - s, x, y + s, tick, 1.5f);
    }
    rend.endFrame();
}

bool GLViewport::SetSpringVehicleWaypointFromScreen(double globalX, double globalY, bool queueWaypoint)
{
    if (!bVehicleControl)
        return false;
    double x01 = 0.0;
    double y01 = 0.0;
    if (!GlobalToLocal01(globalX, globalY, x01, y01))
        return false;
    Vec3D waypoint;
    if (!ScreenToSpringMapWorld(x01, y01, waypoint))
        return false;
    if (!IsAnyVehicleSelected(VehicleSelectionMask) && !bAirUnitsSelected)
        return false;
    SubmitSelectedVehicleRoute(waypoint, queueWaypoint);
    ShowStatus(queueWaypoint ? QueueMoveMessage : ReplaceMoveMessage);
    return true;
}

// --- Gesture steps of MouseProcessing ---

void GLViewport::ProcessPatrolKeys(bool patrolKey, bool escapeKey)
{
    // Only press edges count: holding a key acts once.
    if (patrolKey && !bPrevPatrolKey && bAirUnitsSelected)
    {
        bAirPatrolPlacement = true;
        bAirPatrolRouteActive = false;
        ShowStatus("Patrol: left click to place; Shift-click appends; Escape/right click cancels.");
    }
    if (escapeKey && !bPrevEscapeKey && (bAirPatrolPlacement || bAirPatrolRouteActive))
    {
        bAirPatrolPlacement = false;
        bAirPatrolRouteActive = false;
        ShowStatus("Patrol placement cancelled.");
    }
    bPrevPatrolKey = patrolKey;
    bPrevEscapeKey = escapeKey;
}

bool GLViewport::ProcessPatrolClicks(const MouseFrame& frame)
{
    // A right press cancels placement wherever the pointer is.
    if (bAirPatrolPlacement && frame.rPressed)
    {
        bAirPatrolPlacement = false;
        bAirPatrolRouteActive = false;
        ShowStatus("Patrol placement cancelled.");
        MarkFrameTaken();
        return true;
    }
    if (!(bAirPatrolPlacement || bAirPatrolRouteActive) || !frame.lPressed || !bMouseInside ||
        frame.bInsideWidgetPanel)
        return false;

    const bool append = IsShiftKeyDown();
    if (bAirPatrolRouteActive && !append)
    {
        // A plain click after the route was issued closes the sequence and lets go of the aircraft.
        bAirUnitsSelected = false;
        bAirPatrolPlacement = false;
        bAirPatrolRouteActive = false;
        ShowStatus("Air unit deselected.");
        MarkFrameTaken();
        return true;
    }
    Vec3D waypoint;
    if (ScreenToSpringMapWorld(MouseLocalX, MouseLocalY, waypoint))
    {
        SubmitSelectedAirPatrol(waypoint, append);
        bAirPatrolRouteActive = true;
        if (append)
        {
            ShowStatus("Patrol point appended.");
        }
        else
        {
            bAirPatrolPlacement = false;
            ShowStatus("Patrol route issued. Shift-click to append; Escape/right click cancels.");
        }
    }
    MarkFrameTaken();
    return true;
}

void GLViewport::ProcessBoxSelection(const MouseFrame& frame)
{
    // Alt keeps the left button for the camera orbit.
    if (IsMapViewActive() && frame.lPressed && bMouseInside && !frame.bInsideWidgetPanel && !IsAltKeyDown())
    {
        bSelectionDragActive = true;
        bOrbitDrag = false;
        bPanDrag = false;
        ActiveNavButton = 0;
        SelectionStartX = SelectionEndX = MouseLocalX;
        SelectionStartY = SelectionEndY = MouseLocalY;
        MarkFrameTaken();
    }
    if (frame.lHeld && bSelectionDragActive)
    {
        SelectionEndX = MouseLocalX;
        SelectionEndY = MouseLocalY;
        MarkFrameTaken();
    }
    if (frame.lReleased && bSelectionDragActive)
    {
        SelectVehiclesInScreenRect(SelectionStartX, SelectionStartY, SelectionEndX, SelectionEndY,
                                   IsShiftKeyDown());
        bSelectionDragActive = false;
        MarkFrameTaken();
    }
}

bool GLViewport::ProcessOrderGesture(const MouseFrame& frame)
{
    // The widget panels are not tested: a right press has no meaning there.
    if (frame.rPressed && bMouseInside && bVehicleControl && IsMapViewActive() &&
        (bAirUnitsSelected || IsAnyVehicleSelected(VehicleSelectionMask)))
        StartOrderGesture();
    if (frame.rHeld && bOrderDrag)
        UpdateOrderGesture();
    if (frame.rReleased && bOrderDrag)
    {
        FinishOrderGesture();
        return true;
    }
    return false;
}

void GLViewport::StartOrderGesture()
{
    Vec3D pressWorld;
    const bool hasPressWorld = ScreenToSpringMapWorld(MouseLocalX, MouseLocalY, pressWorld);
    // A press off the map keeps the previous gesture's point, so a click still has a target.
    OrderPressWorld = hasPressWorld ? pressWorld : OrderLastWorld;
    OrderLastWorld = OrderPressWorld;
    bOrderDrag = true;
    bOrderDragMoved = false;
    bOrbitDrag = false;
    bPanDrag = false;
    OrderPressX = OrderCurrentX = MouseLocalX;
    OrderPressY = OrderCurrentY = MouseLocalY;
    FormationScreenX.assign(1, MouseLocalX);
    FormationScreenY.assign(1, MouseLocalY);
    FormationPath.clear();
    if (hasPressWorld)
        FormationPath.push_back(OrderPressWorld);
    MarkFrameTaken();
}

void GLViewport::UpdateOrderGesture()
{
    OrderCurrentX = MouseLocalX;
    OrderCurrentY = MouseLocalY;
    if (std::hypot(MouseLocalX - OrderPressX, MouseLocalY - OrderPressY) > OrderDragMinLocal)
        bOrderDragMoved = true;

    Vec3D world;
    if (ScreenToSpringMapWorld(MouseLocalX, MouseLocalY, world))
    {
        OrderLastWorld = world;
        // Samples follow the pointer on screen, and also the ground where a small pointer move covers
        // much of it (near the horizon). After a press off the map the first map point is taken at once.
        const bool addSample = FormationScreenX.empty() ||
                               std::hypot(MouseLocalX - FormationScreenX.back(),
                                          MouseLocalY - FormationScreenY.back()) > OrderDragMinLocal ||
                               FormationPath.empty() ||
                               std::hypot(world.X - FormationPath.back().X,
                                          world.Z - FormationPath.back().Z) > OrderSampleMinWorld;
        if (addSample)
        {
            FormationScreenX.push_back(MouseLocalX);
            FormationScreenY.push_back(MouseLocalY);
            FormationPath.push_back(world);
        }
    }
    MarkFrameTaken();
}

void GLViewport::FinishOrderGesture()
{
    // Shift at the release decides, not Shift at the press.
    const bool queueWaypoint = IsShiftKeyDown();
    Vec3D releaseWorld;
    if (ScreenToSpringMapWorld(MouseLocalX, MouseLocalY, releaseWorld))
    {
        OrderLastWorld = releaseWorld;
        if (FormationPath.empty() ||
            std::hypot(releaseWorld.X - FormationPath.back().X, releaseWorld.Z - FormationPath.back().Z) >
                OrderReleaseMinWorld)
            FormationPath.push_back(releaseWorld);
    }

    // Once a drag, always a drag: coming back to the press point still draws a formation.
    const bool bDrag = bOrderDragMoved || std::hypot(OrderCurrentX - OrderPressX,
                                                     OrderCurrentY - OrderPressY) > OrderDragMinLocal;
    if (bDrag)
    {
        if (FormationPath.size() < 2)
            FormationPath.push_back(OrderLastWorld);
        SubmitSelectedVehicleFormationRoute(FormationPath, queueWaypoint);
        ShowStatus(queueWaypoint ? "Formation waypoint queued." : "Formation move order issued.");
    }
    else
    {
        SubmitSelectedVehicleRoute(OrderLastWorld, queueWaypoint);
        ShowStatus(queueWaypoint ? QueueMoveMessage : ReplaceMoveMessage);
    }
    bOrderDrag = false;
    bOrderDragMoved = false;
    MarkFrameTaken();
}
