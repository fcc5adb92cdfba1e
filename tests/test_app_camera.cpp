// The scene's camera: worked view numbers and a collapsed window. (Random cameras and window sizes are
// checked against picking, and the auto-rotation phase through picks and the application, elsewhere.)
#include <cmath>

#include <gtest/gtest.h>

#include "order_test_view.h"

namespace
{
bool ProjectToLocal(const GLViewport& view, const Vec3D& world, double& x01, double& y01)
{
    return ordertest::ProjectToLocal(view, world.X, world.Y, world.Z, x01, y01);
}
} // namespace

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
