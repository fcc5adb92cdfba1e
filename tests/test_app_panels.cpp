// The application in a real headless window, driven through SDL's event queue: its keys, the effects
// panel's font against FreeType's real advances, the tooltips and the status bar beside the Rotate
// toggle.
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <string>

#include <SDL3/SDL.h>
#include <epoxy/gl.h>
#include <gtest/gtest.h>

#include "controls.h"
#include "glwindow.h"
#include "headless_app.h"
#include "helpoverlay.h"
#include "test_app.h"

namespace
{
using Panel = AppOptions::Panel;

class AppPanels : public HeadlessApp
{
  protected:
    // FrameCount 0 runs by the clock as without --frames.
    void Start(int WidthPx, int HeightPx, Panel EffectsPanel = Panel::Auto, int FrameCount = 1)
    {
        AppOptions options;
        options.WidthPx = WidthPx, options.HeightPx = HeightPx, options.FrameCount = FrameCount;
        options.EffectsPanel = EffectsPanel;
        HeadlessApp::Start(options);
    }
    // A key pressed (or repeated), then a frame; false once the application asked to quit.
    bool Press(SDL_Keycode Code, SDL_Keymod Mods = SDL_KMOD_NONE, bool bRepeat = false)
    {
        Key(true, Code, Mods, bRepeat);
        return Frame();
    }
    // The text calls one piece of drawing makes on its own; its shapes stay recorded.
    std::vector<TTFTextCall> RecordText(const std::function<void()>& Draw)
    {
        p->pRend->ClearRecord(), p->pRend->pTTF->ClearRecord();
        Draw();
        return p->pRend->pTTF->GetTextCalls();
    }
};

TEST_F(AppPanels, KeysShowAndHidePanelsSwitchTheEffectAndQuit)
{
    Start(800, 500);
    Frame();
    GLViewport& view = View();
    JetExhaustDebugSettings& jet = view.JetExhaust.Debug();
    jet.BloomEnabled = false;
    // Help, frame counter, effects panel, minimap; the effect's shimmer, bloom, fog and trails; water,
    // features and the author view.
    const auto shown = [&]
    {
        std::string text;
        for (const bool bOn :
             {App->GetHelp().bVisible, App->GetFrameStats().bVisible, view.bJetEffectsPanelVisible,
              App->GetMinimap().bVisible, jet.ShimmerEnabled, jet.BloomEnabled, jet.DepthFogEnabled,
              jet.ContrailsEnabled, view.MapDisplay.bWater, view.MapDisplay.bFeatures})
            text += (text.size() == 4 || text.size() == 9 ? " " : "") + std::string(bOn ? "1" : "0");
        return text + std::to_string(static_cast<int>(view.MapDisplay.View));
    };
    EXPECT_EQ(shown(), "0001 1011 110") << "the panel's rows cannot fit 500 px";
    EXPECT_EQ(view.Units.RoutePlanBudgetMs, std::numeric_limits<double>::infinity())
        << "a fixed step plans whole";
    constexpr SDL_Keymod None = SDL_KMOD_NONE, Shift = SDL_KMOD_LSHIFT, Ctrl = SDL_KMOD_LCTRL;
    constexpr SDL_Keymod CtrlShift = SDL_KMOD_LCTRL | SDL_KMOD_RSHIFT,
                         ShiftCtrl = SDL_KMOD_RCTRL | SDL_KMOD_LSHIFT;
    const char *const ready = "Jet effects ready", *const reloaded = "Jet shaders reloaded";
    // clang-format off
    // A held key's repeats change nothing; the effect comes back with its features as they were.
    const struct { SDL_Keycode Key; SDL_Keymod Mods; bool bRepeat; const char* Shown; const char* Jet; } steps[] = {
        {SDLK_F1, None, false, "1001 1011 110", ready},       {SDLK_F1, None, true, "1001 1011 110", ready},
        {SDLK_QUESTION, Shift, false, "0001 1011 110", ready}, {SDLK_QUESTION, None, false, "0001 1011 110", ready},
        {SDLK_F2, None, false, "0101 1011 110", ready},       {SDLK_F2, None, true, "0101 1011 110", ready},
        {SDLK_F3, None, false, "0111 1011 110", ready},       {SDLK_F3, None, true, "0111 1011 110", ready},
        {SDLK_M, None, false, "0110 1011 110", ready},        {SDLK_M, None, true, "0110 1011 110", ready},
        {SDLK_M, Ctrl, false, "0110 1011 110", ready},        {SDLK_F3, None, false, "0100 1011 110", ready},
        {SDLK_L, Ctrl, false, "0100 1011 110", ready},        {SDLK_L, Shift, false, "0100 1011 110", ready},
        {SDLK_L, CtrlShift, false, "0100 0000 110", "Jet effects off"}, {SDLK_L, CtrlShift, true, "0100 0000 110", "Jet effects off"},
        {SDLK_L, ShiftCtrl, false, "0100 1011 110", ready},   {SDLK_R, Shift, false, "0100 1011 110", ready},
        {SDLK_R, ShiftCtrl, false, "0100 1011 110", reloaded}, {SDLK_F2, None, false, "0000 1011 110", reloaded},
        {SDLK_M, None, false, "0001 1011 110", reloaded}, {SDLK_W, None, false, "0001 1011 010", reloaded},
        {SDLK_W, None, true, "0001 1011 010", reloaded},  {SDLK_T, None, false, "0001 1011 000", reloaded},
        {SDLK_T, None, true, "0001 1011 000", reloaded},  {SDLK_F6, None, false, "0001 1011 001", reloaded},
        {SDLK_F6, None, true, "0001 1011 001", reloaded}, {SDLK_F10, None, false, "0001 1011 005", reloaded},
        {SDLK_F10, None, false, "0001 1011 000", reloaded}, {SDLK_W, None, false, "0001 1011 100", reloaded}};
    // clang-format on
    for (std::size_t i = 0; i < std::size(steps); ++i)
    {
        EXPECT_TRUE(Press(steps[i].Key, steps[i].Mods, steps[i].bRepeat));
        EXPECT_EQ(shown(), steps[i].Shown) << "step " << i;
        EXPECT_EQ(view.JetEffectsStatusText, steps[i].Jet) << "step " << i;
        EXPECT_EQ(view.JetEffectsMemoryMiB > 0.0, jet.Enabled) << "step " << i;
    }
    Press(SDLK_F2);
    const std::uint64_t beforeNs = SDL_GetTicksNS();
    Frame();
    EXPECT_LE(App->GetFrameStats().GetCpuMs(), (SDL_GetTicksNS() - beforeNs) * 1e-6) << "one frame's time";
    EXPECT_NE(App->GetFrameStats().FormatLine().find(" fps | CPU "), std::string::npos);
    EXPECT_GT(App->GetFrameStats().GetCpuMs(), 0.0);
    EXPECT_GE(App->GetFrameStats().GetGpuMs(), 0.0) << "the GPU timer answered some frames ago";
    EXPECT_FALSE(Press(SDLK_Q, SDL_KMOD_RCTRL));
    for (const SDL_EventType quit : {SDL_EVENT_QUIT, SDL_EVENT_WINDOW_CLOSE_REQUESTED})
    {
        Start(320, 180);
        SDL_Event event{};
        event.type = quit;
        EXPECT_TRUE(Frame());
        Push(event);
        EXPECT_FALSE(Frame()) << "event " << quit;
    }
    // --water off, --features off and --view metal reach the map's display.
    AppOptions options;
    options.bWater = options.bFeatures = false, options.AuthorViewIndex = 3;
    HeadlessApp::Start(options);
    const auto& display = View().MapDisplay;
    EXPECT_TRUE(!display.bWater && !display.bFeatures && display.View == AuthorView::Metal);
}

TEST_F(AppPanels, WithoutAFrameCountTheViewTurnsAndTheUnitsMoveByTheClock)
{
    Start(320, 180, Panel::Auto, 0);
    int swapInterval = 0;
    EXPECT_TRUE(SDL_GL_GetSwapInterval(&swapInterval) && swapInterval == 1)
        << "frames by the clock wait for the display";
    // The first frame steps from the end of the start (give it a millisecond), not from SDL's start.
    std::uint64_t lastBeforeNs = SDL_GetTicksNS() - 1'000'000;
    GLViewport& view = View();
    const Vec3D aircraftAt = view.AirUnits.at(0)->Aircraft.Position;
    Key(true, SDLK_E); // E turns 90 degrees a second while held
    for (int frame = 0; frame < 3; ++frame)
    {
        SDL_Delay(frame ? 100 : 0);
        const double yawDeg = view.CameraYawDeg;
        const std::uint64_t beforeNs = SDL_GetTicksNS();
        App->ProcessInput();
        // A frame steps by the time since the last one's step, which began after lastBeforeNs.
        const double turnedDeg = view.CameraYawDeg - yawDeg;
        if (frame > 0)
        {
            EXPECT_GE(turnedDeg, 9.0 - 1e-9) << "a tenth of a second waited turns 9 degrees";
        }
        EXPECT_LE(turnedDeg, 90.0 * (SDL_GetTicksNS() - lastBeforeNs) * 1e-9 + 1e-9) << "frame " << frame;
        lastBeforeNs = beforeNs;
    }
    EXPECT_NE(view.AirUnits[0]->Aircraft.Position.X, aircraftAt.X) << "the aircraft fly on";
    EXPECT_EQ(view.Units.RoutePlanBudgetMs, Application::InteractiveRoutePlanBudgetMs);
}

TEST_F(AppPanels, OverlaysAreDrawnOverTheScene)
{
    Start(1280, 720);
    Frame();
    App->DrawFrame(false);
    const std::vector<std::uint8_t> bare = App->ReadBackBuffer();
    App->DrawFrame(true);
    const std::vector<std::uint8_t> full = App->ReadBackBuffer();
    // The status bar is drawn with or without the overlays.
    const std::size_t barAt = (static_cast<std::size_t>(718) * 1280 + 5) * 4;
    EXPECT_EQ(std::vector(bare.begin() + barAt, bare.begin() + barAt + 3),
              std::vector(full.begin() + barAt, full.begin() + barAt + 3));
    App->GetWindow().SetStatusBarText(std::string(40, 'W'));
    App->DrawFrame();
    const std::vector<std::uint8_t> withText = App->ReadBackBuffer();
    App->GetWindow().SetStatusBarText("");
    App->DrawFrame();
    const std::size_t barTop = static_cast<std::size_t>(720 - GLWindow::StatusBarHeightPx) * 1280 * 4;
    const std::vector<std::uint8_t> withoutText = App->ReadBackBuffer();
    EXPECT_NE(std::vector(withoutText.begin() + barTop, withoutText.end()),
              std::vector(withText.begin() + barTop, withText.end()))
        << "the status bar's text is drawn";
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0, mx1 = 0, my1 = 0, mx2 = 0, my2 = 0;
    ASSERT_TRUE(View().GetNavWidgetPanelRect(x1, y1, x2, y2));
    ASSERT_TRUE(App->GetMinimap().GetMapRectPx(View(), 1280, 720, mx1, my1, mx2, my2));
    // The minimap's picture, its top row along the top: a cell's middle shows the cell's colour.
    const std::vector<std::uint8_t>& picture = App->GetMinimap().GetPicture();
    for (const auto& [row, column] : {std::pair{1, 2}, {2, 61}, {61, 1}, {62, 62}})
    {
        const auto x = static_cast<std::size_t>(mx1 + (column + 0.5) * (mx2 - mx1) / Minimap::CellCount);
        const auto y = static_cast<std::size_t>(my1 + (row + 0.5) * (my2 - my1) / Minimap::CellCount);
        const auto cell = picture.begin() + (row * Minimap::CellCount + column) * 3;
        EXPECT_EQ(std::vector(full.begin() + (y * 1280 + x) * 4, full.begin() + (y * 1280 + x) * 4 + 3),
                  std::vector(cell, cell + 3))
            << "cell " << row << ", " << column;
    }
    // The middles of the navigation widget, the Rotate toggle and the effects panel (right of its text).
    const std::pair<double, double> points[] = {
        {(x1 + x2) * 640, (y1 + y2) * 360}, {0.9375 * 1280, 0.96 * 720}, {0.97 * 1280, 0.3 * 720}};
    for (const auto& [x, y] : points)
    {
        const std::size_t at = (static_cast<std::size_t>(y) * 1280 + static_cast<std::size_t>(x)) * 4;
        EXPECT_NE(std::vector(bare.begin() + at, bare.begin() + at + 3),
                  std::vector(full.begin() + at, full.begin() + at + 3))
            << "at " << x << ", " << y;
    }
}

TEST_F(AppPanels, TooltipAfterHalfASecondOnOneTarget)
{
    Start(1280, 720);
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    ASSERT_TRUE(View().GetNavWidgetPanelRect(x1, y1, x2, y2));
    // Button 6 (turn left) at u 0.27..0.41, v 0.38..0.49 of the panel; the Rotate toggle's middle.
    const double leftX = (x1 + 0.34 * (x2 - x1)) * 1280, leftY = (y1 + 0.435 * (y2 - y1)) * 720;
    // clang-format off
    const struct { double XPx, YPx; std::uint64_t AdvanceMs; const char* Expected; } steps[] = {
        {leftX, leftY, 0, ""},          {leftX, leftY, 499, ""},
        {leftX, leftY, 1, "Turn left"}, {leftX + 1, leftY, 0, "Turn left"}, // the same button keeps it
        {1200, 691.2, 0, ""},           // another target starts the wait again
        {1200, 691.2, 500, "Rotate: turn the camera slowly"}, {640, 360, 0, ""}};
    // clang-format on
    for (const auto& s : steps)
    {
        sdlseam::AdvanceTicks(s.AdvanceMs);
        if (!s.AdvanceMs) // none while the pointer rests: the frame goes on without events
            Move(float(s.XPx), float(s.YPx));
        Frame();
        const char* shown = App->GetTooltip().GetShownText();
        EXPECT_STREQ(shown ? shown : "", s.Expected) << s.XPx << "," << s.YPx;
    }
}

TEST_F(AppPanels, EffectsPanelFontAndStatusBarFitEveryWindow)
{
    // clang-format off
    // Fit: 0 the help row need not fit, 1 it fits, 2 it fits and one pixel more would not. Rows lie
    // 1.5 % of the height apart, so the height caps the font too; 13 px is the largest offered.
    const struct { int W, H; Panel Choice; bool bShown; int FontPx, Fit; } cases[] = {
        {1280, 720, Panel::Auto, true, 10, 2}, {1280, 1080, Panel::Auto, true, 10, 2},
        {1920, 1080, Panel::Auto, true, 13, 1}, {1920, 600, Panel::Auto, true, 9, 1},
        {800, 500, Panel::Auto, false, 9, 0},  {480, 320, Panel::Auto, false, 9, 0},
        {800, 500, Panel::On, true, 9, 0},     {1920, 1080, Panel::Off, false, 13, 0}};
    // clang-format on
    const std::string message(300, 'W');
    for (const auto& c : cases)
    {
        Start(c.W, c.H, c.Choice);
        Frame();
        SCOPED_TRACE(::testing::Message() << c.W << "x" << c.H << " choice " << static_cast<int>(c.Choice));
        GLViewport& view = View();
        ASSERT_EQ(view.bJetEffectsPanelVisible, c.bShown);
        view.bJetEffectsPanelVisible = true;
        const auto rows = RecordText([&] { view.RenderJetEffectsOverlay(); });
        const auto help =
            std::find_if(rows.begin(), rows.end(), [](auto& row) { return row.Text.rfind("Click", 0) == 0; });
        ASSERT_NE(help, rows.end());
        EXPECT_EQ(help->SizePx, c.FontPx);
        // Drawn from the pen's whole pixel to the panel's right edge at 0.98 of the width.
        const double roomPx = 0.98 * c.W - std::round((help->X + 1.0) * 0.5 * c.W);
        const auto widthPx = [&](const TTFTextCall& Text, int SizePx)
        { return App->GetFontMetrics().MeasureTextPx(Text.Text, SizePx); };
        EXPECT_TRUE(c.Fit < 1 || widthPx(*help, help->SizePx) <= roomPx) << widthPx(*help, help->SizePx);
        EXPECT_TRUE(c.Fit < 2 || widthPx(*help, help->SizePx + 1) > roomPx) << "one pixel larger fits too";

        // The status bar stops 2 % of the viewport's width short of the Rotate toggle, which stays
        // whole and clickable, and ends a long message with an ellipsis before that.
        GLWindow& window = App->GetWindow();
        double x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
        ASSERT_TRUE(view.GetAutoRotateToggleRect(x1, y1, x2, y2));
        const double toggleLeftX = view.WindowX1 + x1 * (view.WindowX2 - view.WindowX1);
        EXPECT_NEAR(toggleLeftX - window.StatusBarRightX, 0.02 * (view.WindowX2 - view.WindowX1), 1e-6);
        window.SetStatusBarText(message);
        const auto calls = RecordText([&] { window.RenderStatusBar(); });
        ASSERT_EQ(calls.size(), 1u);
        EXPECT_TRUE(calls[0].Text.ends_with("...")) << calls[0].Text;
        const double startPx = std::round((calls[0].X + 1.0) * 0.5 * c.W);
        EXPECT_LE(startPx + widthPx(calls[0], calls[0].SizePx), (window.StatusBarRightX + 1.0) * 0.5 * c.W);
        EXPECT_EQ(window.GetStatusBarText(), message) << "the state file keeps the whole text";
    }
    // The bar's rectangle and top line end at its right edge, held to the window; none past the left.
    // clang-format off
    const struct { float RightX; std::size_t Shapes; float ExpectedRightX; } edges[] = {
        {0.76f, 2, 0.76f}, {5.0f, 2, 1.0f}, {-1.0f, 0, 0}, {-3.0f, 0, 0}, {std::numeric_limits<float>::quiet_NaN(), 0, 0}};
    // clang-format on
    for (const auto& e : edges)
    {
        App->GetWindow().StatusBarRightX = e.RightX;
        RecordText([&] { App->GetWindow().RenderStatusBar(); });
        ASSERT_EQ(p->pRend->GetPrimitives().size(), e.Shapes) << "right edge " << e.RightX;
        for (const RendPrimitive& shape : p->pRend->GetPrimitives())
        {
            EXPECT_FLOAT_EQ(std::fmin(shape.X1, shape.X2), -1.0f) << "right edge " << e.RightX;
            EXPECT_FLOAT_EQ(std::fmax(shape.X1, shape.X2), e.ExpectedRightX) << "right edge " << e.RightX;
        }
    }
}

TEST_F(AppPanels, SmallWindowsHelpCoversTheLegendButNotTheStatusBar)
{
    Start(320, 240);
    const auto drawn = [&](bool bHelp, AuthorView View)
    {
        App->GetHelp().bVisible = bHelp;
        App->GetViewport().MapDisplay.View = View;
        App->DrawFrame();
        return App->ReadBackBuffer();
    };
    const std::vector<std::uint8_t> bare = drawn(false, AuthorView::Height);
    const std::vector<std::uint8_t> help = drawn(true, AuthorView::Height),
                                    noLegend = drawn(true, AuthorView::Off);
    EXPECT_EQ(GetMostApart(help, bare, 0, 240 - GLWindow::StatusBarHeightPx, 320, 240), 0)
        << "the bar stays whole";
    // The legend's rows lie under the help's 86 % fill, text and all.
    EXPECT_LE(GetMostApart(help, noLegend, 30, 90, 200, 180), 40);
    int swapInterval = 1;
    EXPECT_TRUE(SDL_GL_GetSwapInterval(&swapInterval) && swapInterval == 0)
        << "counted frames run unsynchronised";
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR)) << "the frames leave no GL error behind";
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
        {
            EXPECT_EQ(layout.Lines.back().Does.rfind(std::to_string(controlCount - entries + 1) + " more", 0),
                      0u)
                << w << ": " << layout.Lines.back().Does;
        }
        else
        {
            EXPECT_EQ(entries, controlCount) << w;
        }
        EXPECT_EQ(layout.Lines.back().Input == "...", w <= 800) << w;
    }
}

} // namespace
