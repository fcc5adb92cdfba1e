#include <cmath>

#include "springmap_generator.h"
#include "springmap_loader.h"
#include "springmap_renderer.h"
#include "test_maps_fixtures.h"

namespace fs = std::filesystem;

TEST(MapGenerator, SameSeedSameBytesOtherSeedOtherMap)
{
    SpringMapGenerator::Options opts;
    opts.MapX = opts.MapY = 64;
    std::vector<std::uint8_t> smfA, smtA, smfB, smtB, smfC, smtC;
    std::string error;
    ASSERT_TRUE(SpringMapGenerator::Generate(opts, "a.smt", smfA, smtA, error)) << error;
    ASSERT_TRUE(SpringMapGenerator::Generate(opts, "a.smt", smfB, smtB, error)) << error;
    EXPECT_TRUE(smfA == smfB);
    EXPECT_TRUE(smtA == smtB);
    opts.Seed = 2;
    ASSERT_TRUE(SpringMapGenerator::Generate(opts, "a.smt", smfC, smtC, error)) << error;
    EXPECT_FALSE(smfA == smfC);
    EXPECT_EQ(smfA.size(), smfC.size());
    // Sizes follow from the layout: header 80, grass header 12, heights, types, minimap, tile section
    // (8 + 4 + "a.smt\0" + index), metal, grass, features 8.
    EXPECT_EQ(smfA.size(),
              80u + 12 + 65 * 65 * 2 + 32 * 32 + 699048 + (8 + 4 + 6 + 16 * 16 * 4) + 32 * 32 + 16 * 16 + 8);
    EXPECT_EQ(smtA.size(), 32u + 16 * 16 * 680);
}

TEST(MapGenerator, RefusesBadOptions)
{
    const struct
    {
        int MapX, MapY;
        float MinHeight, MaxHeight;
        const char* Expected;
    } cases[] = {
        {0, 64, 0, 1, "map size 0x64 squares must be multiples of 4 between 4 and 4096"},
        {66, 64, 0, 1, "map size 66x64 squares must be multiples of 4 between 4 and 4096"},
        {64, 8192, 0, 1, "map size 64x8192 squares must be multiples of 4 between 4 and 4096"},
        {64, 64, 5, 5, "a tile file name and a height range with maximum above minimum are needed"},
    };
    for (const auto& c : cases)
    {
        SpringMapGenerator::Options opts;
        opts.MapX = c.MapX, opts.MapY = c.MapY, opts.MinHeight = c.MinHeight, opts.MaxHeight = c.MaxHeight;
        std::vector<std::uint8_t> smf{1}, smt{2};
        std::string error;
        EXPECT_FALSE(SpringMapGenerator::Generate(opts, "x.smt", smf, smt, error)) << c.Expected;
        EXPECT_EQ(error, c.Expected);
        EXPECT_EQ(smf, std::vector<std::uint8_t>{1}) << "outputs untouched on failure";
    }
}

TEST(MapGenerator, DefaultMapLoadsThroughTheLoaderWithItsLandmarks)
{
    ScratchDir scratch;
    ASSERT_EQ(setenv("XDG_CACHE_HOME", scratch.Path.c_str(), 1), 0);
    std::string smfPath, error;
    ASSERT_TRUE(SpringMapGenerator::EnsureDefaultMap(smfPath, error)) << error;
    EXPECT_EQ(smfPath, (scratch.Path / "quindle" / "quindle-default-v1.smf").string());
    const auto written = fs::last_write_time(smfPath);
    std::string again;
    ASSERT_TRUE(SpringMapGenerator::EnsureDefaultMap(again, error)) << error;
    EXPECT_EQ(fs::last_write_time(again), written) << "generated once, then reused";

    SpringMap map;
    ASSERT_TRUE(SpringMapLoader::Load(smfPath, map, error)) << error;
    EXPECT_TRUE(map.Warnings.empty());
    EXPECT_EQ(map.Name, "quindle-default-v1");
    EXPECT_EQ(map.Smf.MapX, 256);
    EXPECT_EQ(map.Smf.MapY, 256);
    EXPECT_EQ(map.MinHeight, -60.0f);
    EXPECT_EQ(map.MaxHeight, 440.0f);
    EXPECT_EQ(map.Smf.NumTiles, 64 * 64);
    EXPECT_EQ(map.TileFiles[0].ResolvedPath, "quindle-default-v1.smt");
    SpringMapRenderer terrain;
    ASSERT_TRUE(terrain.LoadMap(map));

    // The plateau: a flat top at 0.62 of the range around its centre (0.72, 0.3 of the map, +-0.04).
    int flatCorners = 0;
    const float plateauHeight = -60.0f + 0.62f * 500.0f;
    for (int z = 0; z <= 256; ++z)
        for (int x = 0; x <= 256; ++x)
            flatCorners += std::abs(map.GetCornerHeight(x, z) - plateauHeight) < 0.05f;
    EXPECT_GT(flatCorners, 2000) << "a disc of radius 0.12 * 256 squares is about 2900 corners";
    // The ridge crest stands well above its surroundings; the valley floor is the lowest ground.
    const float high = terrain.GetHighestHeight(), low = terrain.GetLowestHeight();
    EXPECT_GT(high, plateauHeight + 50.0f);
    EXPECT_LT(low, -60.0f + 0.2f * 500.0f);
    // Slopes: the steepest square rises more than 1 unit per unit (the plateau's sides), many are gentle.
    float steepest = 0.0f;
    for (int z = 0; z < 256; ++z)
        for (int x = 0; x < 256; ++x)
            steepest = std::max(steepest,
                                std::abs(map.GetCornerHeight(x + 1, z) - map.GetCornerHeight(x, z)) / 8.0f);
    EXPECT_GT(steepest, 1.0f);
}
