// Quindle's entry point: parses the command line, runs the frame loop and writes the requested
// screenshot and state file. Every failure is one line on stderr and exit status 2.
#include <atomic>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <string>

#include "application.h"
#include "heaptuning.h"
#include "mapreport.h"
#include "mapsetup.h"
#include "pngwriter.h"
#include "springmap_loader.h"
#include "statejson.h"

namespace
{
constexpr int ExitFailure = 2;

int Fail(const std::string& Reason)
{
    std::fprintf(stderr, "quindle: %s\n", Reason.c_str());
    return ExitFailure;
}

void PrintWarnings(const std::vector<std::string>& Warnings)
{
    for (const std::string& warning : Warnings)
        std::fprintf(stderr, "quindle: warning: %s\n", warning.c_str());
}

// --info: the map's facts on stdout, its warnings on stderr too, and no window.
int PrintMapInfo(const AppOptions& Options)
{
    SpringMap map;
    std::string error;
    if (!LoadSpringMap(Options.MapPath, map, error))
        return Fail(error);
    PrintWarnings(map.Warnings);
    std::fputs((Options.bJson ? BuildMapReportJson(map) : BuildMapReportText(map)).c_str(), stdout);
    return 0;
}

bool WriteTextFile(const std::string& Path, const std::string& Text, std::string& Error)
{
    std::ofstream file(Path, std::ios::binary);
    file << Text;
    file.close();
    if (!file)
    {
        Error = "cannot write " + Path;
        return false;
    }
    return true;
}

// SIGUSR1 asks a running window for its state file now, after the current frame, and SIGUSR2 for
// the screenshot too: end-to-end tests read them mid-session to pace their input and to see drags
// in progress. Only the files given on the command line are written. The requests are a lock-free
// atomic, so the handler may set them, taken whole with exchange, so none is lost.
constexpr int StateBit = 1, ScreenshotBit = 2;
std::atomic<int> SnapshotRequests{0};
static_assert(std::atomic<int>::is_always_lock_free);

void RequestSnapshot(int Signal)
{
    SnapshotRequests.fetch_or(Signal == SIGUSR2 ? StateBit | ScreenshotBit : StateBit);
}

bool WriteOutputs(Application& App, const AppOptions& Options, int Frames,
                  const std::vector<std::uint8_t>& Pixels, std::string& Error)
{
    const CoreSDL& window = App.GetCoreSDL();
    if (!Options.ScreenshotPath.empty() && !Pixels.empty() &&
        !WritePngRgb(Options.ScreenshotPath, window.Width, window.Height, Pixels.data(), Error))
        return false;
    return Options.StateOutPath.empty() ||
           WriteTextFile(Options.StateOutPath,
                         BuildStateJson(
                             App.GetViewport(), App.GetWindow(), Frames,
                             {App.GetMapName(), App.GetMapPath(), App.GetMapReloads(), App.GetMapWarnings()},
                             {App.GetHelp().bVisible, App.GetMinimap().bVisible, App.GetFrameStats().bVisible,
                              App.GetMapBrowser().IsOpen(), App.GetTooltip().GetShownText()}),
                         Error);
}
} // namespace

int main(int argc, char** argv)
{
    TuneHeapForMapLoading();
    AppOptions options;
    std::string text;
    switch (ParseCommandLine(argc, argv, options, text))
    {
    case ParseOutcome::Help:
        std::fputs(text.c_str(), stdout);
        return 0;
    case ParseOutcome::Error:
        std::fprintf(stderr, "%s\n", text.c_str());
        return ExitFailure;
    case ParseOutcome::Run:
        break;
    }
    if (options.bInfo)
        return PrintMapInfo(options);

    std::signal(SIGUSR1, RequestSnapshot);
    std::signal(SIGUSR2, RequestSnapshot);
    Application app;
    std::string error;
    if (!app.Start(options, error))
        return Fail(error);
    PrintWarnings(app.GetMapWarnings());

    int frames = 0;
    std::vector<std::uint8_t> lastFrame;
    while (options.FrameCount == 0 || frames < options.FrameCount)
    {
        if (!app.ProcessInput())
            break;
        app.DrawFrame();
        ++frames;
        const int requests = SnapshotRequests.exchange(0);
        const bool bScreenshot = (requests & ScreenshotBit) != 0;
        if (!options.ScreenshotPath.empty() && (frames == options.FrameCount || bScreenshot))
            lastFrame = app.ReadBackBuffer();
        app.PresentFrame();
        if (requests != 0)
        {
            if (!WriteOutputs(app, options, frames, bScreenshot ? lastFrame : std::vector<std::uint8_t>(),
                              error))
                return Fail(error);
        }
    }

    // A window closed before the last requested frame still leaves a picture of the final state.
    if (!options.ScreenshotPath.empty() && frames != options.FrameCount)
    {
        app.DrawFrame();
        lastFrame = app.ReadBackBuffer();
    }
    if (!WriteOutputs(app, options, frames, lastFrame, error))
        return Fail(error);
    if (!options.ScreenshotPath.empty())
    {
        const CoreSDL& window = app.GetCoreSDL();
        std::printf("quindle: wrote %s (%dx%d, %d frames)\n", options.ScreenshotPath.c_str(), window.Width,
                    window.Height, frames);
    }
    return 0;
}
