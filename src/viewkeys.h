#pragma once

#include <SDL3/SDL_events.h>

#include "controls.h"
#include "keycamera.h"
#include "selectioncommands.h"

class GLViewport;

// The application's keys for the view: the held camera keys, zoom, edge scrolling and the
// commands on the selection. Each command confirms itself in the status bar.
class ViewKeys
{
  public:
    KeyCamera Camera;

    // A key press that matched Row. False when Row is not one of the view's keys (the caller
    // handles it).
    bool HandleKeyDown(const Control& Row, const SDL_KeyboardEvent& Key, GLViewport& View);
    void HandleKeyUp(const SDL_KeyboardEvent& Key) { Camera.Release(Key.key); }
    // A new map's units are not the ones the groups named.
    void ForgetGroups() { Groups.Clear(); }

  private:
    SelectionGroups Groups;
};
