// Navigation widget drawing on a real headless GL context (SDL's offscreen driver, Mesa): the GL flags
// it switches and restores, the recorded primitive list, and a rendered screenshot whose pixels are
// checked (written as navwidget.png into the build directory).
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include <SDL3/SDL.h>
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

void SetFlag(GLenum Flag, bool bOn)
{
    if (bOn)
        glEnable(Flag);
    else
        glDisable(Flag);
}

GLint GetInt(GLenum Name)
{
    GLint value = 0;
    glGetIntegerv(Name, &value);
    return value;
}

// --- GL state ---------------------------------------------------------------------------------------

TEST_F(NavWidgetGL, FlagsAreRestoredWhateverTheyWereAndWhetherOrNotRendDraws)
{
    for (bool bDepth : {false, true})
        for (bool bBlend : {false, true})
            for (bool bDrawingAllowed : {true, false})
            {
                TestApp app;
                app.Renderer.bDrawingAllowed = bDrawingAllowed;
                SetFlag(GL_DEPTH_TEST, bDepth);
                SetFlag(GL_BLEND, bBlend);
                glBlendFunc(GL_ONE, GL_ZERO);
                app.View.RenderNavWidgetOverlay();
                const std::string ctx = std::string("depth ") + (bDepth ? "on" : "off") + ", blend " +
                                        (bBlend ? "on" : "off") + (bDrawingAllowed ? "" : ", Rend refuses");
                EXPECT_EQ(glIsEnabled(GL_DEPTH_TEST) == GL_TRUE, bDepth) << ctx;
                EXPECT_EQ(glIsEnabled(GL_BLEND) == GL_TRUE, bBlend) << ctx;
                // The blend function is left as the widget set it, even when nothing was drawn.
                EXPECT_EQ(GetInt(GL_BLEND_SRC_RGB), GL_SRC_ALPHA) << ctx;
                EXPECT_EQ(GetInt(GL_BLEND_DST_RGB), GL_ONE_MINUS_SRC_ALPHA) << ctx;
                EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << ctx;
                EXPECT_EQ(app.Renderer.GetPrimitives().size(), bDrawingAllowed ? 85u : 0u) << ctx;
                EXPECT_EQ(app.Renderer.GetEndFrameCount(), bDrawingAllowed ? 85 : 0) << ctx;
                EXPECT_FALSE(app.Renderer.IsInFrame()) << ctx;
            }
}

TEST_F(NavWidgetGL, HiddenOrDegenerateWidgetTouchesNoGLStateAndDrawsNothing)
{
    // clang-format off
    struct Case { const char* Name; bool bVisible; double Size; } cases[] = {
        {"hidden", false, 0.3},
        {"size not a number", true, std::nan("")},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        app.View.bNavWidgetVisible = c.bVisible;
        app.View.NavWidgetSize = c.Size;
        glEnable(GL_DEPTH_TEST);
        glDisable(GL_BLEND);
        glBlendFunc(GL_ONE, GL_ZERO);
        app.View.RenderNavWidgetOverlay();
        EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST)) << c.Name;
        EXPECT_FALSE(glIsEnabled(GL_BLEND)) << c.Name;
        EXPECT_EQ(GetInt(GL_BLEND_SRC_RGB), GL_ONE) << c.Name;
        EXPECT_EQ(GetInt(GL_BLEND_DST_RGB), GL_ZERO) << c.Name;
        EXPECT_TRUE(app.Renderer.GetPrimitives().empty()) << c.Name;
        EXPECT_EQ(app.Renderer.GetBeginFrameCount(), 0) << c.Name;
    }
}

// --- The recorded primitives ------------------------------------------------------------------------

struct Segment
{
    double X1, Y1, X2, Y2;
};

// The glyph of a button, in viewport-local coordinates (y down).
std::vector<Segment> ExpectedGlyph(int Id, double cx, double cy, double sx, double sy)
{
    switch (Id)
    {
    case 2:
        return {{cx - sx, cy, cx + sx, cy}};
    case 3:
        return {{cx - sx, cy - sy, cx + sx, cy + sy}, {cx + sx, cy - sy, cx - sx, cy + sy}};
    case 4:
    case 8:
        return {{cx, cy + sy, cx, cy - sy},
                {cx, cy - sy, cx - 0.55 * sx, cy - 0.35 * sy},
                {cx, cy - sy, cx + 0.55 * sx, cy - 0.35 * sy}};
    case 5:
    case 9:
        return {{cx, cy - sy, cx, cy + sy},
                {cx, cy + sy, cx - 0.55 * sx, cy + 0.35 * sy},
                {cx, cy + sy, cx + 0.55 * sx, cy + 0.35 * sy}};
    case 6:
    case 10:
        return {{cx + sx, cy, cx - sx, cy},
                {cx - sx, cy, cx - 0.35 * sx, cy - 0.55 * sy},
                {cx - sx, cy, cx - 0.35 * sx, cy + 0.55 * sy}};
    case 7:
    case 11:
        return {{cx - sx, cy, cx + sx, cy},
                {cx + sx, cy, cx + 0.35 * sx, cy - 0.55 * sy},
                {cx + sx, cy, cx + 0.35 * sx, cy + 0.55 * sy}};
    default:
        return {{cx - sx, cy, cx + sx, cy}, {cx, cy - sy, cx, cy + sy}};
    }
}

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

void ExpectPrimitive(const RendPrimitive& prim, RendPrimitive::Kind Kind, const Segment& Local,
                     const Rgba& Colour, float WidthPx, const std::string& ctx)
{
    EXPECT_EQ(prim.Type, Kind) << ctx;
    EXPECT_NEAR(prim.X1, 2.0 * Local.X1 - 1.0, 1e-6) << ctx;
    EXPECT_NEAR(prim.Y1, 1.0 - 2.0 * Local.Y1, 1e-6) << ctx;
    EXPECT_NEAR(prim.X2, 2.0 * Local.X2 - 1.0, 1e-6) << ctx;
    EXPECT_NEAR(prim.Y2, 1.0 - 2.0 * Local.Y2, 1e-6) << ctx;
    EXPECT_NEAR(prim.R, Colour.R, 1e-6) << ctx;
    EXPECT_NEAR(prim.G, Colour.G, 1e-6) << ctx;
    EXPECT_NEAR(prim.B, Colour.B, 1e-6) << ctx;
    EXPECT_NEAR(prim.A, Colour.A, 1e-6) << ctx;
    if (Kind == RendPrimitive::Kind::Line)
    {
        EXPECT_FLOAT_EQ(prim.WidthPx, WidthPx) << ctx;
    }
}

TEST_F(NavWidgetGL, PrimitivesInOrderWithGeometryColoursAndWidths)
{
    TestApp app;
    app.View.NavWidgetSize = 0.3;
    app.View.NavWidgetMargin = 0.02;
    app.View.RenderNavWidgetOverlay();
    const std::vector<RendPrimitive>& prims = app.Renderer.GetPrimitives();
    ASSERT_EQ(prims.size(), 85u);
    EXPECT_EQ(app.Renderer.GetBeginFrameCount(), 85);
    EXPECT_EQ(app.Renderer.GetEndFrameCount(), 85);
    for (std::size_t i = 0; i < prims.size(); ++i)
        EXPECT_EQ(prims[i].FrameIndex, static_cast<int>(i) + 1) << "primitive " << i << " has its own frame";

    // Panel: local (0.68, 0.515)-(0.98, 0.98).
    ExpectPrimitive(prims[0], RendPrimitive::Kind::Rect, {0.68, 0.515, 0.98, 0.98},
                    {0.04f, 0.06f, 0.11f, 0.72f}, 0.0f, "panel");
    EXPECT_NEAR(prims[0].X1, 0.36, 1e-6);
    EXPECT_NEAR(prims[0].Y1, -0.03, 1e-6);

    std::size_t next = 1;
    const Rgba outline{0.92f, 0.95f, 1.0f, 0.95f};
    const Rgba icon{0.92f, 0.95f, 1.0f, 0.98f};
    for (const NavButtonCase& b : NavButtonCases)
    {
        const double bx1 = 0.68 + b.U1 * 0.3, bx2 = 0.68 + b.U2 * 0.3;
        const double by1 = 0.515 + b.V1 * 0.465, by2 = 0.515 + b.V2 * 0.465;
        const std::string name = b.Name;
        ASSERT_LT(next + 4, prims.size()) << name;
        ExpectPrimitive(prims[next++], RendPrimitive::Kind::Rect, {bx1, by1, bx2, by2},
                        ExpectedFace(b.Id, false), 0.0f, name + " face");
        const Segment edges[4] = {
            {bx1, by1, bx2, by1}, {bx2, by1, bx2, by2}, {bx2, by2, bx1, by2}, {bx1, by2, bx1, by1}};
        for (const Segment& edge : edges)
            ExpectPrimitive(prims[next++], RendPrimitive::Kind::Line, edge, outline, 1.6f, name + " outline");
        const std::vector<Segment> glyph =
            ExpectedGlyph(b.Id, (bx1 + bx2) / 2, (by1 + by2) / 2, 0.26 * (bx2 - bx1), 0.26 * (by2 - by1));
        for (std::size_t k = 0; k < glyph.size(); ++k)
        {
            ASSERT_LT(next, prims.size()) << name;
            ExpectPrimitive(prims[next++], RendPrimitive::Kind::Line, glyph[k], icon, 2.2f,
                            name + " glyph line " + std::to_string(k));
        }
    }
    EXPECT_EQ(next, 85u);
}

TEST_F(NavWidgetGL, HoveredAndHeldButtonsAreDrawnBrighter)
{
    // clang-format off
    struct Case { int Hover, Active; std::vector<int> Bright; } cases[] = {
        {5, 0, {5}}, {0, 7, {7}}, {10, 10, {10}}, {1, 2, {1, 2}}, {3, 9, {3, 9}}, {0, 0, {}}, {12, -1, {}},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        app.View.HoverNavButton = c.Hover;
        app.View.ActiveNavButton = c.Active;
        app.View.RenderNavWidgetOverlay();
        const std::vector<RendPrimitive>& prims = app.Renderer.GetPrimitives();
        ASSERT_EQ(prims.size(), 85u);
        // Faces are the rectangles after the panel, one per button in drawing order.
        std::size_t button = 0;
        for (std::size_t i = 1; i < prims.size(); ++i)
        {
            if (prims[i].Type != RendPrimitive::Kind::Rect)
                continue;
            ASSERT_LT(button, NavButtonCount);
            const int id = NavButtonCases[button++].Id;
            const bool bBright = std::find(c.Bright.begin(), c.Bright.end(), id) != c.Bright.end();
            const Rgba face = ExpectedFace(id, bBright);
            // Bit for bit: a highlighted face is exactly its listed colour.
            const auto ctx = [&]
            { return "button " + std::to_string(id) + " hover " + std::to_string(c.Hover); };
            EXPECT_EQ(prims[i].R, face.R) << ctx();
            EXPECT_EQ(prims[i].G, face.G) << ctx();
            EXPECT_EQ(prims[i].B, face.B) << ctx();
            EXPECT_EQ(prims[i].A, face.A) << ctx();
        }
        EXPECT_EQ(button, NavButtonCount);
    }
}

// --- Screenshot -------------------------------------------------------------------------------------

// Renders Rend's and TTF's records into an offscreen framebuffer over a plain "map" colour.
class Screenshot
{
  public:
    static constexpr int WidthPx = 960, HeightPx = 540;
    static constexpr float Background[3] = {0.22f, 0.30f, 0.20f};

    bool Render(const Rend& Renderer, const TTF& Font, std::string& Error)
    {
        RendGL rendGL;
        TTFGL ttfGL;
        if (!rendGL.Create(Error) || !ttfGL.Create(TTFGL::DefaultFontPath, Error))
            return false;
        GLTarget target(WidthPx, HeightPx);
        glClearColor(Background[0], Background[1], Background[2], 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
        rendGL.Draw(Renderer.GetPrimitives(), WidthPx, HeightPx);
        ttfGL.Draw(Font.GetTextCalls(), WidthPx, HeightPx);
        Pixels = target.Read();
        return true;
    }

    // The pixel under a viewport-local point (the viewport is the whole image), 0..1 per channel.
    Rgba At(double x01, double y01) const
    {
        const int x = std::min(static_cast<int>(x01 * WidthPx), WidthPx - 1);
        const int y = std::min(static_cast<int>(y01 * HeightPx), HeightPx - 1);
        const std::uint8_t* px = &Pixels[(static_cast<std::size_t>(y) * WidthPx + x) * 4];
        return {px[0] / 255.0f, px[1] / 255.0f, px[2] / 255.0f, px[3] / 255.0f};
    }

    std::vector<std::uint8_t> Pixels; // rows top first
};

// Straight alpha blending of a colour over an opaque one.
Rgba Over(const Rgba& Top, const Rgba& Below)
{
    return {Top.R * Top.A + Below.R * (1 - Top.A), Top.G * Top.A + Below.G * (1 - Top.A),
            Top.B * Top.A + Below.B * (1 - Top.A), 1.0f};
}

void ExpectPixel(const Rgba& Got, const Rgba& Want, const std::string& ctx)
{
    constexpr float Tolerance = 3.0f / 255.0f;
    EXPECT_NEAR(Got.R, Want.R, Tolerance) << ctx;
    EXPECT_NEAR(Got.G, Want.G, Tolerance) << ctx;
    EXPECT_NEAR(Got.B, Want.B, Tolerance) << ctx;
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

    Screenshot shot;
    std::string error;
    ASSERT_TRUE(shot.Render(app.Renderer, app.Font, error)) << error;
    const std::string path = std::string(NAV_SCREENSHOT_DIR) + "/navwidget.png";
    ASSERT_TRUE(WritePngRgb(path, Screenshot::WidthPx, Screenshot::HeightPx, shot.Pixels.data(), error))
        << error;

    const Rgba background{Screenshot::Background[0], Screenshot::Background[1], Screenshot::Background[2],
                          1.0f};
    const Rgba panel = Over({0.04f, 0.06f, 0.11f, 0.72f}, background);
    ExpectPixel(shot.At(0.3, 0.3), background, "outside the widget");
    // A gap of the panel: u 0.1, v 0.45.
    ExpectPixel(shot.At(0.68 + 0.1 * 0.3, 0.515 + 0.45 * 0.465), panel, "panel gap");

    // A point of each face away from its outline and glyph: 15 % in from the top-left corner.
    for (const NavButtonCase& b : NavButtonCases)
    {
        const double x = 0.68 + (b.U1 + 0.15 * (b.U2 - b.U1)) * 0.3;
        const double y = 0.515 + (b.V1 + 0.15 * (b.V2 - b.V1)) * 0.465;
        ExpectPixel(shot.At(x, y), Over(ExpectedFace(b.Id, b.Id == 10), panel), b.Name);
    }
    // Pan buttons are blue, rotate buttons orange.
    const Rgba panFace = shot.At(0.68 + 0.61 * 0.3, 0.515 + 0.76 * 0.465);
    EXPECT_GT(panFace.B, panFace.R + 0.4f) << "pan right face";
    const Rgba rotateFace = shot.At(0.68 + 0.29 * 0.3, 0.515 + 0.40 * 0.465);
    EXPECT_GT(rotateFace.R, rotateFace.B + 0.4f) << "rotate left face";
    // The up arrow's shaft runs through the centre of button 4 in the glyph colour.
    const Rgba shaft = shot.At(0.68 + 0.50 * 0.3, 0.515 + 0.315 * 0.465);
    EXPECT_GT(shaft.R, 0.85f);
    EXPECT_GT(shaft.G, 0.85f);

    // The toggle, checked: its indicator is lit.
    const Rgba indicator = shot.At(0.89 + 0.15 * 0.095, 0.96);
    EXPECT_GT(indicator.B, 0.85f) << "checked indicator";
    EXPECT_GT(indicator.B, indicator.R + 0.4f) << "checked indicator";
}

} // namespace
