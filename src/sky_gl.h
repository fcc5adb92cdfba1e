#pragma once

#include <string>

#include <epoxy/gl.h>

#include "springmap_look.h"

// The sky behind the terrain: a gradient from the map's fog colour at the horizon to its sky colour
// overhead, so a low camera looks across the map into a sky instead of a black void. Drawn first,
// without depth, over the whole GL viewport; the terrain covers what lies below the horizon.
class SkyGL
{
  public:
    SkyGL() = default;
    SkyGL(const SkyGL&) = delete;
    SkyGL& operator=(const SkyGL&) = delete;
    ~SkyGL();

    bool Create(std::string& Error);
    // PitchDeg: the camera's look-down angle; FovDeg: its vertical field of view (clamped to 1..170).
    void Draw(double PitchDeg, double FovDeg, const SpringMapLook& Look) const;

    // Where the horizon crosses the view, in normalised device units (-1 bottom, 1 top): a level
    // ray sits PitchDeg above the view's axis.
    static double GetHorizonNdcY(double PitchDeg, double FovDeg);

  private:
    GLuint Program = 0;
    GLuint EmptyArray = 0;
    GLint HorizonLocation = -1, HazeLocation = -1, ZenithLocation = -1;
};
