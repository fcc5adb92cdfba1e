// The viewport's scene on a real headless GL context (SDL's offscreen driver, Mesa): selection rings
// and order markers found in the rendered pixels where the camera puts them, and the jet effect run
// by the viewport's Render with its figures landing in the viewport's fields.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include <SDL3/SDL.h>
#include <epoxy/gl.h>
#include <gtest/gtest.h>

#include "airsim.h"
#include "offscreen_gl.h"
#include "order_test_view.h"
#include "pngwriter.h"
#include "scene_gl.h"
#include "springmap_renderer.h"
#include "test_app.h"

#ifndef SCENE_SCREENSHOT_DIR
#define SCENE_SCREENSHOT_DIR "."
#endif

namespace
{
constexpr int WidthPx = 320;
constexpr int HeightPx = 240;

// Each test renders the viewport into its own WidthPx x HeightPx target.
class SceneGLTest : public OffscreenGLTest
{
  protected:
    void SetUp() override
    {
        OffscreenGLTest::SetUp();
        Target = std::make_unique<GLTarget>(WidthPx, HeightPx);
        ASSERT_TRUE(Target->IsComplete());
        App = std::make_unique<TestApp>();
        App->CoreSdl.Width = WidthPx;
        App->CoreSdl.Height = HeightPx;
        App->LoadFlatMap(128, 0.0f); // 1024 x 1024 world units
        App->View.GLViewport::ResetSpringMapCamera();
        // Close in over the centre: a vehicle is some 20 pixels across.
        App->View.CameraDistance = 250.0;
        App->View.CameraPitchDeg = 80.0;
    }
    void TearDown() override
    {
        // The viewport's GL objects go while the context is current.
        App->View.SpringMap.ReleaseGL();
        App->View.JetExhaust.ReleaseGL();
        App.reset();
        Target.reset();
    }

    VehicleUnit& AddVehicle(double x, double z)
    {
        App->View.VehicleSelectionMask.push_back(false);
        return ordertest::AddVehicle(*App, x, z);
    }
    AirUnit& AddAircraft(double x, double y, double z) { return ordertest::AddAircraft(*App, x, y, z); }

    // Renders one frame and reads it back, rows from the top.
    std::vector<std::uint8_t> RenderAndRead()
    {
        App->View.Render();
        return Target->Read();
    }

    // A world point's pixel (from the top left) under the camera Render uses.
    std::array<double, 2> Project(const Vec3D& world) const
    {
        double clip[4];
        App->View.GetSceneViewProjection().Transform(world.X, world.Y, world.Z, 1.0, clip);
        return {(clip[0] / clip[3] + 1.0) * 0.5 * WidthPx, (1.0 - clip[1] / clip[3]) * 0.5 * HeightPx};
    }

    std::unique_ptr<GLTarget> Target;
    std::unique_ptr<TestApp> App;
};

// Pixels of the colour (within 12 of 255 per channel) within RadiusPx of a point.
int CountColourNear(const std::vector<std::uint8_t>& image, std::array<double, 2> at, int radiusPx,
                    const std::array<float, 3>& colour)
{
    int count = 0;
    const int cx = int(std::lround(at[0])), cy = int(std::lround(at[1]));
    for (int y = std::max(cy - radiusPx, 0); y <= std::min(cy + radiusPx, HeightPx - 1); ++y)
        for (int x = std::max(cx - radiusPx, 0); x <= std::min(cx + radiusPx, WidthPx - 1); ++x)
        {
            const std::uint8_t* px = &image[(std::size_t(y) * WidthPx + x) * 4];
            count +=
                std::ranges::all_of(std::array{0, 1, 2}, [&](int c)
                                    { return std::abs(px[c] - int(std::lround(colour[c] * 255.0f))) <= 12; });
        }
    return count;
}

TEST_F(SceneGLTest, SelectionRingsSurroundSelectedUnitsOnly)
{
    constexpr double Centre = 512.0;
    AddVehicle(Centre - 100.0, Centre + 30.0);
    AddVehicle(Centre + 100.0, Centre + 30.0);
    AirUnit& air = AddAircraft(Centre, 40.0, Centre - 70.0);
    air.Aircraft.TargetAltitude = 40.0f;
    const Vec3D units[] = {App->View.Vehicles[0]->Position, App->View.Vehicles[1]->Position,
                           air.Aircraft.Position};
    // Which of the two vehicles and the aircraft are selected.
    for (const std::array<bool, 3> selected :
         {std::array{false, false, false}, std::array{true, false, false}, std::array{false, true, true},
          std::array{true, true, false}})
    {
        App->View.VehicleSelectionMask = {selected[0], selected[1]};
        App->View.bAirUnitsSelected = selected[2];
        const std::vector<std::uint8_t> image = RenderAndRead();
        const std::string what =
            std::to_string(selected[0]) + std::to_string(selected[1]) + std::to_string(selected[2]);
        int near = 0;
        for (std::size_t u = 0; u < 3; ++u)
        {
            // A ring's pixels lie on a circle a little wider than the unit, centred on it.
            const int around = CountColourNear(image, Project(units[u]), 35, SceneGL::SelectionRingColour);
            near += around;
            EXPECT_TRUE(selected[u] ? around > 20 : around == 0) << "unit " << u << " case " << what;
        }
        EXPECT_EQ(CountColourNear(image, {0, 0}, WidthPx * 2, SceneGL::SelectionRingColour), near)
            << "ring pixels away from every unit, case " << what;
    }
}

TEST_F(SceneGLTest, OrderLinesRunFromEachUnitThroughItsGoals)
{
    constexpr double Centre = 512.0;
    VehicleUnit& ordered = AddVehicle(Centre - 80.0, Centre + 40.0);
    AddVehicle(Centre + 80.0, Centre + 40.0); // no orders: nothing drawn from it
    const Vec3D first(Centre - 80.0, 0.0, Centre - 40.0), second(Centre, 0.0, Centre - 40.0);
    ordered.SetWaypoint(first);
    ordered.QueueWaypoint(second);
    AirUnit& air = AddAircraft(Centre + 80.0, 30.0, Centre - 60.0);
    ASSERT_TRUE(SubmitAirPatrolCommand(air, Vec3D(Centre + 80.0, 30.0, Centre + 60.0), false, 1.0f));
    ASSERT_TRUE(SubmitAirPatrolCommand(air, Vec3D(Centre + 40.0, 30.0, Centre + 60.0), true, 1.0f));
    ASSERT_EQ(air.Flight.Navigator.GetPath().size(), 2u);
    const Vec3D patrolStart = air.Flight.Navigator.GetPath()[0],
                patrolEnd = air.Flight.Navigator.GetPath()[1];

    App->View.VehicleSelectionMask = {true, false};
    sdlseam::SetMods(SDL_KMOD_LSHIFT); // every unit's orders, not only the selection's
    const std::vector<std::uint8_t> withShift = RenderAndRead();
    sdlseam::SetMods(SDL_KMOD_NONE);
    const std::vector<std::uint8_t> selectedOnly = RenderAndRead();
    // Left for a person to look at: the selected vehicle's ring, its orders and the patrol.
    std::string error;
    EXPECT_TRUE(WritePngRgb(std::string(SCENE_SCREENSHOT_DIR) + "/scene_orders.png", WidthPx, HeightPx,
                            withShift.data(), error))
        << error;
    const auto midpoint = [](const Vec3D& a, const Vec3D& b)
    { return Vec3D((a.X + b.X) * 0.5, (a.Y + b.Y) * 0.5, (a.Z + b.Z) * 0.5); };
    constexpr std::array<float, 3> Vehicle = SceneGL::VehicleOrderColour, Air = SceneGL::AircraftOrderColour;
    // clang-format off
    // Least pixels of the colour in the 5x5 around the point with Shift held and without; 0: none at all.
    struct Case { const char* What; Vec3D At; std::array<float, 3> Colour; int WithShift, Without; };
    const Case cases[] = {
        {"vehicle to its target", midpoint(ordered.Position, first), Vehicle, 1, 1},
        {"target to queued goal", midpoint(first, second), Vehicle, 1, 1},
        {"dot at the queued goal", second, Vehicle, 20, 20}, // a line ending there covers only a few
        {"aircraft to its patrol point", midpoint(air.Aircraft.Position, patrolStart), Air, 1, 0},
        {"patrol leg", midpoint(patrolStart, patrolEnd), Air, 1, 0},
        {"ring on the ground under a patrol point", Vec3D(patrolEnd.X + 12.0, 2.0, patrolEnd.Z), Air, 1, 0},
        {"line down from a patrol point", Vec3D(patrolEnd.X, patrolEnd.Y * 0.5, patrolEnd.Z), Air, 1, 0},
        {"idle vehicle", App->View.Vehicles[1]->Position, Vehicle, 0, 0},
        {"ground between the vehicles", Vec3D(Centre, 0.0, Centre + 40.0), Vehicle, 0, 0},
    };
    // clang-format on
    for (const Case& c : cases)
        for (const bool bShift : {true, false})
        {
            const int least = bShift ? c.WithShift : c.Without;
            const int found = CountColourNear(bShift ? withShift : selectedOnly, Project(c.At), 2, c.Colour);
            EXPECT_TRUE(least > 0 ? found >= least : found == 0)
                << c.What << (bShift ? " with Shift" : "") << ": " << found;
        }
}

TEST_F(SceneGLTest, RingsLieOnSlopesAndAircraftStandOnPostsToTheGround)
{
    // Ground rising 2 units per unit eastwards, level at the centre: a ring's sides lie 64 units apart.
    std::vector<float> heights(129 * 129);
    for (int i = 0; i < 129 * 129; ++i)
        heights[i] = 16.0f * float(i % 129 - 64);
    ASSERT_TRUE(App->View.SpringMap.LoadHeightGrid(129, 129, 8.0f, heights));
    const SpringMapRenderer& map = App->View.SpringMap;
    VehicleUnit& vehicle = AddVehicle(512.0, 512.0);
    vehicle.Radius = 20.0f; // drawn at its true size: its ring is 32 across
    vehicle.Position.Y = map.GetTerrainHeight(512.0f, 512.0f);
    const Vec3D air(470.0, 100.0, 470.0);
    AddAircraft(air.X, air.Y, air.Z);
    App->View.VehicleSelectionMask = {true};
    const std::vector<std::uint8_t> image = RenderAndRead();
    for (int i = 0; i < 24; ++i)
    {
        const double x = 512.0 + 32.0 * std::cos(i * M_PI / 12.0),
                     z = 512.0 + 32.0 * std::sin(i * M_PI / 12.0);
        const Vec3D point(x, map.GetTerrainHeight(float(x), float(z)) + 2.0, z);
        EXPECT_GE(CountColourNear(image, Project(point), 1, SceneGL::SelectionRingColour), 1)
            << "ring point " << i;
    }
    const double ground = map.GetTerrainHeight(float(air.X), float(air.Z));
    EXPECT_GE(CountColourNear(image, Project(air), 4, {0.95f, 0.55f, 0.2f}) +
                  CountColourNear(image, Project(air), 4, {0.81f, 0.47f, 0.17f}),
              10)
        << "the wing";
    // The post: pixels half way down that change when the aircraft goes.
    const std::array<double, 2> halfWay = Project(Vec3D(air.X, (air.Y + ground) / 2, air.Z));
    App->View.AirUnits.clear();
    const std::vector<std::uint8_t> without = RenderAndRead();
    const std::size_t centre = (std::size_t(std::lround(halfWay[1])) * WidthPx + std::lround(halfWay[0])) * 4;
    EXPECT_NE(std::vector(image.begin() + centre, image.begin() + centre + 3),
              std::vector(without.begin() + centre, without.begin() + centre + 3))
        << "the post half way down";
}

TEST_F(SceneGLTest, FarUnitsKeepTheirLeastSizeOnScreen)
{
    AddVehicle(512.0, 512.0);
    App->View.VehicleSelectionMask = {true};
    // True size: 16 units at 6000 are under a pixel; drawn as an arrow icon at least 10 across.
    App->View.CameraDistance = 6000.0;
    const std::vector<std::uint8_t> image = RenderAndRead();
    const std::array<double, 2> at = Project(App->View.Vehicles[0]->Position);
    EXPECT_GE(CountColourNear(image, at, 8, {0.6f, 1.0f, 0.65f}), 10) << "the icon";
    EXPECT_GE(CountColourNear(image, at, 12, SceneGL::SelectionRingColour), 20) << "its ring";
}

TEST_F(SceneGLTest, VehicleFacesTurnedToTheCameraAreDrawn)
{
    AddVehicle(512.0, 512.0); // its front towards the camera
    // clang-format off
    // Least hull and turret pixels at a face's shade; 0: none at all. 1 the lit top, 0.85 the front,
    // 0.6 the back, hidden behind the rest.
    struct Case { double PitchDeg; float Shade; int Hull, Turret; };
    const Case cases[] = {{80.0, 1.0f, 100, 50}, {20.0, 1.0f, 20, 15}, {20.0, 0.85f, 40, 15}, {20.0, 0.6f, 0, 0}};
    // clang-format on
    for (const Case& c : cases)
    {
        App->View.CameraPitchDeg = c.PitchDeg;
        const std::vector<std::uint8_t> image = RenderAndRead();
        const std::array<double, 2> at = Project(App->View.Vehicles[0]->Position);
        const int hull = CountColourNear(image, at, 16, {0.25f * c.Shade, 0.5f * c.Shade, 0.9f * c.Shade});
        const int turret = CountColourNear(image, at, 16, {0.55f * c.Shade, 0.75f * c.Shade, c.Shade});
        EXPECT_TRUE(c.Hull > 0 ? hull >= c.Hull : hull == 0)
            << "pitch " << c.PitchDeg << " shade " << c.Shade << ": " << hull;
        EXPECT_TRUE(c.Turret > 0 ? turret >= c.Turret : turret == 0)
            << "pitch " << c.PitchDeg << " shade " << c.Shade << ": " << turret;
    }
}

TEST(SceneView, SpheresTouchingTheViewAreKeptAndThoseJustOffItDropped)
{
    // A matrix scaling by S views the cube of half-size 1/S; a sphere 1/S + 1 off one side of it
    // touches that side with radius 1 and misses it with a hair less.
    for (const float s : {1.0f, 2.0f})
        for (int axis = 0; axis < 3; ++axis)
            for (const double side : {-1.0, 1.0})
                for (const double radius : {1.0, 0.999})
                {
                    const std::array<float, 16> m{s, 0, 0, 0, 0, s, 0, 0, 0, 0, s, 0, 0, 0, 0, 1};
                    double at[3] = {0.0, 0.0, 0.0};
                    at[axis] = side * (1.0 / s + 1.0);
                    EXPECT_EQ(SceneGL::IsSphereInView(m, Vec3D(at[0], at[1], at[2]), radius), radius == 1.0)
                        << "scale " << s << " axis " << axis << " side " << side << " radius " << radius;
                }
}

TEST_F(SceneGLTest, JetEffectFiguresFollowTheScale)
{
    for (int i = 0; i < 3; ++i)
        AddAircraft(472.0 + 40.0 * i, 60.0, 512.0);
    GLViewport& view = App->View;
    for (const float scale : {1.0f, 0.5f, 0.25f})
    {
        view.JetEffectsScale = scale;
        // Timer queries finish a frame or more later; a few frames let the GPU figures arrive.
        for (int frame = 0; frame < 4; ++frame)
        {
            sdlseam::SetTicks(1000 + 16 * frame);
            RenderAndRead();
        }
        EXPECT_EQ(view.JetEffectsTargetWidth, int(std::lround(WidthPx * scale))) << scale;
        EXPECT_EQ(view.JetEffectsTargetHeight, int(std::lround(HeightPx * scale))) << scale;
        EXPECT_GT(view.JetEffectsMemoryMiB, 0.0) << scale;
        EXPECT_EQ(view.JetEffectsStatusText, "Jet effects ready") << scale;
        const auto isTime = [](double Ms) { return std::isfinite(Ms) && Ms >= 0.0; };
        EXPECT_TRUE(std::ranges::all_of(view.JetEffectsCpuMs, isTime) &&
                    std::ranges::all_of(view.JetEffectsGpuMs, isTime))
            << scale;
        EXPECT_GT(std::accumulate(std::begin(view.JetEffectsGpuMs), std::end(view.JetEffectsGpuMs), 0.0), 0.0)
            << "measured GPU time at scale " << scale;
    }
    // Switched off, the effect frees its targets and the panel says so; on again, they come back.
    view.JetExhaust.ToggleEnabled();
    RenderAndRead();
    EXPECT_EQ(view.JetEffectsStatusText, "Jet effects off");
    EXPECT_EQ(view.JetEffectsMemoryMiB, 0.0);
    EXPECT_EQ(view.JetEffectsGpuMs[static_cast<int>(JetExhaustPass::Composite)], 0.0);
    view.JetExhaust.ToggleEnabled();
    RenderAndRead();
    EXPECT_GT(view.JetEffectsMemoryMiB, 0.0);
}

} // namespace
