// Command-line parsing and the state file's JSON, without a window.
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "appoptions.h"
#include "statejson.h"
#include "test_app.h"

namespace
{
ParseOutcome Parse(std::vector<const char*> args, AppOptions& options, std::string& text)
{
    args.insert(args.begin(), "quindle");
    return ParseCommandLine(static_cast<int>(args.size()), args.data(), options, text);
}
} // namespace

TEST(CommandLine, DefaultsAndEveryOption)
{
    AppOptions options;
    std::string text;
    ASSERT_EQ(Parse({}, options, text), ParseOutcome::Run) << text;
    EXPECT_TRUE(options.MapPath.empty());
    EXPECT_EQ(options.WidthPx, 1280);
    EXPECT_EQ(options.HeightPx, 720);
    EXPECT_EQ(options.FrameCount, 0) << "no --frames runs until the window closes";

    ASSERT_EQ(Parse({"--map", ".", "--vehicles", "0", "--aircraft", "200", "--size", "64x16384", "--frames",
                     "1", "--screenshot", "a.png", "--state-out", "s.json"},
                    options, text),
              ParseOutcome::Run)
        << text;
    EXPECT_EQ(options.MapPath, ".");
    EXPECT_EQ(options.VehicleCount, 0);
    EXPECT_EQ(options.AircraftCount, 200);
    EXPECT_EQ(options.WidthPx, 64);
    EXPECT_EQ(options.HeightPx, 16384);
    EXPECT_EQ(options.FrameCount, 1);
    EXPECT_EQ(options.ScreenshotPath, "a.png");
    EXPECT_EQ(options.StateOutPath, "s.json");
}

TEST(CommandLine, BadOptionsAreOneLineAndLeaveTheOptionsAlone)
{
    const std::vector<std::vector<const char*>> bad = {{"--bogus"},
                                                       {"--vehicles", "-1"},
                                                       {"--vehicles", "5001"},
                                                       {"--vehicles", "many"},
                                                       {"--aircraft", "201"},
                                                       {"--frames", "0"},
                                                       {"--size", "63x720"},
                                                       {"--size", "1280x16385"},
                                                       {"--size", "1280"},
                                                       {"--size", "x720"},
                                                       {"--size", "12a0x720"},
                                                       {"--map", "/no/such/map.sdz"},
                                                       {"--map"},
                                                       {"stray-argument"}};
    for (const auto& args : bad)
    {
        AppOptions options;
        options.VehicleCount = 77;
        std::string text;
        std::string joined;
        for (const char* arg : args)
            joined += std::string(arg) + " ";
        EXPECT_EQ(Parse(args, options, text), ParseOutcome::Error) << joined;
        EXPECT_EQ(text.rfind("quindle: ", 0), 0u) << joined << "-> " << text;
        EXPECT_EQ(text.find('\n'), std::string::npos) << joined << "-> " << text;
        EXPECT_EQ(options.VehicleCount, 77) << joined;
    }
}

TEST(CommandLine, MessagesSayWhatIsWrongInPlainWords)
{
    const std::string folder = ::testing::TempDir();
    const std::string file = folder + "quindle-options-file";
    FILE* created = std::fopen(file.c_str(), "w");
    ASSERT_NE(created, nullptr);
    std::fclose(created);
    const std::string insideFile = file + "/s.json";
    struct Case
    {
        std::vector<const char*> Args;
        std::string Expected;
    };
    // clang-format off
    const Case cases[] = {
        {{"--size", "big"}, "quindle: --size: expected WIDTHxHEIGHT with each side in 64..16384, got 'big'"},
        {{"--vehicles", "abc"}, "quindle: --vehicles: 'abc' is not a number (expected a whole number from 0 to 5000)"},
        {{"--vehicles", "12x"}, "quindle: --vehicles: '12x' is not a number (expected a whole number from 0 to 5000)"},
        {{"--aircraft", "201"}, "quindle: --aircraft: 201 is out of range (expected a whole number from 0 to 200)"},
        {{"--frames", "99999999999999999999"}, "quindle: --frames: 99999999999999999999 is out of range (expected a whole number from 1 to 100000000)"},
        {{"--map"}, "quindle: --map: needs a value (see quindle --help)"},
        {{"--map", "/no/such/map.sdz"}, "quindle: --map: /no/such/map.sdz: No such file or directory"},
        {{"--effects-panel", "maybe"}, "quindle: --effects-panel: expected on or off, got 'maybe'"},
        {{"--screenshot", "shot.jpg"}, "quindle: --screenshot: only .png is supported"},
        {{"--screenshot", "shot"}, "quindle: --screenshot: only .png is supported"},
        {{"--screenshot", "/no/such/dir/a.png"}, "quindle: --screenshot: cannot write /no/such/dir/a.png: No such file or directory"},
        {{"--state-out", folder.c_str()}, "quindle: --state-out: cannot write " + folder + ": Is a directory"},
        {{"--state-out", insideFile.c_str()}, "quindle: --state-out: cannot write " + file + "/s.json: Not a directory"},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        AppOptions options;
        std::string text;
        EXPECT_EQ(Parse(c.Args, options, text), ParseOutcome::Error) << c.Expected;
        EXPECT_EQ(text, c.Expected);
    }
    std::remove(file.c_str());
}

TEST(CommandLine, EffectsPanelOnOffAndWritablePaths)
{
    const std::string folder = ::testing::TempDir();
    AppOptions options;
    std::string text;
    ASSERT_EQ(Parse({"--effects-panel", "off", "--screenshot", (folder + "x.PNG").c_str()}, options, text),
              ParseOutcome::Run)
        << text;
    EXPECT_EQ(options.EffectsPanel, AppOptions::Panel::Off);
    ASSERT_EQ(Parse({"--effects-panel", "on"}, options, text), ParseOutcome::Run) << text;
    EXPECT_EQ(options.EffectsPanel, AppOptions::Panel::On);
    ASSERT_EQ(Parse({}, options, text), ParseOutcome::Run) << text;
    EXPECT_EQ(options.EffectsPanel, AppOptions::Panel::Auto);
    ASSERT_EQ(Parse({"--version"}, options, text), ParseOutcome::Help);
    EXPECT_EQ(text.rfind("quindle ", 0), 0u) << text;
}

TEST(CommandLine, HelpListsEveryOption)
{
    AppOptions options;
    std::string text;
    ASSERT_EQ(Parse({"--help"}, options, text), ParseOutcome::Help);
    for (const char* part : {"--map", "--vehicles", "--aircraft", "--size", "--frames", "--screenshot",
                             "--state-out", "--effects-panel", "--info", "--version", "Default: 12.", "SIGUSR2",
                             "EXIT STATUS", "F1 or ?", "Ctrl+Shift+L"})
        EXPECT_NE(text.find(part), std::string::npos) << part;
    // The parser's own vocabulary stays out of a page meant for people.
    for (const char* jargon : {"TEXT", "INT", "UINT", "REQUIRED", "[Option", "Excludes", ":{", "Options:"})
        EXPECT_EQ(text.find(jargon), std::string::npos) << jargon;
}

TEST(CommandLine, WindowSizeBoundaries)
{
    struct Case
    {
        const char* Text;
        bool bOk;
        int W, H;
    };
    const Case cases[] = {{"64x64", true, 64, 64},
                          {"16384x16384", true, 16384, 16384},
                          {"1920X1080", true, 1920, 1080},
                          {"63x64", false, 0, 0},
                          {"64x63", false, 0, 0},
                          {"16385x64", false, 0, 0},
                          {"", false, 0, 0},
                          {"x", false, 0, 0},
                          {"640x480x2", false, 0, 0},
                          {"-640x480", false, 0, 0},
                          {" 640x480", false, 0, 0},
                          {"99999999999x480", false, 0, 0}};
    for (const Case& c : cases)
    {
        int w = -7, h = -7;
        EXPECT_EQ(ParseWindowSize(c.Text, w, h), c.bOk) << "'" << c.Text << "'";
        EXPECT_EQ(w, c.bOk ? c.W : -7) << "'" << c.Text << "'";
        EXPECT_EQ(h, c.bOk ? c.H : -7) << "'" << c.Text << "'";
    }
}

TEST(StateJson, StringsAndNumbers)
{
    EXPECT_EQ(JsonQuote("plain"), "\"plain\"");
    EXPECT_EQ(JsonQuote("say \"hi\"\\ now"), "\"say \\\"hi\\\"\\\\ now\"");
    EXPECT_EQ(JsonQuote("a\nb\tc\rd"), "\"a\\nb\\tc\\rd\"");
    EXPECT_EQ(JsonQuote(std::string("\x01\x1f", 2)), "\"\\u0001\\u001f\"");
    EXPECT_EQ(JsonQuote("50 % \xc3\x97 2"), "\"50 % \xc3\x97 2\"") << "UTF-8 passes through";
    EXPECT_EQ(JsonNumber(0.0), "0");
    EXPECT_EQ(JsonNumber(-12.5), "-12.5");
    EXPECT_EQ(JsonNumber(1200.0), "1200");
    EXPECT_EQ(JsonNumber(std::nan("")), "null");
    EXPECT_EQ(JsonNumber(std::numeric_limits<double>::infinity()), "null");
}

TEST(StateJson, DocumentHoldsCameraSelectionUnitsAndMessagesInOrder)
{
    TestApp app;
    app.View.CameraYawDeg = -30;
    app.View.CameraDistance = 850.5;
    auto& vehicles = app.View.Vehicles;
    vehicles.push_back(std::make_unique<VehicleUnit>());
    vehicles.push_back(std::make_unique<VehicleUnit>());
    vehicles[0]->Position = Vec3D(10, 2, 30);
    vehicles[1]->Position = Vec3D(40, 5, 60);
    vehicles[1]->SetWaypoint(Vec3D(100, 0, 200));
    vehicles[1]->QueueWaypoint(Vec3D(300, 0, 400));
    app.View.VehicleSelectionMask = {false, true};
    app.View.AirUnits.push_back(std::make_unique<AirUnit>());
    app.View.AirUnits.back()->Aircraft.Position = Vec3D(1, 400, 2);
    app.Window.SetStatusBarText("first");
    app.Window.SetStatusBarText("second \"quoted\"");

    const std::string json = BuildStateJson(app.View, app.Window, 30);
    const auto has = [&](const std::string& part) { return json.find(part) != std::string::npos; };
    EXPECT_TRUE(has("\"frames\": 30")) << json;
    EXPECT_TRUE(has("\"yawDeg\": -30")) << json;
    EXPECT_TRUE(has("\"distance\": 850.5")) << json;
    EXPECT_TRUE(has("\"selection\": {\"vehicles\": [1], \"aircraft\": false}")) << json;
    EXPECT_TRUE(has("{\"position\": [10, 2, 30], \"target\": null, \"queued\": []}")) << json;
    EXPECT_TRUE(has("{\"position\": [40, 5, 60], \"target\": [100, 0, 200], \"queued\": [[300, 0, 400]]}"))
        << json;
    EXPECT_TRUE(has("\"position\": [1, 400, 2], \"targetAltitude\": 300")) << json;
    const std::size_t first = json.find("\"first\""), second = json.find("\"second \\\"quoted\\\"\"");
    ASSERT_NE(first, std::string::npos) << json;
    ASSERT_NE(second, std::string::npos) << json;
    EXPECT_LT(first, second) << "messages oldest first";
}
