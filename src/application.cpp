#include "application.h"

#include <algorithm>

#include <SDL3/SDL.h>

#include "cameraguard.h"
#include "controls.h"
#include "effectspanelfit.h"
#include "glreadback.h"
#include "mapsetup.h"
#include "pixelcanvas.h"
#include "softwaregl.h"

Application::~Application()
{
    // The terrain's and the effect's GL objects go while the context is still current.
    if (CoreSdl.GLContext)
    {
        Viewport.SpringMap.ReleaseGL();
        Viewport.JetExhaust.ReleaseGL();
        Stats.ReleaseGL();
    }
    if (p == &CoreServices)
        p = nullptr;
}

bool Application::Start(const AppOptions& Options, std::string& Error)
{
    if (!CoreSdl.Open("Quindle", Options.WidthPx, Options.HeightPx, Options.FrameCount == 0, Error))
        return false;
    if (!Batch.Create(Error) || !FontBackend.Create(TTFGL::DefaultFontPath, Error) ||
        !Metrics.Open(TTFGL::DefaultFontPath, Error))
        return false;
    Window.pMetrics = &Metrics;
    Renderer.pTTF = &Font;
    Viewport.SpringMap.bForSoftwareGL = IsSoftwareGLRenderer();
    if (Viewport.SpringMap.bForSoftwareGL)
        Viewport.SpringMap.LodErrorPx = SpringMapRenderer::SoftwareGLLodErrorPx;
    CoreServices = Core{&CoreSdl, &Renderer, &MouseState, &App};
    p = &CoreServices;

    // The viewport fills the window; the status bar is drawn over its bottom edge.
    Viewport.WindowX1 = -1.0;
    Viewport.WindowY1 = 1.0;
    Viewport.WindowX2 = 1.0;
    Viewport.WindowY2 = -1.0;
    Viewport.pParentWindow = &Window;
    Windows.AddChild(&Viewport);

    VehicleCount = Options.VehicleCount;
    Viewport.MapDisplay.bWater = Options.bWater;
    Viewport.MapDisplay.bFeatures = Options.bFeatures;
    Viewport.MapDisplay.View = static_cast<AuthorView>(Options.AuthorViewIndex);
    AircraftCount = Options.AircraftCount;
    if (!LoadMapFrom(Options.MapPath, false, Error))
        return false;
    if (Options.EffectsPanel != AppOptions::Panel::Auto)
    {
        bEffectsPanelChosen = true;
        Viewport.bJetEffectsPanelVisible = Options.EffectsPanel == AppOptions::Panel::On;
    }
    // The hint leads, so even a narrow window's bar shows it whole.
    ShowLoadedMap("F1: controls | ");
    if (Options.bWatch && !Watcher.Watch(MapPath, SDL_GetTicks(), Error))
        return false;
    if (!Options.BrowseFolder.empty())
        BrowseFolders.push_back(Options.BrowseFolder);
    for (std::string& folder : GetUserMapFolders())
        if (std::find(BrowseFolders.begin(), BrowseFolders.end(), folder) == BrowseFolders.end())
            BrowseFolders.push_back(std::move(folder));
    if (Options.bBrowse)
        ShowMapBrowser(true);
    bFixedTimeStep = Options.FrameCount > 0;
    if (!bFixedTimeStep)
        Viewport.Units.RoutePlanBudgetMs = InteractiveRoutePlanBudgetMs;
    Keys.Camera.bEdgeScroll = (SDL_GetWindowFlags(CoreSdl.pWindow) & SDL_WINDOW_FULLSCREEN) != 0;
    LastFrameNs = SDL_GetTicksNS();
    return true;
}

void Application::HandleWindowEvent(const SDL_Event& Event)
{
    if (Browser.IsOpen() && RouteBrowserEvent(Event))
        return;
    switch (Event.type)
    {
    case SDL_EVENT_QUIT:
    case SDL_EVENT_WINDOW_CLOSE_REQUESTED:
        bQuitRequested = true;
        break;
    case SDL_EVENT_WINDOW_PIXEL_SIZE_CHANGED:
    case SDL_EVENT_WINDOW_RESIZED:
    case SDL_EVENT_WINDOW_DISPLAY_SCALE_CHANGED:
        CoreSdl.UpdatePixelSize();
        break;
    case SDL_EVENT_KEY_DOWN:
        // The view's keys are plain letters and digits: typing into a text field must not move the view.
        if (const Control* pControl = FindKeyControl(Event.key.key, Event.key.mod);
            pControl &&
            !(SDL_TextInputActive(CoreSdl.pWindow) || Keys.HandleKeyDown(*pControl, Event.key, Viewport)))
            ApplyKeyAction(pControl->Action, Event.key.repeat,
                           FindChordIndex(*pControl, Event.key.key, Event.key.mod));
        break;
    case SDL_EVENT_KEY_UP:
        Keys.HandleKeyUp(Event.key);
        break;
    case SDL_EVENT_DROP_FILE:
        if (Event.drop.data)
            OpenMap(Event.drop.data);
        break;
    case SDL_EVENT_WINDOW_FOCUS_LOST:
        Keys.Camera.ReleaseAll();
        break;
    case SDL_EVENT_WINDOW_ENTER_FULLSCREEN:
    case SDL_EVENT_WINDOW_LEAVE_FULLSCREEN:
        Keys.Camera.bEdgeScroll = Event.type == SDL_EVENT_WINDOW_ENTER_FULLSCREEN;
        break;
    default:
        break;
    }
}

void Application::ApplyKeyAction(AppAction Action, bool bRepeat, int Chord)
{
    // A held key repeats only what is harmless to repeat: switching or reloading twice would undo
    // or redo work the person asked for once.
    switch (Action)
    {
    case AppAction::Quit:
        bQuitRequested = true;
        break;
    case AppAction::FrameMap:
        Viewport.ResetSpringMapCamera();
        break;
    case AppAction::ToggleJetEffect:
        if (!bRepeat)
            JetSwitch.Toggle(Viewport.JetExhaust);
        break;
    case AppAction::ReloadJetShaders:
        if (!bRepeat)
            Viewport.JetExhaust.ReloadShaders();
        break;
    case AppAction::ToggleHelp:
        if (!bRepeat)
            Help.bVisible = !Help.bVisible;
        break;
    case AppAction::ToggleFrameStats:
        if (!bRepeat)
            Stats.bVisible = !Stats.bVisible;
        break;
    case AppAction::ToggleEffectsPanel:
        bEffectsPanelChosen = true;
        if (!bRepeat)
            Viewport.bJetEffectsPanelVisible = !Viewport.bJetEffectsPanelVisible;
        break;
    case AppAction::ToggleMinimap:
        if (!bRepeat)
            MiniMap.bVisible = !MiniMap.bVisible;
        break;
    case AppAction::ReloadMap:
        if (!bRepeat)
            ReloadMap();
        break;
    case AppAction::ToggleMapBrowser:
        if (!bRepeat)
            ShowMapBrowser(!Browser.IsOpen());
        break;
    case AppAction::OpenMapDialog:
        if (!bRepeat)
            ShowMapDialog();
        break;
    case AppAction::ToggleWater:
        if (!bRepeat)
            Viewport.MapDisplay.bWater = !Viewport.MapDisplay.bWater;
        break;
    case AppAction::ToggleFeatures:
        if (!bRepeat)
            Viewport.MapDisplay.bFeatures = !Viewport.MapDisplay.bFeatures;
        break;
    case AppAction::ShowAuthorView:
        if (!bRepeat)
        {
            const auto view = static_cast<AuthorView>(Chord + 1);
            Viewport.MapDisplay.View = Viewport.MapDisplay.View == view ? AuthorView::Off : view;
        }
        break;
    default: // the view's keys: ViewKeys
        break;
    }
}

void Application::UpdateWindowFlags()
{
    const SDL_WindowFlags flags = SDL_GetWindowFlags(CoreSdl.pWindow);
    Renderer.bDrawingAllowed = (flags & SDL_WINDOW_MINIMIZED) == 0;
    // The browser's filter takes the typing: the viewport must not read its letters as keys.
    Viewport.bHasFocus = (flags & SDL_WINDOW_INPUT_FOCUS) != 0 && !Browser.IsOpen();
}

void Application::RouteMouseFrame()
{
    Rotation.Sync(Viewport);
    CameraGuard::Apply(Viewport);
    const std::vector<MouseClick> clicks = Input.FillMouse(MouseState, CoreSdl.Width, CoreSdl.Height);
    std::vector<GlobalClick> globalClicks;
    globalClicks.reserve(clicks.size());
    for (const MouseClick& click : clicks)
        globalClicks.push_back(MouseClickToGlobal(click, CoreSdl.Width, CoreSdl.Height));
    MiniMap.ProcessMouse(MouseState, Input.IsPointerInWindow(), Viewport, Window, CoreSdl.Width,
                         CoreSdl.Height);
    if (Browser.IsOpen())
    {
        // The panel covers the view: the pointer is its alone while it is open.
        Viewport.bMouseInteraction = false;
        std::string chosen;
        if (Browser.HandleMouse(MouseState, CoreSdl.Width, CoreSdl.Height - GLWindow::StatusBarHeightPx,
                                chosen) &&
            OpenMap(chosen))
            ShowMapBrowser(false);
    }
    Windows.ProcessFrame(MouseState, App, globalClicks, Input.IsPointerInWindow());
    Rotation.Sync(Viewport);
    Tooltip.Update(Viewport, SDL_GetTicks());
}

bool Application::ProcessInput()
{
    // The event stream is cut into frames of mouse input at every button transition and wheel
    // turn, so the viewport sees each press and release where it happened; the frame is still
    // drawn once.
    Stats.BeginCpu(SDL_GetTicksNS());
    UpdateWindowFlags();
    bool bRouted = false;
    SDL_Event event;
    while (SDL_PollEvent(&event))
    {
        HandleWindowEvent(event);
        const bool bEndsFrame = Input.EndsFrame(event);
        if (bEndsFrame && Input.HasPendingInput())
            RouteMouseFrame();
        Input.HandleEvent(event, CoreSdl.GetPixelsPerPointX(), CoreSdl.GetPixelsPerPointY());
        if (bEndsFrame)
        {
            RouteMouseFrame();
            bRouted = true;
        }
    }
    UpdateWindowFlags();
    if (!bRouted || Input.HasPendingInput())
        RouteMouseFrame();

    // A run of a fixed number of frames steps 60 Hz time so its state file is the same every run.
    const std::uint64_t nowNs = SDL_GetTicksNS();
    const double dtSec = bFixedTimeStep ? 1.0 / 60.0 : (nowNs - LastFrameNs) * 1e-9;
    LastFrameNs = nowNs;
    Keys.Camera.Step(Viewport, dtSec,
                     {Input.IsPointerInWindow(), static_cast<double>(MouseState.X),
                      static_cast<double>(MouseState.Y), CoreSdl.Width, CoreSdl.Height});
    Viewport.Units.Step(dtSec);
    PollMapSources();
    CameraGuard::Apply(Viewport);
    return !bQuitRequested;
}

void Application::BatchRecorded()
{
    AppendRendPrimitives(Renderer.GetPrimitives(), CoreSdl.Width, CoreSdl.Height, FontBackend.GetSolidU(),
                         FontBackend.GetSolidV(), Batch);
    FontBackend.AppendText(Font.GetTextCalls(), CoreSdl.Width, CoreSdl.Height, Batch);
    Renderer.ClearRecord();
    Font.ClearRecord();
}

float Application::GetStatusBarRightX() const
{
    // The bar stops a little short of the Rotate toggle so the toggle stays whole and clickable.
    constexpr double GapLocal = 0.02;
    double x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
    if (!Viewport.bVisible || !Viewport.GetAutoRotateToggleRect(x1, y1, x2, y2))
        return 1.0f;
    return static_cast<float>(Viewport.WindowX1 + (x1 - GapLocal) * (Viewport.WindowX2 - Viewport.WindowX1));
}

void Application::FitEffectsPanel()
{
    const int widthPx = static_cast<int>((Viewport.WindowX2 - Viewport.WindowX1) * 0.5 * CoreSdl.Width);
    const int heightPx = static_cast<int>((Viewport.WindowY1 - Viewport.WindowY2) * 0.5 * CoreSdl.Height);
    const EffectsPanelFont font = ChooseEffectsPanelFont(Metrics, widthPx, heightPx);
    Renderer.FontSmallerPx = font.SizePx;
    if (!bEffectsPanelChosen)
        Viewport.bJetEffectsPanelVisible = font.bFits;
}

void Application::DrawFrame(bool bOverlays)
{
    Stats.BeginGpu();
    FitEffectsPanel();
    glViewport(0, 0, CoreSdl.Width, CoreSdl.Height);
    glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    Viewport.Render();
    {
        const ScopedFramePart part(Viewport.pPartsTimer, FramePartsTimer::Part::Overlays);
        if (bOverlays)
            RecordOverlays();
        Window.StatusBarRightX = GetStatusBarRightX();
        Window.RenderStatusBar();
        BatchRecorded();
        if (bOverlays)
            RecordAppOverlays();
        Batch.Submit(FontBackend.GetAtlasTexture());
    }
    if (Viewport.pPartsTimer)
        Viewport.pPartsTimer->CountFrame();
    Stats.EndGpu();
    Stats.EndCpu(SDL_GetTicksNS());
}

void Application::RecordAppOverlays()
{
    const PixelCanvas canvas(CoreSdl.Width, CoreSdl.Height);
    MiniMap.Render(canvas, Viewport, MinimapPicture.Get());
    BatchRecorded();
    Stats.Render(canvas, GLWindow::StatusBarHeightPx);
    BatchRecorded();
    // Above the frame counter's corner, so the two never overlap.
    RenderAuthorViewLegend(canvas, Viewport.MapDisplay.View, Viewport.SpringMap,
                           CoreSdl.Height - GLWindow::StatusBarHeightPx - 32.0);
    BatchRecorded();
    Help.Render(canvas, Metrics, CoreSdl.Height - GLWindow::StatusBarHeightPx);
    BatchRecorded();
    Browser.Render(canvas, Metrics, CoreSdl.Height - GLWindow::StatusBarHeightPx,
                   [this](const MapListing& Map)
                   {
                       // Uploaded once a map: a listing's thumbnail does not change while it is listed.
                       const auto [it, bNew] = ThumbnailPictures.try_emplace(Map.Path);
                       if (bNew)
                           it->second.Upload(Map.Thumbnail, MapListing::ThumbnailCells,
                                             MapListing::ThumbnailCells);
                       return it->second.Get();
                   });
    BatchRecorded();
    Tooltip.Render(canvas, Metrics, Viewport);
    BatchRecorded();
}

void Application::DrawOverlays()
{
    RecordOverlays();
    Batch.Submit(FontBackend.GetAtlasTexture());
}

void Application::RecordOverlays()
{
    // Batched overlay by overlay, so a later overlay's shapes cover an earlier one's text.
    Viewport.RenderNavWidgetOverlay();
    BatchRecorded();
    Viewport.RenderAutoRotateToggleOverlay();
    BatchRecorded();
    Viewport.RenderUnitSelectionOverlay();
    BatchRecorded();
    Viewport.RenderFormationOrderOverlay();
    BatchRecorded();
    Viewport.RenderJetEffectsOverlay();
    BatchRecorded();
}

void Application::PresentFrame()
{
    SDL_GL_SwapWindow(CoreSdl.pWindow);
}

std::vector<std::uint8_t> Application::ReadBackBuffer() const
{
    glReadBuffer(GL_BACK);
    return ReadPixelsTopDown(0, 0, CoreSdl.Width, CoreSdl.Height);
}
