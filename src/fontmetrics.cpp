#include "fontmetrics.h"

#include <vector>

#include <ft2build.h>
#include FT_FREETYPE_H

#include "ttf_gl.h"

FontMetrics::~FontMetrics()
{
    if (Face)
        FT_Done_Face(static_cast<FT_Face>(Face));
    if (Library)
        FT_Done_FreeType(static_cast<FT_Library>(Library));
}

bool FontMetrics::Open(const std::string& FontPath, std::string& Error)
{
    FT_Library library = nullptr;
    if (!Library && FT_Init_FreeType(&library) != 0)
    {
        Error = "FreeType could not be initialised";
        return false;
    }
    if (library)
        Library = library;
    FT_Face face = nullptr;
    if (FT_New_Face(static_cast<FT_Library>(Library), FontPath.c_str(), 0, &face) != 0)
    {
        Error = "cannot load font " + FontPath + " (install fonts-dejavu-core)";
        return false;
    }
    if (Face)
        FT_Done_Face(static_cast<FT_Face>(Face));
    Face = face;
    Advances.clear();
    return true;
}

int FontMetrics::GetAdvancePx(std::uint32_t CodePoint, int SizePx) const
{
    const auto key = std::make_pair(SizePx, CodePoint);
    if (auto found = Advances.find(key); found != Advances.end())
        return found->second;
    FT_Face face = static_cast<FT_Face>(Face);
    // The backend loads with FT_LOAD_RENDER; rendering does not change the hinted advance.
    int advancePx = 0;
    if (FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(SizePx)) == 0 &&
        FT_Load_Char(face, CodePoint, FT_LOAD_DEFAULT) == 0)
        advancePx = static_cast<int>(face->glyph->advance.x >> 6);
    Advances.emplace(key, advancePx);
    return advancePx;
}

int FontMetrics::MeasureTextPx(const std::string& Text, int SizePx) const
{
    if (!Face || SizePx <= 0)
        return 0;
    int widthPx = 0;
    for (std::uint32_t cp : DecodeUtf8(Text))
        widthPx += GetAdvancePx(cp, SizePx);
    return widthPx;
}

std::string FontMetrics::FitTextToWidth(const std::string& Text, int SizePx, int MaxWidthPx) const
{
    if (MeasureTextPx(Text, SizePx) <= MaxWidthPx)
        return Text;
    const std::string ellipsis = "...";
    int widthPx = MeasureTextPx(ellipsis, SizePx);
    // Cut between UTF-8 sequences only: a continuation byte never starts a character.
    std::size_t cut = 0;
    for (std::size_t i = 0; i < Text.size();)
    {
        std::size_t next = i + 1;
        while (next < Text.size() && (static_cast<unsigned char>(Text[next]) & 0xC0) == 0x80)
            ++next;
        widthPx += MeasureTextPx(Text.substr(i, next - i), SizePx);
        if (widthPx > MaxWidthPx)
            break;
        cut = next;
        i = next;
    }
    return Text.substr(0, cut) + ellipsis;
}
