#include <algorithm>

#include "springmap_dxt1.h"
#include "springmap_image_formats.h"

namespace SpringMapImageFormats
{
namespace
{
constexpr std::size_t HeaderBytes = 128; // "DDS " and the 124-byte header
constexpr std::uint32_t FourCcFlag = 0x4, RgbFlag = 0x40, LuminanceFlag = 0x20000, AlphaFlag = 0x1;

std::uint32_t FourCc(const char* code)
{
    return static_cast<std::uint32_t>(code[0]) | (static_cast<std::uint32_t>(code[1]) << 8) |
           (static_cast<std::uint32_t>(code[2]) << 16) | (static_cast<std::uint32_t>(code[3]) << 24);
}

// The colour half of a DXT3/DXT5 block always has four colours; the DXT1 decoder picks that mode
// for c0 > c1, so swap the end points (and the indices with them) where they are the other way.
void DecodeFourColourBlock(const std::uint8_t* pBlock, std::uint8_t* pRgba64)
{
    std::uint8_t block[8];
    std::memcpy(block, pBlock, 8);
    const int c0 = block[0] | (block[1] << 8), c1 = block[2] | (block[3] << 8);
    if (c0 <= c1)
    {
        std::swap_ranges(block, block + 2, block + 2);
        std::uint32_t indices = 0;
        std::memcpy(&indices, block + 4, 4);
        indices = c0 == c1 ? 0u : indices ^ 0x55555555u; // 0<->1, 2<->3
        std::memcpy(block + 4, &indices, 4);
    }
    SpringMapDxt1::DecodeBlock(block, pRgba64);
}

// DXT3: sixteen explicit 4-bit alphas. DXT5: two end points and sixteen 3-bit indices.
void DecodeAlpha(const std::uint8_t* pBlock, bool bInterpolated, std::uint8_t* pRgba64)
{
    if (!bInterpolated)
    {
        for (int n = 0; n < 16; ++n)
            pRgba64[4 * n + 3] = static_cast<std::uint8_t>(((pBlock[n / 2] >> (4 * (n % 2))) & 15) * 17);
        return;
    }
    const int a0 = pBlock[0], a1 = pBlock[1];
    int palette[8] = {a0, a1};
    for (int k = 1; k < 7; ++k)
        palette[k + 1] = a0 > a1 ? ((7 - k) * a0 + k * a1) / 7 : k < 5 ? ((5 - k) * a0 + k * a1) / 5 : 0;
    if (a0 <= a1)
        palette[7] = 255;
    std::uint64_t bits = 0;
    for (int i = 0; i < 6; ++i)
        bits |= static_cast<std::uint64_t>(pBlock[2 + i]) << (8 * i);
    for (int n = 0; n < 16; ++n)
        pRgba64[4 * n + 3] = static_cast<std::uint8_t>(palette[(bits >> (3 * n)) & 7]);
}

enum class Blocks
{
    Dxt1,
    Dxt3,
    Dxt5,
};

void DecodeBlocks(const std::uint8_t* pData, Blocks kind, SpringMapImage& out)
{
    const int blockBytes = kind == Blocks::Dxt1 ? 8 : 16;
    const int blocksX = (out.Width + 3) / 4, blocksY = (out.Height + 3) / 4;
    std::uint8_t texels[64];
    for (int by = 0; by < blocksY; ++by)
        for (int bx = 0; bx < blocksX; ++bx)
        {
            const std::uint8_t* pBlock = pData + (static_cast<std::size_t>(by) * blocksX + bx) * blockBytes;
            if (kind == Blocks::Dxt1)
                SpringMapDxt1::DecodeBlock(pBlock, texels);
            else
            {
                DecodeFourColourBlock(pBlock + 8, texels);
                DecodeAlpha(pBlock, kind == Blocks::Dxt5, texels);
            }
            // Levels smaller than a block keep only its top-left texels.
            for (int row = 0; row < 4 && by * 4 + row < out.Height; ++row)
                for (int col = 0; col < 4 && bx * 4 + col < out.Width; ++col)
                    std::memcpy(
                        &out.Rgba[((static_cast<std::size_t>(by) * 4 + row) * out.Width + bx * 4 + col) * 4],
                        texels + (row * 4 + col) * 4, 4);
        }
}

// One channel of an uncompressed texel through its mask, scaled to 0..255 (Fallback without a mask).
std::uint8_t Channel(std::uint32_t texel, std::uint32_t mask, std::uint8_t fallback)
{
    if (!mask)
        return fallback;
    int shift = 0;
    while (!((mask >> shift) & 1))
        ++shift;
    const std::uint64_t top = mask >> shift;
    return static_cast<std::uint8_t>(((texel & mask) >> shift) * 255ull / top);
}

struct PixelFormat
{
    std::uint32_t Flags = 0, FourCc = 0, Bits = 0, Masks[4] = {};
};

void DecodeUncompressed(std::span<const std::uint8_t> level, const PixelFormat& format, SpringMapImage& out)
{
    const int bytesPerTexel = static_cast<int>(format.Bits / 8);
    const bool bLuminance = format.Flags & LuminanceFlag;
    const std::uint32_t alphaMask = format.Flags & AlphaFlag ? format.Masks[3] : 0;
    for (std::size_t n = 0; n < out.Rgba.size() / 4; ++n)
    {
        const std::uint32_t texel = ReadLe(level, n * bytesPerTexel, bytesPerTexel);
        std::uint8_t* pOut = &out.Rgba[n * 4];
        pOut[0] = Channel(texel, format.Masks[0], 0);
        pOut[1] = bLuminance ? pOut[0] : Channel(texel, format.Masks[1], 0);
        pOut[2] = bLuminance ? pOut[0] : Channel(texel, format.Masks[2], 0);
        pOut[3] = Channel(texel, alphaMask, 255);
    }
}
} // namespace

bool DecodeDds(std::span<const std::uint8_t> Bytes, int MaxSidePx, SpringMapImage& Out, std::string& Error)
{
    if (Bytes.size() < HeaderBytes || ReadLe(Bytes, 4, 4) != 124)
        return Error = "DDS header is cut short or damaged", false;
    const long long height = ReadLe(Bytes, 12, 4), width = ReadLe(Bytes, 16, 4);
    const int levels = static_cast<int>(std::clamp<std::uint32_t>(ReadLe(Bytes, 28, 4), 1, 32));
    PixelFormat format;
    format.Flags = ReadLe(Bytes, 80, 4);
    format.FourCc = ReadLe(Bytes, 84, 4);
    format.Bits = ReadLe(Bytes, 88, 4);
    for (int i = 0; i < 4; ++i)
        format.Masks[i] = ReadLe(Bytes, 92 + 4 * static_cast<std::size_t>(i), 4);
    if (!CheckSize(width, height, Error, SpringMapImageFile::MaxDeclaredSidePx))
        return Error = "DDS " + Error, false;
    const bool bCompressed = format.Flags & FourCcFlag;
    Blocks kind = Blocks::Dxt1;
    if (bCompressed && (format.FourCc == FourCc("DXT2") || format.FourCc == FourCc("DXT3")))
        kind = Blocks::Dxt3;
    else if (bCompressed && (format.FourCc == FourCc("DXT4") || format.FourCc == FourCc("DXT5")))
        kind = Blocks::Dxt5;
    else if (bCompressed && format.FourCc != FourCc("DXT1"))
    {
        const char code[5] = {static_cast<char>(format.FourCc), static_cast<char>(format.FourCc >> 8),
                              static_cast<char>(format.FourCc >> 16), static_cast<char>(format.FourCc >> 24),
                              0};
        return Error =
                   std::string("DDS format '") + code + "' is not supported (DXT1, DXT3, DXT5 or RGB are)",
               false;
    }
    if (!bCompressed && (!(format.Flags & (RgbFlag | LuminanceFlag)) || format.Bits % 8 || format.Bits < 8 ||
                         format.Bits > 32))
        return Error = "DDS pixel format is not supported (DXT1, DXT3, DXT5 or 8 to 32-bit RGB are)", false;
    // Walk the mip chain to the first level within MaxSidePx, or the last one there is.
    std::size_t offset = HeaderBytes;
    for (int level = 0; level < levels; ++level)
    {
        const int w = static_cast<int>(std::max(width >> level, 1ll)),
                  h = static_cast<int>(std::max(height >> level, 1ll));
        const std::size_t bytes = bCompressed ? static_cast<std::size_t>((w + 3) / 4) * ((h + 3) / 4) *
                                                    (kind == Blocks::Dxt1 ? 8 : 16)
                                              : static_cast<std::size_t>(w) * h * (format.Bits / 8);
        if (offset + bytes > Bytes.size())
            return Error = "DDS data is cut short (level " + std::to_string(level) + ")", false;
        if ((w > MaxSidePx || h > MaxSidePx) && level + 1 < levels)
        {
            offset += bytes;
            continue;
        }
        if (!CheckSize(w, h, Error))
            return Error = "DDS level " + std::to_string(level) + " " + Error, false;
        Out.Width = w, Out.Height = h;
        Out.Rgba.assign(static_cast<std::size_t>(w) * h * 4, 0);
        if (bCompressed)
            DecodeBlocks(Bytes.data() + offset, kind, Out);
        else
            DecodeUncompressed(Bytes.subspan(offset, bytes), format, Out);
        return true;
    }
    return false;
}
} // namespace SpringMapImageFormats
