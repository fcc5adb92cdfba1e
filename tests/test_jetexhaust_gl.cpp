// The jet-exhaust effect in a real offscreen GL context: figures, targets, switches, shader
// failures and the pixels it leaves on the framebuffer. The particle layout is checked without GL.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <SDL3/SDL.h>
#include <epoxy/gl.h>
#include <gtest/gtest.h>

#include "core.h"
#include "jetexhaust.h"
#include "jetexhaust_particles.h"
#include "offscreen_gl.h"
#include "pngwriter.h"
#include "viewcamera.h"

namespace
{
constexpr int WidthPx = 320;
constexpr int HeightPx = 180;
const float Background[3] = {0.05f, 0.1f, 0.2f};

// A camera 200 units from the origin, looking down 20 degrees along -Z, so plumes streaming along -X
// from near the origin lie across the middle of the picture.
std::array<float, 16> MakeViewProjection()
{
    OrbitCamera camera;
    camera.PitchDeg = 20.0;
    camera.Distance = 200.0;
    camera.Aspect = double(WidthPx) / HeightPx;
    return (BuildPerspectiveMatrix(camera.FovDeg, camera.Aspect, 1.0, 5000.0) * BuildOrbitViewMatrix(camera))
        .ToFloat();
}

JetExhaustEmitter MakeEmitter(float x, float y, float z, float dx, float dy, float dz)
{
    JetExhaustEmitter emitter;
    emitter.Position[0] = x, emitter.Position[1] = y, emitter.Position[2] = z;
    emitter.Direction[0] = dx, emitter.Direction[1] = dy, emitter.Direction[2] = dz;
    return emitter;
}

JetExhaustFrameInput MakeInput()
{
    JetExhaustFrameInput input;
    // Three aircraft flying +X: their plumes stream towards -X.
    input.Emitters = {MakeEmitter(40, 0, 0, 1, 0, 0), MakeEmitter(40, 30, -20, 1, 0, 0),
                      MakeEmitter(40, -30, 20, 1, 0, 0)};
    input.ViewProjection = MakeViewProjection();
    input.ViewportWidthPx = WidthPx;
    input.ViewportHeightPx = HeightPx;
    input.Scale = 0.75f;
    input.TimeSec = 1.25;
    return input;
}

// Window pixel (x from the left, y from the top) of a world point.
std::pair<int, int> Project(const std::array<float, 16>& m, float x, float y, float z,
                            const JetExhaustFrameInput& in)
{
    const float cx = m[0] * x + m[4] * y + m[8] * z + m[12];
    const float cy = m[1] * x + m[5] * y + m[9] * z + m[13];
    const float cw = m[3] * x + m[7] * y + m[11] * z + m[15];
    const int px = in.ViewportXPx + static_cast<int>((cx / cw * 0.5f + 0.5f) * in.ViewportWidthPx);
    const int pyUp = in.ViewportYPx + static_cast<int>((cy / cw * 0.5f + 0.5f) * in.ViewportHeightPx);
    return {px, HeightPx - 1 - pyUp};
}

class JetExhaustGLTest : public OffscreenGLTest
{
  protected:
    void SetUp() override
    {
        OffscreenGLTest::SetUp();
        Target = std::make_unique<GLTarget>(WidthPx, HeightPx);
    }
    void TearDown() override
    {
        if (Context)
            Jet.ReleaseGL();
        Target.reset();
    }

    void ClearBackground()
    {
        Target->Bind();
        glClearColor(Background[0], Background[1], Background[2], 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
    }

    // Renders Count frames over a cleared background, each waited for, and returns the last figures.
    JetExhaustFigures RenderFrames(const JetExhaustFrameInput& Input, int Count)
    {
        JetExhaustFigures figures;
        for (int i = 0; i < Count; ++i)
        {
            ClearBackground();
            EXPECT_TRUE(Jet.Render(Input, figures)) << "frame " << i;
            glFinish();
        }
        return figures;
    }

    std::vector<std::uint8_t> ReadPixels() const { return Target->Read(); }
    static std::array<int, 3> At(const std::vector<std::uint8_t>& Pixels, int x, int y)
    {
        const Pixel px = PixelAt(Pixels, WidthPx, x, y);
        return {px.R, px.G, px.B};
    }
    static int Brightness(const std::array<int, 3>& c) { return c[0] + c[1] + c[2]; }

    // Sizes of the textures the effect holds, as GL reports them, with the bytes GL says they take.
    struct TextureSizes
    {
        std::map<std::pair<int, int>, int> CountBySize;
        std::uint64_t Bytes = 0;
    };
    TextureSizes QueryTextures() const
    {
        TextureSizes sizes;
        for (unsigned int texture : Jet.GetTargetTextures())
        {
            glBindTexture(GL_TEXTURE_2D, texture);
            GLint w = 0, h = 0, bits = 0;
            glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &w);
            glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &h);
            for (GLenum channel :
                 {GL_TEXTURE_RED_SIZE, GL_TEXTURE_GREEN_SIZE, GL_TEXTURE_BLUE_SIZE, GL_TEXTURE_ALPHA_SIZE})
            {
                GLint channelBits = 0;
                glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, channel, &channelBits);
                bits += channelBits;
            }
            ++sizes.CountBySize[{w, h}];
            sizes.Bytes += static_cast<std::uint64_t>(w) * h * (bits / 8);
        }
        glBindTexture(GL_TEXTURE_2D, 0);
        return sizes;
    }

    std::unique_ptr<GLTarget> Target;
    JetExhaustSystem Jet;
};

TEST_F(JetExhaustGLTest, FiguresAreFiniteAndGpuTimesArriveWithoutWaiting)
{
    const JetExhaustFrameInput input = MakeInput();
    JetExhaustFigures figures;
    ClearBackground();
    ASSERT_TRUE(Jet.Render(input, figures));
    // The first frame's queries cannot have been read back yet: nothing waits for them.
    EXPECT_FALSE(figures.bGpuTimesValid);
    EXPECT_EQ(figures.StatusText, "Jet effects ready");
    int frames = 1;
    while (!figures.bGpuTimesValid && frames < 8)
    {
        glFinish();
        ClearBackground();
        ASSERT_TRUE(Jet.Render(input, figures));
        ++frames;
    }
    ASSERT_TRUE(figures.bGpuTimesValid) << "after " << frames << " frames";
    double gpuTotalMs = 0.0;
    for (int i = 0; i < JetExhaustPassCount; ++i)
    {
        EXPECT_TRUE(figures.bPassRan[i]) << "pass " << i;
        EXPECT_TRUE(std::isfinite(figures.CpuMs[i]) && figures.CpuMs[i] > 0.0)
            << "pass " << i << ": " << figures.CpuMs[i];
        EXPECT_TRUE(std::isfinite(figures.GpuMs[i]) && figures.GpuMs[i] >= 0.0)
            << "pass " << i << ": " << figures.GpuMs[i];
        gpuTotalMs += figures.GpuMs[i];
    }
    EXPECT_GT(gpuTotalMs, 0.0);
    EXPECT_EQ(figures.ParticleCount, 3 * (64 + 32));
    EXPECT_EQ(figures.BlurIterations, 2);
}

TEST_F(JetExhaustGLTest, TargetsFollowTheScaleAndThePreset)
{
    struct Case
    {
        int ViewportW, ViewportH;
        float Scale;
        JetExhaustQuality Quality;
        int W, H, BloomW, BloomH;
    };
    // Low blurs at a quarter of the target per axis, Medium and High at half; sizes round up.
    const Case cases[] = {
        {320, 180, 0.5f, JetExhaustQuality::Low, 160, 90, 40, 23},
        {320, 180, 0.75f, JetExhaustQuality::Medium, 240, 135, 120, 68},
        {320, 180, 1.0f, JetExhaustQuality::High, 320, 180, 160, 90},
        {301, 7, 0.5f, JetExhaustQuality::Medium, 151, 4, 76, 2},
        {1, 1, 0.5f, JetExhaustQuality::High, 1, 1, 1, 1},
        {3, 1, 0.1f, JetExhaustQuality::Low, 1, 1, 1, 1},
    };
    for (const Case& c : cases)
    {
        JetExhaustFrameInput input = MakeInput();
        input.ViewportWidthPx = c.ViewportW;
        input.ViewportHeightPx = c.ViewportH;
        input.Scale = c.Scale;
        Jet.Debug().Quality = c.Quality;
        const JetExhaustFigures figures = RenderFrames(input, 1);
        const std::string label = std::to_string(c.ViewportW) + "x" + std::to_string(c.ViewportH) + " at " +
                                  std::to_string(c.Scale);
        EXPECT_EQ(figures.TargetWidth, c.W) << label;
        EXPECT_EQ(figures.TargetHeight, c.H) << label;
        std::map<std::pair<int, int>, int> expected;
        expected[{c.W, c.H}] += 4;
        expected[{c.BloomW, c.BloomH}] += 2;
        EXPECT_EQ(QueryTextures().CountBySize, expected) << label;
    }
}

TEST_F(JetExhaustGLTest, SwitchesAndPresetsChangeTheWorkDone)
{
    using Settings = JetExhaustDebugSettings;
    struct Case
    {
        const char* Name;
        std::function<void(Settings&)> Change;
        std::array<bool, 5> Ran;
        int ParticlesPerEmitter, BlurIterations;
        bool bFewerTargets;
    };
    // clang-format off
    const Case cases[] = {
        {"defaults", [](Settings&) {}, {true, true, true, true, true}, 64 + 32, 2, false},
        {"shimmer off", [](Settings& s) { s.ShimmerEnabled = false; }, {true, false, false, true, true}, 96, 2, true},
        {"bloom off", [](Settings& s) { s.BloomEnabled = false; }, {true, true, true, false, true}, 96, 0, true},
        {"contrails off", [](Settings& s) { s.ContrailsEnabled = false; }, {true, true, true, true, true}, 64, 2, false},
        {"low", [](Settings& s) { s.Quality = JetExhaustQuality::Low; }, {true, true, true, true, true}, 32 + 16, 1, true},
        {"high", [](Settings& s) { s.Quality = JetExhaustQuality::High; }, {true, true, true, true, true}, 128 + 64, 3, false},
        {"stored 7 works as high", [](Settings& s) { s.Quality = static_cast<JetExhaustQuality>(7); },
         {true, true, true, true, true}, 128 + 64, 3, false},
        {"effect off", [](Settings& s) { s.Enabled = false; }, {false, false, false, false, false}, 0, 0, true},
    };
    // clang-format on
    const JetExhaustFrameInput input = MakeInput();
    std::uint64_t defaultBytes = 0;
    for (const Case& c : cases)
    {
        Jet.Debug() = JetExhaustDebugSettings{};
        c.Change(Jet.Debug());
        // Each frame is waited for, so from the second on the GPU figures are of a frame with these switches.
        const JetExhaustFigures figures = RenderFrames(input, 3);
        for (int i = 0; i < JetExhaustPassCount; ++i)
        {
            EXPECT_EQ(figures.bPassRan[i], c.Ran[i]) << c.Name << ", pass " << i;
            if (!c.Ran[i])
            {
                EXPECT_EQ(figures.CpuMs[i], 0.0) << c.Name << ", pass " << i;
                EXPECT_EQ(figures.GpuMs[i], 0.0) << c.Name << ", pass " << i;
            }
        }
        EXPECT_EQ(figures.ParticleCount, 3 * c.ParticlesPerEmitter) << c.Name;
        EXPECT_EQ(figures.BlurIterations, c.BlurIterations) << c.Name;
        const TextureSizes sizes = QueryTextures();
        EXPECT_EQ(figures.MemoryBytes, sizes.Bytes) << c.Name;
        EXPECT_DOUBLE_EQ(figures.MemoryMiB, static_cast<double>(sizes.Bytes) / (1024.0 * 1024.0)) << c.Name;
        if (defaultBytes == 0)
            defaultBytes = figures.MemoryBytes; // the first row holds the defaults
        if (c.bFewerTargets)
            EXPECT_LT(figures.MemoryBytes, defaultBytes) << c.Name;
        else
            EXPECT_EQ(figures.MemoryBytes, defaultBytes) << c.Name;
    }
    // Off frees everything and says so; switching back on brings the targets back.
    Jet.Debug() = JetExhaustDebugSettings{};
    Jet.ToggleEnabled();
    JetExhaustFigures off = RenderFrames(input, 1);
    EXPECT_FALSE(Jet.Debug().Enabled);
    EXPECT_EQ(off.StatusText, "Jet effects off");
    EXPECT_EQ(off.TargetWidth, 0);
    EXPECT_EQ(off.MemoryMiB, 0.0);
    EXPECT_TRUE(Jet.GetTargetTextures().empty());
    Jet.ToggleEnabled();
    const JetExhaustFigures on = RenderFrames(input, 1);
    EXPECT_EQ(on.MemoryBytes, defaultBytes);
    EXPECT_EQ(on.TargetWidth, 240);
}

TEST_F(JetExhaustGLTest, BrokenShadersReportTheFirstLineAndReloadClearsIt)
{
    struct Case
    {
        JetExhaustPass Pass;
        JetExhaustShaderStage Stage;
        const char* Source;
        const char* StatusPrefix;
        std::array<bool, 5> Ran;
    };
    // Compiles but calls a function nobody defines: only the link can fail.
    const char* const unresolved =
        "#version 330 core\nvec4 Missing();\nout vec4 C;\nvoid main() { C = Missing(); }\n";
    using Pass = JetExhaustPass;
    using Stage = JetExhaustShaderStage;
    // clang-format off
    const Case cases[] = {
        {Pass::Bloom, Stage::Fragment, "not a shader", "Shader bloom: ", {true, true, true, false, true}},
        {Pass::Scene, Stage::Vertex, "#version 330 core\nvoid main() { x = 1; }\n", "Shader scene: ",
         {false, true, true, true, true}},
        {Pass::Composite, Stage::Fragment, unresolved, "Composite link: ", {true, true, true, true, false}},
        // The shimmer needs the mask, so a broken mask stops both.
        {Pass::Mask, Stage::Fragment, unresolved, "Shader mask link: ", {true, false, false, true, true}},
    };
    // clang-format on
    const JetExhaustFrameInput input = MakeInput();
    for (const Case& c : cases)
    {
        const std::string label = std::string("override of ") + c.StatusPrefix;
        Jet.SetShaderSourceOverride(c.Pass, c.Stage, c.Source);
        Jet.ReloadShaders();
        JetExhaustFigures figures = RenderFrames(input, 1);
        EXPECT_EQ(figures.StatusText.rfind(c.StatusPrefix, 0), 0u) << label << ": " << figures.StatusText;
        EXPECT_GT(figures.StatusText.size(), std::string(c.StatusPrefix).size()) << label << ": no log line";
        EXPECT_EQ(figures.StatusText.find('\n'), std::string::npos) << label << ": " << figures.StatusText;
        for (int i = 0; i < JetExhaustPassCount; ++i)
            EXPECT_EQ(figures.bPassRan[i], c.Ran[i]) << label << ", pass " << i;
        // The failure stays across frames until the shaders are built again.
        figures = RenderFrames(input, 2);
        EXPECT_EQ(figures.StatusText.rfind(c.StatusPrefix, 0), 0u) << label << " on a later frame";
        // An override alone changes nothing before the reload.
        Jet.SetShaderSourceOverride(c.Pass, c.Stage, "");
        figures = RenderFrames(input, 1);
        EXPECT_EQ(figures.StatusText.rfind(c.StatusPrefix, 0), 0u) << label << " before the reload";
        Jet.ReloadShaders();
        figures = RenderFrames(input, 1);
        EXPECT_EQ(figures.StatusText, "Jet shaders reloaded") << label;
        for (int i = 0; i < JetExhaustPassCount; ++i)
            EXPECT_TRUE(figures.bPassRan[i]) << label << " after the reload, pass " << i;
    }
}

TEST_F(JetExhaustGLTest, BadInputReturnsFalseAndLeavesTheFiguresAlone)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    const std::pair<const char*, std::function<void(JetExhaustFrameInput&)>> cases[] = {
        {"zero width", [](JetExhaustFrameInput& in) { in.ViewportWidthPx = 0; }},
        {"negative height", [](JetExhaustFrameInput& in) { in.ViewportHeightPx = -1; }},
        {"zero scale", [](JetExhaustFrameInput& in) { in.Scale = 0.0f; }},
        {"negative scale", [](JetExhaustFrameInput& in) { in.Scale = -0.5f; }},
        {"NaN scale", [nan](JetExhaustFrameInput& in) { in.Scale = nan; }},
        {"infinite scale", [inf](JetExhaustFrameInput& in) { in.Scale = inf; }},
        {"NaN in the matrix", [nan](JetExhaustFrameInput& in) { in.ViewProjection[7] = nan; }},
        {"zero fog range", [](JetExhaustFrameInput& in) { in.FogRangeWorld = 0.0f; }},
    };
    for (const auto& [name, change] : cases)
    {
        JetExhaustFrameInput input = MakeInput();
        change(input);
        JetExhaustFigures figures;
        figures.TargetWidth = 77;
        figures.CpuMs[2] = 5.5;
        figures.StatusText = "before";
        EXPECT_FALSE(Jet.Render(input, figures)) << name;
        EXPECT_EQ(figures.TargetWidth, 77) << name;
        EXPECT_EQ(figures.CpuMs[2], 5.5) << name;
        EXPECT_EQ(figures.StatusText, "before") << name;
    }
    // Unusable emitters are skipped; with none left nothing is drawn, yet the frame succeeds.
    JetExhaustFrameInput input = MakeInput();
    RenderFrames(input, 2); // GPU times of frames that drew
    input.Emitters = {MakeEmitter(0, 0, 0, 0, 0, 0), MakeEmitter(nan, 0, 0, 1, 0, 0)};
    const JetExhaustFigures figures = RenderFrames(input, 2);
    EXPECT_EQ(figures.ParticleCount, 0);
    EXPECT_TRUE(figures.bGpuTimesValid);
    for (int i = 0; i < JetExhaustPassCount; ++i)
    {
        EXPECT_FALSE(figures.bPassRan[i]) << "pass " << i;
        EXPECT_EQ(figures.GpuMs[i], 0.0) << "pass " << i << " still shows an older frame";
    }
}

TEST_F(JetExhaustGLTest, PlumesBrightenTheirPixelsInsideTheViewportOnly)
{
    JetExhaustFrameInput input = MakeInput();
    // A viewport inset from the window: the composite must stay inside it.
    input.ViewportXPx = 20;
    input.ViewportYPx = 10;
    input.ViewportWidthPx = WidthPx - 40;
    input.ViewportHeightPx = HeightPx - 20;
    RenderFrames(input, 3);
    const std::vector<std::uint8_t> pixels = ReadPixels();
    std::string error;
    EXPECT_TRUE(WritePngRgb(std::string(JET_SCREENSHOT_DIR) + "/jetexhaust.png", WidthPx, HeightPx,
                             pixels.data(), error))
        << error;
    const std::array<int, 3> background = At(pixels, 1, 1);
    EXPECT_NEAR(background[2], 51, 1) << "the window's corner keeps the cleared colour";
    for (const JetExhaustEmitter& emitter : input.Emitters)
    {
        // A few units behind the nozzle the flame is at its hottest.
        const auto [x, y] = Project(input.ViewProjection, emitter.Position[0] - 6.0f, emitter.Position[1],
                                    emitter.Position[2], input);
        ASSERT_TRUE(x > 0 && x < WidthPx && y > 0 && y < HeightPx) << x << "," << y;
        EXPECT_GT(Brightness(At(pixels, x, y)), Brightness(background) + 150)
            << "plume of the emitter at y " << emitter.Position[1] << ", pixel " << x << "," << y;
    }
    // Well ahead of the nozzles there is no flame, and outside the viewport nothing is touched.
    const auto [aheadX, aheadY] = Project(input.ViewProjection, 95.0f, 0.0f, 0.0f, input);
    EXPECT_EQ(At(pixels, aheadX, aheadY), background);
    for (int y = 0; y < HeightPx; ++y)
        for (int x : {0, 19, WidthPx - 20, WidthPx - 1})
            ASSERT_EQ(At(pixels, x, y), background) << "pixel " << x << "," << y;
}

TEST_F(JetExhaustGLTest, RenderPutsBackTheStateItChanges)
{
    GLuint framebuffer = 0, texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, WidthPx, HeightPx, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    glViewport(3, 4, 50, 60);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glActiveTexture(GL_TEXTURE2);
    JetExhaustFigures figures;
    ASSERT_TRUE(Jet.Render(MakeInput(), figures));
    GLint bound = 0, viewport[4] = {}, source = 0, destination = 0, active = 0, unit0 = 0;
    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &bound);
    glGetIntegerv(GL_VIEWPORT, viewport);
    glGetIntegerv(GL_BLEND_SRC_RGB, &source);
    glGetIntegerv(GL_BLEND_DST_RGB, &destination);
    glGetIntegerv(GL_ACTIVE_TEXTURE, &active);
    glActiveTexture(GL_TEXTURE0);
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &unit0);
    EXPECT_EQ(bound, static_cast<GLint>(framebuffer));
    EXPECT_EQ((std::array<GLint, 4>{viewport[0], viewport[1], viewport[2], viewport[3]}),
              (std::array<GLint, 4>{3, 4, 50, 60}));
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    EXPECT_TRUE(glIsEnabled(GL_BLEND));
    EXPECT_EQ(source, GL_SRC_ALPHA);
    EXPECT_EQ(destination, GL_ONE_MINUS_SRC_ALPHA);
    EXPECT_EQ(active, GL_TEXTURE2);
    EXPECT_EQ(unit0, static_cast<GLint>(texture));
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_BLEND);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &framebuffer);
    glDeleteTextures(1, &texture);
}

// ---- The particle layout, no GL needed -------------------------------------------------------

TEST(JetExhaustParticles, StreamBehindTheNozzleWithinTheirLengths)
{
    JetExhaustDebugSettings settings;
    const JetExhaustWork work = GetJetExhaustWork(settings);
    const float lengthWorld = 50.0f;
    // Flying along +Z, straight up (the side axis must not degenerate) and along an unnormalised diagonal.
    const std::vector<JetExhaustEmitter> emitters = {
        MakeEmitter(10, 20, 30, 0, 0, 1), MakeEmitter(0, 0, 0, 0, 5, 0), MakeEmitter(-7, 3, 2, 2, -1, 2)};
    for (double timeSec : {0.0, 0.37, 1e6 + 0.5})
    {
        std::vector<JetExhaustParticle> particles;
        const int plumeCount = BuildJetExhaustParticles(emitters, work, lengthWorld, timeSec, particles);
        // Every emitter's plume, then every emitter's contrail.
        const std::size_t plumes = emitters.size() * work.PlumeParticlesPerEmitter;
        ASSERT_EQ(plumeCount, static_cast<int>(plumes)) << "time " << timeSec;
        ASSERT_EQ(particles.size(), plumes + emitters.size() * work.ContrailParticlesPerEmitter)
            << "time " << timeSec;
        for (std::size_t i = 0; i < particles.size(); ++i)
        {
            const bool bTrail = i >= plumes;
            const std::size_t emitter =
                bTrail ? (i - plumes) / work.ContrailParticlesPerEmitter : i / work.PlumeParticlesPerEmitter;
            const JetExhaustEmitter& e = emitters[emitter];
            const JetExhaustParticle& p = particles[i];
            const float* d = e.Direction;
            const float dl = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
            const float rel[3] = {p.X - e.Position[0], p.Y - e.Position[1], p.Z - e.Position[2]};
            const float behind = -(rel[0] * d[0] + rel[1] * d[1] + rel[2] * d[2]) / dl;
            const float maxLength = bTrail ? lengthWorld * JetExhaustContrailLengthFactor : lengthWorld;
            const std::string label = "time " + std::to_string(timeSec) + ", particle " + std::to_string(i);
            EXPECT_EQ(p.Kind, bTrail ? 1.0f : 0.0f) << label;
            EXPECT_GE(behind, -1e-3f) << label;
            EXPECT_LE(behind, maxLength * 1.001f) << label;
            EXPECT_GT(p.SizeWorld, 0.0f) << label;
            EXPECT_GE(p.Heat, 0.0f) << label;
            EXPECT_LE(p.Heat, 1.0f) << label;
            if (bTrail)
                EXPECT_EQ(p.Heat, 0.0f) << label;
            else // hotter nearer the nozzle
                EXPECT_NEAR(p.Heat, std::pow(1.0f - behind / lengthWorld, 1.5f), 2e-3f) << label;
        }
    }
}

} // namespace
