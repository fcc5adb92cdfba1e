// The loader against the real maps and against a plain reference reader of the .smf bytes; archives
// read on demand give what the folder and whole unpacking give, reading only what the map needs.
#include <random>

#include "springmap_archive.h"
#include "springmap_generator.h"
#include "springmap_loader.h"
#include "test_maps_fixtures.h"

namespace
{
// Every section of an .smf read field by field from the header's pointers, the way the format is laid out.
void ExpectParsedAsLaidOut(const std::vector<std::uint8_t>& b, const SpringMapSmf& smf,
                           const std::string& what)
{
    const auto bytes = [&](std::size_t at, std::size_t n)
    { return std::vector<std::uint8_t>(&b[at], &b[at] + n); };
    const auto text = [&](std::size_t& at)
    {
        std::string s(reinterpret_cast<const char*>(&b[at]));
        at += s.size() + 1;
        return s;
    };
    const int mapX = GetInt32(b, 24), mapY = GetInt32(b, 28);
    float minHeight = 0, maxHeight = 0;
    std::memcpy(&minHeight, &b[44], 4), std::memcpy(&maxHeight, &b[48], 4);
    EXPECT_EQ(smf.MapId, std::uint32_t(GetInt32(b, 20))) << what;
    EXPECT_EQ(smf.MapX, mapX) << what;
    EXPECT_EQ(smf.MapY, mapY) << what;
    EXPECT_EQ(smf.MinHeight, minHeight) << what;
    EXPECT_EQ(smf.MaxHeight, maxHeight) << what;
    std::vector<std::uint16_t> heights;
    for (int i = 0; i < (mapX + 1) * (mapY + 1); ++i)
        heights.push_back(std::uint16_t(b[GetInt32(b, 52) + 2 * i] | b[GetInt32(b, 52) + 2 * i + 1] << 8));
    EXPECT_EQ(smf.RawHeights, heights) << what;
    EXPECT_EQ(smf.TypeMap, bytes(GetInt32(b, 56), mapX / 2 * mapY / 2)) << what;
    EXPECT_EQ(smf.Minimap, bytes(GetInt32(b, 64), 699048)) << what;
    EXPECT_EQ(smf.MetalMap, bytes(GetInt32(b, 68), mapX / 2 * mapY / 2)) << what;
    ASSERT_EQ(GetInt32(b, 76), 1) << what << ": one extra header, the grass one";
    EXPECT_EQ(smf.GrassMap, bytes(GetInt32(b, 88), mapX / 4 * mapY / 4)) << what;
    std::size_t at = GetInt32(b, 60) + 8;
    EXPECT_EQ(smf.NumTiles, GetInt32(b, at - 4)) << what;
    ASSERT_EQ(smf.TileFiles.size(), std::size_t(GetInt32(b, at - 8))) << what;
    for (const auto& file : smf.TileFiles)
    {
        EXPECT_EQ(file.TileCount, GetInt32(b, at)) << what;
        EXPECT_EQ(file.Name, text(at += 4)) << what;
    }
    for (int i = 0; i < mapX / 4 * mapY / 4; ++i)
        ASSERT_EQ(smf.TileIndex.at(i), GetInt32(b, at + 4 * i)) << what << " tile " << i;
    at = GetInt32(b, 72) + 8;
    std::vector<std::string> types(GetInt32(b, at - 8));
    for (std::string& type : types)
        type = text(at);
    EXPECT_EQ(smf.FeatureTypes, types) << what;
    EXPECT_EQ(smf.Features.size(), std::size_t(GetInt32(b, GetInt32(b, 72) + 4))) << what;
}
} // namespace

TEST(MapLoader, ParsesRealAndGeneratedMapsAsTheReferenceReads)
{
    SKIP_WITHOUT_MAPS();
    std::vector<std::pair<std::string, std::vector<std::uint8_t>>> files;
    for (const char* real : {"Map_Blueprint_V1.sdd/maps/Map_Blueprint_V1.smf", "bridge.sdd/maps/bridge.smf",
                             "Blank16.sdd/maps/Blank.smf"})
        files.emplace_back(real, ReadBytes(MapsDir() / real));
    const unsigned seed = 4242;
    std::mt19937 random(seed);
    for (int i = 0; i < 6; ++i)
    {
        SpringMapGenerator::Options opts;
        opts.Seed = random(), opts.MapX = 4 * std::uniform_int_distribution(1, 40)(random),
        opts.MapY = 4 * std::uniform_int_distribution(1, 40)(random);
        std::vector<std::uint8_t> smf, smt;
        std::string error;
        ASSERT_TRUE(SpringMapGenerator::Generate(opts, "t" + std::to_string(i) + ".smt", smf, smt, error))
            << error;
        files.emplace_back("seed " + std::to_string(seed) + " map " + std::to_string(i), smf);
    }
    for (const auto& [what, bytes] : files)
    {
        SpringMapSmf smf;
        std::string error;
        ASSERT_TRUE(SpringMapSmfFormat::Parse(bytes, what, smf, error)) << error;
        ExpectParsedAsLaidOut(bytes, smf, what);
    }
}

// clang-format off
const struct { const char* Path; const char* Name; int MapX; float MinHeight, MaxHeight; int NumTiles; const char* TileName; const char* Resolved; } Fixtures[] = {
    {"Map_Blueprint_V1.sdd", "MAP_BLUEPRINT_V1", 128, -340, 760, 1024, "maps/MAP_BLUEPRINT_V1.smt", "maps/Map_Blueprint_V1.smt"},
    {"map_blueprint_v1.sdz", "MAP_BLUEPRINT_V1", 128, -340, 760, 1024, "maps/MAP_BLUEPRINT_V1.smt", "maps/Map_Blueprint_V1.smt"},
    {"map_blueprint_v1.sd7", "MAP_BLUEPRINT_V1", 128, -340, 760, 1024, "maps/MAP_BLUEPRINT_V1.smt", "maps/Map_Blueprint_V1.smt"},
    {"Map_Blueprint_V1.sdd/maps/Map_Blueprint_V1.smf", "MAP_BLUEPRINT_V1", 128, -340, 760, 1024, "maps/MAP_BLUEPRINT_V1.smt", "maps/Map_Blueprint_V1.smt"},
    {"bridge.sdd", "The Bridge", 640, 380, 0, 3241, "bridge.smt", "maps/bridge.smt"}, // a subfolder name replaced by mapinfo's
    {"Blank16.sdd", "Blank16", 1024, -110, 200, 1, "Blank.smt", "maps/Blank.smt"},
};
// clang-format on

TEST(MapLoader, FixturesLoadWithMapinfoAppliedAndHeightsOver65536)
{
    SKIP_WITHOUT_MAPS();
    for (const auto& f : Fixtures)
    {
        SpringMap map;
        std::string error;
        ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / f.Path).string(), map, error))
            << f.Path << ": " << error;
        EXPECT_EQ(map.Name, f.Name) << f.Path;
        EXPECT_EQ(map.Smf.MapX, f.MapX) << f.Path;
        EXPECT_EQ(map.MinHeight, f.MinHeight) << f.Path;
        EXPECT_EQ(map.MaxHeight, f.MaxHeight) << f.Path;
        ASSERT_EQ(map.TileFiles.size(), 1u) << f.Path;
        EXPECT_EQ(map.TileFiles[0].Name, f.TileName) << f.Path;
        EXPECT_EQ(map.TileFiles[0].ResolvedPath, f.Resolved) << f.Path;
        EXPECT_EQ(map.TileFiles[0].Tiles.size(), std::size_t(f.NumTiles) * 680) << f.Path;
        EXPECT_EQ(std::memcmp(map.GetTile(f.NumTiles - 1),
                              map.TileFiles[0].Tiles.data() + (f.NumTiles - 1) * 680, 680),
                  0);
        EXPECT_EQ(map.GetTile(f.NumTiles), SpringMapLoader::GetPlaceholderTile()) << "past the last tile";
        // The only complaints: ground textures mapinfo names and the fixtures leave out.
        EXPECT_EQ(map.Warnings.size(), std::size_t(std::count_if(map.Textures.begin(), map.Textures.end(),
                                                                 [](auto& t) { return t.ResolvedPath.empty(); })));
        for (const std::string& warning : map.Warnings)
            EXPECT_TRUE(warning.ends_with(" not found; the ground is drawn without it")) << warning;
        for (const auto& [x, z] : {std::pair{0, 0}, {f.MapX, f.MapX}, {17, f.MapX / 3}})
        {
            const int raw = map.Smf.RawHeights[std::size_t(z) * (f.MapX + 1) + x];
            EXPECT_FLOAT_EQ(map.GetCornerHeight(x, z),
                            f.MinHeight + raw * ((f.MaxHeight - f.MinHeight) / 65536.0f));
        }
    }
}

TEST(MapLoader, ReadingOnDemandEqualsWholeReadingAndReadsOnlyWhatTheMapNeeds)
{
    SKIP_WITHOUT_MAPS();
    SpringMap folder;
    std::string error;
    ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / Fixtures[0].Path).string(), folder, error)) << error;
    for (const auto& path :
         {MapsDir() / "Map_Blueprint_V1.sdd", MapsDir() / "map_blueprint_v1.sdz",
          MapsDir() / "map_blueprint_v1.sd7", MapsDir() / "bridge.sdd", MapsDir() / "Blank16.sdd"})
        for (const bool bReadTiles : {true, false})
        {
            SpringMap selective, whole;
            SpringMapLoader::Options opts;
            opts.bReadTiles = bReadTiles;
            ASSERT_TRUE(SpringMapLoader::Load(path.string(), selective, error, opts)) << error;
            opts.bUnpackWholeArchive = true;
            ASSERT_TRUE(SpringMapLoader::Load(path.string(), whole, error, opts)) << error;
            const bool bBlueprint = path.string().find("lueprint") != std::string::npos;
            for (const SpringMap* pSame : {&whole, bBlueprint ? &folder : &whole})
            {
                EXPECT_EQ(selective.Name, pSame->Name) << path;
                EXPECT_EQ(selective.MinHeight, pSame->MinHeight) << path;
                EXPECT_EQ(selective.MaxMetal, pSame->MaxMetal) << path;
                EXPECT_EQ(selective.Smf.RawHeights, pSame->Smf.RawHeights) << path;
                EXPECT_EQ(selective.Smf.Minimap, pSame->Smf.Minimap) << path;
                EXPECT_EQ(selective.Smf.TileIndex, pSame->Smf.TileIndex) << path;
                EXPECT_EQ(selective.TileFiles[0].ResolvedPath, pSame->TileFiles[0].ResolvedPath) << path;
                EXPECT_TRUE(!bReadTiles || selective.TileFiles[0].Tiles == pSame->TileFiles[0].Tiles) << path;
            }
            EXPECT_EQ(selective.TileFiles[0].Tiles.empty(), !bReadTiles) << path;
            // mapinfo.lua with what it includes, the .smf and (when tiles are read) the .smt; nothing else.
            const std::vector<std::string>& read = selective.ReadEntries;
            EXPECT_EQ(std::count(read.begin(), read.end(), selective.TileFiles[0].ResolvedPath), bReadTiles);
            const int configs = bBlueprint ? 1 : path.string().find("Blank") != std::string::npos ? 0 : 8;
            EXPECT_EQ(read.size(), std::size_t(configs + 2 + bReadTiles)) << path;
        }
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
    // Every letter folds, Z included; a name that is only the ending still ends with it.
    EXPECT_EQ(SpringMapFiles::ToLower("AZaz@[09"), "azaz@[09");
    // clang-format off
    const struct { const char* Text; const char* Suffix; bool bEnds; } endings[] = {
        {".SMF", ".smf", true}, {"m.Sd7", ".SD7", true}, {"smf", ".smf", false}, {"a.smz", ".smf", false}};
    // clang-format on
    for (const auto& e : endings)
        EXPECT_EQ(SpringMapFiles::EndsWithIgnoreCase(e.Text, e.Suffix), e.bEnds) << e.Text;
    SpringMapArchive absent;
    std::string error;
    EXPECT_FALSE(absent.Open("/absent.sdz", error));
    EXPECT_EQ(error, "/absent.sdz: no such file or folder");
}
