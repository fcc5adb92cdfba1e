// Box and click selection: the click threshold, pick radii and ties, aircraft at flying height, the
// band against a brute-force projection, boundaries, messages, failed picks and the rubber band.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "order_test_view.h"

namespace
{
using ordertest::AddAircraft;
using ordertest::AddVehicle;
using ordertest::LookStraightDown;
using ordertest::ProjectToLocal;
using ordertest::SelectVehicles;

const std::string SelectedSuffix = " unit(s) selected. Right click to move.";

Vec3D GroundUnder(const TestApp& app, double x01, double y01)
{
    Vec3D world;
    EXPECT_TRUE(app.View.ScreenToSpringMapWorld(x01, y01, world)) << x01 << ", " << y01;
    return world;
}

std::vector<bool> SelectedFlags(std::initializer_list<int> indices, std::size_t count)
{
    std::vector<bool> flags(count, false);
    for (int i : indices)
        flags[static_cast<std::size_t>(i)] = true;
    return flags;
}

TEST(Selection, SmallGesturesOnBothAxesAreClicksAtTheFirstCorner)
{
    // clang-format off
    struct Case { const char* Name; double Dx, Dy; bool bExpectClick; } cases[] = {
        {"0.011 by 0.3", 0.011, 0.3, false},
        {"0.011 by 0.011", 0.011, 0.011, true},
        {"reversed 0.011 by 0.011", -0.011, -0.011, true},
        {"zero size", 0.0, 0.0, true},
        {"0.012 wide", 0.012, 0.0, false},
        {"0.012 high", 0.0, -0.012, false},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        LookStraightDown(app);
        const double x1 = 0.4, y1 = 0.4;
        const Vec3D corner = GroundUnder(app, x1, y1);
        // Vehicle 0 sits just up and left of the first corner: a click hits it, no band holds it.
        AddVehicle(app, corner.X - 5.0, corner.Z - 5.0);
        // Vehicle 1 lies inside the 0.011 by 0.3 band, far from the corner.
        const Vec3D inside = GroundUnder(app, x1 + 0.0055, y1 + 0.15);
        AddVehicle(app, inside.X, inside.Z);

        app.View.SelectVehiclesInScreenRect(x1, y1, x1 + c.Dx, y1 + c.Dy, false);
        const bool bBandHoldsVehicle1 = c.Dx > 0.0 && c.Dy > 0.1;
        const std::vector<bool> expected = {c.bExpectClick, bBandHoldsVehicle1};
        EXPECT_EQ(app.View.VehicleSelectionMask, expected) << c.Name;
        const bool bAny = c.bExpectClick || bBandHoldsVehicle1;
        ASSERT_EQ(app.Messages().size(), 1u) << c.Name;
        EXPECT_EQ(app.Messages().back(), bAny ? "1" + SelectedSuffix : "No units selected.") << c.Name;
    }
}

TEST(Selection, ClickPickRadiusIsRadiusTimes1Point45WithAFloorOf28)
{
    // clang-format off
    struct Case { float Radius; double Distance; bool bExpected; } cases[] = {
        {10.0f, 27.99, true},  {10.0f, 28.01, false}, {0.0f, 27.99, true},   {40.0f, 57.99, true},
        {40.0f, 58.01, false}, {20.0f, 28.99, true},  {20.0f, 29.01, false},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        LookStraightDown(app);
        const Vec3D point = GroundUnder(app, 0.5, 0.5);
        AddVehicle(app, point.X + c.Distance * 0.6, point.Z + c.Distance * 0.8, c.Radius);
        app.View.SelectVehiclesInScreenRect(0.5, 0.5, 0.5, 0.5, false);
        EXPECT_EQ(app.View.VehicleSelectionMask[0], c.bExpected)
            << "radius " << c.Radius << " distance " << c.Distance;
        EXPECT_EQ(app.View.LastSelectedVehicleIndex, c.bExpected ? 0 : -1) << "radius " << c.Radius;
    }
    // Almost along X: the quick squared test must not reject what the exact distance accepts.
    TestApp app;
    LookStraightDown(app);
    const Vec3D point = GroundUnder(app, 0.5, 0.5);
    AddVehicle(app, point.X + 27.99, point.Z + 0.1, 10.0f);
    app.View.SelectVehiclesInScreenRect(0.5, 0.5, 0.5, 0.5, false);
    EXPECT_TRUE(app.View.VehicleSelectionMask[0]);
}

TEST(Selection, ClickTakesTheNearestUnitWithTiesToTheEarlierVehicle)
{
    struct Case
    {
        const char* Name;
        std::vector<double> VehicleOffsets; // along +X from the click point
        double AirOffset;                   // negative: no aircraft
        std::vector<bool> ExpectedMask;
        bool bExpectAir;
    } cases[] = {
        {"nearer of two", {20.0, 12.0}, -1.0, {false, true}, false},
        {"nearer first", {12.0, 20.0}, -1.0, {true, false}, false},
        {"tie: earlier wins", {10.0, -10.0}, -1.0, {true, false}, false},
        {"tie reversed: earlier wins", {-10.0, 10.0}, -1.0, {true, false}, false},
        {"vehicle 20 beats aircraft 30", {20.0}, 30.0, {true}, false},
        {"aircraft 10 beats vehicle 20", {20.0}, 10.0, {false}, true},
        {"aircraft beyond 48", {}, 48.5, {}, false},
        {"aircraft within 48", {}, 47.5, {}, true},
    };
    for (const Case& c : cases)
    {
        TestApp app;
        LookStraightDown(app);
        const Vec3D point = GroundUnder(app, 0.5, 0.5);
        for (double offset : c.VehicleOffsets)
            AddVehicle(app, point.X + offset, point.Z, 8.0f);
        if (c.AirOffset >= 0.0)
        {
            AddAircraft(app, point.X, 300.0, point.Z - c.AirOffset);
            AddAircraft(app, point.X + 500.0, 300.0, point.Z); // far: the group is selected as one
        }
        app.View.SelectVehiclesInScreenRect(0.5, 0.5, 0.5, 0.5, false);
        EXPECT_EQ(app.View.VehicleSelectionMask, c.ExpectedMask) << c.Name;
        EXPECT_EQ(app.View.bAirUnitsSelected, c.bExpectAir) << c.Name;
        const bool bAny = c.bExpectAir || std::find(c.ExpectedMask.begin(), c.ExpectedMask.end(), true) !=
                                              c.ExpectedMask.end();
        EXPECT_EQ(app.Messages().back(), bAny ? "1" + SelectedSuffix : "No units selected.") << c.Name;
    }

    // An exact tie between a vehicle and an aircraft (flying at ground height, so both are measured
    // from the same point) goes to the vehicle.
    TestApp app;
    LookStraightDown(app);
    const Vec3D point = GroundUnder(app, 0.5, 0.5);
    AddVehicle(app, point.X + 20.0, point.Z - 7.0);
    AddAircraft(app, point.X + 20.0, 0.0, point.Z - 7.0);
    app.View.SelectVehiclesInScreenRect(0.5, 0.5, 0.5, 0.5, false);
    EXPECT_EQ(app.View.VehicleSelectionMask, std::vector<bool>({true}));
    EXPECT_FALSE(app.View.bAirUnitsSelected);
}

TEST(Selection, AircraftArePickedAtTheFirstAircraftsHeight)
{
    // Looking down at 45 degrees from the +Z side, the centre ray meets the plane at height 300
    // 300 units nearer the camera than the ground point (512, 512).
    // clang-format off
    struct Case { const char* Name; bool bLeadingEmpty; double FirstHeight; bool bExpectAir; } cases[] = {
        {"first aircraft at 300", false, 300.0, true},
        {"empty entry before it", true, 300.0, true},
        {"first aircraft on the ground", false, 0.0, false},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        for (bool bBand : {false, true})
        {
            TestApp app;
            LookStraightDown(app);
            app.View.CameraPitchDeg = 45.0;
            AddVehicle(app, 512.0, 812.0); // on the ground under the air point: outside click and band
            if (c.bLeadingEmpty)
                app.View.AirUnits.push_back(nullptr);
            AddAircraft(app, 5000.0, c.FirstHeight, 5000.0);
            AddAircraft(app, 512.0, 300.0, 812.0);
            if (bBand)
                app.View.SelectVehiclesInScreenRect(0.45, 0.45, 0.55, 0.55, false);
            else
                app.View.SelectVehiclesInScreenRect(0.5, 0.5, 0.5, 0.5, false);
            EXPECT_EQ(app.View.bAirUnitsSelected, c.bExpectAir) << c.Name << (bBand ? " band" : " click");
            EXPECT_EQ(app.View.VehicleSelectionMask, std::vector<bool>({false}))
                << c.Name << (bBand ? " band" : " click");
        }
    }
}

TEST(Selection, CountsTheWholeSelectionWithTheAircraftAsOneUnit)
{
    TestApp app;
    LookStraightDown(app);
    const Vec3D centre = GroundUnder(app, 0.5, 0.5);
    AddVehicle(app, centre.X - 20.0, centre.Z);
    AddVehicle(app, centre.X, centre.Z + 10.0);
    AddVehicle(app, centre.X + 20.0, centre.Z);
    AddVehicle(app, centre.X + 300.0, centre.Z); // outside the band
    for (int i = 0; i < 3; ++i)
        AddAircraft(app, centre.X + 5.0 * i, 250.0, centre.Z - 5.0);

    app.View.SelectVehiclesInScreenRect(0.45, 0.45, 0.55, 0.55, false);
    EXPECT_EQ(app.Messages().back(), "4" + SelectedSuffix) << "three vehicles and the aircraft group";
    EXPECT_TRUE(app.View.bAirUnitsSelected);

    // Shift-click on bare ground keeps everything; a plain one drops everything.
    app.View.SelectVehiclesInScreenRect(0.1, 0.1, 0.1, 0.1, true);
    EXPECT_EQ(app.Messages().back(), "4" + SelectedSuffix);
    EXPECT_EQ(app.View.VehicleSelectionMask, SelectedFlags({0, 1, 2}, 4));
    app.View.SelectVehiclesInScreenRect(0.1, 0.1, 0.1, 0.1, false);
    EXPECT_EQ(app.Messages().back(), "No units selected.");
    EXPECT_EQ(app.View.VehicleSelectionMask, SelectedFlags({}, 4));
    EXPECT_FALSE(app.View.bAirUnitsSelected);

    // Shift-click adds one vehicle to two selected: the count is 3.
    app.View.VehicleSelectionMask = SelectedFlags({0, 2}, 4);
    double x01 = 0.0, y01 = 0.0;
    ASSERT_TRUE(ProjectToLocal(app.View, centre.X + 300.0, 0.0, centre.Z, x01, y01));
    app.View.SelectVehiclesInScreenRect(x01, y01, x01, y01, true);
    EXPECT_EQ(app.View.VehicleSelectionMask, SelectedFlags({0, 2, 3}, 4));
    EXPECT_EQ(app.Messages().back(), "3" + SelectedSuffix);
    EXPECT_EQ(app.Messages().size(), 4u);
}

TEST(Selection, ReversedBandsSelectTheSameAndTheLastIndexIsTheHighestSelected)
{
    TestApp app;
    LookStraightDown(app);
    app.View.CameraPitchDeg = 60.0;
    app.View.CameraYawDeg = 25.0;
    // Nine vehicles on a line across the screen; the band takes 2, 5 and 7 only.
    const int inside[] = {2, 5, 7};
    for (int i = 0; i < 9; ++i)
    {
        const bool bInside = std::find(std::begin(inside), std::end(inside), i) != std::end(inside);
        const Vec3D where = GroundUnder(app, 0.1 + 0.09 * i, bInside ? 0.5 : 0.8);
        AddVehicle(app, where.X, where.Z);
    }
    const double x1 = 0.2, y1 = 0.4, x2 = 0.8, y2 = 0.6;
    const double corners[4][4] = {{x1, y1, x2, y2}, {x2, y2, x1, y1}, {x2, y1, x1, y2}, {x1, y2, x2, y1}};
    for (const auto& band : corners)
    {
        app.View.LastSelectedVehicleIndex = -1;
        app.View.SelectVehiclesInScreenRect(band[0], band[1], band[2], band[3], false);
        EXPECT_EQ(app.View.VehicleSelectionMask, SelectedFlags({2, 5, 7}, 9)) << band[0] << ", " << band[1];
        EXPECT_EQ(app.View.LastSelectedVehicleIndex, 7) << band[0] << ", " << band[1];
    }
}

TEST(Selection, VehiclesExactlyOnAnEdgeOfTheProjectedBandAreInside)
{
    // Seen from below (pitch -50, the eye under the ground plane) the projected band winds the
    // other way round; the inside test must not care.
    for (double pitchDeg : {50.0, -50.0})
    {
        TestApp app;
        LookStraightDown(app);
        app.View.CameraPitchDeg = pitchDeg;
        app.View.CameraYawDeg = 30.0;
        const double xs[4] = {0.3, 0.7, 0.7, 0.3};
        const double ys[4] = {0.35, 0.35, 0.65, 0.65};
        Vec3D corners[4];
        for (int k = 0; k < 4; ++k)
            corners[k] = GroundUnder(app, xs[k], ys[k]);
        // For each edge: its midpoint, and points 0.01 units either side of it along the outward normal.
        for (int e = 0; e < 4; ++e)
        {
            const Vec3D& a = corners[e];
            const Vec3D& b = corners[(e + 1) % 4];
            const double length = std::hypot(b.X - a.X, b.Z - a.Z);
            const double midX = (a.X + b.X) * 0.5, midZ = (a.Z + b.Z) * 0.5;
            const double centreX = (corners[0].X + corners[2].X) * 0.5,
                         centreZ = (corners[0].Z + corners[2].Z) * 0.5;
            double nx = (b.Z - a.Z) / length, nz = -(b.X - a.X) / length;
            if (nx * (midX - centreX) + nz * (midZ - centreZ) < 0.0)
            {
                nx = -nx;
                nz = -nz;
            }
            app.View.Vehicles.clear();
            AddVehicle(app, midX, midZ);
            AddVehicle(app, midX + nx * 0.01, midZ + nz * 0.01);
            AddVehicle(app, midX - nx * 0.01, midZ - nz * 0.01);
            AddVehicle(app, a.X, a.Z); // a corner itself
            // Within the tolerance (a cross product of about 1e-7) outside still counts; 1e-6 out does not.
            AddVehicle(app, midX + nx * 1e-9, midZ + nz * 1e-9);
            AddVehicle(app, midX + nx * 1e-6, midZ + nz * 1e-6);
            app.View.SelectVehiclesInScreenRect(0.3, 0.35, 0.7, 0.65, false);
            EXPECT_EQ(app.View.VehicleSelectionMask,
                      std::vector<bool>({true, false, true, true, true, false}))
                << "pitch " << pitchDeg << " edge " << e << " of length " << length;
        }
    }
}

TEST(Selection, BandMatchesABruteForceProjectionOverRandomBands)
{
    const unsigned seed = 4101u;
    std::printf("Selection random bands: seed %u\n", seed);
    std::mt19937 rng(seed);
    TestApp app;
    LookStraightDown(app, 600.0, 500.0, 900.0);
    app.View.CameraPitchDeg = 55.0;
    app.View.CameraYawDeg = -35.0;
    app.View.PanX = 40.0;
    app.View.PanY = -25.0;
    std::uniform_real_distribution<double> coordinate(-600.0, 1800.0);
    for (int i = 0; i < 600; ++i)
        AddVehicle(app, coordinate(rng), coordinate(rng));
    std::uniform_real_distribution<double> local(0.02, 0.98);

    int selectedTotal = 0;
    for (int trial = 0; trial < 300; ++trial)
    {
        const double x1 = local(rng), y1 = local(rng), x2 = local(rng), y2 = local(rng);
        if (std::abs(x2 - x1) < 0.012 && std::abs(y2 - y1) < 0.012)
            continue;
        app.View.SelectVehiclesInScreenRect(x1, y1, x2, y2, false);
        const double left = std::min(x1, x2), right = std::max(x1, x2);
        const double top = std::min(y1, y2), bottom = std::max(y1, y2);
        for (std::size_t i = 0; i < app.View.Vehicles.size(); ++i)
        {
            const Vec3D& position = app.View.Vehicles[i]->Position;
            double sx = 0.0, sy = 0.0;
            if (!ProjectToLocal(app.View, position.X, 0.0, position.Z, sx, sy))
            {
                EXPECT_FALSE(app.View.VehicleSelectionMask[i])
                    << "behind the eye: trial " << trial << " vehicle " << i;
                continue;
            }
            const double margin = std::min({sx - left, right - sx, sy - top, bottom - sy});
            if (std::abs(margin) < 1e-7)
                continue; // on the edge within rounding: either answer is right
            EXPECT_EQ(app.View.VehicleSelectionMask[i], margin > 0.0)
                << "seed " << seed << " trial " << trial << " vehicle " << i << " at " << sx << ", " << sy;
            selectedTotal += app.View.VehicleSelectionMask[i] ? 1 : 0;
        }
    }
    EXPECT_GT(selectedTotal, 1000) << "the bands should hold vehicles";
}

TEST(Selection, FailedPicksEndSilentlyAfterTheMaskWasResetOrCleared)
{
    struct Case
    {
        const char* Name;
        bool bMap;
        double PitchDeg; // 20: the top of the screen looks above the horizon
        double Y1;       // first corner's y
        bool bBand;
        std::vector<bool> Mask;
        bool bAdditive;
        std::vector<bool> ExpectedMask;
        bool bExpectAir;
    } cases[] = {
        {"no map, plain click", false, 90.0, 0.5, false, {true, false}, false, {false, false}, false},
        {"no map, additive click", false, 90.0, 0.5, false, {true, false}, true, {true, false}, true},
        {"no map, additive band, stale mask",
         false,
         90.0,
         0.2,
         true,
         {true, true, true},
         true,
         {false, false},
         true},
        {"sky click", true, 20.0, 0.0, false, {false, true}, false, {false, false}, false},
        {"band corner in the sky", true, 20.0, 0.0, true, {true, true}, false, {false, false}, false},
        {"band corner in the sky, additive", true, 20.0, 0.0, true, {true, false}, true, {true, false}, true},
    };
    for (const Case& c : cases)
    {
        TestApp app;
        LookStraightDown(app);
        app.View.CameraPitchDeg = c.PitchDeg;
        if (!c.bMap)
            app.View.SpringMap.Unload();
        AddVehicle(app, 512.0, 512.0);
        AddVehicle(app, 512.0, 700.0);
        AddAircraft(app, 512.0, 300.0, 512.0);
        app.View.VehicleSelectionMask = c.Mask;
        app.View.bAirUnitsSelected = true;
        app.View.SelectVehiclesInScreenRect(0.5, c.Y1, c.bBand ? 0.6 : 0.5, c.bBand ? 0.8 : c.Y1,
                                            c.bAdditive);
        EXPECT_EQ(app.View.VehicleSelectionMask, c.ExpectedMask) << c.Name;
        EXPECT_EQ(app.View.bAirUnitsSelected, c.bExpectAir) << c.Name;
        EXPECT_TRUE(app.Messages().empty()) << c.Name;
    }
}

TEST(Selection, ControlOffChangesNothingAndNoWindowStillSelects)
{
    TestApp app;
    LookStraightDown(app);
    AddVehicle(app, 512.0, 512.0);
    app.View.VehicleSelectionMask = {true, true, true};
    app.View.bAirUnitsSelected = true;
    app.View.bVehicleControl = false;
    app.View.SelectVehiclesInScreenRect(0.5, 0.5, 0.5, 0.5, false);
    EXPECT_EQ(app.View.VehicleSelectionMask.size(), 3u);
    EXPECT_TRUE(app.View.bAirUnitsSelected);
    EXPECT_TRUE(app.Messages().empty());

    app.View.bVehicleControl = true;
    app.View.pParentWindow = nullptr;
    app.View.AirUnits.push_back(nullptr); // only empty entries: no aircraft to pick at any height
    app.View.SelectVehiclesInScreenRect(0.5, 0.5, 0.5, 0.5, false);
    EXPECT_EQ(app.View.VehicleSelectionMask, std::vector<bool>({true}));
    EXPECT_FALSE(app.View.bAirUnitsSelected);
    app.View.SelectVehiclesInScreenRect(0.4, 0.4, 0.6, 0.6, false);
    EXPECT_EQ(app.View.VehicleSelectionMask, std::vector<bool>({true}));
    EXPECT_TRUE(app.Messages().empty());
}

// --- Rubber band ---

struct ExpectedPrimitive
{
    RendPrimitive::Kind Type;
    float X1, Y1, X2, Y2;
    float R, G, B, A;
    float WidthPx;
};

void ExpectPrimitives(const Rend& rend, const std::vector<ExpectedPrimitive>& expected, const char* what)
{
    const auto& got = rend.GetPrimitives();
    ASSERT_EQ(got.size(), expected.size()) << what;
    for (std::size_t i = 0; i < got.size(); ++i)
    {
        const RendPrimitive& g = got[i];
        const ExpectedPrimitive& e = expected[i];
        EXPECT_EQ(g.Type, e.Type) << what << " primitive " << i;
        EXPECT_FLOAT_EQ(g.X1, e.X1) << what << " primitive " << i;
        EXPECT_FLOAT_EQ(g.Y1, e.Y1) << what << " primitive " << i;
        EXPECT_FLOAT_EQ(g.X2, e.X2) << what << " primitive " << i;
        EXPECT_FLOAT_EQ(g.Y2, e.Y2) << what << " primitive " << i;
        EXPECT_FLOAT_EQ(g.R, e.R) << what << " primitive " << i;
        EXPECT_FLOAT_EQ(g.G, e.G) << what << " primitive " << i;
        EXPECT_FLOAT_EQ(g.B, e.B) << what << " primitive " << i;
        EXPECT_FLOAT_EQ(g.A, e.A) << what << " primitive " << i;
        EXPECT_FLOAT_EQ(g.WidthPx, e.WidthPx) << what << " primitive " << i;
    }
}

TEST(RubberBand, FillAndFourOutlineLinesInGlobalCoordinatesWhateverTheDragDirection)
{
    using K = RendPrimitive::Kind;
    // Band x 0.2..0.6, y 0.1..0.3 on the window (-1, 1)-(1, -1): global x -0.6..0.2, y 0.8..0.4.
    const std::vector<ExpectedPrimitive> expected = {
        {K::Rect, -0.6f, 0.8f, 0.2f, 0.4f, 0.18f, 0.82f, 1.0f, 0.12f, 0.0f},
        {K::Line, -0.6f, 0.8f, 0.2f, 0.8f, 0.3f, 0.92f, 1.0f, 0.96f, 1.5f},
        {K::Line, 0.2f, 0.8f, 0.2f, 0.4f, 0.3f, 0.92f, 1.0f, 0.96f, 1.5f},
        {K::Line, 0.2f, 0.4f, -0.6f, 0.4f, 0.3f, 0.92f, 1.0f, 0.96f, 1.5f},
        {K::Line, -0.6f, 0.4f, -0.6f, 0.8f, 0.3f, 0.92f, 1.0f, 0.96f, 1.5f},
    };
    const double drags[2][4] = {{0.2, 0.1, 0.6, 0.3}, {0.6, 0.3, 0.2, 0.1}};
    for (const auto& drag : drags)
    {
        TestApp app;
        app.View.bSelectionDragActive = true;
        app.View.SelectionStartX = drag[0];
        app.View.SelectionStartY = drag[1];
        app.View.SelectionEndX = drag[2];
        app.View.SelectionEndY = drag[3];
        app.View.RenderUnitSelectionOverlay();
        ExpectPrimitives(app.Renderer, expected, drag[0] < drag[2] ? "forward" : "reversed");
        EXPECT_EQ(app.Renderer.GetBeginFrameCount(), 1);
        EXPECT_EQ(app.Renderer.GetEndFrameCount(), 1);
    }
}

TEST(RubberBand, DrawnOnlyForAnActiveBandOfSomeExtentWithARenderer)
{
    // clang-format off
    struct Case { const char* Name; bool bControl, bActive, bDrawingAllowed, bRenderer; double Width, Height; int ExpectedPrimitives; int ExpectedEndFrames; } cases[] = {
        {"0.0005 by 0.0005", true, true, true, true, 0.0005, 0.0005, 0, 0},
        {"0.0005 by 0.2", true, true, true, true, 0.0005, 0.2, 5, 1},
        {"0.2 by 0.0005", true, true, true, true, 0.2, 0.0005, 5, 1},
        {"0.0011 by 0", true, true, true, true, 0.0011, 0.0, 5, 1},
        {"control off", false, true, true, true, 0.2, 0.2, 0, 0},
        {"no band", true, false, true, true, 0.2, 0.2, 0, 0},
        {"beginFrame refuses", true, true, false, true, 0.2, 0.2, 0, 0},
        {"no renderer", true, true, true, false, 0.2, 0.2, 0, 0},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        app.View.bVehicleControl = c.bControl;
        app.View.bSelectionDragActive = c.bActive;
        app.Renderer.bDrawingAllowed = c.bDrawingAllowed;
        if (!c.bRenderer)
            app.CoreServices.pRend = nullptr;
        app.View.SelectionStartX = 0.25;
        app.View.SelectionStartY = 0.5;
        app.View.SelectionEndX = 0.25 + c.Width;
        app.View.SelectionEndY = 0.5 + c.Height;
        app.View.RenderUnitSelectionOverlay();
        EXPECT_EQ(static_cast<int>(app.Renderer.GetPrimitives().size()), c.ExpectedPrimitives) << c.Name;
        EXPECT_EQ(app.Renderer.GetEndFrameCount(), c.ExpectedEndFrames) << c.Name;
        EXPECT_FALSE(app.Renderer.IsInFrame()) << c.Name;
    }
}

} // namespace
