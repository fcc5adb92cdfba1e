// The per-frame step of vehicles and aircraft, and the placement of a starting set of units on the
// loaded map.
#include "unitsimulation.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "heading.h"
#include "vehicleunit.h"

namespace
{
// Route searches one step may run; the rest wait a step, so ordering every vehicle at once spreads
// its cost over a few frames instead of stalling one.
constexpr int MaxRoutePlansPerStep = 256;
// These many run in every step whatever they cost, so a small order is planned in the step after it
// on any machine, and the planning always moves on.
constexpr int MinRoutePlansPerStep = 16;
// A hitch longer than this is not caught up: units would jump across steep ground.
constexpr double MaxStepSec = 0.25;

// Placement: vehicles on a sunflower spiral (even density, no rows to look artificial) spaced a
// few radii apart; aircraft on a ring above the centre, clear of the highest ground.
constexpr double VehicleSpacingRadii = 3.0;
constexpr int PlacementTriesPerVehicle = 50;
constexpr double AircraftRingWorld = 400.0;
constexpr double AircraftClearanceWorld = 150.0;
constexpr float MinAircraftAltitude = 300.0f;
} // namespace

UnitSimulation::UnitSimulation(const SpringMapRenderer& Map,
                               std::vector<std::unique_ptr<VehicleUnit>>& Vehicles,
                               std::vector<std::unique_ptr<AirUnit>>& AirUnits)
    : Map(Map), Vehicles(Vehicles), AirUnits(AirUnits)
{
}

const DriveabilityGrid& UnitSimulation::GetDriveability() const
{
    Driveability.SyncWith(Map);
    return Driveability;
}

Vec3D UnitSimulation::FindDriveableWaypoint(const Vec3D& Point) const
{
    return SnapToDriveableGround(Map, GetDriveability(), Point);
}

void UnitSimulation::Step(double dtSec)
{
    if (!(dtSec > 0.0) || !std::isfinite(dtSec))
        return;
    dtSec = std::min(dtSec, MaxStepSec);
    Driveability.SyncWith(Map);
    using Clock = std::chrono::steady_clock;
    const Clock::time_point startedAt = Clock::now();
    int routePlanBudget = MaxRoutePlansPerStep;
    for (const std::unique_ptr<VehicleUnit>& vehicle : Vehicles)
    {
        if (!vehicle)
            continue;
        const int budgetBefore = routePlanBudget;
        vehicle->Update(dtSec, Map, Driveability, Planner, routePlanBudget);
        // The clock is read only after a search: stepping vehicles that just drive costs no time.
        if (routePlanBudget < budgetBefore &&
            MaxRoutePlansPerStep - routePlanBudget >= MinRoutePlansPerStep &&
            std::chrono::duration<double, std::milli>(Clock::now() - startedAt).count() > RoutePlanBudgetMs)
            routePlanBudget = 0;
    }
    AirSim.Step(AirUnits, dtSec);
}

bool UnitSimulation::PlaceUnits(int VehicleCount, int AircraftCount)
{
    if (!Map.IsLoaded() || VehicleCount < 0 || AircraftCount < 0)
        return false;
    Driveability.SyncWith(Map);
    const double centreX = Map.GetWorldWidth() * 0.5;
    const double centreZ = Map.GetWorldDepth() * 0.5;

    std::vector<std::unique_ptr<VehicleUnit>> vehicles;
    vehicles.reserve(static_cast<std::size_t>(VehicleCount));
    const double spacing = VehicleUnit().Radius * VehicleSpacingRadii;
    const long long maxTries = static_cast<long long>(VehicleCount) * PlacementTriesPerVehicle;
    for (long long k = 0; k < maxTries && vehicles.size() < static_cast<std::size_t>(VehicleCount); ++k)
    {
        // Radius grows with the square root of the index: about one vehicle per spacing squared.
        const double radius = spacing * 0.56 * std::sqrt(static_cast<double>(k));
        const double angle = GoldenAngleRad * static_cast<double>(k);
        const double x = centreX + radius * std::cos(angle);
        const double z = centreZ + radius * std::sin(angle);
        if (!Driveability.IsDriveable(x, z))
            continue;
        auto vehicle = std::make_unique<VehicleUnit>();
        vehicle->Position = Vec3D(x, Map.GetTerrainHeight(static_cast<float>(x), static_cast<float>(z)), z);
        vehicles.push_back(std::move(vehicle));
    }
    if (vehicles.size() < static_cast<std::size_t>(VehicleCount))
        return false;

    const std::vector<float>& heights = Map.GetHeightGrid();
    const float highestGround = heights.empty() ? 0.0f : *std::max_element(heights.begin(), heights.end());
    const float altitude =
        std::max(MinAircraftAltitude, highestGround + static_cast<float>(AircraftClearanceWorld));
    std::vector<std::unique_ptr<AirUnit>> airUnits;
    airUnits.reserve(static_cast<std::size_t>(AircraftCount));
    for (int i = 0; i < AircraftCount; ++i)
    {
        const double angle = 2.0 * M_PI * i / AircraftCount;
        auto airUnit = std::make_unique<AirUnit>();
        airUnit->Aircraft.TargetAltitude = altitude;
        airUnit->Aircraft.Position = Vec3D(centreX + AircraftRingWorld * std::cos(angle), altitude,
                                           centreZ + AircraftRingWorld * std::sin(angle));
        // Tangent to the ring, at cruise speed: the fleet starts circling the centre.
        airUnit->Flight.HeadingDeg = static_cast<float>(std::remainder(-angle * 180.0 / M_PI, 360.0));
        airUnit->Flight.SpeedPerSec = airUnit->Aircraft.CruiseSpeedPerSec;
        airUnits.push_back(std::move(airUnit));
    }

    Vehicles = std::move(vehicles);
    AirUnits = std::move(airUnits);
    return true;
}
