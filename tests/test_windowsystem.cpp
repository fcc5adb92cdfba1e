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
// A child window that logs what the window system did to it: per frame "p" a new left press, "h" the
// left button held, "-" neither; "c<id>" a click; "o" the pointer left it. Flags say what it consumes.
class LoggingChild : public GLChildWindow
{
  public:
    LoggingChild(char Name, std::string& Log, double x1, double y1, double x2, double y2)
        : Name(Name), Log(Log)
    {
        WindowX1 = x1, WindowY1 = y1, WindowX2 = x2, WindowY2 = y2;
    }
    bool bConsumeLeftPress = false, bConsumeClicks = false;

    void MouseProcessing() override
    {
        const Mouse& mouse = *p->pMouse;
        const bool bPress = mouse.pButton[Mouse::Left] && !mouse.pPrevButton[Mouse::Left];
        Write(bPress ? "p" : mouse.pButton[Mouse::Left] ? "h" : "-");
        if (bPress && bConsumeLeftPress)
            p->pQuindle->MarkChildWindowProcessed();
    }
    void EventMouseClick(int ButtonID, double, double) override
    {
        Write("c" + std::to_string(ButtonID));
        if (bConsumeClicks)
            p->pQuindle->MarkChildWindowProcessed();
    }
    void EventMouseOut() override { Write("o"); }

  private:
    void Write(const std::string& What) { Log += (Log.empty() ? "" : " ") + (Name + What); }
    const char Name;
    std::string& Log;
};

TEST(WindowSystem, RoutesEachFrameFrontToBackUntilAChildTakesIt)
{
    CoreSDL coreSdl;
    Mouse mouse;
    Quindle app;
    Core services{&coreSdl, nullptr, &mouse, &app};
    p = &services;
    std::string log;
    // A small front child over the right half of a full-window back child.
    LoggingChild front('F', log, 0.0, 0.5, 1.0, -0.5), back('B', log, -1.0, 1.0, 1.0, -1.0);
    WindowSystem windows;
    for (GLChildWindow* pChild : {&front, &back, &front, static_cast<LoggingChild*>(nullptr)})
        windows.AddChild(pChild); // the second front and the null are ignored
    // clang-format off
    // The pointer, the left button, whether the pointer is in the window, the front child's state
    // (v shown, e enabled, P takes a left press, C takes clicks) and the clicks, at the pointer unless
    // given; then the frame's log and whether a child took the frame. A held button stays visible
    // behind a taken press (a drag started there ends normally); the edges are inclusive.
    const struct { double X, Y; bool bLeft, bInWindow; const char* Front; std::vector<int> Clicks; const char* Log; bool bTaken; } frames[] = {
        {0.5, 0.0, true, true, "ve", {0}, "Fp Bp Fc0 Bc0", false},
        {0.5, 0.0, false, true, "veP", {}, "F- B-", false},
        {0.5, 0.0, true, true, "veP", {0}, "Fp B- Fc0", true},
        {0.5, 0.0, true, true, "veP", {}, "Fh Bh", false},
        {0.5, 0.0, false, true, "veC", {}, "F- B-", false},
        {0.5, 0.0, true, true, "veC", {3, 4, -1}, "Fp Bp Fc3 Fc4", true}, // -1: a right click at (-0.5, 0)
        {-0.5, 0.0, false, true, "ve", {2}, "Fo F- B- Bc2", false},
        {0.0, 0.5, false, true, "ve", {2}, "F- B- Fc2 Bc2", false},
        {-0.001, 0.0, false, true, "ve", {2}, "Fo F- B- Bc2", false},
        {1.0, -0.5, false, true, "ve", {2}, "F- B- Fc2 Bc2", false},
        {0.5, 0.501, false, true, "ve", {2}, "Fo F- B- Bc2", false},
        {-0.6, 0.0, false, true, "ve", {2}, "F- B- Bc2", false},
        {1.5, 0.0, false, true, "ve", {2}, "Bo F- B-", false},
        {0.5, 0.0, false, true, "ve", {2}, "F- B- Fc2 Bc2", false},
        {0.5, 0.0, false, true, "e", {2}, "Fo F- B- Bc2", false},
        {0.5, 0.0, false, true, "v", {2}, "F- B- Bc2", false},
        {0.5, 0.0, false, false, "ve", {2}, "Fo Bo F- B- Fc2 Bc2", false},
        {0.5, 0.0, false, false, "ve", {2}, "F- B- Fc2 Bc2", false}};
    // clang-format on
    for (std::size_t i = 0; i < std::size(frames); ++i)
    {
        const auto& f = frames[i];
        const std::string flags = f.Front;
        front.bVisible = flags.find('v') != std::string::npos,
        front.bEnabled = flags.find('e') != std::string::npos;
        front.bConsumeLeftPress = flags.find('P') != std::string::npos;
        front.bConsumeClicks = flags.find('C') != std::string::npos;
        std::copy(std::begin(mouse.pButton), std::end(mouse.pButton), std::begin(mouse.pPrevButton));
        mouse.pButton[Mouse::Left] = f.bLeft;
        mouse.X3D = f.X, mouse.Y3D = f.Y;
        std::vector<GlobalClick> clicks;
        for (const int id : f.Clicks)
            clicks.push_back(id < 0 ? GlobalClick{2, -0.5, 0.0} : GlobalClick{id, f.X, f.Y});
        log.clear();
        windows.ProcessFrame(mouse, app, clicks, f.bInWindow);
        EXPECT_EQ(log, f.Log) << "frame " << i;
        EXPECT_EQ(app.bChildWindowProcessed, f.bTaken) << "frame " << i;
    }
    p = nullptr;
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
