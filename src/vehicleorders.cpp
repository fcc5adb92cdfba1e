#include "vehicleorders.h"

#include <algorithm>
#include <cmath>

std::vector<VehicleUnit*>
CollectControllableVehicles(const std::vector<std::unique_ptr<VehicleUnit>>& Vehicles)
{
    std::vector<VehicleUnit*> vehicles;
    vehicles.reserve(Vehicles.size());
    for (const std::unique_ptr<VehicleUnit>& vehicle : Vehicles)
        if (vehicle)
            vehicles.push_back(vehicle.get());
    return vehicles;
}

void ApplyVehicleRoutePlan(const std::vector<VehicleUnit*>& Vehicles, const std::vector<Vec3D>& Goals,
                           const std::vector<bool>& Active, bool bAppend)
{
    const std::size_t count = std::min({Vehicles.size(), Goals.size(), Active.size()});
    for (std::size_t i = 0; i < count; ++i)
    {
        const Vec3D& goal = Goals[i];
        if (!Active[i] || !Vehicles[i] || !std::isfinite(goal.X) || !std::isfinite(goal.Y) ||
            !std::isfinite(goal.Z))
            continue;
        if (bAppend)
            Vehicles[i]->QueueWaypoint(goal);
        else
            Vehicles[i]->SetWaypoint(goal);
    }
}
