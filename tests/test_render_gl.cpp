// The GL backends drawing into a real offscreen context, read back pixel by pixel.
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "batch2d_gl.h"
#include "core.h"
#include "glcolor.h"
#include "glviewport.h"
#include "mouse.h"
#include "offscreen_gl.h"
#include "rend.h"
#include "rend_gl.h"
#include "ttf.h"
#include "ttf_gl.h"

namespace
{
constexpr int WidthPx = 200;
constexpr int HeightPx = 100;

using Rgba = std::array<int, 4>;

// Each test draws into its own target, cleared to blue.
class GLContextTest : public OffscreenGLTest
{
  protected:
    void SetUp() override
    {
        OffscreenGLTest::SetUp();
        Target = std::make_unique<GLTarget>(WidthPx, HeightPx);
        std::string error;
        ASSERT_TRUE(Batch.Create(error)) << error;
        ASSERT_TRUE(Font.Create(TTFGL::DefaultFontPath, error)) << error;
        glClearColor(0, 0, 1, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        Pixels.clear();
    }
    void TearDown() override { Target.reset(); }

    // The pixel at target pixel (x, y), y from the top.
    Rgba At(int x, int y)
    {
        if (Pixels.empty())
            Pixels = Target->Read();
        const Pixel px = PixelAt(Pixels, WidthPx, x, y);
        return {px.R, px.G, px.B, px.A};
    }
    // Global coordinates of a pixel's left or top edge.
    static float GX(double xPx) { return static_cast<float>(xPx / WidthPx * 2.0 - 1.0); }
    static float GY(double yPx) { return static_cast<float>(1.0 - yPx / HeightPx * 2.0); }

    // Draws primitives through the batch the application uses.
    void DrawPrimitives(const std::vector<RendPrimitive>& primitives)
    {
        AppendRendPrimitives(primitives, WidthPx, HeightPx, Font.GetSolidU(), Font.GetSolidV(), Batch);
        Batch.Submit(Font.GetAtlasTexture());
    }

    std::unique_ptr<GLTarget> Target;
    std::vector<std::uint8_t> Pixels;
    Batch2DGL Batch;
    TTFGL Font;
};

const Rgba Blue{0, 0, 255, 255};
const Rgba Red{255, 0, 0, 255};

RendPrimitive Rect(float x1, float y1, float x2, float y2, float r, float g, float b, float a)
{
    RendPrimitive prim;
    prim.Type = RendPrimitive::Kind::Rect;
    prim.X1 = x1, prim.Y1 = y1, prim.X2 = x2, prim.Y2 = y2;
    prim.R = r, prim.G = g, prim.B = b, prim.A = a;
    return prim;
}
} // namespace

TEST_F(GLContextTest, RectangleCoversExactlyItsPixels)
{
    // Pixels 40..79 across, 20..49 down.
    DrawPrimitives({Rect(GX(40), GY(20), GX(80), GY(50), 1, 0, 0, 1)});
    struct Probe
    {
        int X, Y;
        Rgba Expected;
    };
    const Probe probes[] = {{40, 20, Red},  {79, 49, Red},  {60, 35, Red},  {39, 20, Blue},
                            {80, 20, Blue}, {40, 19, Blue}, {79, 50, Blue}, {0, 0, Blue}};
    for (const Probe& probe : probes)
        EXPECT_EQ(At(probe.X, probe.Y), probe.Expected) << "pixel " << probe.X << ", " << probe.Y;
}

TEST_F(GLContextTest, LinesHaveTheirPixelWidthInEveryDirection)
{
    RendPrimitive horizontal = Rect(GX(20), GY(30), GX(180), GY(30), 0, 1, 0, 1);
    horizontal.Type = RendPrimitive::Kind::Line;
    horizontal.WidthPx = 6; // rows 27..32
    RendPrimitive vertical = Rect(GX(100), GY(50), GX(100), GY(95), 1, 1, 0, 1);
    vertical.Type = RendPrimitive::Kind::Line;
    vertical.WidthPx = 4; // columns 98..101
    RendPrimitive dot = Rect(GX(10), GY(90), GX(10), GY(90), 1, 1, 1, 1);
    dot.Type = RendPrimitive::Kind::Line;
    dot.WidthPx = 8; // zero length: nothing
    DrawPrimitives({horizontal, vertical, dot});

    const Rgba green{0, 255, 0, 255}, yellow{255, 255, 0, 255};
    for (int y = 20; y < 40; ++y)
        EXPECT_EQ(At(60, y), (y >= 27 && y <= 32) ? green : Blue) << "row " << y;
    for (int x = 90; x < 110; ++x)
        EXPECT_EQ(At(x, 70), (x >= 98 && x <= 101) ? yellow : Blue) << "column " << x;
    EXPECT_EQ(At(19, 30), Blue) << "no cap past the start";
    EXPECT_EQ(At(10, 90), Blue) << "a zero-length line draws nothing";
}

TEST_F(GLContextTest, GlyphLandsOnItsBaselineInItsColour)
{
    TTF text;
    // An "I" at 40 px: a solid vertical bar standing on the baseline at row 70, starting near x 50.
    text.Text3DL("I", GX(50), GY(70), 0.0f, 40, GLColor(1, 1, 1, 1));
    Font.AppendText(text.GetTextCalls(), WidthPx, HeightPx, Batch);
    Batch.Submit(Font.GetAtlasTexture());
    int litInBox = 0, litOutside = 0, lowestLitRow = -1;
    for (int y = 0; y < HeightPx; ++y)
        for (int x = 0; x < WidthPx; ++x)
        {
            const bool bLit = At(x, y)[0] > 128;
            const bool bInBox = x >= 50 && x < 70 && y >= 35 && y < 70;
            litInBox += bLit && bInBox;
            litOutside += bLit && !bInBox;
            if (bLit)
                lowestLitRow = std::max(lowestLitRow, y);
        }
    EXPECT_GT(litInBox, 100) << "a 40 px capital covers a good part of its box";
    EXPECT_EQ(litOutside, 0);
    EXPECT_EQ(lowestLitRow, 69) << "the glyph ends on the row above the baseline";
}

TEST_F(GLContextTest, LaterShapesCoverEarlierTextInOneBatch)
{
    TTF text;
    text.Text3DL("I", GX(50), GY(70), 0.0f, 40, GLColor(1, 1, 1, 1));
    Font.AppendText(text.GetTextCalls(), WidthPx, HeightPx, Batch);
    // A red panel over the left half of the glyph's box, added after the text.
    AppendRendPrimitives({Rect(GX(0), GY(0), GX(56), GY(100), 1, 0, 0, 1)}, WidthPx, HeightPx,
                         Font.GetSolidU(), Font.GetSolidV(), Batch);
    EXPECT_GT(Batch.GetQuadCount(), 1u);
    Batch.Submit(Font.GetAtlasTexture());
    EXPECT_EQ(Batch.GetQuadCount(), 0u) << "a submitted batch starts empty";
    int whiteLeft = 0, whiteRight = 0;
    for (int y = 35; y < 70; ++y)
        for (int x = 50; x < 70; ++x)
        {
            const Rgba pixel = At(x, y);
            if (pixel[1] > 128)
                (x < 56 ? whiteLeft : whiteRight) += 1;
        }
    EXPECT_EQ(whiteLeft, 0) << "the panel drawn later hides the text under it";
    EXPECT_GT(whiteRight, 0) << "text outside the panel stays";
}

TEST_F(GLContextTest, MissingFontIsAClearError)
{
    TTFGL backend;
    std::string error;
    EXPECT_FALSE(backend.Create("/no/such/font.ttf", error));
    EXPECT_EQ(error, "cannot load font /no/such/font.ttf (install fonts-dejavu-core)");
}

TEST_F(GLContextTest, Utf8DecodingKeepsGoingPastBadBytes)
{
    EXPECT_EQ(DecodeUtf8("A\xc3\x97"
                         "B"),
              (std::vector<std::uint32_t>{'A', 0xD7, 'B'}));
    EXPECT_EQ(DecodeUtf8("\xe2\x82\xac"), std::vector<std::uint32_t>{0x20AC});
    EXPECT_EQ(DecodeUtf8("\xf0\x9f\x98\x80"), std::vector<std::uint32_t>{0x1F600});
    EXPECT_EQ(DecodeUtf8("\xc3"), std::vector<std::uint32_t>{0xFFFD}) << "truncated at the end";
    EXPECT_EQ(DecodeUtf8("\x80x"), (std::vector<std::uint32_t>{0xFFFD, 'x'})) << "stray continuation byte";
    EXPECT_EQ(DecodeUtf8("\xc0\xaf"), (std::vector<std::uint32_t>{0xFFFD, 0xFFFD})) << "overlong form";
    EXPECT_EQ(DecodeUtf8("\xed\xa0\x80"), (std::vector<std::uint32_t>{0xFFFD, 0xFFFD, 0xFFFD}))
        << "surrogate";
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
        std::vector<float> heights(65 * 65, 0.0f);
        ASSERT_TRUE(view.SpringMap.LoadHeightGrid(65, 65, 8.0f, std::move(heights)));
        view.ResetSpringMapCamera();
        view.Render();
        const Rgba centre = At(WidthPx / 2, HeightPx / 2);
        // The viewport clears to a dark blue-grey; flat low ground is green.
        EXPECT_GT(centre[1], centre[0]) << "centre " << centre[0] << "," << centre[1] << "," << centre[2];
        EXPECT_GT(centre[1], centre[2]) << "centre " << centre[0] << "," << centre[1] << "," << centre[2];
        Pixels.clear();
        // With the map view off only the viewport's clear colour is left.
        view.bSpringMapView = false;
        view.Render();
        EXPECT_EQ(At(WidthPx / 2, HeightPx / 2), (Rgba{23, 28, 36, 255}));
    }
    p = nullptr;
}
