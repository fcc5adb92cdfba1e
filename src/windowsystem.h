#pragma once

#include <vector>

#include "mouseinput.h"

class GLChildWindow;
class Mouse;
class Quindle;

// A click in global coordinates, the units of the child windows' rectangles.
struct GlobalClick
{
    int ButtonID = 0;
    double X = 0.0;
    double Y = 0.0;
};

// Routes one frame of mouse input to the child windows, front to back:
//  - every child's MouseProcessing runs every frame, wherever the pointer is;
//  - once a child has consumed the frame (Quindle::bChildWindowProcessed set after its
//    MouseProcessing or one of its clicks), the children behind it see no new press and get no click;
//  - a click goes to the front-most shown child under its point, then to the next one behind
//    while none has consumed it;
//  - EventMouseOut goes to a child when the pointer leaves its rectangle or the window.
class WindowSystem
{
  public:
    // Children are kept front to back: the first added is the front-most.
    void AddChild(GLChildWindow* Child);
    const std::vector<GLChildWindow*>& GetChildren() const { return Children; }

    void ProcessFrame(Mouse& MouseState, Quindle& App, const std::vector<GlobalClick>& Clicks,
                      bool bPointerInWindow);

  private:
    struct Entry
    {
        bool bPointerInside = false;
    };
    bool IsShownAndEnabled(const GLChildWindow& Child) const;

    std::vector<GLChildWindow*> Children;
    std::vector<Entry> Entries;
};

// Window pixels to global coordinates (-1..1 across the window, Y up).
GlobalClick MouseClickToGlobal(const MouseClick& Click, int WidthPx, int HeightPx);
