#include "goaldistancefield.h"

namespace
{
// One more bucket than the longest step, so pending cells never share a bucket with later ones.
constexpr std::uint32_t BucketCount = RouteStepCost::Diagonal + 1;
} // namespace

void GoalDistanceField::BeginBuild(const DriveabilityGrid& Grid, std::int32_t Cell)
{
    const std::size_t cellCount = static_cast<std::size_t>(Grid.GetWidth()) * Grid.GetHeight();
    SourceCell = Cell;
    GridRevision = Grid.GetRevision();
    Steps.assign(cellCount, RouteStepCost::Unreached);
    Buckets.resize(BucketCount);
    for (std::vector<std::int32_t>& bucket : Buckets)
        bucket.clear();
    Steps[static_cast<std::size_t>(Cell)] = 0;
    Buckets[0].push_back(Cell);
    CurrentCost = 0;
    PendingCells = 1;
}

bool GoalDistanceField::ContinueBuild(const DriveabilityGrid& Grid, std::size_t& CellBudget)
{
    const int width = Grid.GetWidth();
    while (PendingCells > 0)
    {
        // Every step is shorter than the bucket count, so draining a bucket never refills it.
        std::vector<std::int32_t>& bucket = Buckets[CurrentCost % BucketCount];
        if (bucket.empty())
        {
            ++CurrentCost;
            continue;
        }
        if (CellBudget == 0)
            return false;
        --CellBudget;
        const std::int32_t cell = bucket.back();
        bucket.pop_back();
        --PendingCells;
        if (Steps[static_cast<std::size_t>(cell)] != CurrentCost)
            continue; // reached more cheaply since it was queued
        const int x = cell % width, z = cell / width;
        for (int dir = 0; dir < 8; ++dir)
        {
            if (!RouteStepCost::CanStep(Grid, x, z, dir))
                continue;
            const int nx = x + RouteStepCost::StepX[dir], nz = z + RouteStepCost::StepZ[dir];
            const std::size_t next = static_cast<std::size_t>(nz) * width + nx;
            const std::uint32_t steps = CurrentCost + RouteStepCost::GetCost(dir);
            if (steps >= Steps[next])
                continue;
            Steps[next] = steps;
            Buckets[steps % BucketCount].push_back(static_cast<std::int32_t>(next));
            ++PendingCells;
        }
    }
    return true;
}
