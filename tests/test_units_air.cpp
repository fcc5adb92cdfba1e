// Aircraft: move and patrol orders (replace and append), flight with a bounded turn rate, speed
// and climb, patrols that loop, and points inside the turning circle.
#include <cmath>
#include <memory>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "airsim.h"

namespace
{
constexpr double StepSec = 1.0 / 60.0;

AirUnit MakeCruisingAircraft(double x, double z)
{
    AirUnit unit;
    unit.Aircraft.Position = Vec3D(x, 300, z);
    unit.Flight.SpeedPerSec = unit.Aircraft.CruiseSpeedPerSec;
    return unit;
}

std::vector<double> Xs(const std::vector<Vec3D>& points)
{
    std::vector<double> xs;
    for (const Vec3D& point : points)
        xs.push_back(point.X);
    return xs;
}

TEST(AirOrders, MoveAndPatrolReplaceOrAppend)
{
    using enum AirCommandType;
    // clang-format off
    const struct { AirCommandType firstType, secondType; bool bAppend; AirCommandType type; std::vector<double> pathX; bool bLoop; } cases[] = {
        {Move, Move, false, Move, {30}, false}, {Move, Move, true, Move, {10, 20, 30}, false},
        {Patrol, Patrol, false, Patrol, {30}, true}, {Patrol, Patrol, true, Patrol, {10, 30}, true},
        {Patrol, Move, false, Move, {30}, false}, {Patrol, Move, true, Patrol, {10, 30}, true},
        {Move, Patrol, false, Patrol, {30}, true}, {Move, Patrol, true, Move, {10, 20, 30}, false},
    };
    // clang-format on
    const auto submit = [](AirUnit& unit, AirCommandType type, std::vector<Vec3D> points, bool bAppend)
    {
        if (type == AirCommandType::Move)
            return SubmitAirMoveCommand(unit, std::move(points), bAppend);
        return SubmitAirPatrolCommand(unit, points.back(), bAppend, 1.0f);
    };
    for (const auto& c : cases)
    {
        const auto index = &c - cases;
        AirUnit unit;
        // A move route of two points, or a patrol of one.
        std::vector<Vec3D> first{Vec3D(10, 300, 0), Vec3D(20, 300, 0)};
        if (c.firstType == AirCommandType::Patrol)
            first.pop_back();
        ASSERT_TRUE(submit(unit, c.firstType, first, false)) << "case " << index;
        ASSERT_TRUE(submit(unit, c.secondType, {Vec3D(30, 300, 0)}, c.bAppend)) << "case " << index;
        EXPECT_EQ(std::tuple(unit.ActiveCommand.Type, Xs(unit.Flight.Navigator.GetPath()),
                             Xs(unit.ActiveCommand.Points), unit.Flight.Navigator.IsLooping(),
                             unit.bHasActiveOrder, unit.ActiveOrderDestination.X),
                  std::tuple(c.type, c.pathX, c.pathX, c.bLoop, true, 30.0))
            << "case " << index;
    }
}

TEST(AirOrders, BadOrdersChangeNothing)
{
    AirUnit unit;
    ASSERT_TRUE(SubmitAirMoveCommand(unit, {Vec3D(10, 300, 10)}, false));
    EXPECT_FALSE(SubmitAirMoveCommand(unit, {}, false));
    EXPECT_FALSE(SubmitAirMoveCommand(unit, {Vec3D(1, 1, 1), Vec3D(NAN, 1, 1)}, true));
    for (float scale : {0.0f, -1.0f, NAN, INFINITY})
        EXPECT_FALSE(SubmitAirPatrolCommand(unit, Vec3D(5, 300, 5), false, scale)) << "scale " << scale;
    EXPECT_FALSE(SubmitAirPatrolCommand(unit, Vec3D(5, NAN, 5), false, 1.0f));
    EXPECT_EQ(unit.ActiveCommand.Type, AirCommandType::Move);
    EXPECT_EQ(Xs(unit.Flight.Navigator.GetPath()), std::vector<double>{10});
    EXPECT_FLOAT_EQ(unit.Flight.PatrolSpeedScale, 1.0f);
}

TEST(AirFlight, MoveRouteIsFlownInOrderAndEndsTheOrder)
{
    AirSimSystem sim;
    AirUnit unit = MakeCruisingAircraft(0, 0);
    ASSERT_TRUE(SubmitAirMoveCommand(unit, {Vec3D(0, 300, 1500), Vec3D(1500, 300, 1500)}, false));
    std::size_t lastIndex = 0;
    double closestToFirst = INFINITY;
    int seconds = 0;
    for (int step = 0; step < 60 * 40 && unit.bHasActiveOrder; ++step)
    {
        sim.StepUnit(unit, StepSec);
        if (!unit.bHasActiveOrder)
            break; // done: the navigator was cleared
        const std::size_t index = unit.Flight.Navigator.GetCurrentIndex();
        ASSERT_GE(index, lastIndex) << "step " << step;
        lastIndex = index;
        if (index == 0)
            closestToFirst = std::min(closestToFirst,
                                      std::hypot(unit.Aircraft.Position.X, unit.Aircraft.Position.Z - 1500));
        seconds = step / 60;
    }
    EXPECT_TRUE(!unit.bHasActiveOrder && unit.ActiveCommand.Type == AirCommandType::None &&
                unit.ActiveCommand.Points.empty())
        << "done after " << seconds << " s";
    // Reached within the turning radius (220 / 60 degrees per second = 210) plus the margin, and
    // the order ends there after at most one more step of flight.
    EXPECT_LT(closestToFirst, 210.1 * 1.05 + 220.0 * StepSec);
    EXPECT_LE(std::hypot(unit.Aircraft.Position.X - 1500, unit.Aircraft.Position.Z - 1500),
              210.1 * 1.05 + 220.0 * StepSec);
    EXPECT_EQ(unit.Aircraft.Position.Y, 300.0);

    // Appending to a finished order starts a new one.
    ASSERT_TRUE(SubmitAirMoveCommand(unit, {Vec3D(0, 300, 0)}, true));
    EXPECT_EQ(std::tuple(unit.Flight.Navigator.GetPath().size(), unit.Flight.Navigator.GetCurrentIndex()),
              std::tuple(1u, 0u));
}

TEST(AirFlight, PatrolLoopsBackToItsFirstPoint)
{
    AirSimSystem sim;
    AirUnit unit = MakeCruisingAircraft(0, 0);
    ASSERT_TRUE(SubmitAirPatrolCommand(unit, Vec3D(0, 300, 1500), false, 1.0f));
    ASSERT_TRUE(SubmitAirPatrolCommand(unit, Vec3D(1500, 300, 1500), true, 1.0f));
    ASSERT_TRUE(SubmitAirPatrolCommand(unit, Vec3D(1500, 300, 0), true, 1.0f));
    std::vector<std::size_t> visited{unit.Flight.Navigator.GetCurrentIndex()};
    for (int step = 0; step < 60 * 90; ++step)
    {
        sim.StepUnit(unit, StepSec);
        if (unit.Flight.Navigator.GetCurrentIndex() != visited.back())
            visited.push_back(unit.Flight.Navigator.GetCurrentIndex());
    }
    ASSERT_GE(visited.size(), 7u) << "two full laps in 90 s";
    for (std::size_t i = 1; i < visited.size(); ++i)
        EXPECT_EQ(visited[i], (visited[i - 1] + 1) % 3) << "change " << i;
    EXPECT_TRUE(unit.bHasActiveOrder && unit.ActiveCommand.Type == AirCommandType::Patrol);
}

} // namespace
