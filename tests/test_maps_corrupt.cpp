// Damaged copies of the Blueprint map: each damage gives its one-line error, a file cut anywhere
// names the section it was cut in, and mapinfo's overrides stand alone.
#include <random>

#include "springmap_loader.h"
#include "test_maps_fixtures.h"

namespace fs = std::filesystem;

namespace
{
const fs::path BlueprintSmf = MapsDir() / "Map_Blueprint_V1.sdd/maps/Map_Blueprint_V1.smf";

std::string ParseError(const std::vector<std::uint8_t>& smf)
{
    SpringMapSmf out;
    out.MapX = -7;
    std::string error;
    const bool bParsed = SpringMapSmfFormat::Parse(smf, "b.smf", out, error);
    EXPECT_EQ(out.MapX, bParsed ? GetInt32(smf, 24) : -7) << "a failed parse leaves its output alone";
    EXPECT_EQ(error.find('\n'), std::string::npos);
    return bParsed ? "" : error;
}

// Where a row's Value goes: a header field, or the tile or feature section's fields; TileCounts sets
// both the declared and the file's count. Cut rows cut the file there (a Value first sets the tile file
// count).
// clang-format off
enum Where { Header, Tiles, Index, Features, TileCounts, CutAt, CutTiles, CutFeatures };
// clang-format on
} // namespace

TEST(MapCorrupt, EachDamageGivesItsError)
{
    SKIP_WITHOUT_MAPS();
    const std::vector<std::uint8_t> whole = ReadBytes(BlueprintSmf);
    const std::size_t tiles = GetInt32(whole, 60), features = GetInt32(whole, 72);
    // clang-format off
    const struct { Where At; std::size_t Offset; std::int32_t Value; const char* Expected; } cases[] = {
        {CutAt, 0, 0, "file is 0 bytes, shorter than the 80-byte header"},
        {CutAt, 79, 0, "file is 79 bytes, shorter than the 80-byte header"},
        {CutAt, 80, 0, "extra header 0 runs past the end of the file"},
        {CutAt, 87, 0, "extra header 0 runs past the end of the file"},
        {CutAt, 88, 0, "grass extra header runs past the end of the file"},
        {CutAt, 91, 0, "grass extra header runs past the end of the file"},
        {Header, 12, 0x58656C69, "not a Spring map file (bad magic)"}, // "ileX": the NUL is part of it
        {Header, 16, 2, "unsupported version 2 (expected 1)"},
        {Header, 32, 16, "unsupported square size 16 (expected 8)"},
        {Header, 36, 4, "unsupported texels per square 4 (expected 8)"},
        {Header, 40, 64, "unsupported tile size 64 (expected 32)"},
        {Header, 24, 0, "map size 0x128 squares is out of range (1..16384)"},
        {Header, 28, -128, "map size 128x-128 squares is out of range (1..16384)"},
        {Header, 24, 16388, "map size 16388x128 squares is out of range (1..16384)"},
        {Header, 28, 1 << 30, "map size 128x1073741824 squares is out of range (1..16384)"},
        {Header, 24, 130, "map size 130x128 squares is not a multiple of 4"},
        {Header, 28, 126, "map size 128x126 squares is not a multiple of 4"},
        {Header, 44, 0x7FC00000, "height range is not finite"},
        {Header, 48, 0x7F800000, "height range is not finite"},
        {Header, 52, 0x7FFFFFFF, "heightmap section runs past the end of the file (offset 2147483647, 33282 bytes, file is 745949 bytes)"},
        {Header, 56, -4, "type map pointer is negative (-4)"},
        {Header, 76, -1, "negative extra header count (-1)"},
        {Header, 76, 0, ""},
        {Index, 0, 1024, "tile index 1024 at (0, 0) is out of range (0..1024)"},
        {Index, 4 * 33, -1, "tile index -1 at (1, 1) is out of range (0..1024)"},
        {Index, 4 * 1023, 1023, ""},
        {Tiles, 4, 1025, "tile files supply 1024 tiles but the map declares 1025"},
        {Tiles, 8, -5, "tile file has a negative tile count (-5)"},
        {Tiles, 0, 4097, "tile section lists 4097 tile files (at most 4096)"},
        {Tiles, 0, -1, "tile section has a negative count (-1 files, 1024 tiles)"},
        {Tiles, 4, -1, "tile section has a negative count (1 files, -1 tiles)"},
        {TileCounts, 0, 0, "tile index 0 at (0, 0) is out of range (0..0)"},
        {Tiles, 0, 0, "tile files supply 0 tiles but the map declares 1024"},
        {CutTiles, 12, 0, "tile section lists 1 tile files, more than the file can hold"},
        {CutTiles, 13, 0, "tile file name runs past the end of the file"},
        {CutTiles, 36, 2, "tile file list runs past the end of the file"},
        {Features, 4, 0x7FFFFFFF, "feature section runs past the end of the file (2147483647 features)"},
        {Features, 0, 0x7FFFFFFF, "feature section has a bad count (2147483647 types, 0 features)"},
        {Features, 0, 16385, "feature section has a bad count (16385 types, 0 features)"},
        {Features, 4, -1, "feature section has a bad count (17 types, -1 features)"},
        {Features, 0, 1 << 14, "feature type name runs past the end of the file"},
        {Features, 4, 1, "feature section runs past the end of the file (1 features)"},
        {CutFeatures, 7, 0, "feature section runs past the end of the file (offset 745767, 8 bytes, file is 745774 bytes)"},
    };
    // clang-format on
    for (const auto& c : cases)
    {
        std::vector<std::uint8_t> smf = whole;
        const std::size_t base[] = {0, tiles, tiles + 8 + 4 + 21, features, tiles + 4};
        if (c.At >= CutAt)
            smf.resize(c.Offset + (c.At == CutTiles ? tiles : c.At == CutFeatures ? features : 0));
        if (c.At >= CutAt && c.Value)
            PutInt32(smf, tiles, c.Value);
        else if (c.At < CutAt)
            PutInt32(smf, base[c.At] + c.Offset, c.Value);
        if (c.At == TileCounts)
            PutInt32(smf, tiles + 8, c.Value);
        EXPECT_EQ(ParseError(smf), *c.Expected ? std::string("b.smf: ") + c.Expected : "")
            << "at " << c.At << "+" << c.Offset << " = " << c.Value;
    }
}

// Sections in file order: a file cut anywhere after the header is reported at the first section
// that no longer fits, with its offset and length.
TEST(MapCorrupt, CutAnywhereNamesTheSectionItWasCutIn)
{
    SKIP_WITHOUT_MAPS();
    const std::vector<std::uint8_t> whole = ReadBytes(BlueprintSmf);
    const std::int32_t x = GetInt32(whole, 24), y = GetInt32(whole, 28);
    const std::int64_t tiles = GetInt32(whole, 60), features = GetInt32(whole, 72);
    // clang-format off
    const struct { const char* Name; std::int64_t Pointer, Length; bool bList; } sections[] = {
        {"heightmap", GetInt32(whole, 52), 2 * (x + 1) * (y + 1), false}, {"type map", GetInt32(whole, 56), x * y / 4, false},
        {"minimap", GetInt32(whole, 64), 699048, false}, {"metal map", GetInt32(whole, 68), x * y / 4, false},
        {"grass map", GetInt32(whole, 88), x * y / 16, false}, {"tile", tiles, 8 + 4 + 21 + x * y / 4, true},
        {"feature", features, std::int64_t(whole.size()) - features, true}};
    // clang-format on
    const unsigned seed = 1234;
    std::mt19937_64 random(seed);
    for (int cut = 0; cut < 300; ++cut)
    {
        // Half the cuts land within a few bytes of a section's end.
        const auto& near = sections[random() % 7];
        const std::int64_t size =
            cut % 2 ? near.Pointer + near.Length - 1 - random() % 3 : 92 + random() % (whole.size() - 92);
        const auto* pFirst = &near;
        std::int64_t firstStart = INT64_MAX;
        for (const auto& s : sections)
            if (s.Pointer + s.Length > size && s.Pointer < firstStart)
                pFirst = &s, firstStart = s.Pointer;
        const std::string error = ParseError(std::vector<std::uint8_t>(whole.begin(), whole.begin() + size));
        const std::int64_t length = pFirst->bList ? 8 : pFirst->Length;
        if (!pFirst->bList || size < pFirst->Pointer + 8)
            EXPECT_EQ(error, "b.smf: " + std::string(pFirst->Name) +
                                 " section runs past the end of the file (offset " +
                                 std::to_string(pFirst->Pointer) + ", " + std::to_string(length) +
                                 " bytes, file is " + std::to_string(size) + " bytes)")
                << "seed " << seed << " cut " << cut;
        else
            EXPECT_EQ(error.rfind("b.smf: " + std::string(pFirst->Name), 0), 0u)
                << error << "; seed " << seed << " cut " << cut;
    }
}

TEST(MapCorrupt, ExtraHeadersOfEveryWriterAndFeaturesAreRead)
{
    SKIP_WITHOUT_MAPS();
    const std::vector<std::uint8_t> whole = ReadBytes(BlueprintSmf);
    // The grass header's size is 4, 12 or 16388 depending on the writer; an unknown type that cannot be
    // stepped over (size below 8) ends the list, one that can is skipped.
    for (const auto& [size, type, bGrass] :
         {std::tuple{4, 1, true}, {12, 1, true}, {16388, 1, true}, {7, 7, false}, {8, 7, true}})
    {
        std::vector<std::uint8_t> smf = whole;
        PutInt32(smf, 80, size), PutInt32(smf, 84, type), PutInt32(smf, 76, 1 + (size == 8));
        if (size == 8) // a second header, the grass one, after the skipped one
            PutInt32(smf, 88, 12), PutInt32(smf, 92, 1), PutInt32(smf, 96, GetInt32(whole, 88));
        SpringMapSmf out;
        std::string error;
        ASSERT_TRUE(SpringMapSmfFormat::Parse(smf, "b.smf", out, error)) << size << ": " << error;
        EXPECT_EQ(out.GrassMap.size(), bGrass ? 32u * 32u : 0u) << size;
    }
    // Two sections at one offset, both past the end: the first in header order is reported.
    std::vector<std::uint8_t> shared = whole;
    PutInt32(shared, 56, std::int32_t(whole.size() - 10)),
        PutInt32(shared, 68, std::int32_t(whole.size() - 10));
    EXPECT_EQ(ParseError(shared).rfind("b.smf: type map section", 0), 0u);
    // Two features appended after the type names; the second then names a type that does not exist.
    std::vector<std::uint8_t> smf = whole;
    PutInt32(smf, GetInt32(smf, 72) + 4, 2);
    const float records[2][6] = {{0, 100, 5, 200, 0.25f, 1}, {0, 300, 5, 400, 0.5f, 1.5f}};
    smf.insert(smf.end(), reinterpret_cast<const std::uint8_t*>(records),
               reinterpret_cast<const std::uint8_t*>(records) + 48);
    PutInt32(smf, smf.size() - 48, 16), PutInt32(smf, smf.size() - 24, 0);
    SpringMapSmf out;
    std::string error;
    ASSERT_TRUE(SpringMapSmfFormat::Parse(smf, "b.smf", out, error)) << error;
    ASSERT_EQ(out.Features.size(), 2u);
    const auto f0 = out.Features[0], f1 = out.Features[1];
    EXPECT_EQ(std::vector<float>({float(f0.Type), f0.X, f0.Y, f0.Z, f0.Rotation, f0.RelativeSize,
                                  float(f1.Type), f1.X, f1.Rotation, f1.RelativeSize}),
              std::vector<float>({16, 100, 5, 200, 0.25f, 1, 0, 300, 0.5f, 1.5f}));
    PutInt32(smf, smf.size() - 24, 17);
    EXPECT_EQ(ParseError(smf), "b.smf: feature type 17 is out of range (0..17)");
}

TEST(MapCorrupt, TileFilesAreCheckedOrReplacedByAPlaceholder)
{
    SKIP_WITHOUT_MAPS();
    // clang-format off
    const struct { std::size_t Size; std::size_t Offset; std::int32_t Value; const char* Expected; } cases[] = { // Size 0 keeps it whole
        {31, 0, 0, "file is 31 bytes, shorter than the 32-byte header"},
        {32 + 680 * 1024 - 1, 0, 0, "file is 696351 bytes, too short for the 1024 tiles the map takes from it"},
        {0, 0, 0x696E6970, "not a Spring tile file (bad magic)"},
        {0, 16, 3, "unsupported version 3 (expected 1)"},
        {0, 24, 16, "unsupported tile size 16 (expected 32)"},
        {0, 28, 2, "unsupported compression type 2 (expected 1)"},
        {0, 20, 0, ""}, // its own tile count is not trusted
    };
    // clang-format on
    for (const auto& c : cases)
    {
        ScratchDir scratch;
        const fs::path root = CopyBlueprint(scratch.Path, ""), smtPath = root / "maps/Map_Blueprint_V1.smt";
        std::vector<std::uint8_t> smt = ReadBytes(smtPath);
        if (c.Size)
            smt.resize(c.Size);
        else
            PutInt32(smt, c.Offset, c.Value);
        WriteBytes(smtPath, smt);
        SpringMap map;
        map.Name = "untouched";
        std::string error;
        EXPECT_EQ(SpringMapLoader::Load(root.string(), map, error), !*c.Expected);
        EXPECT_EQ(error, *c.Expected ? smtPath.string() + ": " + c.Expected : "");
        EXPECT_EQ(map.Name, *c.Expected ? "untouched" : "Map_Blueprint_V1");
    }
    // A missing .smt is not a failure: its tiles become the placeholder.
    ScratchDir scratch;
    const fs::path root = CopyBlueprint(scratch.Path, "");
    fs::remove(root / "maps/Map_Blueprint_V1.smt");
    SpringMap map;
    std::string error;
    ASSERT_TRUE(SpringMapLoader::Load((root / "maps/Map_Blueprint_V1.smf").string(), map, error)) << error;
    EXPECT_EQ(map.Warnings,
              std::vector<std::string>{
                  root.string() +
                  "/Map_Blueprint_V1.smt: tile file not found; the minimap stands in for its 1024 tiles"});
    EXPECT_TRUE(map.TileFiles[0].ResolvedPath.empty());
    EXPECT_EQ(map.GetTile(0), SpringMapLoader::GetPlaceholderTile());
    EXPECT_EQ(map.GetTile(1023), SpringMapLoader::GetPlaceholderTile());
    EXPECT_EQ(map.GetTile(1024), SpringMapLoader::GetPlaceholderTile());
    const std::uint8_t* pTile = SpringMapLoader::GetPlaceholderTile(); // magenta and black 4-texel blocks
    EXPECT_EQ(std::vector<std::uint8_t>(pTile, pTile + 16),
              std::vector<std::uint8_t>({0x1F, 0xF8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(pTile[16] + pTile[512 + 8], 0x1F)
        << "alternating: the third block is magenta, mip 1's second black";
}

TEST(MapCorrupt, MapinfoOverridesStandAloneAndNeedMatchingTileCounts)
{
    SKIP_WITHOUT_MAPS();
    // clang-format off
    const struct { const char* Source; float MinHeight, MaxHeight, MaxMetal; const char* TileName; const char* Warning; } cases[] = {
        {"return {smf = {MaxHeight = 100}}", -260, 100, 0.02f, "Map_Blueprint_V1.smt", ""},
        {"return {SMF = {minheight = '5'}, maxmetal = 3}", 5, 740, 3, "Map_Blueprint_V1.smt", ""},
        {"return {smf = {smtFileName0 = 'a.smt', smtFileName1 = 'b.smt'}}", -260, 740, 0.02f, "Map_Blueprint_V1.smt", "mapinfo.lua: 2 smtFileName entries for 1 tile files; using the names in the .smf"},
        {"return {smf = {smtfilename0 = 'MAPS/map_blueprint_v1.SMT'}}", -260, 740, 0.02f, "MAPS/map_blueprint_v1.SMT", ""},
        {"return {smf = {smtfilename0 = 'map_blueprint_v1.smt'}}", -260, 740, 0.02f, "map_blueprint_v1.smt", ""},
        {"local m = VFS.Include('extra.lua') return m", 1, 2, 0.02f, "Map_Blueprint_V1.smt", "maps/Map_Blueprint_V1.smf: flat: heights 1..2 look like a placeholder; the ground is drawn less than 1 unit tall"},
        {"return {smf = {minheight = 3, maxheight = 2}}", 3, 2, 0.02f, "Map_Blueprint_V1.smt", "maps/Map_Blueprint_V1.smf: flat: heights 3..2 look like a placeholder; the ground is drawn less than 1 unit tall"},
        {"local n = #VFS.DirList('maps/', '*.SMF') return {smf = {minheight = n}}", 1, 740, 0.02f, "Map_Blueprint_V1.smt", ""},
    };
    // clang-format on
    for (const auto& c : cases)
    {
        ScratchDir scratch;
        const fs::path root = CopyBlueprint(scratch.Path, c.Source);
        WriteText(root / "extra.lua", "return {smf = {minheight = 1, maxheight = 2}}");
        SpringMap map;
        std::string error;
        ASSERT_TRUE(SpringMapLoader::Load(root.string(), map, error)) << c.Source << ": " << error;
        EXPECT_EQ(std::vector<float>({map.MinHeight, map.MaxHeight, map.MaxMetal}),
                  std::vector<float>({c.MinHeight, c.MaxHeight, c.MaxMetal}))
            << c.Source;
        EXPECT_EQ(map.TileFiles[0].Name, c.TileName) << c.Source;
        EXPECT_EQ(map.TileFiles[0].ResolvedPath, "maps/Map_Blueprint_V1.smt") << c.Source;
        EXPECT_EQ(map.Warnings, *c.Warning ? std::vector<std::string>{root.string() + "/" + c.Warning}
                                           : std::vector<std::string>{})
            << c.Source;
    }
}
