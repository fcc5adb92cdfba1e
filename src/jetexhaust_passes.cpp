#include "jetexhaust_gl.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include <SDL3/SDL_video.h>

#include "jetexhaust_shaders.h"

namespace
{
constexpr float FogColour[3] = {0.55f, 0.62f, 0.7f};
constexpr float BloomThreshold = 0.6f;       // flame light below this does not glow
constexpr float ShimmerAmplitudeUv = 0.006f; // displacement at full heat and DistortionScale 1
constexpr float MaskStrength = 0.45f;

GLint Uniform(GLuint Program, const char* Name)
{
    return glGetUniformLocation(Program, Name);
}
} // namespace

JetExhaustGL::JetExhaustGL()
{
    // Each particle as a quad of four vertices with its centre, size, heat and kind, drawn as two
    // indexed triangles: one draw for them all. A software renderer runs its whole vertex pipeline
    // once per instance, so instancing thousands of four-vertex quads would cost far more.
    glGenVertexArrays(1, &ParticleArray);
    glGenVertexArrays(1, &FullScreenArray);
    glGenBuffers(1, &QuadIndexBuffer);
    glGenBuffers(1, &VertexBuffer);
    GLint previousArray = 0, previousBuffer = 0;
    glGetIntegerv(GL_VERTEX_ARRAY_BINDING, &previousArray);
    glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &previousBuffer);
    glBindVertexArray(ParticleArray);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, QuadIndexBuffer);
    glBindBuffer(GL_ARRAY_BUFFER, VertexBuffer);
    constexpr GLsizei stride = sizeof(ParticleVertex);
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, stride,
                          reinterpret_cast<const void*>(offsetof(ParticleVertex, Corner)));
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(1, 4, GL_FLOAT, GL_FALSE, stride,
                          reinterpret_cast<const void*>(offsetof(ParticleVertex, Particle.X)));
    glEnableVertexAttribArray(2);
    glVertexAttribPointer(2, 2, GL_FLOAT, GL_FALSE, stride,
                          reinterpret_cast<const void*>(offsetof(ParticleVertex, Particle.Heat)));
    glBindVertexArray(static_cast<GLuint>(previousArray));
    glBindBuffer(GL_ARRAY_BUFFER, static_cast<GLuint>(previousBuffer));
}

JetExhaustGL::~JetExhaustGL()
{
    // Without a context the names are gone with it; calling GL then would crash.
    if (!SDL_GL_GetCurrentContext())
        return;
    DeletePrograms();
    Targets.Release();
    Timers.Release();
    glDeleteVertexArrays(1, &ParticleArray);
    glDeleteVertexArrays(1, &FullScreenArray);
    glDeleteBuffers(1, &QuadIndexBuffer);
    glDeleteBuffers(1, &VertexBuffer);
}

void JetExhaustGL::BuildPrograms(const std::array<std::string, JetExhaustPassCount * 2>& Overrides,
                                 std::string& Status)
{
    DeletePrograms();
    for (int i = 0; i < JetExhaustPassCount; ++i)
    {
        const JetExhaustPass pass = static_cast<JetExhaustPass>(i);
        const JetExhaustShaderSource& source = GetJetExhaustShaderSource(pass);
        const std::string& vertex = Overrides[i * 2].empty() ? std::string(source.Vertex) : Overrides[i * 2];
        const std::string& fragment =
            Overrides[i * 2 + 1].empty() ? std::string(source.Fragment) : Overrides[i * 2 + 1];
        std::string failure;
        Programs[i] = BuildJetExhaustProgram(pass, vertex, fragment, failure);
        if (Status.empty())
            Status = failure;
    }
    bProgramsBuilt = true;
}

void JetExhaustGL::DeletePrograms()
{
    for (GLuint& program : Programs)
    {
        if (program != 0)
            glDeleteProgram(program);
        program = 0;
    }
    bProgramsBuilt = false;
}

void JetExhaustGL::BindTarget(JetExhaustTargets::Target Which, bool bClear)
{
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, Targets.GetFramebuffer(Which));
    glViewport(0, 0, Targets.GetWidth(Which), Targets.GetHeight(Which));
    if (!bClear)
        return;
    glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
    glClear(GL_COLOR_BUFFER_BIT);
}

void JetExhaustGL::DrawFullScreen() const
{
    glBindVertexArray(FullScreenArray);
    glDrawArrays(GL_TRIANGLES, 0, 3);
}

void JetExhaustGL::UseParticleProgram(GLuint Program, const JetExhaustPassFrame& Frame) const
{
    glUseProgram(Program);
    glUniformMatrix4fv(Uniform(Program, "ViewProjection"), 1, GL_FALSE, Frame.pInput->ViewProjection.data());
    glUniform3fv(Uniform(Program, "CameraRight"), 1, Frame.CameraRight);
    glUniform3fv(Uniform(Program, "CameraUp"), 1, Frame.CameraUp);
    const float fogDensity =
        Frame.Work.bDepthFog ? Frame.pSettings->DepthFogStrength / Frame.pInput->FogRangeWorld : 0.0f;
    glUniform1f(Uniform(Program, "FogDensity"), fogDensity);
}

void JetExhaustGL::DrawParticles(JetExhaustTargets::Target Into, int Count)
{
    BindTarget(Into, true);
    // Light adds up, so the draw order of the billboards does not matter and needs no sorting.
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    glBindVertexArray(ParticleArray);
    glDrawElements(GL_TRIANGLES, Count * 6, GL_UNSIGNED_INT, nullptr);
}

void JetExhaustGL::ClearPlume()
{
    BindTarget(JetExhaustTargets::Plume, true);
}

void JetExhaustGL::BuildParticles(const JetExhaustPassFrame& Frame)
{
    PlumeParticleCount = BuildJetExhaustParticles(Frame.pInput->Emitters, Frame.Work,
                                                  Frame.pInput->PlumeLength * Frame.pSettings->LengthScale,
                                                  Frame.pInput->TimeSec, Particles);
}

bool JetExhaustGL::FindVisibleRect(JetExhaustPassFrame& Frame) const
{
    // The blur spreads light this many bloom texels; the heat moves the background by its amplitude.
    const int blurTexels = Frame.Work.BlurIterations * (Frame.Work.BlurTaps / 2) + 2;
    const int divisor = std::max(Frame.Work.BloomDivisor, 1);
    const float heatUv = ShimmerAmplitudeUv * Frame.pSettings->DistortionScale;
    const float marginU =
        static_cast<float>(blurTexels * divisor) / Targets.GetWidth(JetExhaustTargets::Plume) + heatUv;
    const float marginV =
        static_cast<float>(blurTexels * divisor) / Targets.GetHeight(JetExhaustTargets::Plume) + heatUv;
    return FindJetExhaustScreenRect(Particles, Frame.pInput->ViewProjection, marginU, marginV,
                                    Frame.VisibleUv);
}

void JetExhaustGL::ScissorVisible(const JetExhaustPassFrame& Frame, int XPx, int YPx, int WidthPx,
                                  int HeightPx)
{
    const float* uv = Frame.VisibleUv;
    const int left = static_cast<int>(std::floor(uv[0] * WidthPx)),
              bottom = static_cast<int>(std::floor(uv[1] * HeightPx));
    const int right = static_cast<int>(std::ceil(uv[2] * WidthPx)),
              top = static_cast<int>(std::ceil(uv[3] * HeightPx));
    glEnable(GL_SCISSOR_TEST);
    glScissor(XPx + left, YPx + bottom, right - left, top - bottom);
}

void JetExhaustGL::UploadQuads()
{
    // The corners in triangle-strip order: triangles 0 1 2 and 2 1 3 cover what the strip would.
    static constexpr float Corners[4][2] = {{-1.0f, -1.0f}, {1.0f, -1.0f}, {-1.0f, 1.0f}, {1.0f, 1.0f}};
    Vertices.clear();
    Vertices.reserve(Particles.size() * 4);
    for (const JetExhaustParticle& particle : Particles)
        for (const auto& corner : Corners)
            Vertices.push_back({{corner[0], corner[1]}, particle});
    glBindVertexArray(ParticleArray);
    if (QuadIndexCapacity < Particles.size())
    {
        std::vector<GLuint> indices;
        indices.reserve(Particles.size() * 6);
        for (GLuint quad = 0; quad < Particles.size(); ++quad)
            for (GLuint corner : {0U, 1U, 2U, 2U, 1U, 3U})
                indices.push_back(quad * 4 + corner);
        glBufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(indices.size() * sizeof(GLuint)),
                     indices.data(), GL_STATIC_DRAW);
        QuadIndexCapacity = Particles.size();
    }
    glBindBuffer(GL_ARRAY_BUFFER, VertexBuffer);
    // Orphan last frame's storage so the upload does not wait for draws still reading it.
    const GLsizeiptr bytes = static_cast<GLsizeiptr>(Vertices.size() * sizeof(ParticleVertex));
    glBufferData(GL_ARRAY_BUFFER, bytes, nullptr, GL_STREAM_DRAW);
    glBufferSubData(GL_ARRAY_BUFFER, 0, bytes, Vertices.data());
}

void JetExhaustGL::RunScenePass(const JetExhaustPassFrame& Frame)
{
    UploadQuads();
    const GLuint program = Programs[static_cast<int>(JetExhaustPass::Scene)];
    UseParticleProgram(program, Frame);
    glUniform1f(Uniform(program, "Brightness"), Frame.pSettings->BrightnessScale);
    glUniform3fv(Uniform(program, "FogColour"), 1, FogColour);
    DrawParticles(JetExhaustTargets::Plume, static_cast<int>(Particles.size()));
}

void JetExhaustGL::RunMaskPass(const JetExhaustPassFrame& Frame)
{
    const GLuint program = Programs[static_cast<int>(JetExhaustPass::Mask)];
    UseParticleProgram(program, Frame);
    glUniform1f(Uniform(program, "Strength"), MaskStrength);
    DrawParticles(JetExhaustTargets::Mask, PlumeParticleCount);
}

void JetExhaustGL::RunShimmerPass(const JetExhaustPassFrame& Frame)
{
    // The heat bends what lies behind it, so copy the scene under the viewport first.
    const JetExhaustFrameInput& input = *Frame.pInput;
    // Only where heat can be: outside, the composite adds nothing from this target.
    ScissorVisible(Frame, 0, 0, Targets.GetWidth(JetExhaustTargets::Shimmer),
                   Targets.GetHeight(JetExhaustTargets::Shimmer));
    glBindFramebuffer(GL_READ_FRAMEBUFFER, Frame.OutputFramebuffer);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, Targets.GetFramebuffer(JetExhaustTargets::Background));
    glBlitFramebuffer(input.ViewportXPx, input.ViewportYPx, input.ViewportXPx + input.ViewportWidthPx,
                      input.ViewportYPx + input.ViewportHeightPx, 0, 0,
                      Targets.GetWidth(JetExhaustTargets::Background),
                      Targets.GetHeight(JetExhaustTargets::Background), GL_COLOR_BUFFER_BIT, GL_LINEAR);
    BindTarget(JetExhaustTargets::Shimmer, false);
    glDisable(GL_BLEND);
    const GLuint program = Programs[static_cast<int>(JetExhaustPass::Shimmer)];
    glUseProgram(program);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, Targets.GetTexture(JetExhaustTargets::Background));
    glActiveTexture(GL_TEXTURE1);
    glBindTexture(GL_TEXTURE_2D, Targets.GetTexture(JetExhaustTargets::Mask));
    glUniform1i(Uniform(program, "Background"), 0);
    glUniform1i(Uniform(program, "Mask"), 1);
    // Wrapped so the sines keep their precision in a long session.
    glUniform1f(Uniform(program, "TimeSec"), static_cast<float>(std::fmod(input.TimeSec, 3600.0)));
    glUniform1f(Uniform(program, "AmplitudeUv"), ShimmerAmplitudeUv * Frame.pSettings->DistortionScale);
    DrawFullScreen();
    glDisable(GL_SCISSOR_TEST);
}

void JetExhaustGL::BlurInto(JetExhaustTargets::Target From, JetExhaustTargets::Target Into, float StepX,
                            float StepY, int Taps, float Threshold)
{
    BindTarget(Into, false);
    const GLuint program = Programs[static_cast<int>(JetExhaustPass::Bloom)];
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, Targets.GetTexture(From));
    glUniform2f(Uniform(program, "Step"), StepX, StepY);
    glUniform1i(Uniform(program, "Taps"), Taps);
    glUniform1f(Uniform(program, "Threshold"), Threshold);
    DrawFullScreen();
}

void JetExhaustGL::RunBloomPass(const JetExhaustPassFrame& Frame)
{
    using T = JetExhaustTargets;
    glDisable(GL_BLEND);
    const GLuint program = Programs[static_cast<int>(JetExhaustPass::Bloom)];
    glUseProgram(program);
    glUniform1i(Uniform(program, "Source"), 0);
    const float bloomTexelX = 1.0f / static_cast<float>(Targets.GetWidth(T::BloomA));
    const float bloomTexelY = 1.0f / static_cast<float>(Targets.GetHeight(T::BloomA));
    // The blur runs only around the plumes: the rest of both targets is dark, and stays so.
    for (T::Target target : {T::BloomA, T::BloomB})
        BindTarget(target, true);
    ScissorVisible(Frame, 0, 0, Targets.GetWidth(T::BloomA), Targets.GetHeight(T::BloomA));
    // The first run reads the full-size plume, steps a bloom texel wide and cuts the dim light; the
    // result always ends in BloomB.
    for (int i = 0; i < Frame.Work.BlurIterations; ++i)
    {
        const bool bFirst = i == 0;
        BlurInto(bFirst ? T::Plume : T::BloomB, T::BloomA, bloomTexelX, 0.0f, Frame.Work.BlurTaps,
                 bFirst ? BloomThreshold : 0.0f);
        BlurInto(T::BloomA, T::BloomB, 0.0f, bloomTexelY, Frame.Work.BlurTaps, 0.0f);
    }
    glDisable(GL_SCISSOR_TEST);
}

void JetExhaustGL::RunCompositePass(const JetExhaustPassFrame& Frame)
{
    using T = JetExhaustTargets;
    const JetExhaustFrameInput& input = *Frame.pInput;
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, Frame.OutputFramebuffer);
    glViewport(input.ViewportXPx, input.ViewportYPx, input.ViewportWidthPx, input.ViewportHeightPx);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    const GLuint program = Programs[static_cast<int>(JetExhaustPass::Composite)];
    glUseProgram(program);
    const bool bShimmer = Frame.Work.bShimmer && Targets.Has(T::Shimmer);
    const bool bBloom = Frame.Work.BlurIterations > 0 && Targets.Has(T::BloomB);
    const T::Target sources[3] = {T::Plume, T::Shimmer, T::BloomB};
    const bool bBound[3] = {true, bShimmer, bBloom};
    for (int unit = 0; unit < 3; ++unit)
    {
        glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
        glBindTexture(GL_TEXTURE_2D, bBound[unit] ? Targets.GetTexture(sources[unit]) : 0);
    }
    glUniform1i(Uniform(program, "Plume"), 0);
    glUniform1i(Uniform(program, "Shimmer"), 1);
    glUniform1i(Uniform(program, "Bloom"), 2);
    glUniform1i(Uniform(program, "bShimmer"), bShimmer ? 1 : 0);
    glUniform1i(Uniform(program, "bBloom"), bBloom ? 1 : 0);
    glUniform1f(Uniform(program, "BloomStrength"), 0.8f * Frame.pSettings->BrightnessScale);
    ScissorVisible(Frame, input.ViewportXPx, input.ViewportYPx, input.ViewportWidthPx,
                   input.ViewportHeightPx);
    DrawFullScreen();
    glDisable(GL_SCISSOR_TEST);
}
