#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <epoxy/gl.h>

#include "airsim.h"
#include "framepartstimer.h"
#include "glchildwindow.h"
#include "gltogglebutton.h"
#include "jetexhaust.h"
#include "maplook_gl.h"
#include "springmap_renderer.h"
#include "unitsimulation.h"
#include "vec3d.h"
#include "viewcamera.h"

class SceneGL;
class VehicleUnit;

// Wraps an angle into (-180, 180]; NaN stays NaN.
double WrapAngleDeg(double AngleDeg);

// The 3D view of the map. The navigation and interaction layer (glviewport_nav.cpp) turns the
// frame's pointer, buttons and keys into camera moves, selection and orders, and draws its 2D
// overlays; glviewport.cpp holds the scene, the coordinate conversions and the unit services.
//
// Defaults below are the application's: each says why it has its value.
class GLViewport : public GLChildWindow
{
  public:
    GLViewport();
    ~GLViewport() override;

    // --- Window-system events (navigation and interaction layer) ---
    void EventMouseOut() override;
    void EventMouseClick(int ButtonID, double x, double y) override;
    void MouseProcessing() override;
    void Render() override;

    // --- Viewport mode, camera and pointer ---
    bool bSpringMapView = true;         // show the map; with a loaded map this is the "map view"
    bool bVehicleControl = true;        // selection and orders on
    bool bAutoRotate = false;           // a person starts in control; the toggle turns it on
    double AutoRotateDegPerSec = 6.0;   // one turn a minute: slow enough to read the map
    double CameraDistance = 1200.0;     // reset for the loaded map by ResetSpringMapCamera
    double CameraFovDeg = 45.0;         // a natural lens; used clamped to 1..170
    bool bMouseInteraction = true;      // mouse camera, zoom, selection and gestures on
    double CameraYawDeg = 0.0;          // (-180, 180]
    double CameraPitchDeg = 50.0;       // looking down onto the map, inside 8..84
    double OrbitDegPerPixel = 0.25;     // a full-width drag of 1280 px turns 320 degrees
    double ZoomStep = 20.0;             // world units; over the map the wheel moves 8 % at least
    double MinCameraDistance = 50.0;    // close enough to see a vehicle's shape
    double MaxCameraDistance = 20000.0; // a 32x32 map (16384 units) still fits the view
    double MouseLocalX = 0.0;
    double MouseLocalY = 0.0;
    int MouseLocalXPx = 0;
    int MouseLocalYPx = 0;
    bool bMouseInside = false;
    bool bNavWidgetVisible = true;
    bool bAutoRotateToggleVisible = true;
    double NavWidgetSize = 0.12;   // clamped to 0.18..0.48 where used: the smallest legible widget
    double NavWidgetMargin = 0.07; // keeps the widget clear of the Rotate toggle below it
    double NavRotateSpeed = 5.0;   // degrees per button step
    double NavPanSpeed = 0.08;     // pan step factor on distance / 3.2
    double NavZoomRate = 5.0;      // zoom buttons move five ZoomSteps per step
    double NavHoldRate = 6.0;      // a held button repeats six steps per second
    double PanX = 0.0;
    double PanY = 0.0;
    double WorldOffsetX = 0.0;
    double WorldOffsetZ = 0.0;

    // --- Embedded objects ---
    SpringMapRenderer SpringMap;
    MapLookOptions MapDisplay; // water, features and the author view
    MapLookGL MapLook;         // GL objects made by the first Render that needs them
    std::vector<std::unique_ptr<AirUnit>> AirUnits;
    JetExhaustSystem JetExhaust;

    // --- Effects figures (written by the effects rendering) ---
    int JetEffectsTargetWidth = 0;
    int JetEffectsTargetHeight = 0;
    double JetEffectsCpuMs[5] = {};
    double JetEffectsGpuMs[5] = {};
    double JetEffectsMemoryMiB = 0.0;
    double JetEffectsGpuBudgetMs = 4.0; // a quarter of a 60 Hz frame
    std::string JetEffectsStatusText;
    bool bJetEffectsPanelVisible = true;
    float JetEffectsScale = 0.75f; // the Medium preset's scale

    // --- Interaction state ---
    std::unique_ptr<GLToggleButton> pAutoRotateToggle;
    bool bOrbitDrag = false;
    bool bPanDrag = false;
    bool bSelectionDragActive = false;
    bool bOrderDrag = false;
    bool bOrderDragMoved = false;
    bool bAirPatrolPlacement = false;
    bool bAirPatrolRouteActive = false;
    bool bPrevPatrolKey = false;
    bool bPrevEscapeKey = false;
    double SelectionStartX = 0.0, SelectionStartY = 0.0;
    double SelectionEndX = 0.0, SelectionEndY = 0.0;
    double OrderPressX = 0.0, OrderPressY = 0.0;
    double OrderCurrentX = 0.0, OrderCurrentY = 0.0;
    Vec3D OrderPressWorld;
    Vec3D OrderLastWorld;
    std::vector<double> FormationScreenX, FormationScreenY;
    std::vector<Vec3D> FormationPath;
    std::vector<bool> VehicleSelectionMask;
    bool bAirUnitsSelected = false;
    int OrbitLastXPx = 0, OrbitLastYPx = 0;
    int PanStartXPx = 0, PanStartYPx = 0;
    unsigned int PanLastMouseX = 0, PanLastMouseY = 0;
    int HoverNavButton = 0;
    int ActiveNavButton = 0;
    std::uint64_t NavRepeatStartMs = 0;
    std::uint64_t NavLastRepeatMs = 0;
    int LastSelectedVehicleIndex = -1;

    // === Navigation and interaction layer (glviewport_nav.cpp) ===

    // Picking: viewport-local 0..1 point to the map point under it.
    bool ScreenToSpringMapWorld(double x01, double y01, Vec3D& outWorld) const;
    bool ScreenToSpringMapWorldAtHeight(double x01, double y01, double height, Vec3D& outWorld) const;

    // Navigation widget and auto-rotate toggle.
    bool GetNavWidgetPanelRect(double& X1, double& Y1, double& X2, double& Y2) const;
    bool GetAutoRotateToggleRect(double& X1, double& Y1, double& X2, double& Y2) const;
    int HitNavButton(double LocalX01, double LocalY01, bool* pbInsidePanel) const;
    void ApplyNavButton(int ButtonID);
    void ApplyNavButtonScaled(int ButtonID, double StepScale);
    void RenderNavWidgetOverlay() const;
    void SyncAutoRotateToggleState() const;
    void RenderAutoRotateToggleOverlay() const;

    // Selection and orders.
    void SelectVehiclesInScreenRect(double x1, double y1, double x2, double y2, bool additive);
    void RenderUnitSelectionOverlay() const;
    void SubmitSelectedVehicleRoute(const Vec3D& waypoint, bool append);
    void SubmitSelectedVehicleFormationRoute(const std::vector<Vec3D>& path, bool append);
    void RenderFormationOrderOverlay() const;
    void SubmitSelectedAirRoute(const std::vector<Vec3D>& path, bool append);
    void SubmitSelectedAirPatrol(const Vec3D& waypoint, bool append);
    bool SetSpringVehicleWaypointFromScreen(double globalX, double globalY, bool queueWaypoint);

    // Effects panel.
    bool GetJetEffectsPanelRect(double& x1, double& y1, double& x2, double& y2) const;
    void RenderJetEffectsOverlay() const;

    // === Rest of the viewport (glviewport.cpp); virtual so tests can observe and steer them ===
    virtual bool GlobalToLocalPixels(double GlobalX, double GlobalY, int& LocalXPx, int& LocalYPx) const;
    virtual bool GlobalToLocal01(double GlobalX, double GlobalY, double& LocalX01, double& LocalY01) const;
    virtual void GetRenderedViewportRect(GLdouble& X1, GLdouble& Y1, GLdouble& X2, GLdouble& Y2) const;
    virtual void ResetSpringMapCamera();
    virtual std::vector<VehicleUnit*> GetControllableVehicles();
    virtual Vec3D FindDriveableVehicleWaypoint(const Vec3D& Point) const;
    virtual void SubmitVehicleRoutePlan(const std::vector<Vec3D>& goals, const std::vector<bool>& active,
                                        bool append);
    virtual void ApplyJetEffectsPreset(JetExhaustQuality Quality, float Scale, const char* Label);

    // The orbit camera of the camera fields at SDL_GetTicks() time, auto-rotation phase and aspect
    // of the rendered viewport included; picking walks it backwards. False, with the aspect left
    // alone, when the window's size is unknown.
    bool GetOrbitCamera(OrbitCamera& Camera) const;
    // The camera Render draws with: GetOrbitCamera, square when the aspect is unknown or degenerate.
    OrbitCamera GetSceneCamera() const;
    // World to clip space of that camera, with near and far planes fitted to the map.
    Mat4 GetSceneViewProjection() const;

    // The vehicles this viewport shows and controls.
    std::vector<std::unique_ptr<VehicleUnit>> Vehicles;

    // Moves Vehicles and AirUnits over SpringMap; the application steps it once per frame.
    UnitSimulation Units{SpringMap, Vehicles, AirUnits};
    // UnitSimulation::PlaceUnits, with the selection cleared: the old indices name other units.
    bool PlaceUnitsOnMap(int VehicleCount, int AircraftCount);

    // GL resources of the 3D scene, created by the first Render (which needs a current context);
    // after a failed creation the map is still drawn, without units, and creation is not retried.
    std::unique_ptr<SceneGL> pScene;
    bool bSceneCreateFailed = false;
    // Set by a measuring run: Render times its parts with it.
    FramePartsTimer* pPartsTimer = nullptr;

  private:
    // The frame's mouse input, read once at the start of MouseProcessing.
    struct MouseFrame
    {
        bool lPressed = false, lReleased = false, lHeld = false;
        bool mPressed = false, mReleased = false, mHeld = false;
        bool rPressed = false, rReleased = false, rHeld = false;
        std::uint64_t now = 0;
        bool bInsideWidgetPanel = false;
    };

    bool IsMapViewActive() const;

    // Steps of MouseProcessing; a step returning true has taken the frame (MouseProcessing returns).
    void ProcessPatrolKeys(bool patrolKey, bool escapeKey);
    bool ProcessEffectsPanelPress(MouseFrame& frame);
    bool ProcessPatrolClicks(const MouseFrame& frame);
    void ProcessBoxSelection(const MouseFrame& frame);
    bool ProcessOrderGesture(const MouseFrame& frame);
    void StartOrderGesture();
    void UpdateOrderGesture();
    void FinishOrderGesture();
    // Selection picks; false when a pick misses the map, which ends the selection silently.
    bool SelectNearestUnit(const std::vector<VehicleUnit*>& vehicles, double x01, double y01);
    bool SelectUnitsInBand(const std::vector<VehicleUnit*>& vehicles, double x1, double y1, double x2,
                           double y2);
    void UpdateCameraDrags(const MouseFrame& frame);
    void ShowStatus(const std::string& Text) const;
};
