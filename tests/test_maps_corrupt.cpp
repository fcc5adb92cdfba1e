#include "springmap_loader.h"
#include "test_maps_fixtures.h"

namespace fs = std::filesystem;

namespace
{
// A copy of the Blueprint map as a bare .smf beside its .smt, ready to be damaged.
struct DamagedMap
{
    ScratchDir Scratch;
    std::vector<std::uint8_t> Smf = ReadBytes(MapsDir() / "Map_Blueprint_V1.sdd/maps/Map_Blueprint_V1.smf");
    std::vector<std::uint8_t> Smt = ReadBytes(MapsDir() / "Map_Blueprint_V1.sdd/maps/Map_Blueprint_V1.smt");

    fs::path SmfPath() const { return Scratch.Path / "blueprint.smf"; }
    // Writes both files and loads; returns the error ("" when it loaded).
    std::string Load(SpringMap* pOut = nullptr)
    {
        WriteBytes(SmfPath(), Smf);
        WriteBytes(Scratch.Path / "Map_Blueprint_V1.smt", Smt);
        SpringMap map;
        std::string error;
        if (!SpringMapLoader::Load(SmfPath().string(), map, error))
            return error.empty() ? "(failed without an error)" : error;
        if (pOut)
            *pOut = std::move(map);
        return "";
    }
    std::size_t TileIndexOffset() const
    {
        // tilesPtr, two counts, one file: count + "Map_Blueprint_V1.smt\0".
        return std::size_t(GetInt32(Smf, 60)) + 8 + 4 + 21;
    }
};

struct Truncation
{
    const char* Section;
    int PointerOffset;  // header field holding the section's pointer
    std::size_t Length; // bytes the section needs
    const char* Expected;
};
} // namespace

TEST(MapCorrupt, TruncatedInsideEverySectionNamesTheSection)
{
    SKIP_WITHOUT_MAPS();
    DamagedMap probe;
    const std::size_t grassPtr = std::size_t(GetInt32(probe.Smf, 88));
    const Truncation cases[] = {
        {"heightmap", 52, 129 * 129 * 2, "heightmap section runs past the end of the file"},
        {"type map", 56, 64 * 64, "type map section runs past the end of the file"},
        {"minimap", 64, 699048, "minimap section runs past the end of the file"},
        {"metal map", 68, 64 * 64, "metal map section runs past the end of the file"},
        {"grass map", -1, 32 * 32, "grass map section runs past the end of the file"},
        {"tile index", -2, 32 * 32 * 4, "tile index runs past the end of the file"},
        {"feature", 72, 8, "feature section runs past the end of the file"},
    };
    for (const Truncation& c : cases)
    {
        DamagedMap map;
        const std::size_t start = c.PointerOffset == -1   ? grassPtr
                                  : c.PointerOffset == -2 ? map.TileIndexOffset()
                                                          : std::size_t(GetInt32(map.Smf, c.PointerOffset));
        // The last byte of the section is missing.
        map.Smf.resize(start + c.Length - 1);
        const std::string error = map.Load();
        EXPECT_NE(error.find(map.SmfPath().filename().string() + ": " + c.Expected), std::string::npos)
            << c.Section << " cut at " << map.Smf.size() << ": " << error;
    }
}

TEST(MapCorrupt, TruncatedHeaderAndEmptyFile)
{
    SKIP_WITHOUT_MAPS();
    for (std::size_t size : {std::size_t(0), std::size_t(1), std::size_t(79)})
    {
        DamagedMap map;
        map.Smf.resize(size);
        EXPECT_EQ(map.Load(), map.SmfPath().string() + ": file is " + std::to_string(size) +
                                  " bytes, shorter than the 80-byte header")
            << size;
    }
    DamagedMap map;
    map.Smf.resize(84);
    EXPECT_NE(map.Load().find("extra header 0 runs past the end of the file"), std::string::npos);
    DamagedMap shortGrass;
    shortGrass.Smf.resize(88);
    EXPECT_NE(shortGrass.Load().find("grass extra header runs past the end of the file"), std::string::npos);
}

TEST(MapCorrupt, BadHeaderFieldsEachGiveTheirError)
{
    SKIP_WITHOUT_MAPS();
    const struct
    {
        std::size_t Offset;
        std::int32_t Value;
        const char* Expected;
    } cases[] = {
        {0, 0x69727073, "not a Spring map file (bad magic)"}, // "spri" kept, NUL moved: see below
        {16, 2, "unsupported version 2 (expected 1)"},
        {32, 16, "unsupported square size 16 (expected 8)"},
        {36, 4, "unsupported texels per square 4 (expected 8)"},
        {40, 64, "unsupported tile size 64 (expected 32)"},
        {24, 0, "map size 0x128 squares is out of range (1..16384)"},
        {24, -128, "map size -128x128 squares is out of range (1..16384)"},
        {28, 1 << 30, "map size 128x1073741824 squares is out of range (1..16384)"},
        {24, 130, "map size 130x128 squares is not a multiple of 4"},
        {44, 0x7FC00000, "height range is not finite"},
        {52, 0x7FFFFFFF, "heightmap section runs past the end of the file (offset 2147483647"},
        {56, -4, "type map pointer is negative (-4)"},
        {64, 745949 - 100, "minimap section runs past the end of the file"},
        {76, -1, "negative extra header count (-1)"},
    };
    for (const auto& c : cases)
    {
        DamagedMap map;
        PutInt32(map.Smf, c.Offset, c.Value);
        if (c.Offset == 0)
            map.Smf[15] = 'X'; // the magic's NUL is part of it
        const std::string error = map.Load();
        EXPECT_NE(error.find(map.SmfPath().string() + ": " + c.Expected), std::string::npos)
            << "offset " << c.Offset << " = " << c.Value << ": " << error;
    }
}

TEST(MapCorrupt, TileAndFeatureSectionsAreChecked)
{
    SKIP_WITHOUT_MAPS();
    DamagedMap probe;
    const std::size_t tilesPtr = std::size_t(GetInt32(probe.Smf, 60));
    const std::size_t featurePtr = std::size_t(GetInt32(probe.Smf, 72));
    const std::size_t index = probe.TileIndexOffset();
    const struct
    {
        std::size_t Offset;
        std::int32_t Value;
        const char* Expected;
    } cases[] = {
        {index, 1024, "tile index 1024 at (0, 0) is out of range (0..1024)"},
        {index + 4 * 33, -1, "tile index -1 at (1, 1) is out of range (0..1024)"},
        {tilesPtr + 4, 1025, "tile files supply 1024 tiles but the map declares 1025"},
        {tilesPtr + 8, -5, "tile file has a negative tile count (-5)"},
        {tilesPtr, 0x7FFFFFFF, "tile section lists 2147483647 tile files, more than the file can hold"},
        {tilesPtr, -1, "tile section has a negative count (-1 files, 1024 tiles)"},
        {featurePtr + 4, 0x7FFFFFFF, "feature section runs past the end of the file (2147483647 features)"},
        {featurePtr, 0x7FFFFFFF, "feature section has a bad count (2147483647 types, 0 features)"},
        {featurePtr, 1 << 14, "feature type name runs past the end of the file"},
    };
    for (const auto& c : cases)
    {
        DamagedMap map;
        PutInt32(map.Smf, c.Offset, c.Value);
        const std::string error = map.Load();
        EXPECT_NE(error.find(c.Expected), std::string::npos) << "offset " << c.Offset << ": " << error;
    }
    // A tile file name with no NUL before the end of the file.
    DamagedMap map;
    map.Smf.resize(tilesPtr + 8 + 4 + 5);
    EXPECT_NE(map.Load().find("tile file name runs past the end of the file"), std::string::npos);
}

TEST(MapCorrupt, FeaturesAreReadAndTheirTypesChecked)
{
    SKIP_WITHOUT_MAPS();
    DamagedMap map;
    const std::size_t featurePtr = std::size_t(GetInt32(map.Smf, 72));
    const std::int32_t numTypes = GetInt32(map.Smf, featurePtr);
    std::size_t featureEnd = featurePtr + 8;
    for (std::int32_t type = 0; type < numTypes; ++type)
        featureEnd += std::strlen(reinterpret_cast<const char*>(map.Smf.data() + featureEnd)) + 1;
    ASSERT_EQ(featureEnd, map.Smf.size()) << "the feature section ends the file";
    // Append two features; the second names a type that does not exist.
    PutInt32(map.Smf, featurePtr + 4, 2);
    const float one[6] = {0, 100.0f, 5.0f, 200.0f, 0.25f, 1.0f};
    const float two[6] = {0, 300.0f, 5.0f, 400.0f, 0.5f, 1.0f};
    for (const float* feature : {one, two})
    {
        std::vector<std::uint8_t> record(24);
        std::memcpy(record.data(), feature, 24);
        PutInt32(record, 0, feature == one ? numTypes - 1 : numTypes);
        map.Smf.insert(map.Smf.end(), record.begin(), record.end());
    }
    EXPECT_NE(map.Load().find("feature type " + std::to_string(numTypes) + " is out of range (0.." +
                              std::to_string(numTypes) + ")"),
              std::string::npos);
    PutInt32(map.Smf, map.Smf.size() - 24, 0);
    SpringMap loaded;
    ASSERT_EQ(map.Load(&loaded), "");
    ASSERT_EQ(loaded.Smf.Features.size(), 2u);
    EXPECT_EQ(loaded.Smf.Features[0].Type, numTypes - 1);
    EXPECT_EQ(loaded.Smf.Features[0].X, 100.0f);
    EXPECT_EQ(loaded.Smf.Features[0].Z, 200.0f);
    EXPECT_EQ(loaded.Smf.Features[1].Rotation, 0.5f);
}

TEST(MapCorrupt, ExtraHeaderSizesOfEveryWriterFindTheGrass)
{
    SKIP_WITHOUT_MAPS();
    for (std::int32_t size : {4, 12, 16388})
    {
        DamagedMap map;
        PutInt32(map.Smf, 80, size);
        SpringMap loaded;
        ASSERT_EQ(map.Load(&loaded), "") << size;
        EXPECT_EQ(loaded.Smf.GrassMap.size(), 32u * 32u) << size;
    }
    // An unknown header that cannot be stepped over stops the list; no grass then.
    DamagedMap map;
    PutInt32(map.Smf, 80, 2);
    PutInt32(map.Smf, 84, 7);
    SpringMap loaded;
    ASSERT_EQ(map.Load(&loaded), "");
    EXPECT_TRUE(loaded.Smf.GrassMap.empty());
}

TEST(MapCorrupt, TileFilesAreCheckedOrReplacedByAPlaceholder)
{
    SKIP_WITHOUT_MAPS();
    const struct
    {
        std::size_t Size; // of the .smt; 0 keeps it whole
        std::size_t PatchOffset;
        std::int32_t Value;
        const char* Expected;
    } cases[] = {
        {31, 0, 0, "Map_Blueprint_V1.smt: file is 31 bytes, shorter than the 32-byte header"},
        {32 + 680 * 1024 - 1, 0, 0,
         "Map_Blueprint_V1.smt: file is 696351 bytes, too short for the 1024 tiles the map takes from it"},
        {0, 0, 0x696E6970, "Map_Blueprint_V1.smt: not a Spring tile file (bad magic)"},
        {0, 16, 3, "Map_Blueprint_V1.smt: unsupported version 3 (expected 1)"},
        {0, 24, 16, "Map_Blueprint_V1.smt: unsupported tile size 16 (expected 32)"},
        {0, 28, 2, "Map_Blueprint_V1.smt: unsupported compression type 2 (expected 1)"},
    };
    for (const auto& c : cases)
    {
        DamagedMap map;
        if (c.Size)
            map.Smt.resize(c.Size);
        else
            PutInt32(map.Smt, c.PatchOffset, c.Value);
        const std::string error = map.Load();
        EXPECT_NE(error.find(c.Expected), std::string::npos) << c.Expected << " got: " << error;
    }
    // A missing .smt is not a failure: its tiles become the placeholder.
    DamagedMap map;
    WriteBytes(map.SmfPath(), map.Smf);
    SpringMap loaded;
    std::string error;
    ASSERT_TRUE(SpringMapLoader::Load(map.SmfPath().string(), loaded, error)) << error;
    ASSERT_EQ(loaded.Warnings.size(), 1u);
    EXPECT_NE(loaded.Warnings[0].find(
                  "Map_Blueprint_V1.smt: tile file not found; the minimap stands in for its 1024 tiles"),
              std::string::npos)
        << loaded.Warnings[0];
    EXPECT_TRUE(loaded.TileFiles[0].ResolvedPath.empty());
    EXPECT_EQ(loaded.GetTile(0), SpringMapLoader::GetPlaceholderTile());
    EXPECT_EQ(loaded.GetTile(1023), SpringMapLoader::GetPlaceholderTile());
}

TEST(MapCorrupt, MapinfoFailuresWarnAndKeepTheHeaderValues)
{
    SKIP_WITHOUT_MAPS();
    const struct
    {
        const char* Source;
        const char* Expected; // inside the warning
    } cases[] = {
        {"error('broken on purpose')", "broken on purpose"},
        {"return 42", "mapinfo did not return a table"},
        {"local f = io.open('/etc/passwd') return {}", "io.open is blocked"},
        {"os.execute('true') return {}", "os.execute is blocked"},
        {"dofile('/etc/passwd') return {}", "dofile is blocked"},
        {"while true do end", "mapinfo ran too long"},
        {"local s = string.rep('x', 2 ^ 30) return {}", "not enough memory"},
        {"return VFS.Include('missing.lua')", "VFS: cannot open 'missing.lua'"},
        {"local function f() return f() + 1 end return f()", "stack overflow"},
        {"return {smf = {minheight = ", "unexpected symbol near '<eof>'"},
    };
    for (const auto& c : cases)
    {
        ScratchDir scratch;
        const fs::path maps = scratch.Path / "m.sdd" / "maps";
        fs::create_directories(maps);
        fs::copy(MapsDir() / "Map_Blueprint_V1.sdd/maps/Map_Blueprint_V1.smf", maps);
        fs::copy(MapsDir() / "Map_Blueprint_V1.sdd/maps/Map_Blueprint_V1.smt", maps);
        WriteText(scratch.Path / "m.sdd" / "mapinfo.lua", c.Source);
        SpringMap map;
        std::string error;
        ASSERT_TRUE(SpringMapLoader::Load((scratch.Path / "m.sdd").string(), map, error))
            << c.Source << ": " << error;
        ASSERT_EQ(map.Warnings.size(), 1u) << c.Source;
        EXPECT_NE(map.Warnings[0].find("mapinfo.lua"), std::string::npos) << map.Warnings[0];
        EXPECT_NE(map.Warnings[0].find(c.Expected), std::string::npos) << c.Source << ": " << map.Warnings[0];
        EXPECT_EQ(map.MinHeight, -260.0f) << c.Source;
        EXPECT_EQ(map.MaxHeight, 740.0f) << c.Source;
        EXPECT_EQ(map.Name, "Map_Blueprint_V1") << c.Source;
    }
}

TEST(MapCorrupt, MapinfoOverridesStandAloneAndNeedMatchingTileCounts)
{
    SKIP_WITHOUT_MAPS();
    const struct
    {
        const char* Source;
        float MinHeight, MaxHeight;
        const char* TileName;
        std::size_t Warnings;
    } cases[] = {
        {"return {smf = {MaxHeight = 100}}", -260.0f, 100.0f, "Map_Blueprint_V1.smt", 0},
        {"return {SMF = {minheight = '5'}}", 5.0f, 740.0f, "Map_Blueprint_V1.smt", 0},
        {"return {smf = {smtFileName0 = 'a.smt', smtFileName1 = 'b.smt'}}", -260.0f, 740.0f,
         "Map_Blueprint_V1.smt", 1},
        {"return {smf = {smtfilename0 = 'MAPS/map_blueprint_v1.SMT'}}", -260.0f, 740.0f,
         "MAPS/map_blueprint_v1.SMT", 0},
        {"local m = VFS.Include('extra.lua') return m", 1.0f, 2.0f, "Map_Blueprint_V1.smt", 1}, // flat
        {"local n = #VFS.DirList('maps/', '*.SMF') return {smf = {minheight = n}}", 1.0f, 740.0f,
         "Map_Blueprint_V1.smt", 0},
    };
    for (const auto& c : cases)
    {
        ScratchDir scratch;
        const fs::path root = scratch.Path / "m.sdd";
        fs::create_directories(root / "maps");
        fs::copy(MapsDir() / "Map_Blueprint_V1.sdd/maps/Map_Blueprint_V1.smf", root / "maps");
        fs::copy(MapsDir() / "Map_Blueprint_V1.sdd/maps/Map_Blueprint_V1.smt", root / "maps");
        WriteText(root / "mapinfo.lua", c.Source);
        WriteText(root / "extra.lua", "return {smf = {minheight = 1, maxheight = 2}}");
        SpringMap map;
        std::string error;
        ASSERT_TRUE(SpringMapLoader::Load(root.string(), map, error)) << c.Source << ": " << error;
        EXPECT_EQ(map.MinHeight, c.MinHeight) << c.Source;
        EXPECT_EQ(map.MaxHeight, c.MaxHeight) << c.Source;
        EXPECT_EQ(map.TileFiles[0].Name, c.TileName) << c.Source;
        EXPECT_EQ(map.TileFiles[0].ResolvedPath, "maps/Map_Blueprint_V1.smt") << c.Source;
        EXPECT_EQ(map.Warnings.size(), c.Warnings) << c.Source;
    }
}

TEST(MapCorrupt, BrokenArchivesAndMissingMapsFailCleanly)
{
    SKIP_WITHOUT_MAPS();
    ScratchDir scratch;
    std::vector<std::uint8_t> zip = ReadBytes(MapsDir() / "map_blueprint_v1.sdz");
    std::vector<std::uint8_t> sevenZip = ReadBytes(MapsDir() / "map_blueprint_v1.sd7");
    zip.resize(zip.size() / 2);
    sevenZip.resize(sevenZip.size() - 100);
    WriteBytes(scratch.Path / "half.sdz", zip);
    WriteBytes(scratch.Path / "cut.sd7", sevenZip);
    WriteText(scratch.Path / "text.sd7", "not an archive at all");
    fs::create_directories(scratch.Path / "empty.sdd");
    const struct
    {
        const char* Name;
        const char* Expected;
    } cases[] = {
        {"half.sdz", "half.sdz: "},
        {"cut.sd7", "cut.sd7: "},
        {"text.sd7", "text.sd7: "},
        {"empty.sdd", "empty.sdd: no .smf file in the map"},
        {"absent.sdz", "absent.sdz: no such file or folder"},
    };
    for (const auto& c : cases)
    {
        SpringMap map;
        map.Name = "untouched";
        std::string error;
        EXPECT_FALSE(SpringMapLoader::Load((scratch.Path / c.Name).string(), map, error)) << c.Name;
        EXPECT_NE(error.find(c.Expected), std::string::npos) << c.Name << ": " << error;
        EXPECT_EQ(map.Name, "untouched") << c.Name;
    }
}
