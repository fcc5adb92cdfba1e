#include "goaldistancefield.h"

namespace
{
// One more bucket than the longest step, so pending cells never share a bucket with later ones.
constexpr std::uint32_t BucketCount = RouteStepCost::Diagonal + 1;
} // namespace

void GoalDistanceField::Build(const DriveabilityGrid& Grid, std::int32_t Cell)
{
    const int width = Grid.GetWidth();
    const std::size_t cellCount = static_cast<std::size_t>(width) * Grid.GetHeight();
    SourceCell = Cell;
    GridRevision = Grid.GetRevision();
    Steps.assign(cellCount, RouteStepCost::Unreached);
    Buckets.resize(BucketCount);
    for (std::vector<std::int32_t>& bucket : Buckets)
        bucket.clear();

    Steps[static_cast<std::size_t>(Cell)] = 0;
    Buckets[0].push_back(Cell);
    std::size_t pending = 1;
    for (std::uint32_t current = 0; pending > 0; ++current)
    {
        std::vector<std::int32_t>& bucket = Buckets[current % BucketCount];
        // Every step is shorter than the bucket count, so draining a bucket never refills it.
        while (!bucket.empty())
        {
            const std::int32_t cell = bucket.back();
            bucket.pop_back();
            --pending;
            if (Steps[static_cast<std::size_t>(cell)] != current)
                continue; // reached more cheaply since it was queued
            const int x = cell % width, z = cell / width;
            for (int dir = 0; dir < 8; ++dir)
            {
                if (!RouteStepCost::CanStep(Grid, x, z, dir))
                    continue;
                const int nx = x + RouteStepCost::StepX[dir], nz = z + RouteStepCost::StepZ[dir];
                const std::size_t next = static_cast<std::size_t>(nz) * width + nx;
                const std::uint32_t steps = current + RouteStepCost::GetCost(dir);
                if (steps >= Steps[next])
                    continue;
                Steps[next] = steps;
                Buckets[steps % BucketCount].push_back(static_cast<std::int32_t>(next));
                ++pending;
            }
        }
    }
}
