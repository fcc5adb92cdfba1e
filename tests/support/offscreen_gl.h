#pragma once

#include <cstdint>
#include <vector>

#include <epoxy/gl.h>
#include <gtest/gtest.h>

#include "core.h"

// The GL tests' fixture: one hidden window with a GL 3.3 core context on SDL's offscreen driver
// (Mesa), opened by the first suite that needs it and closed after each suite.
class OffscreenGLTest : public ::testing::Test
{
  protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();
    // Fails the test when the context could not be opened; clears stale GL errors.
    void SetUp() override;

    static CoreSDL* Context;
};

// A colour (RGBA8) and depth framebuffer, bound from construction to destruction.
class GLTarget
{
  public:
    GLTarget(int WidthPx, int HeightPx);
    ~GLTarget();
    GLTarget(const GLTarget&) = delete;
    GLTarget& operator=(const GLTarget&) = delete;

    bool IsComplete() const;
    // Binds it again (as the draw and read framebuffer) with a viewport over all of it.
    void Bind() const;
    // The whole target as RGBA rows, top first.
    std::vector<std::uint8_t> Read() const;

    const int WidthPx, HeightPx;

  private:
    GLuint Framebuffer = 0;
    GLuint Renderbuffers[2] = {};
};

// A pixel of a top-first RGBA image, 0..255 per channel.
struct Pixel
{
    int R, G, B, A;
};
Pixel PixelAt(const std::vector<std::uint8_t>& Image, int WidthPx, int XPx, int YPx);
