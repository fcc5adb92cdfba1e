#include "cameraguard.h"

#include <algorithm>
#include <cmath>

#include "glviewport.h"
#include "rotatecontinuity.h"

namespace
{
constexpr double DegToRad = M_PI / 180.0;
// The scan for a clear distance moves out by this share of the distance per step (at least
// MinScanStepWorld), so a few hundred steps reach from the closest zoom to the farthest.
constexpr double ScanStepShare = 0.02;
constexpr double MinScanStepWorld = 4.0;
constexpr int MaxScanSteps = 400;

// The highest ground within Radius of (X, Z): a 3x3 patch of samples.
double GetHighestGroundNear(const GLViewport& View, double X, double Z, double Radius)
{
    double highest = -INFINITY;
    for (int i = -1; i <= 1; ++i)
        for (int j = -1; j <= 1; ++j)
            highest = std::max(highest,
                               static_cast<double>(View.SpringMap.GetTerrainHeight(
                                   static_cast<float>(X + i * Radius), static_cast<float>(Z + j * Radius))));
    return highest;
}

// The least distance from FromDistance outwards at which the eye is clear; FromDistance itself
// when nothing within the scan is.
double FindClearDistance(const GLViewport& View, double FromDistance)
{
    double distance = FromDistance;
    for (int step = 0; step < MaxScanSteps; ++step)
    {
        if (CameraGuard::IsEyeClear(View, distance))
            return distance;
        distance += std::max(distance * ScanStepShare, MinScanStepWorld);
    }
    return FromDistance;
}
} // namespace

bool HasActiveMapView(const GLViewport& View)
{
    return View.bSpringMapView && View.SpringMap.IsLoaded() && View.SpringMap.IndexCount > 0;
}

void CameraGuard::GetEyePosition(const GLViewport& View, double Distance, double& X, double& Y, double& Z)
{
    // The orbit camera walked backwards: the eye is the view's offset by (-PanX, -PanY, Distance)
    // in camera space, turned by the pitch and the drawn yaw.
    const double pitchRad = View.CameraPitchDeg * DegToRad;
    const double yawRad = -GetRenderedYawDeg(View) * DegToRad;
    const double qx = -View.PanX;
    const double qy = Distance * std::sin(pitchRad) - View.PanY * std::cos(pitchRad);
    const double qz = View.PanY * std::sin(pitchRad) + Distance * std::cos(pitchRad);
    X = View.WorldOffsetX + qx * std::cos(yawRad) + qz * std::sin(yawRad);
    Y = qy;
    Z = View.WorldOffsetZ - qx * std::sin(yawRad) + qz * std::cos(yawRad);
}

bool CameraGuard::IsEyeClear(const GLViewport& View, double Distance)
{
    double x = 0.0, y = 0.0, z = 0.0;
    GetEyePosition(View, Distance, x, y, z);
    return y >= GetHighestGroundNear(View, x, z, ClearanceWorld) + ClearanceWorld;
}

double CameraGuard::GetMapFramingDistance(const GLViewport& View)
{
    const double extent = std::max(View.SpringMap.GetWorldWidth(), View.SpringMap.GetWorldDepth());
    const double halfFovRad = std::clamp(View.CameraFovDeg, 1.0, 170.0) * M_PI / 360.0;
    return extent * 0.6 / std::tan(halfFovRad);
}

void CameraGuard::Apply(GLViewport& View)
{
    if (!HasActiveMapView(View) || !std::isfinite(View.CameraDistance))
        return;
    View.MinCameraDistance = FindClearDistance(View, ClosestWorld);
    View.MaxCameraDistance =
        std::max(GetMapFramingDistance(View) * MaxOverFramingDistance, View.MinCameraDistance);
    View.CameraDistance = std::min(View.CameraDistance, View.MaxCameraDistance);
    if (!IsEyeClear(View, View.CameraDistance))
        View.CameraDistance = FindClearDistance(View, std::max(View.CameraDistance, View.MinCameraDistance));
}
