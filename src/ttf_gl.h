#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <epoxy/gl.h>

#include "batch2d_gl.h"
#include "ttf.h"

// FreeType and OpenGL backend of TTF: glyphs are rasterised on first use into one coverage atlas
// and recorded text calls become quads of a 2D batch. (x, y) of a call is the left end of the text's
// baseline in global coordinates; the depth is not used by this 2D pass. The atlas also holds a
// fully covered texel for the batch's solid shapes.
class TTFGL
{
  public:
    static constexpr const char* DefaultFontPath = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

    TTFGL() = default;
    TTFGL(const TTFGL&) = delete;
    TTFGL& operator=(const TTFGL&) = delete;
    ~TTFGL();

    // Opens the font and creates the atlas; needs a current GL 3.3 core context.
    bool Create(const std::string& FontPath, std::string& Error);
    void AppendText(const std::vector<TTFTextCall>& Calls, int WidthPx, int HeightPx, Batch2DGL& Batch);
    // The calls drawn on their own, in one draw call.
    void Draw(const std::vector<TTFTextCall>& Calls, int WidthPx, int HeightPx);

    GLuint GetAtlasTexture() const { return AtlasTexture; }
    // The centre of the fully covered texel, for solid shapes.
    float GetSolidU() const { return 0.5f / AtlasSizePx; }
    float GetSolidV() const { return 0.5f / AtlasSizePx; }

  private:
    struct Glyph
    {
        int AtlasX = 0, AtlasY = 0, WidthPx = 0, HeightPx = 0;
        int BearingXPx = 0, BearingYPx = 0, AdvancePx = 0;
    };

    const Glyph* FindGlyph(std::uint32_t CodePoint, int SizePx);
    bool PlaceInAtlas(int WidthPx, int HeightPx, int& X, int& Y);
    void ResetAtlas();

    static constexpr int AtlasSizePx = 1024;
    void* Library = nullptr; // FT_Library
    void* Face = nullptr;    // FT_Face
    GLuint AtlasTexture = 0;
    Batch2DGL OwnBatch; // for Draw
    int ShelfX = 0, ShelfY = 0, ShelfHeight = 0;
    std::map<std::pair<int, std::uint32_t>, Glyph> Glyphs; // (size, code point)
};

// Decodes UTF-8 into code points; a malformed byte becomes U+FFFD.
std::vector<std::uint32_t> DecodeUtf8(const std::string& Text);
