#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string>

#include "springmap_image.h"

// The decoders behind SpringMapImageFile::Decode, one file each. Each fills Out at the size the file
// declares (the DDS one at its first mip level within MaxSidePx) or returns false with a reason.
namespace SpringMapImageFormats
{
bool DecodeDds(std::span<const std::uint8_t> Bytes, int MaxSidePx, SpringMapImage& Out, std::string& Error);
bool DecodeTga(std::span<const std::uint8_t> Bytes, SpringMapImage& Out, std::string& Error);
bool DecodeBmp(std::span<const std::uint8_t> Bytes, SpringMapImage& Out, std::string& Error);
bool DecodePng(std::span<const std::uint8_t> Bytes, SpringMapImage& Out, std::string& Error);

inline std::uint32_t ReadLe(std::span<const std::uint8_t> Bytes, std::size_t Offset, int Count)
{
    std::uint32_t value = 0;
    for (int i = Count - 1; i >= 0; --i)
        value = (value << 8) | Bytes[Offset + static_cast<std::size_t>(i)];
    return value;
}

// Checks a size before anything is allocated for it.
inline bool CheckSize(long long Width, long long Height, std::string& Error,
                      int MaxSidePx = SpringMapImageFile::MaxDecodedSidePx)
{
    if (Width >= 1 && Height >= 1 && Width <= MaxSidePx && Height <= MaxSidePx)
        return true;
    Error = "declares " + std::to_string(Width) + "x" + std::to_string(Height) + " texels (at most " +
            std::to_string(MaxSidePx) + " a side)";
    return false;
}
} // namespace SpringMapImageFormats
