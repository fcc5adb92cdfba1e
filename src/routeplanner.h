#pragma once

#include <cstdint>
#include <vector>

#include "driveabilitygrid.h"
#include "springmap_renderer.h"
#include "vec3d.h"

// Shortest drivable routes: A* over the 8-connected cells of a DriveabilityGrid, then the cell path
// pulled tight into straight legs that cross drivable cells only. The search buffers are kept
// between calls, so a formation order's many searches allocate nothing.
class RoutePlanner
{
  public:
    // Plans a route from From to To: the points to drive through after From, the last one To, each
    // with the terrain height as Y. An undrivable To is moved to the nearest drivable point; a To
    // that can't be reached is replaced by the reachable point nearest to it. A start on steep
    // ground first heads for the nearest drivable point. Returns false, leaving Route untouched,
    // when the grid is empty or the input is not finite.
    bool PlanRoute(const DriveabilityGrid& Grid, const SpringMapRenderer& Map, const Vec3D& From,
                   const Vec3D& To, std::vector<Vec3D>& Route);

    // True when the straight line between two map points crosses drivable cells only; a line
    // through a cell corner needs both cells beside the corner.
    static bool HasClearLine(const DriveabilityGrid& Grid, double FromX, double FromZ, double ToX,
                             double ToZ);

  private:
    struct OpenEntry
    {
        float TotalCost;    // cost so far plus the estimate to the goal
        float EstimateCost; // the estimate alone: ties go to the entry nearer the goal
        std::int32_t Cell;
    };

    // A* from StartCell towards GoalCell; returns the goal cell or, when unreachable, the explored
    // cell nearest to it. Parents of the visited cells are left in Parent.
    std::int32_t Search(const DriveabilityGrid& Grid, std::int32_t StartCell, std::int32_t GoalCell);
    void PrepareBuffers(std::size_t CellCount);

    std::vector<float> CostSoFar;
    std::vector<std::int32_t> Parent;
    std::vector<std::uint32_t> VisitStamp;  // == CurrentStamp: CostSoFar and Parent are this search's
    std::vector<std::uint32_t> ClosedStamp; // == CurrentStamp: the cell's cost is final
    std::uint32_t CurrentStamp = 0;
    std::vector<OpenEntry> OpenHeap;
    std::vector<std::int32_t> CellPath;
    std::vector<Vec3D> Corners;
};
