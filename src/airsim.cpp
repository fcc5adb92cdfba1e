#include "airsim.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "heading.h"

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

void WaypointNavigator::AdvanceToNextPoint()
{
    if (CurrentIndex >= Path.size())
        return;
    ++CurrentIndex;
    if (bLoop && CurrentIndex == Path.size())
        CurrentIndex = 0;
}

bool WaypointNavigator::GetCurrentPoint(Vec3D& Point) const
{
    if (CurrentIndex >= Path.size())
        return false;
    Point = Path[CurrentIndex];
    return true;
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
    if (!(SpeedScale > 0.0f) || !std::isfinite(SpeedScale))
        return false;
    if (!SubmitAirCommand(Unit, AirCommandType::Patrol, {Point}, bAppend))
        return false;
    // A patrol point added behind a move route joins that route and leaves its speed alone.
    if (Unit.ActiveCommand.Type == AirCommandType::Patrol)
        Unit.Flight.PatrolSpeedScale = SpeedScale;
    return true;
}

namespace
{
// Longest step of the flight integration, so a slow frame flies the same curve as fast ones.
constexpr double MaxFlightStepSec = 0.05;
} // namespace

void EndAirOrder(AirUnit& Unit)
{
    Unit.ActiveCommand = AirCommand{};
    Unit.Flight.Navigator.SetPath({}, false);
    Unit.bHasActiveOrder = false;
}

void AirSimSystem::Step(std::vector<std::unique_ptr<AirUnit>>& Units, double dtSec) const
{
    for (const std::unique_ptr<AirUnit>& unit : Units)
        if (unit)
            StepUnit(*unit, dtSec);
}

void AirSimSystem::StepUnit(AirUnit& Unit, double dtSec) const
{
    if (!(dtSec > 0.0) || !std::isfinite(dtSec))
        return;
    for (double remainingSec = dtSec; remainingSec > 0.0; remainingSec -= MaxFlightStepSec)
        Fly(Unit, std::min(remainingSec, MaxFlightStepSec));
}

void AirSimSystem::Fly(AirUnit& Unit, double dtSec) const
{
    AircraftComponent& aircraft = Unit.Aircraft;
    FlightState& flight = Unit.Flight;
    const bool bPatrol = Unit.bHasActiveOrder && Unit.ActiveCommand.Type == AirCommandType::Patrol;
    const double orderedSpeed = aircraft.CruiseSpeedPerSec * (bPatrol ? flight.PatrolSpeedScale : 1.0f);
    const double speedStep = AccelerationPerSec2 * dtSec;
    flight.SpeedPerSec = static_cast<float>(
        std::clamp(orderedSpeed, flight.SpeedPerSec - speedStep, flight.SpeedPerSec + speedStep));
    const double turnRateRad = aircraft.TurnRateDegPerSec * (M_PI / 180.0);
    const double turnRadius = turnRateRad > 0.0 ? flight.SpeedPerSec / turnRateRad : INFINITY;
    // Turning at full rate keeps a point inside the turning circle within one radius at some moment
    // of each circle, so that distance always ends the leg.
    const double arrivalDistance = std::max(MinArrivalDistance, turnRadius * 1.05);

    Vec3D point;
    while (Unit.bHasActiveOrder && flight.Navigator.GetCurrentPoint(point) &&
           std::hypot(point.X - aircraft.Position.X, point.Z - aircraft.Position.Z) <= arrivalDistance)
    {
        flight.Navigator.AdvanceToNextPoint();
        if (flight.Navigator.IsLooping())
            break; // a patrol of points closer than the arrival distance advances once per step
    }
    const double maxTurnDeg = aircraft.TurnRateDegPerSec * dtSec;
    if (Unit.bHasActiveOrder && flight.Navigator.GetCurrentPoint(point))
    {
        const double desiredDeg =
            HeadingFromDirectionDeg(point.X - aircraft.Position.X, point.Z - aircraft.Position.Z);
        flight.HeadingDeg = static_cast<float>(TurnTowardsDeg(flight.HeadingDeg, desiredDeg, maxTurnDeg));
    }
    else
    {
        if (Unit.bHasActiveOrder)
            EndAirOrder(Unit);
        flight.HeadingDeg = static_cast<float>(std::remainder(flight.HeadingDeg + maxTurnDeg, 360.0));
    }
    const double headingRad = flight.HeadingDeg * (M_PI / 180.0);
    aircraft.Position.X += std::sin(headingRad) * flight.SpeedPerSec * dtSec;
    aircraft.Position.Z += std::cos(headingRad) * flight.SpeedPerSec * dtSec;
    if (!std::isfinite(aircraft.TargetAltitude))
        return; // no altitude to climb to: hold the current one
    const double climbStep = aircraft.ClimbRatePerSec * dtSec;
    aircraft.Position.Y = std::clamp(static_cast<double>(aircraft.TargetAltitude),
                                     aircraft.Position.Y - climbStep, aircraft.Position.Y + climbStep);
}
