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

constexpr std::size_t Unlimited = static_cast<std::size_t>(-1);

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

void RoutePlanner::StartSearch(const DriveabilityGrid& Grid, std::int32_t FromCell, std::int32_t ToCell,
                               std::size_t Limit)
{
    const int width = Grid.GetWidth();
    PrepareBuffers(static_cast<std::size_t>(width) * Grid.GetHeight());
    const std::uint32_t startEstimate =
        RouteStepCost::Estimate(FromCell % width, FromCell / width, ToCell % width, ToCell / width);
    CostSoFar[FromCell] = 0u;
    Parent[FromCell] = -1;
    VisitStamp[FromCell] = CurrentStamp;
    OpenHeap.push_back({startEstimate, startEstimate, FromCell});
    SearchGoal = ToCell;
    NearestCell = FromCell;
    NearestEstimate = startEstimate;
    Expansions = 0;
    MaxExpansions = Limit;
    StopEstimate = 0;
}

std::int32_t RoutePlanner::ResumeSearch(const DriveabilityGrid& Grid, std::size_t& CellBudget)
{
    const int width = Grid.GetWidth();
    const int goalX = SearchGoal % width, goalZ = SearchGoal / width;
    const auto heapOrder = [](const OpenEntry& a, const OpenEntry& b)
    { return IsWorseEntry(a.TotalCost, a.EstimateCost, b.TotalCost, b.EstimateCost); };
    while (!OpenHeap.empty())
    {
        if (CellBudget == 0)
            return SearchPaused;
        --CellBudget;
        std::pop_heap(OpenHeap.begin(), OpenHeap.end(), heapOrder);
        const OpenEntry entry = OpenHeap.back();
        OpenHeap.pop_back();
        const std::int32_t cell = entry.Cell;
        if (ClosedStamp[cell] == CurrentStamp)
            continue; // a stale entry: the cell was closed through a cheaper one
        ClosedStamp[cell] = CurrentStamp;
        if (cell == SearchGoal)
            return SearchGoal;
        if (++Expansions > MaxExpansions)
            return SearchGaveUp;
        if (entry.EstimateCost < NearestEstimate)
        {
            NearestEstimate = entry.EstimateCost;
            NearestCell = cell;
        }
        // The rest of the region can't come nearer: the cell and its parents are final.
        if (entry.EstimateCost == StopEstimate)
            return NearestCell;
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
    return NearestCell;
}

void RoutePlanner::LabelRegions(const DriveabilityGrid& Grid)
{
    const int width = Grid.GetWidth();
    const std::size_t cellCount = static_cast<std::size_t>(width) * Grid.GetHeight();
    if (RegionOf.size() == cellCount && RegionRevision == Grid.GetRevision())
        return;
    RegionOf.assign(cellCount, -1);
    RegionCells.clear();
    RegionStart.clear();
    for (std::size_t seed = 0; seed < cellCount; ++seed)
    {
        const std::int32_t seedCell = static_cast<std::int32_t>(seed);
        if (RegionOf[seed] >= 0 || !Grid.IsCellDriveable(seedCell % width, seedCell / width))
            continue;
        const std::int32_t region = static_cast<std::int32_t>(RegionStart.size());
        RegionStart.push_back(RegionCells.size());
        RegionOf[seed] = region;
        RegionCells.push_back(seedCell);
        // The region's own list is the flood fill's queue.
        for (std::size_t i = RegionStart.back(); i < RegionCells.size(); ++i)
        {
            const int x = RegionCells[i] % width, z = RegionCells[i] / width;
            for (int dir = 0; dir < 4; ++dir) // the straight steps join whatever a diagonal joins
            {
                if (!RouteStepCost::CanStep(Grid, x, z, dir))
                    continue;
                const std::int32_t next =
                    (z + RouteStepCost::StepZ[dir]) * width + x + RouteStepCost::StepX[dir];
                if (RegionOf[next] >= 0)
                    continue;
                RegionOf[next] = region;
                RegionCells.push_back(next);
            }
        }
    }
    RegionStart.push_back(RegionCells.size());
    RegionRevision = Grid.GetRevision();
}

std::uint32_t RoutePlanner::FindNearestRegionEstimate(const DriveabilityGrid& Grid, std::int32_t FromCell,
                                                      std::int32_t ToCell)
{
    LabelRegions(Grid);
    const std::int32_t region = RegionOf[static_cast<std::size_t>(FromCell)];
    if (region < 0)
        return 0; // a start on steep ground: search the whole way
    const int width = Grid.GetWidth(), toX = ToCell % width, toZ = ToCell / width;
    std::uint32_t nearest = RouteStepCost::Unreached;
    for (std::size_t i = RegionStart[region]; i < RegionStart[region + 1]; ++i)
        nearest = std::min(nearest,
                           RouteStepCost::Estimate(RegionCells[i] % width, RegionCells[i] / width, toX, toZ));
    return nearest;
}

const GoalDistanceField* RoutePlanner::FindGoalField(const DriveabilityGrid& Grid)
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

void RoutePlanner::StartGoalField(const DriveabilityGrid& Grid)
{
    if (GoalFields.size() < MaxGoalFields)
    {
        BuildingField = GoalFields.size();
        GoalFields.emplace_back();
    }
    else
    {
        const auto leastRecent = std::min_element(GoalFields.begin(), GoalFields.end(),
                                                  [](const CachedField& a, const CachedField& b)
                                                  { return a.LastUse < b.LastUse; });
        BuildingField = static_cast<std::size_t>(leastRecent - GoalFields.begin());
    }
    CachedField& slot = GoalFields[BuildingField];
    slot.Field.BeginBuild(Grid, GoalCell);
    slot.LastUse = ++FieldUseCounter;
}

void RoutePlanner::AppendSearchPath(std::int32_t LastCell)
{
    const std::size_t first = CellPath.size();
    for (std::int32_t cell = LastCell; cell >= 0; cell = Parent[cell])
        CellPath.push_back(cell);
    std::reverse(CellPath.begin() + static_cast<std::ptrdiff_t>(first), CellPath.end());
}

std::int32_t RoutePlanner::DescendField(const DriveabilityGrid& Grid, const GoalDistanceField& Field,
                                        std::uint32_t StopCost)
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

bool RoutePlanner::ConnectsRequest(const GoalDistanceField& Field) const
{
    // A field guides only when it reaches both ends: otherwise they may lie in different regions.
    return Field.GetCost(GoalCell) != RouteStepCost::Unreached &&
           Field.GetCost(StartCell) != RouteStepCost::Unreached;
}

void RoutePlanner::FollowField(const DriveabilityGrid& Grid, const GoalDistanceField& Field)
{
    const bool bOwnField = Field.GetSourceCell() == GoalCell;
    const std::uint32_t stopCost = bOwnField ? 0u : LocalLegCells * RouteStepCost::Straight;
    const std::int32_t nearGoal = DescendField(Grid, Field, stopCost);
    if (nearGoal == GoalCell)
    {
        EndCell = GoalCell;
        Stage = PlanStage::Finish;
        return;
    }
    CellPath.pop_back(); // the last leg's search starts at this cell again
    StartSearch(Grid, nearGoal, GoalCell, Unlimited);
    Stage = PlanStage::Search;
}

bool RoutePlanner::RunStages(const DriveabilityGrid& Grid, std::size_t& CellBudget)
{
    while (Stage != PlanStage::Finish)
    {
        if (Stage == PlanStage::FieldBuild)
        {
            GoalDistanceField& field = GoalFields[BuildingField].Field;
            if (!field.ContinueBuild(Grid, CellBudget))
                return false;
            if (ConnectsRequest(field))
            {
                FollowField(Grid, field);
                continue;
            }
            // Unreachable: search for the nearest cell, which ends the search once found.
            StartSearch(Grid, StartCell, GoalCell, Unlimited);
            StopEstimate = FindNearestRegionEstimate(Grid, StartCell, GoalCell);
            Stage = PlanStage::Search;
            continue;
        }
        const std::int32_t cell = ResumeSearch(Grid, CellBudget);
        if (cell == SearchPaused)
            return false;
        if (cell == SearchGaveUp)
        {
            // Only the first search has a limit: a goal field guides the route instead.
            StartGoalField(Grid);
            Stage = PlanStage::FieldBuild;
            continue;
        }
        AppendSearchPath(cell);
        EndCell = cell;
        Stage = PlanStage::Finish;
    }
    return true;
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

bool RoutePlanner::BeginRoute(const DriveabilityGrid& Grid, const Vec3D& From, const Vec3D& To)
{
    CancelRoute();
    if (!Grid.IsBuilt() || !IsFinite(From) || !IsFinite(To) ||
        !Grid.FindNearestDriveable(From.X, From.Z, StartX, StartZ) ||
        !Grid.FindNearestDriveable(To.X, To.Z, GoalX, GoalZ))
        return false;
    bStartMoved = StartX != From.X || StartZ != From.Z;
    RequestFrom = From;
    RequestTo = To;
    RequestGridRevision = Grid.GetRevision();

    int startCellX = 0, startCellZ = 0, goalCellX = 0, goalCellZ = 0;
    Grid.FindCell(StartX, StartZ, startCellX, startCellZ);
    Grid.FindCell(GoalX, GoalZ, goalCellX, goalCellZ);
    const int width = Grid.GetWidth();
    StartCell = startCellZ * width + startCellX;
    GoalCell = goalCellZ * width + goalCellX;
    CellPath.clear();
    if (const GoalDistanceField* pField = FindGoalField(Grid); pField && ConnectsRequest(*pField))
    {
        FollowField(Grid, *pField);
        return true;
    }
    // Open ground takes a plain search; one that runs long is redone down a goal field.
    const std::uint32_t straight = RouteStepCost::Estimate(startCellX, startCellZ, goalCellX, goalCellZ);
    StartSearch(Grid, StartCell, GoalCell,
                static_cast<std::size_t>(straight / RouteStepCost::Straight) * ExpansionsPerCellOfDistance +
                    ExpansionAllowance);
    Stage = PlanStage::Search;
    return true;
}

bool RoutePlanner::ContinueRoute(const DriveabilityGrid& Grid, const SpringMapRenderer& Map,
                                 std::size_t& CellBudget, std::vector<Vec3D>& Route)
{
    if (Stage == PlanStage::Idle || !RunStages(Grid, CellBudget))
        return false;
    WriteRoute(Grid, Map, Route);
    Stage = PlanStage::Idle;
    return true;
}

void RoutePlanner::CancelRoute()
{
    // A half-built field must not guide a later route.
    if (Stage == PlanStage::FieldBuild)
        GoalFields.erase(GoalFields.begin() + static_cast<std::ptrdiff_t>(BuildingField));
    Stage = PlanStage::Idle;
}

bool RoutePlanner::IsPlanning(const DriveabilityGrid& Grid, const Vec3D& From, const Vec3D& To) const
{
    return Stage != PlanStage::Idle && Grid.GetRevision() == RequestGridRevision && From.X == RequestFrom.X &&
           From.Z == RequestFrom.Z && To.X == RequestTo.X && To.Z == RequestTo.Z;
}

bool RoutePlanner::PlanRoute(const DriveabilityGrid& Grid, const SpringMapRenderer& Map, const Vec3D& From,
                             const Vec3D& To, std::vector<Vec3D>& Route)
{
    std::size_t unlimited = Unlimited;
    return BeginRoute(Grid, From, To) && ContinueRoute(Grid, Map, unlimited, Route);
}

void RoutePlanner::WriteRoute(const DriveabilityGrid& Grid, const SpringMapRenderer& Map,
                              std::vector<Vec3D>& Route)
{
    const int width = Grid.GetWidth();
    double goalX = GoalX, goalZ = GoalZ;
    if (EndCell != GoalCell)
    {
        // Unreachable: end in the middle of the reachable cell nearest to the goal.
        goalX = Grid.GetCellCentreX(EndCell % width);
        goalZ = Grid.GetCellCentreZ(EndCell / width);
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
    Corners.emplace_back(StartX, 0.0, StartZ);
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
}
