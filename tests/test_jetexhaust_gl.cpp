// The jet-exhaust effect in a real offscreen GL context: figures, targets, switches, shader
// failures and the pixels it leaves on the framebuffer. The particle layout is checked without GL.
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <optional>

#include "jetexhaust.h"
#include "jetexhaust_particles.h"
#include "offscreen_gl.h"
#include "pngwriter.h"
#include "viewcamera.h"

namespace
{
constexpr int WidthPx = 320;
constexpr int HeightPx = 180;

// Seen from 200 units away, looking down 20 degrees along -Z.
Mat4 MakeViewProjection()
{
    OrbitCamera camera;
    camera.PitchDeg = 20.0;
    camera.Distance = 200.0;
    camera.Aspect = double(WidthPx) / HeightPx;
    return BuildPerspectiveMatrix(camera.FovDeg, camera.Aspect, 1.0, 5000.0) * BuildOrbitViewMatrix(camera);
}

// Three aircraft flying +X near the origin: their plumes, streaming towards -X, lie across the picture.
JetExhaustFrameInput MakeInput()
{
    JetExhaustFrameInput input;
    input.Emitters = {{{40, 0, 0}, {1, 0, 0}}, {{40, 30, -20}, {1, 0, 0}}, {{40, -30, 20}, {1, 0, 0}}};
    input.ViewProjection = MakeViewProjection().ToFloat();
    input.ViewportWidthPx = WidthPx;
    input.ViewportHeightPx = HeightPx;
    input.TimeSec = 1.25;
    return input;
}

class JetExhaustGLTest : public OffscreenGLTest
{
  protected:
    void SetUp() override
    {
        OffscreenGLTest::SetUp();
        Target.emplace(WidthPx, HeightPx);
    }
    void TearDown() override
    {
        if (Context)
            Jet.ReleaseGL();
    }

    // Renders Count frames over a cleared background, each waited for, and returns the last figures.
    JetExhaustFigures RenderFrames(const JetExhaustFrameInput& Input, int Count)
    {
        JetExhaustFigures figures;
        for (int i = 0; i < Count; ++i)
        {
            Target->Bind();
            glClearColor(0.05f, 0.1f, 0.2f, 1.0f);
            glClear(GL_COLOR_BUFFER_BIT);
            EXPECT_TRUE(Jet.Render(Input, figures)) << "frame " << i;
            glFinish();
        }
        return figures;
    }

    // The sizes of the textures the effect holds, as GL reports them, and the bytes GL says they take.
    std::map<std::pair<int, int>, int> QueryTextures(std::uint64_t* pBytes = nullptr) const
    {
        std::map<std::pair<int, int>, int> countBySize;
        for (unsigned int texture : Jet.GetTargetTextures())
        {
            glBindTexture(GL_TEXTURE_2D, texture);
            GLint w = 0, h = 0, bits = 0, channelBits = 0;
            glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &w);
            glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &h);
            for (GLenum channel :
                 {GL_TEXTURE_RED_SIZE, GL_TEXTURE_GREEN_SIZE, GL_TEXTURE_BLUE_SIZE, GL_TEXTURE_ALPHA_SIZE})
            {
                glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, channel, &channelBits);
                bits += channelBits;
            }
            ++countBySize[{w, h}];
            if (pBytes)
                *pBytes += static_cast<std::uint64_t>(w) * h * (bits / 8);
        }
        glBindTexture(GL_TEXTURE_2D, 0);
        return countBySize;
    }

    std::optional<GLTarget> Target;
    JetExhaustSystem Jet;
};

TEST_F(JetExhaustGLTest, TargetsFollowTheScaleAndThePreset)
{
    // Low blurs at a quarter of the target per axis, Medium and High at half; sizes round up.
    // clang-format off
    struct Case { int ViewportW, ViewportH; float Scale; JetExhaustQuality Quality; int W, H, BloomW, BloomH; } cases[] = {
        {320, 180, 0.5f, JetExhaustQuality::Low, 160, 90, 40, 23}, {320, 180, 0.75f, JetExhaustQuality::Medium, 240, 135, 120, 68},
        {320, 180, 1.0f, JetExhaustQuality::High, 320, 180, 160, 90}, {301, 7, 0.5f, JetExhaustQuality::Medium, 151, 4, 76, 2},
        {1, 1, 0.5f, JetExhaustQuality::High, 1, 1, 1, 1}, {3, 1, 0.1f, JetExhaustQuality::Low, 1, 1, 1, 1},
    };
    // clang-format on
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
        EXPECT_EQ(std::make_pair(figures.TargetWidth, figures.TargetHeight), std::make_pair(c.W, c.H))
            << label;
        std::map<std::pair<int, int>, int> expected;
        expected[{c.W, c.H}] += 4;
        expected[{c.BloomW, c.BloomH}] += 2;
        EXPECT_EQ(QueryTextures(), expected) << label;
    }
}

TEST_F(JetExhaustGLTest, SwitchesAndPresetsChangeTheWorkAndItsFigures)
{
    const JetExhaustFrameInput input = MakeInput();
    // Nothing waits for the timer queries, so the first frame cannot have GPU times yet.
    EXPECT_FALSE(RenderFrames(input, 1).bGpuTimesValid);
    using Settings = JetExhaustDebugSettings;
    // clang-format off
    struct Case { const char* Name; std::function<void(Settings&)> Change; std::array<bool, 5> Ran; int ParticlesPerEmitter, BlurIterations; bool bFewerTargets; } const cases[] = {
        {"defaults", [](Settings&) {}, {true, true, true, true, true}, 64 + 32, 2, false},
        // Off frees the targets; the next row, on again, brings them back.
        {"effect switched off", [this](Settings&) { Jet.ToggleEnabled(); }, {false, false, false, false, false}, 0, 0, true},
        {"contrails off", [](Settings& s) { s.ContrailsEnabled = false; }, {true, true, true, true, true}, 64, 2, false},
        {"shimmer off", [](Settings& s) { s.ShimmerEnabled = false; }, {true, false, false, true, true}, 96, 2, true},
        {"bloom off", [](Settings& s) { s.BloomEnabled = false; }, {true, true, true, false, true}, 96, 0, true},
        {"low", [](Settings& s) { s.Quality = JetExhaustQuality::Low; }, {true, true, true, true, true}, 32 + 16, 1, true},
        {"high", [](Settings& s) { s.Quality = JetExhaustQuality::High; }, {true, true, true, true, true}, 128 + 64, 3, false},
        {"stored 7 works as high", [](Settings& s) { s.Quality = static_cast<JetExhaustQuality>(7); }, {true, true, true, true, true}, 128 + 64, 3, false},
    };
    // clang-format on
    std::uint64_t defaultBytes = 0;
    for (const Case& c : cases)
    {
        Jet.Debug() = Settings{};
        c.Change(Jet.Debug());
        // Each frame is waited for, so from the second on the GPU figures are of a frame with these switches.
        const JetExhaustFigures figures = RenderFrames(input, 3);
        EXPECT_TRUE(figures.bGpuTimesValid || !c.Ran[0]) << c.Name;
        EXPECT_EQ(figures.StatusText, c.Ran[0] ? "Jet effects ready" : "Jet effects off") << c.Name;
        double gpuTotalMs = 0.0;
        for (int i = 0; i < JetExhaustPassCount; ++i)
        {
            gpuTotalMs += figures.GpuMs[i];
            EXPECT_EQ(figures.bPassRan[i], c.Ran[i]) << c.Name << ", pass " << i;
            const double cpuMs = figures.CpuMs[i], gpuMs = figures.GpuMs[i];
            EXPECT_TRUE(c.Ran[i] ? std::isfinite(cpuMs) && cpuMs > 0.0 && std::isfinite(gpuMs) && gpuMs >= 0.0
                                 : cpuMs == 0.0 && gpuMs == 0.0)
                << c.Name << ", pass " << i << ": CPU " << cpuMs << " ms, GPU " << gpuMs << " ms";
        }
        EXPECT_EQ(gpuTotalMs > 0.0, c.Ran[0]) << c.Name << ": measured GPU time";
        EXPECT_EQ(figures.ParticleCount, 3 * c.ParticlesPerEmitter) << c.Name;
        EXPECT_EQ(figures.BlurIterations, c.BlurIterations) << c.Name;
        std::uint64_t bytes = 0;
        QueryTextures(&bytes);
        EXPECT_EQ(figures.MemoryBytes, bytes) << c.Name;
        EXPECT_DOUBLE_EQ(figures.MemoryMiB, static_cast<double>(bytes) / (1024.0 * 1024.0)) << c.Name;
        defaultBytes = defaultBytes ? defaultBytes : bytes; // the first row holds the defaults
        EXPECT_EQ(bytes < defaultBytes, c.bFewerTargets) << c.Name;
    }
}

TEST_F(JetExhaustGLTest, BrokenShadersReportTheFirstLineAndReloadClearsIt)
{
    // Compiles but calls a function nobody defines: only the link can fail.
    const char* const unresolved =
        "#version 330 core\nvec4 Missing();\nout vec4 C;\nvoid main() { C = Missing(); }\n";
    using Pass = JetExhaustPass;
    using Stage = JetExhaustShaderStage;
    // clang-format off
    struct Case { Pass BrokenPass; Stage BrokenStage; const char* Source; const char* StatusPrefix; std::array<bool, 5> Ran; } cases[] = {
        {Pass::Bloom, Stage::Fragment, "not a shader", "Shader bloom: ", {true, true, true, false, true}},
        {Pass::Scene, Stage::Vertex, "#version 330 core\nvoid main() { x = 1; }\n", "Shader scene: ", {false, true, true, true, true}},
        {Pass::Composite, Stage::Fragment, unresolved, "Composite link: ", {true, true, true, true, false}},
        // The shimmer needs the mask, so a broken mask stops both.
        {Pass::Mask, Stage::Fragment, unresolved, "Shader mask link: ", {true, false, false, true, true}},
    };
    // clang-format on
    const JetExhaustFrameInput input = MakeInput();
    for (const Case& c : cases)
    {
        const std::string prefix = c.StatusPrefix;
        Jet.SetShaderSourceOverride(c.BrokenPass, c.BrokenStage, c.Source);
        Jet.ReloadShaders();
        JetExhaustFigures figures = RenderFrames(input, 1);
        const std::string& status = figures.StatusText;
        EXPECT_TRUE(status.starts_with(prefix) && status.size() > prefix.size() &&
                    status.find('\n') == std::string::npos)
            << prefix << ": the first line of the log expected, got '" << status << "'";
        for (int i = 0; i < JetExhaustPassCount; ++i)
            EXPECT_EQ(figures.bPassRan[i], c.Ran[i]) << prefix << ", pass " << i;
        // The failure stays across frames, and an override alone changes nothing before the reload.
        Jet.SetShaderSourceOverride(c.BrokenPass, c.BrokenStage, "");
        EXPECT_TRUE(RenderFrames(input, 2).StatusText.starts_with(prefix)) << prefix << " on later frames";
        Jet.ReloadShaders();
        figures = RenderFrames(input, 1);
        EXPECT_EQ(figures.StatusText, "Jet shaders reloaded") << prefix;
        EXPECT_EQ(std::count(figures.bPassRan, figures.bPassRan + 5, true), 5)
            << prefix << " after the reload";
    }
}

TEST_F(JetExhaustGLTest, BadInputReturnsFalseAndLeavesTheFiguresAlone)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    // clang-format off
    struct Case { const char* Name; int Width, Height; float Scale, Matrix7, FogRangeWorld; } cases[] = {
        {"zero width", 0, 9, 1, 0, 1}, {"negative height", 9, -1, 1, 0, 1}, {"zero scale", 9, 9, 0, 0, 1},
        {"negative scale", 9, 9, -0.5f, 0, 1}, {"NaN scale", 9, 9, nan, 0, 1}, {"infinite scale", 9, 9, inf, 0, 1},
        {"NaN in the matrix", 9, 9, 1, nan, 1}, {"zero fog range", 9, 9, 1, 0, 0},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        JetExhaustFrameInput input = MakeInput();
        input.ViewportWidthPx = c.Width;
        input.ViewportHeightPx = c.Height;
        input.Scale = c.Scale;
        input.ViewProjection[7] = c.Matrix7;
        input.FogRangeWorld = c.FogRangeWorld;
        JetExhaustFigures figures;
        figures.TargetWidth = 77;
        figures.StatusText = "before";
        EXPECT_FALSE(Jet.Render(input, figures)) << c.Name;
        EXPECT_TRUE(figures.TargetWidth == 77 && figures.StatusText == "before") << c.Name;
    }
    // Unusable emitters are skipped; with none left nothing is drawn, yet the frame succeeds.
    JetExhaustFrameInput input = MakeInput();
    RenderFrames(input, 2); // GPU times of frames that drew
    input.Emitters = {{{0, 0, 0}, {0, 0, 0}}, {{nan, 0, 0}, {1, 0, 0}}};
    const JetExhaustFigures figures = RenderFrames(input, 2);
    EXPECT_EQ(figures.ParticleCount, 0);
    EXPECT_TRUE(figures.bGpuTimesValid);
    for (int i = 0; i < JetExhaustPassCount; ++i)
        EXPECT_TRUE(!figures.bPassRan[i] && figures.GpuMs[i] == 0.0)
            << "pass " << i << " still shows an older frame";
}

TEST_F(JetExhaustGLTest, PlumesBrightenTheirPixelsInsideTheViewportOnlyAndTheStateComesBack)
{
    JetExhaustFrameInput input = MakeInput();
    // A viewport inset from the window: the composite must stay inside it.
    input.ViewportXPx = 20;
    input.ViewportYPx = 10;
    input.ViewportWidthPx = WidthPx - 40;
    input.ViewportHeightPx = HeightPx - 20;
    // State the scene's drawing leaves, which the effect must put back.
    const auto get = [](GLenum name)
    {
        std::array<GLint, 4> value{};
        glGetIntegerv(name, value.data());
        return value;
    };
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glActiveTexture(GL_TEXTURE2);
    Target->Bind();
    const GLint framebuffer = get(GL_DRAW_FRAMEBUFFER_BINDING)[0];
    RenderFrames(input, 3);
    EXPECT_EQ(get(GL_DRAW_FRAMEBUFFER_BINDING)[0], framebuffer);
    EXPECT_EQ(get(GL_VIEWPORT), (std::array<GLint, 4>{0, 0, WidthPx, HeightPx}));
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST) && glIsEnabled(GL_BLEND));
    EXPECT_EQ(get(GL_BLEND_SRC_RGB)[0], GL_SRC_ALPHA);
    EXPECT_EQ(get(GL_BLEND_DST_RGB)[0], GL_ONE_MINUS_SRC_ALPHA);
    EXPECT_EQ(get(GL_ACTIVE_TEXTURE)[0], GL_TEXTURE2);
    glActiveTexture(GL_TEXTURE0);
    EXPECT_EQ(get(GL_TEXTURE_BINDING_2D)[0], static_cast<GLint>(texture));
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_BLEND);
    glDeleteTextures(1, &texture);
    const std::vector<std::uint8_t> pixels = Target->Read();
    std::string error;
    EXPECT_TRUE(WritePngRgb(std::string(JET_SCREENSHOT_DIR) + "/jetexhaust.png", WidthPx, HeightPx,
                            pixels.data(), error))
        << error;
    const auto brightness = [&](std::pair<int, int> at)
    {
        const Pixel px = PixelAt(pixels, WidthPx, at.first, at.second);
        return px.R + px.G + px.B;
    };
    // The window pixel (x from the left, y from the top) of a world point.
    const auto project = [&](float x, float y, float z)
    {
        double clip[4];
        MakeViewProjection().Transform(x, y, z, 1.0, clip);
        return std::make_pair(input.ViewportXPx +
                                  static_cast<int>((clip[0] / clip[3] * 0.5 + 0.5) * input.ViewportWidthPx),
                              HeightPx - 1 - input.ViewportYPx -
                                  static_cast<int>((clip[1] / clip[3] * 0.5 + 0.5) * input.ViewportHeightPx));
    };
    const int background = brightness({1, 1});
    EXPECT_NEAR(PixelAt(pixels, WidthPx, 1, 1).B, 51, 1) << "the window's corner keeps the cleared colour";
    for (const JetExhaustEmitter& e : input.Emitters) // a few units behind the nozzle the flame is hottest
        EXPECT_GT(brightness(project(e.Position[0] - 6.0f, e.Position[1], e.Position[2])), background + 150)
            << "plume of the emitter at y " << e.Position[1];
    EXPECT_EQ(brightness(project(95.0f, 0.0f, 0.0f)), background)
        << "well ahead of the nozzles there is no flame";
    for (int y = 0; y < HeightPx; ++y)
        for (int x : {0, 19, WidthPx - 20, WidthPx - 1})
            ASSERT_EQ(brightness({x, y}), background) << "outside the viewport, pixel " << x << "," << y;
}

// ---- The particle layout, no GL needed -------------------------------------------------------

TEST(JetExhaustParticles, StreamBehindTheNozzleWithinTheirLengths)
{
    const JetExhaustWork work = GetJetExhaustWork(JetExhaustDebugSettings{});
    const float lengthWorld = 50.0f;
    // Flying along +Z, straight up (the side axis must not degenerate) and along an unnormalised diagonal.
    const std::vector<JetExhaustEmitter> emitters = {
        {{10, 20, 30}, {0, 0, 1}}, {{0, 0, 0}, {0, 5, 0}}, {{-7, 3, 2}, {2, -1, 2}}};
    const std::size_t plumes = emitters.size() * work.PlumeParticlesPerEmitter;
    for (double timeSec : {0.0, 0.37, 1e6 + 0.5})
    {
        std::vector<JetExhaustParticle> particles;
        // Every emitter's plume, then every emitter's contrail.
        ASSERT_EQ(BuildJetExhaustParticles(emitters, work, lengthWorld, timeSec, particles),
                  static_cast<int>(plumes));
        ASSERT_EQ(particles.size(), plumes + emitters.size() * work.ContrailParticlesPerEmitter);
        for (std::size_t i = 0; i < particles.size(); ++i)
        {
            const bool bTrail = i >= plumes;
            const JetExhaustEmitter& e = emitters[bTrail ? (i - plumes) / work.ContrailParticlesPerEmitter
                                                         : i / work.PlumeParticlesPerEmitter];
            const JetExhaustParticle& p = particles[i];
            const float* d = e.Direction;
            const float rel[3] = {p.X - e.Position[0], p.Y - e.Position[1], p.Z - e.Position[2]};
            const float behind =
                -(rel[0] * d[0] + rel[1] * d[1] + rel[2] * d[2]) / std::hypot(d[0], d[1], d[2]);
            const float maxLength = bTrail ? lengthWorld * JetExhaustContrailLengthFactor : lengthWorld;
            // Contrails carry no heat; a plume is hotter nearer the nozzle.
            const float heat = bTrail ? 0.0f : std::pow(1.0f - behind / lengthWorld, 1.5f);
            EXPECT_TRUE(p.Kind == (bTrail ? 1.0f : 0.0f) && behind >= -1e-3f &&
                        behind <= maxLength * 1.001f && p.SizeWorld > 0.0f && std::abs(p.Heat - heat) < 2e-3f)
                << "time " << timeSec << ", particle " << i << ": " << behind << " behind, heat " << p.Heat;
        }
    }
}

} // namespace
