#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include <epoxy/gl.h>

#include "markerinstances_gl.h"
#include "sky_gl.h"
#include "unitinstances_gl.h"
#include "vec3d.h"

class SpringMapRenderer;
class VehicleUnit;
struct AirUnit;

// What one frame of the scene shows: the units, which of them are selected, and the map they stand on.
struct SceneContent
{
    const SpringMapRenderer& Map;
    const std::vector<std::unique_ptr<VehicleUnit>>& Vehicles;
    const std::vector<std::unique_ptr<AirUnit>>& AirUnits;
    const std::vector<bool>& VehicleSelectionMask; // index-aligned with the non-empty vehicles
    bool bAirUnitsSelected = false;
    // Units far from Eye are drawn larger, at least MinUnitPx across (beyond a distance as a flat
    // icon), with WorldPerPxPerDistance world units per pixel at one unit from the eye; 0 draws
    // every unit at its true size.
    Vec3D Eye;
    double WorldPerPxPerDistance = 0.0;
    // Orders of unselected units too; the application shows them only while Shift is held, so a
    // crowd's lines don't bury the selection's.
    bool bShowAllOrders = true;
};

// Draws the viewport's units over the map renderer's terrain: vehicles as a hull with a turret and
// barrel along their heading, aircraft as a delta wing pointing where they fly with a thin post down
// to the terrain, a ring under every selected unit, and each unit's orders as a line from the unit
// through its goals with a dot at every goal; an aircraft's goals (at its flying height) each with a
// ring on the ground below and a line down to it. Units are depth-tested; rings, lines and dots are
// drawn over everything so an order is never hidden behind a hill. One instanced draw call per kind
// (near vehicles, far vehicles, aircraft, rings, lines, dots), after the sky behind everything
// (DrawSky).
//
//          goal o - - - - o goal      flying height
//               |         |
//               O         O           rings on the ground
class SceneGL
{
  public:
    // Colours the tests look for.
    static constexpr std::array<float, 3> SelectionRingColour{0.2f, 1.0f, 0.3f};
    static constexpr std::array<float, 3> VehicleOrderColour{1.0f, 0.8f, 0.15f};
    static constexpr std::array<float, 3> AircraftOrderColour{0.35f, 0.75f, 1.0f};
    // An aircraft is drawn this long from nose to tail; its exhaust leaves at the tail.
    static constexpr double AircraftLengthWorld = 32.0;
    // The least width of a unit on screen, and the enlargement beyond which a vehicle is drawn as
    // a flat arrow: its turret and barrel would only blur at that size.
    static constexpr double MinUnitPx = 10.0;
    static constexpr double IconScale = 2.5;
    // A selection or goal ring up to this radius on screen is drawn with fewer points.
    static constexpr double SmallRingMaxPx = 12.0;

    SceneGL() = default;
    SceneGL(const SceneGL&) = delete;
    SceneGL& operator=(const SceneGL&) = delete;

    bool Create(std::string& Error);
    // Whether a sphere reaches into the view of ViewProjection (column-major, world to clip space):
    // vehicles wholly outside it are not drawn.
    static bool IsSphereInView(const std::array<float, 16>& ViewProjection, const Vec3D& Centre,
                               double RadiusWorld);
    // ViewProjection: column-major, world to clip space.
    void Draw(const SceneContent& Content, const std::array<float, 16>& ViewProjection);
    // The sky gradient for a camera looking down by PitchDeg; drawn before the terrain.
    void DrawSky(double PitchDeg, double FovDeg, const SpringMapLook& Look) const
    {
        Sky.Draw(PitchDeg, FovDeg, Look);
    }

  private:
    void BuildGeometry(const SceneContent& Content, const std::array<float, 16>& ViewProjection);

    SkyGL Sky;
    UnitInstancesGL Units;
    MarkerInstancesGL Markers;
    // This frame's units and markers, in the instance layouts of the two.
    std::array<std::vector<float>, UnitInstancesGL::ShapeCount> UnitInstances;
    std::array<std::vector<float>, MarkerInstancesGL::KindCount> MarkerInstances;
};
