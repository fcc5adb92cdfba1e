// The ground textures' decoders on tiny hand-made files: one texel checked per format, then the
// damaged and unsupported ones.
#include "pngwriter.h"
#include "springmap_image.h"
#include "test_maps_fixtures.h"

namespace
{
using Bytes = std::vector<std::uint8_t>;

// A DDS header for width x height with the given pixel format, then Data.
Bytes Dds(int width, int height, int mips, std::uint32_t flags, const char* fourCc, int bits,
          std::array<std::uint32_t, 4> masks, const Bytes& data)
{
    Bytes dds(128, 0);
    std::memcpy(dds.data(), "DDS ", 4);
    // clang-format off
    const std::pair<int, int> fields[] = {{4, 124}, {12, height}, {16, width}, {28, mips}, {76, 32}, {80, int(flags)},
        {88, bits}, {92, int(masks[0])}, {96, int(masks[1])}, {100, int(masks[2])}, {104, int(masks[3])}};
    // clang-format on
    for (const auto& [at, value] : fields)
        PutInt32(dds, std::size_t(at), value);
    std::memcpy(dds.data() + 84, fourCc, 4);
    dds.insert(dds.end(), data.begin(), data.end());
    return dds;
}

Bytes Join(std::initializer_list<Bytes> parts)
{
    Bytes out;
    for (const Bytes& part : parts)
        out.insert(out.end(), part.begin(), part.end());
    return out;
}
} // namespace

TEST(MapImages, DecodeEachFormatAndRefuseDamagedOnesWithAReason)
{
    const ScratchDir scratch;
    const std::uint8_t pngRgba[] = {10, 20, 30, 255, 200, 100, 50, 255};
    std::string error;
    ASSERT_TRUE(WritePngRgb((scratch.Path / "a.png").string(), 1, 2, pngRgba, error)) << error;
    const Bytes png = ReadBytes(scratch.Path / "a.png");
    const std::array<std::uint32_t, 4> bgra = {0xFF0000, 0xFF00, 0xFF, 0xFF000000u};
    const Bytes red = Dxt1Block(0xF800, 0x001F, 0), blue = Dxt1Block(0x001F, 0xF800, 0);
    // 3-bit alpha indices 1 (a1 = 0) then 2 (6/7 of a0); 4-bit alpha 8 at texel 0.
    const Bytes dxt5Alpha = {255, 0, 0b010001, 0, 0, 0, 0, 0}, dxt3Alpha = {8, 0, 0, 0, 0, 0, 0, 0};
    // clang-format off
    struct Case { const char* Label; Bytes File; const char* Name; int MaxSide, W, H, X, Y; std::array<int, 4> Rgba; const char* Error; };
    const Case cases[] = {
        {"dxt1", Dds(4, 4, 1, 4, "DXT1", 0, {}, red), "a.dds", 64, 4, 4, 3, 3, {255, 0, 0, 255}, nullptr},
        {"dxt1 second mip fits", Dds(8, 8, 2, 4, "DXT1", 0, {}, Join({red, red, red, red, blue})), "a.dds", 4, 4, 4, 0, 0, {0, 0, 255, 255}, nullptr},
        // c0 < c1 still has four colours: index 3 is a third of the way from c1 to c0.
        {"dxt3", Dds(4, 4, 1, 4, "DXT3", 0, {}, Join({dxt3Alpha, Dxt1Block(0x001F, 0xF800, 3)})), "a.dds", 64, 4, 4, 0, 0, {170, 0, 85, 136}, nullptr},
        {"dxt5", Dds(4, 4, 1, 4, "DXT5", 0, {}, Join({dxt5Alpha, Dxt1Block(0xFFFF, 0, 0)})), "a.dds", 64, 4, 4, 1, 0, {255, 255, 255, 218}, nullptr},
        {"rgba dds", Dds(1, 1, 0, 0x41, "\0\0\0\0", 32, bgra, {0x10, 0x20, 0x30, 0x40}), "a.dds", 64, 1, 1, 0, 0, {0x30, 0x20, 0x10, 0x40}, nullptr},
        {"tga bottom first", {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 2, 0, 24, 0, 1, 2, 3, 4, 5, 6}, "a.TGA", 64, 1, 2, 0, 0, {6, 5, 4, 255}, nullptr},
        {"tga rle", {0, 0, 10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 1, 0, 32, 0x20, 0x81, 1, 2, 3, 4}, "a.tga", 64, 2, 1, 1, 0, {3, 2, 1, 4}, nullptr},
        {"tga halved", TgaBytes(2, 1, {0, 0, 0, 0, 100, 200, 50, 255}), "a.tga", 1, 1, 1, 0, 0, {50, 100, 25, 128}, nullptr},
        {"bmp padded rows", Join({{'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0, 40, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 1, 0, 24}, Bytes(25, 0), {1, 2, 3, 0, 4, 5, 6, 0}}), "a.bmp", 64, 1, 2, 0, 0, {6, 5, 4, 255}, nullptr},
        {"png", png, "a.png", 64, 1, 2, 0, 1, {200, 100, 50, 255}, nullptr},
        {"dds cut", Dds(8, 8, 1, 4, "DXT5", 0, {}, red), "a.dds", 64, 0, 0, 0, 0, {}, "DDS data is cut short (level 0)"},
        {"dds bc5", Dds(4, 4, 1, 4, "ATI2", 0, {}, red), "a.dds", 64, 0, 0, 0, 0, {}, "DDS format 'ATI2' is not supported (DXT1, DXT3, DXT5 or RGB are)"},
        {"dds huge", Dds(20000, 1, 1, 4, "DXT1", 0, {}, red), "a.dds", 64, 0, 0, 0, 0, {}, "DDS declares 20000x1 texels (at most 16384 a side)"},
        {"dds without mips", Dds(8200, 4, 1, 4, "DXT1", 0, {}, Bytes(8200 / 4 * 8, 0)), "a.dds", 64, 0, 0, 0, 0, {}, "DDS level 0 declares 8200x4 texels (at most 8192 a side)"},
        {"tga palette", {0, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 1, 0, 8, 0}, "a.tga", 64, 0, 0, 0, 0, {}, "TGA kind 1 at 8 bits is not supported (24 or 32-bit colour or 8-bit grey are)"},
        {"tga rle cut", {0, 0, 10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 1, 0, 32, 0x20, 0x01, 1, 2, 3, 4}, "a.tga", 64, 0, 0, 0, 0, {}, "TGA data is cut short"},
        {"bmp zero width", Join({{'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0, 40, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 1, 0, 24}, Bytes(25, 0)}), "a.bmp", 64, 0, 0, 0, 0, {}, "BMP declares 0x2 texels (at most 8192 a side)"},
        {"png cut", Bytes(png.begin(), png.begin() + 40), "a.png", 64, 0, 0, 0, 0, {}, "PNG cannot be read: "},
        {"text", {'h', 'i'}, "a.dds", 64, 0, 0, 0, 0, {}, "not a DDS, PNG, BMP or TGA image"},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        SpringMapImage image;
        error.clear();
        const bool bOk = SpringMapImageFile::Decode(c.File, c.Name, c.MaxSide, image, error);
        ASSERT_EQ(bOk, c.Error == nullptr) << c.Label << ": " << error;
        if (c.Error)
        {
            EXPECT_EQ(error.rfind(c.Error, 0), 0u) << c.Label << ": " << error;
            continue;
        }
        ASSERT_EQ(image.Width, c.W) << c.Label;
        ASSERT_EQ(image.Height, c.H) << c.Label;
        const std::uint8_t* pTexel = &image.Rgba[std::size_t(c.Y * c.W + c.X) * 4];
        EXPECT_EQ((std::array<int, 4>{pTexel[0], pTexel[1], pTexel[2], pTexel[3]}), c.Rgba) << c.Label;
    }
}
