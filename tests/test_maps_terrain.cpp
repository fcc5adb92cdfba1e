// DXT1 decoding of both colour modes, the height under any world point, the terrain mesh's skirts
// and normal texture, and the ground texture patches built from the tiles.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "springmap_dxt1.h"
#include "springmap_ground.h"
#include "springmap_loader.h"
#include "springmap_renderer.h"
#include "terrain_normalmap.h"
#include "test_maps_fixtures.h"

namespace
{
SpringMap LoadFixture(const char* path, bool bReadTiles = true)
{
    SpringMap map;
    std::string error;
    SpringMapLoader::Options opts;
    opts.bReadTiles = bReadTiles;
    EXPECT_TRUE(SpringMapLoader::Load((MapsDir() / path).string(), map, error, opts)) << error;
    return map;
}
} // namespace

TEST(Dxt1, DecodesBothColourModesAndImagesInRowOrder)
{
    // Texel n uses palette entry n % 4 (indices 0b11100100 in every byte).
    // clang-format off
    const struct { std::uint16_t C0, C1; std::uint8_t Palette[4][4]; } cases[] = {
        {0xF800, 0x001F, {{255, 0, 0, 255}, {0, 0, 255, 255}, {170, 0, 85, 255}, {85, 0, 170, 255}}}, // c0 > c1: four colours
        {0x001F, 0xF800, {{0, 0, 255, 255}, {255, 0, 0, 255}, {127, 0, 127, 255}, {0, 0, 0, 0}}},     // c0 < c1: three and clear
        {0x07E0, 0x07E0, {{0, 255, 0, 255}, {0, 255, 0, 255}, {0, 255, 0, 255}, {0, 0, 0, 0}}},       // c0 == c1
        {0x8410, 0x0000, {{132, 130, 132, 255}, {0, 0, 0, 255}, {88, 86, 88, 255}, {44, 43, 44, 255}}}, // 565 bit expansion
    };
    // clang-format on
    for (const auto& c : cases)
    {
        std::uint8_t rgba[64];
        SpringMapDxt1::DecodeBlock(Dxt1Block(c.C0, c.C1, 0xE4E4E4E4).data(), rgba);
        for (int i = 0; i < 64; ++i)
            EXPECT_EQ(rgba[i], c.Palette[i / 4 % 4][i % 4]) << std::hex << c.C0 << " byte " << std::dec << i;
    }
    // 8x4 texels: a red block then a blue one.
    const std::uint8_t blocks[16] = {0x00, 0xF8, 0, 0, 0, 0, 0, 0, 0x1F, 0x00, 0, 0, 0, 0, 0, 0};
    std::uint8_t rgba[8 * 4 * 4];
    SpringMapDxt1::DecodeImage(blocks, 8, 4, rgba);
    for (int texel = 0; texel < 32; ++texel)
        EXPECT_EQ(rgba[texel * 4] * 256 + rgba[texel * 4 + 2], texel % 8 < 4 ? 255 * 256 : 255) << texel;
    EXPECT_EQ(SpringMapDxt1::LevelBytes(1024, 1024), 524288u);
    EXPECT_EQ(SpringMapDxt1::LevelBytes(2, 6), 16u) << "partial blocks round up";
}

TEST(TerrainHeight, BilinearAtCornersEdgesBetweenAndClampedOffTheMap)
{
    // 3x3 corners, 10 world units apart: rows 0 10 20 / 30 40 50 / 60 70 180.
    SpringMapRenderer terrain;
    ASSERT_TRUE(terrain.LoadHeightGrid(3, 3, 10.0f, {0, 10, 20, 30, 40, 50, 60, 70, 180}));
    EXPECT_EQ(terrain.IndexCount, 2 * 2 * 6);
    // clang-format off
    const struct { float X, Z, Expected; } cases[] = {
        {0, 0, 0}, {20, 0, 20}, {0, 20, 60}, {20, 20, 180}, {10, 0, 10}, {20, 10, 50}, {5, 20, 65}, {0, 15, 45},
        {5, 5, 20}, {15, 15, 85}, {12.5f, 17.5f, 83.75f}, {10, 10, 40},
        {-5, -5, 0}, {25, 25, 180}, {-1e9f, 10, 30}, {1e9f, 0, 20}, {NAN, NAN, 0}, {INFINITY, 0, 20},
    };
    // clang-format on
    for (const auto& c : cases)
        EXPECT_FLOAT_EQ(terrain.GetTerrainHeight(c.X, c.Z), c.Expected) << "at " << c.X << ", " << c.Z;
    const std::vector<float> untouched = terrain.GetHeightGrid();
    EXPECT_FALSE(terrain.LoadHeightGrid(1, 3, 10.0f, {1, 2, 3}));
    EXPECT_FALSE(terrain.LoadHeightGrid(3, 3, 0.0f, std::vector<float>(9, 1.0f)));
    EXPECT_FALSE(terrain.LoadHeightGrid(3, 3, 10.0f, std::vector<float>(8, 1.0f)));
    EXPECT_EQ(terrain.GetHeightGrid(), untouched);
    terrain.Unload();
    EXPECT_EQ(terrain.GetTerrainHeight(5, 5), 0.0f);
}

TEST(Ground, BaseMipKeepsTheTextureWithinTheBudget)
{
    // clang-format off
    const struct { int MapX, MapY; std::uint64_t Budget; int Mip; } cases[] = {
        {128, 128, 64ull << 20, 0}, {1024, 1024, 64ull << 20, 0}, {1024, 1024, 40ull << 20, 1}, {2048, 2048, 64ull << 20, 1},
        {2944, 384, 64ull << 20, 0}, {8192, 8192, 64ull << 20, 3}, {128, 128, 0, 3},
    };
    // clang-format on
    for (const auto& c : cases)
        EXPECT_EQ(SpringMapGround::ChooseBaseMip(c.MapX, c.MapY, c.Budget), c.Mip)
            << c.MapX << "x" << c.MapY << " in " << c.Budget;
}

TEST(Ground, PatchesCopyTheTileBlocksInPlaceOrFallBackToTheMinimap)
{
    SKIP_WITHOUT_MAPS();
    const SpringMap map = LoadFixture("bridge.sdd");
    SpringMapGround ground;
    ASSERT_TRUE(ground.Build(map));
    ASSERT_EQ(ground.GetPatches().size(), 25u) << "640 squares = 5 patches of 128 each way";
    // Tile (tx, tz) lands in patch (tx / 32, tz / 32) at block (8 * (tx % 32), 8 * (tz % 32)), every mip.
    for (const auto& [tx, tz] : {std::pair{0, 0}, {159, 159}, {37, 100}, {31, 32}})
    {
        const auto& patch = ground.GetPatches()[(tz / 32) * 5 + tx / 32];
        EXPECT_EQ(patch.SquareX, (tx / 32) * 128);
        const std::uint8_t* tile = map.GetTile(map.Smf.TileIndex[tz * 160 + tx]);
        for (int mip = 0, offset = 0; mip < 4; offset += 512 >> (2 * mip), ++mip)
            for (int row = 0, blocks = 8 >> mip; row < blocks; ++row)
                EXPECT_EQ(std::memcmp(patch.Levels[mip].data() +
                                          (((tz % 32) * blocks + row) * 32 * blocks + (tx % 32) * blocks) * 8,
                                      tile + offset + row * blocks * 8, blocks * 8),
                          0)
                    << "tile " << tx << "," << tz << " mip " << mip << " row " << row;
    }
    const SpringMap flat = LoadFixture("Blank16.sdd");
    ASSERT_TRUE(ground.Build(flat));
    EXPECT_EQ(ground.GetPatches().size(), 64u);
    EXPECT_EQ(ground.GetBytes(), 44564480u) << "8192^2 DXT1 and three smaller levels: 42.5 MiB";
    ASSERT_TRUE(ground.Build(flat, 8ull << 20));
    EXPECT_EQ(ground.GetBaseMip(), 2);
    EXPECT_EQ(ground.GetLevelWidthTexels(ground.GetPatches()[0], 0), 256);
    SpringMapRenderer terrain;
    ASSERT_TRUE(terrain.LoadMap(LoadFixture("Map_Blueprint_V1.sdd", false)));
    EXPECT_FALSE(terrain.GetGround().HasPatches());
    EXPECT_TRUE(terrain.HasMinimap());
}

TEST(TerrainMesh, SkirtsHangUnderInnerPatchEdgesBelowEveryLevelButNotAtTheBorder)
{
    // 2 x 2 patches of 64 squares; a spike next to the border where the inner column meets it.
    std::vector<float> heights(129 * 129);
    for (int i = 0; i < 129 * 129; ++i)
        heights[i] = 40.0f * std::sin(i % 129 * 0.7f) * std::cos(i / 129 * 0.3f) + (i == 129 + 64 ? 300 : 0);
    SpringMapRenderer terrain;
    ASSERT_TRUE(terrain.LoadHeightGrid(129, 129, 8.0f, heights));
    std::vector<float> vertices;
    std::vector<std::uint32_t> indices;
    terrain.BuildMesh(vertices, indices);
    for (std::size_t v = 129 * 129; v < vertices.size() / 6; ++v)
    {
        const int x = int(vertices[v * 6] / 8.0f), z = int(vertices[v * 6 + 2] / 8.0f);
        // Along its line, the coarsest level's edge runs straight from one patch corner to the next.
        const int along = x == 64 ? z : x, first = std::min(along / 64 * 64, 64);
        const auto at = [&](int c) { return heights[x == 64 ? c * 129 + x : z * 129 + c]; };
        const float straight = at(first) + (at(first + 64) - at(first)) * (along - first) / 64.0f;
        const bool bBorder = along == 0 || along == 128;
        EXPECT_EQ(vertices[v * 6 + 1] == at(along), bBorder) << x << ", " << z;
        EXPECT_LE(vertices[v * 6 + 1], std::min(at(along), straight)) << x << ", " << z;
    }
}

TEST(TerrainMesh, NormalTexelsHoldEachCornersNormalEdgesAndCliffsIncluded)
{
    // Tilted and bumpy, with a cliff at the last corner: normals up to nearly horizontal.
    constexpr int W = 5, H = 4;
    std::vector<float> heights(W * H), vertices;
    for (int i = 0; i < W * H; ++i)
        heights[i] = 3.0f * (i % W) - 5.0f * (i / W) + (i % 3 ? 0 : 20) + (i == W * H - 1) * 900;
    SpringMapRenderer terrain;
    ASSERT_TRUE(terrain.LoadHeightGrid(W, H, 8.0f, heights));
    std::vector<std::uint32_t> indices;
    terrain.BuildMesh(vertices, indices);
    const std::vector<std::uint8_t> texels = terrainnormalmap::EncodeTexels(vertices, W, H);
    const auto h = [&](int x, int z) { return heights[std::clamp(z, 0, 3) * W + std::clamp(x, 0, 4)]; };
    for (int i = 0; i < W * H; ++i)
    {
        // The cross product of the chords between the neighbours either side (the corner itself at an edge).
        const int x = i % W, z = i / W;
        const float ax = 8.0f * (std::min(x + 1, W - 1) - std::max(x - 1, 0)), ay = h(x + 1, z) - h(x - 1, z);
        const float bz = 8.0f * (std::min(z + 1, H - 1) - std::max(z - 1, 0)), by = h(x, z + 1) - h(x, z - 1);
        const float normal[4] = {-ay * bz, ax * bz, -ax * by, std::hypot(ay * bz, ax * bz, ax * by)};
        for (int c = 0; c < 4; ++c) // alpha 255
            EXPECT_NEAR(texels.at(i * 4 + c) / 127.5f - 1.0f, c < 3 ? normal[c] / normal[3] : 1.0f, 4e-3f)
                << "corner " << x << ", " << z << " component " << c;
    }
}
