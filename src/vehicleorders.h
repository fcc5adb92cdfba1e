#pragma once

#include <memory>
#include <vector>

#include "vehicleunit.h"

// The vehicles that take orders, in storage order (stable while the list is unchanged); empty
// entries are skipped.
std::vector<VehicleUnit*>
CollectControllableVehicles(const std::vector<std::unique_ptr<VehicleUnit>>& Vehicles);

// Hands goals[i] to Vehicles[i] for every i whose Active flag is set: with bAppend queued behind the
// vehicle's goals, otherwise replacing them. Entries beyond the shortest of the three lists, and
// goals that are not finite, leave their vehicle untouched.
void ApplyVehicleRoutePlan(const std::vector<VehicleUnit*>& Vehicles, const std::vector<Vec3D>& Goals,
                           const std::vector<bool>& Active, bool bAppend);
