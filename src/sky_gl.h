#pragma once

#include <string>

#include <epoxy/gl.h>

// The sky behind the terrain: a gradient from a pale haze at the horizon to a deeper blue
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
    void Draw(double PitchDeg, double FovDeg) const;

    // Where the horizon crosses the view, in normalised device units (-1 bottom, 1 top): a level
    // ray sits PitchDeg above the view's axis.
    static double GetHorizonNdcY(double PitchDeg, double FovDeg);

  private:
    GLuint Program = 0;
    GLuint EmptyArray = 0;
    GLint HorizonLocation = -1;
};
