// Headless renders of the real maps (SDL's offscreen driver, Mesa): the terrain covers the view, the
// compressed and CPU-decoded ground agree, the ground lines up with the minimap, and a bare height
// grid is shaded by height. Each render is written as a PNG into the build folder for a person to look at.
#include <cmath>
#include <numeric>
#include <optional>
#include <set>

#include "offscreen_gl.h"
#include "pngwriter.h"
#include "springmap_loader.h"
#include "springmap_renderer.h"
#include "test_maps_fixtures.h"
#include "viewcamera.h"

namespace
{
constexpr int WidthPx = 480, HeightPx = 360;
using Image = std::vector<std::uint8_t>;

// Each test renders into a target the size of the screenshots, cleared to pure blue.
class MapRender : public OffscreenGLTest
{
  protected:
    void SetUp() override
    {
        OffscreenGLTest::SetUp();
        Target.emplace(WidthPx, HeightPx);
    }

    Image Draw(SpringMapRenderer& terrain, const std::array<float, 16>& viewProj, const std::string& pngName)
    {
        Target->Bind();
        glClearColor(0.0f, 0.0f, 1.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glEnable(GL_DEPTH_TEST);
        EXPECT_TRUE(terrain.Render(viewProj.data())) << pngName;
        EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR)) << pngName;
        const Image pixels = Target->Read();
        std::string error;
        const std::string path = std::string(QUINDLE_MAPS_SHOT_DIR) + "/" + pngName + ".png";
        EXPECT_TRUE(WritePngRgb(path, WidthPx, HeightPx, pixels.data(), error)) << error;
        return pixels;
    }

    std::optional<GLTarget> Target;
};

// From the south and above, looking at the middle of the map.
std::array<float, 16> ObliqueView(const SpringMapRenderer& terrain)
{
    const double extent = std::max(terrain.GetWorldWidth(), terrain.GetWorldDepth());
    OrbitCamera camera;
    camera.WorldOffsetX = terrain.GetWorldWidth() / 2.0;
    camera.WorldOffsetZ = terrain.GetWorldDepth() / 2.0;
    camera.PitchDeg = 43.0;
    camera.Distance = 1.17 * extent;
    camera.Aspect = double(WidthPx) / HeightPx;
    return (BuildPerspectiveMatrix(45.0, camera.Aspect, 0.05 * extent, 4.0 * extent) *
            BuildOrbitViewMatrix(camera))
        .ToFloat();
}

// Straight down, the map filling the target: north (Z = 0) at the top, X to the right.
std::array<float, 16> TopDownView(const SpringMapRenderer& terrain)
{
    return {2.0f / terrain.GetWorldWidth(),  0, 0, 0,  0, 0, -1e-4f, 0, 0,
            -2.0f / terrain.GetWorldDepth(), 0, 0, -1, 1, 0, 1};
}

double MeanAbsDifference(const Image& a, const Image& b)
{
    return std::transform_reduce(a.begin(), a.end(), b.begin(), 0.0, std::plus<>(),
                                 [](int x, int y) { return std::abs(x - y); }) /
           a.size();
}

bool IsClearColour(const std::uint8_t* pixel)
{
    return pixel[0] == 0 && pixel[1] == 0 && pixel[2] == 255;
}

// The distinct colours of the pixels that are not the clear colour, and how many such pixels there are.
std::set<std::uint32_t> TerrainColours(const Image& pixels, std::size_t* pCount = nullptr)
{
    std::set<std::uint32_t> colours;
    for (std::size_t i = 0; i < pixels.size(); i += 4)
        if (!IsClearColour(&pixels[i]))
        {
            colours.insert(pixels[i] << 16 | pixels[i + 1] << 8 | pixels[i + 2]);
            if (pCount)
                ++*pCount;
        }
    return colours;
}

void LoadFixture(const char* name, SpringMap& map)
{
    std::string error;
    ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / name).string(), map, error)) << error;
}
} // namespace

TEST_F(MapRender, EveryFixtureShowsItsTerrain)
{
    SKIP_WITHOUT_MAPS();
    // clang-format off
    const struct { const char* Path; std::size_t MinColours, MaxColours; } fixtures[] = {
        {"Map_Blueprint_V1.sdd", 1000, 1u << 24}, {"bridge.sdd", 100, 1u << 24},
        {"Blank16.sdd", 1, 1} /* flat, one uniform tile: a single lit colour */, {"map_blueprint_v1.sd7", 1000, 1u << 24}};
    // clang-format on
    for (const auto& fixture : fixtures)
    {
        SpringMap map;
        ASSERT_NO_FATAL_FAILURE(LoadFixture(fixture.Path, map));
        SpringMapRenderer terrain;
        ASSERT_TRUE(terrain.LoadMap(map));
        const Image pixels = Draw(terrain, ObliqueView(terrain), std::string("map_") + fixture.Path);
        std::size_t terrainPixels = 0;
        const std::size_t colours = TerrainColours(pixels, &terrainPixels).size();
        EXPECT_GT(terrainPixels, pixels.size() / 4 / 3)
            << fixture.Path << ": the map covers a third of the view";
        EXPECT_TRUE(colours >= fixture.MinColours && colours <= fixture.MaxColours)
            << fixture.Path << ": " << colours;
        // The centre of the view looks at the middle of the map.
        EXPECT_FALSE(IsClearColour(&pixels[(std::size_t(HeightPx / 2) * WidthPx + WidthPx / 2) * 4]))
            << fixture.Path;
        terrain.ReleaseGL();
    }
}

TEST_F(MapRender, CompressedAndDecodedGroundAgree)
{
    SKIP_WITHOUT_MAPS();
    if (!epoxy_has_gl_extension("GL_EXT_texture_compression_s3tc"))
        GTEST_SKIP() << "the driver has no S3TC, so only the CPU decoder runs here";
    for (const char* path : {"Map_Blueprint_V1.sdd", "bridge.sdd"})
    {
        SpringMap map;
        ASSERT_NO_FATAL_FAILURE(LoadFixture(path, map));
        SpringMapRenderer terrain;
        ASSERT_TRUE(terrain.LoadMap(map));
        const Image compressed = Draw(terrain, TopDownView(terrain), std::string("compressed_") + path);
        EXPECT_TRUE(terrain.UsedCompressedUpload()) << path;
        terrain.ReleaseGL();
        terrain.bAllowCompressedUpload = false;
        const Image decoded = Draw(terrain, TopDownView(terrain), std::string("cpu_decoded_") + path);
        EXPECT_FALSE(terrain.UsedCompressedUpload()) << path;
        terrain.ReleaseGL();
        // As on software GL: a ground that fits the decoded budget is decoded though S3TC is there.
        terrain.bAllowCompressedUpload = terrain.bForSoftwareGL = true;
        Draw(terrain, TopDownView(terrain), std::string("fits_decoded_") + path);
        EXPECT_FALSE(terrain.UsedCompressedUpload()) << path;
        terrain.ReleaseGL();
        EXPECT_LT(MeanAbsDifference(compressed, decoded), 1.5) << path;
    }
}

TEST_F(MapRender, GroundLinesUpWithTheMinimap)
{
    SKIP_WITHOUT_MAPS();
    // bridge's embedded minimap is all black, so only the Blueprint map can show the alignment.
    SpringMap map;
    ASSERT_NO_FATAL_FAILURE(LoadFixture("Map_Blueprint_V1.sdd", map));
    SpringMapRenderer tiles, minimap;
    ASSERT_TRUE(tiles.LoadMap(map));
    for (auto& file : map.TileFiles)
        file.Tiles.clear(); // as if no tile file had been found
    ASSERT_TRUE(minimap.LoadMap(map));
    ASSERT_FALSE(minimap.GetGround().HasPatches());
    std::array<float, 16> northDown = TopDownView(tiles);
    northDown[9] = -northDown[9];
    northDown[13] = -northDown[13];
    const Image fromTiles = Draw(tiles, TopDownView(tiles), "tiles_Map_Blueprint_V1.sdd");
    // The minimap is the ground shrunk to 1024x1024: similar everywhere when the orientation agrees.
    const double same =
        MeanAbsDifference(fromTiles, Draw(minimap, TopDownView(tiles), "minimap_Map_Blueprint_V1.sdd"));
    EXPECT_LT(same, 12.0);
    EXPECT_LT(same * 1.5, MeanAbsDifference(fromTiles, Draw(minimap, northDown, "minimap_flipped")))
        << "a north-south flip would match worse";
    tiles.ReleaseGL();
    minimap.ReleaseGL();
}

TEST_F(MapRender, HeightGridWithoutATextureIsShadedByHeight)
{
    SpringMapRenderer terrain;
    std::vector<float> heights(65 * 65);
    for (int z = 0; z < 65; ++z)
        for (int x = 0; x < 65; ++x)
            heights[z * 65 + x] = 100.0f * std::sin(x * 0.1f) * std::cos(z * 0.1f);
    ASSERT_TRUE(terrain.LoadHeightGrid(65, 65, 8.0f, heights));
    const std::array<float, 16> view = ObliqueView(terrain);
    EXPECT_GT(TerrainColours(Draw(terrain, view, "height_grid")).size(), 50u);
    // Reloading replaces the GL mesh: a flat grid draws in fewer shades.
    ASSERT_TRUE(terrain.LoadHeightGrid(65, 65, 8.0f, std::vector<float>(65 * 65, 0.0f)));
    EXPECT_LE(TerrainColours(Draw(terrain, view, "height_grid_flat")).size(), 2u);
    terrain.ReleaseGL();
    terrain.Unload();
    EXPECT_FALSE(terrain.Render(view.data())) << "nothing loaded";
}

TEST_F(MapRender, LevelOfDetailLooksLikeTheFullGridWithFewerTriangles)
{
    SKIP_WITHOUT_MAPS();
    // Framed whole, and from low over the middle looking north-east (near patches detailed, the
    // rest coarse or out of view): against every square drawn, the picture barely changes.
    for (const char* path : {"bridge.sdd", "Blank16.sdd"})
    {
        SpringMap map;
        ASSERT_NO_FATAL_FAILURE(LoadFixture(path, map));
        SpringMapRenderer terrain;
        ASSERT_TRUE(terrain.LoadMap(map));
        OrbitCamera low;
        low.WorldOffsetX = terrain.GetWorldWidth() * 0.5, low.WorldOffsetZ = terrain.GetWorldDepth() * 0.5;
        low.YawDeg = 135.0, low.PitchDeg = 25.0, low.Distance = 1500.0,
        low.Aspect = double(WidthPx) / HeightPx;
        const std::array<float, 16> lowView =
            (BuildPerspectiveMatrix(45.0, low.Aspect, 1.0, 20000.0) * BuildOrbitViewMatrix(low)).ToFloat();
        const long long gridTriangles = terrain.IndexCount / 3;
        for (const auto& [viewName, view] :
             {std::pair{"oblique", ObliqueView(terrain)}, std::pair{"low", lowView}})
        {
            const std::string name = std::string("lod_") + viewName + "_" + path;
            terrain.LodErrorPx = 0.0f;
            const Image full = Draw(terrain, view, name + "_full");
            const long long fullTriangles = terrain.GetDrawnTriangles();
            // The coarsest the application draws with: the light stays the full grid's.
            terrain.LodErrorPx = SpringMapRenderer::SoftwareGLLodErrorPx;
            const Image lod = Draw(terrain, view, name);
            std::size_t changed = 0;
            for (std::size_t i = 0; i < full.size(); i += 4)
                changed += std::abs(full[i] - lod[i]) + std::abs(full[i + 1] - lod[i + 1]) +
                               std::abs(full[i + 2] - lod[i + 2]) >
                           48;
            EXPECT_LT(changed, full.size() / 4 / 200) << name << ": pixels that changed visibly";
            EXPECT_LT(MeanAbsDifference(full, lod), 1.0) << name;
            // Flat ground needs a couple of triangles a patch; hills keep detail near the eye.
            EXPECT_LT(terrain.GetDrawnTriangles(),
                      std::string(path) == "Blank16.sdd" ? fullTriangles / 100 : fullTriangles)
                << name;
            if (std::string(viewName) == "low")
            {
                EXPECT_LT(fullTriangles, gridTriangles * 3 / 4)
                    << name << ": patches out of view are skipped";
            }
        }
        terrain.ReleaseGL();
    }
}
