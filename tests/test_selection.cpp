// Box and click selection: the click threshold, pick radii and ties, aircraft at flying height, the
// band against a brute-force projection on sloped ground, edges, messages, failed picks and the
// rubber band.
#include <algorithm>
#include <cmath>
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
using ordertest::TopDownApp;

const std::string SelectedSuffix = " unit(s) selected. Right click to move.";

Vec3D GroundUnder(const TestApp& app, double x01, double y01)
{
    Vec3D world;
    EXPECT_TRUE(app.View.ScreenToSpringMapWorld(x01, y01, world)) << x01 << ", " << y01;
    return world;
}

std::vector<bool> Flags(std::initializer_list<int> indices, std::size_t count)
{
    std::vector<bool> flags(count, false);
    for (int i : indices)
        flags[static_cast<std::size_t>(i)] = true;
    return flags;
}

struct Placed
{
    double Dx, Dz;
    float Radius;
};

// A click at the viewport centre, straight down: units placed relative to the clicked map point; an
// aircraft at Air (if any) flies at 300 with a second one far away (the group is selected as one).
TEST(Selection, ClickTakesTheNearestUnitWithinItsPickRadiusTiesToTheEarlierVehicle)
{
    const double none = -1.0;
    // clang-format off
    struct Case { const char* Name; std::vector<Placed> Vehicles; double Air; std::vector<bool> Mask; bool bAir; } cases[] = {
        {"radius 10 within 28", {{27.99 * 0.6, 27.99 * 0.8, 10}}, none, {true}, false},
        {"radius 10 beyond 28", {{28.01 * 0.6, 28.01 * 0.8, 10}}, none, {false}, false},
        {"radius 0 within 28", {{27.99 * 0.6, 27.99 * 0.8, 0}}, none, {true}, false},
        {"radius 40 within 58", {{57.99 * 0.6, 57.99 * 0.8, 40}}, none, {true}, false},
        {"radius 40 beyond 58", {{58.01 * 0.6, 58.01 * 0.8, 40}}, none, {false}, false},
        {"radius 20 within 29", {{28.99 * 0.6, 28.99 * 0.8, 20}}, none, {true}, false},
        {"radius 20 beyond 29", {{29.01 * 0.6, 29.01 * 0.8, 20}}, none, {false}, false},
        {"almost along X", {{27.99, 0.1, 10}}, none, {true}, false},
        {"nearer of two", {{20, 0, 8}, {12, 0, 8}}, none, {false, true}, false},
        {"nearer first", {{12, 0, 8}, {20, 0, 8}}, none, {true, false}, false},
        {"tie: earlier wins", {{10, 0, 8}, {-10, 0, 8}}, none, {true, false}, false},
        {"tie reversed: earlier wins", {{-10, 0, 8}, {10, 0, 8}}, none, {true, false}, false},
        {"vehicle 20 beats aircraft 30", {{20, 0, 8}}, 30.0, {true}, false},
        {"aircraft 10 beats vehicle 20", {{20, 0, 8}}, 10.0, {false}, true},
        {"aircraft beyond 48", {}, 48.5, {}, false},
        {"aircraft within 48", {}, 47.5, {}, true},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TopDownApp app;
        const Vec3D point = GroundUnder(app, 0.5, 0.5);
        for (const Placed& v : c.Vehicles)
            AddVehicle(app, point.X + v.Dx, point.Z + v.Dz, v.Radius);
        if (c.Air >= 0.0)
        {
            AddAircraft(app, point.X, 300.0, point.Z - c.Air);
            AddAircraft(app, point.X + 500.0, 300.0, point.Z);
        }
        app.View.LastSelectedVehicleIndex = -1;
        app.View.SelectVehiclesInScreenRect(0.5, 0.5, 0.5, 0.5, false);
        EXPECT_EQ(app.View.VehicleSelectionMask, c.Mask) << c.Name;
        EXPECT_EQ(app.View.bAirUnitsSelected, c.bAir) << c.Name;
        const auto hit = std::find(c.Mask.begin(), c.Mask.end(), true);
        EXPECT_EQ(app.View.LastSelectedVehicleIndex, hit == c.Mask.end() ? -1 : int(hit - c.Mask.begin()))
            << c.Name;
        const bool bAny = c.bAir || hit != c.Mask.end();
        EXPECT_EQ(app.Messages(),
                  std::vector<std::string>({bAny ? "1" + SelectedSuffix : "No units selected."}))
            << c.Name;
    }

    // An exact tie between a vehicle and an aircraft flying at ground height goes to the vehicle.
    TopDownApp app;
    const Vec3D point = GroundUnder(app, 0.5, 0.5);
    AddVehicle(app, point.X + 20.0, point.Z - 7.0);
    AddAircraft(app, point.X + 20.0, 0.0, point.Z - 7.0);
    app.View.SelectVehiclesInScreenRect(0.5, 0.5, 0.5, 0.5, false);
    EXPECT_EQ(app.View.VehicleSelectionMask, std::vector<bool>({true}));
    EXPECT_FALSE(app.View.bAirUnitsSelected);
}

TEST(Selection, SmallGesturesOnBothAxesAreClicksAtTheFirstCorner)
{
    // clang-format off
    struct Case { double Dx, Dy; bool bClick; } cases[] = {
        {0.011, 0.3, false}, {0.011, 0.011, true}, {-0.011, -0.011, true}, {0.0, 0.0, true},
        {0.012, 0.0, false}, {0.0, -0.012, false},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TopDownApp app;
        // Vehicle 0 sits just up and left of the first corner: a click hits it, no band holds it.
        const Vec3D corner = GroundUnder(app, 0.4, 0.4);
        AddVehicle(app, corner.X - 5.0, corner.Z - 5.0);
        // Vehicle 1 lies inside the 0.011 by 0.3 band, far from the corner.
        const Vec3D inside = GroundUnder(app, 0.4055, 0.55);
        AddVehicle(app, inside.X, inside.Z);
        app.View.SelectVehiclesInScreenRect(0.4, 0.4, 0.4 + c.Dx, 0.4 + c.Dy, false);
        const bool bBand = c.Dx > 0.0 && c.Dy > 0.1;
        EXPECT_EQ(app.View.VehicleSelectionMask, std::vector<bool>({c.bClick, bBand}))
            << c.Dx << " x " << c.Dy;
        EXPECT_EQ(app.Messages().back(), c.bClick || bBand ? "1" + SelectedSuffix : "No units selected.");
    }
}

TEST(Selection, AircraftArePickedAtTheFirstAircraftsHeight)
{
    // Looking down at 45 degrees from the +Z side, the centre ray meets the plane at height 300
    // 300 units nearer the camera than the ground point (512, 512).
    // clang-format off
    struct Case { const char* Name; bool bLeadingEmpty; double FirstHeight; bool bBand, bAir; } cases[] = {
        {"click, first aircraft at 300", false, 300.0, false, true}, {"band, first at 300", false, 300.0, true, true},
        {"click, empty entry first", true, 300.0, false, true},      {"band, empty entry first", true, 300.0, true, true},
        {"click, first on the ground", false, 0.0, false, false},   {"band, first on the ground", false, 0.0, true, false},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TopDownApp app;
        app.View.CameraPitchDeg = 45.0;
        AddVehicle(app, 512.0, 812.0); // on the ground under the air point: outside click and band
        if (c.bLeadingEmpty)
            app.View.AirUnits.push_back(nullptr);
        AddAircraft(app, 5000.0, c.FirstHeight, 5000.0);
        AddAircraft(app, 512.0, 300.0, 812.0);
        const double d = c.bBand ? 0.05 : 0.0;
        app.View.SelectVehiclesInScreenRect(0.5 - d, 0.5 - d, 0.5 + d, 0.5 + d, false);
        EXPECT_EQ(app.View.bAirUnitsSelected, c.bAir) << c.Name;
        EXPECT_EQ(app.View.VehicleSelectionMask, std::vector<bool>({false})) << c.Name;
    }
}

TEST(Selection, CountsTheWholeSelectionWithTheAircraftAsOneUnit)
{
    TopDownApp app;
    const Vec3D centre = GroundUnder(app, 0.5, 0.5);
    for (double dx : {-20.0, 0.0, 20.0, 300.0}) // the last one lies outside the band
        AddVehicle(app, centre.X + dx, centre.Z + (dx == 0.0 ? 10.0 : 0.0));
    for (int i = 0; i < 3; ++i)
        AddAircraft(app, centre.X + 5.0 * i, 250.0, centre.Z - 5.0);

    app.View.SelectVehiclesInScreenRect(0.45, 0.45, 0.55, 0.55, false);
    EXPECT_EQ(app.Messages().back(), "4" + SelectedSuffix) << "three vehicles and the aircraft group";
    EXPECT_TRUE(app.View.bAirUnitsSelected);
    // Shift-click on bare ground keeps everything; a plain one drops everything.
    app.View.SelectVehiclesInScreenRect(0.1, 0.1, 0.1, 0.1, true);
    EXPECT_EQ(app.Messages().back(), "4" + SelectedSuffix);
    EXPECT_EQ(app.View.VehicleSelectionMask, Flags({0, 1, 2}, 4));
    app.View.SelectVehiclesInScreenRect(0.1, 0.1, 0.1, 0.1, false);
    EXPECT_EQ(app.Messages().back(), "No units selected.");
    EXPECT_EQ(app.View.VehicleSelectionMask, Flags({}, 4));
    EXPECT_FALSE(app.View.bAirUnitsSelected);
    // Shift-click adds one vehicle to two selected: the count is 3.
    app.View.VehicleSelectionMask = Flags({0, 2}, 4);
    double x01 = 0.0, y01 = 0.0;
    ASSERT_TRUE(ProjectToLocal(app.View, centre.X + 300.0, 0.0, centre.Z, x01, y01));
    app.View.SelectVehiclesInScreenRect(x01, y01, x01, y01, true);
    EXPECT_EQ(app.View.VehicleSelectionMask, Flags({0, 2, 3}, 4));
    EXPECT_EQ(app.Messages().back(), "3" + SelectedSuffix);
    EXPECT_EQ(app.Messages().size(), 4u);
}

// Ground rising along Z as one plane: a vehicle standing on it is inside the band's projected
// quadrilateral exactly when the scene's camera shows it inside the band. Random cameras and bands
// (corners in any order); vehicles within rounding of an edge may go either way.
TEST(Selection, BandMatchesABruteForceProjectionOnSlopedGround)
{
    ordertest::SeededRandom uniform(4101u, "selection on sloped ground");
    TestApp app;
    LookStraightDown(app, 1024.0, 1024.0);
    ordertest::LoadSlopedMap(app, 256); // wider than any band, so the ground under it stays one plane
    for (int i = 0; i < 400; ++i)
    {
        const double x = uniform(600.0, 1448.0), z = uniform(600.0, 1448.0);
        AddVehicle(app, x, z).Position.Y = 0.1 * z;
    }
    int selectedTotal = 0;
    for (int trial = 0; trial < 200; ++trial)
    {
        app.View.CameraYawDeg = uniform(-180.0, 180.0), app.View.CameraPitchDeg = uniform(60.0, 85.0);
        app.View.CameraDistance = uniform(400.0, 800.0);
        app.View.PanX = uniform(-100.0, 100.0), app.View.PanY = uniform(-100.0, 100.0);
        const double x1 = uniform(0.02, 0.98), y1 = uniform(0.15, 0.98), x2 = uniform(0.02, 0.98),
                     y2 = uniform(0.15, 0.98);
        if (std::abs(x2 - x1) < 0.012 && std::abs(y2 - y1) < 0.012)
            continue;
        app.View.LastSelectedVehicleIndex = -1;
        app.View.SelectVehiclesInScreenRect(x1, y1, x2, y2, false);
        int highest = -1;
        for (std::size_t i = 0; i < app.View.Vehicles.size(); ++i)
        {
            const Vec3D& v = app.View.Vehicles[i]->Position;
            const bool bSelected = app.View.VehicleSelectionMask[i];
            highest = bSelected ? int(i) : highest;
            selectedTotal += bSelected ? 1 : 0;
            double sx = 0.0, sy = 0.0;
            if (!ProjectToLocal(app.View, v.X, v.Y, v.Z, sx, sy))
            {
                EXPECT_FALSE(bSelected) << "behind the eye: trial " << trial << " vehicle " << i;
                continue;
            }
            const double margin = std::min(
                {sx - std::min(x1, x2), std::max(x1, x2) - sx, sy - std::min(y1, y2), std::max(y1, y2) - sy});
            EXPECT_TRUE(std::abs(margin) < 0.005 || bSelected == (margin > 0.0))
                << "seed " << uniform.Seed << " trial " << trial << " vehicle " << i;
        }
        EXPECT_EQ(app.View.LastSelectedVehicleIndex, highest)
            << "seed " << uniform.Seed << " trial " << trial;
    }
    EXPECT_GT(selectedTotal, 2000) << "the bands should hold vehicles";
}

TEST(Selection, VehiclesOnAnEdgeOfTheProjectedBandAreInsideWhicheverWayItWinds)
{
    // From below (pitch -90) the band is mirrored, so its corners wind the other way round.
    for (double pitchDeg : {90.0, -90.0})
    {
        TopDownApp app;
        app.View.CameraPitchDeg = pitchDeg;
        const Vec3D a = GroundUnder(app, 0.3, 0.35), b = GroundUnder(app, 0.7, 0.65);
        const double left = std::min(a.X, b.X), right = std::max(a.X, b.X), midZ = (a.Z + b.Z) / 2;
        // The side edges are about 200 long: a cross product within 1e-5 is 5e-8 across.
        for (double offset : {0.0, 1e-9, -1e-9, 1e-6, -1e-6, 0.01, -0.01})
        {
            AddVehicle(app, left - offset, midZ);
            AddVehicle(app, right + offset, midZ);
        }
        AddVehicle(app, a.X, a.Z); // a corner itself
        app.View.SelectVehiclesInScreenRect(0.3, 0.35, 0.7, 0.65, false);
        EXPECT_EQ(app.View.VehicleSelectionMask, Flags({0, 1, 2, 3, 4, 5, 8, 9, 12, 13, 14}, 15))
            << "pitch " << pitchDeg;
    }
}

TEST(Selection, FailedPicksEndSilentlyAfterTheMaskWasResetOrCleared)
{
    // clang-format off
    struct Case { const char* Name; bool bMap; double PitchDeg, Y1; bool bBand; std::vector<bool> Mask; bool bAdditive; std::vector<bool> Expected; bool bAir; } cases[] = {
        {"no map, plain click", false, 90.0, 0.5, false, {true, false}, false, {false, false}, false},
        {"no map, additive click", false, 90.0, 0.5, false, {true, false}, true, {true, false}, true},
        {"no map, additive band, stale mask", false, 90.0, 0.2, true, {true, true, true}, true, {false, false}, true},
        {"sky click", true, 20.0, 0.0, false, {false, true}, false, {false, false}, false},
        {"band corner in the sky", true, 20.0, 0.0, true, {true, true}, false, {false, false}, false},
        {"band corner in the sky, additive", true, 20.0, 0.0, true, {true, false}, true, {true, false}, true},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TopDownApp app;
        app.View.CameraPitchDeg = c.PitchDeg; // 20: the top of the screen looks above the horizon
        if (!c.bMap)
            app.View.SpringMap.Unload();
        AddVehicle(app, 512.0, 512.0);
        AddVehicle(app, 512.0, 700.0);
        AddAircraft(app, 512.0, 300.0, 512.0);
        app.View.VehicleSelectionMask = c.Mask;
        app.View.bAirUnitsSelected = true;
        app.View.SelectVehiclesInScreenRect(0.5, c.Y1, c.bBand ? 0.6 : 0.5, c.bBand ? 0.8 : c.Y1,
                                            c.bAdditive);
        EXPECT_EQ(app.View.VehicleSelectionMask, c.Expected) << c.Name;
        EXPECT_EQ(app.View.bAirUnitsSelected, c.bAir) << c.Name;
        EXPECT_TRUE(app.Messages().empty()) << c.Name;
    }
}

TEST(Selection, ControlOffChangesNothingAndNoWindowStillSelects)
{
    TopDownApp app;
    AddVehicle(app, 512.0, 512.0);
    app.View.VehicleSelectionMask = {true, true, true};
    app.View.bAirUnitsSelected = true;
    app.View.bVehicleControl = false;
    app.View.SelectVehiclesInScreenRect(0.5, 0.5, 0.5, 0.5, false);
    EXPECT_EQ(app.View.VehicleSelectionMask.size(), 3u);
    EXPECT_TRUE(app.View.bAirUnitsSelected);

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

TEST(RubberBand, FillAndFourOutlineLinesInGlobalCoordinatesWhateverTheDragDirection)
{
    // Band x 0.2..0.6, y 0.1..0.3 on the window (-1, 1)-(1, -1): global x -0.6..0.2, y 0.8..0.4.
    using K = RendPrimitive::Kind;
    // clang-format off
    const float expected[5][10] = {
        {0, -0.6f, 0.8f, 0.2f, 0.4f, 0.18f, 0.82f, 1.0f, 0.12f, 0.0f},
        {1, -0.6f, 0.8f, 0.2f, 0.8f, 0.3f, 0.92f, 1.0f, 0.96f, 1.5f},
        {1, 0.2f, 0.8f, 0.2f, 0.4f, 0.3f, 0.92f, 1.0f, 0.96f, 1.5f},
        {1, 0.2f, 0.4f, -0.6f, 0.4f, 0.3f, 0.92f, 1.0f, 0.96f, 1.5f},
        {1, -0.6f, 0.4f, -0.6f, 0.8f, 0.3f, 0.92f, 1.0f, 0.96f, 1.5f},
    };
    // clang-format on
    for (const bool bReversed : {false, true})
    {
        TestApp app;
        app.View.bSelectionDragActive = true;
        app.View.SelectionStartX = bReversed ? 0.6 : 0.2, app.View.SelectionStartY = bReversed ? 0.3 : 0.1;
        app.View.SelectionEndX = bReversed ? 0.2 : 0.6, app.View.SelectionEndY = bReversed ? 0.1 : 0.3;
        app.View.RenderUnitSelectionOverlay();
        const auto& got = app.Renderer.GetPrimitives();
        ASSERT_EQ(got.size(), 5u);
        for (std::size_t i = 0; i < 5; ++i)
        {
            const RendPrimitive& g = got[i];
            EXPECT_EQ(g.Type, expected[i][0] == 0 ? K::Rect : K::Line) << "primitive " << i;
            const float values[9] = {g.X1, g.Y1, g.X2, g.Y2, g.R, g.G, g.B, g.A, g.WidthPx};
            for (int k = 0; k < 9; ++k)
                EXPECT_FLOAT_EQ(values[k], expected[i][k + 1])
                    << "primitive " << i << " value " << k << " reversed " << bReversed;
        }
        EXPECT_EQ(app.Renderer.GetBeginFrameCount(), 1);
        EXPECT_EQ(app.Renderer.GetEndFrameCount(), 1);
    }
}

TEST(RubberBand, DrawnOnlyForAnActiveBandOfSomeExtentWithARenderer)
{
    // clang-format off
    struct Case { const char* Name; bool bControl, bActive, bDrawingAllowed, bRenderer; double Width, Height; bool bDrawn; } cases[] = {
        {"0.0005 by 0.0005", true, true, true, true, 0.0005, 0.0005, false},
        {"0.0005 by 0.2", true, true, true, true, 0.0005, 0.2, true},
        {"0.2 by 0.0005", true, true, true, true, 0.2, 0.0005, true},
        {"0.0011 by 0", true, true, true, true, 0.0011, 0.0, true},
        {"control off", false, true, true, true, 0.2, 0.2, false},
        {"no band", true, false, true, true, 0.2, 0.2, false},
        {"beginFrame refuses", true, true, false, true, 0.2, 0.2, false},
        {"no renderer", true, true, true, false, 0.2, 0.2, false},
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
        app.View.SelectionStartX = 0.25, app.View.SelectionStartY = 0.5;
        app.View.SelectionEndX = 0.25 + c.Width, app.View.SelectionEndY = 0.5 + c.Height;
        app.View.RenderUnitSelectionOverlay();
        EXPECT_EQ(app.Renderer.GetPrimitives().size(), c.bDrawn ? 5u : 0u) << c.Name;
        EXPECT_EQ(app.Renderer.GetEndFrameCount(), c.bDrawn ? 1 : 0) << c.Name;
        EXPECT_FALSE(app.Renderer.IsInFrame()) << c.Name;
    }
}

} // namespace
