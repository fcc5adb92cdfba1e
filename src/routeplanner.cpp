#include "routeplanner.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace
{
// Min-heap order: the lower total first, and among equals the one closer to the goal, which
// keeps A* from widening over plateaus of equal cost.
bool IsWorseEntry(std::uint32_t TotalA, std::uint32_t EstimateA, std::uint32_t TotalB,
                  std::uint32_t EstimateB)
{
    return TotalA > TotalB || (TotalA == TotalB && EstimateA > EstimateB);
}

bool IsFinite(const Vec3D& v)
{
    return std::isfinite(v.X) && std::isfinite(v.Z);
}
} // namespace

void RoutePlanner::PrepareBuffers(std::size_t CellCount)
{
    if (CostSoFar.size() != CellCount)
    {
        CostSoFar.assign(CellCount, 0u);
        Parent.assign(CellCount, -1);
        VisitStamp.assign(CellCount, 0);
        ClosedStamp.assign(CellCount, 0);
        CurrentStamp = 0;
    }
    if (++CurrentStamp == 0)
    {
        // After four billion searches the stamps wrap: forget them all once.
        std::fill(VisitStamp.begin(), VisitStamp.end(), 0u);
        std::fill(ClosedStamp.begin(), ClosedStamp.end(), 0u);
        CurrentStamp = 1;
    }
    OpenHeap.clear();
}

std::int32_t RoutePlanner::Search(const DriveabilityGrid& Grid, std::int32_t StartCell, std::int32_t GoalCell,
                                  std::size_t MaxExpansions)
{
    const int width = Grid.GetWidth();
    const int goalX = GoalCell % width, goalZ = GoalCell / width;
    PrepareBuffers(static_cast<std::size_t>(width) * Grid.GetHeight());
    const auto heapOrder = [](const OpenEntry& a, const OpenEntry& b)
    { return IsWorseEntry(a.TotalCost, a.EstimateCost, b.TotalCost, b.EstimateCost); };

    const std::uint32_t startEstimate =
        RouteStepCost::Estimate(StartCell % width, StartCell / width, goalX, goalZ);
    CostSoFar[StartCell] = 0u;
    Parent[StartCell] = -1;
    VisitStamp[StartCell] = CurrentStamp;
    OpenHeap.push_back({startEstimate, startEstimate, StartCell});
    std::int32_t nearestCell = StartCell;
    std::uint32_t nearestEstimate = startEstimate;
    std::size_t expansions = 0;

    while (!OpenHeap.empty())
    {
        std::pop_heap(OpenHeap.begin(), OpenHeap.end(), heapOrder);
        const OpenEntry entry = OpenHeap.back();
        OpenHeap.pop_back();
        const std::int32_t cell = entry.Cell;
        if (ClosedStamp[cell] == CurrentStamp)
            continue; // a stale entry: the cell was closed through a cheaper one
        ClosedStamp[cell] = CurrentStamp;
        if (cell == GoalCell)
            return GoalCell;
        if (++expansions > MaxExpansions)
            return -1;
        if (entry.EstimateCost < nearestEstimate)
        {
            nearestEstimate = entry.EstimateCost;
            nearestCell = cell;
        }
        const int x = cell % width, z = cell / width;
        for (int dir = 0; dir < 8; ++dir)
        {
            if (!RouteStepCost::CanStep(Grid, x, z, dir))
                continue;
            const int nx = x + RouteStepCost::StepX[dir], nz = z + RouteStepCost::StepZ[dir];
            const std::int32_t next = nz * width + nx;
            if (ClosedStamp[next] == CurrentStamp)
                continue;
            const std::uint32_t cost = CostSoFar[cell] + RouteStepCost::GetCost(dir);
            if (VisitStamp[next] == CurrentStamp && CostSoFar[next] <= cost)
                continue;
            VisitStamp[next] = CurrentStamp;
            CostSoFar[next] = cost;
            Parent[next] = cell;
            const std::uint32_t nextEstimate = RouteStepCost::Estimate(nx, nz, goalX, goalZ);
            OpenHeap.push_back({cost + nextEstimate, nextEstimate, next});
            std::push_heap(OpenHeap.begin(), OpenHeap.end(), heapOrder);
        }
    }
    return nearestCell;
}

const GoalDistanceField* RoutePlanner::FindGoalField(const DriveabilityGrid& Grid, std::int32_t GoalCell)
{
    const int width = Grid.GetWidth();
    for (CachedField& cached : GoalFields)
    {
        const std::int32_t source = cached.Field.GetSourceCell();
        if (cached.Field.GetGridRevision() != Grid.GetRevision() ||
            RouteStepCost::Estimate(source % width, source / width, GoalCell % width, GoalCell / width) >
                GoalFieldReuseCells * RouteStepCost::Straight)
            continue;
        cached.LastUse = ++FieldUseCounter;
        return &cached.Field;
    }
    return nullptr;
}

const GoalDistanceField& RoutePlanner::BuildGoalField(const DriveabilityGrid& Grid, std::int32_t GoalCell)
{
    CachedField* pSlot = nullptr;
    if (GoalFields.size() < MaxGoalFields)
        pSlot = &GoalFields.emplace_back();
    else
        pSlot = &*std::min_element(GoalFields.begin(), GoalFields.end(),
                                   [](const CachedField& a, const CachedField& b)
                                   { return a.LastUse < b.LastUse; });
    pSlot->Field.Build(Grid, GoalCell);
    pSlot->LastUse = ++FieldUseCounter;
    return pSlot->Field;
}

void RoutePlanner::AppendSearchPath(std::int32_t EndCell)
{
    const std::size_t first = CellPath.size();
    for (std::int32_t cell = EndCell; cell >= 0; cell = Parent[cell])
        CellPath.push_back(cell);
    std::reverse(CellPath.begin() + static_cast<std::ptrdiff_t>(first), CellPath.end());
}

std::int32_t RoutePlanner::DescendField(const DriveabilityGrid& Grid, const GoalDistanceField& Field,
                                        std::int32_t StartCell, std::int32_t GoalCell, std::uint32_t StopCost)
{
    const int width = Grid.GetWidth();
    const int goalX = GoalCell % width, goalZ = GoalCell / width;
    std::int32_t cell = StartCell;
    int lastDir = 0;
    CellPath.push_back(cell);
    while (Field.GetCost(cell) > 0 &&
           RouteStepCost::Estimate(cell % width, cell / width, goalX, goalZ) > StopCost)
    {
        // A neighbour one step further down a cheapest path; keep the last direction when it is
        // one of them, so the path has few turns to pull tight.
        const int x = cell % width, z = cell / width;
        int chosen = -1;
        for (int turn = 0; turn < 8 && chosen < 0; ++turn)
        {
            const int dir = (lastDir + turn) % 8;
            if (!RouteStepCost::CanStep(Grid, x, z, dir))
                continue;
            const int nx = x + RouteStepCost::StepX[dir], nz = z + RouteStepCost::StepZ[dir];
            if (Field.GetCost(nz * width + nx) + RouteStepCost::GetCost(dir) == Field.GetCost(cell))
                chosen = dir;
        }
        if (chosen < 0)
            break; // can't happen on a consistent field; stop rather than loop
        lastDir = chosen;
        cell = (z + RouteStepCost::StepZ[chosen]) * width + (x + RouteStepCost::StepX[chosen]);
        CellPath.push_back(cell);
    }
    return cell;
}

std::int32_t RoutePlanner::FindCellPath(const DriveabilityGrid& Grid, std::int32_t StartCell,
                                        std::int32_t GoalCell)
{
    constexpr std::size_t Unlimited = static_cast<std::size_t>(-1);
    CellPath.clear();
    // A field guides only when it reaches both ends: otherwise they may lie in different regions.
    const auto bConnects = [&](const GoalDistanceField& Field)
    {
        return Field.GetCost(GoalCell) != RouteStepCost::Unreached &&
               Field.GetCost(StartCell) != RouteStepCost::Unreached;
    };
    // Down the field to the goal's surroundings (all the way when the field is the goal's own),
    // then a short search for the last leg.
    const auto followField = [&](const GoalDistanceField& Field)
    {
        const bool bOwnField = Field.GetSourceCell() == GoalCell;
        const std::uint32_t stopCost = bOwnField ? 0u : LocalLegCells * RouteStepCost::Straight;
        const std::int32_t nearGoal = DescendField(Grid, Field, StartCell, GoalCell, stopCost);
        if (nearGoal == GoalCell)
            return GoalCell;
        CellPath.pop_back(); // the last leg's search starts at this cell again
        const std::int32_t endCell = Search(Grid, nearGoal, GoalCell, Unlimited);
        AppendSearchPath(endCell);
        return endCell;
    };

    if (const GoalDistanceField* pField = FindGoalField(Grid, GoalCell); pField && bConnects(*pField))
        return followField(*pField);
    const int width = Grid.GetWidth();
    const std::uint32_t straight =
        RouteStepCost::Estimate(StartCell % width, StartCell / width, GoalCell % width, GoalCell / width);
    const std::size_t budget =
        static_cast<std::size_t>(straight / RouteStepCost::Straight) * ExpansionsPerCellOfDistance +
        ExpansionAllowance;
    std::int32_t endCell = Search(Grid, StartCell, GoalCell, budget);
    if (endCell < 0)
    {
        const GoalDistanceField& field = BuildGoalField(Grid, GoalCell);
        if (bConnects(field))
            return followField(field);
        endCell = Search(Grid, StartCell, GoalCell, Unlimited); // unreachable: the nearest cell
    }
    AppendSearchPath(endCell);
    return endCell;
}

bool RoutePlanner::HasClearLine(const DriveabilityGrid& Grid, double FromX, double FromZ, double ToX,
                                double ToZ)
{
    int cellX = 0, cellZ = 0, endX = 0, endZ = 0;
    if (!Grid.FindCell(FromX, FromZ, cellX, cellZ) || !Grid.FindCell(ToX, ToZ, endX, endZ))
        return false;
    if (!Grid.IsCellDriveable(cellX, cellZ))
        return false;
    // Walk the cells the segment crosses (a grid DDA): tMax is the fraction of the segment at which
    // the next X or Z cell border is reached, tDelta the fraction one cell takes.
    const double cell = Grid.GetCellSizeWorld();
    const double dx = ToX - FromX, dz = ToZ - FromZ;
    const int stepX = endX > cellX ? 1 : (endX < cellX ? -1 : 0);
    const int stepZ = endZ > cellZ ? 1 : (endZ < cellZ ? -1 : 0);
    const double tDeltaX = stepX ? cell / std::fabs(dx) : INFINITY;
    const double tDeltaZ = stepZ ? cell / std::fabs(dz) : INFINITY;
    double tMaxX =
        stepX ? ((stepX > 0 ? (cellX + 1) * cell - FromX : FromX - cellX * cell) / std::fabs(dx)) : INFINITY;
    double tMaxZ =
        stepZ ? ((stepZ > 0 ? (cellZ + 1) * cell - FromZ : FromZ - cellZ * cell) / std::fabs(dz)) : INFINITY;
    for (int steps = std::abs(endX - cellX) + std::abs(endZ - cellZ);
         steps > 0 && (cellX != endX || cellZ != endZ);)
    {
        const double gap = tMaxX - tMaxZ;
        if (stepX != 0 && stepZ != 0 && std::fabs(gap) <= 1e-9 * (1.0 + std::fabs(tMaxX)))
        {
            // Through a corner: both side cells must be drivable, as for a diagonal search step.
            if (!Grid.IsCellDriveable(cellX + stepX, cellZ) || !Grid.IsCellDriveable(cellX, cellZ + stepZ))
                return false;
            cellX += stepX;
            cellZ += stepZ;
            tMaxX += tDeltaX;
            tMaxZ += tDeltaZ;
            steps -= 2;
        }
        else if (gap < 0.0)
        {
            cellX += stepX;
            tMaxX += tDeltaX;
            --steps;
        }
        else
        {
            cellZ += stepZ;
            tMaxZ += tDeltaZ;
            --steps;
        }
        if (!Grid.IsCellDriveable(cellX, cellZ))
            return false;
    }
    return cellX == endX && cellZ == endZ;
}

bool RoutePlanner::PlanRoute(const DriveabilityGrid& Grid, const SpringMapRenderer& Map, const Vec3D& From,
                             const Vec3D& To, std::vector<Vec3D>& Route)
{
    if (!Grid.IsBuilt() || !IsFinite(From) || !IsFinite(To))
        return false;
    double startX = From.X, startZ = From.Z, goalX = To.X, goalZ = To.Z;
    if (!Grid.FindNearestDriveable(From.X, From.Z, startX, startZ) ||
        !Grid.FindNearestDriveable(To.X, To.Z, goalX, goalZ))
        return false;
    const bool bStartMoved = startX != From.X || startZ != From.Z;

    int startCellX = 0, startCellZ = 0, goalCellX = 0, goalCellZ = 0;
    Grid.FindCell(startX, startZ, startCellX, startCellZ);
    Grid.FindCell(goalX, goalZ, goalCellX, goalCellZ);
    const int width = Grid.GetWidth();
    const std::int32_t goalCell = goalCellZ * width + goalCellX;
    const std::int32_t endCell = FindCellPath(Grid, startCellZ * width + startCellX, goalCell);
    if (endCell != goalCell)
    {
        // Unreachable: end in the middle of the reachable cell nearest to the goal.
        goalX = Grid.GetCellCentreX(endCell % width);
        goalZ = Grid.GetCellCentreZ(endCell / width);
    }

    // The start, its cell's centre, the cells where the path turns, the goal cell's centre and the
    // goal: consecutive points are in clear line by construction. Then the legs are pulled tight:
    // from each anchor, run on to the furthest point still in clear line.
    const auto cellCentre = [&](std::int32_t cell)
    { return Vec3D(Grid.GetCellCentreX(cell % width), 0.0, Grid.GetCellCentreZ(cell / width)); };
    const auto stepOf = [&](std::size_t i)
    {
        return std::make_pair(CellPath[i] % width - CellPath[i - 1] % width,
                              CellPath[i] / width - CellPath[i - 1] / width);
    };
    Corners.clear();
    Corners.emplace_back(startX, 0.0, startZ);
    Corners.push_back(cellCentre(CellPath.front()));
    for (std::size_t i = 1; i + 1 < CellPath.size(); ++i)
        if (stepOf(i) != stepOf(i + 1))
            Corners.push_back(cellCentre(CellPath[i]));
    if (CellPath.size() > 1)
        Corners.push_back(cellCentre(CellPath.back()));
    Corners.emplace_back(goalX, 0.0, goalZ);

    std::vector<Vec3D> route;
    if (bStartMoved)
        route.push_back(Corners.front());
    std::size_t anchor = 0;
    while (anchor + 1 < Corners.size())
    {
        std::size_t next = anchor + 1;
        while (next + 1 < Corners.size() && HasClearLine(Grid, Corners[anchor].X, Corners[anchor].Z,
                                                         Corners[next + 1].X, Corners[next + 1].Z))
            ++next;
        route.push_back(Corners[next]);
        anchor = next;
    }
    for (Vec3D& point : route)
        point.Y = Map.GetTerrainHeight(static_cast<float>(point.X), static_cast<float>(point.Z));
    Route = std::move(route);
    return true;
}
