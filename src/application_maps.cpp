// The application's map: loading it at start and while running (a dropped file, the file dialog,
// F5, or its files changing under --watch), each time replacing the old one whole or not at all.
#include <cstdio>

#include <SDL3/SDL.h>

#include "airsim.h"
#include "application.h"
#include "mapsetup.h"
#include "vehicleunit.h"

bool Application::LoadMapFrom(const std::string& Path, bool bKeepCamera, std::string& Error)
{
    std::string name;
    std::vector<std::string> warnings;
    if (!LoadMap(Path, Viewport.SpringMap, name, warnings, Error))
        return false;
    MapPath = Path;
    MapName = name;
    MapWarnings = std::move(warnings);
    if (!bKeepCamera)
        Viewport.ResetSpringMapCamera();
    return true;
}

void Application::ShowLoadedMap(const std::string& Intro)
{
    SDL_SetWindowTitle(CoreSdl.pWindow, ("Quindle - " + MapName).c_str());
    MiniMap.BuildPicture(Viewport.SpringMap);
    MinimapPicture.Upload(MiniMap.GetPicture(), Minimap::CellCount, Minimap::CellCount);
    // The old units, their orders and any group naming them belong to the old ground.
    Keys.ForgetGroups();
    Viewport.Vehicles.clear();
    Viewport.AirUnits.clear();
    Viewport.VehicleSelectionMask.clear();
    Viewport.bAirUnitsSelected = false;
    if (!Viewport.PlaceUnitsOnMap(VehicleCount, AircraftCount))
        Window.SetStatusBarText("No drivable room on map " + MapName + ": no units placed");
    else
        Window.SetStatusBarText(
            Intro + "Map " + MapName + ": " + std::to_string(Viewport.SpringMap.GetGridWidth() - 1) + "x" +
            std::to_string(Viewport.SpringMap.GetGridHeight() - 1) + " squares, " +
            std::to_string(VehicleCount) + " vehicles, " + std::to_string(AircraftCount) + " aircraft");
    if (!MapWarnings.empty()) // shown last, so it is what the status bar says
        Window.SetStatusBarText(SummariseMapWarnings(MapWarnings));
}

bool Application::OpenMap(const std::string& Path)
{
    std::string error;
    if (!LoadMapFrom(Path, false, error))
    {
        std::fprintf(stderr, "quindle: %s\n", error.c_str());
        Window.SetStatusBarText("Map not opened, " + MapName + " kept: " + error);
        return false;
    }
    for (const std::string& warning : MapWarnings)
        std::fprintf(stderr, "quindle: warning: %s\n", warning.c_str());
    ShowLoadedMap("Opened: ");
    // A watch follows the map on screen.
    if (Watcher.IsWatching() && !Watcher.Watch(MapPath, SDL_GetTicks(), error))
        Window.SetStatusBarText("Not watching " + MapName + " for changes: " + error);
    return true;
}

bool Application::ReloadMap()
{
    std::string error;
    if (MapPath.empty())
    {
        Window.SetStatusBarText("The built-in map has no files to reload");
        return false;
    }
    if (!LoadMapFrom(MapPath, true, error))
    {
        std::fprintf(stderr, "quindle: %s\n", error.c_str());
        Window.SetStatusBarText("Reload failed, the map is kept as it was: " + error);
        return false;
    }
    for (const std::string& warning : MapWarnings)
        std::fprintf(stderr, "quindle: warning: %s\n", warning.c_str());
    ++MapReloads;
    ShowLoadedMap("Reloaded (" + std::to_string(MapReloads) + ") | ");
    return true;
}

void Application::ShowMapDialog()
{
    if (pDialog)
        return; // one dialog at a time
    pDialog = std::make_shared<DialogAnswer>();
    static const SDL_DialogFileFilter filters[] = {{"Spring maps", "sd7;sdz;smf"}, {"All files", "*"}};
    const auto answer = [](void* pUser, const char* const* pFiles, int)
    {
        const auto* pShared = static_cast<std::shared_ptr<DialogAnswer>*>(pUser);
        DialogAnswer& dialog = **pShared;
        {
            const std::lock_guard<std::mutex> lock(dialog.Mutex);
            if (!pFiles)
                dialog.Error = SDL_GetError();
            else if (pFiles[0])
                dialog.Path = pFiles[0];
            dialog.bAnswered = true;
        }
        delete pShared;
    };
    SDL_ShowOpenFileDialog(answer, new std::shared_ptr<DialogAnswer>(pDialog), CoreSdl.pWindow, filters,
                           static_cast<int>(std::size(filters)), nullptr, false);
}

void Application::PollMapSources()
{
    if (pDialog)
    {
        std::unique_lock<std::mutex> lock(pDialog->Mutex);
        if (pDialog->bAnswered)
        {
            const std::string path = pDialog->Path, error = pDialog->Error;
            lock.unlock();
            pDialog.reset();
            if (!error.empty())
                Window.SetStatusBarText("No file dialog available (" + error +
                                        "): drop a map file or folder on the window instead");
            else if (!path.empty())
                OpenMap(path);
        }
    }
    if (Watcher.IsReloadDue(SDL_GetTicks()))
        ReloadMap();
}

void Application::ShowMapBrowser(bool bShow)
{
    if (bShow)
    {
        Browser.Open(BrowseFolders);
        ThumbnailPictures.clear(); // the folders may be read afresh, and a map changed on disk since
        SDL_StartTextInput(CoreSdl.pWindow);
    }
    else
    {
        Browser.Close();
        SDL_StopTextInput(CoreSdl.pWindow);
    }
}

bool Application::RouteBrowserEvent(const SDL_Event& Event)
{
    std::string chosen;
    if (!Browser.HandleEvent(Event, chosen))
        return false;
    if (!chosen.empty() && OpenMap(chosen))
        ShowMapBrowser(false);
    else if (!Browser.IsOpen())
        SDL_StopTextInput(CoreSdl.pWindow);
    return true;
}
