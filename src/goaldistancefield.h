#pragma once

#include <cstdint>
#include <vector>

#include "driveabilitygrid.h"

// Route costs in fifths of a cell: 5 for a straight step, 7 for a diagonal one (1.4, near sqrt(2)).
// Whole numbers keep equal-cost paths exactly equal, so A* can break their ties towards the goal
// instead of widening over rounding noise.
namespace RouteStepCost
{
constexpr std::uint32_t Straight = 5;
constexpr std::uint32_t Diagonal = 7;
constexpr std::uint32_t Unreached = 0xFFFFFFFFu;

// The eight moves between neighbouring cells: the straight ones first (0..3), then the diagonals.
constexpr int StepX[8] = {1, -1, 0, 0, 1, 1, -1, -1};
constexpr int StepZ[8] = {0, 0, 1, -1, 1, -1, 1, -1};

constexpr bool IsDiagonal(int Dir)
{
    return Dir >= 4;
}

constexpr std::uint32_t GetCost(int Dir)
{
    return IsDiagonal(Dir) ? Diagonal : Straight;
}

// Whether a vehicle may move from a cell to its neighbour in direction Dir: the neighbour is
// drivable and, for a diagonal, so are both cells beside it (no corner cutting).
inline bool CanStep(const DriveabilityGrid& Grid, int CellX, int CellZ, int Dir)
{
    const int nx = CellX + StepX[Dir], nz = CellZ + StepZ[Dir];
    return Grid.IsCellDriveable(nx, nz) &&
           (!IsDiagonal(Dir) || (Grid.IsCellDriveable(nx, CellZ) && Grid.IsCellDriveable(CellX, nz)));
}

// The cost of the cheapest 8-connected path on open ground.
inline std::uint32_t Estimate(int FromX, int FromZ, int ToX, int ToZ)
{
    const std::uint32_t dx = static_cast<std::uint32_t>(FromX > ToX ? FromX - ToX : ToX - FromX);
    const std::uint32_t dz = static_cast<std::uint32_t>(FromZ > ToZ ? FromZ - ToZ : ToZ - FromZ);
    return dx > dz ? Straight * (dx - dz) + Diagonal * dz : Straight * (dz - dx) + Diagonal * dx;
}
} // namespace RouteStepCost

// Driving costs from one cell to every drivable cell it connects to, with the route planner's
// moves and costs. From any cell, stepping to a neighbour whose cost is lower by exactly the step's
// cost, again and again, walks a cheapest path to the source.
class GoalDistanceField
{
  public:
    // Fills the field from Cell over Grid (a Dijkstra with bucket queues on the whole-number costs):
    // BeginBuild, then ContinueBuild until it returns true; it returns false when CellBudget,
    // counted down per cell taken from the queue, runs out first.
    void BeginBuild(const DriveabilityGrid& Grid, std::int32_t Cell);
    bool ContinueBuild(const DriveabilityGrid& Grid, std::size_t& CellBudget);

    std::int32_t GetSourceCell() const { return SourceCell; }
    std::uint32_t GetGridRevision() const { return GridRevision; }
    // RouteStepCost::Unreached for cells that can't be reached from the source.
    std::uint32_t GetCost(std::int32_t Cell) const { return Steps[static_cast<std::size_t>(Cell)]; }

  private:
    std::int32_t SourceCell = -1;
    std::uint32_t GridRevision = 0;
    std::vector<std::uint32_t> Steps;
    std::vector<std::vector<std::int32_t>> Buckets; // cells by cost modulo the bucket count
    std::uint32_t CurrentCost = 0;                  // the bucket being drained
    std::size_t PendingCells = 0;                   // queued in any bucket
};
