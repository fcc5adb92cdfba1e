// The rest of the viewport: coordinate conversions, the camera reset for a loaded map and the
// services the interaction layer hands unit orders to.
#include "glviewport.h"

#include <algorithm>
#include <climits>
#include <cmath>

#include "core.h"
#include "vehicleorders.h"
#include "vehicleunit.h"

GLViewport::GLViewport() : pAutoRotateToggle(std::make_unique<GLToggleButton>())
{
    pAutoRotateToggle->Label = "Rotate";
}

GLViewport::~GLViewport() = default;

namespace
{
// Whole pixels from a fractional position; far or non-finite values are pinned to a range in
// which differences of two positions cannot overflow an int.
int ToWholePixels(double Px)
{
    constexpr double Limit = 1 << 24;
    if (!(Px > -Limit))
        return std::isnan(Px) ? 0 : -static_cast<int>(Limit);
    if (Px > Limit)
        return static_cast<int>(Limit);
    return static_cast<int>(std::floor(Px));
}
} // namespace

bool GLViewport::GlobalToLocal01(double GlobalX, double GlobalY, double& LocalX01, double& LocalY01) const
{
    const double w = WindowX2 - WindowX1;
    const double h = WindowY1 - WindowY2;
    if (!(w > 0.0) || !(h > 0.0))
        return false;
    LocalX01 = (GlobalX - WindowX1) / w;
    LocalY01 = (WindowY1 - GlobalY) / h;
    return LocalX01 >= 0.0 && LocalX01 <= 1.0 && LocalY01 >= 0.0 && LocalY01 <= 1.0;
}

bool GLViewport::GlobalToLocalPixels(double GlobalX, double GlobalY, int& LocalXPx, int& LocalYPx) const
{
    double x01 = 0.0, y01 = 0.0;
    const bool bInside = GlobalToLocal01(GlobalX, GlobalY, x01, y01);
    if (!p || !p->pCoreSDL || !(WindowX2 > WindowX1) || !(WindowY1 > WindowY2))
        return false;
    // Global units span 2 across the window, so half the extent times the window size is pixels.
    const double widthPx = (WindowX2 - WindowX1) * 0.5 * p->pCoreSDL->Width;
    const double heightPx = (WindowY1 - WindowY2) * 0.5 * p->pCoreSDL->Height;
    LocalXPx = ToWholePixels(x01 * widthPx);
    LocalYPx = ToWholePixels(y01 * heightPx);
    return bInside;
}

void GLViewport::GetRenderedViewportRect(GLdouble& X1, GLdouble& Y1, GLdouble& X2, GLdouble& Y2) const
{
    X1 = WindowX1;
    Y1 = WindowY1;
    X2 = WindowX2;
    Y2 = WindowY2;
}

void GLViewport::ResetSpringMapCamera()
{
    CameraYawDeg = 0.0;
    CameraPitchDeg = 50.0;
    PanX = PanY = 0.0;
    if (!SpringMap.IsLoaded())
        return;
    WorldOffsetX = SpringMap.GetWorldWidth() * 0.5;
    WorldOffsetZ = SpringMap.GetWorldDepth() * 0.5;
    // Far enough that the whole map fits the vertical field of view.
    const double extent = std::max(SpringMap.GetWorldWidth(), SpringMap.GetWorldDepth());
    const double halfFovRad = std::clamp(CameraFovDeg, 1.0, 170.0) * M_PI / 360.0;
    const double fit = extent * 0.6 / std::tan(halfFovRad);
    CameraDistance = std::min(std::max(fit, MinCameraDistance), MaxCameraDistance);
}

std::vector<VehicleUnit*> GLViewport::GetControllableVehicles()
{
    return CollectControllableVehicles(Vehicles);
}

Vec3D GLViewport::FindDriveableVehicleWaypoint(const Vec3D& Point) const
{
    VehicleDriveability.SyncWith(SpringMap);
    return SnapToDriveableGround(SpringMap, VehicleDriveability, Point);
}

void GLViewport::SubmitVehicleRoutePlan(const std::vector<Vec3D>& goals, const std::vector<bool>& active,
                                        bool append)
{
    ApplyVehicleRoutePlan(GetControllableVehicles(), goals, active, append);
}

void GLViewport::ApplyJetEffectsPreset(JetExhaustQuality Quality, float Scale, const char*)
{
    JetExhaust.Debug().Quality = Quality;
    JetEffectsScale = Scale;
}

void GLViewport::Render() {}
