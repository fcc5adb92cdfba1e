#pragma once

#include <cstdint>
#include <vector>

#include <epoxy/gl.h>

// The effect's offscreen colour targets, each a texture with its own framebuffer. Only the targets
// the enabled features need are held, so the memory figure follows the switches.
class JetExhaustTargets
{
  public:
    enum Target : int
    {
        Plume = 0,  // RGBA16F, full size: flame light and coverage from the scene pass
        Mask,       // R8, full size: heat
        Background, // RGBA8, full size: copy of the framebuffer behind the effect
        Shimmer,    // RGBA8, full size: displaced background, premultiplied by heat
        BloomA,     // RGBA16F, bloom size: blur ping
        BloomB,     // RGBA16F, bloom size: blur pong
        Count
    };

    JetExhaustTargets() = default;
    JetExhaustTargets(const JetExhaustTargets&) = delete;
    JetExhaustTargets& operator=(const JetExhaustTargets&) = delete;
    ~JetExhaustTargets();

    // Holds exactly the targets with their bit set in NeededMask (1 << Target), full-size ones at
    // WidthPx x HeightPx and bloom ones divided by BloomDivisor per axis, rounded up. Targets whose
    // size already matches are kept. False, with everything freed, when GL refuses a framebuffer.
    bool Update(int WidthPx, int HeightPx, int BloomDivisor, unsigned NeededMask);
    void Release();

    bool Has(Target Which) const { return Textures[Which] != 0; }
    GLuint GetTexture(Target Which) const { return Textures[Which]; }
    GLuint GetFramebuffer(Target Which) const { return Framebuffers[Which]; }
    int GetWidth(Target Which) const { return Widths[Which]; }
    int GetHeight(Target Which) const { return Heights[Which]; }
    // Bytes of every texture held: width x height x bytes per pixel of its format.
    std::uint64_t GetMemoryBytes() const;
    std::vector<GLuint> GetTextures() const;

  private:
    void ReleaseOne(int Which);
    bool CreateOne(int Which, int WidthPx, int HeightPx);

    GLuint Textures[Count] = {};
    GLuint Framebuffers[Count] = {};
    int Widths[Count] = {};
    int Heights[Count] = {};
};
