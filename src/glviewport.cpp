// The rest of the viewport: the 3D scene with its jet effects, coordinate conversions, the camera
// reset for a loaded map and the services the interaction layer hands unit orders to.
#include "glviewport.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>

#include <SDL3/SDL_keyboard.h>
#include <SDL3/SDL_timer.h>

#include "airsim.h"
#include "cameraguard.h"
#include "core.h"
#include "scene_gl.h"
#include "vehicleorders.h"
#include "vehicleunit.h"

GLViewport::GLViewport() : pAutoRotateToggle(std::make_unique<GLToggleButton>())
{
    pAutoRotateToggle->Label = "Rotate";
}

GLViewport::~GLViewport() = default;

namespace
{
// Whole pixels from a fractional position; far or non-finite values are pinned to a range in
// which differences of two positions cannot overflow an int.
int ToWholePixels(double Px)
{
    constexpr double Limit = 1 << 24;
    if (!(Px > -Limit))
        return std::isnan(Px) ? 0 : -static_cast<int>(Limit);
    if (Px > Limit)
        return static_cast<int>(Limit);
    return static_cast<int>(std::floor(Px));
}

static_assert(sizeof(GLViewport::JetEffectsCpuMs) / sizeof(double) == JetExhaustPassCount &&
                  sizeof(GLViewport::JetEffectsGpuMs) / sizeof(double) == JetExhaustPassCount,
              "one effects figure per pass");

// The nozzle sits at the tail of the shape the scene draws.
constexpr double JetNozzleBehindWorld = SceneGL::AircraftLengthWorld * 0.5;

// One emitter per aircraft, streaming opposite to its direction of flight.
std::vector<JetExhaustEmitter> CollectJetEmitters(const std::vector<std::unique_ptr<AirUnit>>& AirUnits)
{
    std::vector<JetExhaustEmitter> emitters;
    emitters.reserve(AirUnits.size());
    for (const std::unique_ptr<AirUnit>& air : AirUnits)
    {
        if (!air)
            continue;
        const double headingRad = air->Flight.HeadingDeg * M_PI / 180.0;
        const double dirX = std::sin(headingRad), dirZ = std::cos(headingRad);
        const Vec3D& at = air->Aircraft.Position;
        JetExhaustEmitter emitter;
        emitter.Position[0] = static_cast<float>(at.X - dirX * JetNozzleBehindWorld);
        emitter.Position[1] = static_cast<float>(at.Y);
        emitter.Position[2] = static_cast<float>(at.Z - dirZ * JetNozzleBehindWorld);
        emitter.Direction[0] = static_cast<float>(dirX);
        emitter.Direction[1] = 0.0f;
        emitter.Direction[2] = static_cast<float>(dirZ);
        emitters.push_back(emitter);
    }
    return emitters;
}

// Plumes over the scene just drawn (its framebuffer still bound), into the given GL viewport; the
// panel's figures change only when the effect ran.
void RenderJetEffects(GLViewport& View, const std::array<float, 16>& ViewProjection, GLint LeftPx,
                      GLint BottomPx, GLsizei WidthPx, GLsizei HeightPx)
{
    JetExhaustFrameInput input;
    input.Emitters = CollectJetEmitters(View.AirUnits);
    input.ViewProjection = ViewProjection;
    input.ViewportXPx = LeftPx;
    input.ViewportYPx = BottomPx;
    input.ViewportWidthPx = WidthPx;
    input.ViewportHeightPx = HeightPx;
    input.Scale = View.JetEffectsScale;
    input.TimeSec = SDL_GetTicks() * 0.001;
    JetExhaustFigures figures;
    if (!View.JetExhaust.Render(input, figures))
        return;
    View.JetEffectsTargetWidth = figures.TargetWidth;
    View.JetEffectsTargetHeight = figures.TargetHeight;
    std::copy(std::begin(figures.CpuMs), std::end(figures.CpuMs), std::begin(View.JetEffectsCpuMs));
    // GPU times arrive a frame or more late: until the first ones do, the last known stay shown;
    // with the effect off there is no GPU work to show.
    const bool bAnyPassRan =
        std::any_of(std::begin(figures.bPassRan), std::end(figures.bPassRan), [](bool bRan) { return bRan; });
    if (figures.bGpuTimesValid || !bAnyPassRan)
        std::copy(std::begin(figures.GpuMs), std::end(figures.GpuMs), std::begin(View.JetEffectsGpuMs));
    View.JetEffectsMemoryMiB = figures.MemoryMiB;
    View.JetEffectsStatusText = figures.StatusText;
}
} // namespace

bool GLViewport::GlobalToLocal01(double GlobalX, double GlobalY, double& LocalX01, double& LocalY01) const
{
    const double w = WindowX2 - WindowX1;
    const double h = WindowY1 - WindowY2;
    if (!(w > 0.0) || !(h > 0.0))
        return false;
    LocalX01 = (GlobalX - WindowX1) / w;
    LocalY01 = (WindowY1 - GlobalY) / h;
    return LocalX01 >= 0.0 && LocalX01 <= 1.0 && LocalY01 >= 0.0 && LocalY01 <= 1.0;
}

bool GLViewport::GlobalToLocalPixels(double GlobalX, double GlobalY, int& LocalXPx, int& LocalYPx) const
{
    double x01 = 0.0, y01 = 0.0;
    const bool bInside = GlobalToLocal01(GlobalX, GlobalY, x01, y01);
    if (!p || !p->pCoreSDL || !(WindowX2 > WindowX1) || !(WindowY1 > WindowY2))
        return false;
    // Global units span 2 across the window, so half the extent times the window size is pixels.
    const double widthPx = (WindowX2 - WindowX1) * 0.5 * p->pCoreSDL->Width;
    const double heightPx = (WindowY1 - WindowY2) * 0.5 * p->pCoreSDL->Height;
    LocalXPx = ToWholePixels(x01 * widthPx);
    LocalYPx = ToWholePixels(y01 * heightPx);
    return bInside;
}

void GLViewport::GetRenderedViewportRect(GLdouble& X1, GLdouble& Y1, GLdouble& X2, GLdouble& Y2) const
{
    X1 = WindowX1;
    Y1 = WindowY1;
    X2 = WindowX2;
    Y2 = WindowY2;
}

void GLViewport::ResetSpringMapCamera()
{
    CameraYawDeg = 0.0;
    CameraPitchDeg = 50.0;
    PanX = PanY = 0.0;
    if (!SpringMap.IsLoaded())
        return;
    WorldOffsetX = SpringMap.GetWorldWidth() * 0.5;
    WorldOffsetZ = SpringMap.GetWorldDepth() * 0.5;
    CameraDistance =
        std::min(std::max(CameraGuard::GetMapFramingDistance(*this), MinCameraDistance), MaxCameraDistance);
}

std::vector<VehicleUnit*> GLViewport::GetControllableVehicles()
{
    return CollectControllableVehicles(Vehicles);
}

Vec3D GLViewport::FindDriveableVehicleWaypoint(const Vec3D& Point) const
{
    return Units.FindDriveableWaypoint(Point);
}

void GLViewport::SubmitVehicleRoutePlan(const std::vector<Vec3D>& goals, const std::vector<bool>& active,
                                        bool append)
{
    ApplyVehicleRoutePlan(GetControllableVehicles(), goals, active, append);
}

bool GLViewport::PlaceUnitsOnMap(int VehicleCount, int AircraftCount)
{
    if (!Units.PlaceUnits(VehicleCount, AircraftCount))
        return false;
    VehicleSelectionMask.assign(Vehicles.size(), false);
    bAirUnitsSelected = false;
    return true;
}

void GLViewport::ApplyJetEffectsPreset(JetExhaustQuality Quality, float Scale, const char*)
{
    JetExhaust.Debug().Quality = Quality;
    JetEffectsScale = Scale;
}

OrbitCamera GLViewport::GetSceneCamera() const
{
    OrbitCamera camera;
    if (!GetOrbitCamera(camera) || !std::isfinite(camera.Aspect) || !(camera.Aspect > 0.0))
        camera.Aspect = 1.0;
    return camera;
}

Mat4 GLViewport::GetSceneViewProjection() const
{
    const OrbitCamera camera = GetSceneCamera();
    // Depth range: everything from just in front of the eye to beyond the far side of the map.
    const double extent =
        SpringMap.IsLoaded() ? std::max(SpringMap.GetWorldWidth(), SpringMap.GetWorldDepth()) : 0.0;
    const double distance = std::max(std::fabs(camera.Distance), 1.0);
    const double farZ = distance + std::hypot(camera.PanX, camera.PanY) + extent * 2.0 + 1000.0;
    // The eye keeps CameraGuard's clearance from the ground around it, so a near plane inside that
    // clips no terrain at any allowed distance.
    const double nearZ = std::min(std::max(farZ * 1e-4, 0.5), CameraGuard::ClearanceWorld * 0.5);
    return BuildPerspectiveMatrix(camera.FovDeg, camera.Aspect, nearZ, farZ) * BuildOrbitViewMatrix(camera);
}

void GLViewport::Render()
{
    if (!bVisible || !p || !p->pCoreSDL)
        return;
    if (!pScene && !bSceneCreateFailed)
    {
        auto scene = std::make_unique<SceneGL>();
        std::string error;
        if (scene->Create(error))
            pScene = std::move(scene);
        else
        {
            // Reported once: retrying every frame would repeat the failure and hide other messages.
            bSceneCreateFailed = true;
            const std::string message = "Units cannot be drawn: " + error;
            std::fprintf(stderr, "quindle: %s\n", message.c_str());
            ShowStatus(message);
        }
    }
    const int widthPx = p->pCoreSDL->Width, heightPx = p->pCoreSDL->Height;
    GLdouble x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
    GetRenderedViewportRect(x1, y1, x2, y2);
    // Global -1..1 to window pixels, GL's origin at the bottom left.
    const GLint leftPx = static_cast<GLint>(std::lround((x1 + 1.0) * 0.5 * widthPx));
    const GLint bottomPx = static_cast<GLint>(std::lround((y2 + 1.0) * 0.5 * heightPx));
    const GLsizei viewportWidthPx = static_cast<GLsizei>(std::lround((x2 - x1) * 0.5 * widthPx));
    const GLsizei viewportHeightPx = static_cast<GLsizei>(std::lround((y1 - y2) * 0.5 * heightPx));
    if (viewportWidthPx <= 0 || viewportHeightPx <= 0)
        return;
    glViewport(leftPx, bottomPx, viewportWidthPx, viewportHeightPx);
    glEnable(GL_SCISSOR_TEST);
    glScissor(leftPx, bottomPx, viewportWidthPx, viewportHeightPx);
    glClearColor(0.09f, 0.11f, 0.14f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glDisable(GL_SCISSOR_TEST);
    if (bSpringMapView)
    {
        const std::array<float, 16> viewProjection = GetSceneViewProjection().ToFloat();
        Vec3D eye;
        CameraGuard::GetEyePosition(*this, CameraDistance, eye.X, eye.Y, eye.Z);
        {
            const ScopedFramePart part(pPartsTimer, FramePartsTimer::Part::Terrain);
            if (pScene)
                pScene->DrawSky(CameraPitchDeg, CameraFovDeg, SpringMap.Shading.Look);
            MapLook.PrepareTerrain(SpringMap, Units.GetDriveability(), MapDisplay, eye);
            SpringMap.Render(viewProjection.data());
        }
        const auto reportMissing = [this](const std::string& error)
        {
            const std::string message = "Map drawn without water or features: " + error;
            std::fprintf(stderr, "quindle: %s\n", message.c_str());
            ShowStatus(message);
        };
        {
            const ScopedFramePart part(pPartsTimer, FramePartsTimer::Part::Water);
            if (std::string error; !MapLook.DrawWater(SpringMap, MapDisplay, viewProjection.data(), error))
                reportMissing(error);
        }
        {
            const ScopedFramePart part(pPartsTimer, FramePartsTimer::Part::Features);
            if (std::string error; !MapLook.DrawFeatures(SpringMap, MapDisplay, viewProjection.data(), error))
                reportMissing(error);
        }
        if (pScene)
        {
            const ScopedFramePart part(pPartsTimer, FramePartsTimer::Part::Units);
            const SceneContent content{SpringMap,
                                       Vehicles,
                                       AirUnits,
                                       VehicleSelectionMask,
                                       bAirUnitsSelected,
                                       eye,
                                       2.0 * std::tan(std::clamp(CameraFovDeg, 1.0, 170.0) * M_PI / 360.0) /
                                           viewportHeightPx,
                                       (SDL_GetModState() & SDL_KMOD_SHIFT) != 0};
            pScene->Draw(content, viewProjection);
        }
        const ScopedFramePart part(pPartsTimer, FramePartsTimer::Part::JetEffect);
        RenderJetEffects(*this, viewProjection, leftPx, bottomPx, viewportWidthPx, viewportHeightPx);
    }
    // The 2D overlays draw in global coordinates across the whole window.
    glViewport(0, 0, widthPx, heightPx);
}
