#include <cmath>

#include "springmap_archive.h"
#include "springmap_loader.h"
#include "test_maps_fixtures.h"

namespace
{
struct FixtureCase
{
    const char* Path;
    const char* Name;
    int MapX, MapY;
    float MinHeight, MaxHeight;
    int NumTiles;
    const char* TileFileName;
    const char* ResolvedTileFile;
};

const FixtureCase Fixtures[] = {
    {"Map_Blueprint_V1.sdd", "MAP_BLUEPRINT_V1", 128, 128, -340.0f, 760.0f, 1024, "maps/MAP_BLUEPRINT_V1.smt",
     "maps/Map_Blueprint_V1.smt"},
    {"map_blueprint_v1.sdz", "MAP_BLUEPRINT_V1", 128, 128, -340.0f, 760.0f, 1024, "maps/MAP_BLUEPRINT_V1.smt",
     "maps/Map_Blueprint_V1.smt"},
    {"map_blueprint_v1.sd7", "MAP_BLUEPRINT_V1", 128, 128, -340.0f, 760.0f, 1024, "maps/MAP_BLUEPRINT_V1.smt",
     "maps/Map_Blueprint_V1.smt"},
    {"bridge.sdd", "The Bridge", 640, 640, 380.0f, 0.0f, 3241, "bridge.smt", "maps/bridge.smt"},
    {"Blank16.sdd", "Blank16", 1024, 1024, -110.0f, 200.0f, 1, "Blank.smt", "maps/Blank.smt"},
};
} // namespace

TEST(MapLoader, FixturesLoadWithTheirSizesHeightsAndTiles)
{
    SKIP_WITHOUT_MAPS();
    for (const FixtureCase& fixture : Fixtures)
    {
        SpringMap map;
        std::string error;
        ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / fixture.Path).string(), map, error))
            << fixture.Path << ": " << error;
        EXPECT_EQ(map.Name, fixture.Name) << fixture.Path;
        EXPECT_EQ(map.Smf.MapX, fixture.MapX) << fixture.Path;
        EXPECT_EQ(map.Smf.MapY, fixture.MapY) << fixture.Path;
        EXPECT_EQ(map.MinHeight, fixture.MinHeight) << fixture.Path;
        EXPECT_EQ(map.MaxHeight, fixture.MaxHeight) << fixture.Path;
        EXPECT_EQ(map.Smf.NumTiles, fixture.NumTiles) << fixture.Path;
        EXPECT_EQ(map.Smf.RawHeights.size(), std::size_t(fixture.MapX + 1) * (fixture.MapY + 1))
            << fixture.Path;
        EXPECT_EQ(map.Smf.TileIndex.size(), std::size_t(fixture.MapX / 4) * (fixture.MapY / 4))
            << fixture.Path;
        EXPECT_EQ(map.Smf.Minimap.size(), 699048u) << fixture.Path;
        ASSERT_EQ(map.TileFiles.size(), 1u) << fixture.Path;
        EXPECT_EQ(map.TileFiles[0].Name, fixture.TileFileName) << fixture.Path;
        EXPECT_EQ(map.TileFiles[0].ResolvedPath, fixture.ResolvedTileFile) << fixture.Path;
        EXPECT_EQ(map.TileFiles[0].Tiles.size(), std::size_t(fixture.NumTiles) * 680) << fixture.Path;
        EXPECT_TRUE(map.Warnings.empty())
            << fixture.Path << ": " << (map.Warnings.empty() ? "" : map.Warnings[0]);
    }
}

TEST(MapLoader, HeightsScaleByTheOverriddenRangeOver65536)
{
    SKIP_WITHOUT_MAPS();
    // bridge's mapinfo inverts the range (380..0), so raw 0 is the top and larger raw values go down.
    SpringMap map;
    std::string error;
    ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / "bridge.sdd").string(), map, error)) << error;
    const int stride = map.Smf.MapX + 1;
    for (const auto& [x, z] : {std::pair{0, 0}, {640, 0}, {0, 640}, {640, 640}, {320, 321}, {17, 400}})
    {
        const std::uint16_t raw = map.Smf.RawHeights[std::size_t(z) * stride + x];
        EXPECT_FLOAT_EQ(map.GetCornerHeight(x, z), 380.0f - raw * (380.0f / 65536.0f)) << x << "," << z;
    }
    // The flat map: every raw value is 0, so every corner sits at the overridden minimum.
    SpringMap flat;
    ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / "Blank16.sdd").string(), flat, error)) << error;
    EXPECT_EQ(std::count(flat.Smf.RawHeights.begin(), flat.Smf.RawHeights.end(), 0), 1025 * 1025);
    EXPECT_EQ(flat.GetCornerHeight(1024, 1024), -110.0f);
}

TEST(MapLoader, ArchivesAndBareSmfGiveWhatTheFolderGives)
{
    SKIP_WITHOUT_MAPS();
    SpringMap folder;
    std::string error;
    ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / "Map_Blueprint_V1.sdd").string(), folder, error)) << error;
    for (const char* other :
         {"map_blueprint_v1.sdz", "map_blueprint_v1.sd7", "Map_Blueprint_V1.sdd/maps/Map_Blueprint_V1.smf"})
    {
        SpringMap map;
        ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / other).string(), map, error))
            << other << ": " << error;
        EXPECT_EQ(map.Name, folder.Name) << other;
        EXPECT_EQ(map.SmfPath, folder.SmfPath) << other;
        EXPECT_EQ(map.Smf.MapId, folder.Smf.MapId) << other;
        EXPECT_EQ(map.MinHeight, folder.MinHeight) << other;
        EXPECT_EQ(map.MaxHeight, folder.MaxHeight) << other;
        EXPECT_EQ(map.Smf.RawHeights, folder.Smf.RawHeights) << other;
        EXPECT_EQ(map.Smf.TypeMap, folder.Smf.TypeMap) << other;
        EXPECT_EQ(map.Smf.MetalMap, folder.Smf.MetalMap) << other;
        EXPECT_EQ(map.Smf.GrassMap, folder.Smf.GrassMap) << other;
        EXPECT_EQ(map.Smf.Minimap, folder.Smf.Minimap) << other;
        EXPECT_EQ(map.Smf.TileIndex, folder.Smf.TileIndex) << other;
        EXPECT_EQ(map.Smf.FeatureTypes, folder.Smf.FeatureTypes) << other;
        ASSERT_EQ(map.TileFiles.size(), 1u) << other;
        EXPECT_EQ(map.TileFiles[0].ResolvedPath, folder.TileFiles[0].ResolvedPath) << other;
        EXPECT_TRUE(map.TileFiles[0].Tiles == folder.TileFiles[0].Tiles) << other;
    }
}

TEST(MapLoader, ReadsTheSectionsOfTheBlueprintHeader)
{
    SKIP_WITHOUT_MAPS();
    SpringMap map;
    std::string error;
    ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / "Map_Blueprint_V1.sdd").string(), map, error)) << error;
    EXPECT_EQ(map.Smf.MinHeight, -260.0f) << "header value before the override";
    EXPECT_EQ(map.Smf.MaxHeight, 740.0f);
    EXPECT_EQ(map.Smf.GrassMap.size(), 32u * 32u);
    EXPECT_EQ(map.Smf.TypeMap.size(), 64u * 64u);
    EXPECT_EQ(map.Smf.TileFiles[0].Name, "Map_Blueprint_V1.smt") << "stored name before the override";
    // No duplicates in this map: every tile is used exactly once.
    std::vector<int> uses(1024, 0);
    for (std::int32_t index : map.Smf.TileIndex)
        ++uses[index];
    EXPECT_EQ(std::count(uses.begin(), uses.end(), 1), 1024);
}

TEST(MapLoader, SkippingTilesKeepsEverythingElse)
{
    SKIP_WITHOUT_MAPS();
    SpringMap map;
    std::string error;
    SpringMapLoader::Options opts;
    opts.bReadTiles = false;
    ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / "map_blueprint_v1.sd7").string(), map, error, opts))
        << error;
    EXPECT_EQ(map.TileFiles[0].ResolvedPath, "maps/Map_Blueprint_V1.smt");
    EXPECT_TRUE(map.TileFiles[0].Tiles.empty());
    EXPECT_EQ(map.MinHeight, -340.0f);
}

TEST(MapArchive, LooksUpPathsIgnoringCaseAndListsFolders)
{
    SKIP_WITHOUT_MAPS();
    for (const char* path : {"Map_Blueprint_V1.sdd", "map_blueprint_v1.sdz", "map_blueprint_v1.sd7"})
    {
        SpringMapArchive archive;
        std::string error, entry;
        ASSERT_TRUE(archive.Open((MapsDir() / path).string(), error)) << error;
        EXPECT_TRUE(archive.Find("MAPS\\map_blueprint_v1.SMF", entry)) << path;
        EXPECT_EQ(entry, "maps/Map_Blueprint_V1.smf") << path;
        EXPECT_TRUE(archive.Find("./maps//Map_Blueprint_V1.smt", entry)) << path;
        EXPECT_FALSE(archive.Find("maps/Map_Blueprint_V1", entry)) << path;
        EXPECT_EQ(archive.ListDir("mapconfig/mapinfo/", "*.lua"),
                  std::vector<std::string>{"mapconfig/mapinfo/0_apply_options.lua"})
            << path;
        EXPECT_EQ(archive.ListDir("MAPCONFIG", "*.lua"), std::vector<std::string>{})
            << path << ": not recursive";
        EXPECT_EQ(archive.ListDir("maps", "*.sm?").size(), 2u) << path;
    }
}
