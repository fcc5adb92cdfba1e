#include "ttf_gl.h"

#include <algorithm>
#include <cmath>

#include <ft2build.h>
#include FT_FREETYPE_H

#include "gltexture.h"

namespace
{
constexpr std::uint32_t ReplacementChar = 0xFFFD;
} // namespace

std::vector<std::uint32_t> DecodeUtf8(const std::string& Text)
{
    std::vector<std::uint32_t> out;
    out.reserve(Text.size());
    std::size_t i = 0;
    while (i < Text.size())
    {
        const unsigned char lead = static_cast<unsigned char>(Text[i]);
        if (lead < 0x80)
        {
            out.push_back(lead);
            ++i;
            continue;
        }
        std::size_t extra = 0;
        std::uint32_t cp = 0, minimum = 0;
        if ((lead & 0xE0) == 0xC0)
            extra = 1, cp = lead & 0x1Fu, minimum = 0x80;
        else if ((lead & 0xF0) == 0xE0)
            extra = 2, cp = lead & 0x0Fu, minimum = 0x800;
        else if ((lead & 0xF8) == 0xF0)
            extra = 3, cp = lead & 0x07u, minimum = 0x10000;
        bool bValid = extra > 0 && i + extra < Text.size();
        for (std::size_t k = 1; bValid && k <= extra; ++k)
        {
            const unsigned char next = static_cast<unsigned char>(Text[i + k]);
            bValid = (next & 0xC0) == 0x80;
            cp = (cp << 6) | (next & 0x3Fu);
        }
        // Overlong forms, surrogates and values past U+10FFFF are not characters.
        bValid = bValid && cp >= minimum && cp <= 0x10FFFF && !(cp >= 0xD800 && cp <= 0xDFFF);
        out.push_back(bValid ? cp : ReplacementChar);
        i += bValid ? extra + 1 : 1;
    }
    return out;
}

TTFGL::~TTFGL()
{
    if (AtlasTexture)
        glDeleteTextures(1, &AtlasTexture);
    if (Face)
        FT_Done_Face(static_cast<FT_Face>(Face));
    if (Library)
        FT_Done_FreeType(static_cast<FT_Library>(Library));
}

bool TTFGL::Create(const std::string& FontPath, std::string& Error)
{
    FT_Library library = nullptr;
    if (FT_Init_FreeType(&library) != 0)
    {
        Error = "FreeType could not be initialised";
        return false;
    }
    Library = library;
    FT_Face face = nullptr;
    if (FT_New_Face(library, FontPath.c_str(), 0, &face) != 0)
    {
        Error = "cannot load font " + FontPath + " (install fonts-dejavu-core)";
        return false;
    }
    Face = face;
    if (!OwnBatch.Create(Error))
        return false;
    glGenTextures(1, &AtlasTexture);
    glBindTexture(GL_TEXTURE_2D, AtlasTexture);
    SetBoundTextureSampling(GL_NEAREST, GL_NEAREST);
    ResetAtlas();
    return true;
}

void TTFGL::ResetAtlas()
{
    const std::vector<unsigned char> blank(static_cast<std::size_t>(AtlasSizePx) * AtlasSizePx, 0);
    glBindTexture(GL_TEXTURE_2D, AtlasTexture);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_R8, AtlasSizePx, AtlasSizePx, 0, GL_RED, GL_UNSIGNED_BYTE,
                 blank.data());
    Glyphs.clear();
    // The first texel is fully covered: solid shapes sample it (2x2 so no filtering reaches past it).
    const unsigned char solid[4] = {255, 255, 255, 255};
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 2, 2, GL_RED, GL_UNSIGNED_BYTE, solid);
    ShelfX = 3;
    ShelfY = 0;
    ShelfHeight = 2;
}

bool TTFGL::PlaceInAtlas(int WidthPx, int HeightPx, int& X, int& Y)
{
    // Shelf packing with a one-pixel gap so linear sampling could never bleed between glyphs.
    if (ShelfX + WidthPx + 1 > AtlasSizePx)
    {
        ShelfY += ShelfHeight + 1;
        ShelfX = 0;
        ShelfHeight = 0;
    }
    if (WidthPx + 1 > AtlasSizePx || ShelfY + HeightPx + 1 > AtlasSizePx)
        return false;
    X = ShelfX;
    Y = ShelfY;
    ShelfX += WidthPx + 1;
    ShelfHeight = std::max(ShelfHeight, HeightPx);
    return true;
}

const TTFGL::Glyph* TTFGL::FindGlyph(std::uint32_t CodePoint, int SizePx)
{
    const auto key = std::make_pair(SizePx, CodePoint);
    if (auto found = Glyphs.find(key); found != Glyphs.end())
        return &found->second;
    FT_Face face = static_cast<FT_Face>(Face);
    if (FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(SizePx)) != 0 ||
        FT_Load_Char(face, CodePoint, FT_LOAD_RENDER) != 0)
        return nullptr;
    const FT_Bitmap& bitmap = face->glyph->bitmap;
    Glyph glyph;
    glyph.WidthPx = static_cast<int>(bitmap.width);
    glyph.HeightPx = static_cast<int>(bitmap.rows);
    glyph.BearingXPx = face->glyph->bitmap_left;
    glyph.BearingYPx = face->glyph->bitmap_top;
    glyph.AdvancePx = static_cast<int>(face->glyph->advance.x >> 6);
    if (glyph.WidthPx > 0 && glyph.HeightPx > 0)
    {
        if (!PlaceInAtlas(glyph.WidthPx, glyph.HeightPx, glyph.AtlasX, glyph.AtlasY))
        {
            // A full atlas starts over; glyphs already batched this frame may show wrong texels for
            // this one frame, and come back right on the next.
            ResetAtlas();
            if (!PlaceInAtlas(glyph.WidthPx, glyph.HeightPx, glyph.AtlasX, glyph.AtlasY))
                return nullptr;
        }
        glBindTexture(GL_TEXTURE_2D, AtlasTexture);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, bitmap.pitch);
        glTexSubImage2D(GL_TEXTURE_2D, 0, glyph.AtlasX, glyph.AtlasY, glyph.WidthPx, glyph.HeightPx, GL_RED,
                        GL_UNSIGNED_BYTE, bitmap.buffer);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    }
    return &Glyphs.emplace(key, glyph).first->second;
}

void TTFGL::AppendText(const std::vector<TTFTextCall>& Calls, int WidthPx, int HeightPx, Batch2DGL& Batch)
{
    if (!Face || WidthPx <= 0 || HeightPx <= 0)
        return;
    const float unitsPerPxX = 2.0f / static_cast<float>(WidthPx);
    const float unitsPerPxY = 2.0f / static_cast<float>(HeightPx);
    const float texelSize = 1.0f / AtlasSizePx;
    for (const TTFTextCall& call : Calls)
    {
        if (call.SizePx <= 0 || call.SizePx > 512)
            continue;
        // Snap the baseline to whole pixels: glyph bitmaps are pixel exact only there.
        float penXPx = std::round((call.X + 1.0f) / unitsPerPxX);
        const float baselineYPx = std::round((call.Y + 1.0f) / unitsPerPxY);
        for (std::uint32_t cp : DecodeUtf8(call.Text))
        {
            const Glyph* glyph = FindGlyph(cp, call.SizePx);
            if (!glyph)
                continue;
            if (glyph->WidthPx > 0)
            {
                const float x1 = (penXPx + glyph->BearingXPx) * unitsPerPxX - 1.0f;
                const float x2 = x1 + glyph->WidthPx * unitsPerPxX;
                const float y1 = (baselineYPx + glyph->BearingYPx) * unitsPerPxY - 1.0f;
                const float y2 = y1 - glyph->HeightPx * unitsPerPxY;
                const float u1 = glyph->AtlasX * texelSize, u2 = (glyph->AtlasX + glyph->WidthPx) * texelSize;
                const float v1 = glyph->AtlasY * texelSize,
                            v2 = (glyph->AtlasY + glyph->HeightPx) * texelSize;
                const float xs[4] = {x1, x2, x2, x1}, ys[4] = {y1, y1, y2, y2};
                const float us[4] = {u1, u2, u2, u1}, vs[4] = {v1, v1, v2, v2};
                Batch.AddQuad(xs, ys, us, vs, call.R, call.G, call.B, call.A);
            }
            penXPx += static_cast<float>(glyph->AdvancePx);
        }
    }
}

void TTFGL::Draw(const std::vector<TTFTextCall>& Calls, int WidthPx, int HeightPx)
{
    AppendText(Calls, WidthPx, HeightPx, OwnBatch);
    OwnBatch.Submit(AtlasTexture);
}
