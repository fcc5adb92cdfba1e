#include "vehicleunit.h"

void VehicleUnit::SetWaypoint(const Vec3D& Goal)
{
    WaypointQueue.clear();
    Target = Goal;
    bHasTarget = true;
    bNeedsRouteRefresh = true;
    RouteRefreshCooldown = 0.0f;
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
