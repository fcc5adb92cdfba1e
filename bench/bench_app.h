#pragma once

#include "core.h"
#include "glviewport.h"
#include "mouse.h"
#include "rend.h"
#include "ttf.h"

// The application services a benchmark's viewport reaches through the global p: a 1280x720
// window, recording 2D and text renderers, the mouse record and the application object.
template <class ViewportT = GLViewport> struct BenchServices
{
    CoreSDL CoreSdl;
    Mouse MouseState;
    Rend Renderer;
    TTF Font;
    Quindle App;
    Core CoreServices{&CoreSdl, &Renderer, &MouseState, &App};
    ViewportT View;

    BenchServices()
    {
        p = &CoreServices;
        Renderer.pTTF = &Font;
    }
    ~BenchServices() { p = nullptr; }
    BenchServices(const BenchServices&) = delete;
    BenchServices& operator=(const BenchServices&) = delete;
};
