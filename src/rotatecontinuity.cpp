#include "rotatecontinuity.h"

#include <SDL3/SDL_timer.h>

#include "glviewport.h"

namespace
{
double GetAutoRotatePhaseDeg(const GLViewport& View)
{
    return SDL_GetTicks() * 0.001 * View.AutoRotateDegPerSec;
}
} // namespace

double GetRenderedYawDeg(const GLViewport& View)
{
    return WrapAngleDeg(View.bAutoRotate ? View.CameraYawDeg + GetAutoRotatePhaseDeg(View)
                                         : View.CameraYawDeg);
}

void RotateContinuity::Sync(GLViewport& View)
{
    if (bKnown && View.bAutoRotate != bLastAutoRotate)
    {
        const double phaseDeg = GetAutoRotatePhaseDeg(View);
        View.CameraYawDeg =
            WrapAngleDeg(View.bAutoRotate ? View.CameraYawDeg - phaseDeg : View.CameraYawDeg + phaseDeg);
    }
    bKnown = true;
    bLastAutoRotate = View.bAutoRotate;
}
