// Switching maps while running, in a real headless window: a dropped map through SDL's event queue,
// a failed open keeping the map on screen, F5 and --watch reloading with the camera kept, the file
// dialog's absence said in the status bar, and the watcher's quiet period on the test's clock.
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include <SDL3/SDL.h>
#include <gtest/gtest.h>

#include "application.h"
#include "mapwatcher.h"
#include "sdl_seam.h"
#include "statejson.h"
#include "vehicleunit.h"

namespace fs = std::filesystem;

namespace
{
const fs::path Maps = QUINDLE_MAPS_DIR;

class AppMaps : public ::testing::Test
{
  protected:
    std::unique_ptr<Application> App;
    fs::path Dir = fs::temp_directory_path() / ("quindle-app-maps-" + std::to_string(getpid()));

    void SetUp() override
    {
        fs::remove_all(Dir);
        fs::create_directories(Dir);
        fs::copy(Maps / "bridge.sdd", Dir / "bridge.sdd", fs::copy_options::recursive);
        fs::permissions(Dir, fs::perms::owner_all, fs::perm_options::add);
        for (const auto& entry : fs::recursive_directory_iterator(Dir))
            fs::permissions(entry.path(), fs::perms::owner_write, fs::perm_options::add);
    }
    void TearDown() override
    {
        App.reset();
        fs::remove_all(Dir);
    }
    void Start(const std::string& MapPath, bool bWatch = false)
    {
        SDL_SetHint(SDL_HINT_VIDEO_DRIVER, "offscreen");
        sdlseam::Reset();
        App = std::make_unique<Application>();
        AppOptions options;
        options.MapPath = MapPath;
        options.bWatch = bWatch;
        options.WidthPx = 320;
        options.HeightPx = 240;
        options.VehicleCount = 5;
        options.AircraftCount = 2;
        options.FrameCount = 1;
        std::string error;
        ASSERT_TRUE(App->Start(options, error)) << error;
    }
    void Frame()
    {
        App->ProcessInput();
        App->DrawFrame();
    }
    const std::string& Status() { return App->GetWindow().GetStatusBarText(); }
    int GridWidth() { return App->GetViewport().SpringMap.GetGridWidth(); }
};

TEST_F(AppMaps, DroppedMapReplacesTheOldOneWholeOrNotAtAll)
{
    Start("");
    GLViewport& view = App->GetViewport();
    view.VehicleSelectionMask.assign(view.Vehicles.size(), true);
    view.CameraYawDeg = 77.0;
    const std::string bridge = (Dir / "bridge.sdd").string();
    SDL_Event drop{};
    drop.type = SDL_EVENT_DROP_FILE;
    drop.drop.windowID = SDL_GetWindowID(App->GetCoreSDL().pWindow);
    drop.drop.data = bridge.c_str();
    ASSERT_TRUE(SDL_PushEvent(&drop)) << SDL_GetError();
    Frame();
    EXPECT_EQ(App->GetMapName(), "The Bridge");
    EXPECT_EQ(App->GetMapPath(), bridge);
    EXPECT_EQ(GridWidth(), 641);
    EXPECT_EQ(std::string(SDL_GetWindowTitle(App->GetCoreSDL().pWindow)), "Quindle - The Bridge");
    EXPECT_EQ(Status(), "Opened: Map The Bridge: 640x640 squares, 5 vehicles, 2 aircraft");
    EXPECT_EQ(view.CameraYawDeg, 0.0) << "the camera frames the new map";
    ASSERT_EQ(view.Vehicles.size(), 5u);
    EXPECT_EQ(view.VehicleSelectionMask, std::vector<bool>(5, false));
    for (const auto& vehicle : view.Vehicles)
        EXPECT_NEAR(vehicle->Position.X, 2560.0, 400.0) << "placed around the new map's centre";

    // clang-format off
    const struct { std::string Path, Says; } bad[] = {
        {(Dir / "missing.sd7").string(), "missing.sd7"},
        {Maps.string(), "holds several maps"},
    };
    // clang-format on
    for (const auto& c : bad)
    {
        EXPECT_FALSE(App->OpenMap(c.Path));
        EXPECT_EQ(Status().rfind("Map not opened, The Bridge kept: ", 0), 0u) << Status();
        EXPECT_NE(Status().find(c.Says), std::string::npos) << Status();
        EXPECT_EQ(App->GetMapName(), "The Bridge");
        EXPECT_EQ(GridWidth(), 641);
        EXPECT_EQ(view.Vehicles.size(), 5u);
    }
}

TEST_F(AppMaps, ReloadKeepsTheCameraAndAFailedOneKeepsTheMap)
{
    const fs::path smf = Dir / "bridge.sdd" / "maps" / "bridge.smf";
    Start((Dir / "bridge.sdd").string(), true);
    GLViewport& view = App->GetViewport();
    view.CameraYawDeg = 33.0;
    view.CameraDistance = 900.0;
    SDL_Event f5{};
    f5.type = SDL_EVENT_KEY_DOWN;
    f5.key.windowID = SDL_GetWindowID(App->GetCoreSDL().pWindow);
    f5.key.key = SDLK_F5;
    f5.key.down = true;
    ASSERT_TRUE(SDL_PushEvent(&f5));
    Frame();
    EXPECT_EQ(App->GetMapReloads(), 1);
    EXPECT_EQ(Status(), "Reloaded (1) | Map The Bridge: 640x640 squares, 5 vehicles, 2 aircraft");
    EXPECT_EQ(view.CameraYawDeg, 33.0);
    EXPECT_EQ(view.CameraDistance, 900.0);

    // An exporter writing the .smf: nothing happens until the file has been quiet for a while, and
    // a half-written file fails to load and leaves the map as it was.
    fs::resize_file(smf, 1000);
    sdlseam::AdvanceTicks(MapWatcher::PollMs);
    Frame();
    sdlseam::AdvanceTicks(MapWatcher::QuietMs - 1);
    Frame();
    EXPECT_EQ(App->GetMapReloads(), 1);
    sdlseam::AdvanceTicks(1);
    Frame();
    EXPECT_EQ(App->GetMapReloads(), 1);
    EXPECT_EQ(Status().rfind("Reload failed, the map is kept as it was: ", 0), 0u) << Status();
    EXPECT_EQ(GridWidth(), 641);

    fs::copy_file(Maps / "bridge.sdd" / "maps" / "bridge.smf", smf, fs::copy_options::overwrite_existing);
    Frame();
    sdlseam::AdvanceTicks(MapWatcher::QuietMs);
    Frame();
    EXPECT_EQ(App->GetMapReloads(), 2);
    EXPECT_EQ(view.CameraYawDeg, 33.0);
    const std::string json = BuildStateJson(view, App->GetWindow(), 1,
                                            {App->GetMapName(), App->GetMapPath(), App->GetMapReloads(), {}});
    EXPECT_NE(json.find("\"map\": {\"name\": \"The Bridge\", \"path\": \"" + (Dir / "bridge.sdd").string() +
                        "\", \"reloads\": 2}"),
              std::string::npos)
        << json;
}

TEST(MapWatcherClock, ArchiveChangesCountOnceAfterTheQuietPeriod)
{
    const fs::path archive =
        fs::temp_directory_path() / ("quindle-watch-" + std::to_string(getpid()) + ".sd7");
    fs::copy_file(Maps / "map_blueprint_v1.sd7", archive, fs::copy_options::overwrite_existing);
    MapWatcher watcher;
    std::string error;
    EXPECT_FALSE(watcher.Watch("/no/such/map.sd7", 0, error));
    EXPECT_EQ(error, "/no/such/map.sd7: cannot watch (No such file or directory)");
    ASSERT_TRUE(watcher.Watch(archive.string(), 0, error)) << error;
    EXPECT_FALSE(watcher.IsReloadDue(10'000)) << "unchanged";
    std::ofstream(archive, std::ios::app) << "more";
    // Written at 10.3 s and again at 10.6 s: due 0.6 s after the last write seen, and only once.
    EXPECT_FALSE(watcher.IsReloadDue(10'300));
    std::ofstream(archive, std::ios::app) << "more";
    EXPECT_FALSE(watcher.IsReloadDue(10'400)) << "polled every 250 ms";
    EXPECT_FALSE(watcher.IsReloadDue(10'600));
    EXPECT_FALSE(watcher.IsReloadDue(11'199));
    EXPECT_TRUE(watcher.IsReloadDue(11'200));
    EXPECT_FALSE(watcher.IsReloadDue(20'000));
    fs::remove(archive);
}

TEST_F(AppMaps, NoFileDialogIsSaidInTheStatusBar)
{
    Start("");
    SDL_Event ctrlO{};
    ctrlO.type = SDL_EVENT_KEY_DOWN;
    ctrlO.key.windowID = SDL_GetWindowID(App->GetCoreSDL().pWindow);
    ctrlO.key.key = SDLK_O;
    ctrlO.key.mod = SDL_KMOD_LCTRL;
    ctrlO.key.down = true;
    ASSERT_TRUE(SDL_PushEvent(&ctrlO));
    const std::string before = Status();
    for (int frame = 0; frame < 300 && Status() == before; ++frame)
    {
        Frame();
        SDL_Delay(10);
    }
    EXPECT_EQ(Status().rfind("No file dialog available (", 0), 0u) << Status();
    EXPECT_NE(Status().find("drop a map file or folder on the window instead"), std::string::npos);
}
} // namespace
