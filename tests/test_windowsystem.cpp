// The window system's routing of a frame's mouse input and the translation of SDL events into it.
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core.h"
#include "glchildwindow.h"
#include "mouse.h"
#include "mouseinput.h"
#include "windowsystem.h"

namespace
{
// A child window that records what the window system did to it and consumes on request.
class RecordingChild : public GLChildWindow
{
  public:
    RecordingChild(double x1, double y1, double x2, double y2)
    {
        WindowX1 = x1, WindowY1 = y1, WindowX2 = x2, WindowY2 = y2;
    }
    bool bConsumeLeftPress = false, bConsumeClicks = false;
    int MouseProcessingCalls = 0, LeftPressesSeen = 0, LeftHeldFrames = 0, MouseOuts = 0;
    std::vector<int> Clicks;

    void MouseProcessing() override
    {
        const Mouse& mouse = *p->pMouse;
        const bool bPress = mouse.pButton[Mouse::Left] && !mouse.pPrevButton[Mouse::Left];
        ++MouseProcessingCalls, LeftHeldFrames += mouse.pButton[Mouse::Left], LeftPressesSeen += bPress;
        if (bPress && bConsumeLeftPress)
            p->pQuindle->MarkChildWindowProcessed();
    }
    void EventMouseClick(int ButtonID, double, double) override
    {
        Clicks.push_back(ButtonID);
        if (bConsumeClicks)
            p->pQuindle->MarkChildWindowProcessed();
    }
    void EventMouseOut() override { ++MouseOuts; }
};

// A small front child over the right half of a full-window back child.
class RoutingTest : public ::testing::Test
{
  protected:
    CoreSDL CoreSdl;
    Mouse MouseState;
    Quindle App;
    Core Services{&CoreSdl, nullptr, &MouseState, &App};
    RecordingChild Front{0.0, 0.5, 1.0, -0.5}, Back{-1.0, 1.0, 1.0, -1.0};
    WindowSystem Windows;

    void SetUp() override
    {
        p = &Services;
        for (GLChildWindow* pChild : {&Front, &Back, &Front, static_cast<RecordingChild*>(nullptr)})
            Windows.AddChild(pChild); // the second Front and the null are ignored
    }
    void TearDown() override { p = nullptr; }
    void Frame(double gx, double gy, bool bLeft, std::vector<GlobalClick> clicks = {}, bool bInWindow = true)
    {
        std::copy(std::begin(MouseState.pButton), std::end(MouseState.pButton),
                  std::begin(MouseState.pPrevButton));
        MouseState.pButton[Mouse::Left] = bLeft;
        MouseState.X3D = gx, MouseState.Y3D = gy;
        Windows.ProcessFrame(MouseState, App, clicks, bInWindow);
    }
};

TEST_F(RoutingTest, ConsumedPressOrClickStopsAtTheFrontChildOtherwiseFallsThrough)
{
    ASSERT_EQ(Windows.GetChildren().size(), 2u);
    Frame(0.5, 0.0, true, {{0, 0.5, 0.0}});
    EXPECT_EQ(Back.LeftPressesSeen, 1) << "an unconsumed press reaches the child behind";
    EXPECT_EQ(Back.Clicks, std::vector<int>{0});
    EXPECT_FALSE(App.bChildWindowProcessed);
    Front.bConsumeLeftPress = true;
    Frame(0.5, 0.0, false);
    Frame(0.5, 0.0, true, {{0, 0.5, 0.0}});
    EXPECT_EQ(Front.LeftPressesSeen, 2);
    EXPECT_EQ(Back.LeftPressesSeen, 1) << "the back child must not see the consumed press";
    EXPECT_EQ(Back.Clicks, std::vector<int>{0}) << "nor its click";
    EXPECT_TRUE(App.bChildWindowProcessed);
    // The held button is still visible behind (a drag started there ends normally) but no new press.
    Frame(0.5, 0.0, true);
    EXPECT_EQ(Back.LeftHeldFrames, 2);
    EXPECT_EQ(Back.LeftPressesSeen, 1);
    EXPECT_FALSE(App.bChildWindowProcessed) << "the flag is cleared at the start of every frame";
    Front.bConsumeLeftPress = false, Front.bConsumeClicks = true;
    Frame(0.5, 0.0, false);
    Frame(0.5, 0.0, true, {{3, 0.5, 0.0}, {4, 0.5, 0.0}, {1, -0.5, 0.0}});
    EXPECT_EQ(Front.Clicks, (std::vector<int>{0, 0, 3, 4}));
    EXPECT_EQ(Back.Clicks, std::vector<int>{0}) << "once taken, not even a click outside the front child";
    EXPECT_EQ(Back.LeftPressesSeen, 2) << "the press came before the click was consumed";
    EXPECT_TRUE(App.bChildWindowProcessed);
}

TEST_F(RoutingTest, ClicksAndMouseOutsGoWhereThePointerIs)
{
    // clang-format off
    // A click at the pointer each frame: which child takes it, and the mouse-outs so far. The front
    // child's edges are inclusive; a hidden child takes no click and the pointer leaves it.
    const struct { double X, Y; bool bInWindow, bVisible, bEnabled, bFront, bBack; int FrontOuts, BackOuts; } frames[] = {
        {-0.5, 0.0, true, true, true, false, true, 0, 0},   {0.0, 0.5, true, true, true, true, true, 0, 0},
        {-0.001, 0.0, true, true, true, false, true, 1, 0}, {1.0, -0.5, true, true, true, true, true, 1, 0},
        {0.5, 0.501, true, true, true, false, true, 2, 0},  {-0.6, 0.0, true, true, true, false, true, 2, 0},
        {0.5, 0.0, true, true, true, true, true, 2, 0},     {1.5, 0.0, true, true, true, false, false, 3, 1},
        {0.5, 0.0, true, true, true, true, true, 3, 1},     {0.5, 0.0, true, false, true, false, true, 4, 1},
        {0.5, 0.0, true, true, false, false, true, 4, 1},   {0.5, 0.0, false, true, true, true, true, 5, 2},
        {0.5, 0.0, false, true, true, true, true, 5, 2}};
    // clang-format on
    for (std::size_t i = 0; i < std::size(frames); ++i)
    {
        const auto& f = frames[i];
        Front.Clicks.clear(), Back.Clicks.clear();
        Front.bVisible = f.bVisible, Front.bEnabled = f.bEnabled;
        Frame(f.X, f.Y, false, {{2, f.X, f.Y}}, f.bInWindow);
        EXPECT_EQ(Front.Clicks.size(), f.bFront ? 1u : 0u) << "frame " << i;
        EXPECT_EQ(Back.Clicks.size(), f.bBack ? 1u : 0u) << "frame " << i;
        EXPECT_EQ(Front.MouseOuts, f.FrontOuts) << "frame " << i;
        EXPECT_EQ(Back.MouseOuts, f.BackOuts) << "frame " << i;
    }
    EXPECT_EQ(Front.MouseProcessingCalls, 13) << "every child is processed every frame, shown or not";
    EXPECT_EQ(Back.MouseProcessingCalls, 13);
}

TEST(MouseInput, ButtonsAndWheelAcrossFrames)
{
    // clang-format off
    // Events fed in, then one frame: its click codes and each button's previous and current state.
    // L, M, R, X: left, middle, right and a side button, + down, - up; w wheel notches, f flipped.
    const struct { const char* Events; std::vector<int> Codes; const char* Buttons; } frames[] = {
        {"L+", {0}, "01 00 00"}, {"", {}, "11 00 00"} /* held: no second click */, {"L-", {}, "10 00 00"},
        {"M+ R+ R- X+", {1, 2}, "00 01 01"}, {"", {}, "00 11 10"} /* a quick click is seen for one frame */,
        {"w1 w-1", {3, 4}, "00 11 00"}, {"f1 f-1", {4, 3}, "00 11 00"}, {"w3 w-0.25", {3, 3, 3, 4}, "00 11 00"},
        {"w0", {}, "00 11 00"}};
    // clang-format on
    MouseInput input;
    Mouse mouse;
    for (const auto& f : frames)
    {
        std::istringstream events(f.Events);
        for (std::string e; events >> e;)
        {
            SDL_Event event{};
            const bool bWheel = e[0] == 'w' || e[0] == 'f';
            event.type = bWheel        ? SDL_EVENT_MOUSE_WHEEL
                         : e[1] == '+' ? SDL_EVENT_MOUSE_BUTTON_DOWN
                                       : SDL_EVENT_MOUSE_BUTTON_UP;
            event.button.button = static_cast<Uint8>(std::string("?LMRX").find(e[0])),
            event.button.down = e[1] == '+';
            if (bWheel)
                event.wheel.y = std::stof(e.substr(1)),
                event.wheel.direction = SDL_MouseWheelDirection(e[0] == 'f');
            EXPECT_EQ(input.EndsFrame(event), bWheel ? event.wheel.y != 0 : e[0] != 'X') << e;
            input.HandleEvent(event, 1, 1);
        }
        std::vector<int> codes;
        for (const MouseClick& click : input.FillMouse(mouse, 1280, 720))
            codes.push_back(click.ButtonID);
        EXPECT_EQ(codes, f.Codes) << f.Events;
        std::string buttons;
        for (int b = 0; b < 3; ++b)
            buttons += std::string(b ? " " : "") + "01"[mouse.pPrevButton[b]] + "01"[mouse.pButton[b]];
        EXPECT_EQ(buttons, f.Buttons) << f.Events;
    }
}

TEST(MouseInput, PointerPixelsGlobalCoordinatesAndTheWindowEdge)
{
    // clang-format off
    // 200x100 pixels; on a 2x display the same pixels are 100x50 points; a zero-size window stays finite.
    const struct { float XPt, YPt, Scale; int W, H; unsigned X, Y; double X3D, Y3D; } cases[] = {
        {0, 0, 1, 200, 100, 0, 0, -1.0, 1.0},                {100, 50, 1, 200, 100, 100, 50, 0.0, 0.0},
        {199.5f, 99.5f, 1, 200, 100, 199, 99, 0.995, -0.99}, {200, 100, 1, 200, 100, 200, 100, 1.0, -1.0},
        {-3, -4, 1, 200, 100, 0, 0, -1.03, 1.08},            {250, 130, 1, 200, 100, 250, 130, 1.5, -1.6},
        {50, 25, 2, 200, 100, 100, 50, 0.0, 0.0},            {25, 12.5f, 2, 200, 100, 50, 25, -0.5, 0.5},
        {1, 1, 1, 0, 0, 1, 1, 1.0, -1.0}};
    // clang-format on
    for (const auto& c : cases)
    {
        MouseInput input;
        Mouse mouse;
        SDL_Event event{};
        event.type = SDL_EVENT_WINDOW_MOUSE_LEAVE;
        input.HandleEvent(event, 1, 1);
        EXPECT_FALSE(input.IsPointerInWindow());
        event.type = SDL_EVENT_MOUSE_MOTION, event.motion.x = c.XPt, event.motion.y = c.YPt;
        input.HandleEvent(event, c.Scale, c.Scale);
        input.FillMouse(mouse, c.W, c.H);
        const GlobalClick click = MouseClickToGlobal({4, c.XPt * c.Scale, c.YPt * c.Scale}, c.W, c.H);
        SCOPED_TRACE(::testing::Message() << c.XPt << ", " << c.YPt << " x" << c.Scale << " of " << c.W);
        EXPECT_TRUE(input.IsPointerInWindow()) << "a motion means the pointer is back";
        EXPECT_EQ(std::make_pair(mouse.X, mouse.Y), std::make_pair(c.X, c.Y));
        EXPECT_EQ(click.ButtonID, 4);
        EXPECT_NEAR(mouse.X3D, c.X3D, 1e-9);
        EXPECT_NEAR(mouse.Y3D, c.Y3D, 1e-9);
        EXPECT_EQ(std::make_pair(click.X, click.Y), std::make_pair(mouse.X3D, mouse.Y3D))
            << "clicks convert alike";
    }
}
} // namespace
