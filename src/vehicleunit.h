#pragma once

#include <deque>

#include "vec3d.h"

// A ground vehicle. Its selection lives in the viewport, not here.
class VehicleUnit
{
public:
    Vec3D Position;
    float Radius = 8.0f;

    // Replaces every goal with this one.
    void SetWaypoint(const Vec3D& Goal);
    // Adds a goal behind the current ones (becomes the target when there is none).
    void QueueWaypoint(const Vec3D& Goal);

    std::deque<Vec3D> WaypointQueue; // goals after the current target
    Vec3D Target;
    bool bHasTarget = false;
    bool bNeedsRouteRefresh = false;
    float RouteRefreshCooldown = 0.0f; // seconds until the route may be planned again
};
