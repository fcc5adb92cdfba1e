#pragma once

#include <cstdint>
#include <vector>

#include "driveabilitygrid.h"
#include "goaldistancefield.h"
#include "springmap_renderer.h"
#include "vec3d.h"

// Shortest drivable routes: A* over the 8-connected cells of a DriveabilityGrid, then the cell path
// pulled tight into straight legs that cross drivable cells only. The search buffers are kept
// between calls, so a formation order's many searches allocate nothing. A search that has to work
// round walls is replaced by a distance field built from its goal, which gives the shortest path
// from anywhere by walking downhill; later goals near that one follow the same field to within a
// few cells of their own goal and search only the last leg, so one order builds one field.
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
        std::uint32_t TotalCost;    // cost so far plus the estimate to the goal (RouteStepCost units)
        std::uint32_t EstimateCost; // the estimate alone: ties go to the entry nearer the goal
        std::int32_t Cell;
    };

    // A distance field built on a goal this close (in cells) is followed for a new goal.
    static constexpr int GoalFieldReuseCells = 16;
    // Fields kept; the least recently used one is rebuilt for a new goal region.
    static constexpr std::size_t MaxGoalFields = 8;
    // A search on the straight-line estimate may expand this many cells per cell of straight
    // distance (plus a fixed allowance) before a goal field is built to guide it.
    static constexpr int ExpansionsPerCellOfDistance = 8;
    static constexpr int ExpansionAllowance = 256;
    // Following another goal's field stops this many cells from the own goal; a search finishes.
    static constexpr std::uint32_t LocalLegCells = 2 * GoalFieldReuseCells;

    // A* from StartCell towards GoalCell; returns the goal cell or, when unreachable, the explored
    // cell nearest to it, or -1 when MaxExpansions ran out first. Parents of the visited cells are
    // left in Parent.
    std::int32_t Search(const DriveabilityGrid& Grid, std::int32_t StartCell, std::int32_t GoalCell,
                        std::size_t MaxExpansions);
    // Fills CellPath from StartCell to the returned cell: GoalCell, or the reachable cell nearest to
    // it. Open ground takes a plain search; a search that runs long is redone down a goal field.
    std::int32_t FindCellPath(const DriveabilityGrid& Grid, std::int32_t StartCell, std::int32_t GoalCell);
    // Appends to CellPath the cells down Field from StartCell, stopping at the field's source or
    // within StopCost of GoalCell; returns the last cell.
    std::int32_t DescendField(const DriveabilityGrid& Grid, const GoalDistanceField& Field,
                              std::int32_t StartCell, std::int32_t GoalCell, std::uint32_t StopCost);
    // Appends to CellPath the last search's path to EndCell.
    void AppendSearchPath(std::int32_t EndCell);
    const GoalDistanceField* FindGoalField(const DriveabilityGrid& Grid, std::int32_t GoalCell);
    const GoalDistanceField& BuildGoalField(const DriveabilityGrid& Grid, std::int32_t GoalCell);
    void PrepareBuffers(std::size_t CellCount);

    std::vector<std::uint32_t> CostSoFar;
    std::vector<std::int32_t> Parent;
    std::vector<std::uint32_t> VisitStamp;  // == CurrentStamp: CostSoFar and Parent are this search's
    std::vector<std::uint32_t> ClosedStamp; // == CurrentStamp: the cell's cost is final
    std::uint32_t CurrentStamp = 0;
    std::vector<OpenEntry> OpenHeap;
    std::vector<std::int32_t> CellPath;
    std::vector<Vec3D> Corners;
    struct CachedField
    {
        GoalDistanceField Field;
        std::uint64_t LastUse = 0;
    };
    std::vector<CachedField> GoalFields;
    std::uint64_t FieldUseCounter = 0;
};
