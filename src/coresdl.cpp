#include <algorithm>
#include <string>
#include <vector>

#include <SDL3/SDL.h>
#include <dlfcn.h>
#include <epoxy/gl.h>
#include <link.h>

#include "core.h"

namespace
{
// SDL unloads the GL driver when video shuts down, while the driver's globals still hold its
// allocations; once it is unmapped, a leak checker at exit no longer sees those pointers and blames
// them on us. One more reference on every library loaded by now (the driver and what it pulled in)
// keeps them mapped until the process ends, as they would be in any program that keeps its window.
void KeepGLDriverLoaded()
{
    std::vector<std::string> names;
    dl_iterate_phdr(
        [](dl_phdr_info* Info, std::size_t, void* pNames) -> int
        {
            if (Info->dlpi_name && *Info->dlpi_name)
                static_cast<std::vector<std::string>*>(pNames)->push_back(Info->dlpi_name);
            return 0;
        },
        &names);
    // Not from inside the walk: it holds the loader's lock.
    for (const std::string& name : names)
        dlopen(name.c_str(), RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}
} // namespace

CoreSDL::~CoreSDL()
{
    Close();
}

bool CoreSDL::Open(const char* Title, int WidthPx, int HeightPx, bool bVSync, std::string& Error)
{
    if (!SDL_InitSubSystem(SDL_INIT_VIDEO))
    {
        Error = std::string("cannot start SDL video: ") + SDL_GetError();
        return false;
    }
    bVideoStarted = true;
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_CORE);
    SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
    SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 24);
    pWindow = SDL_CreateWindow(Title, WidthPx, HeightPx,
                               SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE | SDL_WINDOW_HIGH_PIXEL_DENSITY);
    if (!pWindow)
    {
        Error = std::string("cannot open a window: ") + SDL_GetError();
        Close();
        return false;
    }
    GLContext = SDL_GL_CreateContext(pWindow);
    if (!GLContext)
    {
        Error = std::string("no usable OpenGL 3.3 core context: ") + SDL_GetError();
        Close();
        return false;
    }
    if (epoxy_gl_version() < 33)
    {
        Error = "no usable OpenGL 3.3 core context: the driver offers only " +
                std::to_string(epoxy_gl_version() / 10) + "." + std::to_string(epoxy_gl_version() % 10);
        Close();
        return false;
    }
    KeepGLDriverLoaded();
    SDL_GL_SetSwapInterval(bVSync ? 1 : 0);
    UpdatePixelSize();
    return true;
}

void CoreSDL::Close()
{
    if (GLContext)
        SDL_GL_DestroyContext(GLContext);
    GLContext = nullptr;
    if (pWindow)
    {
        SDL_DestroyWindow(pWindow);
        pWindow = nullptr;
    }
    if (bVideoStarted)
        SDL_QuitSubSystem(SDL_INIT_VIDEO);
    bVideoStarted = false;
}

void CoreSDL::UpdatePixelSize()
{
    int widthPx = 0, heightPx = 0;
    if (pWindow && SDL_GetWindowSizeInPixels(pWindow, &widthPx, &heightPx) && widthPx > 0 && heightPx > 0)
    {
        Width = widthPx;
        Height = heightPx;
    }
}

float CoreSDL::GetPixelsPerPointX() const
{
    int widthPt = 0, heightPt = 0;
    if (!pWindow || !SDL_GetWindowSize(pWindow, &widthPt, &heightPt) || widthPt <= 0)
        return 1.0f;
    return static_cast<float>(Width) / static_cast<float>(widthPt);
}

float CoreSDL::GetPixelsPerPointY() const
{
    int widthPt = 0, heightPt = 0;
    if (!pWindow || !SDL_GetWindowSize(pWindow, &widthPt, &heightPt) || heightPt <= 0)
        return 1.0f;
    return static_cast<float>(Height) / static_cast<float>(heightPt);
}
