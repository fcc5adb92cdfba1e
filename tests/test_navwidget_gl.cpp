// Navigation widget drawing on a real headless GL context (SDL's offscreen driver, Mesa): the GL flags
// it switches and restores, each button drawn on its hit region, the highlighted faces, and a rendered
// screenshot whose pixels are checked (written as navwidget.png into the build directory).
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include <epoxy/gl.h>
#include <gtest/gtest.h>

#include "navwidget_buttons.h"
#include "offscreen_gl.h"
#include "pngwriter.h"
#include "rend_gl.h"
#include "test_app.h"
#include "ttf_gl.h"

#ifndef NAV_SCREENSHOT_DIR
#define NAV_SCREENSHOT_DIR "."
#endif

namespace
{
using NavWidgetGL = OffscreenGLTest;

struct Rgba
{
    float R, G, B, A;
};

// The listed face colours by group (zoom, reset, rotate, pan), plain and highlighted.
Rgba ExpectedFace(int Id, bool bHighlighted)
{
    // clang-format off
    static const Rgba plain[4] = {{0.42f, 0.28f, 0.70f, 0.92f}, {0.36f, 0.36f, 0.40f, 0.92f}, {0.80f, 0.44f, 0.18f, 0.92f}, {0.20f, 0.56f, 0.88f, 0.92f}};
    static const Rgba bright[4] = {{0.58f, 0.44f, 0.86f, 0.92f}, {0.52f, 0.52f, 0.56f, 0.92f}, {0.96f, 0.60f, 0.34f, 0.92f}, {0.36f, 0.72f, 1.00f, 0.92f}};
    // clang-format on
    const int group = Id <= 2 ? 0 : Id == 3 ? 1 : Id <= 7 ? 2 : 3;
    return (bHighlighted ? bright : plain)[group];
}

// The glyphs: plus, minus, cross, then arrows up, down, left and right (shaft, then the head's two lines).
std::string ExpectedGlyph(int Id)
{
    // clang-format off
    static const char* const glyphs[] = {"-100,0>100,0 0,100>0,-100 ", "-100,0>100,0 ", "-100,100>100,-100 100,100>-100,-100 ",
        "0,-100>0,100 0,100>-55,35 0,100>55,35 ", "0,100>0,-100 0,-100>-55,-35 0,-100>55,-35 ",
        "100,0>-100,0 -100,0>-35,55 -100,0>-35,-55 ", "-100,0>100,0 100,0>35,55 100,0>35,-55 "};
    // clang-format on
    return glyphs[Id <= 3 ? Id - 1 : (Id - 4) % 4 + 3];
}

// Bit for bit: what a person sees is exactly the listed colour.
bool HasColour(const RendPrimitive& prim, const Rgba& c)
{
    return prim.R == c.R && prim.G == c.G && prim.B == c.B && prim.A == c.A;
}

GLint GetInt(GLenum Name)
{
    GLint value = 0;
    glGetIntegerv(Name, &value);
    return value;
}

TEST_F(NavWidgetGL, FlagsComeBackAsTheyWereAndNoWidgetTouchesNothing)
{
    for (int combo = 0; combo < 12; ++combo) // widget shown, hidden, sized NaN; depth and blend off or on
    {
        const int widget = combo / 4;
        const bool bDepth = combo & 1, bBlend = combo & 2;
        TestApp app;
        app.View.bNavWidgetVisible = widget != 1;
        app.View.NavWidgetSize = widget == 2 ? std::nan("") : 0.3;
        bDepth ? glEnable(GL_DEPTH_TEST) : glDisable(GL_DEPTH_TEST);
        bBlend ? glEnable(GL_BLEND) : glDisable(GL_BLEND);
        glBlendFunc(GL_ONE, GL_ZERO);
        app.View.RenderNavWidgetOverlay();
        EXPECT_EQ(glIsEnabled(GL_DEPTH_TEST) == GL_TRUE, bDepth) << "combination " << combo;
        EXPECT_EQ(glIsEnabled(GL_BLEND) == GL_TRUE, bBlend) << "combination " << combo;
        // A drawn widget leaves its blend function set.
        EXPECT_EQ(GetInt(GL_BLEND_SRC_RGB), widget == 0 ? GL_SRC_ALPHA : GL_ONE) << "combination " << combo;
        EXPECT_EQ(GetInt(GL_BLEND_DST_RGB), widget == 0 ? GL_ONE_MINUS_SRC_ALPHA : GL_ZERO)
            << "combination " << combo;
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << "combination " << combo;
        EXPECT_EQ(app.Renderer.GetPrimitives().size(), widget == 0 ? 85u : 0u) << "combination " << combo;
        EXPECT_FALSE(app.Renderer.IsInFrame()) << "combination " << combo;
    }
}

TEST_F(NavWidgetGL, EachButtonIsDrawnOnItsHitRegionBrightWhenHoveredOrHeld)
{
    // clang-format off
    struct Case { int Hover, Active; std::vector<int> Bright; } cases[] = {
        {0, 0, {}}, {5, 0, {5}}, {0, 7, {7}}, {10, 10, {10}}, {1, 2, {1, 2}}, {3, 9, {3, 9}}, {12, -1, {}},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        app.View.NavWidgetSize = 0.3;
        app.View.NavWidgetMargin = 0.02;
        app.View.HoverNavButton = c.Hover;
        app.View.ActiveNavButton = c.Active;
        app.View.RenderNavWidgetOverlay();
        const std::vector<RendPrimitive>& prims = app.Renderer.GetPrimitives();
        ASSERT_EQ(prims.size(), 85u);
        const auto near = [](float a, float b) { return std::abs(a - b) < 1e-6f; };
        // The panel, local (0.68, 0.515)-(0.98, 0.98), in global coordinates.
        EXPECT_TRUE(near(prims[0].X1, 0.36f) && near(prims[0].Y1, -0.03f) && near(prims[0].X2, 0.96f) &&
                    near(prims[0].Y2, -0.96f));
        EXPECT_TRUE(HasColour(prims[0], {0.04f, 0.06f, 0.11f, 0.72f}));

        std::size_t next = 1;
        for (const NavButtonCase& b : NavButtonCases) // in drawing order
        {
            const RendPrimitive face = prims[next++];
            const bool bBright = std::find(c.Bright.begin(), c.Bright.end(), b.Id) != c.Bright.end();
            EXPECT_EQ(face.Type, RendPrimitive::Kind::Rect) << b.Name;
            // Bit for bit the listed colour, plain or bright.
            EXPECT_TRUE(HasColour(face, ExpectedFace(b.Id, bBright)))
                << b.Name << ", hover " << c.Hover << ", held " << c.Active;
            // Just inside each corner of the face is the button; just outside it is not.
            const double x1 = (face.X1 + 1.0) / 2, x2 = (face.X2 + 1.0) / 2;
            const double y1 = (1.0 - face.Y1) / 2, y2 = (1.0 - face.Y2) / 2;
            for (const double d : {1e-4, -1e-4})
                for (const double x : {x1 + d, x2 - d})
                    for (const double y : {y1 + d, y2 - d})
                        EXPECT_EQ(app.View.HitNavButton(x, y, nullptr) == b.Id, d > 0)
                            << b.Name << " at " << x << ", " << y;

            // The outline runs round the face's edges.
            const float cx[5] = {face.X1, face.X2, face.X2, face.X1, face.X1};
            const float cy[5] = {face.Y1, face.Y1, face.Y2, face.Y2, face.Y1};
            for (int k = 0; k < 4; ++k)
            {
                const RendPrimitive& e = prims[next++];
                EXPECT_TRUE(e.Type == RendPrimitive::Kind::Line && e.WidthPx == 1.6f &&
                            HasColour(e, {0.92f, 0.95f, 1.0f, 0.95f}))
                    << b.Name << " outline " << k;
                EXPECT_TRUE(near(e.X1, cx[k]) && near(e.Y1, cy[k]) && near(e.X2, cx[k + 1]) &&
                            near(e.Y2, cy[k + 1]))
                    << b.Name << " outline " << k;
            }

            // The glyph as drawn in the face's middle, in hundredths of 0.26 of the face from its centre
            // (y up): "x,y>x,y" per line.
            std::string glyph;
            while (next < prims.size() && prims[next].Type == RendPrimitive::Kind::Line)
            {
                const RendPrimitive& g = prims[next++];
                EXPECT_TRUE(g.WidthPx == 2.2f && HasColour(g, {0.92f, 0.95f, 1.0f, 0.98f})) << b.Name;
                const float cx = (face.X1 + face.X2) / 2, sx = 0.26f * (face.X2 - face.X1);
                const float cy = (face.Y1 + face.Y2) / 2, sy = 0.26f * (face.Y1 - face.Y2);
                for (const auto& [x, y, separator] : {std::tuple{g.X1, g.Y1, ">"}, {g.X2, g.Y2, " "}})
                    glyph += std::to_string(std::lround((x - cx) / sx * 100)) + "," +
                             std::to_string(std::lround((y - cy) / sy * 100)) + separator;
            }
            EXPECT_EQ(glyph, ExpectedGlyph(b.Id)) << b.Name;
        }
        EXPECT_EQ(next, 85u);
    }
}

TEST_F(NavWidgetGL, ScreenshotShowsTheWidgetAndTheToggle)
{
    TestApp app;
    app.View.NavWidgetSize = 0.3;
    app.View.NavWidgetMargin = 0.02;
    app.View.HoverNavButton = 10;
    app.View.bAutoRotate = true;
    app.View.RenderNavWidgetOverlay();
    app.View.RenderAutoRotateToggleOverlay();
    constexpr int widthPx = 960, heightPx = 540;
    RendGL rendGL;
    TTFGL ttfGL;
    std::string error;
    ASSERT_TRUE(rendGL.Create(error) && ttfGL.Create(TTFGL::DefaultFontPath, error)) << error;
    GLTarget target(widthPx, heightPx);
    glClearColor(0.22f, 0.30f, 0.20f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    rendGL.Draw(app.Renderer.GetPrimitives(), widthPx, heightPx);
    ttfGL.Draw(app.Font.GetTextCalls(), widthPx, heightPx);
    const std::vector<std::uint8_t> pixels = target.Read();
    ASSERT_TRUE(WritePngRgb(std::string(NAV_SCREENSHOT_DIR) + "/navwidget.png", widthPx, heightPx,
                            pixels.data(), error))
        << error;
    // Straight alpha blending of each listed colour over what lies below, at viewport-local points
    // (the viewport is the whole image): the panel's gap, and each face 15 % in from its top-left corner,
    // away from its outline and glyph.
    const auto expectPixel = [&](double x01, double y01, const Rgba& top, const Rgba& below, const char* what)
    {
        const Pixel px = PixelAt(pixels, widthPx, int(x01 * widthPx), int(y01 * heightPx));
        const float want[3] = {top.R * top.A + below.R * (1 - top.A), top.G * top.A + below.G * (1 - top.A),
                               top.B * top.A + below.B * (1 - top.A)};
        EXPECT_TRUE(std::abs(px.R - want[0] * 255) <= 3 && std::abs(px.G - want[1] * 255) <= 3 &&
                    std::abs(px.B - want[2] * 255) <= 3)
            << what << ": " << px.R << ", " << px.G << ", " << px.B;
    };
    const Rgba background{0.22f, 0.30f, 0.20f, 1.0f}, panelColour{0.04f, 0.06f, 0.11f, 0.72f};
    expectPixel(0.3, 0.3, background, background, "outside the widget");
    expectPixel(0.68 + 0.1 * 0.3, 0.515 + 0.45 * 0.465, panelColour, background, "a gap of the panel");
    const Rgba panel{0.04f * 0.72f + 0.22f * 0.28f, 0.06f * 0.72f + 0.30f * 0.28f,
                     0.11f * 0.72f + 0.20f * 0.28f, 1};
    for (const NavButtonCase& b : NavButtonCases)
        expectPixel(0.68 + (b.U1 + 0.15 * (b.U2 - b.U1)) * 0.3, 0.515 + (b.V1 + 0.15 * (b.V2 - b.V1)) * 0.465,
                    ExpectedFace(b.Id, b.Id == 10), panel, b.Name);
    // The up arrow's shaft through the middle of button 4 is white; the checked toggle's indicator lit blue.
    const Pixel shaft =
        PixelAt(pixels, widthPx, int(0.83 * widthPx), int((0.515 + 0.315 * 0.465) * heightPx));
    const Pixel indicator =
        PixelAt(pixels, widthPx, int((0.89 + 0.15 * 0.095) * widthPx), int(0.96 * heightPx));
    EXPECT_TRUE(shaft.R > 216 && shaft.G > 216) << shaft.R << ", " << shaft.G;
    EXPECT_TRUE(indicator.B > 216 && indicator.B > indicator.R + 100) << indicator.R << ", " << indicator.B;
}

} // namespace
