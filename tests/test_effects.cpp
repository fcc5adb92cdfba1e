// Effects panel: its rectangle, the drawing (shapes, rows, number format, colour rules) and the
// preset-button presses taken by the per-frame mouse processing.
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "test_app.h"

namespace
{
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Inf = std::numeric_limits<double>::infinity();

struct Rgba
{
    float R, G, B, A;
};
constexpr Rgba RowNormal{0.75f, 0.88f, 0.96f, 1.0f};
constexpr Rgba StatusNormal{0.55f, 1.0f, 0.7f, 1.0f};
constexpr Rgba ButtonSelected{0.18f, 0.7f, 1.0f, 0.82f};
constexpr Rgba ButtonOther{0.12f, 0.18f, 0.26f, 0.85f};

// The exact colour of a recorded shape or text row.
template <typename Drawn>::testing::AssertionResult HasColour(const Drawn& d, Rgba c)
{
    if (d.R == c.R && d.G == c.G && d.B == c.B && d.A == c.A)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "colour (" << d.R << ", " << d.G << ", " << d.B << ", " << d.A << ")";
}

// A drawn text row as a person would list it: place, size, colour and text.
std::string Describe(const TTFTextCall& t)
{
    char line[200];
    std::snprintf(line, sizeof line, "%.4f %.4f %g %dpx (%g %g %g %g) ", t.X, t.Y, t.Z, t.SizePx, t.R, t.G,
                  t.B, t.A);
    return line + t.Text;
}

// A TestApp that draws the panel and hands back its rows (0 the title, 1..6 below it).
class EffectsApp : public TestApp
{
  public:
    const std::vector<TTFTextCall>& Draw()
    {
        Renderer.ClearRecord();
        Font.ClearRecord();
        Font.Moments.clear();
        View.RenderJetEffectsOverlay();
        return Font.GetTextCalls();
    }
    std::string Row(std::size_t n)
    {
        const std::vector<TTFTextCall>& texts = Draw();
        return n < texts.size() ? texts[n].Text : "<missing row>";
    }
    const std::vector<RendPrimitive>& Shapes() const { return Renderer.GetPrimitives(); }
    // The preset buttons pressed, and the panel swallowing the press, at a global point.
    std::vector<TestViewport::PresetCall> PressAtGlobal(double gx, double gy)
    {
        View.PresetCalls.clear();
        PointAtGlobal(gx, gy);
        Frame(true);
        EXPECT_TRUE(App.bChildWindowProcessed) << gx << ", " << gy;
        Frame(false);
        return View.PresetCalls;
    }
};

TEST(EffectsPanelDrawing, BarsFollowQualityAndScaleAndOnlyTheQualitysButtonIsLit)
{
    // The scale bar is unclamped: past its full length above 1, leftwards below 0.
    // clang-format off
    struct Case { int Stored; float Scale; const char* Name; float QualityBar, ScaleBarRightX; int Lit; } cases[] = {
        {0, 0.0f, "Low", 0.33f, 0.212f, 0},    {1, 0.5f, "Medium", 0.66f, 0.407f, 1},
        {2, 1.0f, "High", 1.0f, 0.602f, 2},    {3, 1.5f, "High", 1.0f, 0.797f, -1},
        {-1, -0.5f, "High", 1.0f, 0.017f, -1}, {1 << 30, 0.75f, "High", 1.0f, 0.5045f, -1},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        EffectsApp app;
        app.View.JetExhaust.Debug().Quality = static_cast<JetExhaustQuality>(c.Stored);
        app.View.JetEffectsScale = c.Scale;
        EXPECT_EQ(app.Row(1), std::string("Preset ") + c.Name + " | target 0x0") << "quality " << c.Stored;
        const std::vector<RendPrimitive>& shapes = app.Shapes();
        ASSERT_EQ(shapes.size(), 10u) << "quality " << c.Stored;
        EXPECT_NEAR(shapes[5].X2 - shapes[5].X1, 0.39f * c.QualityBar, 1e-6) << "quality " << c.Stored;
        EXPECT_NEAR(shapes[6].X1, 0.212f, 1e-6) << "scale " << c.Scale;
        EXPECT_NEAR(shapes[6].X2, c.ScaleBarRightX, 1e-6) << "scale " << c.Scale;
        for (int b = 0; b < 3; ++b)
            EXPECT_TRUE(HasColour(shapes[7 + b], b == c.Lit ? ButtonSelected : ButtonOther))
                << "quality " << c.Stored << " button " << b;
        for (int bar : {5, 6})
            EXPECT_TRUE(shapes[bar].Y1 < shapes[0].Y1 && shapes[bar].Y2 > shapes[0].Y2)
                << "bar " << bar << " inside";
        EXPECT_TRUE(HasColour(shapes[5], {0.2f, 0.78f, 1.0f, 0.85f}) &&
                    HasColour(shapes[6], {0.96f, 0.6f, 0.18f, 0.85f}));
        // The background covers the region whose presses the panel takes (checked with the presses).
        EXPECT_TRUE(shapes[0].Type == RendPrimitive::Kind::Rect && std::abs(shapes[0].X1 - 0.2f) < 5e-5f &&
                    std::abs(shapes[0].Y1 - 0.96f) < 5e-5f && std::abs(shapes[0].X2 - 0.96f) < 5e-5f &&
                    std::abs(shapes[0].Y2 - 0.28f) < 5e-5f && shapes[0].WidthPx == 0.0f);
    }
}

TEST(EffectsPanelDrawing, RowsForGivenFigures)
{
    EffectsApp app;
    app.Renderer.FontSmallerPx = 12;
    app.View.JetEffectsTargetWidth = 960, app.View.JetEffectsTargetHeight = 540;
    JetExhaustDebugSettings& settings = app.View.JetExhaust.Debug();
    settings.BloomEnabled = false;
    settings.DepthFogEnabled = false;
    const double cpu[5] = {1.2, 0.5, 99.0, 3.7, -0.6};
    const double gpu[5] = {1.5, 7.0, 0.6, 1.2, 0.3}; // slot 1 is hidden but counts in the total
    std::copy(cpu, cpu + 5, app.View.JetEffectsCpuMs);
    std::copy(gpu, gpu + 5, app.View.JetEffectsGpuMs);
    app.View.JetEffectsMemoryMiB = 47.5, app.View.JetEffectsGpuBudgetMs = 16.0;
    app.View.JetEffectsStatusText = "Effects ready";
    // clang-format off
    const std::string rows[] = {
        "0.2120 0.9300 0.02 12px (0.72 0.94 1 1) MIRAVEL EFFECTS",
        "0.2120 0.9000 0.02 12px (0.95 0.96 1 1) Preset Medium | target 960x540",
        "0.2120 0.8400 0.02 12px (0.75 0.88 0.96 1) Shimmer ON  Bloom OFF  Fog OFF  Trails ON",
        "0.2120 0.7700 0.02 12px (0.75 0.88 0.96 1) Click presets/toggles; lower rows: scale then fog | Ctrl+Shift+R shaders | Ctrl+Shift+L effect",
        "0.2120 0.7400 0.02 12px (0.75 0.88 0.96 1) CPU ms scene 1 mask 1 bloom 4 composite -1",
        "0.2120 0.7100 0.02 12px (0.75 0.88 0.96 1) GPU ms scene 2 mask 1 bloom 1 comp 0 | 48 MiB",
        "0.2120 0.6800 0.02 12px (0.55 1 0.7 1) Effects ready",
    };
    // clang-format on
    const std::vector<TTFTextCall>& texts = app.Draw();
    ASSERT_EQ(texts.size(), std::size(rows));
    for (std::size_t i = 0; i < texts.size(); ++i)
        EXPECT_EQ(Describe(texts[i]), rows[i]) << "row " << i;
    settings.ShimmerEnabled = false;
    settings.ContrailsEnabled = false;
    settings.BloomEnabled = true;
    EXPECT_EQ(app.Row(2), "Shimmer OFF  Bloom ON  Fog OFF  Trails OFF");

    // The rows keep their distances below the top in a short viewport, falling past the bottom edge.
    app.View.WindowY2 = 0.5; // panel from 0.99 down to 0.82
    const std::vector<TTFTextCall>& shortTexts = app.Draw();
    ASSERT_EQ(shortTexts.size(), 7u);
    EXPECT_NEAR(shortTexts[0].Y, 0.96f, 1e-6);
    EXPECT_NEAR(shortTexts[6].Y, 0.71f, 1e-6);
    EXPECT_NEAR(app.Shapes()[0].Y2, 0.82f, 1e-6);

    // The font is never smaller than 9 px.
    for (const auto& [smallerPx, drawnPx] : {std::pair{-4, 9}, {8, 9}, {9, 9}, {10, 10}})
    {
        app.Renderer.FontSmallerPx = smallerPx;
        EXPECT_EQ(app.Draw().back().SizePx, drawnPx) << "FontSmallerPx " << smallerPx;
    }
}

TEST(EffectsPanelDrawing, FiguresRoundHalvesAwayFromZeroAndSaturate)
{
    // clang-format off
    struct Case { double Value; const char* Printed; } cases[] = {
        {2.5, "3"}, {-2.5, "-3"}, {0.49, "0"}, {-0.49, "0"} /* no "-0" */, {0.5, "1"}, {1.4999999, "1"}, {-7.0, "-7"},
        {2147483646.6, "2147483647"}, {2147483647.4, "2147483647"}, {2147483647.5, "2147483647"},
        {1e12, "2147483647"}, {Inf, "2147483647"}, {-2147483648.4, "-2147483648"},
        {-2147483648.6, "-2147483648"}, {-1e300, "-2147483648"}, {-Inf, "-2147483648"}, {NaN, "0"},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        EffectsApp app;
        app.View.JetEffectsCpuMs[0] = c.Value;
        app.View.JetEffectsMemoryMiB = c.Value;
        EXPECT_EQ(app.Row(4), std::string("CPU ms scene ") + c.Printed + " mask 0 bloom 0 composite 0")
            << "value " << c.Value;
        EXPECT_EQ(app.Row(5), std::string("GPU ms scene 0 mask 0 bloom 0 comp 0 | ") + c.Printed + " MiB")
            << "value " << c.Value;
    }
    // Integer fields print as they are, negative ones included.
    EffectsApp app;
    app.View.JetEffectsTargetWidth = -3, app.View.JetEffectsTargetHeight = 2147483647;
    EXPECT_EQ(app.Row(1), "Preset Medium | target -3x2147483647");
}

TEST(EffectsPanelDrawing, GpuRowWarnsAboveTheBudgetAndStatusRowShowsErrorsCut)
{
    const std::string x56(56, 'x');
    // clang-format off
    struct Case { double Gpu[5]; double BudgetMs; bool bGpuWarning; std::string Status, Shown; bool bError; } cases[] = {
        {{1.0, 0.5, 0.5, 1.0, 1.0}, 4.0, false, "Shader", "Shader", true},  // GPU total equal to the budget
        {{1.0, 0.5, 0.5, 1.0, 1.0000001}, 4.0, true, "Shade", "Shade", false},
        {{0.0, 5.0, 0.0, 0.0, 0.0}, 4.0, true, "shader compile failed", "shader compile failed", false}, // hidden slot alone
        {{0.0, 0.0, 0.0, 0.0, 0.0}, -1.0, true, " Shader", " Shader", false},
        {{NaN, 0.0, 0.0, 0.0, 0.0}, 4.0, false, "Shaders reloaded", "Shaders reloaded", true}, // only the start counts
        {{9.0, 0.0, 0.0, 0.0, 0.0}, NaN, false, "Composite link", "Composite link", true},
        {{}, 4.0, false, "Composite lin", "Composite lin", false}, {{}, 4.0, false, "Composite Link failed", "Composite Link failed", false},
        {{}, 4.0, false, "", "", false}, {{}, 4.0, false, x56, x56, false}, {{}, 4.0, false, x56 + "y", x56, false},
        {{}, 4.0, false, "Shader " + x56, "Shader " + x56.substr(0, 49), true},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        EffectsApp app;
        std::copy(c.Gpu, c.Gpu + 5, app.View.JetEffectsGpuMs);
        app.View.JetEffectsGpuBudgetMs = c.BudgetMs;
        app.View.JetEffectsStatusText = c.Status;
        const std::vector<TTFTextCall>& texts = app.Draw();
        ASSERT_EQ(texts.size(), 7u) << "status '" << c.Status << "'";
        EXPECT_TRUE(HasColour(texts[5], c.bGpuWarning ? Rgba{1.0f, 0.42f, 0.22f, 1.0f} : RowNormal))
            << c.Gpu[4];
        EXPECT_TRUE(HasColour(texts[4], RowNormal)) << "only the GPU row changes colour";
        EXPECT_EQ(texts[6].Text, c.Shown);
        EXPECT_TRUE(HasColour(texts[6], c.bError ? Rgba{1.0f, 0.35f, 0.25f, 1.0f} : StatusNormal))
            << c.Status;
    }
}

TEST(EffectsPanelDrawing, TextComesAfterTheClosedFrameAndNothingWithoutPanelRendererOrFrame)
{
    // clang-format off
    struct Case { const char* Name; bool bPanelVisible, bCore, bRend, bDrawingAllowed, bFont; std::size_t Shapes, Rows; } cases[] = {
        {"drawn", true, true, true, true, true, 10, 7}, {"no font: shapes only", true, true, true, true, false, 10, 0},
        {"panel hidden", false, true, true, true, true, 0, 0}, {"no core", true, false, true, true, true, 0, 0},
        {"no renderer", true, true, false, true, true, 0, 0}, {"beginFrame fails", true, true, true, false, true, 0, 0},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        EffectsApp app;
        app.View.bJetEffectsPanelVisible = c.bPanelVisible;
        app.Renderer.bDrawingAllowed = c.bDrawingAllowed;
        app.Renderer.pTTF = c.bFont ? &app.Font : nullptr;
        app.CoreServices.pRend = c.bRend ? &app.Renderer : nullptr;
        p = c.bCore ? &app.CoreServices : nullptr;
        app.View.RenderJetEffectsOverlay();
        p = &app.CoreServices;
        EXPECT_EQ(app.Renderer.GetEndFrameCount(), c.Shapes ? 1 : 0) << c.Name;
        EXPECT_EQ(app.Renderer.GetBeginFrameCount(), c.Shapes ? 1 : 0) << c.Name;
        EXPECT_EQ(app.Shapes().size(), c.Shapes) << c.Name;
        EXPECT_EQ(app.Font.GetTextCalls().size(), c.Rows) << c.Name;
        for (const MomentTTF::Moment& moment : app.Font.Moments) // rows come after the closed frame
            EXPECT_TRUE(!moment.bRendInFrame && moment.EndFrameCount == 1 && moment.PrimitiveCount == 10u)
                << c.Name;
    }
}

// --- Presses ---

TEST(EffectsPanelPress, HitLeavesRunningDragsAndPressActsOnce)
{
    EffectsApp app;
    app.PointAtGlobal(0.0, -0.5);
    app.Frame(false, true); // middle press: a pan starts below the panel
    ASSERT_TRUE(app.View.bPanDrag);
    app.PointAtGlobal(0.3, 0.88);
    app.Frame(true, true);
    EXPECT_TRUE(app.View.bPanDrag);
    app.Frame(true, true); // held over the button: no second preset
    app.Frame(false, true);
    EXPECT_EQ(app.View.PresetCalls.size(), 1u);
    app.Frame(true, true); // pressing the active preset again applies it again
    ASSERT_EQ(app.View.PresetCalls.size(), 2u);
    EXPECT_EQ(app.View.PresetCalls[1].Quality, JetExhaustQuality::Low);
    // A press off the buttons ends the pan at once.
    app.PointAtGlobal(0.455, 0.88);
    app.Frame(false, true);
    app.Frame(true, true);
    EXPECT_FALSE(app.View.bPanDrag);
    EXPECT_EQ(app.View.PresetCalls.size(), 2u);
}

TEST(EffectsPanelPress, DrawnButtonEdgesAreHitAndOneFloatBeyondIsNot)
{
    EffectsApp app;
    app.Draw();
    ASSERT_EQ(app.Shapes().size(), 10u);
    const std::vector<RendPrimitive> buttons(app.Shapes().begin() + 7, app.Shapes().end());
    for (int b = 0; b < 3; ++b)
    {
        const RendPrimitive& r = buttons[b];
        const float midX = (r.X1 + r.X2) * 0.5f, midY = (r.Y1 + r.Y2) * 0.5f;
        const float left = std::nextafter(r.X1, -1.0f), right = std::nextafter(r.X2, 2.0f);
        const float above = std::nextafter(r.Y1, 2.0f), below = std::nextafter(r.Y2, -1.0f);
        // clang-format off
        struct Probe { const char* Edge; float X, Y, OutX, OutY; } probes[] = {
            {"left", r.X1, midY, left, midY}, {"right", r.X2, midY, right, midY},
            {"top", midX, r.Y1, midX, above}, {"bottom", midX, r.Y2, midX, below},
            {"top-left corner", r.X1, r.Y1, left, above}, {"bottom-right corner", r.X2, r.Y2, right, below},
        };
        // clang-format on
        for (const Probe& probe : probes)
        {
            const std::vector<TestViewport::PresetCall> presses = app.PressAtGlobal(probe.X, probe.Y);
            EXPECT_TRUE(presses.size() == 1 && static_cast<int>(presses[0].Quality) == b)
                << "button " << b << " " << probe.Edge;
            EXPECT_TRUE(app.PressAtGlobal(probe.OutX, probe.OutY).empty())
                << "button " << b << " beyond " << probe.Edge;
        }
    }
}

// A viewport whose pointer conversion the test steers: a coordinate that is not a number, or a
// pointer counted as outside the viewport while its local point lies on the panel.
class SteeredPointerViewport : public TestViewport
{
  public:
    bool bNaNX = false, bNaNY = false, bOutside = false;

    bool GlobalToLocal01(double GlobalX, double GlobalY, double& LocalX01, double& LocalY01) const override
    {
        const bool bInside = TestViewport::GlobalToLocal01(GlobalX, GlobalY, LocalX01, LocalY01);
        LocalX01 = bNaNX ? NaN : LocalX01;
        LocalY01 = bNaNY ? NaN : LocalY01;
        return bInside;
    }
    bool GlobalToLocalPixels(double GlobalX, double GlobalY, int& LocalXPx, int& LocalYPx) const override
    {
        return TestViewport::GlobalToLocalPixels(GlobalX, GlobalY, LocalXPx, LocalYPx) && !bOutside;
    }
};

TEST(EffectsPanelPress, WorkedExamplePressesAndWhoTakesThem)
{
    // Setup: L, M, R buttons down; p a pan drag left over; h panel hidden; x, y that local coordinate
    // not a number; o the pointer counted as outside the viewport. Preset -1: none applied.
    // clang-format off
    struct Case { const char* Name; double X, Y; std::string Setup; int Preset; bool bOrbit, bMarked, bPan; } cases[] = {
        {"first button", 0.3, 0.88, "Lp", 0, false, true, true}, {"second button", 0.578, 0.88, "Lp", 1, false, true, true},
        {"third button", 0.824, 0.88, "Lp", 2, false, true, true},
        // The rest of the panel swallows a left press and ends the drag under it.
        {"gap between buttons 0 and 1", 0.455, 0.88, "Lp", -1, false, true, false},
        {"just below the buttons", 0.6, 0.86, "Lp", -1, false, true, false}, {"title row", 0.3, 0.93, "Lp", -1, false, true, false},
        {"right margin", 0.95, 0.88, "Lp", -1, false, true, false}, {"panel's top-left corner", 0.2, 0.96, "Lp", -1, false, true, false},
        {"panel's bottom-right corner", 0.96, 0.28, "Lp", -1, false, true, false},
        // Over the panel any frame is the viewport's; a press that is not the panel's goes on as usual.
        {"panel hidden", 0.3, 0.88, "Lh", -1, true, true, false}, {"hover", 0.3, 0.88, "", -1, false, true, false},
        {"middle", 0.3, 0.88, "M", -1, false, true, false}, {"right", 0.3, 0.88, "R", -1, false, true, false},
        {"hover away from the panel", -0.5, 0.0, "", -1, false, false, false},
        {"x not a number", 0.3, 0.88, "Lx", -1, true, true, false}, {"y not a number", 0.3, 0.88, "Ly", -1, true, true, false},
        {"outside the viewport", 0.3, 0.88, "Lo", -1, false, false, false},
    };
    // clang-format on
    const char* const labels[] = {"Low", "Medium", "High"};
    const float scales[] = {0.5f, 0.75f, 1.0f};
    for (const Case& c : cases)
    {
        const auto has = [&](char flag) { return c.Setup.find(flag) != std::string::npos; };
        TestApp app;
        SteeredPointerViewport view;
        view.pParentWindow = &app.Window;
        view.bHasFocus = true;
        view.JetExhaust.Debug().Quality = static_cast<JetExhaustQuality>(7);
        view.bPanDrag = has('p');
        view.bJetEffectsPanelVisible = !has('h');
        view.bNaNX = has('x');
        view.bNaNY = has('y');
        view.bOutside = has('o');
        app.PointAtGlobal(c.X, c.Y);
        app.MouseState.pButton[Mouse::Left] = has('L');
        app.MouseState.pButton[Mouse::Middle] = has('M');
        app.MouseState.pButton[Mouse::Right] = has('R');
        view.MouseProcessing();
        EXPECT_EQ(view.bOrbitDrag, c.bOrbit) << c.Name;
        EXPECT_EQ(view.bPanDrag, c.bPan) << c.Name;
        EXPECT_FALSE(view.bOrderDrag) << c.Name;
        EXPECT_EQ(app.App.bChildWindowProcessed, c.bMarked) << c.Name;
        EXPECT_EQ(static_cast<int>(view.JetExhaust.Debug().Quality), c.Preset < 0 ? 7 : c.Preset) << c.Name;
        ASSERT_EQ(view.PresetCalls.size(), c.Preset < 0 ? 0u : 1u) << c.Name;
        if (c.Preset >= 0)
        {
            EXPECT_TRUE(view.PresetCalls[0].Label == labels[c.Preset] &&
                        view.JetEffectsScale == scales[c.Preset])
                << c.Name;
        }
    }
}

TEST(EffectsPanelPress, PanelWinsOverANavigationButtonBelowIt)
{
    EffectsApp app;
    // The largest widget with the largest margin reaches up under the panel: x 0.32..0.8, y 0.056..0.8,
    // its zoom-out button at u 0.70..0.96, v 0.04..0.20.
    app.View.NavWidgetSize = 0.48, app.View.NavWidgetMargin = 0.2;
    const double distance = app.View.CameraDistance;
    app.PointAtLocal(0.32 + 0.48 * 0.83, 0.056 + 0.744 * 0.12);
    app.Frame(true);
    EXPECT_EQ(app.View.HoverNavButton, 2) << "the point should be on the zoom-out button";
    EXPECT_TRUE(app.App.bChildWindowProcessed);
    EXPECT_EQ(app.View.ActiveNavButton, 0);
    EXPECT_EQ(app.View.CameraDistance, distance);
    app.Frame(false);
    // Without the panel the same press is the zoom-out button's.
    app.View.bJetEffectsPanelVisible = false;
    app.Frame(true);
    EXPECT_EQ(app.View.ActiveNavButton, 2);
    EXPECT_GT(app.View.CameraDistance, distance);
}

} // namespace
