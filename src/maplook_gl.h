#pragma once

#include <string>

#include "authorview.h"
#include "features_gl.h"
#include "vec3d.h"
#include "water_gl.h"

class DriveabilityGrid;
class SpringMapRenderer;

// What the person chose to see of the map besides its ground (options and keys switch these).
struct MapLookOptions
{
    bool bWater = true;
    bool bFeatures = true;
    AuthorView View = AuthorView::Off;
    // A 36-unit tree this far away is about 5 px tall in a 720 px view: nothing to read beyond it.
    double FeatureCullDistanceWorld = 5000.0;
};

// The map as its author lit it: the terrain's shading set up for the frame, then the water surface
// and the features drawn over the terrain.
class MapLookGL
{
  public:
    // Sets Map's shading for a frame seen from Eye: fog from the view range, water, author view.
    void PrepareTerrain(SpringMapRenderer& Map, const DriveabilityGrid& Drive, const MapLookOptions& Options,
                        const Vec3D& Eye);
    // After the terrain: water, then features, apart so a frame's parts can be timed one by one.
    // Each is false (with Error) the first time its program fails.
    bool DrawWater(const SpringMapRenderer& Map, const MapLookOptions& Options, const float* ViewProj4x4,
                   std::string& Error);
    bool DrawFeatures(const SpringMapRenderer& Map, const MapLookOptions& Options, const float* ViewProj4x4,
                      std::string& Error);
    const FeaturesGL& GetFeatures() const { return Features; }

  private:
    AuthorViewGL Views;
    WaterGL Water;
    FeaturesGL Features;
    bool bWaterReported = false, bFeaturesReported = false;
};
