#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "appoptions.h"
#include "controls.h"
#include "core.h"
#include "fontmetrics.h"
#include "framestats.h"
#include "glviewport.h"
#include "glwindow.h"
#include "helpoverlay.h"
#include "jeteffectswitch.h"
#include "mapbrowser.h"
#include "mapwatcher.h"
#include "minimap.h"
#include "mouse.h"
#include "mouseinput.h"
#include "navtooltip.h"
#include "picturetexture_gl.h"
#include "rend.h"
#include "rend_gl.h"
#include "rotatecontinuity.h"
#include "ttf.h"
#include "ttf_gl.h"
#include "viewkeys.h"
#include "windowsystem.h"

// Quindle as a person runs it: the SDL window and GL context, the services behind the global p,
// the top-level window with its status bar, the viewport and the frame loop.
class Application
{
  public:
    Application() = default;
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;
    ~Application();

    // Opens the window, the renderers and the font, loads the map and places the units.
    // False with one line of reason (for stderr) on any failure.
    bool Start(const AppOptions& Options, std::string& Error);

    // Pumps SDL's events, routes the frame's mouse input and advances the units. False once the
    // user asked to quit.
    bool ProcessInput();
    // Draws one frame into the back buffer: the scene, then (with bOverlays) the layer's overlays in
    // their order, then the status bar.
    void DrawFrame(bool bOverlays = true);
    // The layer's overlays alone, in their order, as one 2D batch (the frame benchmark times them).
    void DrawOverlays();
    // Shows the back buffer.
    void PresentFrame();
    // The back buffer as RGBA rows, top first (call before PresentFrame).
    std::vector<std::uint8_t> ReadBackBuffer() const;

    // Route planning a frame of the interactive loop may spend: a fifth of a 30 fps frame.
    static constexpr double InteractiveRoutePlanBudgetMs = 6.0;

    GLViewport& GetViewport() { return Viewport; }
    GLWindow& GetWindow() { return Window; }
    const CoreSDL& GetCoreSDL() const { return CoreSdl; }
    const FontMetrics& GetFontMetrics() const { return Metrics; }
    HelpOverlay& GetHelp() { return Help; }
    Minimap& GetMinimap() { return MiniMap; }
    NavTooltip& GetTooltip() { return Tooltip; }
    MapBrowser& GetMapBrowser() { return Browser; }
    FrameStats& GetFrameStats() { return Stats; }
    // The map loader's warnings, one "<file>: <problem>" line each.
    const std::vector<std::string>& GetMapWarnings() const { return MapWarnings; }
    const std::string& GetMapName() const { return MapName; }
    const std::string& GetMapPath() const { return MapPath; }
    int GetMapReloads() const { return MapReloads; }

    // Replaces the map with the one at Path (a file or folder, "" the built-in map): units placed
    // again, selection, groups and orders gone, the camera framing the new map, the status bar
    // naming it and its warnings. On failure the current map stays and the status bar says why.
    bool OpenMap(const std::string& Path);
    // Reads the current map's files again, the camera kept where it is; false as OpenMap.
    bool ReloadMap();

  private:
    // What a file dialog answered; shared with SDL's callback, which may outlive a request.
    struct DialogAnswer
    {
        std::mutex Mutex;
        bool bAnswered = false;
        std::string Path;  // empty: cancelled
        std::string Error; // the dialog could not be shown
    };

    void HandleWindowEvent(const SDL_Event& Event);
    // Loads Path into the viewport; false leaves everything as it was, with Error set.
    bool LoadMapFrom(const std::string& Path, bool bKeepCamera, std::string& Error);
    // Units, minimap, title and status for a map just loaded.
    void ShowLoadedMap(const std::string& Intro);
    void ShowMapDialog();
    void ShowMapBrowser(bool bShow);
    // The browser's share of an event while it is open; true when it took the event.
    bool RouteBrowserEvent(const SDL_Event& Event);
    // Opens what a file dialog chose and reloads a watched map whose files have settled.
    void PollMapSources();
    void UpdateWindowFlags();
    // Hands the mouse input gathered since the last call to the window system as one frame.
    void RouteMouseFrame();
    // Does what a key of the controls table asks; bRepeat: the key is held and auto-repeating;
    // Chord: which of the row's keys it was.
    void ApplyKeyAction(AppAction Action, bool bRepeat, int Chord);
    // Where the status bar ends, in global units: left of the viewport's Rotate toggle.
    float GetStatusBarRightX() const;
    void RecordOverlays();
    // The application's own overlays over the layer's: minimap, frame counter, help, tooltip.
    void RecordAppOverlays();
    // Fits the effects panel's font to the window and, unless the person chose, shows the panel
    // only where its rows fit.
    void FitEffectsPanel();
    // Moves what was recorded so far into the 2D batch, shapes under their text, and clears the
    // record; the batch is drawn once per frame.
    void BatchRecorded();

    CoreSDL CoreSdl;
    Mouse MouseState;
    Rend Renderer;
    TTF Font;
    Quindle App;
    Core CoreServices;
    GLWindow Window;
    GLViewport Viewport;
    WindowSystem Windows;
    MouseInput Input;
    RotateContinuity Rotation;
    ViewKeys Keys;
    Batch2DGL Batch;
    TTFGL FontBackend;
    FontMetrics Metrics;
    HelpOverlay Help;
    Minimap MiniMap;
    PictureTextureGL MinimapPicture;                                     // MiniMap's picture for the 2D batch
    std::unordered_map<std::string, PictureTextureGL> ThumbnailPictures; // the browser's, by map path
    NavTooltip Tooltip;
    FrameStats Stats;
    JetEffectSwitch JetSwitch;
    bool bEffectsPanelChosen = false; // by --effects-panel or F3
    bool bFixedTimeStep = false;
    bool bQuitRequested = false;
    std::uint64_t LastFrameNs = 0;
    std::vector<std::string> MapWarnings;
    std::string MapPath; // as given; "" for the built-in map
    std::string MapName;
    int MapReloads = 0;
    int VehicleCount = 0, AircraftCount = 0;
    MapWatcher Watcher;
    MapBrowser Browser;
    std::vector<std::string> BrowseFolders; // --browse's folder, then the user's map folders
    std::shared_ptr<DialogAnswer> pDialog;  // while a dialog is open
};
