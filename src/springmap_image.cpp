#include "springmap_image.h"

#include <algorithm>

#include "springmap_archive.h"
#include "springmap_image_formats.h"

namespace SpringMapImageFile
{
namespace
{
bool StartsWith(std::span<const std::uint8_t> bytes, const char* magic)
{
    const std::size_t length = std::strlen(magic);
    return bytes.size() >= length && std::memcmp(bytes.data(), magic, length) == 0;
}
} // namespace

bool Decode(std::span<const std::uint8_t> Bytes, const std::string& Name, int MaxSidePx, SpringMapImage& Out,
            std::string& Error)
{
    SpringMapImage image;
    bool bOk = false;
    if (StartsWith(Bytes, "DDS "))
        bOk = SpringMapImageFormats::DecodeDds(Bytes, MaxSidePx, image, Error);
    else if (StartsWith(Bytes, "\x89PNG"))
        bOk = SpringMapImageFormats::DecodePng(Bytes, image, Error);
    else if (StartsWith(Bytes, "BM"))
        bOk = SpringMapImageFormats::DecodeBmp(Bytes, image, Error);
    else if (SpringMapFiles::EndsWithIgnoreCase(Name, ".tga"))
        bOk = SpringMapImageFormats::DecodeTga(Bytes, image, Error);
    else
        Error = "not a DDS, PNG, BMP or TGA image";
    if (!bOk)
        return false;
    ShrinkToFit(image, MaxSidePx);
    Out = std::move(image);
    return true;
}

void ShrinkToFit(SpringMapImage& Image, int MaxSidePx)
{
    while ((Image.Width > MaxSidePx && Image.Width > 1) || (Image.Height > MaxSidePx && Image.Height > 1))
    {
        // An odd last row or column is dropped; a side of 1 stays.
        const int width = std::max(Image.Width / 2, 1), height = std::max(Image.Height / 2, 1);
        const int stepX = Image.Width > 1 ? 2 : 1, stepY = Image.Height > 1 ? 2 : 1;
        std::vector<std::uint8_t> half(static_cast<std::size_t>(width) * height * 4);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (int ch = 0; ch < 4; ++ch)
                {
                    int sum = 0;
                    for (int dy = 0; dy < 2; ++dy)
                        for (int dx = 0; dx < 2; ++dx)
                        {
                            const std::size_t sx = static_cast<std::size_t>(x) * stepX + dx % stepX;
                            const std::size_t sy = static_cast<std::size_t>(y) * stepY + dy % stepY;
                            sum += Image.Rgba[(sy * Image.Width + sx) * 4 + ch];
                        }
                    half[(static_cast<std::size_t>(y) * width + x) * 4 + ch] =
                        static_cast<std::uint8_t>((sum + 2) / 4);
                }
        Image.Width = width, Image.Height = height;
        Image.Rgba = std::move(half);
    }
}
} // namespace SpringMapImageFile
