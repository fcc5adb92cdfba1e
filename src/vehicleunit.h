#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "driveabilitygrid.h"
#include "springmap_renderer.h"
#include "vec3d.h"

// A ground vehicle. Its selection lives in the viewport, not here.
class VehicleUnit
{
  public:
    Vec3D Position;
    float Radius = 8.0f;
    float SpeedPerSec = 60.0f;        // world units per second on a straight leg
    float TurnRateDegPerSec = 180.0f; // a half turn in a second: tracks that turn on the spot
    float HeadingDeg = 0.0f;          // direction of travel: 0 faces +Z, 90 faces +X

    // Replaces every goal with this one.
    void SetWaypoint(const Vec3D& Goal);
    // Adds a goal behind the current ones (becomes the target when there is none).
    void QueueWaypoint(const Vec3D& Goal);
    // Drops every goal and the route: the vehicle stops where it is.
    void ClearOrders();

    // One simulation step in two halves, with the route planning between them. PrepareStep runs the
    // replan cooldown and notices a new grid under the route; FinishStep drives along the route
    // (the old one while a new one is awaited) and takes the next queued goal on arrival.
    // Non-finite or negative times count as zero.
    void PrepareStep(double dtSec, const DriveabilityGrid& Grid);
    void FinishStep(double dtSec, const SpringMapRenderer& Map);
    // True when the target needs a route and the replan cooldown has run out.
    bool IsWaitingForRoute() const;
    // Drives PlannedRoute (points after the current position) from now on.
    void TakeRoute(std::vector<Vec3D>&& PlannedRoute, std::uint32_t GridRevision);

    std::deque<Vec3D> WaypointQueue; // goals after the current target
    Vec3D Target;
    bool bHasTarget = false;
    bool bNeedsRouteRefresh = false;
    float RouteRefreshCooldown = 0.0f; // seconds until the route may be planned again

    // Replans of one vehicle are at least this far apart, so a burst of orders costs one search.
    static constexpr float RouteRefreshIntervalSec = 0.25f;

    std::vector<Vec3D> Route;            // planned points towards Target; the last one ends it
    std::size_t RouteIndex = 0;          // the route point being driven to
    std::uint32_t RouteGridRevision = 0; // the grid the route was planned on

  private:
    void Drive(double dtSec);
    void TakeNextGoal();
};
