#include "maplook_gl.h"

#include <algorithm>
#include <cmath>

#include "springmap_renderer.h"

void MapLookGL::PrepareTerrain(SpringMapRenderer& Map, const DriveabilityGrid& Drive,
                               const MapLookOptions& Options, const Vec3D& Eye)
{
    TerrainShading& shading = Map.Shading;
    shading.EyeWorld[0] = static_cast<float>(Eye.X);
    shading.EyeWorld[1] = static_cast<float>(Eye.Y);
    shading.EyeWorld[2] = static_cast<float>(Eye.Z);
    // The fog's fractions are of the view range as the engine sets it: at least 8000 units, more
    // for a high eye (2.4 times its height over the ground) or to reach the farthest map corner.
    double range = std::max(
        8000.0, (Eye.Y - std::max(0.0f, Map.GetLowestHeight() * 0.5f + Map.GetHighestHeight() * 0.5f)) * 2.4);
    for (double x : {0.0, static_cast<double>(Map.GetWorldWidth())})
        for (double z : {0.0, static_cast<double>(Map.GetWorldDepth())})
            range = std::max(range, std::hypot(x - Eye.X, z - Eye.Z));
    shading.ViewRangeWorld = std::isfinite(range) ? static_cast<float>(range) : 0.0f;
    shading.bWater = Options.bWater;
    Views.Prepare(Options.View, Map, Drive, shading);
}

namespace
{
// A part that could not be drawn says why once; later frames skip it quietly.
bool ReportOnce(bool bDrawn, bool& bReported, const std::string& Why, std::string& Error)
{
    if (bDrawn || bReported)
        return true;
    bReported = true;
    Error = Why;
    return false;
}
} // namespace

bool MapLookGL::DrawWater(const SpringMapRenderer& Map, const MapLookOptions& Options,
                          const float* ViewProj4x4, std::string& Error)
{
    // Author views show the ground itself: the water's surface would veil it.
    const bool bDrawn =
        !Options.bWater || Options.View != AuthorView::Off || Water.Draw(Map, Map.Shading, ViewProj4x4);
    return ReportOnce(bDrawn, bWaterReported,
                      "the water's shaders cannot be built: " + Water.GetCreateError(), Error);
}

bool MapLookGL::DrawFeatures(const SpringMapRenderer& Map, const MapLookOptions& Options,
                             const float* ViewProj4x4, std::string& Error)
{
    const bool bDrawn =
        !Options.bFeatures || Features.Draw(Map, Map.Shading, ViewProj4x4, Options.FeatureCullDistanceWorld);
    return ReportOnce(bDrawn, bFeaturesReported,
                      "the features' shaders cannot be built: " + Features.GetCreateError(), Error);
}
