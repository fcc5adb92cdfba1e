// Quindle's entry point: parses the command line, runs the frame loop and writes the requested
// screenshot and state file. Every failure is one line on stderr and exit status 2.
#include <cstdio>
#include <fstream>
#include <string>

#include "application.h"
#include "pngwriter.h"
#include "statejson.h"

namespace
{
constexpr int ExitFailure = 2;

int Fail(const std::string& Reason)
{
    std::fprintf(stderr, "quindle: %s\n", Reason.c_str());
    return ExitFailure;
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
} // namespace

int main(int argc, char** argv)
{
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

    Application app;
    std::string error;
    if (!app.Start(options, error))
        return Fail(error);

    int frames = 0;
    std::vector<std::uint8_t> lastFrame;
    while (options.FrameCount == 0 || frames < options.FrameCount)
    {
        if (!app.ProcessInput())
            break;
        app.DrawFrame();
        ++frames;
        if (!options.ScreenshotPath.empty() && frames == options.FrameCount)
            lastFrame = app.ReadBackBuffer();
        app.PresentFrame();
    }

    if (!options.ScreenshotPath.empty())
    {
        // A window closed before the last requested frame still leaves a picture of the final state.
        if (lastFrame.empty())
        {
            app.DrawFrame();
            lastFrame = app.ReadBackBuffer();
        }
        const CoreSDL& window = app.GetCoreSDL();
        if (!WritePngRgba(options.ScreenshotPath, window.Width, window.Height, lastFrame.data(), error))
            return Fail(error);
        std::printf("quindle: wrote %s (%dx%d, %d frames)\n", options.ScreenshotPath.c_str(), window.Width,
                    window.Height, frames);
    }
    if (!options.StateOutPath.empty() &&
        !WriteTextFile(options.StateOutPath, BuildStateJson(app.GetViewport(), app.GetWindow(), frames),
                       error))
        return Fail(error);
    return 0;
}
