// The effect's frame: input checks, the GL state it borrows, and the timing of its five passes.
#include "jetexhaust.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>

#include "jetexhaust_gl.h"

namespace
{
bool IsUsable(const JetExhaustFrameInput& Input)
{
    if (Input.ViewportWidthPx <= 0 || Input.ViewportHeightPx <= 0)
        return false;
    if (!std::isfinite(Input.Scale) || Input.Scale <= 0.0f)
        return false;
    if (!std::isfinite(Input.FogRangeWorld) || Input.FogRangeWorld <= 0.0f)
        return false;
    return std::all_of(Input.ViewProjection.begin(), Input.ViewProjection.end(),
                       [](float v) { return std::isfinite(v); });
}

// Rows 0 and 1 of the view-projection are the camera's right and up axes scaled by the projection,
// so normalising them gives the billboard axes without a separate view matrix.
void GetCameraAxis(const std::array<float, 16>& M, int Row, float Axis[3])
{
    const float x = M[0 + Row], y = M[4 + Row], z = M[8 + Row];
    const float length = std::sqrt(x * x + y * y + z * z);
    if (length <= 0.0f || !std::isfinite(length))
        return;
    Axis[0] = x / length;
    Axis[1] = y / length;
    Axis[2] = z / length;
}

// The state the passes change, put back when the frame ends.
class SavedGLState
{
  public:
    SavedGLState()
    {
        glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &DrawFramebuffer);
        glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &ReadFramebuffer);
        glGetIntegerv(GL_VIEWPORT, Viewport);
        glGetIntegerv(GL_CURRENT_PROGRAM, &Program);
        glGetIntegerv(GL_VERTEX_ARRAY_BINDING, &VertexArray);
        glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &ArrayBuffer);
        glGetIntegerv(GL_ACTIVE_TEXTURE, &ActiveTexture);
        for (int unit = 0; unit < 3; ++unit)
        {
            glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
            glGetIntegerv(GL_TEXTURE_BINDING_2D, &Textures[unit]);
        }
        glGetIntegerv(GL_BLEND_SRC_RGB, &BlendSrcRgb);
        glGetIntegerv(GL_BLEND_DST_RGB, &BlendDstRgb);
        glGetIntegerv(GL_BLEND_SRC_ALPHA, &BlendSrcAlpha);
        glGetIntegerv(GL_BLEND_DST_ALPHA, &BlendDstAlpha);
        glGetIntegerv(GL_BLEND_EQUATION_RGB, &BlendEquationRgb);
        glGetIntegerv(GL_BLEND_EQUATION_ALPHA, &BlendEquationAlpha);
        glGetFloatv(GL_COLOR_CLEAR_VALUE, ClearColour);
        for (int i = 0; i < 4; ++i)
            bEnabled[i] = glIsEnabled(Capabilities[i]) == GL_TRUE;
        // The passes draw screen-covering shapes and additive billboards: no depth, culling or clip.
        for (GLenum capability : Capabilities)
            glDisable(capability);
        glBlendEquation(GL_FUNC_ADD);
    }
    ~SavedGLState()
    {
        for (int i = 0; i < 4; ++i)
            (bEnabled[i] ? glEnable : glDisable)(Capabilities[i]);
        glBlendEquationSeparate(static_cast<GLenum>(BlendEquationRgb),
                                static_cast<GLenum>(BlendEquationAlpha));
        glBlendFuncSeparate(static_cast<GLenum>(BlendSrcRgb), static_cast<GLenum>(BlendDstRgb),
                            static_cast<GLenum>(BlendSrcAlpha), static_cast<GLenum>(BlendDstAlpha));
        glClearColor(ClearColour[0], ClearColour[1], ClearColour[2], ClearColour[3]);
        for (int unit = 0; unit < 3; ++unit)
        {
            glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
            glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(Textures[unit]));
        }
        glActiveTexture(static_cast<GLenum>(ActiveTexture));
        glBindBuffer(GL_ARRAY_BUFFER, static_cast<GLuint>(ArrayBuffer));
        glBindVertexArray(static_cast<GLuint>(VertexArray));
        glUseProgram(static_cast<GLuint>(Program));
        glViewport(Viewport[0], Viewport[1], Viewport[2], Viewport[3]);
        glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(ReadFramebuffer));
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(DrawFramebuffer));
    }
    SavedGLState(const SavedGLState&) = delete;
    SavedGLState& operator=(const SavedGLState&) = delete;

    GLuint GetDrawFramebuffer() const { return static_cast<GLuint>(DrawFramebuffer); }

  private:
    static constexpr GLenum Capabilities[4] = {GL_BLEND, GL_DEPTH_TEST, GL_CULL_FACE, GL_SCISSOR_TEST};
    GLint DrawFramebuffer = 0, ReadFramebuffer = 0, Viewport[4] = {}, Program = 0, VertexArray = 0;
    GLint ArrayBuffer = 0, ActiveTexture = 0, Textures[3] = {};
    GLint BlendSrcRgb = 0, BlendDstRgb = 0, BlendSrcAlpha = 0, BlendDstAlpha = 0;
    GLint BlendEquationRgb = 0, BlendEquationAlpha = 0;
    GLfloat ClearColour[4] = {};
    bool bEnabled[4] = {};
};

unsigned TargetBit(JetExhaustTargets::Target Which)
{
    return 1U << Which;
}
} // namespace

JetExhaustSystem::JetExhaustSystem() = default;
JetExhaustSystem::~JetExhaustSystem() = default;

void JetExhaustSystem::ReloadShaders()
{
    if (pGL)
        pGL->DeletePrograms();
    bShadersReloaded = true;
}

void JetExhaustSystem::ToggleEnabled()
{
    Settings.Enabled = !Settings.Enabled;
}

void JetExhaustSystem::SetShaderSourceOverride(JetExhaustPass Pass, JetExhaustShaderStage Stage,
                                               std::string Source)
{
    ShaderOverrides[static_cast<std::size_t>(Pass) * 2 + static_cast<std::size_t>(Stage)] = std::move(Source);
}

std::vector<unsigned int> JetExhaustSystem::GetTargetTextures() const
{
    return pGL ? pGL->Targets.GetTextures() : std::vector<unsigned int>{};
}

void JetExhaustSystem::ReleaseGL()
{
    pGL.reset();
}

bool JetExhaustSystem::Render(const JetExhaustFrameInput& Input, JetExhaustFigures& Figures)
{
    if (!IsUsable(Input))
        return false;
    JetExhaustFigures figures;
    if (!Settings.Enabled)
    {
        // Off means off: the targets go, so the memory figure drops to nothing.
        if (pGL)
        {
            pGL->Targets.Release();
            pGL->Timers.Release();
        }
        figures.StatusText = "Jet effects off";
        Figures = std::move(figures);
        return true;
    }
    if (!pGL)
        pGL = std::make_unique<JetExhaustGL>();
    JetExhaustGL& gl = *pGL;
    const SavedGLState saved;
    if (!gl.AreProgramsBuilt())
    {
        Status.clear();
        gl.BuildPrograms(ShaderOverrides, Status);
        if (Status.empty())
            Status = bShadersReloaded ? "Jet shaders reloaded" : "Jet effects ready";
    }
    figures.StatusText = Status;

    JetExhaustPassFrame frame;
    frame.pInput = &Input;
    frame.pSettings = &Settings;
    frame.Work = GetJetExhaustWork(Settings);
    frame.OutputFramebuffer = saved.GetDrawFramebuffer();
    GetCameraAxis(Input.ViewProjection, 0, frame.CameraRight);
    GetCameraAxis(Input.ViewProjection, 1, frame.CameraUp);
    using T = JetExhaustTargets;
    // The mask and shimmer need each other; without either program neither can run.
    const bool bShimmer =
        frame.Work.bShimmer && gl.HasProgram(JetExhaustPass::Mask) && gl.HasProgram(JetExhaustPass::Shimmer);
    const bool bBloom = frame.Work.BlurIterations > 0 && gl.HasProgram(JetExhaustPass::Bloom);
    frame.Work.bShimmer = bShimmer;
    frame.Work.BlurIterations = bBloom ? frame.Work.BlurIterations : 0;
    const unsigned needed =
        TargetBit(T::Plume) |
        (bShimmer ? TargetBit(T::Mask) | TargetBit(T::Background) | TargetBit(T::Shimmer) : 0U) |
        (bBloom ? TargetBit(T::BloomA) | TargetBit(T::BloomB) : 0U);
    const int widthPx =
        std::max(1, static_cast<int>(std::lround(Input.ViewportWidthPx * double(Input.Scale))));
    const int heightPx =
        std::max(1, static_cast<int>(std::lround(Input.ViewportHeightPx * double(Input.Scale))));
    if (!gl.Targets.Update(widthPx, heightPx, frame.Work.BloomDivisor, needed))
    {
        figures.StatusText = "Jet effect targets incomplete";
        Figures = std::move(figures);
        return true;
    }
    figures.TargetWidth = widthPx;
    figures.TargetHeight = heightPx;
    figures.MemoryBytes = gl.Targets.GetMemoryBytes();
    figures.MemoryMiB = static_cast<double>(figures.MemoryBytes) / (1024.0 * 1024.0);

    // Building the billboards is the scene pass's CPU work; without any there is nothing to draw.
    const auto buildStart = std::chrono::steady_clock::now();
    gl.BuildParticles(frame);
    const double buildMs =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - buildStart).count();
    gl.Timers.Collect();
    // With no plume on screen every pass is skipped: their figures read as not run.
    const bool bDraw = !gl.Particles.empty() && gl.FindVisibleRect(frame);
    const bool bRun[JetExhaustPassCount] = {bDraw && gl.HasProgram(JetExhaustPass::Scene), bDraw && bShimmer,
                                            bDraw && bShimmer, bDraw && bBloom,
                                            bDraw && gl.HasProgram(JetExhaustPass::Composite)};
    // std::array, not a built-in array: GCC 12's bounds sanitizer misreads the index of a built-in
    // array of member function pointers in a call and stops the program.
    const std::array<void (JetExhaustGL::*)(const JetExhaustPassFrame&), JetExhaustPassCount> passes = {
        &JetExhaustGL::RunScenePass, &JetExhaustGL::RunMaskPass, &JetExhaustGL::RunShimmerPass,
        &JetExhaustGL::RunBloomPass, &JetExhaustGL::RunCompositePass};
    if (bDraw && !bRun[0])
        gl.ClearPlume();
    gl.Timers.BeginFrame();
    for (int i = 0; i < JetExhaustPassCount; ++i)
    {
        if (!bRun[i])
            continue;
        const JetExhaustPass pass = static_cast<JetExhaustPass>(i);
        const auto start = std::chrono::steady_clock::now();
        gl.Timers.BeginPass(pass);
        (gl.*passes[i])(frame);
        gl.Timers.EndPass(pass);
        figures.CpuMs[i] =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        figures.bPassRan[i] = true;
    }
    if (bRun[0])
        figures.CpuMs[0] += buildMs;
    figures.bGpuTimesValid = gl.Timers.GetLatest(figures.GpuMs);
    figures.ParticleCount = bRun[0] ? static_cast<int>(gl.Particles.size()) : 0;
    figures.BlurIterations = bRun[3] ? frame.Work.BlurIterations : 0;
    Figures = std::move(figures);
    return true;
}
