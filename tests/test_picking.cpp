// Screen-to-map picking: worked cases, failures, the auto-rotation phase, agreement with the scene's
// own projection over random cameras, and the terrain pick against a dense march along the ray.
#include <cmath>

#include <gtest/gtest.h>

#include "order_test_view.h"

namespace
{
using ordertest::ProjectToLocal;

TEST(Picking, WorkedPicksStraightDownAndAtTheViewportCentre)
{
    TestApp app;
    app.LoadFlatMap();
    app.View.WorldOffsetX = 300.0, app.View.WorldOffsetZ = 700.0;
    for (double yaw : {-179.0, 0.0, 45.0, 180.0})
        for (double pitch : {8.0, 60.0, 90.0})
            for (double distance : {10.0, 1000.0})
            {
                app.View.CameraYawDeg = yaw, app.View.CameraPitchDeg = pitch,
                app.View.CameraDistance = distance;
                Vec3D world(-1, -1, -1);
                ASSERT_TRUE(app.View.ScreenToSpringMapWorld(0.5, 0.5, world)) << yaw << " " << pitch;
                EXPECT_NEAR(world.X, 300.0, 1e-9 * distance) << yaw << " " << pitch << " " << distance;
                EXPECT_NEAR(world.Z, 700.0, 1e-9 * distance) << yaw << " " << pitch << " " << distance;
                EXPECT_EQ(world.Y, 0.0);
            }
    // Straight down, the top edge lies distance x tan(fov / 2) away along the screen's up.
    app.View.WorldOffsetX = app.View.WorldOffsetZ = 0.0;
    app.View.CameraPitchDeg = 90.0, app.View.CameraDistance = 400.0, app.View.CameraFovDeg = 60.0;
    const double reach = 400.0 * std::tan(30.0 * M_PI / 180.0);
    // clang-format off
    struct Case { double YawDeg, DirX, DirZ; } cases[] = {{0.0, 0.0, -1.0}, {90.0, 1.0, 0.0}, {180.0, 0.0, 1.0}, {-90.0, -1.0, 0.0}};
    // clang-format on
    for (const Case& c : cases)
    {
        app.View.CameraYawDeg = c.YawDeg;
        Vec3D world;
        ASSERT_TRUE(app.View.ScreenToSpringMapWorld(0.5, 0.0, world));
        EXPECT_NEAR(world.X, c.DirX * reach, 1e-9) << "yaw " << c.YawDeg;
        EXPECT_NEAR(world.Z, c.DirZ * reach, 1e-9) << "yaw " << c.YawDeg;
    }
}

TEST(Picking, RaysAboveOrAlongTheHorizonAndMissingMapsFailLeavingTheOutputAlone)
{
    TestApp app;
    app.LoadFlatMap();
    app.View.CameraPitchDeg = 10.0, app.View.CameraFovDeg = 60.0;
    const Vec3D sentinel(1.5, 2.5, 3.5);
    Vec3D world = sentinel;
    EXPECT_FALSE(app.View.ScreenToSpringMapWorld(0.5, 0.0, world)) << "top edge looks above the horizon";
    EXPECT_FALSE(app.View.ScreenToSpringMapWorldAtHeight(0.5, 0.0, 0.0, world));
    app.View.CameraPitchDeg = 0.0;
    EXPECT_FALSE(app.View.ScreenToSpringMapWorld(0.5, 0.5, world)) << "level ray";
    EXPECT_FALSE(app.View.ScreenToSpringMapWorldAtHeight(0.3, 0.5, 5.0, world)) << "level ray";
    app.View.CameraPitchDeg = 45.0; // a plane above the eye lies behind a ray that looks down
    EXPECT_FALSE(app.View.ScreenToSpringMapWorldAtHeight(0.5, 0.5, 1e6, world));
    app.View.SpringMap.Unload();
    EXPECT_FALSE(app.View.ScreenToSpringMapWorld(0.5, 0.5, world));
    EXPECT_FALSE(app.View.ScreenToSpringMapWorldAtHeight(0.5, 0.5, 0.0, world));
    app.LoadFlatMap();
    app.View.SpringMap.IndexCount = 0;
    EXPECT_FALSE(app.View.ScreenToSpringMapWorld(0.5, 0.5, world)) << "no mesh";
    EXPECT_TRUE(world.X == sentinel.X && world.Y == sentinel.Y && world.Z == sentinel.Z);
}

TEST(Picking, RaisedFlatGroundFieldOfViewClampAndTheAutoRotationPhase)
{
    TestApp app;
    app.LoadFlatMap(128, 75.0f);
    app.View.CameraYawDeg = 30.0, app.View.CameraPitchDeg = 40.0, app.View.CameraDistance = 600.0;
    Vec3D terrain, plane;
    ASSERT_TRUE(app.View.ScreenToSpringMapWorld(0.3, 0.6, terrain));
    ASSERT_TRUE(app.View.ScreenToSpringMapWorldAtHeight(0.3, 0.6, 75.0, plane));
    EXPECT_NEAR(terrain.X, plane.X, 1e-9);
    EXPECT_NEAR(terrain.Z, plane.Z, 1e-9);
    EXPECT_EQ(terrain.Y, 0.0) << "the terrain pick reports Y 0";
    EXPECT_EQ(plane.Y, 75.0);

    const auto pick = [&](double fov)
    {
        app.View.CameraFovDeg = fov;
        Vec3D world;
        EXPECT_TRUE(app.View.ScreenToSpringMapWorldAtHeight(0.9, 0.7, 0.0, world)) << fov;
        return world;
    };
    app.View.CameraPitchDeg = 89.0;
    EXPECT_EQ(pick(0.0).X, pick(1.0).X);
    EXPECT_EQ(pick(-20.0).Z, pick(1.0).Z);
    EXPECT_EQ(pick(200.0).X, pick(170.0).X);

    // Auto-rotation adds 9 deg/s x 10 s = 90 degrees without changing the yaw field.
    app.View.CameraFovDeg = 45.0, app.View.CameraPitchDeg = 45.0, app.View.CameraYawDeg = 10.0;
    app.View.AutoRotateDegPerSec = 9.0, app.View.bAutoRotate = true;
    sdlseam::SetTicks(10000);
    Vec3D rotated, reference, later;
    ASSERT_TRUE(app.View.ScreenToSpringMapWorldAtHeight(0.2, 0.8, 0.0, rotated));
    EXPECT_EQ(app.View.CameraYawDeg, 10.0);
    app.View.bAutoRotate = false, app.View.CameraYawDeg = 100.0;
    ASSERT_TRUE(app.View.ScreenToSpringMapWorldAtHeight(0.2, 0.8, 0.0, reference));
    EXPECT_NEAR(rotated.X, reference.X, 1e-9);
    EXPECT_NEAR(rotated.Z, reference.Z, 1e-9);
    sdlseam::SetTicks(99999); // off, the clock plays no part
    ASSERT_TRUE(app.View.ScreenToSpringMapWorldAtHeight(0.2, 0.8, 0.0, later));
    EXPECT_EQ(later.X, reference.X);
}

// Random cameras, window sizes and points (outside 0..1 too): a plane pick projects back through the scene's
// camera onto the point it was picked under, and a point that fails looks above the horizon.
TEST(Picking, PlanePicksProjectBackUnderThePointerForRandomCameras)
{
    ordertest::SeededRandom R(20261122u, "plane picks");
    TestApp app;
    app.LoadFlatMap();
    int hits = 0;
    for (int i = 0; i < 2000; ++i)
    {
        app.View.CameraYawDeg = R(-180, 180), app.View.CameraPitchDeg = R(-90, 90),
        app.View.CameraFovDeg = R(5, 155);
        app.View.CameraDistance = R(1, 3001), app.View.PanX = R(-200, 200), app.View.PanY = R(-200, 200);
        app.View.WorldOffsetX = R(0, 1000), app.View.WorldOffsetZ = R(0, 1000);
        app.CoreSdl.Width = 1 + static_cast<int>(R(0, 2000)),
        app.CoreSdl.Height = 1 + static_cast<int>(R(0, 2000));
        const double x01 = R(-0.2, 1.2), y01 = R(-0.2, 1.2), height = R(-100, 100);
        Vec3D world;
        if (!app.View.ScreenToSpringMapWorldAtHeight(x01, y01, height, world))
            continue;
        ++hits;
        EXPECT_EQ(world.Y, height);
        double px = 0.0, py = 0.0;
        ASSERT_TRUE(ProjectToLocal(app.View, world.X, height, world.Z, px, py))
            << "seed " << R.Seed << " case " << i;
        EXPECT_NEAR(px, x01, 1e-6) << "seed " << R.Seed << " case " << i;
        EXPECT_NEAR(py, y01, 1e-6) << "seed " << R.Seed << " case " << i;
    }
    EXPECT_GT(hits, 500) << "the random cameras should mostly see the plane";
}

// Ground rising along Z: the terrain pick lands close to where a fine march down the ray (from the
// eye's height, through plane picks) first meets the ground (within a quarter square), for random
// cameras looking down.
TEST(Picking, TerrainPickFollowsGentleSlopesLikeADenseRayMarch)
{
    ordertest::SeededRandom R(7u, "terrain picks on a slope");
    TestApp app;
    ordertest::LoadSlopedMap(app, 128);
    for (int i = 0; i < 50; ++i)
    {
        app.View.WorldOffsetX = R(300, 700), app.View.WorldOffsetZ = R(300, 700),
        app.View.CameraYawDeg = R(-180, 180);
        app.View.CameraPitchDeg = R(40, 90), app.View.CameraDistance = R(300, 700);
        const double x01 = R(0.3, 0.7), y01 = R(0.3, 0.7);
        Vec3D picked, onRay;
        ASSERT_TRUE(app.View.ScreenToSpringMapWorld(x01, y01, picked)) << "case " << i;
        // Above 110 the ray is over the highest ground (102.4).
        for (double h = 110.0; h > -10.0; h -= 0.01)
        {
            ASSERT_TRUE(app.View.ScreenToSpringMapWorldAtHeight(x01, y01, h, onRay)) << "case " << i;
            if (app.View.SpringMap.GetTerrainHeight(float(onRay.X), float(onRay.Z)) >= h)
                break;
        }
        EXPECT_NEAR(picked.X, onRay.X, 2.0) << "seed " << R.Seed << " case " << i;
        EXPECT_NEAR(picked.Z, onRay.Z, 2.0) << "seed " << R.Seed << " case " << i;
    }
}

} // namespace
