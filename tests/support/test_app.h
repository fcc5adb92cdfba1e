#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core.h"
#include "glviewport.h"
#include "glwindow.h"
#include "mouse.h"
#include "rend.h"
#include "sdl_seam.h"
#include "ttf.h"
#include "vehicleunit.h"

// A viewport that records the calls the layer makes into the rest of the viewport.
class TestViewport : public GLViewport
{
  public:
    struct RoutePlan
    {
        std::vector<Vec3D> Goals;
        std::vector<bool> Active;
        bool bAppend = false;
    };
    struct PresetCall
    {
        JetExhaustQuality Quality;
        float Scale;
        std::string Label;
    };

    int ResetCameraCalls = 0;
    mutable std::vector<Vec3D> DriveableRequests; // FindDriveableVehicleWaypoint is const
    std::vector<RoutePlan> RoutePlans;
    std::vector<PresetCall> PresetCalls;
    // When set, FindDriveableVehicleWaypoint returns its argument unchanged.
    bool bIdentityDriveable = true;

    void ResetSpringMapCamera() override { ++ResetCameraCalls; }
    Vec3D FindDriveableVehicleWaypoint(const Vec3D& Point) const override
    {
        DriveableRequests.push_back(Point);
        return bIdentityDriveable ? Point : GLViewport::FindDriveableVehicleWaypoint(Point);
    }
    void SubmitVehicleRoutePlan(const std::vector<Vec3D>& goals, const std::vector<bool>& active,
                                bool append) override
    {
        RoutePlans.push_back({goals, active, append});
        GLViewport::SubmitVehicleRoutePlan(goals, active, append);
    }
    void ApplyJetEffectsPreset(JetExhaustQuality Quality, float Scale, const char* Label) override
    {
        PresetCalls.push_back({Quality, Scale, Label ? Label : ""});
        GLViewport::ApplyJetEffectsPreset(Quality, Scale, Label);
    }
};

// A font renderer that also notes the 2D renderer's state at each text call, so a test can tell
// whether text was drawn inside or after a beginFrame/endFrame pair.
class MomentTTF : public TTF
{
  public:
    struct Moment
    {
        bool bRendInFrame = false;
        int EndFrameCount = 0;
        std::size_t PrimitiveCount = 0;
    };
    std::vector<Moment> Moments;

    void Text3DL(const char* Text, float x, float y, float z, int SizePx, const GLColor& Color) override
    {
        TTF::Text3DL(Text, x, y, z, SizePx, Color);
        if (p && p->pRend)
            Moments.push_back(
                {p->pRend->IsInFrame(), p->pRend->GetEndFrameCount(), p->pRend->GetPrimitives().size()});
    }
};

// The application services the layer reaches through the global p, for one test.
// The window is 1280x720 and the viewport covers it: global (-1, 1)-(1, -1).
class TestApp
{
  public:
    CoreSDL CoreSdl;
    Mouse MouseState;
    Rend Renderer;
    MomentTTF Font;
    Quindle App;
    Core CoreServices;
    GLWindow Window;
    TestViewport View;

    TestApp()
    {
        sdlseam::Reset();
        CoreSdl.Width = 1280;
        CoreSdl.Height = 720;
        Renderer.pTTF = &Font;
        CoreServices = Core{&CoreSdl, &Renderer, &MouseState, &App};
        p = &CoreServices;
        View.pParentWindow = &Window;
        View.bHasFocus = true;
    }
    ~TestApp() { p = nullptr; }
    TestApp(const TestApp&) = delete;
    TestApp& operator=(const TestApp&) = delete;

    // A flat (or given) square map of Cells x Cells squares of 8 world units.
    void LoadFlatMap(int Cells = 128, float Height = 0.0f)
    {
        std::vector<float> heights(static_cast<std::size_t>(Cells + 1) * (Cells + 1), Height);
        View.SpringMap.LoadHeightGrid(Cells + 1, Cells + 1, 8.0f, std::move(heights));
    }

    // Moves the pointer to a viewport-local 0..1 point (global and window pixels follow).
    void PointAtLocal(double x01, double y01)
    {
        const double gx = View.WindowX1 + x01 * (View.WindowX2 - View.WindowX1);
        const double gy = View.WindowY1 + y01 * (View.WindowY2 - View.WindowY1);
        PointAtGlobal(gx, gy);
    }
    // Moves the pointer to the centre of a viewport-local pixel, so whole-pixel conversions are exact.
    void PointAtPixel(int xPx, int yPx)
    {
        const double widthPx = (View.WindowX2 - View.WindowX1) * 0.5 * CoreSdl.Width;
        const double heightPx = (View.WindowY1 - View.WindowY2) * 0.5 * CoreSdl.Height;
        PointAtLocal((xPx + 0.5) / widthPx, (yPx + 0.5) / heightPx);
    }
    void PointAtGlobal(double gx, double gy)
    {
        MouseState.X3D = gx;
        MouseState.Y3D = gy;
        const double px = (gx + 1.0) * 0.5 * CoreSdl.Width;
        const double py = (1.0 - gy) * 0.5 * CoreSdl.Height;
        MouseState.X = px > 0 ? static_cast<unsigned>(px) : 0u;
        MouseState.Y = py > 0 ? static_cast<unsigned>(py) : 0u;
    }

    // Runs one frame with the given buttons down (index 0 left, 1 middle, 2 right).
    void Frame(bool bLeft = false, bool bMiddle = false, bool bRight = false)
    {
        for (int i = 0; i < Mouse::ButtonCount; ++i)
            MouseState.pPrevButton[i] = MouseState.pButton[i];
        MouseState.pButton[Mouse::Left] = bLeft;
        MouseState.pButton[Mouse::Middle] = bMiddle;
        MouseState.pButton[Mouse::Right] = bRight;
        App.bChildWindowProcessed = false;
        View.MouseProcessing();
    }

    const std::vector<std::string>& Messages() const { return Window.GetStatusHistory(); }
};
