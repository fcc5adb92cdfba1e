#include "airsim.h"

#include <cmath>
#include <utility>

void WaypointNavigator::SetPath(std::vector<Vec3D> Points, bool bLoopPath)
{
    Path = std::move(Points);
    CurrentIndex = 0;
    bLoop = bLoopPath;
}

void WaypointNavigator::AppendPoint(const Vec3D& Point)
{
    Path.push_back(Point);
}

namespace
{
bool IsFinitePoint(const Vec3D& v)
{
    return std::isfinite(v.X) && std::isfinite(v.Y) && std::isfinite(v.Z);
}

// Replaces the active command, or appends behind it; returns false for unusable points.
bool SubmitAirCommand(AirUnit& Unit, AirCommandType Type, std::vector<Vec3D> Points, bool bAppend)
{
    if (Points.empty())
        return false;
    for (const Vec3D& point : Points)
        if (!IsFinitePoint(point))
            return false;
    const bool bLoop = Type == AirCommandType::Patrol;
    if (bAppend && Unit.bHasActiveOrder && Unit.ActiveCommand.Type != AirCommandType::None)
    {
        for (const Vec3D& point : Points)
        {
            Unit.ActiveCommand.Points.push_back(point);
            Unit.Flight.Navigator.AppendPoint(point);
        }
    }
    else
    {
        Unit.ActiveCommand.Type = Type;
        Unit.ActiveCommand.Points = Points;
        Unit.Flight.Navigator.SetPath(std::move(Points), bLoop);
    }
    Unit.ActiveOrderDestination = Unit.ActiveCommand.Points.back();
    Unit.bHasActiveOrder = true;
    return true;
}
} // namespace

bool SubmitAirMoveCommand(AirUnit& Unit, std::vector<Vec3D> Route, bool bAppend)
{
    return SubmitAirCommand(Unit, AirCommandType::Move, std::move(Route), bAppend);
}

bool SubmitAirPatrolCommand(AirUnit& Unit, const Vec3D& Point, bool bAppend, float SpeedScale)
{
    if (!(SpeedScale > 0.0f))
        return false;
    return SubmitAirCommand(Unit, AirCommandType::Patrol, {Point}, bAppend);
}
