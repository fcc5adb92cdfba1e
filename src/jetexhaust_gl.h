#pragma once

#include <array>
#include <string>
#include <vector>

#include <epoxy/gl.h>

#include "jetexhaust.h"
#include "jetexhaust_particles.h"
#include "jetexhaust_targets.h"
#include "jetexhaust_timers.h"

// What the passes of one frame share.
struct JetExhaustPassFrame
{
    const JetExhaustFrameInput* pInput = nullptr;
    const JetExhaustDebugSettings* pSettings = nullptr;
    JetExhaustWork Work;
    GLuint OutputFramebuffer = 0; // bound at Render: read for the shimmer, drawn on by the composite
    float CameraRight[3] = {1.0f, 0.0f, 0.0f};
    float CameraUp[3] = {0.0f, 1.0f, 0.0f};
    // Where the billboards, their glow and their heat can show (0..1 of the viewport, left, bottom,
    // right, top): the screen-wide passes work there only.
    float VisibleUv[4] = {0.0f, 0.0f, 1.0f, 1.0f};
};

// One corner of a particle's quad: where on the quad (-1..1 across and up) and the particle.
struct ParticleVertex
{
    float Corner[2];
    JetExhaustParticle Particle;
};

// The effect's GL objects and the five passes. Created at the first Render with a context current;
// the destructor frees the GL objects only while a context is current.
class JetExhaustGL
{
  public:
    JetExhaustGL();
    JetExhaustGL(const JetExhaustGL&) = delete;
    JetExhaustGL& operator=(const JetExhaustGL&) = delete;
    ~JetExhaustGL();

    // Compiles every program; Status gets the first failure in pass order, or stays empty.
    void BuildPrograms(const std::array<std::string, JetExhaustPassCount * 2>& Overrides,
                       std::string& Status);
    void DeletePrograms();
    bool HasProgram(JetExhaustPass Pass) const { return Programs[static_cast<int>(Pass)] != 0; }
    bool AreProgramsBuilt() const { return bProgramsBuilt; }

    // Fills Particles for the frame; the scene and mask passes draw them.
    void BuildParticles(const JetExhaustPassFrame& Frame);
    // Sets Frame.VisibleUv around the particles, with room for the blur and the heat's
    // displacement; false when none is in view.
    bool FindVisibleRect(JetExhaustPassFrame& Frame) const;
    void RunScenePass(const JetExhaustPassFrame& Frame);
    void RunMaskPass(const JetExhaustPassFrame& Frame);
    void RunShimmerPass(const JetExhaustPassFrame& Frame);
    void RunBloomPass(const JetExhaustPassFrame& Frame);
    void RunCompositePass(const JetExhaustPassFrame& Frame);
    // Empties the plume target when the scene pass cannot draw, so the composite shows no stale flame.
    void ClearPlume();

    JetExhaustTargets Targets;
    JetExhaustGpuTimers Timers;
    std::vector<JetExhaustParticle> Particles;
    int PlumeParticleCount = 0; // the first ones in Particles

  private:
    void UseParticleProgram(GLuint Program, const JetExhaustPassFrame& Frame) const;
    // Uploads the particles as quads, for the scene pass and then the mask pass.
    void UploadQuads();
    void DrawParticles(JetExhaustTargets::Target Into, int Count);
    void BindTarget(JetExhaustTargets::Target Which, bool bClear);
    void BlurInto(JetExhaustTargets::Target From, JetExhaustTargets::Target Into, float StepX, float StepY,
                  int Taps, float Threshold);
    void DrawFullScreen() const;
    // Limits drawing to the frame's visible part of a WidthPx x HeightPx area at (XPx, YPx).
    static void ScissorVisible(const JetExhaustPassFrame& Frame, int XPx, int YPx, int WidthPx, int HeightPx);

    GLuint Programs[JetExhaustPassCount] = {};
    bool bProgramsBuilt = false;
    GLuint ParticleArray = 0, QuadIndexBuffer = 0, VertexBuffer = 0;
    std::size_t QuadIndexCapacity = 0; // quads the index buffer holds
    std::vector<ParticleVertex> Vertices;
    GLuint FullScreenArray = 0; // attribute-less: the vertex shader derives the triangle
};
