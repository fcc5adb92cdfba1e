// Effects panel: its rectangle, the drawing (shapes, rows, number format, colour rules) and the
// preset-button presses taken by the per-frame mouse processing.
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "glcolor.h"
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
constexpr Rgba GpuWarning{1.0f, 0.42f, 0.22f, 1.0f};
constexpr Rgba StatusError{1.0f, 0.35f, 0.25f, 1.0f};
constexpr Rgba StatusNormal{0.55f, 1.0f, 0.7f, 1.0f};
constexpr Rgba ButtonSelected{0.18f, 0.7f, 1.0f, 0.82f};
constexpr Rgba ButtonOther{0.12f, 0.18f, 0.26f, 0.85f};

::testing::AssertionResult HasColour(const TTFTextCall& call, Rgba c)
{
    if (call.R == c.R && call.G == c.G && call.B == c.B && call.A == c.A)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "colour (" << call.R << ", " << call.G << ", " << call.B << ", " << call.A << ") instead of ("
           << c.R << ", " << c.G << ", " << c.B << ", " << c.A << ")";
}
::testing::AssertionResult HasColour(const RendPrimitive& shape, Rgba c)
{
    if (shape.R == c.R && shape.G == c.G && shape.B == c.B && shape.A == c.A)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "colour (" << shape.R << ", " << shape.G << ", " << shape.B << ", " << shape.A
           << ") instead of (" << c.R << ", " << c.G << ", " << c.B << ", " << c.A << ")";
}

// A TestApp that draws the panel once and hands back the text rows.
class EffectsApp : public TestApp
{
  public:
    const std::vector<TTFTextCall>& DrawTexts()
    {
        Renderer.ClearRecord();
        Font.ClearRecord();
        Font.Moments.clear();
        View.RenderJetEffectsOverlay();
        return Font.GetTextCalls();
    }
    // Text of row n (0 the title, 1..6 line1..line6) after one draw.
    std::string DrawRow(std::size_t n)
    {
        const std::vector<TTFTextCall>& texts = DrawTexts();
        return n < texts.size() ? texts[n].Text : "<missing row>";
    }
    // The three preset buttons as drawn (shapes 8 to 10).
    std::vector<RendPrimitive> DrawButtons()
    {
        DrawTexts();
        const std::vector<RendPrimitive>& shapes = Renderer.GetPrimitives();
        if (shapes.size() != 10)
            return {};
        return {shapes.begin() + 7, shapes.end()};
    }
    // One press and release at a global point; returns whether the press frame was marked.
    bool PressAtGlobal(double gx, double gy)
    {
        PointAtGlobal(gx, gy);
        Frame(true);
        const bool bMarked = App.bChildWindowProcessed;
        Frame(false);
        return bMarked;
    }
};

TEST(EffectsPanelRect, FixedUpperRightBoxWhileVisible)
{
    EffectsApp app;
    double x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
    ASSERT_TRUE(app.View.GetJetEffectsPanelRect(x1, y1, x2, y2));
    EXPECT_EQ(x1, 0.6);
    EXPECT_EQ(y1, 0.02);
    EXPECT_EQ(x2, 0.98);
    EXPECT_EQ(y2, 0.36);

    app.View.bJetEffectsPanelVisible = false;
    x1 = y1 = x2 = y2 = 7.0;
    EXPECT_FALSE(app.View.GetJetEffectsPanelRect(x1, y1, x2, y2));
    EXPECT_EQ(x1, 7.0);
    EXPECT_EQ(y1, 7.0);
    EXPECT_EQ(x2, 7.0);
    EXPECT_EQ(y2, 7.0);
}

TEST(EffectsPanelDrawing, WorkedExampleShapesInOrder)
{
    EffectsApp app; // window (-1, 1)-(1, -1), Medium preset, scale 0.75
    app.DrawTexts();
    using Kind = RendPrimitive::Kind;
    // clang-format off
    struct Expected { const char* Name; Kind Type; float X1, Y1, X2, Y2; Rgba Colour; float WidthPx; } expected[] = {
        {"background", Kind::Rect, 0.2f, 0.96f, 0.96f, 0.28f, {0.025f, 0.045f, 0.075f, 0.9f}, 0.0f},
        {"top border", Kind::Line, 0.2f, 0.96f, 0.96f, 0.96f, {0.25f, 0.88f, 1.0f, 0.95f}, 1.5f},
        {"right border", Kind::Line, 0.96f, 0.96f, 0.96f, 0.28f, {0.25f, 0.88f, 1.0f, 0.75f}, 1.0f},
        {"bottom border", Kind::Line, 0.96f, 0.28f, 0.2f, 0.28f, {0.25f, 0.88f, 1.0f, 0.75f}, 1.0f},
        {"left border", Kind::Line, 0.2f, 0.28f, 0.2f, 0.96f, {0.25f, 0.88f, 1.0f, 0.75f}, 1.0f},
        {"quality bar", Kind::Rect, 0.212f, 0.865f, 0.212f + 0.39f * 0.66f, 0.852f, {0.2f, 0.78f, 1.0f, 0.85f}, 0},
        {"scale bar", Kind::Rect, 0.212f, 0.81f, 0.212f + 0.39f * 0.75f, 0.797f, {0.96f, 0.6f, 0.18f, 0.85f}, 0},
        {"button Low", Kind::Rect, 0.212f, 0.89f, 0.452f, 0.87f, ButtonOther, 0.0f},
        {"button Medium", Kind::Rect, 0.458f, 0.89f, 0.698f, 0.87f, ButtonSelected, 0.0f},
        {"button High", Kind::Rect, 0.704f, 0.89f, 0.944f, 0.87f, ButtonOther, 0.0f},
    };
    // clang-format on
    const std::vector<RendPrimitive>& shapes = app.Renderer.GetPrimitives();
    ASSERT_EQ(shapes.size(), std::size(expected));
    for (std::size_t i = 0; i < shapes.size(); ++i)
    {
        const Expected& e = expected[i];
        const RendPrimitive& s = shapes[i];
        EXPECT_EQ(s.Type, e.Type) << e.Name;
        EXPECT_NEAR(s.X1, e.X1, 1e-6) << e.Name;
        EXPECT_NEAR(s.Y1, e.Y1, 1e-6) << e.Name;
        EXPECT_NEAR(s.X2, e.X2, 1e-6) << e.Name;
        EXPECT_NEAR(s.Y2, e.Y2, 1e-6) << e.Name;
        EXPECT_TRUE(HasColour(s, e.Colour)) << e.Name;
        EXPECT_EQ(s.WidthPx, e.WidthPx) << e.Name;
        EXPECT_EQ(s.FrameIndex, 1) << e.Name;
    }
    EXPECT_EQ(app.Renderer.GetBeginFrameCount(), 1);
    EXPECT_EQ(app.Renderer.GetEndFrameCount(), 1);
    EXPECT_FALSE(app.Renderer.IsInFrame());
}

TEST(EffectsPanelDrawing, QualityNamesBarAndHighlightedButton)
{
    struct Case
    {
        int Stored;
        const char* Name;
        float BarFraction;
        int Selected; // -1: none
    } cases[] = {
        {0, "Low", 0.33f, 0},  {1, "Medium", 0.66f, 1}, {2, "High", 1.0f, 2},
        {3, "High", 1.0f, -1}, {-1, "High", 1.0f, -1},  {1 << 30, "High", 1.0f, -1},
    };
    for (const Case& c : cases)
    {
        EffectsApp app;
        app.View.JetExhaust.Debug().Quality = static_cast<JetExhaustQuality>(c.Stored);
        const std::vector<RendPrimitive> buttons = app.DrawButtons();
        ASSERT_EQ(buttons.size(), 3u) << "quality " << c.Stored;
        const RendPrimitive& bar = app.Renderer.GetPrimitives()[5];
        EXPECT_NEAR(bar.X2 - bar.X1, 0.39f * c.BarFraction, 1e-6) << "quality " << c.Stored;
        for (int b = 0; b < 3; ++b)
            EXPECT_TRUE(HasColour(buttons[b], b == c.Selected ? ButtonSelected : ButtonOther))
                << "quality " << c.Stored << " button " << b;
        ASSERT_EQ(app.Font.GetTextCalls().size(), 7u) << "quality " << c.Stored;
        EXPECT_EQ(app.Font.GetTextCalls()[1].Text, std::string("Preset ") + c.Name + " | target 0x0")
            << "quality " << c.Stored;
    }
}

TEST(EffectsPanelDrawing, ScaleBarIsUnclamped)
{
    struct Case
    {
        float Scale, RightX;
    } cases[] = {{0.0f, 0.212f}, {0.5f, 0.407f}, {1.0f, 0.602f}, {1.5f, 0.797f}, {-0.5f, 0.017f}};
    for (const Case& c : cases)
    {
        EffectsApp app;
        app.View.JetEffectsScale = c.Scale;
        app.DrawTexts();
        ASSERT_EQ(app.Renderer.GetPrimitives().size(), 10u);
        const RendPrimitive& bar = app.Renderer.GetPrimitives()[6];
        EXPECT_NEAR(bar.X1, 0.212f, 1e-6) << "scale " << c.Scale;
        EXPECT_NEAR(bar.X2, c.RightX, 1e-6) << "scale " << c.Scale;
    }
}

TEST(EffectsPanelDrawing, RowsForGivenFigures)
{
    EffectsApp app;
    app.Renderer.FontSmallerPx = 12;
    app.View.JetEffectsTargetWidth = 960;
    app.View.JetEffectsTargetHeight = 540;
    JetExhaustDebugSettings& settings = app.View.JetExhaust.Debug();
    settings.ShimmerEnabled = true;
    settings.BloomEnabled = false;
    settings.DepthFogEnabled = false;
    settings.ContrailsEnabled = true;
    const double cpu[5] = {1.2, 0.5, 99.0, 3.7, -0.6};
    const double gpu[5] = {1.5, 7.0, 0.6, 1.2, 0.3}; // slot 1 is hidden but counts in the total
    for (int i = 0; i < 5; ++i)
    {
        app.View.JetEffectsCpuMs[i] = cpu[i];
        app.View.JetEffectsGpuMs[i] = gpu[i];
    }
    app.View.JetEffectsMemoryMiB = 47.5;
    app.View.JetEffectsGpuBudgetMs = 16.0;
    app.View.JetEffectsStatusText = "Effects ready";

    // clang-format off
    struct Row { const char* Text; float Y; Rgba Colour; } rows[] = {
        {"MIRAVEL EFFECTS", 0.93f, {0.72f, 0.94f, 1.0f, 1.0f}},
        {"Preset Medium | target 960x540", 0.90f, {0.95f, 0.96f, 1.0f, 1.0f}},
        {"Shimmer ON  Bloom OFF  Fog OFF  Trails ON", 0.84f, RowNormal},
        {"Click presets/toggles; lower rows: scale then fog | Ctrl+Shift+R shaders | Ctrl+Shift+L effect", 0.77f, RowNormal},
        {"CPU ms scene 1 mask 1 bloom 4 composite -1", 0.74f, RowNormal},
        {"GPU ms scene 2 mask 1 bloom 1 comp 0 | 48 MiB", 0.71f, RowNormal},
        {"Effects ready", 0.68f, StatusNormal},
    };
    // clang-format on
    const std::vector<TTFTextCall>& texts = app.DrawTexts();
    ASSERT_EQ(texts.size(), std::size(rows));
    EXPECT_EQ(std::string(rows[3].Text).size(), 94u);
    for (std::size_t i = 0; i < texts.size(); ++i)
    {
        EXPECT_EQ(texts[i].Text, rows[i].Text) << "row " << i;
        EXPECT_NEAR(texts[i].X, 0.212f, 1e-6) << "row " << i;
        EXPECT_NEAR(texts[i].Y, rows[i].Y, 1e-6) << "row " << i;
        EXPECT_EQ(texts[i].Z, 0.02f) << "row " << i;
        EXPECT_EQ(texts[i].SizePx, 12) << "row " << i;
        EXPECT_TRUE(HasColour(texts[i], rows[i].Colour)) << "row " << i;
    }

    // The rows keep their distances below the top in a short viewport, falling past the bottom edge.
    app.View.WindowY2 = 0.5; // panel from 0.99 down to 0.82
    const std::vector<TTFTextCall>& shortTexts = app.DrawTexts();
    ASSERT_EQ(shortTexts.size(), 7u);
    EXPECT_NEAR(shortTexts[0].Y, 0.96f, 1e-6);
    EXPECT_NEAR(shortTexts[6].Y, 0.71f, 1e-6);
    EXPECT_NEAR(app.Renderer.GetPrimitives()[0].Y2, 0.82f, 1e-6);
}

TEST(EffectsPanelDrawing, FiguresRoundHalvesAwayFromZeroAndSaturate)
{
    // clang-format off
    struct Case { double Value; const char* Printed; } cases[] = {
        {2.5, "3"},
        {-2.5, "-3"},
        {0.49, "0"},
        {-0.49, "0"}, // no "-0"
        {0.5, "1"},
        {1.4999999, "1"},
        {-7.0, "-7"},
        {2147483646.6, "2147483647"},
        {2147483647.4, "2147483647"},
        {2147483647.5, "2147483647"},
        {1e12, "2147483647"},
        {Inf, "2147483647"},
        {-2147483648.4, "-2147483648"},
        {-2147483648.6, "-2147483648"},
        {-1e300, "-2147483648"},
        {-Inf, "-2147483648"},
        {NaN, "0"},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        EffectsApp app;
        app.View.JetEffectsCpuMs[0] = c.Value;
        app.View.JetEffectsMemoryMiB = c.Value;
        EXPECT_EQ(app.DrawRow(4), std::string("CPU ms scene ") + c.Printed + " mask 0 bloom 0 composite 0")
            << "value " << c.Value;
        EXPECT_EQ(app.DrawRow(5), std::string("GPU ms scene 0 mask 0 bloom 0 comp 0 | ") + c.Printed + " MiB")
            << "value " << c.Value;
    }

    // Integer fields print as they are, negative ones included.
    EffectsApp app;
    app.View.JetEffectsTargetWidth = -3;
    app.View.JetEffectsTargetHeight = 2147483647;
    EXPECT_EQ(app.DrawRow(1), "Preset Medium | target -3x2147483647");
}

TEST(EffectsPanelDrawing, FontSizeIsAtLeastNine)
{
    const int cases[][2] = {{-4, 9}, {0, 9}, {8, 9}, {9, 9}, {10, 10}, {14, 14}};
    for (const auto& c : cases)
    {
        EffectsApp app;
        app.Renderer.FontSmallerPx = c[0];
        const std::vector<TTFTextCall>& texts = app.DrawTexts();
        ASSERT_EQ(texts.size(), 7u);
        for (std::size_t i = 0; i < texts.size(); ++i)
            EXPECT_EQ(texts[i].SizePx, c[1]) << "FontSmallerPx " << c[0] << " row " << i;
    }
}

TEST(EffectsPanelDrawing, GpuRowWarnsOnlyAboveTheBudget)
{
    // clang-format off
    struct Case { const char* Name; double Gpu[5]; double BudgetMs; bool bWarning; } cases[] = {
        {"equal to budget", {1.0, 0.5, 0.5, 1.0, 1.0}, 4.0, false},
        {"just above", {1.0, 0.5, 0.5, 1.0, 1.0000001}, 4.0, true},
        {"below", {0.5, 0.5, 0.5, 0.5, 0.5}, 4.0, false},
        {"hidden slot alone", {0.0, 5.0, 0.0, 0.0, 0.0}, 4.0, true},
        {"negative budget", {0.0, 0.0, 0.0, 0.0, 0.0}, -1.0, true},
        {"NaN time", {NaN, 0.0, 0.0, 0.0, 0.0}, 4.0, false},
        {"NaN budget", {9.0, 0.0, 0.0, 0.0, 0.0}, NaN, false},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        EffectsApp app;
        for (int i = 0; i < 5; ++i)
            app.View.JetEffectsGpuMs[i] = c.Gpu[i];
        app.View.JetEffectsGpuBudgetMs = c.BudgetMs;
        const std::vector<TTFTextCall>& texts = app.DrawTexts();
        ASSERT_EQ(texts.size(), 7u) << c.Name;
        EXPECT_TRUE(HasColour(texts[5], c.bWarning ? GpuWarning : RowNormal)) << c.Name;
        // Only the GPU row changes colour.
        EXPECT_TRUE(HasColour(texts[4], RowNormal)) << c.Name;
    }
}

TEST(EffectsPanelDrawing, StatusRowColourAndTruncation)
{
    const std::string fiftySix(56, 'x');
    // clang-format off
    struct Case { std::string Status; std::string Shown; bool bError; } cases[] = {
        {"Shader", "Shader", true},
        {"Shade", "Shade", false},
        {"shader compile failed", "shader compile failed", false},
        {"SHADER", "SHADER", false},
        {" Shader", " Shader", false},
        {"Reloaded Shader", "Reloaded Shader", false},
        {"Shaders reloaded", "Shaders reloaded", true},  // only the start counts
        {"Composite link", "Composite link", true},
        {"Composite link failed", "Composite link failed", true},
        {"Composite lin", "Composite lin", false},
        {"Composite Link failed", "Composite Link failed", false},
        {"", "", false},
        {fiftySix, fiftySix, false},
        {fiftySix + "y", fiftySix, false},
        {"Shader " + fiftySix, "Shader " + fiftySix.substr(0, 49), true},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        EffectsApp app;
        app.View.JetEffectsStatusText = c.Status;
        const std::vector<TTFTextCall>& texts = app.DrawTexts();
        ASSERT_EQ(texts.size(), 7u) << "status '" << c.Status << "'";
        EXPECT_EQ(texts[6].Text, c.Shown) << "status '" << c.Status << "'";
        EXPECT_LE(texts[6].Text.size(), 56u) << "status '" << c.Status << "'";
        EXPECT_TRUE(HasColour(texts[6], c.bError ? StatusError : StatusNormal))
            << "status '" << c.Status << "'";
    }
}

TEST(EffectsPanelDrawing, TextComesAfterTheClosedFrame)
{
    EffectsApp app;
    app.DrawTexts();
    ASSERT_EQ(app.Font.Moments.size(), 7u);
    for (std::size_t i = 0; i < app.Font.Moments.size(); ++i)
    {
        EXPECT_FALSE(app.Font.Moments[i].bRendInFrame) << "row " << i;
        EXPECT_EQ(app.Font.Moments[i].EndFrameCount, 1) << "row " << i;
        EXPECT_EQ(app.Font.Moments[i].PrimitiveCount, 10u) << "row " << i;
    }

    // Without a font renderer the shapes are drawn all the same.
    app.Renderer.pTTF = nullptr;
    app.Renderer.ClearRecord();
    app.Font.ClearRecord();
    app.View.RenderJetEffectsOverlay();
    EXPECT_EQ(app.Renderer.GetPrimitives().size(), 10u);
    EXPECT_EQ(app.Renderer.GetEndFrameCount(), 1);
    EXPECT_TRUE(app.Font.GetTextCalls().empty());
}

TEST(EffectsPanelDrawing, NothingDrawnWithoutPanelRendererOrFrame)
{
    // clang-format off
    struct Case { const char* Name; bool bPanelVisible, bCore, bRend, bDrawingAllowed; int BeginFrames; } cases[] = {
        {"panel hidden", false, true, true, true, 0},
        {"no core", true, false, true, true, 0},
        {"no renderer", true, true, false, true, 0},
        {"beginFrame fails", true, true, true, false, 0},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        EffectsApp app;
        app.View.bJetEffectsPanelVisible = c.bPanelVisible;
        app.Renderer.bDrawingAllowed = c.bDrawingAllowed;
        if (!c.bRend)
            app.CoreServices.pRend = nullptr;
        if (!c.bCore)
            p = nullptr;
        app.View.RenderJetEffectsOverlay();
        p = &app.CoreServices;
        EXPECT_EQ(app.Renderer.GetBeginFrameCount(), c.BeginFrames) << c.Name;
        EXPECT_EQ(app.Renderer.GetEndFrameCount(), 0) << c.Name;
        EXPECT_TRUE(app.Renderer.GetPrimitives().empty()) << c.Name;
        EXPECT_TRUE(app.Font.GetTextCalls().empty()) << c.Name;
    }
}

// --- Presses ---

TEST(EffectsPanelPress, WorkedExamplePresses)
{
    struct Case
    {
        const char* Name;
        double X, Y;
        int Preset; // -1: swallowed
    } cases[] = {
        {"first button", 0.3, 0.88, 0},
        {"gap between buttons 0 and 1", 0.455, 0.88, -1},
        {"just below the buttons", 0.6, 0.86, -1},
        {"second button", 0.578, 0.88, 1},
        {"third button", 0.824, 0.88, 2},
        {"title row", 0.3, 0.93, -1},
        {"quality bar", 0.3, 0.86, -1},
        {"right margin", 0.95, 0.88, -1},
        {"panel's top-left corner", 0.2, 0.96, -1},
        {"panel's bottom-right corner", 0.96, 0.28, -1},
    };
    const struct
    {
        JetExhaustQuality Quality;
        float Scale;
        const char* Label;
    } presets[] = {{JetExhaustQuality::Low, 0.5f, "Low"},
                   {JetExhaustQuality::Medium, 0.75f, "Medium"},
                   {JetExhaustQuality::High, 1.0f, "High"}};
    for (const Case& c : cases)
    {
        EffectsApp app;
        app.View.JetExhaust.Debug().Quality = static_cast<JetExhaustQuality>(7);
        app.View.bPanDrag = true; // a drag left over: only a press off the buttons ends it
        app.PointAtGlobal(c.X, c.Y);
        app.Frame(true);
        EXPECT_TRUE(app.App.bChildWindowProcessed) << c.Name;
        EXPECT_FALSE(app.View.bOrbitDrag) << c.Name;
        if (c.Preset < 0)
        {
            EXPECT_TRUE(app.View.PresetCalls.empty()) << c.Name;
            EXPECT_FALSE(app.View.bPanDrag) << c.Name;
            EXPECT_EQ(static_cast<int>(app.View.JetExhaust.Debug().Quality), 7) << c.Name;
            continue;
        }
        EXPECT_TRUE(app.View.bPanDrag) << c.Name;
        ASSERT_EQ(app.View.PresetCalls.size(), 1u) << c.Name;
        EXPECT_EQ(app.View.PresetCalls[0].Quality, presets[c.Preset].Quality) << c.Name;
        EXPECT_EQ(app.View.PresetCalls[0].Scale, presets[c.Preset].Scale) << c.Name;
        EXPECT_EQ(app.View.PresetCalls[0].Label, presets[c.Preset].Label) << c.Name;
        EXPECT_EQ(app.View.JetExhaust.Debug().Quality, presets[c.Preset].Quality) << c.Name;
        EXPECT_EQ(app.View.JetEffectsScale, presets[c.Preset].Scale) << c.Name;
    }
}

TEST(EffectsPanelPress, HitLeavesRunningDragsAndPressActsOnce)
{
    EffectsApp app;
    app.PointAtGlobal(0.0, -0.5);
    app.Frame(false, true); // middle press: a pan starts below the panel
    ASSERT_TRUE(app.View.bPanDrag);
    app.PointAtGlobal(0.3, 0.88);
    app.Frame(true, true);
    EXPECT_TRUE(app.View.bPanDrag);
    ASSERT_EQ(app.View.PresetCalls.size(), 1u);
    app.Frame(true, true); // held over the button: no second preset
    app.Frame(false, true);
    EXPECT_EQ(app.View.PresetCalls.size(), 1u);

    // Pressing the active preset again applies it again.
    app.Frame(true, true);
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
    const std::vector<RendPrimitive> buttons = app.DrawButtons();
    ASSERT_EQ(buttons.size(), 3u);
    for (int b = 0; b < 3; ++b)
    {
        const RendPrimitive& r = buttons[b];
        const float midX = (r.X1 + r.X2) * 0.5f;
        const float midY = (r.Y1 + r.Y2) * 0.5f;
        // clang-format off
        struct Probe { const char* Edge; float X, Y, OutX, OutY; } probes[] = {
            {"left", r.X1, midY, std::nextafter(r.X1, -1.0f), midY},
            {"right", r.X2, midY, std::nextafter(r.X2, 2.0f), midY},
            {"top", midX, r.Y1, midX, std::nextafter(r.Y1, 2.0f)},
            {"bottom", midX, r.Y2, midX, std::nextafter(r.Y2, -1.0f)},
            {"top-left corner", r.X1, r.Y1, std::nextafter(r.X1, -1.0f), std::nextafter(r.Y1, 2.0f)},
            {"bottom-right corner", r.X2, r.Y2, std::nextafter(r.X2, 2.0f), std::nextafter(r.Y2, -1.0f)},
        };
        // clang-format on
        for (const Probe& probe : probes)
        {
            app.View.PresetCalls.clear();
            EXPECT_TRUE(app.PressAtGlobal(probe.X, probe.Y)) << "button " << b << " " << probe.Edge;
            ASSERT_EQ(app.View.PresetCalls.size(), 1u) << "button " << b << " " << probe.Edge;
            EXPECT_EQ(static_cast<int>(app.View.PresetCalls[0].Quality), b)
                << "button " << b << " " << probe.Edge;

            app.View.PresetCalls.clear();
            EXPECT_TRUE(app.PressAtGlobal(probe.OutX, probe.OutY))
                << "button " << b << " beyond " << probe.Edge;
            EXPECT_TRUE(app.View.PresetCalls.empty()) << "button " << b << " beyond " << probe.Edge;
        }
    }
}

TEST(EffectsPanelPress, NarrowPanelButtonsCannotBeHit)
{
    EffectsApp app;
    app.View.WindowX1 = 0.9; // viewport 0.1 wide: the panel is 0.038 wide, narrower than its margins
    const std::vector<RendPrimitive> buttons = app.DrawButtons();
    ASSERT_EQ(buttons.size(), 3u);
    EXPECT_LT(buttons[0].X2, buttons[0].X1) << "button width should be negative";

    int presses = 0;
    for (int i = 0; i <= 20; ++i)
        for (int j = 0; j <= 20; ++j)
        {
            const double localX = 0.6 + 0.38 * (i + 0.5) / 21.0; // inset: rounding stays inside
            const double localY = 0.02 + 0.34 * (j + 0.5) / 21.0;
            app.PointAtLocal(localX, localY);
            app.Frame(true);
            EXPECT_TRUE(app.App.bChildWindowProcessed) << "local " << localX << ", " << localY;
            EXPECT_FALSE(app.View.bOrbitDrag) << "local " << localX << ", " << localY;
            app.Frame(false);
            ++presses;
        }
    // Also exactly at the drawn button corners.
    for (const RendPrimitive& r : buttons)
        for (const float x : {r.X1, r.X2})
            for (const float y : {r.Y1, r.Y2})
            {
                EXPECT_TRUE(app.PressAtGlobal(x, y)) << "corner " << x << ", " << y;
                ++presses;
            }
    EXPECT_EQ(presses, 21 * 21 + 12);
    EXPECT_TRUE(app.View.PresetCalls.empty());
}

TEST(EffectsPanelPress, HiddenPanelLetsThePressThrough)
{
    EffectsApp app;
    app.View.bJetEffectsPanelVisible = false;
    app.PointAtGlobal(0.3, 0.88); // where button 0 would be
    app.Frame(true);
    EXPECT_TRUE(app.View.bOrbitDrag);
    EXPECT_TRUE(app.View.PresetCalls.empty());

    // Shown again, the same press is the panel's and starts no orbit.
    app.Frame(false);
    app.View.bJetEffectsPanelVisible = true;
    app.Frame(true);
    EXPECT_FALSE(app.View.bOrbitDrag);
    EXPECT_EQ(app.View.PresetCalls.size(), 1u);
}

TEST(EffectsPanelPress, MiddleAndRightPressesOnlyMarkThePointerAsOverThePanel)
{
    struct Case
    {
        const char* Name;
        bool bMiddle, bRight;
    } cases[] = {{"hover", false, false}, {"middle", true, false}, {"right", false, true}};
    for (const Case& c : cases)
    {
        EffectsApp app;
        app.PointAtGlobal(0.3, 0.88); // on button 0
        app.Frame(false, c.bMiddle, c.bRight);
        EXPECT_TRUE(app.View.PresetCalls.empty()) << c.Name;
        EXPECT_FALSE(app.View.bPanDrag) << c.Name;
        EXPECT_FALSE(app.View.bOrderDrag) << c.Name;
        // Over a panel the frame counts as the viewport's even without a drag.
        EXPECT_TRUE(app.App.bChildWindowProcessed) << c.Name;
    }

    // Away from the panel a hover leaves the input to the windows behind.
    EffectsApp app;
    app.PointAtGlobal(-0.5, 0.0);
    app.Frame();
    EXPECT_FALSE(app.App.bChildWindowProcessed);
}

// A viewport whose conversion of the pointer yields no number while the pointer counts as inside.
// A viewport whose pointer conversion the test steers: a coordinate that is not a number, or a
// pointer counted as outside the viewport while its local point lies on the panel.
class SteeredPointerViewport : public TestViewport
{
  public:
    bool bNaNX = false, bNaNY = false, bOutside = false;

    bool GlobalToLocal01(double GlobalX, double GlobalY, double& LocalX01, double& LocalY01) const override
    {
        const bool bInside = TestViewport::GlobalToLocal01(GlobalX, GlobalY, LocalX01, LocalY01);
        if (bNaNX)
            LocalX01 = NaN;
        if (bNaNY)
            LocalY01 = NaN;
        return bInside;
    }
    bool GlobalToLocalPixels(double GlobalX, double GlobalY, int& LocalXPx, int& LocalYPx) const override
    {
        return TestViewport::GlobalToLocalPixels(GlobalX, GlobalY, LocalXPx, LocalYPx) && !bOutside;
    }
};

TEST(EffectsPanelPress, NaNOrOutsidePointerIsNotThePanels)
{
    // clang-format off
    struct Case { const char* Name; bool bNaNX, bNaNY, bOutside; bool bOrbit, bMarked; } cases[] = {
        {"x not a number", true, false, false, true, true},
        {"y not a number", false, true, false, true, true},
        {"both not a number", true, true, false, true, true},
        {"outside the viewport", false, false, true, false, false},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        TestApp app;
        SteeredPointerViewport view;
        view.bNaNX = c.bNaNX;
        view.bNaNY = c.bNaNY;
        view.bOutside = c.bOutside;
        app.PointAtGlobal(0.3, 0.88); // on button 0
        app.MouseState.pButton[Mouse::Left] = true;
        view.MouseProcessing();
        EXPECT_TRUE(view.PresetCalls.empty()) << c.Name;
        EXPECT_EQ(view.bOrbitDrag, c.bOrbit) << c.Name;
        EXPECT_EQ(app.App.bChildWindowProcessed, c.bMarked) << c.Name;
    }
}

TEST(EffectsPanelPress, PanelWinsOverANavigationButtonBelowIt)
{
    EffectsApp app;
    // The largest widget with the largest margin reaches up under the panel: x 0.32..0.8, y 0.056..0.8,
    // its zoom-out button at u 0.70..0.96, v 0.04..0.20.
    app.View.NavWidgetSize = 0.48;
    app.View.NavWidgetMargin = 0.2;
    const double localX = 0.32 + 0.48 * 0.83;
    const double localY = 0.056 + 0.744 * 0.12;
    const double distance = app.View.CameraDistance;

    app.PointAtLocal(localX, localY);
    app.Frame(true);
    EXPECT_EQ(app.View.HoverNavButton, 2) << "the point should be on the zoom-out button";
    EXPECT_TRUE(app.App.bChildWindowProcessed);
    EXPECT_EQ(app.View.ActiveNavButton, 0);
    EXPECT_EQ(app.View.CameraDistance, distance);
    EXPECT_TRUE(app.View.PresetCalls.empty());
    app.Frame(false);

    // Without the panel the same press is the zoom-out button's.
    app.View.bJetEffectsPanelVisible = false;
    app.Frame(true);
    EXPECT_EQ(app.View.ActiveNavButton, 2);
    EXPECT_GT(app.View.CameraDistance, distance);
}

} // namespace
