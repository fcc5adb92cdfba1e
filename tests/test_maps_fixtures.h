#pragma once

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

// The real maps live beside the repository (shared/maps); CI clones shared/ next to it.
inline std::filesystem::path MapsDir()
{
    return QUINDLE_MAPS_DIR;
}

#define SKIP_WITHOUT_MAPS()                                                                                  \
    if (!std::filesystem::is_directory(MapsDir()))                                                           \
    GTEST_SKIP() << "the shared maps folder " << MapsDir() << " is absent"

inline std::vector<std::uint8_t> ReadBytes(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void WriteBytes(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes)
{
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline void WriteText(const std::filesystem::path& path, const std::string& text)
{
    WriteBytes(path, std::vector<std::uint8_t>(text.begin(), text.end()));
}

// Little-endian, byte by byte, so it is a reference independent of the loader's own reading.
inline std::int32_t GetInt32(const std::vector<std::uint8_t>& bytes, std::size_t offset)
{
    return std::int32_t(bytes[offset] | bytes[offset + 1] << 8 | bytes[offset + 2] << 16 |
                        std::uint32_t(bytes[offset + 3]) << 24);
}

inline void PutInt32(std::vector<std::uint8_t>& bytes, std::size_t offset, std::int32_t value)
{
    std::memcpy(bytes.data() + offset, &value, 4);
}

// A scratch folder removed when the test ends.
struct ScratchDir
{
    std::filesystem::path Path = std::filesystem::temp_directory_path() /
                                 ("quindle-maps-" + std::to_string(::getpid()) + "-" +
                                  ::testing::UnitTest::GetInstance()->current_test_info()->name());
    ScratchDir()
    {
        std::filesystem::remove_all(Path);
        std::filesystem::create_directories(Path);
    }
    ~ScratchDir() { std::filesystem::remove_all(Path); }
};

// A copy of the blueprint map's .smf and .smt in Dir/m.sdd, with this mapinfo.lua (none when empty).
inline std::filesystem::path CopyBlueprint(const std::filesystem::path& dir, const std::string& mapinfo)
{
    const std::filesystem::path root = dir / "m.sdd", from = MapsDir() / "Map_Blueprint_V1.sdd/maps";
    std::filesystem::create_directories(root / "maps");
    std::filesystem::copy(from / "Map_Blueprint_V1.smf", root / "maps");
    std::filesystem::copy(from / "Map_Blueprint_V1.smt", root / "maps");
    if (!mapinfo.empty())
        WriteText(root / "mapinfo.lua", mapinfo);
    return root;
}

// An uncompressed 32-bit TGA, rows top first, from RGBA texels.
inline std::vector<std::uint8_t> TgaBytes(int width, int height, const std::vector<std::uint8_t>& rgba)
{
    // clang-format off
    std::vector<std::uint8_t> tga = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, std::uint8_t(width), std::uint8_t(width >> 8),
                                     std::uint8_t(height), std::uint8_t(height >> 8), 32, 0x28};
    // clang-format on
    for (std::size_t i = 0; i < rgba.size(); i += 4)
        tga.insert(tga.end(), {rgba[i + 2], rgba[i + 1], rgba[i], rgba[i + 3]});
    return tga;
}

// A DXT1 block: the two 565 colours, then two bits per texel.
inline std::vector<std::uint8_t> Dxt1Block(std::uint16_t c0, std::uint16_t c1, std::uint32_t indices)
{
    std::vector<std::uint8_t> block(8);
    PutInt32(block, 0, std::int32_t(c0 | std::uint32_t(c1) << 16));
    PutInt32(block, 4, std::int32_t(indices));
    return block;
}
