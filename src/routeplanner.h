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
    // when the grid is empty or the input is not finite. Drops an unfinished sliced route.
    bool PlanRoute(const DriveabilityGrid& Grid, const SpringMapRenderer& Map, const Vec3D& From,
                   const Vec3D& To, std::vector<Vec3D>& Route);

    // The same route in slices, so a long search can be spread over frames. BeginRoute takes the
    // request (false, starting nothing, where PlanRoute would fail); ContinueRoute works on it until
    // the route is written to Route (true) or CellBudget, counted down per cell searched, runs out.
    // The grid must stay the same in between. Slicing never changes the route.
    bool BeginRoute(const DriveabilityGrid& Grid, const Vec3D& From, const Vec3D& To);
    bool ContinueRoute(const DriveabilityGrid& Grid, const SpringMapRenderer& Map, std::size_t& CellBudget,
                       std::vector<Vec3D>& Route);
    void CancelRoute();
    bool IsPlanning() const { return Stage != PlanStage::Idle; }
    // True while a begun route for exactly this request on this grid revision is unfinished.
    bool IsPlanning(const DriveabilityGrid& Grid, const Vec3D& From, const Vec3D& To) const;

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

    // The steps of a route: a search on the straight-line estimate; when it runs long, a goal field
    // (then down the field and a search for the last leg, or, when the field does not reach the
    // start, a search for the reachable cell nearest to the goal); then the path pulled tight.
    enum class PlanStage
    {
        Idle,
        Search,
        FieldBuild,
        Finish
    };
    // Search results besides a cell: the expansion limit ran out, or the slice did.
    static constexpr std::int32_t SearchGaveUp = -1;
    static constexpr std::int32_t SearchPaused = -2;

    // Starts an A* from FromCell towards ToCell that gives up after Limit expansions.
    void StartSearch(const DriveabilityGrid& Grid, std::int32_t FromCell, std::int32_t ToCell,
                     std::size_t Limit);
    // Runs the search on; returns the goal cell or, when unreachable, the explored cell nearest to
    // it, or SearchGaveUp, or SearchPaused when CellBudget ran out. Parents of the visited cells are
    // left in Parent.
    std::int32_t ResumeSearch(const DriveabilityGrid& Grid, std::size_t& CellBudget);
    // Runs the stages on from the current one; false when CellBudget ran out first.
    bool RunStages(const DriveabilityGrid& Grid, std::size_t& CellBudget);
    // Starts following Field towards the goal: down the field to the goal's surroundings (all the way
    // when the field is the goal's own), then a short search for the last leg.
    void FollowField(const DriveabilityGrid& Grid, const GoalDistanceField& Field);
    bool ConnectsRequest(const GoalDistanceField& Field) const;
    // Appends to CellPath the cells down Field from StartCell, stopping at the field's source or
    // within StopCost of GoalCell; returns the last cell.
    std::int32_t DescendField(const DriveabilityGrid& Grid, const GoalDistanceField& Field,
                              std::uint32_t StopCost);
    // Appends to CellPath the last search's path to LastCell.
    void AppendSearchPath(std::int32_t LastCell);
    // The route from CellPath: corners pulled tight, heights from the map.
    void WriteRoute(const DriveabilityGrid& Grid, const SpringMapRenderer& Map, std::vector<Vec3D>& Route);
    // Labels the grid's drivable regions (cells joined by straight steps) once per grid revision.
    void LabelRegions(const DriveabilityGrid& Grid);
    // The lowest estimate to ToCell over the cells of FromCell's region: a search from FromCell that
    // can't reach ToCell has found its nearest cell when it expands one with this estimate.
    std::uint32_t FindNearestRegionEstimate(const DriveabilityGrid& Grid, std::int32_t FromCell,
                                            std::int32_t ToCell);
    // A cached field built on a source near GoalCell, or null.
    const GoalDistanceField* FindGoalField(const DriveabilityGrid& Grid);
    // Starts a field from GoalCell in the least recently used slot.
    void StartGoalField(const DriveabilityGrid& Grid);
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
    std::size_t BuildingField = 0; // the GoalFields slot FieldBuild fills

    // The route being planned.
    PlanStage Stage = PlanStage::Idle;
    Vec3D RequestFrom, RequestTo;
    std::uint32_t RequestGridRevision = 0;
    double StartX = 0.0, StartZ = 0.0, GoalX = 0.0, GoalZ = 0.0; // on drivable ground
    bool bStartMoved = false;
    std::int32_t StartCell = 0, GoalCell = 0, EndCell = 0;

    // The search being run.
    std::int32_t SearchGoal = 0;
    std::int32_t NearestCell = 0;
    std::uint32_t NearestEstimate = 0;
    std::size_t Expansions = 0, MaxExpansions = 0;
    std::uint32_t StopEstimate = 0; // a cell expanded with this estimate ends the search; 0: none

    // Drivable regions: each one's cells listed together in BFS order.
    std::vector<std::int32_t> RegionOf; // per cell; -1 for steep cells
    std::vector<std::int32_t> RegionCells;
    std::vector<std::size_t> RegionStart; // where each region's cells begin, and the end
    std::uint32_t RegionRevision = 0;
};
