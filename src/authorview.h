#pragma once

#include <array>
#include <cstdint>
#include <string>

#include <epoxy/gl.h>

#include "terrain_shading.h"

class DriveabilityGrid;
class PixelCanvas;
class SpringMapRenderer;

// The author views' grids as GL textures (one texel per cell), made on first use for each map, and
// the legend that explains the view on screen.
class AuthorViewGL
{
  public:
    AuthorViewGL() = default;
    AuthorViewGL(const AuthorViewGL&) = delete;
    AuthorViewGL& operator=(const AuthorViewGL&) = delete;
    ~AuthorViewGL();

    // Sets Shading's view, its grid, the grid's extent and scale, and the contour step for Map.
    void Prepare(AuthorView View, const SpringMapRenderer& Map, const DriveabilityGrid& Drive,
                 TerrainShading& Shading);

  private:
    static constexpr int GridCount = 4; // slope (drivability), metal, type, grass
    std::array<GLuint, GridCount> Textures{};
    std::array<std::uint64_t, GridCount> Sources{}; // load revision (and grid revision) uploaded
};

// Contour spacing for a height range: a round step giving about ten lines from lowest to highest.
float ChooseContourStepWorld(float HeightRangeWorld);
// "height", "slope", ... as the legend and the state file name the view.
const char* GetAuthorViewName(AuthorView View);
// The legend in the bottom-left corner, above BottomPx: what each colour of the view means.
void RenderAuthorViewLegend(const PixelCanvas& Canvas, AuthorView View, const SpringMapRenderer& Map,
                            double BottomPx);
