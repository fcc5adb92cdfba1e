#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "driveabilitygrid.h"
#include "routeplanner.h"
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

    // One simulation step: plans the route when a new goal asks for one (spending one unit of
    // RoutePlanBudget, and waiting for a later step when it is spent), drives along the route and
    // takes the next queued goal on arrival. Non-finite or negative times count as zero.
    void Update(double dtSec, const SpringMapRenderer& Map, const DriveabilityGrid& Grid,
                RoutePlanner& Planner, int& RoutePlanBudget);

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
    void RefreshRoute(const SpringMapRenderer& Map, const DriveabilityGrid& Grid, RoutePlanner& Planner);
    void Drive(double dtSec);
    void TakeNextGoal();
};
