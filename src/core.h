#pragma once

class Mouse;
class Rend;

// Size of the application window in pixels.
class CoreSDL
{
public:
    int Width = 1280;
    int Height = 720;
};

// The application object: the window system reads bChildWindowProcessed to keep a frame's mouse
// input, once a child window consumed it, from the windows behind that child.
class Quindle
{
public:
    bool bChildWindowProcessed = false;
    void MarkChildWindowProcessed() { bChildWindowProcessed = true; }
};

// The application core: owns the services the windows use.
class Core
{
public:
    CoreSDL* pCoreSDL = nullptr;
    Rend* pRend = nullptr;
    Mouse* pMouse = nullptr;
    Quindle* pQuindle = nullptr;
};

extern Core* p;
