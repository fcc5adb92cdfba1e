#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "vec3d.h"

struct AircraftComponent
{
    Vec3D Position;
    float TargetAltitude = 300.0f;    // world height the aircraft flies at
    float CruiseSpeedPerSec = 220.0f; // world units per second
    float TurnRateDegPerSec = 60.0f;  // a banked turn: a full circle in six seconds
    float ClimbRatePerSec = 80.0f;    // world units per second towards TargetAltitude
};

enum class AirCommandType : int
{
    None = 0,
    Move = 1,
    Patrol = 2
};

struct AirCommand
{
    AirCommandType Type = AirCommandType::None;
    std::vector<Vec3D> Points;
};

// The points an aircraft steers through; a patrol path loops.
class WaypointNavigator
{
  public:
    void SetPath(std::vector<Vec3D> Points, bool bLoopPath);
    void AppendPoint(const Vec3D& Point);
    // Moves on after reaching the current point; a looping path starts over after its last point.
    void AdvanceToNextPoint();
    // False once a path that does not loop is done (or when there is no path).
    bool GetCurrentPoint(Vec3D& Point) const;

    const std::vector<Vec3D>& GetPath() const { return Path; }
    std::size_t GetCurrentIndex() const { return CurrentIndex; }
    bool IsLooping() const { return bLoop; }

  private:
    std::vector<Vec3D> Path;
    std::size_t CurrentIndex = 0;
    bool bLoop = false;
};

struct FlightState
{
    WaypointNavigator Navigator;
    float HeadingDeg = 0.0f;       // direction of flight: 0 faces +Z, 90 faces +X
    float SpeedPerSec = 0.0f;      // current speed, eased towards the cruise speed
    float PatrolSpeedScale = 1.0f; // multiplies the cruise speed while patrolling
};

struct AirUnit
{
    AircraftComponent Aircraft;
    AirCommand ActiveCommand;
    Vec3D ActiveOrderDestination;
    bool bHasActiveOrder = false;
    FlightState Flight;
};

// Gives an aircraft a move route: replaces its orders, or with bAppend adds the points behind them.
bool SubmitAirMoveCommand(AirUnit& Unit, std::vector<Vec3D> Route, bool bAppend);
// Gives an aircraft a patrol point: starts a new patrol, or with bAppend adds it behind the current points.
// SpeedScale multiplies the aircraft's cruise speed while it patrols.
bool SubmitAirPatrolCommand(AirUnit& Unit, const Vec3D& Point, bool bAppend, float SpeedScale);
// Drops the aircraft's orders: it circles where it is.
void EndAirOrder(AirUnit& Unit);

// Flies every aircraft along its navigator's points at its target altitude: turns at most its turn
// rate towards the current point, counts a point reached within the turning radius (closer ones
// can't be hit at speed), finishes a move at its last point and loops a patrol. An aircraft with no
// order circles where it is.
class AirSimSystem
{
  public:
    double AccelerationPerSec2 = 60.0; // speed change per second towards the ordered speed
    double MinArrivalDistance = 24.0;  // a point closer than this is reached whatever the speed

    // Empty entries are skipped; non-finite or negative times do nothing.
    void Step(std::vector<std::unique_ptr<AirUnit>>& Units, double dtSec) const;
    void StepUnit(AirUnit& Unit, double dtSec) const;

  private:
    void Fly(AirUnit& Unit, double dtSec) const;
};
