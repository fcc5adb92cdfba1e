#pragma once

#include <limits>
#include <memory>
#include <vector>

#include "airsim.h"
#include "driveabilitygrid.h"
#include "routeplanner.h"
#include "springmap_renderer.h"
#include "vec3d.h"

class VehicleUnit;

// The units' simulation on the loaded map: the drivable ground, the route planner and the air
// simulation, stepping the vehicles and aircraft it is given (the viewport's lists, which it reads
// and replaces but does not own).
class UnitSimulation
{
  public:
    UnitSimulation(const SpringMapRenderer& Map, std::vector<std::unique_ptr<VehicleUnit>>& Vehicles,
                   std::vector<std::unique_ptr<AirUnit>>& AirUnits);

    // Advances vehicles and aircraft by dtSec seconds; the application calls it once per frame.
    // Vehicles waiting for a route are planned in order until the step has spent RoutePlanBudgetMs
    // (a little planning always runs); a route still unfinished then is carried on in the next step
    // while its vehicle holds still, and the others keep driving their old routes and start when
    // their new one arrives.
    void Step(double dtSec);
    // Infinite: the number of routes alone spreads an order over steps, so a run of a fixed number
    // of frames comes out the same on any machine. The interactive loop sets a budget that keeps a
    // frame smooth on software GL.
    double RoutePlanBudgetMs = std::numeric_limits<double>::infinity();
    // Replaces the units with VehicleCount vehicles on drivable ground around the map's centre and
    // AircraftCount aircraft circling above it, the same way every time. False, changing nothing,
    // when no map is loaded or it lacks drivable room.
    bool PlaceUnits(int VehicleCount, int AircraftCount);
    // The drivable goal nearest to a requested map point (see SnapToDriveableGround).
    Vec3D FindDriveableWaypoint(const Vec3D& Point) const;

    // The loaded map's drivable cells, brought up to date with the map first.
    const DriveabilityGrid& GetDriveability() const;
    RoutePlanner& GetRoutePlanner() { return Planner; }

  private:
    // What one step has spent on planning.
    struct StepPlanning;
    // Plans Vehicle's route, or carries on with its unfinished one, while the step has time left;
    // waits while another vehicle's route is unfinished.
    void PlanRoute(VehicleUnit& Vehicle, StepPlanning& Planning);

    const SpringMapRenderer& Map;
    std::vector<std::unique_ptr<VehicleUnit>>& Vehicles;
    std::vector<std::unique_ptr<AirUnit>>& AirUnits;
    // Cached per map; mutable so the const waypoint search can refresh it.
    mutable DriveabilityGrid Driveability;
    RoutePlanner Planner;
    const VehicleUnit* pPlannedVehicle = nullptr; // whose route Planner has unfinished
    std::vector<Vec3D> PlannedRoute;
    AirSimSystem AirSim;
};
