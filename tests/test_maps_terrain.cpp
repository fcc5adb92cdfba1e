#include <cmath>
#include <random>

#include "springmap_dxt1.h"
#include "springmap_ground.h"
#include "springmap_loader.h"
#include "springmap_renderer.h"
#include "test_maps_fixtures.h"

namespace
{
std::array<std::uint8_t, 64> Decode(std::uint16_t c0, std::uint16_t c1, std::uint32_t indices)
{
    const std::uint8_t block[8] = {std::uint8_t(c0),
                                   std::uint8_t(c0 >> 8),
                                   std::uint8_t(c1),
                                   std::uint8_t(c1 >> 8),
                                   std::uint8_t(indices),
                                   std::uint8_t(indices >> 8),
                                   std::uint8_t(indices >> 16),
                                   std::uint8_t(indices >> 24)};
    std::array<std::uint8_t, 64> rgba{};
    SpringMapDxt1::DecodeBlock(block, rgba.data());
    return rgba;
}
} // namespace

TEST(Dxt1, DecodesBothColourModesOfKnownBlocks)
{
    // Texel n uses palette entry n % 4 (indices 0b11100100 in every byte).
    const struct
    {
        const char* Mode;
        std::uint16_t C0, C1;
        std::uint8_t Palette[4][4];
    } cases[] = {
        {"four colours, c0 > c1",
         0xF800,
         0x001F,
         {{255, 0, 0, 255}, {0, 0, 255, 255}, {170, 0, 85, 255}, {85, 0, 170, 255}}},
        {"three colours, c0 < c1",
         0x001F,
         0xF800,
         {{0, 0, 255, 255}, {255, 0, 0, 255}, {127, 0, 127, 255}, {0, 0, 0, 0}}},
        {"three colours, c0 == c1",
         0x07E0,
         0x07E0,
         {{0, 255, 0, 255}, {0, 255, 0, 255}, {0, 255, 0, 255}, {0, 0, 0, 0}}},
        {"bit expansion of 565",
         0x8410,
         0x0000,
         {{132, 130, 132, 255}, {0, 0, 0, 255}, {88, 86, 88, 255}, {44, 43, 44, 255}}},
    };
    for (const auto& c : cases)
    {
        const auto rgba = Decode(c.C0, c.C1, 0xE4E4E4E4u);
        for (int n = 0; n < 16; ++n)
            for (int ch = 0; ch < 4; ++ch)
                EXPECT_EQ(rgba[4 * n + ch], c.Palette[n % 4][ch])
                    << c.Mode << ", texel " << n << ", channel " << ch;
    }
}

TEST(Dxt1, DecodesImagesBlockByBlockInRowOrder)
{
    // 8x4 texels: a red block then a blue one; every texel index 0.
    const std::uint8_t blocks[16] = {0x00, 0xF8, 0, 0, 0, 0, 0, 0, 0x1F, 0x00, 0, 0, 0, 0, 0, 0};
    std::uint8_t rgba[8 * 4 * 4];
    SpringMapDxt1::DecodeImage(blocks, 8, 4, rgba);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 8; ++x)
        {
            const std::uint8_t* t = rgba + (y * 8 + x) * 4;
            EXPECT_EQ(t[0], x < 4 ? 255 : 0) << x << "," << y;
            EXPECT_EQ(t[2], x < 4 ? 0 : 255) << x << "," << y;
        }
    EXPECT_EQ(SpringMapDxt1::LevelBytes(1024, 1024), 524288u);
    EXPECT_EQ(SpringMapDxt1::LevelBytes(2, 2), 8u) << "partial blocks round up";
}

TEST(Dxt1, EncodedBlocksDecodeCloseToTheirSource)
{
    const unsigned seed = 20240611;
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> colour(0, 255);
    for (int trial = 0; trial < 500; ++trial)
    {
        // A gradient between two random colours, like terrain shading inside 4x4 texels.
        int from[3], to[3];
        for (int ch = 0; ch < 3; ++ch)
            from[ch] = colour(random), to[ch] = colour(random);
        std::uint8_t source[64];
        for (int n = 0; n < 16; ++n)
            for (int ch = 0; ch < 4; ++ch)
                source[4 * n + ch] = ch == 3 ? 255 : std::uint8_t(from[ch] + (to[ch] - from[ch]) * n / 15);
        std::uint8_t block[8], decoded[64];
        SpringMapDxt1::EncodeBlock(source, block);
        SpringMapDxt1::DecodeBlock(block, decoded);
        const int c0 = block[0] | block[1] << 8, c1 = block[2] | block[3] << 8;
        EXPECT_GT(c0, c1) << "opaque blocks use four colours; seed " << seed << " trial " << trial;
        // Four palette entries split each channel's range in thirds: a texel is at most a sixth of it away,
        // plus the 565 rounding of the end points.
        for (int i = 0; i < 64; ++i)
        {
            const int ch = i % 4;
            const int bound = ch == 3 ? 0 : std::abs(to[ch] - from[ch]) / 6 + 9;
            ASSERT_LE(std::abs(int(decoded[i]) - int(source[i])), bound)
                << "seed " << seed << " trial " << trial << " byte " << i;
        }
    }
}

TEST(Dxt1, RealTilesUseTheThreeColourMode)
{
    SKIP_WITHOUT_MAPS();
    struct
    {
        const char* Path;
        int FourColourBlocks, TransparentBlocks;
    } cases[] = {{"Map_Blueprint_V1.sdd", 0, 0}, {"bridge.sdd", -1, 8}};
    for (const auto& c : cases)
    {
        SpringMap map;
        std::string error;
        ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / c.Path).string(), map, error)) << error;
        int fourColour = 0, transparent = 0;
        const auto& tiles = map.TileFiles[0].Tiles;
        for (std::size_t tile = 0; tile < tiles.size() / 680; ++tile)
            for (int b = 0; b < 64; ++b)
            {
                const std::uint8_t* block = tiles.data() + tile * 680 + b * 8;
                std::uint8_t rgba[64];
                SpringMapDxt1::DecodeBlock(block, rgba);
                fourColour += (block[0] | block[1] << 8) > (block[2] | block[3] << 8);
                bool bTransparent = false;
                for (int n = 0; n < 16; ++n)
                    bTransparent |= rgba[4 * n + 3] == 0;
                transparent += bTransparent;
            }
        if (c.FourColourBlocks >= 0)
        {
            EXPECT_EQ(fourColour, c.FourColourBlocks) << c.Path;
        }
        EXPECT_EQ(transparent, c.TransparentBlocks) << c.Path;
    }
}

TEST(TerrainHeight, BilinearAtCornersEdgesAndBetween)
{
    // 3x3 corners, 10 world units apart:   row z=0: 0 10 20 / z=1: 30 40 50 / z=2: 60 70 80 + 100 at (2,2)
    SpringMapRenderer terrain;
    ASSERT_TRUE(terrain.LoadHeightGrid(3, 3, 10.0f, {0, 10, 20, 30, 40, 50, 60, 70, 180}));
    EXPECT_EQ(terrain.IndexCount, 2 * 2 * 6);
    const struct
    {
        float X, Z, Expected;
    } cases[] = {
        {0, 0, 0},     {20, 0, 20},       {0, 20, 60},
        {20, 20, 180}, // corners
        {10, 0, 10},   {20, 10, 50},      {5, 20, 65},
        {0, 15, 45}, // edges
        {5, 5, 20},    {15, 15, 85},      {12.5f, 17.5f, 83.75f},
        {10, 10, 40}, // inside; (15,15): (40+50+70+180)/4
        {-5, -5, 0},   {25, 25, 180},     {-1e9f, 10, 30},
        {1e9f, 0, 20}, // clamped off the map
        {NAN, NAN, 0}, {INFINITY, 0, 20},
    };
    for (const auto& c : cases)
        EXPECT_FLOAT_EQ(terrain.GetTerrainHeight(c.X, c.Z), c.Expected) << "at " << c.X << ", " << c.Z;
    std::vector<float> untouched = terrain.GetHeightGrid();
    EXPECT_FALSE(terrain.LoadHeightGrid(1, 3, 10.0f, {1, 2, 3}));
    EXPECT_FALSE(terrain.LoadHeightGrid(3, 3, 0.0f, std::vector<float>(9, 1.0f)));
    EXPECT_FALSE(terrain.LoadHeightGrid(3, 3, 10.0f, std::vector<float>(8, 1.0f)));
    EXPECT_EQ(terrain.GetHeightGrid(), untouched);
    terrain.Unload();
    EXPECT_FALSE(terrain.IsLoaded());
    EXPECT_EQ(terrain.GetTerrainHeight(5, 5), 0.0f);
}

TEST(TerrainHeight, RealMapsAnswerWithTheirCornerHeights)
{
    SKIP_WITHOUT_MAPS();
    for (const char* path : {"Map_Blueprint_V1.sdd", "bridge.sdd"})
    {
        SpringMap map;
        std::string error;
        ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / path).string(), map, error)) << error;
        SpringMapRenderer terrain;
        ASSERT_TRUE(terrain.LoadMap(map));
        const int mapX = map.Smf.MapX, mapY = map.Smf.MapY;
        EXPECT_EQ(terrain.GetWorldWidth(), 8.0f * mapX) << path;
        EXPECT_EQ(terrain.GetWorldDepth(), 8.0f * mapY) << path;
        EXPECT_EQ(terrain.IndexCount, mapX * mapY * 6) << path;
        for (const auto& [i, j] :
             {std::pair{0, 0}, {mapX, 0}, {0, mapY}, {mapX, mapY}, {1, 0}, {mapX, 7}, {33, 77}})
            EXPECT_EQ(terrain.GetTerrainHeight(8.0f * i, 8.0f * j), map.GetCornerHeight(i, j))
                << path << " " << i << "," << j;
        // The middle of a square is the mean of its four corners.
        const float mean = (map.GetCornerHeight(40, 50) + map.GetCornerHeight(41, 50) +
                            map.GetCornerHeight(40, 51) + map.GetCornerHeight(41, 51)) /
                           4.0f;
        EXPECT_NEAR(terrain.GetTerrainHeight(8.0f * 40.5f, 8.0f * 50.5f), mean, 1e-3f) << path;
        EXPECT_EQ(terrain.GetTerrainHeight(-100.0f, 8.0f * 3), map.GetCornerHeight(0, 3)) << path;
    }
}

TEST(Ground, BaseMipKeepsTheTextureWithinTheBudget)
{
    const struct
    {
        int MapX, MapY;
        std::uint64_t Budget;
        int Mip;
    } cases[] = {
        {128, 128, 64ull << 20, 0},
        {1024, 1024, 64ull << 20, 0},
        {1024, 1024, 40ull << 20, 1},
        {2048, 2048, 64ull << 20, 1},
        {2944, 384, 64ull << 20, 0},
        {8192, 8192, 64ull << 20, 3},
        {128, 128, 0, 3},
    };
    for (const auto& c : cases)
        EXPECT_EQ(SpringMapGround::ChooseBaseMip(c.MapX, c.MapY, c.Budget), c.Mip)
            << c.MapX << "x" << c.MapY << " in " << c.Budget;
}

TEST(Ground, PatchesCopyTheTileBlocksInPlace)
{
    SKIP_WITHOUT_MAPS();
    SpringMap map;
    std::string error;
    ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / "bridge.sdd").string(), map, error)) << error;
    SpringMapGround ground;
    ASSERT_TRUE(ground.Build(map));
    ASSERT_EQ(ground.GetPatches().size(), 25u) << "640 squares = 5 patches of 128 each way";
    EXPECT_EQ(ground.GetBaseMip(), 0);
    // Tile (tx, tz) of the map lands in patch (tx / 32, tz / 32) at block (8 * (tx % 32), 8 * (tz % 32)).
    for (const auto& [tx, tz] : {std::pair{0, 0}, {159, 159}, {37, 100}, {31, 32}})
    {
        const auto& patch = ground.GetPatches()[(tz / 32) * 5 + tx / 32];
        EXPECT_EQ(patch.SquareX, (tx / 32) * 128);
        const std::uint8_t* tile = map.GetTile(map.Smf.TileIndex[tz * 160 + tx]);
        for (int mip = 0; mip < 4; ++mip)
        {
            const int tileBlocks = 8 >> mip, rowBlocks = 32 * tileBlocks;
            const int offsets[] = {0, 512, 640, 672};
            for (int row = 0; row < tileBlocks; ++row)
            {
                const std::uint8_t* placed =
                    patch.Levels[mip].data() +
                    (((tz % 32) * tileBlocks + row) * rowBlocks + (tx % 32) * tileBlocks) * 8;
                EXPECT_EQ(std::memcmp(placed, tile + offsets[mip] + row * tileBlocks * 8, tileBlocks * 8), 0)
                    << "tile " << tx << "," << tz << " mip " << mip << " row " << row;
            }
        }
    }
    SpringMap flat;
    ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / "Blank16.sdd").string(), flat, error)) << error;
    ASSERT_TRUE(ground.Build(flat));
    EXPECT_EQ(ground.GetPatches().size(), 64u);
    EXPECT_EQ(ground.GetBytes(), 44564480u) << "8192^2 DXT1 and three smaller levels: 42.5 MiB";
    ASSERT_TRUE(ground.Build(flat, 8ull << 20));
    EXPECT_EQ(ground.GetBaseMip(), 2);
    EXPECT_EQ(ground.GetLevelWidthTexels(ground.GetPatches()[0], 0), 256);
}

TEST(Ground, MapsWithoutTileFilesFallBackToTheMinimap)
{
    SKIP_WITHOUT_MAPS();
    SpringMap map;
    std::string error;
    SpringMapLoader::Options opts;
    opts.bReadTiles = false;
    ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / "Map_Blueprint_V1.sdd").string(), map, error, opts))
        << error;
    SpringMapRenderer terrain;
    ASSERT_TRUE(terrain.LoadMap(map));
    EXPECT_FALSE(terrain.GetGround().HasPatches());
    EXPECT_TRUE(terrain.HasMinimap());
    EXPECT_EQ(terrain.GetLowestHeight() <= terrain.GetHighestHeight(), true);
}
