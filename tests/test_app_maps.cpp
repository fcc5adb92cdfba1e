// Switching maps while running, in a real headless window: a dropped map through SDL's event queue,
// a failed open keeping the map on screen, F5 and --watch reloading with the camera kept, the file
// dialog's absence said in the status bar, and the watcher's quiet period on the test's clock.
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include <SDL3/SDL.h>
#include <gtest/gtest.h>

#include "headless_app.h"
#include "mapcatalog.h"
#include "mapwatcher.h"
#include "statejson.h"
#include "vehicleunit.h"

namespace fs = std::filesystem;

namespace
{
const fs::path Maps = QUINDLE_MAPS_DIR;

class AppMaps : public HeadlessApp
{
  protected:
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
        AppOptions options;
        options.MapPath = MapPath, options.VehicleCount = 5, options.AircraftCount = 2;
        options.WidthPx = 320, options.HeightPx = 240, options.FrameCount = 1, options.bWatch = bWatch;
        HeadlessApp::Start(options);
    }
    int GridWidth() { return View().SpringMap.GetGridWidth(); }
};

TEST_F(AppMaps, DroppedMapReplacesTheOldOneWholeOrNotAtAll)
{
    Start("");
    GLViewport& view = View();
    view.VehicleSelectionMask.assign(view.Vehicles.size(), true);
    view.CameraYawDeg = 77.0;
    const std::string bridge = (Dir / "bridge.sdd").string();
    SDL_Event drop{};
    drop.type = SDL_EVENT_DROP_FILE, drop.drop.data = bridge.c_str();
    Push(drop);
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

TEST_F(AppMaps, EveryFixtureMapInTurnAndBackLeavesNoStaleState)
{
    Start("");
    GLViewport& view = View();
    for (const char* map : {"Blank16.sdd", "Map_Blueprint_V1.sdd", "bridge.sdd", "map_blueprint_v1.sd7",
                            "map_blueprint_v1.sdz", "Blank16.sdd"})
    {
        view.VehicleSelectionMask.assign(view.VehicleSelectionMask.size(), true);
        view.bAirUnitsSelected = true;
        view.CameraYawDeg = 45.0;
        ASSERT_TRUE(App->OpenMap((Maps / map).string())) << Status();
        Frame();
        EXPECT_EQ(view.Vehicles.size(), 5u) << map;
        EXPECT_EQ(view.AirUnits.size(), 2u) << map;
        EXPECT_EQ(view.VehicleSelectionMask, std::vector<bool>(5, false)) << map;
        EXPECT_FALSE(view.bAirUnitsSelected) << map;
        EXPECT_EQ(view.CameraYawDeg, 0.0) << map;
        EXPECT_EQ(view.WorldOffsetX, view.SpringMap.GetWorldWidth() * 0.5) << map;
        EXPECT_LE(view.CameraDistance, view.MaxCameraDistance) << map;
        for (const auto& vehicle : view.Vehicles)
            EXPECT_LT(vehicle->Position.X, view.SpringMap.GetWorldWidth()) << map;
    }
}

TEST_F(AppMaps, ReloadKeepsTheCameraAndAFailedOneKeepsTheMap)
{
    const fs::path smf = Dir / "bridge.sdd" / "maps" / "bridge.smf";
    Start((Dir / "bridge.sdd").string(), true);
    GLViewport& view = View();
    view.CameraYawDeg = 33.0;
    view.CameraDistance = 900.0;
    Tap(SDLK_F5);
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
    Key(true, SDLK_O, SDL_KMOD_LCTRL);
    const std::string before = Status();
    for (int frame = 0; frame < 300 && Status() == before; ++frame)
    {
        Frame();
        SDL_Delay(10);
    }
    EXPECT_EQ(Status().rfind("No file dialog available (", 0), 0u) << Status();
    EXPECT_NE(Status().find("drop a map file or folder on the window instead"), std::string::npos);
}
TEST(MapCatalog, FindsAndReadsTheMapsOfAFolder)
{
    std::vector<MapListing> maps = ListMapsInFolder(Maps.string());
    // clang-format off
    const struct { const char* File; const char* Packing; const char* Name; int Squares; } expected[] = {
        {"Blank16.sdd", "sdd", "Blank16", 1024},
        {"Map_Blueprint_V1.sdd", "sdd", "MAP_BLUEPRINT_V1", 128},
        {"bridge.sdd", "sdd", "The Bridge", 640},
        {"map_blueprint_v1.sd7", "sd7", "MAP_BLUEPRINT_V1", 128},
        {"map_blueprint_v1.sdz", "sdz", "MAP_BLUEPRINT_V1", 128},
    };
    // clang-format on
    ASSERT_EQ(maps.size(), std::size(expected)) << "README.md is no map";
    for (std::size_t i = 0; i < maps.size(); ++i)
    {
        EXPECT_EQ(maps[i].Path, (Maps / expected[i].File).string());
        EXPECT_EQ(maps[i].Packing, expected[i].Packing);
        EXPECT_FALSE(maps[i].bRead);
        ReadMapListing(maps[i]);
        EXPECT_EQ(maps[i].Error, "") << maps[i].Path;
        EXPECT_EQ(maps[i].Name, expected[i].Name);
        EXPECT_EQ(maps[i].WidthSquares, expected[i].Squares);
        EXPECT_EQ(maps[i].HeightSquares, expected[i].Squares);
        EXPECT_EQ(maps[i].Thumbnail.size(), 16u * 16u * 3u);
    }
    MapListing broken;
    broken.Path = "/no/such.sd7";
    ReadMapListing(broken);
    EXPECT_TRUE(broken.bRead);
    EXPECT_NE(broken.Error.find("/no/such.sd7"), std::string::npos) << broken.Error;
}

TEST(MapCatalog, UserFoldersFromTheEnvironmentAndTheHomeFolder)
{
    const fs::path home = fs::temp_directory_path() / ("quindle-home-" + std::to_string(getpid()));
    for (const char* folder : {"data/maps", "write/maps", ".spring/maps", ".local/state/Game One/maps",
                               ".local/share/Other/maps", ".local/share/NoMaps"})
        fs::create_directories(home / folder);
    const std::string oldHome = std::getenv("HOME") ? std::getenv("HOME") : "";
    setenv("HOME", home.c_str(), 1);
    setenv("SPRING_DATADIR", (home.string() + "/data:/no/such:" + home.string() + "/data").c_str(), 1);
    setenv("SPRING_WRITEDIR", (home / "write").c_str(), 1);
    const std::vector<std::string> expected = {
        (home / "data/maps").string(), (home / "write/maps").string(), (home / ".spring/maps").string(),
        (home / ".local/state/Game One/maps").string(), (home / ".local/share/Other/maps").string()};
    EXPECT_EQ(GetUserMapFolders(), expected);
    setenv("HOME", oldHome.c_str(), 1);
    unsetenv("SPRING_DATADIR");
    unsetenv("SPRING_WRITEDIR");
    fs::remove_all(home);
}

TEST_F(AppMaps, BrowserFiltersAsYouTypeAndOpensTheChoice)
{
    AppOptions options;
    options.VehicleCount = 1, options.AircraftCount = 0, options.FrameCount = 1, options.bBrowse = true;
    options.BrowseFolder = Maps.string();
    HeadlessApp::Start(options);
    MapBrowser& browser = App->GetMapBrowser();
    for (int i = 0; i < 1000 && !browser.IsScanDone(); ++i)
        SDL_Delay(10);
    ASSERT_TRUE(browser.IsScanDone());
    Frame();
    EXPECT_FALSE(View().bHasFocus) << "typing goes to the filter, not the view's keys";
    // Opened over the help, the browser's 94 % fill leaves the help's text a faint shadow.
    const auto drawn = [&](bool bHelp)
    {
        App->GetHelp().bVisible = bHelp;
        App->DrawFrame();
        return App->ReadBackBuffer();
    };
    drawn(false);
    const std::vector<std::uint8_t> withHelp = drawn(true), without = drawn(false);
    const int w = App->GetCoreSDL().Width, h = App->GetCoreSDL().Height;
    const int most = GetMostApart(withHelp, without, w * 3 / 8, h / 8, w * 5 / 8, h * 3 / 4);
    EXPECT_GT(most, 0) << "the help lies under the browser";
    EXPECT_LE(most, 20) << "the help's text is drawn over the browser";
    const double distance = View().CameraDistance;
    SDL_Event wheel{};
    wheel.type = SDL_EVENT_MOUSE_WHEEL, wheel.wheel.y = 3;
    wheel.wheel.mouse_x = App->GetCoreSDL().Width / 2.0f,
    wheel.wheel.mouse_y = App->GetCoreSDL().Height / 2.0f;
    Push(wheel);
    Frame();
    EXPECT_EQ(View().CameraDistance, distance) << "the pointer is the browser's while it is open";
    EXPECT_FALSE(View().bHasFocus) << "and the keys, whatever the pointer did";
    const auto type = [&](const char* Text)
    {
        SDL_Event event{};
        event.type = SDL_EVENT_TEXT_INPUT, event.text.text = Text;
        Push(event);
        Frame();
    };
    type("BLUE");
    EXPECT_EQ(browser.GetShown().size(), 3u) << "the filter ignores case";
    type("x");
    EXPECT_EQ(browser.GetShown().size(), 0u);
    for (SDL_Keycode key : {SDLK_BACKSPACE, SDLK_DOWN, SDLK_DOWN, SDLK_DOWN})
        Tap(key);
    EXPECT_EQ(browser.GetChoice(), 2) << "the choice stops at the last map shown";
    Tap(SDLK_RETURN);
    EXPECT_FALSE(browser.IsOpen());
    EXPECT_TRUE(View().bHasFocus) << "closed, the view takes its keys again";
    EXPECT_EQ(App->GetMapPath(), (Maps / "map_blueprint_v1.sdz").string());
    EXPECT_EQ(App->GetMapName(), "MAP_BLUEPRINT_V1");
    Tap(SDLK_TAB);
    EXPECT_TRUE(browser.IsOpen());
    EXPECT_EQ(browser.GetFilter(), "BLUE") << "the filter stays for the next look";
    Tap(SDLK_ESCAPE);
    EXPECT_FALSE(browser.IsOpen());
}
} // namespace
