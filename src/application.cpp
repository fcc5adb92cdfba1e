#include "application.h"

#include <SDL3/SDL.h>

#include "cameraguard.h"
#include "controls.h"
#include "mapsetup.h"

Application::~Application()
{
    // The terrain's and the effect's GL objects go while the context is still current.
    if (CoreSdl.GLContext)
    {
        Viewport.SpringMap.ReleaseGL();
        Viewport.JetExhaust.ReleaseGL();
    }
    if (p == &CoreServices)
        p = nullptr;
}

bool Application::Start(const AppOptions& Options, std::string& Error)
{
    if (!CoreSdl.Open("Quindle", Options.WidthPx, Options.HeightPx, Options.FrameCount == 0, Error))
        return false;
    if (!Batch.Create(Error) || !FontBackend.Create(TTFGL::DefaultFontPath, Error))
        return false;
    Renderer.pTTF = &Font;
    CoreServices = Core{&CoreSdl, &Renderer, &MouseState, &App};
    p = &CoreServices;

    // The viewport fills the window; the status bar is drawn over its bottom edge.
    Viewport.WindowX1 = -1.0;
    Viewport.WindowY1 = 1.0;
    Viewport.WindowX2 = 1.0;
    Viewport.WindowY2 = -1.0;
    Viewport.pParentWindow = &Window;
    Windows.AddChild(&Viewport);

    std::string mapName;
    if (!LoadMap(Options.MapPath, Viewport.SpringMap, mapName, Error))
        return false;
    Viewport.ResetSpringMapCamera();
    if (!Viewport.PlaceUnitsOnMap(Options.VehicleCount, Options.AircraftCount))
        Window.SetStatusBarText("No drivable room on map " + mapName + ": no units placed");
    Window.SetStatusBarText("Map " + mapName + ": " + std::to_string(Viewport.SpringMap.GetGridWidth() - 1) +
                            "x" + std::to_string(Viewport.SpringMap.GetGridHeight() - 1) + " squares, " +
                            std::to_string(Options.VehicleCount) + " vehicles, " +
                            std::to_string(Options.AircraftCount) + " aircraft");
    bFixedTimeStep = Options.FrameCount > 0;
    Keys.Camera.bEdgeScroll = (SDL_GetWindowFlags(CoreSdl.pWindow) & SDL_WINDOW_FULLSCREEN) != 0;
    LastFrameNs = SDL_GetTicksNS();
    return true;
}

void Application::HandleWindowEvent(const SDL_Event& Event)
{
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
            ApplyKeyAction(pControl->Action, Event.key.repeat);
        break;
    case SDL_EVENT_KEY_UP:
        Keys.HandleKeyUp(Event.key);
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

void Application::ApplyKeyAction(AppAction Action, bool bRepeat)
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
            Viewport.JetExhaust.ToggleEnabled();
        break;
    case AppAction::ReloadJetShaders:
        if (!bRepeat)
            Viewport.JetExhaust.ReloadShaders();
        break;
    default: // the view's keys: ViewKeys
        break;
    }
}

void Application::UpdateWindowFlags()
{
    const SDL_WindowFlags flags = SDL_GetWindowFlags(CoreSdl.pWindow);
    Renderer.bDrawingAllowed = (flags & SDL_WINDOW_MINIMIZED) == 0;
    Viewport.bHasFocus = (flags & SDL_WINDOW_INPUT_FOCUS) != 0;
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
    Windows.ProcessFrame(MouseState, App, globalClicks, Input.IsPointerInWindow());
    Rotation.Sync(Viewport);
}

bool Application::ProcessInput()
{
    // The event stream is cut into frames of mouse input at every button transition and wheel
    // turn, so the viewport sees each press and release where it happened; the frame is still
    // drawn once.
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
    Viewport.StepSimulation(dtSec);
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

void Application::DrawFrame(bool bOverlays)
{
    glViewport(0, 0, CoreSdl.Width, CoreSdl.Height);
    glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    Viewport.Render();
    if (bOverlays)
        RecordOverlays();
    Window.StatusBarRightX = GetStatusBarRightX();
    Window.RenderStatusBar();
    BatchRecorded();
    Batch.Submit(FontBackend.GetAtlasTexture());
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
    const int widthPx = CoreSdl.Width, heightPx = CoreSdl.Height;
    std::vector<std::uint8_t> bottomUp(static_cast<std::size_t>(widthPx) * heightPx * 4);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadBuffer(GL_BACK);
    glReadPixels(0, 0, widthPx, heightPx, GL_RGBA, GL_UNSIGNED_BYTE, bottomUp.data());
    // GL's rows start at the bottom; images start at the top.
    std::vector<std::uint8_t> topDown(bottomUp.size());
    const std::size_t rowBytes = static_cast<std::size_t>(widthPx) * 4;
    for (int y = 0; y < heightPx; ++y)
        std::copy_n(bottomUp.begin() + static_cast<std::ptrdiff_t>(y * rowBytes), rowBytes,
                    topDown.begin() + static_cast<std::ptrdiff_t>((heightPx - 1 - y) * rowBytes));
    return topDown;
}
