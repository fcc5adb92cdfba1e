#pragma once

class GLViewport;

// The yaw the scene is drawn and picked with: CameraYawDeg plus, while auto-rotation runs, a
// phase that has grown since the program started; wrapped into (-180, 180].
double GetRenderedYawDeg(const GLViewport& View);

// Switching auto-rotation on or off would add or drop that whole phase at once: after half a
// minute the view jumps by half a turn. The application calls Sync after anything that may switch
// it, before the next draw or pick, and Sync folds the phase of that moment into CameraYawDeg, so
// the yaw the user sees goes on from where it was.
class RotateContinuity
{
  public:
    void Sync(GLViewport& View);

  private:
    bool bKnown = false; // the first call only learns the state
    bool bLastAutoRotate = false;
};
