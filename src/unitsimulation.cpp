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
// Routes one step may finish; the rest wait a step, so ordering every vehicle at once spreads its
// cost over a few frames instead of stalling one.
constexpr int MaxRoutePlansPerStep = 256;
// Cells searched between looks at the clock: a fraction of a millisecond.
constexpr std::size_t PlanCellsPerSlice = 512;
// Cells searched in every step whatever they cost, so a small order is planned in the step after
// it on any machine, and the planning always moves on.
constexpr std::size_t MinPlanCellsPerStep = 4096;
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

struct UnitSimulation::StepPlanning
{
    std::chrono::steady_clock::time_point StartedAt = std::chrono::steady_clock::now();
    double BudgetMs = 0.0;
    int RoutesLeft = MaxRoutePlansPerStep;
    std::size_t CellsSpent = 0;
    bool bPlannedVehicleSeen = false; // the vehicle of the unfinished route still waits for it

    bool HasTimeLeft() const
    {
        return CellsSpent < MinPlanCellsPerStep ||
               std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - StartedAt)
                       .count() <= BudgetMs;
    }
};

void UnitSimulation::PlanRoute(VehicleUnit& Vehicle, StepPlanning& Planning)
{
    if (pPlannedVehicle == &Vehicle && Planner.IsPlanning(Driveability, Vehicle.Position, Vehicle.Target))
        Planning.bPlannedVehicleSeen = true;
    else
    {
        if (pPlannedVehicle == &Vehicle)
        {
            Planner.CancelRoute(); // a new order since the route was begun
            pPlannedVehicle = nullptr;
        }
        if (Planner.IsPlanning() || Planning.RoutesLeft == 0 || !Planning.HasTimeLeft())
            return;
        --Planning.RoutesLeft;
        if (!Planner.BeginRoute(Driveability, Vehicle.Position, Vehicle.Target))
        {
            // Without a map to plan on, the vehicle heads straight for its goal.
            Vehicle.TakeRoute({Vehicle.Target}, Driveability.GetRevision());
            return;
        }
        pPlannedVehicle = &Vehicle;
        Planning.bPlannedVehicleSeen = true;
    }
    while (Planning.HasTimeLeft())
    {
        std::size_t cells = PlanCellsPerSlice;
        const bool bDone = Planner.ContinueRoute(Driveability, Map, cells, PlannedRoute);
        Planning.CellsSpent += PlanCellsPerSlice - cells;
        if (bDone)
        {
            Vehicle.TakeRoute(std::move(PlannedRoute), Driveability.GetRevision());
            pPlannedVehicle = nullptr;
            return;
        }
    }
}

void UnitSimulation::Step(double dtSec)
{
    if (!(dtSec > 0.0) || !std::isfinite(dtSec))
        return;
    dtSec = std::min(dtSec, MaxStepSec);
    Driveability.SyncWith(Map);
    StepPlanning planning;
    planning.BudgetMs = RoutePlanBudgetMs;
    for (const std::unique_ptr<VehicleUnit>& vehicle : Vehicles)
    {
        if (!vehicle)
            continue;
        vehicle->PrepareStep(dtSec, Driveability);
        if (vehicle->IsWaitingForRoute())
            PlanRoute(*vehicle, planning);
        // A vehicle whose route is unfinished holds still, so the route starts where it stands.
        vehicle->FinishStep(pPlannedVehicle == vehicle.get() ? 0.0 : dtSec, Map);
    }
    if (pPlannedVehicle && !planning.bPlannedVehicleSeen)
    {
        // Its vehicle left or no longer waits for it.
        Planner.CancelRoute();
        pPlannedVehicle = nullptr;
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
