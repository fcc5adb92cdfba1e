#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "vec3d.h"

struct AircraftComponent
{
    Vec3D Position;
    float TargetAltitude = 300.0f; // world height the aircraft flies at
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
