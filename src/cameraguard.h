#pragma once

class GLViewport;

// The viewport shows a loaded map with its terrain mesh (the map view is active).
bool HasActiveMapView(const GLViewport& View);

// Fits the viewport's zoom range to the loaded map and the terrain under the eye. The layer orbits
// a centre at height 0 while the ground may stand hundreds of units high, so a fixed closest
// distance would put the eye inside a hill. Apply runs before the input of a frame is routed and
// again before the frame is drawn:
//  - MinCameraDistance becomes the least distance at which the eye, at the current yaw, pitch and
//    pan, is ClearanceWorld above every bit of ground within ClearanceWorld of it;
//  - CameraDistance is pushed out to the nearest clear distance when the eye stands in the ground
//    (after a turn, a tilt or a pan over a hill);
//  - MaxCameraDistance lets the whole map fit with room to spare, and never less than the minimum.
// Only the map view is guarded: without a map there is no ground to keep out of.
class CameraGuard
{
  public:
    static constexpr double ClearanceWorld = 24.0; // three squares of the map grid
    static constexpr double ClosestWorld = 50.0;   // close enough to see a vehicle's shape
    // The farthest zoom shows the map this many times its framing distance: a small map still
    // fills a good part of the view, a large one fits whole.
    static constexpr double MaxOverFramingDistance = 1.5;

    static void Apply(GLViewport& View);
    // The distance at which the whole loaded map fits the vertical field of view.
    static double GetMapFramingDistance(const GLViewport& View);

    // Where the eye of the view is in the world, with the yaw it is drawn with.
    static void GetEyePosition(const GLViewport& View, double Distance, double& X, double& Y, double& Z);
    // The eye at Distance keeps the clearance above the ground around it.
    static bool IsEyeClear(const GLViewport& View, double Distance);
};
