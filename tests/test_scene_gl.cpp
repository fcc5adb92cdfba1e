// The viewport's scene on a real headless GL context (SDL's offscreen driver, Mesa): selection rings
// and order markers found in the rendered pixels where the camera puts them, and the jet effect run
// by the viewport's Render with its figures landing in the viewport's fields.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <SDL3/SDL.h>
#include <epoxy/gl.h>
#include <gtest/gtest.h>

#include "airsim.h"
#include "offscreen_gl.h"
#include "pngwriter.h"
#include "scene_gl.h"
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
        auto vehicle = std::make_unique<VehicleUnit>();
        vehicle->Position = Vec3D(x, 0.0, z);
        App->View.Vehicles.push_back(std::move(vehicle));
        App->View.VehicleSelectionMask.push_back(false);
        return *App->View.Vehicles.back();
    }
    AirUnit& AddAircraft(double x, double y, double z)
    {
        auto air = std::make_unique<AirUnit>();
        air->Aircraft.Position = Vec3D(x, y, z);
        App->View.AirUnits.push_back(std::move(air));
        return *App->View.AirUnits.back();
    }

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

bool IsColour(const std::vector<std::uint8_t>& image, int x, int y, const std::array<float, 3>& colour)
{
    if (x < 0 || y < 0 || x >= WidthPx || y >= HeightPx)
        return false;
    const std::uint8_t* px = &image[(static_cast<std::size_t>(y) * WidthPx + x) * 4];
    for (int c = 0; c < 3; ++c)
        if (std::abs(static_cast<int>(px[c]) - static_cast<int>(std::lround(colour[c] * 255.0f))) > 12)
            return false;
    return true;
}

// Pixels of the colour within RadiusPx of a point.
int CountColourNear(const std::vector<std::uint8_t>& image, std::array<double, 2> at, int radiusPx,
                    const std::array<float, 3>& colour)
{
    int count = 0;
    const int cx = static_cast<int>(std::lround(at[0])), cy = static_cast<int>(std::lround(at[1]));
    for (int y = cy - radiusPx; y <= cy + radiusPx; ++y)
        for (int x = cx - radiusPx; x <= cx + radiusPx; ++x)
            count += IsColour(image, x, y, colour) ? 1 : 0;
    return count;
}

int CountColour(const std::vector<std::uint8_t>& image, const std::array<float, 3>& colour)
{
    return CountColourNear(image, {WidthPx / 2.0, HeightPx / 2.0}, std::max(WidthPx, HeightPx), colour);
}

TEST_F(SceneGLTest, SelectionRingsSurroundSelectedUnitsOnly)
{
    constexpr double Centre = 512.0;
    AddVehicle(Centre - 100.0, Centre + 30.0);
    AddVehicle(Centre + 100.0, Centre + 30.0);
    AirUnit& air = AddAircraft(Centre, 40.0, Centre - 70.0);
    air.Aircraft.TargetAltitude = 40.0f;
    struct Case
    {
        bool bFirst, bSecond, bAir;
    };
    for (const Case c : {Case{false, false, false}, Case{true, false, false}, Case{false, true, true},
                         Case{true, true, false}})
    {
        App->View.VehicleSelectionMask = {c.bFirst, c.bSecond};
        App->View.bAirUnitsSelected = c.bAir;
        const std::vector<std::uint8_t> image = RenderAndRead();
        const int total = CountColour(image, SceneGL::SelectionRingColour);
        int near = 0;
        const std::vector<std::pair<Vec3D, bool>> units = {{App->View.Vehicles[0]->Position, c.bFirst},
                                                           {App->View.Vehicles[1]->Position, c.bSecond},
                                                           {air.Aircraft.Position, c.bAir}};
        for (std::size_t u = 0; u < units.size(); ++u)
        {
            // A ring's pixels lie on a circle a little wider than the unit, centred on it.
            const int around =
                CountColourNear(image, Project(units[u].first), 35, SceneGL::SelectionRingColour);
            near += around;
            if (units[u].second)
                EXPECT_GT(around, 20) << "selected unit " << u << " case " << c.bFirst << c.bSecond << c.bAir;
            else
                EXPECT_EQ(around, 0) << "unselected unit " << u << " case " << c.bFirst << c.bSecond
                                     << c.bAir;
        }
        EXPECT_EQ(total, near) << "ring pixels away from every unit, case " << c.bFirst << c.bSecond
                               << c.bAir;
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
    const Vec3D patrolA(Centre + 80.0, 30.0, Centre + 60.0), patrolB(Centre + 40.0, 30.0, Centre + 60.0);
    ASSERT_TRUE(SubmitAirPatrolCommand(air, patrolA, false, 1.0f));
    ASSERT_TRUE(SubmitAirPatrolCommand(air, patrolB, true, 1.0f));
    ASSERT_EQ(air.Flight.Navigator.GetPath().size(), 2u);
    const Vec3D patrolStart = air.Flight.Navigator.GetPath()[0];
    const Vec3D patrolEnd = air.Flight.Navigator.GetPath()[1];

    App->View.VehicleSelectionMask = {true, false};
    sdlseam::SetMods(SDL_KMOD_LSHIFT); // every unit's orders, not only the selection's
    const std::vector<std::uint8_t> image = RenderAndRead();
    sdlseam::SetMods(SDL_KMOD_NONE);
    const std::vector<std::uint8_t> selectedOnly = RenderAndRead();
    // Left for a person to look at: the selected vehicle's ring, its orders and the patrol.
    std::string error;
    EXPECT_TRUE(WritePngRgb(std::string(SCENE_SCREENSHOT_DIR) + "/scene_orders.png", WidthPx, HeightPx,
                            image.data(), error))
        << error;
    const auto midpoint = [](const Vec3D& a, const Vec3D& b)
    { return Vec3D((a.X + b.X) * 0.5, (a.Y + b.Y) * 0.5, (a.Z + b.Z) * 0.5); };
    struct Case
    {
        const char* What;
        Vec3D At;
        std::array<float, 3> Colour;
        int MinPixels; // in the 5x5 pixels around the point; 0: none at all
    };
    const Case cases[] = {
        {"vehicle to its target", midpoint(ordered.Position, first), SceneGL::VehicleOrderColour, 1},
        {"target to queued goal", midpoint(first, second), SceneGL::VehicleOrderColour, 1},
        // A line ending there covers a few of the 25 pixels; the dot covers them all.
        {"dot at the queued goal", second, SceneGL::VehicleOrderColour, 20},
        {"aircraft to its patrol point", midpoint(air.Aircraft.Position, patrolStart),
         SceneGL::AircraftOrderColour, 1},
        {"patrol leg", midpoint(patrolStart, patrolEnd), SceneGL::AircraftOrderColour, 1},
        {"ring on the ground under a patrol point", Vec3D(patrolEnd.X + 12.0, 2.0, patrolEnd.Z),
         SceneGL::AircraftOrderColour, 1},
        {"line down from a patrol point", Vec3D(patrolEnd.X, patrolEnd.Y * 0.5, patrolEnd.Z),
         SceneGL::AircraftOrderColour, 1},
        {"idle vehicle", App->View.Vehicles[1]->Position, SceneGL::VehicleOrderColour, 0},
        // Between the two vehicles nothing was ordered.
        {"ground between the vehicles", Vec3D(Centre, 0.0, Centre + 40.0), SceneGL::VehicleOrderColour, 0},
    };
    for (const Case& c : cases)
    {
        const int found = CountColourNear(image, Project(c.At), 2, c.Colour);
        if (c.MinPixels > 0)
            EXPECT_GE(found, c.MinPixels) << c.What;
        else
            EXPECT_EQ(found, 0) << c.What;
    }
    // Without Shift only the selected vehicle's orders show.
    EXPECT_GE(CountColourNear(selectedOnly, Project(midpoint(first, second)), 2, SceneGL::VehicleOrderColour),
              1);
    EXPECT_EQ(CountColourNear(selectedOnly, Project(midpoint(patrolStart, patrolEnd)), 2,
                              SceneGL::AircraftOrderColour),
              0);
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

TEST_F(SceneGLTest, JetEffectFiguresFollowTheScale)
{
    constexpr double Centre = 512.0;
    for (int i = 0; i < 3; ++i)
        AddAircraft(Centre - 40.0 + 40.0 * i, 60.0, Centre);
    for (const float scale : {1.0f, 0.5f, 0.25f})
    {
        App->View.JetEffectsScale = scale;
        // Timer queries finish a frame or more later; a few frames let the GPU figures arrive.
        for (int frame = 0; frame < 4; ++frame)
        {
            sdlseam::SetTicks(1000 + 16 * frame);
            RenderAndRead();
        }
        EXPECT_EQ(App->View.JetEffectsTargetWidth, static_cast<int>(std::lround(WidthPx * scale))) << scale;
        EXPECT_EQ(App->View.JetEffectsTargetHeight, static_cast<int>(std::lround(HeightPx * scale))) << scale;
        EXPECT_GT(App->View.JetEffectsMemoryMiB, 0.0) << scale;
        EXPECT_EQ(App->View.JetEffectsStatusText, "Jet effects ready") << scale;
        double gpuTotalMs = 0.0;
        for (int pass = 0; pass < JetExhaustPassCount; ++pass)
        {
            EXPECT_TRUE(std::isfinite(App->View.JetEffectsCpuMs[pass]) &&
                        App->View.JetEffectsCpuMs[pass] >= 0.0)
                << "pass " << pass << " scale " << scale;
            EXPECT_TRUE(std::isfinite(App->View.JetEffectsGpuMs[pass]) &&
                        App->View.JetEffectsGpuMs[pass] >= 0.0)
                << "pass " << pass << " scale " << scale;
            gpuTotalMs += App->View.JetEffectsGpuMs[pass];
        }
        EXPECT_GT(gpuTotalMs, 0.0) << "measured GPU time at scale " << scale;
    }

    // Switched off, the effect frees its targets and the panel says so; on again, they come back.
    App->View.JetExhaust.ToggleEnabled();
    RenderAndRead();
    EXPECT_EQ(App->View.JetEffectsStatusText, "Jet effects off");
    EXPECT_EQ(App->View.JetEffectsMemoryMiB, 0.0);
    EXPECT_EQ(App->View.JetEffectsGpuMs[static_cast<int>(JetExhaustPass::Composite)], 0.0);
    App->View.JetExhaust.ToggleEnabled();
    RenderAndRead();
    EXPECT_GT(App->View.JetEffectsMemoryMiB, 0.0);
}

} // namespace
