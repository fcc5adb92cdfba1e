// The scene's view transform against picking: a world point projected with the renderer's matrices
// and picked back at its height lands on itself.
#include <cmath>
#include <cstdio>

#include <gtest/gtest.h>

#include "test_app.h"

namespace
{
// World point to viewport-local 0..1 through the scene's view-projection; false behind the eye.
bool ProjectToLocal(const GLViewport& view, const Vec3D& world, double& x01, double& y01)
{
    double clip[4];
    view.GetSceneViewProjection().Transform(world.X, world.Y, world.Z, 1.0, clip);
    if (!(clip[3] > 0.0))
        return false;
    x01 = (clip[0] / clip[3] + 1.0) * 0.5;
    y01 = (1.0 - clip[1] / clip[3]) * 0.5;
    return true;
}

struct CameraCase
{
    double YawDeg, PitchDeg, PanX, PanY, FovDeg, Distance;
};
} // namespace

TEST(SceneCamera, ProjectedPointsPickBackOntoThemselves)
{
    const CameraCase cameras[] = {
        {0, 50, 0, 0, 45, 1200},      {90, 30, 0, 0, 45, 800},      {-135, 70, 120, -40, 60, 1500},
        {180, 8, 0, 0, 45, 900},      {33, 84, -200, 75, 20, 2500}, {-10, 45, 10, 10, 1, 20000},
        {-179, 60, 0, 300, 170, 600}, {45, 45, 0, 0, 0, 1000},      {45, 45, 0, 0, 200, 1000}};
    const Vec3D points[] = {{512, 0, 512}, {300, 40, 700}, {800, 150, 260}, {520, -20, 500}};
    const std::pair<int, int> windows[] = {{1280, 720}, {800, 800}, {640, 1024}};
    for (const auto& [widthPx, heightPx] : windows)
        for (const CameraCase& c : cameras)
            for (const Vec3D& point : points)
            {
                TestApp app;
                app.LoadFlatMap();
                app.CoreSdl.Width = widthPx;
                app.CoreSdl.Height = heightPx;
                GLViewport& view = app.View;
                view.WorldOffsetX = 512;
                view.WorldOffsetZ = 512;
                view.CameraYawDeg = c.YawDeg;
                view.CameraPitchDeg = c.PitchDeg;
                view.PanX = c.PanX;
                view.PanY = c.PanY;
                view.CameraFovDeg = c.FovDeg;
                view.CameraDistance = c.Distance;
                double x01 = 0, y01 = 0;
                Vec3D picked(-1, -1, -1);
                const bool bProjected = ProjectToLocal(view, point, x01, y01);
                const bool bPicked =
                    bProjected && view.ScreenToSpringMapWorldAtHeight(x01, y01, point.Y, picked);
                const double tolerance = 1e-6 * std::max(c.Distance, 1.0);
                EXPECT_TRUE(bPicked && std::fabs(picked.X - point.X) < tolerance &&
                            std::fabs(picked.Z - point.Z) < tolerance)
                    << "window " << widthPx << "x" << heightPx << " yaw " << c.YawDeg << " pitch "
                    << c.PitchDeg << " pan " << c.PanX << "," << c.PanY << " fov " << c.FovDeg << " point "
                    << point.X << "," << point.Y << "," << point.Z << ": projected " << bProjected << " ("
                    << x01 << ", " << y01 << ") picked " << bPicked << " (" << picked.X << ", " << picked.Z
                    << ")";
            }
}

TEST(SceneCamera, AutoRotationPhaseIsTheSameForSceneAndPick)
{
    const std::uint64_t ticks[] = {0, 1, 1500, 61000, 3600123};
    for (std::uint64_t ms : ticks)
    {
        TestApp app;
        app.LoadFlatMap();
        app.View.WorldOffsetX = app.View.WorldOffsetZ = 512;
        app.View.bAutoRotate = true;
        app.View.AutoRotateDegPerSec = 7.5;
        app.View.CameraYawDeg = 20;
        sdlseam::SetTicks(ms);
        EXPECT_DOUBLE_EQ(app.View.GetSceneCamera().YawDeg, 20 + ms * 0.001 * 7.5) << "at " << ms << " ms";
        const Vec3D point(700, 0, 400);
        double x01 = 0, y01 = 0;
        Vec3D picked;
        ASSERT_TRUE(ProjectToLocal(app.View, point, x01, y01)) << "at " << ms << " ms";
        ASSERT_TRUE(app.View.ScreenToSpringMapWorld(x01, y01, picked)) << "at " << ms << " ms";
        EXPECT_NEAR(picked.X, point.X, 1e-6) << "at " << ms << " ms";
        EXPECT_NEAR(picked.Z, point.Z, 1e-6) << "at " << ms << " ms";
    }
}

TEST(SceneCamera, WorkedViewNumbers)
{
    // Yaw 0, pitch 90: looking straight down from the orbit centre with +X to the right and
    // -Z up on the screen; the centre of the map projects to the middle of the viewport.
    TestApp app;
    app.LoadFlatMap();
    GLViewport& view = app.View;
    view.WorldOffsetX = 512;
    view.WorldOffsetZ = 512;
    view.CameraYawDeg = 0;
    view.CameraPitchDeg = 90;
    view.CameraDistance = 1000;
    view.CameraFovDeg = 90; // tan(45) = 1: the viewport's half height is 1000 world units
    double x01 = 0, y01 = 0;
    ASSERT_TRUE(ProjectToLocal(view, Vec3D(512, 0, 512), x01, y01));
    EXPECT_NEAR(x01, 0.5, 1e-12);
    EXPECT_NEAR(y01, 0.5, 1e-12);
    ASSERT_TRUE(ProjectToLocal(view, Vec3D(512, 0, 12), x01, y01));
    EXPECT_NEAR(x01, 0.5, 1e-12);
    EXPECT_NEAR(y01, 0.25, 1e-12) << "500 units towards -Z is a quarter of the height up";
    ASSERT_TRUE(ProjectToLocal(view, Vec3D(512 + 1000 * 1280.0 / 720.0, 0, 512), x01, y01));
    EXPECT_NEAR(x01, 1.0, 1e-12) << "the right edge is aspect x 1000 units away";
    // A point above the eye's plane is behind the camera looking down: it does not project.
    EXPECT_FALSE(ProjectToLocal(view, Vec3D(512, 1500, 512), x01, y01));
}

TEST(SceneCamera, CollapsedWindowKeepsAFiniteCamera)
{
    TestApp app;
    app.CoreSdl.Width = 0;
    app.CoreSdl.Height = 0;
    const OrbitCamera camera = app.View.GetSceneCamera();
    EXPECT_TRUE(std::isfinite(camera.Aspect) && camera.Aspect > 0.0) << "aspect " << camera.Aspect;
    const Mat4 viewProjection = app.View.GetSceneViewProjection();
    for (int i = 0; i < 16; ++i)
        EXPECT_TRUE(std::isfinite(viewProjection.M[i])) << "element " << i;
}
