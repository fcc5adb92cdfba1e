#include <cstdlib>

#include "springmap_image_formats.h"

namespace SpringMapImageFormats
{
bool DecodeBmp(std::span<const std::uint8_t> Bytes, SpringMapImage& Out, std::string& Error)
{
    constexpr std::size_t InfoAt = 14;
    if (Bytes.size() < InfoAt + 40 || ReadLe(Bytes, InfoAt, 4) < 40)
        return Error = "BMP header is cut short", false;
    const std::uint32_t dataAt = ReadLe(Bytes, 10, 4);
    const long long width = static_cast<std::int32_t>(ReadLe(Bytes, InfoAt + 4, 4));
    const long long signedHeight = static_cast<std::int32_t>(ReadLe(Bytes, InfoAt + 8, 4));
    const int bits = static_cast<int>(ReadLe(Bytes, InfoAt + 14, 2));
    const std::uint32_t compression = ReadLe(Bytes, InfoAt + 16, 4);
    // Plain BGR(A) rows; 32-bit files marked as bit fields use the usual BGRA layout.
    if ((bits != 24 && bits != 32) || (compression != 0 && !(compression == 3 && bits == 32)))
        return Error = "BMP at " + std::to_string(bits) + " bits, compression " +
                       std::to_string(compression) + " is not supported (uncompressed 24 or 32-bit are)",
               false;
    const long long height = std::llabs(signedHeight);
    if (!CheckSize(width, height, Error))
        return Error = "BMP " + Error, false;
    const std::size_t texelBytes = static_cast<std::size_t>(bits / 8);
    const std::size_t rowBytes = (static_cast<std::size_t>(width) * texelBytes + 3) / 4 * 4; // rows pad to 4
    if (dataAt + rowBytes * static_cast<std::size_t>(height) > Bytes.size())
        return Error = "BMP data is cut short", false;
    Out.Width = static_cast<int>(width), Out.Height = static_cast<int>(height);
    Out.Rgba.resize(static_cast<std::size_t>(width * height) * 4);
    for (long long y = 0; y < height; ++y)
    {
        // A positive height stores the bottom row first.
        const std::uint8_t* pRow =
            &Bytes[dataAt + rowBytes * static_cast<std::size_t>(signedHeight > 0 ? height - 1 - y : y)];
        for (long long x = 0; x < width; ++x)
        {
            const std::uint8_t* pIn = pRow + x * texelBytes;
            std::uint8_t* pOut = &Out.Rgba[static_cast<std::size_t>(y * width + x) * 4];
            pOut[0] = pIn[2], pOut[1] = pIn[1], pOut[2] = pIn[0];
            pOut[3] = 255; // the fourth byte of 32-bit rows is unused by most writers
        }
    }
    return true;
}
} // namespace SpringMapImageFormats
