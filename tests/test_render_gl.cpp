// The GL backends drawing into a real offscreen context, read back pixel by pixel.
#include <algorithm>
#include <array>
#include <optional>

#include "batch2d_gl.h"
#include "glcolor.h"
#include "glviewport.h"
#include "mouse.h"
#include "offscreen_gl.h"
#include "picturetexture_gl.h"
#include "rend_gl.h"
#include "ttf_gl.h"

namespace
{
constexpr int WidthPx = 200;
constexpr int HeightPx = 100;

using Rgba = std::array<int, 4>;
const Rgba Blue{0, 0, 255, 255};

// Each test draws into its own target, cleared to blue, through the batch the application uses.
class GLContextTest : public OffscreenGLTest
{
  protected:
    void SetUp() override
    {
        OffscreenGLTest::SetUp();
        Target.emplace(WidthPx, HeightPx);
        std::string error;
        ASSERT_TRUE(Batch.Create(error)) << error;
        ASSERT_TRUE(Font.Create(TTFGL::DefaultFontPath, error)) << error;
        glClearColor(0, 0, 1, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }

    // The pixel at target pixel (x, y), y from the top, of what has been drawn so far.
    Rgba At(int x, int y) const
    {
        const Pixel px = PixelAt(Target->Read(), WidthPx, x, y);
        return {px.R, px.G, px.B, px.A};
    }
    // Global coordinates of a pixel's left or top edge.
    static float GX(double xPx) { return static_cast<float>(xPx / WidthPx * 2.0 - 1.0); }
    static float GY(double yPx) { return static_cast<float>(1.0 - yPx / HeightPx * 2.0); }

    void AppendShapes(const std::vector<RendPrimitive>& primitives)
    {
        AppendRendPrimitives(primitives, WidthPx, HeightPx, Font.GetSolidU(), Font.GetSolidV(), Batch);
    }
    std::optional<GLTarget> Target;
    Batch2DGL Batch;
    TTFGL Font;
};

RendPrimitive Shape(RendPrimitive::Kind Kind, float x1, float y1, float x2, float y2, GLColor c,
                    float widthPx = 0)
{
    return {Kind, x1, y1, x2, y2, c.R, c.G, c.B, c.A, widthPx, 0};
}
constexpr RendPrimitive::Kind Rect = RendPrimitive::Kind::Rect, Line = RendPrimitive::Kind::Line;
} // namespace

TEST_F(GLContextTest, ShapesCoverExactlyTheirPixels)
{
    AppendShapes(
        {Shape(Rect, GX(40), GY(20), GX(80), GY(50), GLColor(1, 0, 0, 1)),      // columns 40..79, rows 20..49
         Shape(Line, GX(20), GY(70), GX(180), GY(70), GLColor(0, 1, 0, 1), 6),  // rows 67..72
         Shape(Line, GX(100), GY(5), GX(100), GY(15), GLColor(1, 1, 0, 1), 4),  // columns 98..101
         Shape(Line, GX(10), GY(90), GX(10), GY(90), GLColor(1, 1, 1, 1), 8)}); // zero length: nothing
    Batch.Submit(Font.GetAtlasTexture());
    const Rgba red{255, 0, 0, 255}, green{0, 255, 0, 255}, yellow{255, 255, 0, 255};
    // clang-format off
    struct Probe { int X, Y; Rgba Expected; } probes[] = {
        {40, 20, red}, {79, 49, red}, {39, 20, Blue}, {80, 20, Blue}, {40, 19, Blue}, {79, 50, Blue},
        {60, 66, Blue}, {60, 67, green}, {60, 72, green}, {60, 73, Blue}, {19, 70, Blue} /* no cap */, {180, 70, Blue},
        {97, 10, Blue}, {98, 10, yellow}, {101, 10, yellow}, {102, 10, Blue}, {10, 90, Blue}, {9, 89, Blue},
    };
    // clang-format on
    for (const Probe& probe : probes)
        EXPECT_EQ(At(probe.X, probe.Y), probe.Expected) << "pixel " << probe.X << ", " << probe.Y;
}

TEST_F(GLContextTest, PictureLiesBetweenTheShapesBeforeAndAfterItTopRowUp)
{
    PictureTextureGL picture, tooShort;
    picture.Upload({255, 0, 0, 0, 255, 0, /* bottom row */ 0, 0, 255, 255, 255, 255}, 2, 2);
    tooShort.Upload({255, 0, 0}, 2, 2);
    EXPECT_EQ(tooShort.Get(), 0u) << "too few bytes leave no picture";
    // Black under columns 0..99; the picture over columns 40..119, rows 20..59; yellow over 100..139, 50..69.
    AppendShapes(
        {Shape(Rect, GX(0), GY(0), GX(100), GY(HeightPx), GLColor(0, 0, 0, 1)),
         {RendPrimitive::Kind::Image, GX(40), GY(20), GX(120), GY(60), 1, 1, 1, 1, 0, 0, picture.Get()},
         Shape(Rect, GX(100), GY(50), GX(140), GY(70), GLColor(1, 1, 0, 1))});
    Batch.Submit(Font.GetAtlasTexture());
    const Rgba black{0, 0, 0, 255}, red{255, 0, 0, 255}, green{0, 255, 0, 255}, white{255, 255, 255, 255},
        yellow{255, 255, 0, 255};
    // clang-format off
    struct Probe { int X, Y; Rgba Expected; } probes[] = {
        {39, 20, black}, {40, 20, red}, {79, 39, red}, {80, 20, green}, {119, 39, green}, {120, 30, Blue},
        {40, 40, Blue}, {79, 59, Blue}, {40, 60, black}, {99, 49, white}, {100, 50, yellow}, {110, 45, white},
    };
    // clang-format on
    for (const Probe& probe : probes)
        EXPECT_EQ(At(probe.X, probe.Y), probe.Expected) << "pixel " << probe.X << ", " << probe.Y;
}

TEST_F(GLContextTest, GlyphStandsOnItsBaselineAndLaterShapesCoverIt)
{
    // An "I" at 40 px standing on the baseline at row 70 from x 50, then a red panel over rows 0..51.
    TTF text;
    text.Text3DL("I", GX(50), GY(70), 0.0f, 40, GLColor(1, 1, 1, 1));
    Font.AppendText(text.GetTextCalls(), WidthPx, HeightPx, Batch);
    AppendShapes({Shape(Rect, GX(0), GY(0), GX(WidthPx), GY(52), GLColor(1, 0, 0, 1))});
    EXPECT_GT(Batch.GetQuadCount(), 1u);
    Batch.Submit(Font.GetAtlasTexture());
    EXPECT_EQ(Batch.GetQuadCount(), 0u) << "a submitted batch starts empty";
    const std::vector<std::uint8_t> pixels = Target->Read();
    int whiteInBox = 0, whiteElsewhere = 0, lowestWhiteRow = -1;
    for (int y = 0; y < HeightPx; ++y)
        for (int x = 0; x < WidthPx; ++x)
        {
            if (PixelAt(pixels, WidthPx, x, y).G <= 128)
                continue;
            const bool bInBox = x >= 50 && x < 70 && y >= 52 && y < 70;
            (bInBox ? whiteInBox : whiteElsewhere) += 1;
            lowestWhiteRow = std::max(lowestWhiteRow, y);
        }
    EXPECT_GT(whiteInBox, 50) << "a 40 px capital covers a good part of its box";
    EXPECT_EQ(whiteElsewhere, 0) << "the glyph stays in its box and the panel drawn later hides its top";
    EXPECT_EQ(lowestWhiteRow, 69) << "the glyph ends on the row above the baseline";
}

TEST_F(GLContextTest, MissingFontIsAClearError)
{
    TTFGL backend;
    std::string error;
    EXPECT_FALSE(backend.Create("/no/such/font.ttf", error));
    EXPECT_EQ(error, "cannot load font /no/such/font.ttf (install fonts-dejavu-core)");
}

TEST(Utf8Decoding, KeepsGoingPastBadBytes)
{
    using Points = std::vector<std::uint32_t>;
    // clang-format off
    struct Case { const char* Bytes; Points Decoded; } cases[] = {
        {"A\xc3\x97" "B", {'A', 0xD7, 'B'}}, {"\xe2\x82\xac", {0x20AC}}, {"\xf0\x9f\x98\x80", {0x1F600}},
        {"\xc3", {0xFFFD}} /* truncated at the end */, {"\x80x", {0xFFFD, 'x'}} /* stray continuation */,
        {"\xc0\xaf", {0xFFFD, 0xFFFD}} /* overlong */, {"\xed\xa0\x80", {0xFFFD, 0xFFFD, 0xFFFD}} /* surrogate */,
    };
    // clang-format on
    for (const Case& c : cases)
        EXPECT_EQ(DecodeUtf8(c.Bytes), c.Decoded) << "bytes of length " << std::string(c.Bytes).size();
}

TEST_F(GLContextTest, SceneDrawsTheTerrainUnderTheCentreOfTheView)
{
    Rend rend;
    Mouse mouse;
    Quindle app;
    Context->Width = WidthPx;
    Context->Height = HeightPx;
    Core services{Context, &rend, &mouse, &app};
    p = &services;
    {
        GLViewport view;
        ASSERT_TRUE(view.SpringMap.LoadHeightGrid(65, 65, 8.0f, std::vector<float>(65 * 65, 0.0f)));
        view.ResetSpringMapCamera();
        view.Render();
        // The viewport clears to a dark blue-grey; flat low ground is green.
        const Rgba centre = At(WidthPx / 2, HeightPx / 2);
        EXPECT_TRUE(centre[1] > centre[0] && centre[1] > centre[2])
            << centre[0] << "," << centre[1] << "," << centre[2];
        // With the map view off only the viewport's clear colour is left.
        view.bSpringMapView = false;
        view.Render();
        EXPECT_EQ(At(WidthPx / 2, HeightPx / 2), (Rgba{23, 28, 36, 255}));
    }
    p = nullptr;
}
