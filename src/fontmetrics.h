#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>

// Advance widths of the font the text backend draws with, taken from FreeType the same way the
// backend places glyphs (whole pixels per glyph), so a measured width is the drawn width. Needs no
// GL context.
class FontMetrics
{
  public:
    FontMetrics() = default;
    FontMetrics(const FontMetrics&) = delete;
    FontMetrics& operator=(const FontMetrics&) = delete;
    ~FontMetrics();

    // Opens the font; false with one line of reason.
    bool Open(const std::string& FontPath, std::string& Error);
    bool IsOpen() const { return Face != nullptr; }

    // Width of Text (UTF-8) at SizePx in pixels: the sum of the glyphs' advances. 0 while no font is open.
    int MeasureTextPx(const std::string& Text, int SizePx) const;
    // Text as it fits MaxWidthPx: whole, or cut at a character and ended with "...".
    std::string FitTextToWidth(const std::string& Text, int SizePx, int MaxWidthPx) const;

  private:
    int GetAdvancePx(std::uint32_t CodePoint, int SizePx) const;

    void* Library = nullptr;                                       // FT_Library
    void* Face = nullptr;                                          // FT_Face
    mutable std::map<std::pair<int, std::uint32_t>, int> Advances; // (size, code point)
};
