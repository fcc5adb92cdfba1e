// Screen-to-map picking: worked cases, failures, the auto-rotation phase, and agreement with an
// independent inversion of the view transform.
#include <cmath>
#include <cstdio>
#include <random>

#include <gtest/gtest.h>

#include "test_app.h"

namespace
{

// Reference: the world point a camera-space direction hits on the plane Y = height, built from
// the view transform's inverse as 4 separate steps rather than the expanded formulas.
struct Vec
{
    double x, y, z;
};
Vec TurnAboutX(Vec v, double a)
{
    return {v.x, v.y * std::cos(a) - v.z * std::sin(a), v.y * std::sin(a) + v.z * std::cos(a)};
}
Vec TurnAboutY(Vec v, double a)
{
    return {v.x * std::cos(a) + v.z * std::sin(a), v.y, -v.x * std::sin(a) + v.z * std::cos(a)};
}
bool ReferencePlanePick(const GLViewport& view, double yawDeg, double x01, double y01, double height,
                        Vec& out)
{
    const double tanFov = std::tan(std::clamp(view.CameraFovDeg, 1.0, 170.0) * M_PI / 360.0);
    const double aspect = 1280.0 / 720.0;
    const double pitch = -view.CameraPitchDeg * M_PI / 180.0;
    const double yaw = -yawDeg * M_PI / 180.0;
    // Camera space -> world: undo the pan/distance translation, then the pitch, then the yaw.
    const Vec eyeCam = {-view.PanX, -view.PanY, view.CameraDistance};
    Vec eye = TurnAboutY(TurnAboutX(eyeCam, pitch), yaw);
    eye.x += view.WorldOffsetX;
    eye.z += view.WorldOffsetZ;
    const Vec dirCam = {(2 * x01 - 1) * aspect * tanFov, (1 - 2 * y01) * tanFov, -1.0};
    const Vec dir = TurnAboutY(TurnAboutX(dirCam, pitch), yaw);
    if (std::abs(dir.y) < 1e-6)
        return false;
    const double t = (height - eye.y) / dir.y;
    if (t < 0)
        return false;
    out = {eye.x + dir.x * t, height, eye.z + dir.z * t};
    return true;
}

TEST(Picking, ViewportCentrePicksTheOrbitCentreAtAnyYawPitchAndDistance)
{
    TestApp app;
    app.LoadFlatMap();
    app.View.WorldOffsetX = 300.0;
    app.View.WorldOffsetZ = 700.0;
    for (double yaw : {-179.0, -90.0, 0.0, 45.0, 180.0})
        for (double pitch : {8.0, 30.0, 60.0, 84.0, 90.0})
            for (double distance : {10.0, 1000.0})
            {
                app.View.CameraYawDeg = yaw;
                app.View.CameraPitchDeg = pitch;
                app.View.CameraDistance = distance;
                Vec3D world(-1, -1, -1);
                ASSERT_TRUE(app.View.ScreenToSpringMapWorld(0.5, 0.5, world)) << yaw << " " << pitch;
                EXPECT_NEAR(world.X, 300.0, 1e-9 * distance) << yaw << " " << pitch << " " << distance;
                EXPECT_NEAR(world.Z, 700.0, 1e-9 * distance) << yaw << " " << pitch << " " << distance;
                EXPECT_EQ(world.Y, 0.0);
            }
}

TEST(Picking, StraightDownTopEdgeLiesDistanceTimesTanFovAlongScreenUp)
{
    TestApp app;
    app.LoadFlatMap();
    app.View.CameraPitchDeg = 90.0;
    app.View.CameraDistance = 400.0;
    app.View.CameraFovDeg = 60.0;
    const double reach = 400.0 * std::tan(30.0 * M_PI / 180.0);
    struct Case
    {
        double YawDeg, DirX, DirZ;
    } cases[] = {{0.0, 0.0, -1.0}, {90.0, 1.0, 0.0}, {180.0, 0.0, 1.0}, {-90.0, -1.0, 0.0}};
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
    app.View.CameraPitchDeg = 10.0;
    app.View.CameraFovDeg = 60.0;
    const Vec3D sentinel(1.5, 2.5, 3.5);
    Vec3D world = sentinel;
    EXPECT_FALSE(app.View.ScreenToSpringMapWorld(0.5, 0.0, world)) << "top edge looks above the horizon";
    EXPECT_FALSE(app.View.ScreenToSpringMapWorldAtHeight(0.5, 0.0, 0.0, world));
    app.View.CameraPitchDeg = 0.0;
    EXPECT_FALSE(app.View.ScreenToSpringMapWorld(0.5, 0.5, world)) << "level ray";
    EXPECT_FALSE(app.View.ScreenToSpringMapWorldAtHeight(0.3, 0.5, 5.0, world)) << "level ray";
    EXPECT_EQ(world.X, sentinel.X);
    EXPECT_EQ(world.Y, sentinel.Y);
    EXPECT_EQ(world.Z, sentinel.Z);

    // A plane above the eye lies behind a ray that looks down.
    app.View.CameraPitchDeg = 45.0;
    EXPECT_FALSE(app.View.ScreenToSpringMapWorldAtHeight(0.5, 0.5, 1e6, world));

    app.View.SpringMap.Unload();
    EXPECT_FALSE(app.View.ScreenToSpringMapWorld(0.5, 0.5, world));
    EXPECT_FALSE(app.View.ScreenToSpringMapWorldAtHeight(0.5, 0.5, 0.0, world));
    app.LoadFlatMap();
    app.View.SpringMap.IndexCount = 0;
    EXPECT_FALSE(app.View.ScreenToSpringMapWorld(0.5, 0.5, world)) << "no mesh";
    EXPECT_EQ(world.X, sentinel.X);
}

TEST(Picking, TerrainPickIsExactOnRaisedFlatGroundAndReportsYZero)
{
    TestApp app;
    app.LoadFlatMap(128, 75.0f);
    app.View.WorldOffsetX = app.View.WorldOffsetZ = 512.0;
    app.View.CameraYawDeg = 30.0;
    app.View.CameraPitchDeg = 40.0;
    app.View.CameraDistance = 600.0;
    Vec3D terrain, plane;
    ASSERT_TRUE(app.View.ScreenToSpringMapWorld(0.3, 0.6, terrain));
    ASSERT_TRUE(app.View.ScreenToSpringMapWorldAtHeight(0.3, 0.6, 75.0, plane));
    EXPECT_NEAR(terrain.X, plane.X, 1e-9);
    EXPECT_NEAR(terrain.Z, plane.Z, 1e-9);
    EXPECT_EQ(terrain.Y, 0.0);
    EXPECT_EQ(plane.Y, 75.0);
}

TEST(Picking, FieldOfViewClampsToOneAndHundredSeventy)
{
    TestApp app;
    app.LoadFlatMap();
    app.View.CameraPitchDeg = 89.0;
    const auto pickWithFov = [&](double fov)
    {
        app.View.CameraFovDeg = fov;
        Vec3D world;
        EXPECT_TRUE(app.View.ScreenToSpringMapWorldAtHeight(0.9, 0.7, 0.0, world)) << fov;
        return world;
    };
    EXPECT_EQ(pickWithFov(0.0).X, pickWithFov(1.0).X);
    EXPECT_EQ(pickWithFov(-20.0).Z, pickWithFov(1.0).Z);
    EXPECT_EQ(pickWithFov(200.0).X, pickWithFov(170.0).X);
}

TEST(Picking, AutoRotationAddsTheClockPhaseWithoutChangingTheYawField)
{
    TestApp app;
    app.LoadFlatMap();
    app.View.CameraPitchDeg = 45.0;
    app.View.CameraYawDeg = 10.0;
    app.View.AutoRotateDegPerSec = 9.0;
    Vec3D rotated, reference;
    app.View.bAutoRotate = true;
    sdlseam::SetTicks(10000); // 10 s at 9 deg/s = 90 degrees
    ASSERT_TRUE(app.View.ScreenToSpringMapWorldAtHeight(0.2, 0.8, 0.0, rotated));
    EXPECT_EQ(app.View.CameraYawDeg, 10.0);
    app.View.bAutoRotate = false;
    app.View.CameraYawDeg = 100.0;
    ASSERT_TRUE(app.View.ScreenToSpringMapWorldAtHeight(0.2, 0.8, 0.0, reference));
    EXPECT_NEAR(rotated.X, reference.X, 1e-9);
    EXPECT_NEAR(rotated.Z, reference.Z, 1e-9);

    // Off, the clock plays no part.
    sdlseam::SetTicks(99999);
    Vec3D later;
    ASSERT_TRUE(app.View.ScreenToSpringMapWorldAtHeight(0.2, 0.8, 0.0, later));
    EXPECT_EQ(later.X, reference.X);
}

TEST(Picking, AgreesWithAStepwiseInversionOfTheViewForRandomCameras)
{
    const unsigned seed = 20261122u;
    std::printf("picking reference seed %u\n", seed);
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    TestApp app;
    app.LoadFlatMap();
    int hits = 0;
    for (int i = 0; i < 2000; ++i)
    {
        app.View.CameraYawDeg = unit(rng) * 360.0 - 180.0;
        app.View.CameraPitchDeg = unit(rng) * 180.0 - 90.0;
        app.View.CameraDistance = 1.0 + unit(rng) * 3000.0;
        app.View.CameraFovDeg = 5.0 + unit(rng) * 150.0;
        app.View.PanX = unit(rng) * 400.0 - 200.0;
        app.View.PanY = unit(rng) * 400.0 - 200.0;
        app.View.WorldOffsetX = unit(rng) * 1000.0;
        app.View.WorldOffsetZ = unit(rng) * 1000.0;
        const double x01 = unit(rng) * 1.4 - 0.2; // outside 0..1 is extrapolated
        const double y01 = unit(rng) * 1.4 - 0.2;
        const double height = unit(rng) * 200.0 - 100.0;
        Vec expected{};
        const bool bExpected =
            ReferencePlanePick(app.View, app.View.CameraYawDeg, x01, y01, height, expected);
        Vec3D world;
        const bool bPicked = app.View.ScreenToSpringMapWorldAtHeight(x01, y01, height, world);
        ASSERT_EQ(bPicked, bExpected) << "case " << i;
        if (!bPicked)
            continue;
        ++hits;
        const double tolerance = 1e-7 * (1.0 + std::abs(expected.x) + std::abs(expected.z));
        EXPECT_NEAR(world.X, expected.x, tolerance) << "case " << i;
        EXPECT_NEAR(world.Z, expected.z, tolerance) << "case " << i;
    }
    EXPECT_GT(hits, 500) << "the random cameras should mostly see the plane";
}

TEST(Picking, TwoRefinementsFollowGentleSlopes)
{
    // Ground rising along Z with slope 0.1: the pick lands within a small error of the true hit.
    TestApp app;
    const int n = 129;
    std::vector<float> heights(n * n);
    for (int z = 0; z < n; ++z)
        for (int x = 0; x < n; ++x)
            heights[z * n + x] = 0.1f * 8.0f * z;
    app.View.SpringMap.LoadHeightGrid(n, n, 8.0f, heights);
    app.View.WorldOffsetX = app.View.WorldOffsetZ = 512.0;
    app.View.CameraPitchDeg = 60.0;
    app.View.CameraDistance = 500.0;
    Vec3D world;
    ASSERT_TRUE(app.View.ScreenToSpringMapWorld(0.5, 0.5, world));
    // March the same ray finely to find where it meets the slope.
    Vec exact{};
    double lo = 0.0, hi = 200.0;
    for (int i = 0; i < 60; ++i)
    {
        const double mid = (lo + hi) * 0.5;
        Vec onPlane{};
        ASSERT_TRUE(ReferencePlanePick(app.View, 0.0, 0.5, 0.5, mid, onPlane));
        (app.View.SpringMap.GetTerrainHeight(float(onPlane.x), float(onPlane.z)) > mid ? lo : hi) = mid;
        exact = onPlane;
    }
    EXPECT_NEAR(world.X, exact.x, 0.5);
    EXPECT_NEAR(world.Z, exact.z, 0.5);
}

} // namespace
