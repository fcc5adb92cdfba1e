#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

enum class JetExhaustQuality : std::int32_t
{
    Low = 0,
    Medium = 1,
    High = 2
};

struct JetExhaustDebugSettings
{
    bool Enabled = true;
    bool ShimmerEnabled = true;
    bool BloomEnabled = true;
    bool DepthFogEnabled = true;
    bool ContrailsEnabled = true;
    float DepthFogStrength = 0.5f;
    bool ShowAttachments = false;
    JetExhaustQuality Quality = JetExhaustQuality::Medium;
    float LengthScale = 1.0f;
    float BrightnessScale = 1.0f;
    float DistortionScale = 1.0f;
};

// One engine nozzle: where the exhaust leaves the aircraft and which way the aircraft flies. The
// plume streams opposite to Direction, which may have any non-zero length.
struct JetExhaustEmitter
{
    float Position[3] = {};
    float Direction[3] = {0.0f, 0.0f, 1.0f};
};

// What one effects frame needs from the viewport.
struct JetExhaustFrameInput
{
    std::vector<JetExhaustEmitter> Emitters;
    std::array<float, 16> ViewProjection{}; // world to clip space, column-major
    // The viewport inside the framebuffer bound at Render, in GL pixels from the lower left.
    int ViewportXPx = 0;
    int ViewportYPx = 0;
    int ViewportWidthPx = 0;
    int ViewportHeightPx = 0;
    float Scale = 0.75f;           // the effect targets' size as a fraction of the viewport's
    double TimeSec = 0.0;          // animation clock; only differences matter
    float PlumeLength = 60.0f;     // world units at LengthScale 1
    float FogRangeWorld = 4000.0f; // distance at which depth fog hides 63 % of a plume at strength 1
};

// The five passes in the order they run; the figures are indexed by them.
enum class JetExhaustPass : int
{
    Scene = 0,     // plume and contrail billboards into the colour target
    Mask = 1,      // heat of the hot plume cores into the distortion mask
    Shimmer = 2,   // the background behind the heat, displaced by the mask
    Bloom = 3,     // bright parts blurred in a smaller target
    Composite = 4, // all of it blended onto the framebuffer bound at Render
};
constexpr int JetExhaustPassCount = 5;

enum class JetExhaustShaderStage : int
{
    Vertex = 0,
    Fragment = 1
};

// Measured figures of the last Render.
struct JetExhaustFigures
{
    int TargetWidth = 0; // the full-size effect targets, pixels
    int TargetHeight = 0;
    double CpuMs[JetExhaustPassCount] = {}; // this frame's CPU time per pass; 0 for a pass that did not run
    // GPU time per pass of the newest frame whose timer queries had finished, one to a few frames
    // back, so reading them never waits for the GPU. bGpuTimesValid stays false until one finished.
    double GpuMs[JetExhaustPassCount] = {};
    bool bGpuTimesValid = false;
    bool bPassRan[JetExhaustPassCount] = {};
    std::uint64_t MemoryBytes = 0; // every texture the effect holds
    double MemoryMiB = 0.0;
    int ParticleCount = 0;  // billboards drawn by the scene pass
    int BlurIterations = 0; // horizontal plus vertical blur pairs of the bloom pass
    std::string StatusText; // "Shader ..." or "Composite link ..." on a failure
};

class JetExhaustGL;

// Jet-exhaust effects of the aircraft.
//
// Per drawn frame, after the 3D scene and before the 2D overlays, with the scene's framebuffer
// bound and the GL context current:
//
//     JetExhaustFigures figures;
//     if (JetExhaust.Render(input, figures)) { copy figures into the viewport's JetEffects* fields }
//
// GL resources are created at the first Render, so the object can live without a context.
class JetExhaustSystem
{
  public:
    JetExhaustSystem();
    ~JetExhaustSystem();
    JetExhaustSystem(const JetExhaustSystem&) = delete;
    JetExhaustSystem& operator=(const JetExhaustSystem&) = delete;

    const JetExhaustDebugSettings& Debug() const { return Settings; }
    JetExhaustDebugSettings& Debug() { return Settings; }

    // Runs the five passes and blends the plumes onto the framebuffer bound at the call, inside the
    // input's viewport; restores the GL state it changes. Returns false and leaves Figures untouched
    // for an empty viewport, a scale that is not positive and finite, or a non-finite matrix.
    bool Render(const JetExhaustFrameInput& Input, JetExhaustFigures& Figures);
    // Compiles every shader again at the next Render (Ctrl+Shift+R).
    void ReloadShaders();
    // Switches the whole effect on or off (Ctrl+Shift+L); off frees the effect targets.
    void ToggleEnabled();
    // Frees every GL object; needs the context current. A later Render creates them again.
    void ReleaseGL();

    // --- Test hooks (the application does not call these) ---
    // Replaces the built-in source of one shader from the next compile on; an empty source brings
    // the built-in one back. Lets a broken shader be tried without editing the program.
    void SetShaderSourceOverride(JetExhaustPass Pass, JetExhaustShaderStage Stage, std::string Source);
    // GL names of the textures the effect holds now, so their sizes can be checked.
    std::vector<unsigned int> GetTargetTextures() const;

  private:
    JetExhaustDebugSettings Settings;
    std::unique_ptr<JetExhaustGL> pGL;
    std::array<std::string, JetExhaustPassCount * 2> ShaderOverrides;
    std::string Status; // the last build's outcome, kept until the shaders are built again
    bool bShadersReloaded = false;
};
