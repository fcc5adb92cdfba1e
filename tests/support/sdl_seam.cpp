#include "sdl_seam.h"

#include <array>

namespace
{
std::uint64_t g_TicksMs = 0;
std::array<bool, SDL_SCANCODE_COUNT> g_Keys{};
SDL_Keymod g_Mods = SDL_KMOD_NONE;
} // namespace

namespace sdlseam
{
void SetTicks(std::uint64_t Ms)
{
    g_TicksMs = Ms;
}
void AdvanceTicks(std::uint64_t Ms)
{
    g_TicksMs += Ms;
}
void SetKey(SDL_Scancode Code, bool bDown)
{
    g_Keys[Code] = bDown;
}
void SetMods(SDL_Keymod Mods)
{
    g_Mods = Mods;
}
void Reset()
{
    g_TicksMs = 0;
    g_Keys.fill(false);
    g_Mods = SDL_KMOD_NONE;
}
} // namespace sdlseam

extern "C"
{
    Uint64 SDL_GetTicks(void)
    {
        return g_TicksMs;
    }
    const bool* SDL_GetKeyboardState(int* numkeys)
    {
        if (numkeys)
            *numkeys = SDL_SCANCODE_COUNT;
        return g_Keys.data();
    }
    SDL_Keymod SDL_GetModState(void)
    {
        return g_Mods;
    }
}
