// The built quindle program as a person runs it: what fails exits 2 with one line on stderr, and a
// headless run writes its screenshot and state file.
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace
{
std::string ReadFile(const fs::path& path)
{
    std::stringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

class QuindleBinary : public ::testing::Test
{
  protected:
    const fs::path Dir = fs::temp_directory_path() / ("quindle-binary-" + std::to_string(::getpid()));
    void SetUp() override { fs::create_directories(Dir); }
    void TearDown() override { fs::remove_all(Dir); }

    // Runs quindle with the arguments (already shell-quoted) on a video driver; the exit status and stderr.
    std::pair<int, std::string> Run(const std::string& Args, const std::string& VideoDriver = "offscreen")
    {
        const std::string command = "SDL_VIDEO_DRIVER=" + VideoDriver + " '" QUINDLE_BINARY "' " + Args +
                                    " >'" + (Dir / "out").string() + "' 2>'" + (Dir / "err").string() + "'";
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(Dir / "err")};
    }
};

TEST_F(QuindleBinary, WhatFailsExitsTwoWithOneLine)
{
    std::ofstream(Dir / "corrupt.smf") << "this is not a Spring map file, just some text";
    fs::create_directories(Dir / "empty.sdd");
    // clang-format off
    // Output paths fail at start, not after a hundred million frames. SDL's dummy driver has no
    // OpenGL at all; an unknown driver cannot even start.
    const std::pair<std::string, std::string> runs[] = {
        {"--size 20x20", "offscreen"}, {"--map '" + (Dir / "corrupt.smf").string() + "' --frames 1", "offscreen"},
        {"--map '" + (Dir / "empty.sdd").string() + "' --frames 1", "offscreen"},
        {"--frames 100000000 --state-out /no/such/dir/state.json", "offscreen"},
        {"--frames 1", "dummy"}, {"--frames 1", "no-such-driver"}};
    // clang-format on
    for (const auto& [args, driver] : runs)
    {
        const auto [status, err] = Run(args, driver);
        EXPECT_EQ(status, 2) << args << " on " << driver << "\n" << err;
        EXPECT_TRUE(err.starts_with("quindle: ") && err.find('\n') == err.size() - 1) << args << "\n" << err;
    }
}

TEST_F(QuindleBinary, HeadlessRunWritesAnOpaqueScreenshotAndTheState)
{
    const fs::path shot = Dir / "shot.png", state = Dir / "state.json";
    const auto [status, err] = Run("--frames 30 --size 320x200 --vehicles 5 --aircraft 2 --screenshot '" +
                                   shot.string() + "' --state-out '" + state.string() + "'");
    ASSERT_EQ(status, 0) << err;
    EXPECT_NE(ReadFile(Dir / "out").find(shot.string()), std::string::npos) << "says where the picture is";
    const std::string png = ReadFile(shot);
    ASSERT_GE(png.size(), 26u);
    EXPECT_EQ(png.substr(0, 8), std::string("\x89PNG\r\n\x1a\n", 8));
    // Width and height (big-endian), 8 bits per channel, colour type 2: RGB with no alpha to wash the
    // overlays out.
    EXPECT_EQ(png.substr(16, 10), std::string("\0\0\x01\x40\0\0\0\xc8\x08\x02", 10));
    const std::string json = ReadFile(state);
    for (const char* part : {"\"frames\": 30", "\"camera\": {\"yawDeg\": 0, \"pitchDeg\": 50",
                             "\"F1: controls | Map Default: 256x256 squares, 5 vehicles, 2 aircraft\""})
        EXPECT_NE(json.find(part), std::string::npos) << part << " in\n" << json;
    std::size_t positions = 0;
    for (std::size_t at = json.find("\"position\""); at != std::string::npos;
         at = json.find("\"position\"", at + 1))
        ++positions;
    EXPECT_EQ(positions, 7u) << "five vehicles and two aircraft";
}
} // namespace
