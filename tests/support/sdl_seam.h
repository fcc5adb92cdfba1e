#pragma once

#include <cstdint>

#include <SDL3/SDL.h>

// Test executables define SDL_GetTicks, SDL_GetKeyboardState and SDL_GetModState themselves (this
// seam), so a test sets the clock, the keys and the modifiers the viewport reads.
namespace sdlseam
{
void SetTicks(std::uint64_t Ms);
void AdvanceTicks(std::uint64_t Ms);
void SetKey(SDL_Scancode Code, bool bDown);
void SetMods(SDL_Keymod Mods);
// Clock 0, no key, no modifier.
void Reset();
} // namespace sdlseam
