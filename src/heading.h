#pragma once

#include <cmath>

// Headings on the ground plane in degrees: 0 faces +Z, 90 faces +X.

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
