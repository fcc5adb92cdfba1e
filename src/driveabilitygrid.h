#pragma once

#include <cstdint>
#include <vector>

#include "springmap_renderer.h"
#include "vec3d.h"

// Which parts of the loaded map a ground vehicle may drive on, in planning cells of one or more
// map squares. A cell is drivable when no map square in it is steeper than MaxDriveSlope, so a
// vehicle anywhere in a drivable cell stands on ground it can climb. Route planning and the
// waypoint search share one grid, built once per map.
class DriveabilityGrid
{
  public:
    // Height change per world unit above which ground stops a vehicle: about 31 degrees.
    static constexpr double MaxDriveSlope = 0.6;
    // Planning cells per side at most; larger maps group map squares so a search stays small.
    static constexpr int MaxCellsPerSide = 256;

    // Rebuilds the grid when Map is not the one it was built from (or clears it when no map is
    // loaded). Returns true when the grid changed.
    bool SyncWith(const SpringMapRenderer& Map);

    bool IsBuilt() const { return Width > 0; }
    // Counts the rebuilds, so routes planned on an older grid can be recognised.
    std::uint32_t GetRevision() const { return Revision; }
    int GetWidth() const { return Width; }
    int GetHeight() const { return Height; }
    double GetCellSizeWorld() const { return CellSizeWorld; }

    // False for cells outside the grid.
    bool IsCellDriveable(int CellX, int CellZ) const;
    // The cell holding a world point on the map; false off the map or for non-finite input.
    bool FindCell(double X, double Z, int& CellX, int& CellZ) const;
    bool IsDriveable(double X, double Z) const;
    double GetCellCentreX(int CellX) const;
    double GetCellCentreZ(int CellZ) const;
    // The drivable point nearest to (X, Z); false, leaving the outputs alone, when there is none.
    bool FindNearestDriveable(double X, double Z, double& OutX, double& OutZ) const;

  private:
    void Build(const SpringMapRenderer& Map);

    int Width = 0;
    int Height = 0;
    double CellSizeWorld = 0.0;
    double WorldWidth = 0.0;
    double WorldDepth = 0.0;
    std::vector<std::uint8_t> Driveable; // one flag per cell, row-major in Z rows
    std::uint32_t Revision = 0;

    // The map the grid was built from: a newly loaded grid has a new height buffer.
    const float* pSourceHeights = nullptr;
    int SourceGridWidth = 0;
    int SourceGridHeight = 0;
    float SourceSquareSize = 0.0f;
};

// A goal a vehicle can drive to for the requested point, working from its X and Z: the nearest
// drivable point with the terrain height as Y. Without a map or drivable ground the point keeps its
// X and Z (or 0 where they are not finite) and takes the terrain height there.
Vec3D SnapToDriveableGround(const SpringMapRenderer& Map, const DriveabilityGrid& Grid, const Vec3D& Point);
