#include "vehicleunit.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "heading.h"

namespace
{
// Longest step of the driving integration: at 20 Hz a vehicle turns at most 9 degrees per step.
constexpr double MaxDriveStepSec = 0.05;
// Distance at which a route point counts as reached: a turning point, and the route's end.
constexpr double PassDistanceWorld = 2.0;
constexpr double ArrivalDistanceWorld = 0.5;

double SanitizeStepSec(double dtSec)
{
    return dtSec > 0.0 && std::isfinite(dtSec) ? dtSec : 0.0;
}
} // namespace

void VehicleUnit::SetWaypoint(const Vec3D& Goal)
{
    WaypointQueue.clear();
    Target = Goal;
    bHasTarget = true;
    // The old route is kept until the new one is planned: it is driven while the cooldown runs.
    bNeedsRouteRefresh = true;
}

void VehicleUnit::QueueWaypoint(const Vec3D& Goal)
{
    if (!bHasTarget)
    {
        SetWaypoint(Goal);
        return;
    }
    WaypointQueue.push_back(Goal);
}

void VehicleUnit::ClearOrders()
{
    WaypointQueue.clear();
    bHasTarget = false;
    bNeedsRouteRefresh = false;
    Route.clear();
    RouteIndex = 0;
}

void VehicleUnit::PrepareStep(double dtSec, const DriveabilityGrid& Grid)
{
    RouteRefreshCooldown = std::max(0.0f, RouteRefreshCooldown - static_cast<float>(SanitizeStepSec(dtSec)));
    if (bHasTarget && Grid.GetRevision() != RouteGridRevision)
        bNeedsRouteRefresh = true; // the map changed under the route
}

bool VehicleUnit::IsWaitingForRoute() const
{
    return bHasTarget && bNeedsRouteRefresh && RouteRefreshCooldown <= 0.0f;
}

void VehicleUnit::TakeRoute(std::vector<Vec3D>&& PlannedRoute, std::uint32_t GridRevision)
{
    Route = std::move(PlannedRoute);
    RouteIndex = 0;
    RouteGridRevision = GridRevision;
    bNeedsRouteRefresh = false;
    RouteRefreshCooldown = RouteRefreshIntervalSec;
}

void VehicleUnit::FinishStep(double dtSec, const SpringMapRenderer& Map)
{
    if (bHasTarget)
        Drive(SanitizeStepSec(dtSec));
    if (bHasTarget && !bNeedsRouteRefresh && RouteIndex >= Route.size())
        TakeNextGoal();
    if (Map.IsLoaded())
    {
        Position.X = std::clamp(Position.X, 0.0, static_cast<double>(Map.GetWorldWidth()));
        Position.Z = std::clamp(Position.Z, 0.0, static_cast<double>(Map.GetWorldDepth()));
        Position.Y = Map.GetTerrainHeight(static_cast<float>(Position.X), static_cast<float>(Position.Z));
    }
}

void VehicleUnit::Drive(double dtSec)
{
    double remainingSec = dtSec;
    while (RouteIndex < Route.size())
    {
        const Vec3D& point = Route[RouteIndex];
        const double dx = point.X - Position.X, dz = point.Z - Position.Z;
        const double distance = std::hypot(dx, dz);
        const bool bLast = RouteIndex + 1 == Route.size();
        if (distance <= (bLast ? ArrivalDistanceWorld : PassDistanceWorld) || !std::isfinite(distance))
        {
            ++RouteIndex;
            continue;
        }
        if (remainingSec <= 0.0)
            break;
        const double stepSec = std::min(remainingSec, MaxDriveStepSec);
        remainingSec -= stepSec;
        const double desiredDeg = HeadingFromDirectionDeg(dx, dz);
        HeadingDeg = static_cast<float>(TurnTowardsDeg(HeadingDeg, desiredDeg, TurnRateDegPerSec * stepSec));
        // Slow down while facing away and stop beyond a right angle, and keep the turning circle
        // small enough that the point stays outside it (distance >= 2 R sin|error|, R = speed /
        // turn rate): the vehicle never circles a point it can't reach.
        const double errorRad = HeadingErrorDeg(HeadingDeg, desiredDeg) * (M_PI / 180.0);
        const double turnRateRad = TurnRateDegPerSec * (M_PI / 180.0);
        const double sinError = std::fabs(std::sin(errorRad));
        double speed = SpeedPerSec * std::max(0.0, std::cos(errorRad));
        if (sinError > 0.0)
            speed = std::min(speed, turnRateRad * distance / (2.0 * sinError));
        const double moveWorld = std::min(distance, speed * stepSec);
        const double headingRad = HeadingDeg * (M_PI / 180.0);
        Position.X += std::sin(headingRad) * moveWorld;
        Position.Z += std::cos(headingRad) * moveWorld;
    }
}

void VehicleUnit::TakeNextGoal()
{
    Route.clear();
    RouteIndex = 0;
    if (WaypointQueue.empty())
    {
        bHasTarget = false;
        return;
    }
    Target = WaypointQueue.front();
    WaypointQueue.pop_front();
    bNeedsRouteRefresh = true;
}
