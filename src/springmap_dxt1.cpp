#include "springmap_dxt1.h"

#include <cstring>
#include <utility>

namespace SpringMapDxt1
{
namespace
{
void ExpandRgb565(std::uint16_t c, std::uint8_t* pRgb)
{
    const int r = (c >> 11) & 31, g = (c >> 5) & 63, b = c & 31;
    pRgb[0] = static_cast<std::uint8_t>((r << 3) | (r >> 2));
    pRgb[1] = static_cast<std::uint8_t>((g << 2) | (g >> 4));
    pRgb[2] = static_cast<std::uint8_t>((b << 3) | (b >> 2));
}

std::uint16_t PackRgb565(const int* pRgb)
{
    const int r = (pRgb[0] * 31 + 127) / 255, g = (pRgb[1] * 63 + 127) / 255, b = (pRgb[2] * 31 + 127) / 255;
    return static_cast<std::uint16_t>((r << 11) | (g << 5) | b);
}
} // namespace

void DecodeBlock(const std::uint8_t* pBlock, std::uint8_t* pRgba64)
{
    const std::uint16_t c0 = static_cast<std::uint16_t>(pBlock[0] | (pBlock[1] << 8));
    const std::uint16_t c1 = static_cast<std::uint16_t>(pBlock[2] | (pBlock[3] << 8));
    std::uint32_t indices = 0;
    std::memcpy(&indices, pBlock + 4, 4);
    std::uint8_t palette[4][4] = {};
    ExpandRgb565(c0, palette[0]);
    ExpandRgb565(c1, palette[1]);
    palette[0][3] = palette[1][3] = palette[2][3] = 255;
    for (int ch = 0; ch < 3; ++ch)
    {
        const int a = palette[0][ch], b = palette[1][ch];
        if (c0 > c1)
        {
            palette[2][ch] = static_cast<std::uint8_t>((2 * a + b) / 3);
            palette[3][ch] = static_cast<std::uint8_t>((a + 2 * b) / 3);
        }
        else
            palette[2][ch] = static_cast<std::uint8_t>((a + b) / 2);
    }
    palette[3][3] = (c0 > c1) ? 255 : 0;
    for (int n = 0; n < 16; ++n)
        std::memcpy(pRgba64 + 4 * n, palette[(indices >> (2 * n)) & 3], 4);
}

void DecodeImage(const std::uint8_t* pBlocks, int WidthTexels, int HeightTexels, std::uint8_t* pRgba)
{
    const int blocksX = WidthTexels / 4, blocksY = HeightTexels / 4;
    std::uint8_t texels[64];
    for (int by = 0; by < blocksY; ++by)
        for (int bx = 0; bx < blocksX; ++bx)
        {
            DecodeBlock(pBlocks + (static_cast<std::size_t>(by) * blocksX + bx) * BlockBytes, texels);
            for (int row = 0; row < 4; ++row)
                std::memcpy(pRgba + ((static_cast<std::size_t>(by) * 4 + row) * WidthTexels + bx * 4) * 4,
                            texels + row * 16, 16);
        }
}

void EncodeBlock(const std::uint8_t* pRgba64, std::uint8_t* pBlock)
{
    // End points: the two texels farthest apart, which span a smooth gradient exactly.
    int lo = 0, hi = 0, widest = -1;
    for (int a = 0; a < 16; ++a)
        for (int b = a + 1; b < 16; ++b)
        {
            int dist = 0;
            for (int ch = 0; ch < 3; ++ch)
            {
                const int d = pRgba64[4 * a + ch] - pRgba64[4 * b + ch];
                dist += d * d;
            }
            if (dist > widest)
                widest = dist, lo = a, hi = b;
        }
    int hiRgb[3], loRgb[3];
    for (int ch = 0; ch < 3; ++ch)
        hiRgb[ch] = pRgba64[4 * hi + ch], loRgb[ch] = pRgba64[4 * lo + ch];
    std::uint16_t c0 = PackRgb565(hiRgb), c1 = PackRgb565(loRgb);
    std::uint32_t indices = 0;
    if (c0 == c1)
    {
        // One colour: four-colour mode needs c0 > c1, so nudge c1 unless the colour is black.
        if (c0 == 0)
            c0 = 1;
        else
            c1 = static_cast<std::uint16_t>(c0 - 1);
    }
    else
    {
        if (c0 < c1)
            std::swap(c0, c1);
        std::uint8_t palette[4][4];
        const std::uint8_t probe[8] = {static_cast<std::uint8_t>(c0),
                                       static_cast<std::uint8_t>(c0 >> 8),
                                       static_cast<std::uint8_t>(c1),
                                       static_cast<std::uint8_t>(c1 >> 8),
                                       0xE4,
                                       0,
                                       0,
                                       0}; // texels 0..3 take palette 0..3
        std::uint8_t decoded[64];
        DecodeBlock(probe, decoded);
        std::memcpy(palette, decoded, 16);
        for (int n = 0; n < 16; ++n)
        {
            int best = 0, bestDist = 1 << 30;
            for (int k = 0; k < 4; ++k)
            {
                int dist = 0;
                for (int ch = 0; ch < 3; ++ch)
                {
                    const int d = pRgba64[4 * n + ch] - palette[k][ch];
                    dist += d * d;
                }
                if (dist < bestDist)
                    bestDist = dist, best = k;
            }
            indices |= static_cast<std::uint32_t>(best) << (2 * n);
        }
    }
    pBlock[0] = static_cast<std::uint8_t>(c0);
    pBlock[1] = static_cast<std::uint8_t>(c0 >> 8);
    pBlock[2] = static_cast<std::uint8_t>(c1);
    pBlock[3] = static_cast<std::uint8_t>(c1 >> 8);
    std::memcpy(pBlock + 4, &indices, 4);
}

std::uint64_t LevelBytes(int WidthTexels, int HeightTexels)
{
    return static_cast<std::uint64_t>((WidthTexels + 3) / 4) *
           static_cast<std::uint64_t>((HeightTexels + 3) / 4) * BlockBytes;
}
} // namespace SpringMapDxt1
