#include "springmap_image_formats.h"

namespace SpringMapImageFormats
{
bool DecodeTga(std::span<const std::uint8_t> Bytes, SpringMapImage& Out, std::string& Error)
{
    constexpr std::size_t HeaderBytes = 18;
    if (Bytes.size() < HeaderBytes)
        return Error = "TGA header is cut short", false;
    const int type = Bytes[2], bits = Bytes[16];
    const bool bRle = type == 10 || type == 11, bGrey = type == 3 || type == 11;
    // True colour at 24 or 32 bits, or grey at 8 bits, plain or run-length encoded; no palettes.
    if (Bytes[1] != 0 || (type != 2 && type != 3 && type != 10 && type != 11) ||
        (bGrey ? bits != 8 : bits != 24 && bits != 32))
        return Error = "TGA kind " + std::to_string(type) + " at " + std::to_string(bits) +
                       " bits is not supported (24 or 32-bit colour or 8-bit grey are)",
               false;
    const long long width = ReadLe(Bytes, 12, 2), height = ReadLe(Bytes, 14, 2);
    if (!CheckSize(width, height, Error))
        return Error = "TGA " + Error, false;
    const std::size_t texelBytes = static_cast<std::size_t>(bits / 8),
                      count = static_cast<std::size_t>(width * height);
    std::size_t at = HeaderBytes + Bytes[0];
    // The fewest bytes that can hold them (a run-length packet covers at most 128 texels), checked
    // before the texels are allocated.
    const std::size_t leastBytes = bRle ? (count + 127) / 128 * (1 + texelBytes) : count * texelBytes;
    if (at + leastBytes > Bytes.size())
        return Error = "TGA data is cut short", false;
    std::vector<std::uint8_t> texels(count * 4);
    const auto copyTexel = [&](std::size_t to, std::size_t from)
    {
        std::uint8_t* pOut = &texels[to * 4];
        pOut[0] = Bytes[from + (bGrey ? 0 : 2)], pOut[1] = Bytes[from + (bGrey ? 0 : 1)],
        pOut[2] = Bytes[from];
        pOut[3] = bits == 32 ? Bytes[from + 3] : 255;
    };
    for (std::size_t n = 0; n < count;)
    {
        // A run-length packet: 1 + count-1 in 7 bits, then one texel repeated or that many texels.
        const int packet = bRle && at < Bytes.size() ? Bytes[at++] : 0;
        const bool bRepeat = bRle && (packet & 0x80);
        const std::size_t run = bRle ? std::min<std::size_t>((packet & 0x7F) + 1u, count - n) : count;
        if (at + (bRepeat ? 1 : run) * texelBytes > Bytes.size())
            return Error = "TGA data is cut short", false;
        for (std::size_t i = 0; i < run; ++i)
            copyTexel(n + i, at + (bRepeat ? 0 : i * texelBytes));
        at += (bRepeat ? 1 : run) * texelBytes;
        n += run;
    }
    // Rows are stored bottom first unless the descriptor's bit 5 says top first.
    const bool bTopFirst = Bytes[17] & 0x20;
    Out.Width = static_cast<int>(width), Out.Height = static_cast<int>(height);
    Out.Rgba.resize(texels.size());
    const std::size_t rowBytes = static_cast<std::size_t>(width) * 4;
    for (long long y = 0; y < height; ++y)
        std::memcpy(&Out.Rgba[static_cast<std::size_t>(y) * rowBytes],
                    &texels[static_cast<std::size_t>(bTopFirst ? y : height - 1 - y) * rowBytes], rowBytes);
    return true;
}
} // namespace SpringMapImageFormats
