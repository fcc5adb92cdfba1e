#include "terrain_textures_gl.h"

namespace
{
constexpr const char* Keys[] = {"detailTex", "specularTex", "splatDistrTex", "splatDetailTex"};
constexpr const char* SamplerNames[] = {"DetailTex", "SpecularTex", "SplatDistrTex", "SplatDetailTex"};
} // namespace

std::string TerrainTexturesGL::GetDefines(const std::vector<SpringMapTexture>& From)
{
    const auto has = [&](int slot) { return SpringMapTextures::FindImage(From, Keys[slot]) != nullptr; };
    const int detailMode = has(SplatDistr) && has(SplatDetail) ? 2 : has(Detail) ? 1 : 0;
    return "#define DETAIL_MODE " + std::to_string(detailMode) + "\n#define SPECULAR " +
           std::to_string(has(Specular) ? 1 : 0) + "\n";
}

void TerrainTexturesGL::Locate(GLuint Program)
{
    for (int slot = 0; slot < SlotCount; ++slot)
        Samplers[slot] = glGetUniformLocation(Program, SamplerNames[slot]);
    MapExtent = glGetUniformLocation(Program, "MapExtent");
    SplatScales = glGetUniformLocation(Program, "SplatScales");
    SplatMults = glGetUniformLocation(Program, "SplatMults");
    SpecularExponent = glGetUniformLocation(Program, "SpecularExponent");
    GroundSpecular = glGetUniformLocation(Program, "GroundSpecular");
}

void TerrainTexturesGL::Upload(const std::vector<SpringMapTexture>& From)
{
    Release();
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    for (int slot = 0; slot < SlotCount; ++slot)
    {
        const SpringMapImage* pImage = SpringMapTextures::FindImage(From, Keys[slot]);
        if (!pImage)
            continue;
        glGenTextures(1, &Textures[slot]);
        glBindTexture(GL_TEXTURE_2D, Textures[slot]);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, pImage->Width, pImage->Height, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                     pImage->Rgba.data());
        glGenerateMipmap(GL_TEXTURE_2D);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        // Detail textures repeat over the ground; the others span the map once.
        const GLint wrap = slot == Detail || slot == SplatDetail ? GL_REPEAT : GL_CLAMP_TO_EDGE;
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, wrap);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, wrap);
    }
    glBindTexture(GL_TEXTURE_2D, 0);
}

void TerrainTexturesGL::Apply(const SpringMapLook& Look, float WorldWidth, float WorldDepth) const
{
    for (int slot = 0; slot < SlotCount; ++slot)
    {
        glActiveTexture(GL_TEXTURE0 + FirstUnit + slot);
        glBindTexture(GL_TEXTURE_2D, Textures[slot]);
        glUniform1i(Samplers[slot], FirstUnit + slot);
    }
    glActiveTexture(GL_TEXTURE0);
    glUniform2f(MapExtent, WorldWidth, WorldDepth);
    glUniform4fv(SplatScales, 1, Look.SplatTexScales.data());
    glUniform4fv(SplatMults, 1, Look.SplatTexMults.data());
    glUniform1f(SpecularExponent, Look.SpecularExponent);
    glUniform3fv(GroundSpecular, 1, Look.GroundSpecular.data());
}

void TerrainTexturesGL::Release()
{
    for (GLuint& texture : Textures)
        if (texture)
            glDeleteTextures(1, &texture), texture = 0;
}
