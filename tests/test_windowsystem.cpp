// The window system's routing of a frame's mouse input and the translation of SDL events into it.
#include <cmath>
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
        WindowX1 = x1;
        WindowY1 = y1;
        WindowX2 = x2;
        WindowY2 = y2;
    }

    bool bConsumeLeftPress = false; // marks the frame in MouseProcessing on a left press
    bool bConsumeClicks = false;    // marks the frame in EventMouseClick
    int MouseProcessingCalls = 0;
    int LeftPressesSeen = 0;
    int LeftHeldFrames = 0;
    int MouseOuts = 0;
    std::vector<int> Clicks;

    void MouseProcessing() override
    {
        ++MouseProcessingCalls;
        const Mouse& mouse = *p->pMouse;
        if (mouse.pButton[Mouse::Left])
            ++LeftHeldFrames;
        if (mouse.pButton[Mouse::Left] && !mouse.pPrevButton[Mouse::Left])
        {
            ++LeftPressesSeen;
            if (bConsumeLeftPress)
                p->pQuindle->MarkChildWindowProcessed();
        }
    }
    void EventMouseClick(int ButtonID, double x, double y) override
    {
        Clicks.push_back(ButtonID);
        GLChildWindow::EventMouseClick(ButtonID, x, y);
        if (bConsumeClicks)
            p->pQuindle->MarkChildWindowProcessed();
    }
    void EventMouseOut() override
    {
        ++MouseOuts;
        GLChildWindow::EventMouseOut();
    }
};

// A window system with a small front child over the right half of a full-window back child.
class RoutingTest : public ::testing::Test
{
  protected:
    CoreSDL CoreSdl;
    Mouse MouseState;
    Quindle App;
    Core Services{&CoreSdl, nullptr, &MouseState, &App};
    RecordingChild Front{0.0, 0.5, 1.0, -0.5};
    RecordingChild Back{-1.0, 1.0, 1.0, -1.0};
    WindowSystem Windows;

    void SetUp() override
    {
        p = &Services;
        Windows.AddChild(&Front);
        Windows.AddChild(&Back);
    }
    void TearDown() override { p = nullptr; }

    void Frame(double gx, double gy, bool bLeft, std::vector<GlobalClick> clicks = {}, bool bInWindow = true)
    {
        std::copy(std::begin(MouseState.pButton), std::end(MouseState.pButton),
                  std::begin(MouseState.pPrevButton));
        MouseState.pButton[Mouse::Left] = bLeft;
        MouseState.X3D = gx;
        MouseState.Y3D = gy;
        Windows.ProcessFrame(MouseState, App, clicks, bInWindow);
    }
};
} // namespace

TEST_F(RoutingTest, EveryChildIsProcessedEveryFrameWhereverThePointerIs)
{
    Frame(0.5, 0.0, false);
    Frame(-0.5, 0.0, false);
    Frame(5.0, 5.0, false, {}, false);
    EXPECT_EQ(Front.MouseProcessingCalls, 3);
    EXPECT_EQ(Back.MouseProcessingCalls, 3);
}

TEST_F(RoutingTest, PressConsumedByTheFrontChildNeverReachesTheChildBehind)
{
    Front.bConsumeLeftPress = true;
    Frame(0.5, 0.0, true, {{0, 0.5, 0.0}});
    EXPECT_EQ(Front.LeftPressesSeen, 1);
    EXPECT_EQ(Back.LeftPressesSeen, 0) << "the back child must not see the consumed press";
    EXPECT_EQ(Front.Clicks, std::vector<int>{0});
    EXPECT_TRUE(Back.Clicks.empty());
    EXPECT_TRUE(App.bChildWindowProcessed);
    // The held button is still visible behind (a drag started there ends normally) but no new press.
    Frame(0.5, 0.0, true);
    EXPECT_EQ(Back.LeftHeldFrames, 1);
    EXPECT_EQ(Back.LeftPressesSeen, 0);
    EXPECT_FALSE(App.bChildWindowProcessed) << "the flag is cleared at the start of every frame";
}

TEST_F(RoutingTest, UnconsumedInputFallsThroughToTheChildBehind)
{
    Frame(0.5, 0.0, true, {{0, 0.5, 0.0}});
    EXPECT_EQ(Front.LeftPressesSeen, 1);
    EXPECT_EQ(Back.LeftPressesSeen, 1);
    EXPECT_EQ(Front.Clicks, std::vector<int>{0});
    EXPECT_EQ(Back.Clicks, std::vector<int>{0});
    EXPECT_FALSE(App.bChildWindowProcessed);
}

TEST_F(RoutingTest, ClickGoesOnlyToChildrenUnderItsPoint)
{
    struct Case
    {
        double X, Y;
        bool bFront, bBack;
    };
    // The front child's edges are inclusive: (0, 0.5) and (1, -0.5) are its corners.
    const Case cases[] = {{-0.5, 0.0, false, true}, {0.0, 0.5, true, true},    {-0.001, 0.0, false, true},
                          {1.0, -0.5, true, true},  {0.5, 0.501, false, true}, {1.5, 0.0, false, false}};
    for (const Case& c : cases)
    {
        Front.Clicks.clear();
        Back.Clicks.clear();
        Frame(c.X, c.Y, false, {{2, c.X, c.Y}});
        EXPECT_EQ(Front.Clicks.size(), c.bFront ? 1u : 0u) << "click at " << c.X << ", " << c.Y;
        EXPECT_EQ(Back.Clicks.size(), c.bBack ? 1u : 0u) << "click at " << c.X << ", " << c.Y;
    }
}

TEST_F(RoutingTest, ConsumedClickStopsAtTheFrontChildAndHiddenChildrenGetNone)
{
    Front.bConsumeClicks = true;
    Frame(0.5, 0.0, false, {{3, 0.5, 0.0}, {4, 0.5, 0.0}});
    EXPECT_EQ(Front.Clicks, (std::vector<int>{3, 4}));
    EXPECT_TRUE(Back.Clicks.empty());

    Front.bVisible = false;
    Frame(0.5, 0.0, false, {{3, 0.5, 0.0}});
    EXPECT_EQ(Front.Clicks.size(), 2u) << "a hidden child takes no click";
    EXPECT_EQ(Back.Clicks, std::vector<int>{3});
    EXPECT_EQ(Front.MouseProcessingCalls, 2) << "but it is still processed";
}

TEST_F(RoutingTest, MouseOutOnLeavingAChildOrTheWindowOnlyOnce)
{
    Frame(0.5, 0.0, false); // inside both
    EXPECT_EQ(Front.MouseOuts, 0);
    Frame(-0.5, 0.0, false); // left the front child only
    EXPECT_EQ(Front.MouseOuts, 1);
    EXPECT_EQ(Back.MouseOuts, 0);
    Frame(-0.6, 0.0, false);
    EXPECT_EQ(Front.MouseOuts, 1) << "no second mouse-out while still outside";
    Frame(0.5, 0.0, false);
    Frame(0.5, 0.0, false, {}, false); // the pointer left the window
    EXPECT_EQ(Front.MouseOuts, 2);
    EXPECT_EQ(Back.MouseOuts, 1);
    Frame(0.5, 0.0, false, {}, false);
    EXPECT_EQ(Back.MouseOuts, 1);
}

namespace
{
SDL_Event ButtonEvent(bool bDown, Uint8 button, float x, float y)
{
    SDL_Event event{};
    event.type = bDown ? SDL_EVENT_MOUSE_BUTTON_DOWN : SDL_EVENT_MOUSE_BUTTON_UP;
    event.button.button = button;
    event.button.down = bDown;
    event.button.x = x;
    event.button.y = y;
    return event;
}

SDL_Event WheelEvent(float y, SDL_MouseWheelDirection direction, float x = 10.0f, float yPx = 20.0f)
{
    SDL_Event event{};
    event.type = SDL_EVENT_MOUSE_WHEEL;
    event.wheel.y = y;
    event.wheel.direction = direction;
    event.wheel.mouse_x = x;
    event.wheel.mouse_y = yPx;
    return event;
}

SDL_Event MotionEvent(float x, float y)
{
    SDL_Event event{};
    event.type = SDL_EVENT_MOUSE_MOTION;
    event.motion.x = x;
    event.motion.y = y;
    return event;
}

std::vector<int> Codes(const std::vector<MouseClick>& clicks)
{
    std::vector<int> codes;
    for (const MouseClick& click : clicks)
        codes.push_back(click.ButtonID);
    return codes;
}
} // namespace

TEST(MouseInput, ButtonEdgesAcrossFrames)
{
    MouseInput input;
    Mouse mouse;
    const auto frame = [&] { return input.FillMouse(mouse, 1280, 720); };
    const auto state = [&](int b) { return std::make_pair(mouse.pPrevButton[b], mouse.pButton[b]); };

    input.HandleEvent(ButtonEvent(true, SDL_BUTTON_LEFT, 100, 50), 1, 1);
    EXPECT_EQ(Codes(frame()), std::vector<int>{0});
    EXPECT_EQ(state(Mouse::Left), std::make_pair(false, true)) << "press edge";
    EXPECT_TRUE(frame().empty());
    EXPECT_EQ(state(Mouse::Left), std::make_pair(true, true)) << "held";
    input.HandleEvent(ButtonEvent(false, SDL_BUTTON_LEFT, 100, 50), 1, 1);
    EXPECT_TRUE(frame().empty()) << "a release is not a click";
    EXPECT_EQ(state(Mouse::Left), std::make_pair(true, false)) << "release edge";
    frame();
    EXPECT_EQ(state(Mouse::Left), std::make_pair(false, false));

    // Middle and right map to 1 and 2; SDL's side buttons are ignored.
    input.HandleEvent(ButtonEvent(true, SDL_BUTTON_MIDDLE, 1, 1), 1, 1);
    input.HandleEvent(ButtonEvent(true, SDL_BUTTON_RIGHT, 1, 1), 1, 1);
    input.HandleEvent(ButtonEvent(true, SDL_BUTTON_X1, 1, 1), 1, 1);
    EXPECT_EQ(Codes(frame()), (std::vector<int>{1, 2}));
    EXPECT_TRUE(mouse.pButton[Mouse::Middle]);
    EXPECT_TRUE(mouse.pButton[Mouse::Right]);
    EXPECT_FALSE(mouse.pButton[3]);
}

TEST(MouseInput, PressAndReleaseBetweenTwoFramesIsSeenForOneFrame)
{
    MouseInput input;
    Mouse mouse;
    input.HandleEvent(ButtonEvent(true, SDL_BUTTON_RIGHT, 5, 5), 1, 1);
    input.HandleEvent(ButtonEvent(false, SDL_BUTTON_RIGHT, 5, 5), 1, 1);
    EXPECT_EQ(Codes(input.FillMouse(mouse, 100, 100)), std::vector<int>{2});
    EXPECT_TRUE(mouse.pButton[Mouse::Right]);
    EXPECT_FALSE(mouse.pPrevButton[Mouse::Right]);
    input.FillMouse(mouse, 100, 100);
    EXPECT_FALSE(mouse.pButton[Mouse::Right]);
    EXPECT_TRUE(mouse.pPrevButton[Mouse::Right]);
}

TEST(MouseInput, WheelDirectionsAndNotches)
{
    struct Case
    {
        float Y;
        SDL_MouseWheelDirection Direction;
        std::vector<int> Expected;
    };
    const Case cases[] = {{1.0f, SDL_MOUSEWHEEL_NORMAL, {3}},       {-1.0f, SDL_MOUSEWHEEL_NORMAL, {4}},
                          {1.0f, SDL_MOUSEWHEEL_FLIPPED, {4}},      {-1.0f, SDL_MOUSEWHEEL_FLIPPED, {3}},
                          {3.0f, SDL_MOUSEWHEEL_NORMAL, {3, 3, 3}}, {0.25f, SDL_MOUSEWHEEL_NORMAL, {3}},
                          {0.0f, SDL_MOUSEWHEEL_NORMAL, {}}};
    for (const Case& c : cases)
    {
        MouseInput input;
        Mouse mouse;
        input.HandleEvent(WheelEvent(c.Y, c.Direction), 1, 1);
        EXPECT_EQ(Codes(input.FillMouse(mouse, 100, 100)), c.Expected)
            << "wheel y " << c.Y << (c.Direction == SDL_MOUSEWHEEL_FLIPPED ? " flipped" : "");
    }
}

TEST(MouseInput, PointerPixelsAndGlobalCoordinates)
{
    struct Case
    {
        float XPt, YPt, Scale;
        unsigned X, Y;
        double X3D, Y3D;
    };
    // 200x100 pixels; on a 2x display the same pixels are 100x50 points.
    const Case cases[] = {{0, 0, 1, 0, 0, -1.0, 1.0},
                          {100, 50, 1, 100, 50, 0.0, 0.0},
                          {199.5f, 99.5f, 1, 199, 99, 0.995, -0.99},
                          {200, 100, 1, 200, 100, 1.0, -1.0},
                          {-3, -4, 1, 0, 0, -1.03, 1.08},
                          {250, 130, 1, 250, 130, 1.5, -1.6},
                          {50, 25, 2, 100, 50, 0.0, 0.0},
                          {25, 12.5f, 2, 50, 25, -0.5, 0.5}};
    for (const Case& c : cases)
    {
        MouseInput input;
        Mouse mouse;
        input.HandleEvent(MotionEvent(c.XPt, c.YPt), c.Scale, c.Scale);
        input.FillMouse(mouse, 200, 100);
        EXPECT_EQ(mouse.X, c.X) << "pointer " << c.XPt << ", " << c.YPt << " scale " << c.Scale;
        EXPECT_EQ(mouse.Y, c.Y) << "pointer " << c.XPt << ", " << c.YPt << " scale " << c.Scale;
        EXPECT_NEAR(mouse.X3D, c.X3D, 1e-9) << "pointer " << c.XPt << ", " << c.YPt << " scale " << c.Scale;
        EXPECT_NEAR(mouse.Y3D, c.Y3D, 1e-9) << "pointer " << c.XPt << ", " << c.YPt << " scale " << c.Scale;
        EXPECT_TRUE(input.IsPointerInWindow());
    }
}

TEST(MouseInput, WindowLeaveAndEnter)
{
    MouseInput input;
    SDL_Event event{};
    event.type = SDL_EVENT_WINDOW_MOUSE_ENTER;
    input.HandleEvent(event, 1, 1);
    EXPECT_TRUE(input.IsPointerInWindow());
    event.type = SDL_EVENT_WINDOW_MOUSE_LEAVE;
    input.HandleEvent(event, 1, 1);
    EXPECT_FALSE(input.IsPointerInWindow());
}

TEST(MouseInput, ClicksTurnIntoGlobalCoordinates)
{
    const GlobalClick corner = MouseClickToGlobal({4, 0.0f, 0.0f}, 1280, 720);
    EXPECT_EQ(corner.ButtonID, 4);
    EXPECT_DOUBLE_EQ(corner.X, -1.0);
    EXPECT_DOUBLE_EQ(corner.Y, 1.0);
    const GlobalClick quarter = MouseClickToGlobal({0, 320.0f, 540.0f}, 1280, 720);
    EXPECT_DOUBLE_EQ(quarter.X, -0.5);
    EXPECT_DOUBLE_EQ(quarter.Y, -0.5);
    const GlobalClick collapsed = MouseClickToGlobal({0, 0.0f, 0.0f}, 0, 0);
    EXPECT_TRUE(std::isfinite(collapsed.X) && std::isfinite(collapsed.Y))
        << "a zero-size window stays finite";
}
