#pragma once

#include <cmath>

// Headings on the ground plane in degrees: 0 faces +Z, 90 faces +X.

// pi * (3 - sqrt(5)): successive turns by it spread points evenly round a centre (a sunflower
// spiral), which both the starting placement and the move order's slots use.
constexpr double GoldenAngleRad = 2.3999632297286535;

inline double HeadingFromDirectionDeg(double dx, double dz)
{
    return std::atan2(dx, dz) * (180.0 / M_PI);
}

// Signed turn from CurrentDeg to DesiredDeg the short way round, in [-180, 180].
inline double HeadingErrorDeg(double CurrentDeg, double DesiredDeg)
{
    return std::remainder(DesiredDeg - CurrentDeg, 360.0);
}

// CurrentDeg turned towards DesiredDeg by at most MaxStepDeg, kept in [-180, 180].
inline double TurnTowardsDeg(double CurrentDeg, double DesiredDeg, double MaxStepDeg)
{
    const double errorDeg = HeadingErrorDeg(CurrentDeg, DesiredDeg);
    const double stepDeg = std::fmax(-MaxStepDeg, std::fmin(MaxStepDeg, errorDeg));
    return std::remainder(CurrentDeg + stepDeg, 360.0);
}
