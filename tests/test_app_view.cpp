// The application around the viewport, driven through SDL's event queue in a real headless
// window: frames split at button transitions, the drawn yaw kept when auto-rotation switches, the
// eye kept out of the ground on every fixture map, and the view's keys.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>

#include <SDL3/SDL.h>
#include <gtest/gtest.h>

#include "cameraguard.h"
#include "headless_app.h"
#include "rotatecontinuity.h"
#include "statejson.h"
#include "vehicleunit.h"

namespace
{
constexpr int WidthPx = 320, HeightPx = 180;

class AppView : public HeadlessApp
{
  protected:
    void Start(const std::string& MapPath = {}, int VehicleCount = 12)
    {
        AppOptions options;
        options.MapPath = MapPath, options.VehicleCount = VehicleCount, options.WidthPx = WidthPx;
        options.HeightPx = HeightPx, options.FrameCount = 1;
        HeadlessApp::Start(options);
        Frame();
    }
    void Wheel(float Notches)
    {
        SDL_Event e{};
        e.type = SDL_EVENT_MOUSE_WHEEL, e.wheel.y = Notches;
        e.wheel.mouse_x = WidthPx * 0.5f, e.wheel.mouse_y = HeightPx * 0.5f;
        Push(e);
    }
    // A world point in window pixels through the matrix the scene is drawn with; false behind the eye.
    bool Project(const Vec3D& At, double& XPx, double& YPx)
    {
        double clip[4];
        View().GetSceneViewProjection().Transform(At.X, At.Y, At.Z, 1.0, clip);
        XPx = (clip[0] / clip[3] + 1.0) * 0.5 * WidthPx;
        YPx = (1.0 - clip[1] / clip[3]) * 0.5 * HeightPx;
        return clip[3] > 0.0;
    }
    bool IsOnScreen(const Vec3D& At)
    {
        double xPx = 0.0, yPx = 0.0;
        return Project(At, xPx, yPx) && xPx >= 0 && xPx <= WidthPx && yPx >= 0 && yPx <= HeightPx;
    }
    int CountSelected() { return int(std::ranges::count(View().VehicleSelectionMask, true)); }
};

TEST_F(AppView, PressAndReleaseSeeThePointerWhereTheyHappened)
{
    Start();
    // Moved on before the frame: the band still starts where the button went down.
    Move(80, 60);
    Button(true, SDL_BUTTON_LEFT, 80, 60);
    Move(200, 120);
    Frame();
    ASSERT_TRUE(View().bSelectionDragActive);
    EXPECT_DOUBLE_EQ(View().SelectionStartX, 80.0 / WidthPx);
    EXPECT_DOUBLE_EQ(View().SelectionStartY, 60.0 / HeightPx);
    EXPECT_DOUBLE_EQ(View().SelectionEndX, 200.0 / WidthPx);
    Button(false, SDL_BUTTON_LEFT, 200, 120);
    Frame();
    EXPECT_FALSE(View().bSelectionDragActive);

    // A click and a move away in one batch select the vehicle under the click, for each of three.
    for (std::size_t target : {0u, 5u, 11u})
    {
        double xPx = 0.0, yPx = 0.0;
        ASSERT_TRUE(Project(View().Vehicles[target]->Position, xPx, yPx));
        Move(float(xPx), float(yPx));
        Button(true, SDL_BUTTON_LEFT, float(xPx), float(yPx));
        Button(false, SDL_BUTTON_LEFT, float(xPx), float(yPx));
        Move(10, 10);
        Frame();
        EXPECT_EQ(CountSelected(), 1) << "vehicle " << target;
        EXPECT_TRUE(View().VehicleSelectionMask[target]) << "vehicle " << target;
        EXPECT_EQ(Status(), "1 unit(s) selected. Right click to move.") << "vehicle " << target;
    }
}

TEST_F(AppView, SwitchingRotationKeepsTheDrawnYaw)
{
    Start();
    const auto drawnYaw = [&] { return View().GetSceneCamera().YawDeg; };
    double drawnDeg = drawnYaw();
    std::uint64_t lastMs = 0;
    // Rotation on at 40 s, off at 55 s, on again in the same millisecond, off at 170.5 s.
    for (std::uint64_t atMs : {40000, 55000, 55000, 170500})
    {
        // Between switches the view turns at the auto-rotation rate.
        const double turnedDeg =
            View().bAutoRotate ? (atMs - lastMs) * 0.001 * View().AutoRotateDegPerSec : 0.0;
        const bool bWasRotating = View().bAutoRotate;
        sdlseam::SetTicks(atMs);
        lastMs = atMs;
        EXPECT_NEAR(std::remainder(drawnYaw() - drawnDeg - turnedDeg, 360.0), 0.0, 1e-9) << "at " << atMs;
        drawnDeg = drawnYaw();
        // The Rotate toggle flips on the press: the frame that saw it already draws the same yaw.
        Button(true, SDL_BUTTON_LEFT, 0.95f * WidthPx, 0.96f * HeightPx);
        Frame();
        ASSERT_NE(View().bAutoRotate, bWasRotating) << "at " << atMs << " ms";
        EXPECT_NEAR(std::remainder(drawnYaw() - drawnDeg, 360.0), 0.0, 1e-9) << "at " << atMs;
        Button(false, SDL_BUTTON_LEFT, 0.95f * WidthPx, 0.96f * HeightPx);
        Frame();
        const std::string json = BuildStateJson(View(), App->GetWindow(), 1);
        EXPECT_NE(json.find("\"yawDeg\": " + JsonNumber(WrapAngleDeg(drawnYaw()))), std::string::npos)
            << json;
    }
}

TEST_F(AppView, FullZoomKeepsTheEyeAboveGroundAndTheMapInView)
{
    const std::filesystem::path maps = QUINDLE_MAPS_DIR;
    if (!std::filesystem::is_directory(maps))
        GTEST_SKIP() << "no shared maps at " << maps;
    for (const char* name : {"Map_Blueprint_V1.sdd", "bridge.sdd", "Blank16.sdd"})
    {
        Start((maps / name).string(), 0);
        GLViewport& view = View();
        const SpringMapRenderer& map = view.SpringMap;
        const std::vector<float>& heights = map.GetHeightGrid();
        const std::size_t top = std::ranges::max_element(heights) - heights.begin();
        for (double pitchDeg : {8.0, 45.0, 84.0})
            for (double yawDeg : {0.0, 135.0})
            {
                view.WorldOffsetX = double(top % map.GetGridWidth()) * map.GetSquareSize();
                view.WorldOffsetZ = double(top / map.GetGridWidth()) * map.GetSquareSize();
                view.CameraPitchDeg = pitchDeg;
                view.CameraYawDeg = yawDeg;
                Wheel(120.0f);
                Frame();
                // The eye of the drawn view: the world point its matrix moves to the origin.
                const Mat4 m = BuildOrbitViewMatrix(view.GetSceneCamera());
                double eye[3];
                for (int i = 0; i < 3; ++i)
                    eye[i] = -(m.M[i * 4] * m.M[12] + m.M[i * 4 + 1] * m.M[13] + m.M[i * 4 + 2] * m.M[14]);
                // The ground within a few squares of the eye stays below it.
                for (double dx = -16.0; dx <= 16.0; dx += 4.0)
                    for (double dz = -16.0; dz <= 16.0; dz += 4.0)
                        ASSERT_GT(eye[1], map.GetTerrainHeight(float(eye[0] + dx), float(eye[2] + dz)))
                            << name << " pitch " << pitchDeg << " yaw " << yawDeg;
                EXPECT_DOUBLE_EQ(view.CameraDistance, view.MinCameraDistance)
                    << name << " pitch " << pitchDeg;
            }
        // Fully out at the starting angle, every corner of the map is in view and the map spans a
        // good part of the width.
        view.ResetSpringMapCamera();
        Wheel(-200.0f);
        Frame();
        EXPECT_DOUBLE_EQ(view.CameraDistance, view.MaxCameraDistance) << name;
        double minX = 1e9, maxX = -1e9, xPx = 0.0, yPx = 0.0;
        for (double cornerX : {0.0, double(map.GetWorldWidth())})
            for (double cornerZ : {0.0, double(map.GetWorldDepth())})
            {
                const Vec3D corner(cornerX, map.GetTerrainHeight(float(cornerX), float(cornerZ)), cornerZ);
                EXPECT_TRUE(IsOnScreen(corner)) << name << " corner " << cornerX << ", " << cornerZ;
                Project(corner, xPx, yPx);
                minX = std::min(minX, xPx);
                maxX = std::max(maxX, xPx);
            }
        EXPECT_GT(maxX - minX, 0.3 * WidthPx) << name;
    }
}

TEST_F(AppView, ViewKeysMoveWhatTheySay)
{
    Start();
    GLViewport& view = View();
    // Moves in camera distances, turns and tilts in degrees; 15 frames of 1/60 s are a quarter second.
    // clang-format off
    struct Case { SDL_Keycode Key; SDL_Keymod Mods; int Frames; double DX, DZ, DYawDeg, PitchDeg, DistanceScale; };
    const Case cases[] = {
        {SDLK_UP, SDL_KMOD_NONE, 15, 0, -0.2, 0, 50, 1},     {SDLK_DOWN, SDL_KMOD_NONE, 15, 0, 0.2, 0, 50, 1},
        {SDLK_LEFT, SDL_KMOD_NONE, 15, -0.2, 0, 0, 50, 1},   {SDLK_RIGHT, SDL_KMOD_NONE, 15, 0.2, 0, 0, 50, 1},
        {SDLK_UP, SDL_KMOD_LCTRL, 15, 0, 0, 0, 50, 1},       {SDLK_E, SDL_KMOD_NONE, 15, 0, 0, 22.5, 50, 1},
        {SDLK_Q, SDL_KMOD_NONE, 15, 0, 0, -22.5, 50, 1},     {SDLK_PAGEDOWN, SDL_KMOD_NONE, 15, 0, 0, 0, 61.25, 1},
        {SDLK_PAGEUP, SDL_KMOD_NONE, 15, 0, 0, 0, 38.75, 1}, {SDLK_PAGEUP, SDL_KMOD_NONE, 120, 0, 0, 0, 8, 1},
        {SDLK_PAGEDOWN, SDL_KMOD_NONE, 120, 0, 0, 0, 84, 1}, {SDLK_EQUALS, SDL_KMOD_NONE, 1, 0, 0, 0, 50, 0.92},
        {SDLK_EQUALS, SDL_KMOD_RSHIFT, 1, 0, 0, 0, 50, 0.92}, {SDLK_KP_MINUS, SDL_KMOD_NONE, 1, 0, 0, 0, 50, 1.08},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        view.ResetSpringMapCamera();
        Frame();
        const double x = view.WorldOffsetX, z = view.WorldOffsetZ, yawDeg = view.CameraYawDeg;
        const double distance = view.CameraDistance;
        Key(true, c.Key, c.Mods);
        Frame(c.Frames);
        Key(false, c.Key, c.Mods);
        Frame(2);
        const std::string what = std::string(SDL_GetKeyName(c.Key)) + " mods " + std::to_string(c.Mods);
        EXPECT_NEAR(view.WorldOffsetX - x, c.DX * distance, 1e-6) << what;
        EXPECT_NEAR(view.WorldOffsetZ - z, c.DZ * distance, 1e-6) << what;
        EXPECT_NEAR(view.CameraYawDeg - yawDeg, c.DYawDeg, 1e-9) << what;
        EXPECT_NEAR(view.CameraPitchDeg, c.PitchDeg, 1e-9) << what;
        EXPECT_NEAR(view.CameraDistance, distance * c.DistanceScale, 1e-6) << what;
    }
}

TEST_F(AppView, EdgeScrollingOnlyInFullscreen)
{
    Start();
    const double startZ = View().WorldOffsetZ;
    for (const SDL_EventType event : {SDL_EVENT_WINDOW_ENTER_FULLSCREEN, SDL_EVENT_WINDOW_LEAVE_FULLSCREEN})
    {
        SDL_Event e{};
        e.type = event;
        Push(e);
        Move(WidthPx * 0.5f, 1); // the top edge: forward
        Frame(6);
        const double movedZ = View().WorldOffsetZ - startZ;
        EXPECT_TRUE(event == SDL_EVENT_WINDOW_ENTER_FULLSCREEN ? movedZ < -1.0 : movedZ == 0.0) << movedZ;
        View().WorldOffsetZ = startZ;
    }
}

TEST_F(AppView, ResizedWindowTakesPointerAndFrameAtItsNewSize)
{
    Start();
    ASSERT_TRUE(SDL_SetWindowSize(App->GetCoreSDL().pWindow, 200, 100)) << SDL_GetError();
    Frame();
    Move(100, 25);
    Button(true, SDL_BUTTON_LEFT, 100, 25);
    Frame();
    EXPECT_DOUBLE_EQ(View().SelectionStartX, 0.5);
    EXPECT_DOUBLE_EQ(View().SelectionStartY, 0.25);
    EXPECT_EQ(App->ReadBackBuffer().size(), 200u * 100u * 4u);
}

TEST(KeyCamera, SameMotionPerSecondAt30And120Hz)
{
    sdlseam::Reset();
    // clang-format off
    struct Case { AppAction Action; int Chord; bool bEdgeScroll; double PointerXPx, PointerYPx; double X, Z, YawDeg, PitchDeg; };
    // A second at yaw 30 and distance 1000: moves of 800 along the view's forward (sin 30, -cos 30)
    // or right (cos 30, sin 30), turns of 90 and tilts of 45 (stopped at 84).
    const Case cases[] = {
        {AppAction::MoveView, 0, false, 160, 90, 400, -692.8203230, 30, 50},
        {AppAction::MoveView, 3, false, 160, 90, 692.8203230, 400, 30, 50},
        {AppAction::TurnView, 0, false, 160, 90, 0, 0, -60, 50},
        {AppAction::TiltView, 0, false, 160, 90, 0, 0, 30, 8},
        {AppAction::TiltView, 1, false, 160, 90, 0, 0, 30, 84},
        {AppAction::None, 0, true, 2, 90, -692.8203230, -400, 30, 50},   // left edge
        {AppAction::None, 0, true, 319, 179, 292.8203230, 1092.8203230, 30, 50}, // bottom right: back and right
        {AppAction::None, 0, true, 160, 2, 400, -692.8203230, 30, 50},   // top edge
        {AppAction::None, 0, false, 2, 90, 0, 0, 30, 50},                 // edge scrolling off
        {AppAction::None, 0, true, 7, 90, 0, 0, 30, 50},                  // just inside the band
    };
    // clang-format on
    for (const Case& c : cases)
        for (int hz : {30, 120})
        {
            GLViewport view;
            view.CameraDistance = 1000.0;
            view.CameraYawDeg = 30.0;
            KeyCamera camera;
            camera.bEdgeScroll = c.bEdgeScroll;
            EXPECT_EQ(camera.Hold(c.Action, c.Chord, SDLK_A), c.Action != AppAction::None);
            const EdgePointer pointer{true, c.PointerXPx, c.PointerYPx, 320, 180};
            for (int i = 0; i < hz; ++i)
                camera.Step(view, 1.0 / hz, pointer);
            const std::string what =
                "case " + std::to_string(&c - cases) + " at " + std::to_string(hz) + " Hz";
            EXPECT_NEAR(view.WorldOffsetX, c.X, 1e-6) << what;
            EXPECT_NEAR(view.WorldOffsetZ, c.Z, 1e-6) << what;
            EXPECT_NEAR(view.CameraYawDeg, c.YawDeg, 1e-9) << what;
            EXPECT_NEAR(view.CameraPitchDeg, c.PitchDeg, 1e-9) << what;
        }
}

TEST_F(AppView, SelectionKeysConfirmWhatTheyDid)
{
    Start();
    GLViewport& view = View();
    // clang-format off
    // Only: -1 keeps the selection, 12 empties it, another number selects only that vehicle.
    struct Step { int Only; SDL_Keycode Key; SDL_Keymod Mods; const char* Status; int Selected; };
    const Step steps[] = {
        {-1, SDLK_A, SDL_KMOD_LCTRL, "Selected all: 12 vehicles and the aircraft", 12},
        {-1, SDLK_3, SDL_KMOD_RCTRL, "Group 3 stored: 12 vehicles and the aircraft", 12},
        {-1, SDLK_5, SDL_KMOD_NONE, "Group 5 is empty: Ctrl+5 stores the selection", 12},
        {-1, SDLK_0, SDL_KMOD_LCTRL, "Group 5 is empty: Ctrl+5 stores the selection", 12},
        {4, SDLK_1, SDL_KMOD_LCTRL, "Group 1 stored: 1 vehicle", 1},
        {12, SDLK_3, SDL_KMOD_NONE, "Group 3 selected: 12 vehicles and the aircraft", 12},
        {12, SDLK_F, SDL_KMOD_NONE, "Nothing to frame: no units selected", 0},
        {12, SDLK_S, SDL_KMOD_NONE, "Nothing to stop: no units selected", 0},
        {-1, SDLK_1, SDL_KMOD_NONE, "Group 1 selected: 1 vehicle", 1},
        {-1, SDLK_F, SDL_KMOD_NONE, "Framed 1 vehicle", 1},
    };
    // clang-format on
    for (const Step& step : steps)
    {
        if (step.Only >= 0)
        {
            view.VehicleSelectionMask.assign(view.Vehicles.size(), false);
            if (step.Only < int(view.Vehicles.size()))
                view.VehicleSelectionMask[step.Only] = true;
            view.bAirUnitsSelected = false;
        }
        Tap(step.Key, step.Mods);
        EXPECT_EQ(Status(), step.Status);
        EXPECT_EQ(CountSelected(), step.Selected) << step.Status;
    }
    // F brought group 1's vehicle to the middle of the view.
    double xPx = 0.0, yPx = 0.0;
    ASSERT_TRUE(Project(view.Vehicles[4]->Position, xPx, yPx));
    EXPECT_NEAR(xPx, WidthPx * 0.5, 0.5);
    EXPECT_NEAR(yPx, HeightPx * 0.5, 0.5);

    // Group 3 takes everyone: F brings all into view; after a right click orders them, S drops every order.
    Tap(SDLK_3);
    Tap(SDLK_F);
    EXPECT_EQ(Status(), "Framed 12 vehicles and the aircraft");
    for (const auto& vehicle : view.Vehicles)
        EXPECT_TRUE(IsOnScreen(vehicle->Position));
    Click(SDL_BUTTON_RIGHT, 100, 60);
    ASSERT_TRUE(view.Vehicles[0]->bHasTarget && view.AirUnits[0]->bHasActiveOrder) << Status();
    Tap(SDLK_S);
    EXPECT_EQ(Status(), "Stopped 12 vehicles and the aircraft");
    for (const auto& vehicle : view.Vehicles)
        EXPECT_FALSE(vehicle->bHasTarget || !vehicle->WaypointQueue.empty() || !vehicle->Route.empty());
    for (const auto& air : view.AirUnits)
        EXPECT_FALSE(air->bHasActiveOrder);

    // While a text field takes the keys, the view's keys do nothing.
    ASSERT_TRUE(SDL_StartTextInput(App->GetCoreSDL().pWindow));
    const double offsetZ = view.WorldOffsetZ;
    Key(true, SDLK_UP);
    Frame(10);
    Key(false, SDLK_UP);
    Tap(SDLK_A, SDL_KMOD_LCTRL);
    EXPECT_EQ(view.WorldOffsetZ, offsetZ);
    EXPECT_EQ(Status(), "Stopped 12 vehicles and the aircraft");
    SDL_StopTextInput(App->GetCoreSDL().pWindow);
}
} // namespace
