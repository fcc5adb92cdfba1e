#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include <epoxy/gl.h>

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
};

// Draws the viewport's units over the map renderer's terrain: vehicles as a hull with a turret and
// barrel along their heading, aircraft as a delta wing pointing where they fly with a thin post down
// to the terrain, a ring under every selected unit, and each unit's orders as a line from the unit
// through its goals with a dot at every goal. Units are depth-tested; rings, lines and dots are
// drawn over everything so an order is never hidden behind a hill. Three draw calls per frame.
class SceneGL
{
  public:
    // Colours the tests look for.
    static constexpr std::array<float, 3> SelectionRingColour{0.2f, 1.0f, 0.3f};
    static constexpr std::array<float, 3> VehicleOrderColour{1.0f, 0.8f, 0.15f};
    static constexpr std::array<float, 3> AircraftOrderColour{0.35f, 0.75f, 1.0f};
    // An aircraft is drawn this long from nose to tail; its exhaust leaves at the tail.
    static constexpr double AircraftLengthWorld = 32.0;

    SceneGL() = default;
    SceneGL(const SceneGL&) = delete;
    SceneGL& operator=(const SceneGL&) = delete;
    ~SceneGL();

    bool Create(std::string& Error);
    // ViewProjection: column-major, world to clip space.
    void Draw(const SceneContent& Content, const std::array<float, 16>& ViewProjection);

  private:
    void BuildGeometry(const SceneContent& Content);

    GLuint Program = 0;
    GLint ViewProjectionLocation = -1;
    GLuint UnitArray = 0, UnitBuffer = 0;
    // This frame's vertices, position and colour interleaved, one list per primitive type.
    std::vector<float> SolidVertices; // depth-tested triangles: the units
    std::vector<float> LineVertices;  // rings and order lines
    std::vector<float> PointVertices; // goal dots
};
