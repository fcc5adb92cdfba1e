// Quindle's entry point. Until the window system lands this opens an offscreen SDL3 GL context,
// loads a generated terrain into the viewport and drives a few frames of real input processing.
#include <cstdio>

#include <SDL3/SDL.h>

#include "core.h"
#include "glviewport.h"
#include "glwindow.h"
#include "mouse.h"
#include "rend.h"

int main(int, char**)
{
    if (!SDL_Init(SDL_INIT_VIDEO))
    {
        std::fprintf(stderr, "quindle: SDL_Init failed: %s\n", SDL_GetError());
        return 2;
    }
    CoreSDL coreSdl;
    Mouse mouse;
    Rend rend;
    Quindle app;
    Core core{&coreSdl, &rend, &mouse, &app};
    p = &core;

    GLWindow window;
    GLViewport viewport;
    viewport.pParentWindow = &window;
    std::vector<float> heights(65 * 65, 0.0f);
    viewport.SpringMap.LoadHeightGrid(65, 65, 8.0f, std::move(heights));
    viewport.ResetSpringMapCamera();
    for (int frame = 0; frame < 10; ++frame)
        viewport.MouseProcessing();
    Vec3D centre;
    if (viewport.ScreenToSpringMapWorld(0.5, 0.5, centre))
        std::printf("quindle: the viewport centre picks map point (%.1f, %.1f)\n", centre.X, centre.Z);
    SDL_Quit();
    p = nullptr;
    return 0;
}
