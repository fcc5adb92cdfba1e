#include <cmath>
#include <tuple>

#include "springmap_generator.h"
#include "springmap_loader.h"
#include "test_maps_fixtures.h"

TEST(MapGenerator, SameSeedSameBytesAndBadOptionsRefused)
{
    SpringMapGenerator::Options opts;
    opts.MapX = 64, opts.MapY = 32;
    std::vector<std::uint8_t> smf[3], smt[3];
    std::string error;
    for (int i = 0; i < 3; ++i)
    {
        opts.Seed = i < 2 ? 1 : 2;
        ASSERT_TRUE(SpringMapGenerator::Generate(opts, "a.smt", smf[i], smt[i], error)) << error;
    }
    EXPECT_TRUE(smf[0] == smf[1] && smt[0] == smt[1]);
    EXPECT_FALSE(smf[0] == smf[2]);
    // Header 80, grass header 12, heights, types, minimap, tiles (8 + 4 + "a.smt\0" + index), metal, grass,
    // features.
    EXPECT_EQ(smf[2].size(),
              80u + 12 + 65 * 33 * 2 + 32 * 16 + 699048 + (8 + 4 + 6 + 16 * 8 * 4) + 32 * 16 + 16 * 8 + 8);
    EXPECT_EQ(smt[2].size(), 32u + 16 * 8 * 680);
    // clang-format off
    const struct { int MapX, MapY; float MinHeight, MaxHeight; const char* Expected; } cases[] = {
        {0, 64, 0, 1, "map size 0x64 squares must be multiples of 4 between 4 and 4096"},
        {66, 64, 0, 1, "map size 66x64 squares must be multiples of 4 between 4 and 4096"},
        {64, 4100, 0, 1, "map size 64x4100 squares must be multiples of 4 between 4 and 4096"},
        {64, 64, 5, 5, "a tile file name and a height range with maximum above minimum are needed"},
    };
    // clang-format on
    for (const auto& c : cases)
    {
        opts.MapX = c.MapX, opts.MapY = c.MapY, opts.MinHeight = c.MinHeight, opts.MaxHeight = c.MaxHeight;
        std::vector<std::uint8_t> smfOut{1}, smtOut{2};
        EXPECT_FALSE(SpringMapGenerator::Generate(opts, "x.smt", smfOut, smtOut, error)) << c.Expected;
        EXPECT_EQ(error, c.Expected);
        EXPECT_EQ(smfOut, std::vector<std::uint8_t>{1}) << "outputs untouched on failure";
    }
}

TEST(MapGenerator, DefaultMapIsCachedAndLoadsWithItsPlateauAndSlopes)
{
    ScratchDir scratch;
    ASSERT_EQ(setenv("XDG_CACHE_HOME", scratch.Path.c_str(), 1), 0);
    std::string smfPath, again, error;
    ASSERT_TRUE(SpringMapGenerator::EnsureDefaultMap(smfPath, error)) << error;
    EXPECT_EQ(smfPath, (scratch.Path / "quindle" / "quindle-default-v1.smf").string());
    const auto written = std::filesystem::last_write_time(smfPath);
    ASSERT_TRUE(SpringMapGenerator::EnsureDefaultMap(again, error)) << error;
    EXPECT_EQ(std::filesystem::last_write_time(again), written) << "generated once, then reused";
    SpringMap map;
    ASSERT_TRUE(SpringMapLoader::Load(smfPath, map, error)) << error;
    EXPECT_EQ(std::tuple(map.Warnings, map.Name, map.Smf.MapX * 10000 + map.Smf.MapY, map.MinHeight,
                         map.MaxHeight, map.TileFiles[0].ResolvedPath),
              std::tuple(std::vector<std::string>{}, "quindle-default-v1", 2560256, -60.0f, 440.0f,
                         "quindle-default-v1.smt"));
    // The plateau: a flat top at 0.62 of the range, a disc of radius 0.12 * 256 squares (about 2900 corners).
    int plateauCorners = 0;
    float steepest = 0.0f;
    for (int z = 0; z < 256; ++z)
        for (int x = 0; x < 256; ++x)
        {
            plateauCorners += std::abs(map.GetCornerHeight(x, z) - (-60.0f + 0.62f * 500.0f)) < 0.05f;
            steepest =
                std::max(steepest, std::abs(map.GetCornerHeight(x + 1, z) - map.GetCornerHeight(x, z)) / 8);
        }
    EXPECT_GT(plateauCorners, 2000);
    EXPECT_GT(steepest, 1.0f) << "the plateau's sides rise more than 1 unit per unit";
}

TEST(MapGenerator, FeaturesStandOnTheGroundMostlyTreesWithSomeRocksAndVents)
{
    SpringMapGenerator::Options opts;
    opts.MapX = 64, opts.MapY = 32, opts.FeatureCount = 400;
    std::vector<std::uint8_t> smf, smt;
    std::string error;
    ASSERT_TRUE(SpringMapGenerator::Generate(opts, "a.smt", smf, smt, error)) << error;
    SpringMap map;
    ASSERT_TRUE(SpringMapLoader::LoadFromMemory("a.smf", smf, map, error)) << error;
    EXPECT_EQ(map.Smf.FeatureTypes,
              (std::vector<std::string>{"TreeType0", "TreeType1", "TreeType2", "rock_big", "GeoVent"}));
    ASSERT_EQ(map.Smf.Features.size(), 400u);
    int perType[5] = {};
    for (const SpringMapSmf::Feature& f : map.Smf.Features)
    {
        ++perType[f.Type];
        ASSERT_TRUE(f.X >= 0 && f.X <= 512 && f.Z >= 0 && f.Z <= 256) << f.X << ", " << f.Z;
        // At the height of its nearest grid corner (the engine drops it onto the ground anyway).
        EXPECT_NEAR(f.Y, map.GetCornerHeight(int(std::lround(f.X / 8)), int(std::lround(f.Z / 8))), 0.05f);
    }
    EXPECT_GT(perType[0] + perType[1] + perType[2], 2 * perType[3]);
    EXPECT_GT(perType[3], perType[4]);
    EXPECT_GT(perType[4], 0);
    opts.FeatureCount = -1;
    EXPECT_FALSE(SpringMapGenerator::Generate(opts, "a.smt", smf, smt, error));
    EXPECT_EQ(error, "feature count -1 must be between 0 and 100000");
}
