// The built quindle program as a person runs it: bad command lines, bad maps and a headless run
// that writes a screenshot and a state file.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace
{
struct RunResult
{
    int ExitStatus = -1;
    std::string Out, Err;
};

std::string ReadFile(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

// Runs quindle with the arguments (already shell-quoted), by default on SDL's offscreen driver.
RunResult RunQuindle(const std::string& args, const std::string& videoDriver = "offscreen")
{
    const fs::path dir = fs::temp_directory_path() / ("quindle-run-" + std::to_string(::getpid()));
    fs::create_directories(dir);
    const std::string command = "SDL_VIDEO_DRIVER=" + videoDriver + " '" QUINDLE_BINARY "' " + args + " >'" +
                                (dir / "out").string() + "' 2>'" + (dir / "err").string() + "'";
    const int status = std::system(command.c_str());
    RunResult result;
    result.ExitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.Out = ReadFile(dir / "out");
    result.Err = ReadFile(dir / "err");
    return result;
}

int CountLines(const std::string& text)
{
    int lines = 0;
    for (char c : text)
        lines += c == '\n';
    return lines;
}

class QuindleBinary : public ::testing::Test
{
  protected:
    fs::path Dir;
    void SetUp() override
    {
        Dir = fs::temp_directory_path() / ("quindle-test-" + std::to_string(::getpid()) + "-" +
                                           ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(Dir);
        fs::create_directories(Dir);
    }
    void TearDown() override { fs::remove_all(Dir); }
};
} // namespace

TEST_F(QuindleBinary, BadCommandLinesExitTwoWithOneLine)
{
    std::ofstream(Dir / "corrupt.smf") << "this is not a Spring map file, just some text";
    fs::create_directories(Dir / "empty.sdd");
    const std::vector<std::string> bad = {"--bogus",
                                          "--size 20x20",
                                          "--size wide",
                                          "--vehicles -3",
                                          "--frames 0",
                                          "--map /no/such/file.smf",
                                          "--map '" + (Dir / "corrupt.smf").string() + "' --frames 1",
                                          "--map '" + (Dir / "empty.sdd").string() + "' --frames 1",
                                          // Output paths fail at start, not after a hundred million frames.
                                          "--frames 100000000 --screenshot /no/such/dir/shot.png",
                                          "--frames 100000000 --screenshot shot.jpg",
                                          "--frames 100000000 --state-out /no/such/dir/state.json",
                                          "--frames 100000000 --state-out '" + Dir.string() + "'"};
    for (const std::string& args : bad)
    {
        const RunResult run = RunQuindle(args);
        EXPECT_EQ(run.ExitStatus, 2) << args << "\n" << run.Err;
        EXPECT_EQ(CountLines(run.Err), 1) << args << "\n" << run.Err;
        EXPECT_EQ(run.Err.rfind("quindle: ", 0), 0u) << args << "\n" << run.Err;
    }
}

TEST_F(QuindleBinary, NoUsableGLContextExitsTwoWithOneLine)
{
    // SDL's dummy driver has no OpenGL at all; an unknown driver cannot even start.
    for (const std::string driver : {"dummy", "no-such-driver"})
    {
        const RunResult run = RunQuindle("--frames 1", driver);
        EXPECT_EQ(run.ExitStatus, 2) << driver << "\n" << run.Err;
        EXPECT_EQ(CountLines(run.Err), 1) << driver << "\n" << run.Err;
        EXPECT_EQ(run.Err.rfind("quindle: ", 0), 0u) << driver << "\n" << run.Err;
    }
}

TEST_F(QuindleBinary, HeadlessRunWritesScreenshotAndState)
{
    const fs::path shot = Dir / "shot.png", state = Dir / "state.json";
    const RunResult run = RunQuindle("--frames 30 --size 320x200 --vehicles 5 --aircraft 2 --screenshot '" +
                                     shot.string() + "' --state-out '" + state.string() + "'");
    ASSERT_EQ(run.ExitStatus, 0) << run.Err;
    EXPECT_NE(run.Out.find("shot.png"), std::string::npos) << "says where the picture is: " << run.Out;

    const std::string png = ReadFile(shot);
    ASSERT_GE(png.size(), 24u);
    EXPECT_EQ(png.substr(0, 8), std::string("\x89PNG\r\n\x1a\n", 8));
    const auto be32 = [&](std::size_t at)
    {
        return (static_cast<unsigned char>(png[at]) << 24) | (static_cast<unsigned char>(png[at + 1]) << 16) |
               (static_cast<unsigned char>(png[at + 2]) << 8) | static_cast<unsigned char>(png[at + 3]);
    };
    EXPECT_EQ(be32(16), 320u) << "width in the header";
    EXPECT_EQ(be32(20), 200u) << "height in the header";
    EXPECT_EQ(png[24], 8) << "8 bits per channel";
    EXPECT_EQ(png[25], 2) << "colour type RGB: no alpha channel to wash the overlays out";

    const std::string json = ReadFile(state);
    EXPECT_NE(json.find("\"frames\": 30"), std::string::npos) << json;
    EXPECT_NE(json.find("\"F1: controls | Map Default: 256x256 squares, 5 vehicles, 2 aircraft\""), std::string::npos)
        << json;
    EXPECT_NE(json.find("\"camera\": {\"yawDeg\": 0, \"pitchDeg\": 50"), std::string::npos) << json;
    std::size_t positions = 0;
    for (std::size_t at = json.find("\"position\""); at != std::string::npos;
         at = json.find("\"position\"", at + 1))
        ++positions;
    EXPECT_EQ(positions, 7u) << "five vehicles and two aircraft";
}
