// The application's own panels in a real headless window, driven through SDL's event queue: the
// effects panel's font against FreeType's real advances, the show/hide keys, the minimap's clicks
// and drags, the tooltips and the status bar's ellipsis.
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

#include <SDL3/SDL.h>
#include <gtest/gtest.h>

#include "application.h"
#include "controls.h"
#include "helpoverlay.h"
#include "pixelcanvas.h"
#include "test_app.h"
#include "vehicleunit.h"

namespace
{
class AppPanels : public ::testing::Test
{
  protected:
    std::unique_ptr<Application> App;

    // A fresh application (one window at a time) drawn once.
    void Start(int WidthPx, int HeightPx)
    {
        App.reset();
        App = std::make_unique<Application>();
        SDL_SetHint(SDL_HINT_VIDEO_DRIVER, "offscreen");
        sdlseam::Reset();
        AppOptions options;
        options.WidthPx = WidthPx;
        options.HeightPx = HeightPx;
        options.FrameCount = 1;
        std::string error;
        ASSERT_TRUE(App->Start(options, error)) << error;
        Frame();
    }
    void Frame()
    {
        App->ProcessInput();
        App->DrawFrame();
    }
    void Push(SDL_Event Event)
    {
        Event.common.timestamp = SDL_GetTicksNS();
        ASSERT_TRUE(SDL_PushEvent(&Event)) << SDL_GetError();
    }
    void Key(SDL_Keycode Code, SDL_Keymod Mods = SDL_KMOD_NONE)
    {
        SDL_Event event{};
        event.type = SDL_EVENT_KEY_DOWN;
        event.key.windowID = SDL_GetWindowID(App->GetCoreSDL().pWindow);
        event.key.key = Code;
        event.key.mod = Mods;
        event.key.down = true;
        Push(event);
        Frame();
    }
    // Moves the pointer to a window pixel, then presses or releases Button there (0: none), one frame.
    void Mouse(double XPx, double YPx, Uint8 Button = 0, bool bDown = false)
    {
        SDL_Event event{};
        event.type = SDL_EVENT_MOUSE_MOTION;
        event.motion.windowID = SDL_GetWindowID(App->GetCoreSDL().pWindow);
        event.motion.x = static_cast<float>(XPx);
        event.motion.y = static_cast<float>(YPx);
        Push(event);
        if (Button != 0)
        {
            event = {};
            event.type = bDown ? SDL_EVENT_MOUSE_BUTTON_DOWN : SDL_EVENT_MOUSE_BUTTON_UP;
            event.button.windowID = SDL_GetWindowID(App->GetCoreSDL().pWindow);
            event.button.button = Button;
            event.button.down = bDown;
            event.button.x = static_cast<float>(XPx);
            event.button.y = static_cast<float>(YPx);
            Push(event);
        }
        Frame();
    }
    void MinimapRect(double& X1, double& Y1, double& X2, double& Y2)
    {
        const CoreSDL& window = App->GetCoreSDL();
        ASSERT_TRUE(
            App->GetMinimap().GetMapRectPx(App->GetViewport(), window.Width, window.Height, X1, Y1, X2, Y2));
    }
    // The text calls the effects panel makes on its own, recorded.
    std::vector<TTFTextCall> RecordEffectsPanelText()
    {
        p->pRend->pTTF->ClearRecord();
        App->GetViewport().RenderJetEffectsOverlay();
        std::vector<TTFTextCall> calls = p->pRend->pTTF->GetTextCalls();
        p->pRend->ClearRecord();
        p->pRend->pTTF->ClearRecord();
        return calls;
    }
};

TEST_F(AppPanels, EffectsPanelHelpRowFitsInsideThePanel)
{
    // clang-format off
    struct Case { int W, H, ExpectedFontPx; bool bWidthLimited; };
    const Case cases[] = {{1280, 720, 10, true}, {1920, 1080, 13, false}}; // 13 px: the largest offered
    // clang-format on
    for (const Case& c : cases)
    {
        Start(c.W, c.H);
        ASSERT_TRUE(App->GetViewport().bJetEffectsPanelVisible) << c.W << "x" << c.H;
        const std::vector<TTFTextCall> rows = RecordEffectsPanelText();
        const auto help =
            std::find_if(rows.begin(), rows.end(),
                         [](const TTFTextCall& row) { return row.Text.rfind("Click presets", 0) == 0; });
        ASSERT_NE(help, rows.end());
        EXPECT_EQ(help->SizePx, c.ExpectedFontPx) << c.W << "x" << c.H;
        // Drawn from the pen's whole pixel to the panel's right edge at 0.98 of the width.
        const double startPx = std::round((help->X + 1.0) * 0.5 * c.W);
        const double endPx = startPx + App->GetFontMetrics().MeasureTextPx(help->Text, help->SizePx);
        EXPECT_LE(endPx, 0.98 * c.W) << c.W << "x" << c.H;
        if (c.bWidthLimited)
        {
            EXPECT_GT(App->GetFontMetrics().MeasureTextPx(help->Text, help->SizePx + 1), 0.98 * c.W - startPx)
                << "one pixel larger would not fit at " << c.W << "x" << c.H;
        }
    }
}

TEST_F(AppPanels, KeysShowAndHideEachPanel)
{
    Start(800, 500);
    GLViewport& view = App->GetViewport();
    EXPECT_FALSE(view.bJetEffectsPanelVisible) << "its help row cannot fit 800 px at 9 px";
    EXPECT_TRUE(App->GetMinimap().bVisible);
    EXPECT_FALSE(App->GetHelp().bVisible);
    EXPECT_FALSE(App->GetFrameStats().bVisible);
    // clang-format off
    struct Case { SDL_Keycode Key; SDL_Keymod Mods; bool bHelp, bStats, bPanel, bMinimap; };
    const Case cases[] = {
        {SDLK_F1, SDL_KMOD_NONE, true, false, false, true},
        {SDLK_QUESTION, SDL_KMOD_LSHIFT, false, false, false, true},
        {SDLK_QUESTION, SDL_KMOD_NONE, false, false, false, true},
        {SDLK_F2, SDL_KMOD_NONE, false, true, false, true},
        {SDLK_F3, SDL_KMOD_NONE, false, true, true, true},
        {SDLK_M, SDL_KMOD_NONE, false, true, true, false},
        {SDLK_M, SDL_KMOD_LCTRL, false, true, true, false},
        {SDLK_F3, SDL_KMOD_NONE, false, true, false, false},
        {SDLK_F2, SDL_KMOD_NONE, false, false, false, false},
        {SDLK_M, SDL_KMOD_NONE, false, false, false, true},
    };
    // clang-format on
    for (std::size_t i = 0; i < std::size(cases); ++i)
    {
        const Case& c = cases[i];
        Key(c.Key, c.Mods);
        EXPECT_EQ(App->GetHelp().bVisible, c.bHelp) << "step " << i;
        EXPECT_EQ(App->GetFrameStats().bVisible, c.bStats) << "step " << i;
        EXPECT_EQ(view.bJetEffectsPanelVisible, c.bPanel) << "step " << i;
        EXPECT_EQ(App->GetMinimap().bVisible, c.bMinimap) << "step " << i;
    }
    Key(SDLK_F2);
    Frame();
    EXPECT_NE(App->GetFrameStats().FormatLine().find(" fps | CPU "), std::string::npos);
    EXPECT_GT(App->GetFrameStats().GetCpuMs(), 0.0);
}

TEST_F(AppPanels, HelpListFitsTheWindowOrCountsWhatItLeavesOut)
{
    Start(480, 320);
    const std::size_t controlCount = GetControls().size();
    for (const auto& [w, h] : {std::pair{480, 300}, {800, 480}, {1280, 700}, {1920, 1060}})
    {
        const HelpOverlay::Layout layout = HelpOverlay::BuildLayout(App->GetFontMetrics(), w, h);
        EXPECT_GE(layout.X1Px, 0.0) << w;
        EXPECT_LE(layout.X2Px, w) << w;
        EXPECT_LE(layout.Y1Px + (layout.Lines.size() + 4.0) * layout.LineHeightPx, layout.Y2Px + 0.5) << w;
        EXPECT_LE(layout.Y2Px, h) << w;
        const std::size_t entries = std::count_if(layout.Lines.begin(), layout.Lines.end(),
                                                  [](const auto& l) { return !l.Input.empty(); });
        if (layout.Lines.back().Input == "...")
            EXPECT_EQ(layout.Lines.back().Does.rfind(std::to_string(controlCount - entries + 1) + " more", 0),
                      0u)
                << w << ": " << layout.Lines.back().Does;
        else
            EXPECT_EQ(entries, controlCount) << w;
        EXPECT_EQ(layout.Lines.back().Input == "...", w == 480) << w;
    }
}

TEST_F(AppPanels, SwitchedOffEffectReadsAsOff)
{
    Start(1280, 720);
    const auto featureRow = [&]
    {
        for (const TTFTextCall& row : RecordEffectsPanelText())
            if (row.Text.rfind("Shimmer", 0) == 0)
                return row.Text;
        return std::string();
    };
    EXPECT_EQ(featureRow(), "Shimmer ON  Bloom ON  Fog ON  Trails ON");
    App->GetViewport().JetExhaust.Debug().BloomEnabled = false;
    Key(SDLK_L, SDL_KMOD_LCTRL | SDL_KMOD_LSHIFT);
    EXPECT_EQ(featureRow(), "Shimmer OFF  Bloom OFF  Fog OFF  Trails OFF");
    EXPECT_EQ(App->GetViewport().JetEffectsStatusText, "Jet effects off");
    Key(SDLK_L, SDL_KMOD_LCTRL | SDL_KMOD_LSHIFT);
    EXPECT_EQ(featureRow(), "Shimmer ON  Bloom OFF  Fog ON  Trails ON") << "as they were before";
}

TEST_F(AppPanels, MinimapLeftClickAndDragMoveTheOrbitCentre)
{
    Start(1280, 720);
    GLViewport& view = App->GetViewport();
    view.PanX = 40.0;
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    MinimapRect(x1, y1, x2, y2);
    const double worldW = view.SpringMap.GetWorldWidth(), worldD = view.SpringMap.GetWorldDepth();
    // The pointer lands on whole pixels: a pixel and a half of the minimap, in world units.
    const double tolerance = 1.5 * worldW / (x2 - x1);
    // clang-format off
    struct Step { double U, V; bool bDown, bUp; double ExpectedU, ExpectedV; };
    const Step steps[] = {
        {0.25, 0.75, true, false, 0.25, 0.75}, // press
        {0.6, 0.4, false, false, 0.6, 0.4},    // drag
        {1.5, 0.5, false, false, 1.0, 0.5},    // dragged past the edge: pinned to the map's edge
        {0.1, 0.1, false, true, 0.1, 0.1},     // release
        {0.9, 0.9, false, false, 0.1, 0.1},    // moving without a button changes nothing
    };
    // clang-format on
    for (const Step& s : steps)
    {
        const double xPx = x1 + s.U * (x2 - x1), yPx = y1 + s.V * (y2 - y1);
        if (s.bDown || s.bUp)
            Mouse(xPx, yPx, SDL_BUTTON_LEFT, s.bDown);
        else
            Mouse(xPx, yPx);
        EXPECT_NEAR(view.WorldOffsetX, s.ExpectedU * worldW, tolerance) << s.U << "," << s.V;
        EXPECT_NEAR(view.WorldOffsetZ, s.ExpectedV * worldD, tolerance) << s.U << "," << s.V;
        EXPECT_EQ(view.PanX, 0.0);
        EXPECT_FALSE(view.bSelectionDragActive) << "no band starts on the minimap";
        EXPECT_FALSE(view.bOrbitDrag);
    }
    EXPECT_FALSE(view.bMouseInteraction) << "the pointer rests on the minimap";
    Mouse(x2 + 200.0, y2 + 200.0);
    EXPECT_TRUE(view.bMouseInteraction) << "off the minimap the view takes the pointer again";
}

TEST_F(AppPanels, MinimapRightClickOrdersTheSelection)
{
    Start(1280, 720);
    GLViewport& view = App->GetViewport();
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    MinimapRect(x1, y1, x2, y2);
    const double xPx = x1 + 0.3 * (x2 - x1), yPx = y1 + 0.6 * (y2 - y1);
    const double goalX = 0.3 * view.SpringMap.GetWorldWidth(), goalZ = 0.6 * view.SpringMap.GetWorldDepth();
    const std::size_t messages = App->GetWindow().GetStatusHistory().size();
    Mouse(xPx, yPx, SDL_BUTTON_RIGHT, true);
    Mouse(xPx, yPx, SDL_BUTTON_RIGHT, false);
    EXPECT_EQ(App->GetWindow().GetStatusHistory().size(), messages) << "nothing selected: no order";

    view.VehicleSelectionMask.assign(view.Vehicles.size(), false);
    view.VehicleSelectionMask[0] = true;
    // clang-format off
    struct Case { SDL_Keymod Mods; const char* Message; std::size_t Goals; };
    const Case cases[] = {{SDL_KMOD_NONE, "Selected units ordered to waypoint.", 1},
                          {SDL_KMOD_LSHIFT, "Waypoint queued for selected units.", 2}};
    // clang-format on
    for (const Case& c : cases)
    {
        sdlseam::SetMods(c.Mods);
        Mouse(xPx, yPx, SDL_BUTTON_RIGHT, true);
        EXPECT_FALSE(view.bOrderDrag) << "the map's own order gesture does not start";
        Mouse(xPx, yPx, SDL_BUTTON_RIGHT, false);
        EXPECT_EQ(App->GetWindow().GetStatusBarText(), c.Message);
        const VehicleUnit& vehicle = *view.Vehicles[0];
        ASSERT_TRUE(vehicle.bHasTarget);
        EXPECT_EQ(vehicle.WaypointQueue.size() + 1, c.Goals);
        const Vec3D& goal = c.Goals == 1 ? vehicle.Target : vehicle.WaypointQueue.back();
        // The goal is snapped to drivable ground near the point.
        EXPECT_NEAR(goal.X, goalX, 64.0);
        EXPECT_NEAR(goal.Z, goalZ, 64.0);
        EXPECT_FALSE(view.bSelectionDragActive);
    }
}

TEST_F(AppPanels, TooltipAfterHalfASecondBesideThePointer)
{
    Start(1280, 720);
    GLViewport& view = App->GetViewport();
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    ASSERT_TRUE(view.GetNavWidgetPanelRect(x1, y1, x2, y2));
    // Button 6 (turn left) at u 0.27..0.41, v 0.38..0.49 of the panel; the Rotate toggle's middle.
    const double turnLeftX = (x1 + 0.34 * (x2 - x1)) * 1280, turnLeftY = (y1 + 0.435 * (y2 - y1)) * 720;
    // clang-format off
    struct Step { double XPx, YPx; std::uint64_t AdvanceMs; const char* Expected; };
    const Step steps[] = {
        {turnLeftX, turnLeftY, 0, nullptr},
        {turnLeftX, turnLeftY, 499, nullptr},
        {turnLeftX, turnLeftY, 1, "Turn left"},
        {turnLeftX + 1, turnLeftY, 0, "Turn left"},      // moving on the same button keeps it
        {0.9375 * 1280, 0.96 * 720, 0, nullptr},         // another target starts the wait again
        {0.9375 * 1280, 0.96 * 720, 500, "Rotate: turn the camera slowly"},
        {640, 360, 600, nullptr},
    };
    // clang-format on
    for (const Step& s : steps)
    {
        sdlseam::AdvanceTicks(s.AdvanceMs);
        Mouse(s.XPx, s.YPx);
        const char* shown = App->GetTooltip().GetShownText();
        EXPECT_STREQ(shown ? shown : "", s.Expected ? s.Expected : "") << s.XPx << "," << s.YPx;
        if (!shown)
            continue;
        // The box never covers the pointer.
        p->pRend->ClearRecord();
        App->GetTooltip().Render(PixelCanvas(1280, 720), App->GetFontMetrics(), view);
        ASSERT_FALSE(p->pRend->GetPrimitives().empty());
        const RendPrimitive& box = p->pRend->GetPrimitives().front();
        const double gx = s.XPx / 640.0 - 1.0, gy = 1.0 - s.YPx / 360.0;
        EXPECT_FALSE(gx >= std::min(box.X1, box.X2) && gx <= std::max(box.X1, box.X2) &&
                     gy >= std::min(box.Y1, box.Y2) && gy <= std::max(box.Y1, box.Y2));
        p->pRend->ClearRecord();
        p->pRend->pTTF->ClearRecord();
    }
}

TEST_F(AppPanels, StatusBarEndsLongMessagesBeforeTheRotateToggle)
{
    const std::string message(300, 'W');
    // clang-format off
    struct Case { int W, H; };
    const Case cases[] = {{480, 320}, {800, 500}, {1920, 1080}};
    // clang-format on
    for (const Case& c : cases)
    {
        Start(c.W, c.H);
        App->GetWindow().SetStatusBarText(message);
        App->GetWindow().RenderStatusBar();
        const std::vector<TTFTextCall>& calls = p->pRend->pTTF->GetTextCalls();
        ASSERT_EQ(calls.size(), 1u);
        const std::string& shown = calls[0].Text;
        EXPECT_EQ(shown.substr(shown.size() - 3), "...") << c.W;
        const double startPx = std::round((calls[0].X + 1.0) * 0.5 * c.W);
        const double rightPx = (App->GetWindow().StatusBarRightX + 1.0) * 0.5 * c.W;
        EXPECT_LE(startPx + App->GetFontMetrics().MeasureTextPx(shown, calls[0].SizePx), rightPx) << c.W;
        EXPECT_EQ(App->GetWindow().GetStatusBarText(), message) << "the state file keeps the whole text";
        p->pRend->ClearRecord();
        p->pRend->pTTF->ClearRecord();
    }
}
} // namespace
