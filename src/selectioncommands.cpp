#include "selectioncommands.h"

#include <algorithm>
#include <cmath>

#include "glviewport.h"
#include "rotatecontinuity.h"
#include "vehicleunit.h"

namespace
{
// Room around the framed units, so the outermost are not on the screen's edge.
constexpr double FrameMarginScale = 1.3;
// Framing a single unit still shows the ground around it.
constexpr double MinFrameRadiusWorld = 60.0;

int CountSelected(const std::vector<bool>& Mask)
{
    return static_cast<int>(std::count(Mask.begin(), Mask.end(), true));
}

// The mask sized to the controllable vehicles, as the layer keeps it.
std::vector<bool>& GetSelectionMask(GLViewport& View, std::size_t VehicleCount)
{
    if (View.VehicleSelectionMask.size() != VehicleCount)
        View.VehicleSelectionMask.assign(VehicleCount, false);
    return View.VehicleSelectionMask;
}

std::string DescribeSelection(GLViewport& View)
{
    return DescribeUnits(CountSelected(View.VehicleSelectionMask), View.bAirUnitsSelected);
}
} // namespace

std::string DescribeUnits(int VehicleCount, bool bAircraft)
{
    const std::string vehicles =
        std::to_string(VehicleCount) + (VehicleCount == 1 ? " vehicle" : " vehicles");
    if (VehicleCount > 0 && bAircraft)
        return vehicles + " and the aircraft";
    if (VehicleCount > 0)
        return vehicles;
    return bAircraft ? "the aircraft" : "no units";
}

std::string SelectAllUnits(GLViewport& View)
{
    const std::vector<VehicleUnit*> vehicles = View.GetControllableVehicles();
    GetSelectionMask(View, vehicles.size()).assign(vehicles.size(), true);
    View.bAirUnitsSelected = !View.AirUnits.empty();
    return "Selected all: " + DescribeSelection(View);
}

std::string StopSelectedUnits(GLViewport& View)
{
    const std::vector<VehicleUnit*> vehicles = View.GetControllableVehicles();
    const std::vector<bool>& mask = GetSelectionMask(View, vehicles.size());
    for (std::size_t i = 0; i < vehicles.size(); ++i)
        if (mask[i])
            vehicles[i]->ClearOrders();
    if (View.bAirUnitsSelected)
        for (const std::unique_ptr<AirUnit>& air : View.AirUnits)
            if (air)
                EndAirOrder(*air);
    if (CountSelected(mask) == 0 && !View.bAirUnitsSelected)
        return "Nothing to stop: no units selected";
    return "Stopped " + DescribeSelection(View);
}

std::string FrameSelectedUnits(GLViewport& View)
{
    const std::vector<VehicleUnit*> vehicles = View.GetControllableVehicles();
    const std::vector<bool>& mask = GetSelectionMask(View, vehicles.size());
    std::vector<Vec3D> points;
    for (std::size_t i = 0; i < vehicles.size(); ++i)
        if (mask[i])
            points.push_back(vehicles[i]->Position);
    if (View.bAirUnitsSelected)
        for (const std::unique_ptr<AirUnit>& air : View.AirUnits)
            if (air)
                points.push_back(air->Aircraft.Position);
    if (points.empty())
        return "Nothing to frame: no units selected";

    Vec3D centre;
    for (const Vec3D& point : points)
        centre = Vec3D(centre.X + point.X, centre.Y + point.Y, centre.Z + point.Z);
    const double share = 1.0 / static_cast<double>(points.size());
    centre = Vec3D(centre.X * share, centre.Y * share, centre.Z * share);
    double radius = MinFrameRadiusWorld;
    for (const Vec3D& point : points)
        radius = std::max(radius, std::hypot(point.X - centre.X, point.Y - centre.Y, point.Z - centre.Z));

    // The layer orbits a centre at height 0, so the centre moves along the line of sight until
    // that line, through the units' centroid, meets height 0: the units land mid-screen.
    const double pitchRad = std::clamp(View.CameraPitchDeg, 8.0, 84.0) * M_PI / 180.0;
    const double yawRad = GetRenderedYawDeg(View) * M_PI / 180.0;
    const double aheadWorld = centre.Y / std::tan(pitchRad);
    View.WorldOffsetX = centre.X + std::sin(yawRad) * aheadWorld;
    View.WorldOffsetZ = centre.Z - std::cos(yawRad) * aheadWorld;
    View.PanX = View.PanY = 0.0;
    const double halfFovRad = std::clamp(View.CameraFovDeg, 1.0, 170.0) * M_PI / 360.0;
    const double fitWorld = radius * FrameMarginScale / std::tan(halfFovRad);
    View.CameraDistance = std::clamp(fitWorld + centre.Y / std::sin(pitchRad), View.MinCameraDistance,
                                     std::max(View.MinCameraDistance, View.MaxCameraDistance));
    return "Framed " + DescribeSelection(View);
}

std::string SelectionGroups::Store(int Group, GLViewport& View)
{
    if (Group < 1 || Group > Count)
        return {};
    const std::vector<VehicleUnit*> vehicles = View.GetControllableVehicles();
    Groups[static_cast<std::size_t>(Group - 1)] = {GetSelectionMask(View, vehicles.size()),
                                                   View.bAirUnitsSelected};
    return "Group " + std::to_string(Group) + " stored: " + DescribeSelection(View);
}

std::string SelectionGroups::Recall(int Group, GLViewport& View) const
{
    if (Group < 1 || Group > Count)
        return {};
    const struct Group& stored = Groups[static_cast<std::size_t>(Group - 1)];
    if (CountSelected(stored.VehicleMask) == 0 && !stored.bAircraft)
        return "Group " + std::to_string(Group) + " is empty: Ctrl+" + std::to_string(Group) +
               " stores the selection";
    const std::vector<VehicleUnit*> vehicles = View.GetControllableVehicles();
    std::vector<bool>& mask = GetSelectionMask(View, vehicles.size());
    for (std::size_t i = 0; i < mask.size(); ++i)
        mask[i] = i < stored.VehicleMask.size() && stored.VehicleMask[i];
    View.bAirUnitsSelected = stored.bAircraft && !View.AirUnits.empty();
    return "Group " + std::to_string(Group) + " selected: " + DescribeSelection(View);
}
