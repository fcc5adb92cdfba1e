#include "mapsetup.h"

#include <cmath>
#include <vector>

#include "glviewport.h"
#include "springmap_loader.h"
#include "vehicleunit.h"

bool LoadDefaultMap(SpringMapRenderer& Map)
{
    constexpr int Squares = 256;
    constexpr float SquareSizeWorld = 8.0f;
    constexpr int Corners = Squares + 1;
    std::vector<float> heights(static_cast<std::size_t>(Corners) * Corners);
    for (int z = 0; z < Corners; ++z)
        for (int x = 0; x < Corners; ++x)
        {
            const double u = static_cast<double>(x) / Squares, v = static_cast<double>(z) / Squares;
            const double hills =
                40.0 * std::sin(u * 9.0) * std::cos(v * 7.0) + 25.0 * std::sin((u + v) * 13.0);
            const double ridge = 220.0 * std::exp(-std::pow((u - 0.25 - 0.3 * v) / 0.07, 2.0));
            const double basin = -90.0 * std::exp(-(std::pow(u - 0.7, 2.0) + std::pow(v - 0.65, 2.0)) / 0.02);
            heights[static_cast<std::size_t>(z) * Corners + x] =
                static_cast<float>(120.0 + hills + ridge + basin);
        }
    return Map.LoadHeightGrid(Corners, Corners, SquareSizeWorld, std::move(heights));
}

bool LoadMap(const std::string& Path, SpringMapRenderer& Map, std::string& Name, std::string& Error)
{
    if (Path.empty())
    {
        Name = "Default";
        if (LoadDefaultMap(Map))
            return true;
        Error = "the default map could not be built";
        return false;
    }
    SpringMap loaded;
    SpringMapLoader::Options options;
    options.bReadTiles = false; // the scene colours the terrain by height; tiles are not drawn
    if (!SpringMapLoader::Load(Path, loaded, Error, options))
        return false;
    const int cornersX = loaded.Smf.MapX + 1, cornersZ = loaded.Smf.MapY + 1;
    std::vector<float> heights(static_cast<std::size_t>(cornersX) * cornersZ);
    for (int z = 0; z < cornersZ; ++z)
        for (int x = 0; x < cornersX; ++x)
            heights[static_cast<std::size_t>(z) * cornersX + x] = loaded.GetCornerHeight(x, z);
    // Spring's squares are 8 world units.
    if (!Map.LoadHeightGrid(cornersX, cornersZ, 8.0f, std::move(heights)))
    {
        Error = Path + ": the height map has no squares";
        return false;
    }
    Name = loaded.Name;
    return true;
}

void PlaceUnits(GLViewport& View, int VehicleCount, int AircraftCount)
{
    View.Vehicles.clear();
    View.AirUnits.clear();
    View.VehicleSelectionMask.clear();
    View.bAirUnitsSelected = false;
    const double centreX = View.SpringMap.GetWorldWidth() * 0.5;
    const double centreZ = View.SpringMap.GetWorldDepth() * 0.5;
    constexpr double SpacingWorld = 48.0;
    const int columns = std::max(1, static_cast<int>(std::ceil(std::sqrt(std::max(VehicleCount, 1)))));
    for (int i = 0; i < VehicleCount; ++i)
    {
        auto vehicle = std::make_unique<VehicleUnit>();
        const double x = centreX + (i % columns - (columns - 1) * 0.5) * SpacingWorld;
        const double z = centreZ + (i / columns - (columns - 1) * 0.5) * SpacingWorld;
        vehicle->Position =
            Vec3D(x, View.SpringMap.GetTerrainHeight(static_cast<float>(x), static_cast<float>(z)), z);
        View.Vehicles.push_back(std::move(vehicle));
    }
    constexpr double RingRadiusWorld = 360.0;
    for (int i = 0; i < AircraftCount; ++i)
    {
        auto air = std::make_unique<AirUnit>();
        const double angle = 2.0 * M_PI * i / AircraftCount;
        air->Aircraft.TargetAltitude = AircraftCount > 1 ? 300.0f + 200.0f * i / (AircraftCount - 1) : 400.0f;
        air->Aircraft.Position =
            Vec3D(centreX + RingRadiusWorld * std::cos(angle), air->Aircraft.TargetAltitude,
                  centreZ + RingRadiusWorld * std::sin(angle));
        View.AirUnits.push_back(std::move(air));
    }
}
