#pragma once

// Helpers shared by the selection, order and gesture tests: units, a camera with easy numbers, and
// the scene's own projection (world to viewport-local) to check picks against.
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <random>
#include <vector>

#include "test_app.h"
#include "vehicleunit.h"

namespace ordertest
{

inline VehicleUnit& AddVehicle(TestApp& app, double x, double z, float radius = 8.0f)
{
    app.View.Vehicles.push_back(std::make_unique<VehicleUnit>());
    VehicleUnit& vehicle = *app.View.Vehicles.back();
    vehicle.Position = Vec3D(x, 0.0, z);
    vehicle.Radius = radius;
    return vehicle;
}

inline AirUnit& AddAircraft(TestApp& app, double x, double y, double z, float targetAltitude = 300.0f)
{
    app.View.AirUnits.push_back(std::make_unique<AirUnit>());
    AirUnit& aircraft = *app.View.AirUnits.back();
    aircraft.Aircraft.Position = Vec3D(x, y, z);
    aircraft.Aircraft.TargetAltitude = targetAltitude;
    return aircraft;
}

// Selects the given vehicle indices (and nothing else) with a mask of the right length.
inline void SelectVehicles(TestApp& app, std::initializer_list<std::size_t> indices)
{
    app.View.VehicleSelectionMask.assign(app.View.Vehicles.size(), false);
    for (std::size_t i : indices)
        app.View.VehicleSelectionMask[i] = true;
}

// A flat map seen from above: local x grows with world X, local y with world Z.
inline void LookStraightDown(TestApp& app, double centreX = 512.0, double centreZ = 512.0,
                             double distance = 800.0)
{
    app.LoadFlatMap();
    app.View.WorldOffsetX = centreX;
    app.View.WorldOffsetZ = centreZ;
    app.View.CameraDistance = distance;
    app.View.CameraPitchDeg = 90.0;
    app.View.CameraYawDeg = 0.0;
    app.View.PanX = app.View.PanY = 0.0;
    // Keep the corner widgets out of the way of the gestures under test.
    app.View.bNavWidgetVisible = false;
    app.View.bAutoRotateToggleVisible = false;
    app.View.bJetEffectsPanelVisible = false;
}

// A TestApp with a flat map, and one also looking straight down at it.
struct MapApp : TestApp
{
    MapApp() { LoadFlatMap(); }
};
struct TopDownApp : TestApp
{
    TopDownApp() { LookStraightDown(*this); }
};

// World point to viewport-local 0..1 through the camera the scene is drawn with; false behind the eye.
inline bool ProjectToLocal(const GLViewport& view, double x, double y, double z, double& x01, double& y01)
{
    double clip[4];
    view.GetSceneViewProjection().Transform(x, y, z, 1.0, clip);
    if (!(clip[3] > 0.0))
        return false;
    x01 = (clip[0] / clip[3] + 1.0) * 0.5;
    y01 = (1.0 - clip[1] / clip[3]) * 0.5;
    return true;
}

// The pointer over a world point, for gestures.
inline void PointAtWorld(TestApp& app, double x, double z)
{
    double x01 = 0.0, y01 = 0.0;
    ProjectToLocal(app.View, x, 0.0, z, x01, y01);
    app.PointAtLocal(x01, y01);
}

// Uniform doubles from a seeded generator; the seed is printed so a failure can be replayed.
struct SeededRandom
{
    SeededRandom(unsigned seed, const char* what) : Seed(seed), Rng(seed)
    {
        std::printf("%s: seed %u\n", what, seed);
    }
    double operator()(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(Rng); }
    const unsigned Seed;
    std::mt19937 Rng;
};

// Ground rising 0.1 per world unit along Z: one plane over Cells x Cells squares of 8 units.
inline void LoadSlopedMap(TestApp& app, int cells)
{
    const int n = cells + 1;
    std::vector<float> heights(static_cast<std::size_t>(n) * n);
    for (std::size_t i = 0; i < heights.size(); ++i)
        heights[i] = 0.8f * static_cast<float>(i / n);
    app.View.SpringMap.LoadHeightGrid(n, n, 8.0f, std::move(heights));
}

} // namespace ordertest
