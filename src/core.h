#pragma once

#include <string>

#include <SDL3/SDL_video.h>

class Mouse;
class Rend;

// The application window and its OpenGL context. Width and Height are the drawable's size in
// pixels (on a high-DPI display larger than the window's size in points).
class CoreSDL
{
  public:
    int Width = 1280;
    int Height = 720;
    SDL_Window* pWindow = nullptr;
    SDL_GLContext GLContext = nullptr;

    CoreSDL() = default;
    CoreSDL(const CoreSDL&) = delete;
    CoreSDL& operator=(const CoreSDL&) = delete;
    ~CoreSDL();

    // Initialises SDL's video, opens a window with a GL 3.3 core context and makes it current.
    // False with one line of reason when any of that fails.
    bool Open(const char* Title, int WidthPx, int HeightPx, bool bVSync, std::string& Error);
    void Close();
    // Re-reads the drawable's pixel size after a resize or a display change.
    void UpdatePixelSize();
    // Window points to drawable pixels, per axis (1 unless the display is high-DPI).
    float GetPixelsPerPointX() const;
    float GetPixelsPerPointY() const;

  private:
    bool bVideoStarted = false; // Close quits only the SDL video this object started
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
