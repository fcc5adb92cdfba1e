// The map as its author lit it, rendered headless from straight above: water below height 0 by depth,
// mapinfo's light, features where they stand, and the author views.
#include <cmath>
#include <functional>

#include "driveabilitygrid.h"
#include "maplook_gl.h"
#include "offscreen_gl.h"
#include "springmap_loader.h"
#include "springmap_renderer.h"
#include "test_maps_fixtures.h"

namespace
{
constexpr int SidePx = 256;
using Image = std::vector<std::uint8_t>;

class MapLookTest : public OffscreenGLTest
{
  protected:
    void Load(const std::filesystem::path& path, const std::function<void(SpringMap&)>& edit = {})
    {
        SpringMap map;
        std::string error;
        ASSERT_TRUE(SpringMapLoader::Load(path.string(), map, error)) << error;
        Warnings = map.Warnings;
        ReadEntries = map.ReadEntries;
        if (edit)
            edit(map);
        ASSERT_TRUE(Terrain.LoadMap(map));
        Drive.SyncWith(Terrain);
    }

    // Straight down, north at the top, the map filling the target; higher ground is nearer.
    std::array<float, 16> TopDown() const
    {
        return {2.0f / Terrain.GetWorldWidth(),  0, 0, 0,  0, 0, -1e-4f, 0, 0,
                -2.0f / Terrain.GetWorldDepth(), 0, 0, -1, 1, 0, 1};
    }

    Image Draw(const MapLookOptions& options, const std::array<float, 16>& viewProj, const Vec3D& eye = {})
    {
        Target.Bind();
        glClearColor(0.0f, 0.0f, 1.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        Look.PrepareTerrain(Terrain, Drive, options, eye);
        Terrain.Shading.ViewRangeWorld = 0.0f; // no fog: colours compare across renders
        EXPECT_TRUE(Terrain.Render(viewProj.data()));
        std::string error;
        EXPECT_TRUE(Look.DrawWater(Terrain, options, viewProj.data(), error)) << error;
        EXPECT_TRUE(Look.DrawFeatures(Terrain, options, viewProj.data(), error)) << error;
        EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
        return Target.Read();
    }

    // The world point under the centre of a top-down pixel.
    void WorldAt(int xPx, int yPx, float& x, float& z) const
    {
        x = (xPx + 0.5f) / SidePx * Terrain.GetWorldWidth();
        z = (yPx + 0.5f) / SidePx * Terrain.GetWorldDepth();
    }

    // Mean of Channel over the pixels whose world point passes Where.
    double MeanWhere(const Image& image, int channel, const std::function<bool(float, float)>& where) const
    {
        double sum = 0.0;
        int count = 0;
        for (int y = 0; y < SidePx; ++y)
            for (int x = 0; x < SidePx; ++x)
            {
                float wx = 0.0f, wz = 0.0f;
                WorldAt(x, y, wx, wz);
                if (where(wx, wz))
                    sum += image[(static_cast<std::size_t>(y) * SidePx + x) * 4 + channel], ++count;
            }
        EXPECT_GT(count, 20) << "too few pixels to compare";
        return count ? sum / count : 0.0;
    }

    GLTarget Target{SidePx, SidePx};
    SpringMapRenderer Terrain;
    DriveabilityGrid Drive;
    MapLookGL Look;
    std::vector<std::string> Warnings, ReadEntries;
};

} // namespace

TEST_F(MapLookTest, WaterCoversOnlyGroundBelowZeroAndDarkensRedWithDepth)
{
    SKIP_WITHOUT_MAPS();
    for (const char* name : {"Map_Blueprint_V1.sdd", "bridge.sdd"})
    {
        Load(MapsDir() / name);
        const Image dry = Draw({.bWater = false}, TopDown());
        const Image wet = Draw({.bWater = true}, TopDown());
        int changedAbove = 0, unchangedBelow = 0, below = 0;
        for (int y = 0; y < SidePx; ++y)
            for (int x = 0; x < SidePx; ++x)
            {
                float wx = 0.0f, wz = 0.0f;
                WorldAt(x, y, wx, wz);
                const std::size_t at = (static_cast<std::size_t>(y) * SidePx + x) * 4;
                const bool bSame = std::equal(&dry[at], &dry[at + 3], &wet[at]);
                const float height = Terrain.GetTerrainHeight(wx, wz);
                changedAbove += height > 8.0f && !bSame;
                below += height < -8.0f;
                unchangedBelow += height < -8.0f && bSame;
            }
        // A few cliff pixels may disagree: the mesh's triangles are not the bilinear height sampled here.
        EXPECT_LE(changedAbove + unchangedBelow, below / 200) << name;
        EXPECT_EQ(below > 0, std::string(name) == "Map_Blueprint_V1.sdd") << name;
    }
    // Blueprint's water takes red fastest (absorb 0.05, 0.005, 0.001 per unit): shallows keep some, the deep
    // none.
    Load(MapsDir() / "Map_Blueprint_V1.sdd");
    const Image wet = Draw({}, TopDown());
    const auto depthBetween = [this](float from, float to)
    {
        return [this, from, to](float x, float z)
        {
            const float height = Terrain.GetTerrainHeight(x, z);
            return height < -from && height > -to;
        };
    };
    const double shallowRed = MeanWhere(wet, 0, depthBetween(1.5f, 3.0f));
    const double deepRed = MeanWhere(wet, 0, depthBetween(60.0f, 1e4f));
    EXPECT_GT(shallowRed, deepRed + 10.0);
    EXPECT_GT(MeanWhere(wet, 2, depthBetween(60.0f, 1e4f)), 2.0 * deepRed) << "deep water is teal, not black";
}

TEST_F(MapLookTest, MapinfoLightTintsTheGroundAndBadValuesAreWarnings)
{
    SKIP_WITHOUT_MAPS();
    const ScratchDir scratch;
    // clang-format off
    struct Case { const char* Lighting; double MinRedShare; const char* Warning; };
    const Case cases[] = {
        {"groundDiffuseColor = {0.5, 0.5, 0.5}", 0.0, nullptr},
        {"groundDiffuseColor = {1, 0, 0}, groundAmbientColor = {0.3, 0.0, 0.0}", 0.6, nullptr},
        {"groundDiffuseColor = {1, 0, 0}, sunDir = {0, 0, 0}", 0.45, "lighting.sunDir is 0, 0, 0, which points nowhere; ignored"},
        {"groundDiffuseColor = {0.5, 0.5}", 0.0, "lighting.groundDiffuseColor is not a list of 3 finite numbers; ignored"},
    };
    // clang-format on
    double neutralShare = 0.0;
    for (const Case& c : cases)
    {
        const auto dir = CopyBlueprint(scratch.Path / std::to_string(&c - cases),
                                       std::string("return { lighting = {") + c.Lighting + "} }");
        Load(dir);
        const Image image = Draw({.bWater = false}, TopDown());
        const auto everywhere = [](float, float) { return true; };
        const double red = MeanWhere(image, 0, everywhere), green = MeanWhere(image, 1, everywhere),
                     blue = MeanWhere(image, 2, everywhere);
        const double share = red / (red + green + blue);
        if (&c == cases)
            neutralShare = share;
        EXPECT_GE(share, std::max(c.MinRedShare, neutralShare - 0.02)) << c.Lighting;
        const bool bWarned =
            c.Warning && std::any_of(Warnings.begin(), Warnings.end(),
                                     [&](const std::string& w) { return w.ends_with(c.Warning); });
        EXPECT_EQ(bWarned, c.Warning != nullptr) << c.Lighting << ": " << ::testing::PrintToString(Warnings);
    }
}

TEST_F(MapLookTest, FeaturesStandWhereTheyArePlacedOneDrawPerTypeInRange)
{
    SKIP_WITHOUT_MAPS();
    // clang-format off
    const std::vector<std::string> types = {"TreeType3", "GeoVent", "rock_big", "lamp"};
    const std::vector<SpringMapSmf::Feature> placed = {
        {0, 200, 0, 200, 0, 1}, {0, 300, 0, 800, 16384, 1}, {1, 800, 0, 250, 0, 1}, {2, 650, 0, 600, 0, 1},
        {3, 60, 0, 1010, 0, 1},
    };
    // clang-format on
    Load(MapsDir() / "Map_Blueprint_V1.sdd",
         [&](SpringMap& map) { map.Smf.FeatureTypes = types, map.Smf.Features = placed; });
    EXPECT_EQ(FeaturesGL::ClassifyType("TreeType3"), FeaturesGL::Kind::Tree);
    EXPECT_EQ(FeaturesGL::ClassifyType("GeoVent"), FeaturesGL::Kind::Vent);
    EXPECT_EQ(FeaturesGL::ClassifyType("rock_big"), FeaturesGL::Kind::Rock);
    EXPECT_EQ(FeaturesGL::ClassifyType("lamp"), FeaturesGL::Kind::Post);
    // The eye above the north-west quarter: the lamp in the south-west corner is beyond its reach.
    const Vec3D eye{300.0, 200.0, 300.0};
    constexpr double ReachWorld = 700.0;
    const Image bare = Draw({.bFeatures = false}, TopDown(), eye);
    const Image shown = Draw({.bFeatures = true, .FeatureCullDistanceWorld = ReachWorld}, TopDown(), eye);
    EXPECT_EQ(Look.GetFeatures().GetLastDrawCalls(), 3) << "one call per type with a feature in range";
    for (const SpringMapSmf::Feature& feature : placed)
    {
        const int xPx = static_cast<int>(feature.X / Terrain.GetWorldWidth() * SidePx);
        const int yPx = static_cast<int>(feature.Z / Terrain.GetWorldDepth() * SidePx);
        const Pixel was = PixelAt(bare, SidePx, xPx, yPx), is = PixelAt(shown, SidePx, xPx, yPx);
        const auto colour = FeaturesGL::GetTypeColour(types[feature.Type]);
        const double groundY = Terrain.GetTerrainHeight(feature.X, feature.Z);
        const bool bInRange = std::hypot(feature.X - eye.X, groundY - eye.Y, feature.Z - eye.Z) < ReachWorld;
        EXPECT_EQ(was.R != is.R || was.G != is.G || was.B != is.B, bInRange) << types[feature.Type];
        if (bInRange && std::fabs(colour[0] - colour[1]) > 0.1f)
        {
            // Its top, lit: the type's colour leads with the same channel.
            EXPECT_EQ(is.R > is.G, colour[0] > colour[1]) << types[feature.Type];
        }
    }
}

TEST_F(MapLookTest, EachAuthorViewColoursTheGroundByItsGrid)
{
    SKIP_WITHOUT_MAPS();
    // Grass and a second terrain type in the north-west quarter, which the map itself leaves empty.
    Load(MapsDir() / "Map_Blueprint_V1.sdd",
         [](SpringMap& map)
         {
             for (int z = 0; z < 16; ++z)
                 for (int x = 0; x < 16; ++x)
                     map.Smf.GrassMap[z * 32 + x] = 1;
             for (int z = 0; z < 32; ++z)
                 for (int x = 0; x < 32; ++x)
                     map.Smf.TypeMap[z * 64 + x] = 3;
         });
    const SpringMapLayers& layers = Terrain.GetLayers();
    const auto cell = [](const SpringMapLayers::Grid& grid, float x, float z)
    {
        return grid
            .Values[static_cast<int>(z / grid.CellWorld) * grid.Width + static_cast<int>(x / grid.CellWorld)];
    };
    const float low = Terrain.GetLowestHeight(), high = Terrain.GetHighestHeight();
    // clang-format off
    struct Case { AuthorView View; int Channel; std::function<bool(float, float)> Strong, Weak; };
    const Case cases[] = {
        {AuthorView::Height, 2, [&](float x, float z) { return Terrain.GetTerrainHeight(x, z) < low + 80; },
                                [&](float x, float z) { return std::fabs(Terrain.GetTerrainHeight(x, z) - (low + high) / 2) < 80; }},
        {AuthorView::Slope, 0, [&](float x, float z) { return !Drive.IsDriveable(x, z); },
                               [&](float x, float z) { return Drive.IsDriveable(x, z); }},
        {AuthorView::Metal, 2, [&](float x, float z) { return cell(layers.Metal, x, z) > 200; },
                               [&](float x, float z) { return cell(layers.Metal, x, z) == 0; }},
        {AuthorView::Type, 2, [&](float x, float z) { return cell(layers.TerrainType, x, z) == 3; },
                              [&](float x, float z) { return cell(layers.TerrainType, x, z) == 0; }},
        {AuthorView::Grass, 1, [&](float x, float z) { return cell(layers.Grass, x, z) != 0; },
                               [&](float x, float z) { return cell(layers.Grass, x, z) == 0; }},
    };
    // clang-format on
    const Image plain = Draw({}, TopDown());
    for (const Case& c : cases)
    {
        const Image view = Draw({.View = c.View}, TopDown());
        EXPECT_NE(view, plain) << GetAuthorViewName(c.View);
        // Relative to its pixel's other channels, so bright and dark ground compare fairly.
        const auto share = [&](const std::function<bool(float, float)>& where)
        {
            double total = 0.0;
            for (int channel = 0; channel < 3; ++channel)
                total += MeanWhere(view, channel, where);
            return MeanWhere(view, c.Channel, where) / std::max(total, 1.0);
        };
        EXPECT_GT(share(c.Strong), share(c.Weak) + 0.05) << GetAuthorViewName(c.View);
    }
}

TEST_F(MapLookTest, FlatGroundOnAContourLevelIsNotAllLine)
{
    SKIP_WITHOUT_MAPS();
    // Blank16 lies flat at -110, on a level of its 10-unit contours; 3 units lower, between two.
    Image images[2];
    for (const float shift : {0.0f, -3.0f})
    {
        Load(MapsDir() / "Blank16.sdd",
             [&](SpringMap& map) { map.MinHeight += shift, map.MaxHeight += shift; });
        images[shift != 0.0f] = Draw({.View = AuthorView::Height}, TopDown());
    }
    const auto everywhere = [](float, float) { return true; };
    EXPECT_NEAR(MeanWhere(images[0], 2, everywhere), MeanWhere(images[1], 2, everywhere), 2.0);
}

TEST_F(MapLookTest, ResourceTexturesShapeTheGroundAndMissingOnesAreWarnings)
{
    SKIP_WITHOUT_MAPS();
    const ScratchDir scratch;
    // Sun and eye straight above: flat ground faces the highlight, steep ground does not.
    const auto common = [](const char* lighting)
    {
        return std::string("lighting = {sunDir = {0, 1, 0}, ") + lighting +
               "}, splats = {texMults = {1, 1, 0, 0}}, ";
    };
    const Vec3D eye{512.0, 3000.0, 512.0};
    Load(CopyBlueprint(scratch.Path / "plain", "return {" + common("") + "}"));
    const Image plain = Draw({.bWater = false}, TopDown(), eye);
    // Two-texel textures repeat every 50 units: texel 0 shows in the first half, texel 1 in the second.
    const auto first = [](float x) { return std::fmod(x, 50.0f) > 6.0f && std::fmod(x, 50.0f) < 19.0f; };
    const auto second = [](float x) { return std::fmod(x, 50.0f) > 31.0f && std::fmod(x, 50.0f) < 44.0f; };
    const auto rise = [this](float x, float z)
    {
        return std::hypot(Terrain.GetTerrainHeight(x + 8, z) - Terrain.GetTerrainHeight(x - 8, z),
                          Terrain.GetTerrainHeight(x, z + 8) - Terrain.GetTerrainHeight(x, z - 8)) /
               16.0f;
    };
    const std::vector<std::uint8_t> whiteBlack = {255, 255, 255, 255, 0, 0, 0, 255},
                                    redGreen = {255, 0, 0, 0, 0, 255, 0, 0};
    using Where = std::function<bool(float, float)>;
    // clang-format off
    struct Case { const char* Resources; std::vector<std::pair<std::string, std::vector<std::uint8_t>>> Files; Where Lighter, Darker, Same; std::vector<std::string> Warnings; const char* Lighting = ""; };
    const Case cases[] = {
        {"detailTex = 'D.tga'", {{"d.tga", TgaBytes(2, 1, whiteBlack)}},
         [&](float x, float) { return first(x); }, [&](float x, float) { return second(x); }, {}, {}},
        // Red weighs channel 0 (bright then dark) in the west, green channel 1 (dark then bright) in the east.
        {"splatDistrTex = 'w.tga', splatDetailTex = 's.tga'", {{"w.tga", TgaBytes(2, 1, redGreen)}, {"s.tga", TgaBytes(2, 1, redGreen)}},
         [&](float x, float) { return (x < 256 && first(x)) || (x > 768 && second(x)); },
         [&](float x, float) { return (x < 256 && second(x)) || (x > 768 && first(x)); }, {}, {}},
        {"specularTex = 's.tga'", {{"s.tga", TgaBytes(2, 1, whiteBlack)}},
         [&](float x, float z) { return x < 256 && rise(x, z) < 0.05f; }, {},
         [&](float x, float z) { return x > 768 || rise(x, z) > 0.6f; }, {}, "groundSpecularColor = {0.5, 0.5, 0.5}"},
        {"specularTex = 's.tga'", {{"s.tga", TgaBytes(2, 1, whiteBlack)}}, {}, {}, [](float, float) { return true; }, {},
         "groundSpecularColor = {0, 0, 0}"},
        {"detailTex = 'gone.dds', specularTex = 'bad.dds'", {{"bad.dds", {'D', 'D', 'S', ' '}}},
         {}, {}, [](float, float) { return true; },
         {"maps/gone.dds: detailTex not found; the ground is drawn without it",
          "maps/bad.dds: specularTex cannot be read: DDS header is cut short or damaged; the ground is drawn without it"}},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        const auto root =
            CopyBlueprint(scratch.Path / std::to_string(&c - cases),
                          "return {" + common(c.Lighting) + "resources = {" + c.Resources + "}}");
        for (const auto& [name, bytes] : c.Files)
            WriteBytes(root / "maps" / name, bytes);
        Load(root);
        const Image image = Draw({.bWater = false}, TopDown(), eye);
        const auto brighter = [&](const Where& where)
        {
            double sum = 0.0;
            for (int channel = 0; channel < 3; ++channel)
                sum += MeanWhere(image, channel, where) - MeanWhere(plain, channel, where);
            return sum / 3.0;
        };
        EXPECT_TRUE(!c.Lighter || brighter(c.Lighter) > 20.0) << c.Resources << ": " << brighter(c.Lighter);
        EXPECT_TRUE(!c.Darker || brighter(c.Darker) < -20.0) << c.Resources << ": " << brighter(c.Darker);
        EXPECT_TRUE(!c.Same || std::fabs(brighter(c.Same)) < 1.0) << c.Resources << ": " << brighter(c.Same);
        std::vector<std::string> expected;
        for (const std::string& warning : c.Warnings)
            expected.push_back(root.string() + "/" + warning);
        EXPECT_EQ(Warnings, expected) << c.Resources;
        for (const auto& [name, bytes] : c.Files)
            EXPECT_EQ(std::count(ReadEntries.begin(), ReadEntries.end(), "maps/" + name), 1) << name;
    }
}
