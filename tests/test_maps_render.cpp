// Headless renders of the real maps (SDL's offscreen driver, Mesa): the terrain covers the view, the
// compressed and CPU-decoded ground agree, and the ground lines up with the minimap. Each render is
// written as a PNG into the build folder for a person to look at.
#include <cmath>
#include <memory>
#include <set>

#include <epoxy/gl.h>

#include "offscreen_gl.h"
#include "pngwriter.h"
#include "springmap_generator.h"
#include "springmap_loader.h"
#include "springmap_renderer.h"
#include "test_maps_fixtures.h"

namespace
{
constexpr int WidthPx = 480, HeightPx = 360;

// Each test renders into a target the size of the screenshots.
class MapRender : public OffscreenGLTest
{
  protected:
    void SetUp() override
    {
        OffscreenGLTest::SetUp();
        Target = std::make_unique<GLTarget>(WidthPx, HeightPx);
    }
    void TearDown() override { Target.reset(); }

    // Renders and reads back RGBA rows top first; the clear colour is pure blue.
    std::vector<std::uint8_t> Draw(SpringMapRenderer& terrain, const float* viewProj)
    {
        Target->Bind();
        glClearColor(0.0f, 0.0f, 1.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glEnable(GL_DEPTH_TEST);
        EXPECT_TRUE(terrain.Render(viewProj));
        EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
        return Target->Read();
    }

    static void SavePng(const std::string& name, const std::vector<std::uint8_t>& pixels)
    {
        std::string error;
        const std::string path = std::string(QUINDLE_MAPS_SHOT_DIR) + "/" + name + ".png";
        EXPECT_TRUE(WritePngRgb(path, WidthPx, HeightPx, pixels.data(), error)) << error;
    }

    std::unique_ptr<GLTarget> Target;
};

// A perspective view from the south, above the map, looking at its centre (column-major).
std::array<float, 16> ObliqueView(const SpringMapRenderer& terrain)
{
    const float cx = terrain.GetWorldWidth() / 2, cz = terrain.GetWorldDepth() / 2;
    const float extent = std::max(terrain.GetWorldWidth(), terrain.GetWorldDepth());
    const float cy = (terrain.GetLowestHeight() + terrain.GetHighestHeight()) / 2;
    const float eye[3] = {cx, cy + 0.8f * extent, cz + 0.85f * extent};
    float f[3] = {cx - eye[0], cy - eye[1], cz - eye[2]};
    const float fl = std::sqrt(f[0] * f[0] + f[1] * f[1] + f[2] * f[2]);
    for (float& v : f)
        v /= fl;
    const float s[3] = {-f[2], 0.0f, f[0]}; // f x up, up = +Y
    const float sl = std::sqrt(s[0] * s[0] + s[2] * s[2]);
    const float side[3] = {s[0] / sl, 0.0f, s[2] / sl};
    const float up[3] = {side[1] * f[2] - side[2] * f[1], side[2] * f[0] - side[0] * f[2],
                         side[0] * f[1] - side[1] * f[0]};
    const float view[16] = {side[0],
                            up[0],
                            -f[0],
                            0,
                            side[1],
                            up[1],
                            -f[1],
                            0,
                            side[2],
                            up[2],
                            -f[2],
                            0,
                            -(side[0] * eye[0] + side[1] * eye[1] + side[2] * eye[2]),
                            -(up[0] * eye[0] + up[1] * eye[1] + up[2] * eye[2]),
                            f[0] * eye[0] + f[1] * eye[1] + f[2] * eye[2],
                            1};
    const float nearZ = 0.05f * extent, farZ = 4.0f * extent, t = 1.0f / std::tan(0.5f * 0.8f);
    const float aspect = float(WidthPx) / HeightPx;
    const float proj[16] = {t / aspect,
                            0,
                            0,
                            0,
                            0,
                            t,
                            0,
                            0,
                            0,
                            0,
                            (farZ + nearZ) / (nearZ - farZ),
                            -1,
                            0,
                            0,
                            2 * farZ * nearZ / (nearZ - farZ),
                            0};
    std::array<float, 16> out{};
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            for (int k = 0; k < 4; ++k)
                out[c * 4 + r] += proj[k * 4 + r] * view[c * 4 + k];
    return out;
}

// Straight down, the map filling the target: north (Z = 0) at the top, X to the right.
std::array<float, 16> TopDownView(const SpringMapRenderer& terrain)
{
    return {2.0f / terrain.GetWorldWidth(),  0, 0, 0,  0, 0, -1e-4f, 0, 0,
            -2.0f / terrain.GetWorldDepth(), 0, 0, -1, 1, 0, 1};
}

double MeanAbsDifference(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b)
{
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += std::abs(int(a[i]) - int(b[i]));
    return sum / a.size();
}

bool IsClearColour(const std::uint8_t* pixel)
{
    return pixel[0] == 0 && pixel[1] == 0 && pixel[2] == 255;
}

const struct
{
    const char* Path;
    std::size_t MinColours, MaxColours; // Blank16 is flat with one uniform tile: a single lit colour
} Fixtures[] = {{"Map_Blueprint_V1.sdd", 1000, 1u << 24},
                {"bridge.sdd", 100, 1u << 24},
                {"Blank16.sdd", 1, 1},
                {"map_blueprint_v1.sd7", 1000, 1u << 24}};
} // namespace

TEST_F(MapRender, EveryFixtureShowsItsTerrain)
{
    SKIP_WITHOUT_MAPS();
    for (const auto& fixture : Fixtures)
    {
        const char* path = fixture.Path;
        SpringMap map;
        std::string error;
        ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / path).string(), map, error)) << error;
        SpringMapRenderer terrain;
        ASSERT_TRUE(terrain.LoadMap(map));
        const auto viewProj = ObliqueView(terrain);
        const auto pixels = Draw(terrain, viewProj.data());
        SavePng(std::string("map_") + path, pixels);
        std::size_t terrainPixels = 0;
        std::set<std::uint32_t> colours;
        for (std::size_t i = 0; i < pixels.size(); i += 4)
            if (!IsClearColour(&pixels[i]))
            {
                ++terrainPixels;
                colours.insert(pixels[i] << 16 | pixels[i + 1] << 8 | pixels[i + 2]);
            }
        EXPECT_GT(terrainPixels, pixels.size() / 4 / 3) << path << ": the map covers a third of the view";
        EXPECT_GE(colours.size(), fixture.MinColours) << path;
        EXPECT_LE(colours.size(), fixture.MaxColours) << path;
        // The centre of the view looks at the middle of the map.
        EXPECT_FALSE(IsClearColour(&pixels[(std::size_t(HeightPx / 2) * WidthPx + WidthPx / 2) * 4])) << path;
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
        std::string error;
        ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / path).string(), map, error)) << error;
        SpringMapRenderer terrain;
        ASSERT_TRUE(terrain.LoadMap(map));
        const auto viewProj = TopDownView(terrain);
        const auto compressed = Draw(terrain, viewProj.data());
        EXPECT_TRUE(terrain.UsedCompressedUpload()) << path;
        terrain.ReleaseGL();
        terrain.bAllowCompressedUpload = false;
        const auto decoded = Draw(terrain, viewProj.data());
        EXPECT_FALSE(terrain.UsedCompressedUpload()) << path;
        terrain.ReleaseGL();
        SavePng(std::string("cpu_decoded_") + path, decoded);
        EXPECT_LT(MeanAbsDifference(compressed, decoded), 1.5) << path;
    }
}

TEST_F(MapRender, GroundLinesUpWithTheMinimap)
{
    SKIP_WITHOUT_MAPS();
    // bridge's embedded minimap is all black, so only the Blueprint map can show the alignment.
    for (const char* path : {"Map_Blueprint_V1.sdd"})
    {
        SpringMap map;
        std::string error;
        ASSERT_TRUE(SpringMapLoader::Load((MapsDir() / path).string(), map, error)) << error;
        SpringMapRenderer tiles, minimap;
        ASSERT_TRUE(tiles.LoadMap(map));
        for (auto& file : map.TileFiles)
            file.Tiles.clear(); // as if no tile file had been found
        ASSERT_TRUE(minimap.LoadMap(map));
        ASSERT_FALSE(minimap.GetGround().HasPatches());
        const auto viewProj = TopDownView(tiles);
        const auto fromTiles = Draw(tiles, viewProj.data());
        const auto fromMinimap = Draw(minimap, viewProj.data());
        SavePng(std::string("minimap_") + path, fromMinimap);
        // The minimap is the ground shrunk to 1024x1024: similar everywhere when the orientation agrees.
        const double same = MeanAbsDifference(fromTiles, fromMinimap);
        std::vector<std::uint8_t> mirrored(fromMinimap.size());
        for (int y = 0; y < HeightPx; ++y)
            std::memcpy(&mirrored[std::size_t(y) * WidthPx * 4],
                        &fromMinimap[std::size_t(HeightPx - 1 - y) * WidthPx * 4], std::size_t(WidthPx) * 4);
        EXPECT_LT(same, 12.0) << path;
        EXPECT_LT(same * 1.5, MeanAbsDifference(fromTiles, mirrored))
            << path << ": a north-south flip would match worse";
        tiles.ReleaseGL();
        minimap.ReleaseGL();
    }
}

TEST_F(MapRender, HeightGridWithoutATextureIsShadedByHeight)
{
    SpringMapRenderer terrain;
    std::vector<float> heights(65 * 65);
    for (int z = 0; z < 65; ++z)
        for (int x = 0; x < 65; ++x)
            heights[z * 65 + x] = 100.0f * std::sin(x * 0.1f) * std::cos(z * 0.1f);
    ASSERT_TRUE(terrain.LoadHeightGrid(65, 65, 8.0f, heights));
    const auto viewProj = ObliqueView(terrain);
    const auto pixels = Draw(terrain, viewProj.data());
    SavePng("height_grid", pixels);
    std::set<std::uint32_t> colours;
    for (std::size_t i = 0; i < pixels.size(); i += 4)
        if (!IsClearColour(&pixels[i]))
            colours.insert(pixels[i] << 16 | pixels[i + 1] << 8 | pixels[i + 2]);
    EXPECT_GT(colours.size(), 50u);
    // Reloading replaces the GL mesh: a flat grid draws in fewer shades.
    ASSERT_TRUE(terrain.LoadHeightGrid(65, 65, 8.0f, std::vector<float>(65 * 65, 0.0f)));
    const auto flat = Draw(terrain, viewProj.data());
    std::set<std::uint32_t> flatColours;
    for (std::size_t i = 0; i < flat.size(); i += 4)
        if (!IsClearColour(&flat[i]))
            flatColours.insert(flat[i] << 16 | flat[i + 1] << 8 | flat[i + 2]);
    EXPECT_LE(flatColours.size(), 2u);
    terrain.ReleaseGL();
    terrain.Unload();
    EXPECT_FALSE(terrain.Render(viewProj.data())) << "nothing loaded";
}

TEST_F(MapRender, GeneratedMapIsTexturedByHeightAndSlope)
{
    ScratchDir scratch;
    std::string smfPath, error;
    ASSERT_TRUE(SpringMapGenerator::WriteFiles({}, scratch.Path.string(), "generated", smfPath, error))
        << error;
    SpringMap map;
    ASSERT_TRUE(SpringMapLoader::Load(smfPath, map, error)) << error;
    SpringMapRenderer terrain;
    ASSERT_TRUE(terrain.LoadMap(map));
    const auto oblique = ObliqueView(terrain);
    SavePng("map_generated", Draw(terrain, oblique.data()));
    const auto top = TopDownView(terrain);
    const auto pixels = Draw(terrain, top.data());
    SavePng("map_generated_top", pixels);
    std::size_t clear = 0;
    for (std::size_t i = 0; i < pixels.size(); i += 4)
        clear += IsClearColour(&pixels[i]);
    EXPECT_EQ(clear, 0u) << "the top-down view is all map";
    terrain.ReleaseGL();
}
