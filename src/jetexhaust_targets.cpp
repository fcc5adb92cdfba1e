#include "jetexhaust_targets.h"

#include <algorithm>

#include "gltexture.h"

namespace
{
struct Format
{
    GLenum Internal;
    GLenum Type;
    int BytesPerPixel;
    bool bBloomSize;
};

constexpr Format Formats[JetExhaustTargets::Count] = {
    {GL_RGBA16F, GL_HALF_FLOAT, 8, false},  {GL_R8, GL_UNSIGNED_BYTE, 1, false},
    {GL_RGBA8, GL_UNSIGNED_BYTE, 4, false}, {GL_RGBA8, GL_UNSIGNED_BYTE, 4, false},
    {GL_RGBA16F, GL_HALF_FLOAT, 8, true},   {GL_RGBA16F, GL_HALF_FLOAT, 8, true},
};
} // namespace

JetExhaustTargets::~JetExhaustTargets()
{
    Release();
}

void JetExhaustTargets::ReleaseOne(int Which)
{
    if (Framebuffers[Which] != 0)
        glDeleteFramebuffers(1, &Framebuffers[Which]);
    if (Textures[Which] != 0)
        glDeleteTextures(1, &Textures[Which]);
    Framebuffers[Which] = 0;
    Textures[Which] = 0;
    Widths[Which] = 0;
    Heights[Which] = 0;
}

void JetExhaustTargets::Release()
{
    for (int i = 0; i < Count; ++i)
        ReleaseOne(i);
}

bool JetExhaustTargets::CreateOne(int Which, int WidthPx, int HeightPx)
{
    const Format& format = Formats[Which];
    glGenTextures(1, &Textures[Which]);
    glBindTexture(GL_TEXTURE_2D, Textures[Which]);
    const GLenum layout = format.Internal == GL_R8 ? GL_RED : GL_RGBA;
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(format.Internal), WidthPx, HeightPx, 0, layout,
                 format.Type, nullptr);
    // Linear filtering does the upscaling in the composite and the cheap half-texel taps of the blur.
    SetBoundTextureSampling(GL_LINEAR, GL_LINEAR);
    glGenFramebuffers(1, &Framebuffers[Which]);
    glBindFramebuffer(GL_FRAMEBUFFER, Framebuffers[Which]);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, Textures[Which], 0);
    Widths[Which] = WidthPx;
    Heights[Which] = HeightPx;
    return glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

bool JetExhaustTargets::Update(int WidthPx, int HeightPx, int BloomDivisor, unsigned NeededMask)
{
    const int divisor = std::max(BloomDivisor, 1);
    const int bloomWidth = (WidthPx + divisor - 1) / divisor,
              bloomHeight = (HeightPx + divisor - 1) / divisor;
    GLint previousTexture = 0, previousFramebuffer = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &previousTexture);
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &previousFramebuffer);
    bool bComplete = true;
    for (int i = 0; i < Count && bComplete; ++i)
    {
        const int w = Formats[i].bBloomSize ? bloomWidth : WidthPx;
        const int h = Formats[i].bBloomSize ? bloomHeight : HeightPx;
        const bool bNeeded = (NeededMask & (1U << i)) != 0;
        if (Textures[i] != 0 && (!bNeeded || Widths[i] != w || Heights[i] != h))
            ReleaseOne(i);
        if (bNeeded && Textures[i] == 0)
            bComplete = CreateOne(i, w, h);
    }
    glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(previousTexture));
    glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(previousFramebuffer));
    if (!bComplete)
        Release();
    return bComplete;
}

std::uint64_t JetExhaustTargets::GetMemoryBytes() const
{
    std::uint64_t bytes = 0;
    for (int i = 0; i < Count; ++i)
        bytes += static_cast<std::uint64_t>(Widths[i]) * static_cast<std::uint64_t>(Heights[i]) *
                 static_cast<std::uint64_t>(Formats[i].BytesPerPixel);
    return bytes;
}

std::vector<GLuint> JetExhaustTargets::GetTextures() const
{
    std::vector<GLuint> textures;
    for (GLuint texture : Textures)
        if (texture != 0)
            textures.push_back(texture);
    return textures;
}
