// =====================================================================================================
// 5. Effects panel
// =====================================================================================================
//
// A fixed box in the upper right of the viewport that shows the jet-exhaust preset, the feature
// switches and the cost of the effect passes. It only displays: every figure is written by the
// effects rendering before the panel is drawn. Its three preset buttons are hit-tested with the
// very float geometry they are drawn with, so a pointer on a drawn button's pixel hits that button.
//
//   left                                               right
//   +--------------------------------------------------+  top
//   | MIRAVEL EFFECTS                                   |  top - 0.03   title
//   | Preset Medium | target 960x540                    |  top - 0.06   line1
//   | [  Low  ]  [ Medium ]  [  High  ]                 |  top - 0.07 .. top - 0.09  buttons
//   | ===========------------------                     |  top - 0.095 .. top - 0.108  quality bar
//   | Shimmer ON  Bloom ON  Fog ON  Trails ON           |  top - 0.12   line2
//   | ========-------------------                       |  top - 0.15 .. top - 0.163  scale bar
//   | help / CPU / GPU rows / status                    |  top - 0.19 .. top - 0.28
//   +--------------------------------------------------+  bottom
//   x0 = left + 0.012; buttons spread from x0 to right - 0.016 with gaps of 0.006.
//
// Every distance is in global units applied to the mapped floats: only the rectangle scales with
// the viewport, so in a short viewport the last rows fall below the panel; nothing clips them.

#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <string>

#include "core.h"
#include "glcolor.h"
#include "glviewport.h"
#include "rend.h"
#include "ttf.h"

namespace
{
struct EffectsPreset
{
    JetExhaustQuality Quality;
    float Scale;
    const char* Label;
};

// One preset per button, left to right; the labels double as the preset names of the first row.
constexpr EffectsPreset EffectsPresets[] = {
    {JetExhaustQuality::Low, 0.5f, "Low"},
    {JetExhaustQuality::Medium, 0.75f, "Medium"},
    {JetExhaustQuality::High, 1.0f, "High"},
};
constexpr int EffectsPresetCount = static_cast<int>(std::size(EffectsPresets));

constexpr std::size_t EffectsStatusMaxChars = 56; // what fits the panel's width at the small font
constexpr int EffectsMinFontPx = 9;               // smaller text is unreadable

// The panel rectangle in global coordinates: mapped in double, then rounded once to float, so the
// drawing and the hit test start from the same bits.
struct EffectsPanelGlobalRect
{
    float Left = 0.0f, Right = 0.0f, Top = 0.0f, Bottom = 0.0f;
};

float MapEffectsPanelCoord(double local01, double windowFrom, double windowTo)
{
    return static_cast<float>(local01 * (windowTo - windowFrom) + windowFrom);
}

EffectsPanelGlobalRect MapEffectsPanelRect(const GLViewport& view, double x1, double y1, double x2, double y2)
{
    return {MapEffectsPanelCoord(x1, view.WindowX1, view.WindowX2),
            MapEffectsPanelCoord(x2, view.WindowX1, view.WindowX2),
            MapEffectsPanelCoord(y1, view.WindowY1, view.WindowY2),
            MapEffectsPanelCoord(y2, view.WindowY1, view.WindowY2)};
}

// The preset buttons' float geometry, shared by drawing and hit test. A panel narrower than its
// margins gives a negative width, and then no button can be hit.
struct EffectsPresetButtons
{
    float TopY = 0.0f;    // upper edge
    float BottomY = 0.0f; // lower edge
    float Width = 0.0f;
    float FirstX = 0.0f;

    explicit EffectsPresetButtons(const EffectsPanelGlobalRect& panel)
        : TopY(panel.Top - 0.07f), BottomY(TopY - 0.02f), Width((panel.Right - panel.Left - 0.04f) / 3.0f),
          FirstX(panel.Left + 0.012f)
    {
    }

    float GetLeft(int button) const { return static_cast<float>(button) * (Width + 0.006f) + FirstX; }

    // The button under a global point, every edge inclusive; -1 for none.
    int Hit(float x, float y) const
    {
        for (int button = 0; button < EffectsPresetCount; ++button)
        {
            const float buttonX = GetLeft(button);
            if (buttonX <= x && x <= buttonX + Width && BottomY <= y && y <= TopY)
                return button;
        }
        return -1;
    }
};

// A figure as a whole number, halves away from zero. Out-of-range values saturate at the int32
// limits and NaN prints as 0, so a broken timer shows a figure instead of converting undefinedly.
std::string FormatEffectsFigure(double value)
{
    const double rounded = std::round(value);
    std::int32_t whole = 0;
    if (rounded >= 2147483647.0)
        whole = std::numeric_limits<std::int32_t>::max();
    else if (rounded <= -2147483648.0)
        whole = std::numeric_limits<std::int32_t>::min();
    else if (!std::isnan(rounded))
        whole = static_cast<std::int32_t>(rounded);
    return std::to_string(whole);
}

const char* FormatEffectsSwitch(bool bOn)
{
    return bOn ? "ON" : "OFF";
}

// Shader and composite-link failures are the messages that need a person's attention.
bool IsEffectsErrorStatus(const std::string& status)
{
    return status.starts_with("Shader") || status.starts_with("Composite link");
}

void DrawEffectsPanelShapes(const GLViewport& view, Rend& rend, const EffectsPanelGlobalRect& panel)
{
    const JetExhaustDebugSettings& settings = view.JetExhaust.Debug();
    const int quality = static_cast<int>(settings.Quality);
    const float qualityFraction = quality == 0 ? 0.33f : (quality == 1 ? 0.66f : 1.0f);
    const float x0 = panel.Left + 0.012f;

    rend.drawRect(panel.Left, panel.Top, panel.Right, panel.Bottom, GLColor(0.025f, 0.045f, 0.075f, 0.9f));
    rend.drawLine(panel.Left, panel.Top, panel.Right, panel.Top, GLColor(0.25f, 0.88f, 1.0f, 0.95f), 1.5f);
    rend.drawLine(panel.Right, panel.Top, panel.Right, panel.Bottom, GLColor(0.25f, 0.88f, 1.0f, 0.75f),
                  1.0f);
    rend.drawLine(panel.Right, panel.Bottom, panel.Left, panel.Bottom, GLColor(0.25f, 0.88f, 1.0f, 0.75f),
                  1.0f);
    rend.drawLine(panel.Left, panel.Bottom, panel.Left, panel.Top, GLColor(0.25f, 0.88f, 1.0f, 0.75f), 1.0f);

    // Bars are unclamped: a value above 1 runs past the full length, a negative one runs leftwards.
    rend.drawRect(x0, panel.Top - 0.095f, 0.39f * qualityFraction + x0, panel.Top - 0.108f,
                  GLColor(0.2f, 0.78f, 1.0f, 0.85f));
    rend.drawRect(x0, panel.Top - 0.15f, 0.39f * view.JetEffectsScale + x0, panel.Top - 0.163f,
                  GLColor(0.96f, 0.6f, 0.18f, 0.85f));

    const EffectsPresetButtons buttons(panel);
    for (int button = 0; button < EffectsPresetCount; ++button)
    {
        const float bx = buttons.GetLeft(button);
        const GLColor color =
            quality == button ? GLColor(0.18f, 0.7f, 1.0f, 0.82f) : GLColor(0.12f, 0.18f, 0.26f, 0.85f);
        rend.drawRect(bx, buttons.TopY, bx + buttons.Width, buttons.BottomY, color);
    }
}

void DrawEffectsPanelText(const GLViewport& view, const Rend& rend, TTF& ttf,
                          const EffectsPanelGlobalRect& panel)
{
    const JetExhaustDebugSettings& settings = view.JetExhaust.Debug();
    const int quality = static_cast<int>(settings.Quality);
    const char* qualityName = quality == 0 || quality == 1 ? EffectsPresets[quality].Label : "High";
    const int font = rend.FontSmallerPx > EffectsMinFontPx ? rend.FontSmallerPx : EffectsMinFontPx;
    const float x0 = panel.Left + 0.012f;
    const auto drawRow = [&](const std::string& text, float offset, const GLColor& color)
    { ttf.Text3DL(text.c_str(), x0, panel.Top - offset, 0.02f, font, color); };
    const GLColor normal(0.75f, 0.88f, 0.96f, 1.0f);

    drawRow("MIRAVEL EFFECTS", 0.03f, GLColor(0.72f, 0.94f, 1.0f, 1.0f));
    drawRow(std::string("Preset ") + qualityName + " | target " + std::to_string(view.JetEffectsTargetWidth) +
                "x" + std::to_string(view.JetEffectsTargetHeight),
            0.06f, GLColor(0.95f, 0.96f, 1.0f, 1.0f));
    drawRow(std::string("Shimmer ") + FormatEffectsSwitch(settings.ShimmerEnabled) + "  Bloom " +
                FormatEffectsSwitch(settings.BloomEnabled) + "  Fog " +
                FormatEffectsSwitch(settings.DepthFogEnabled) + "  Trails " +
                FormatEffectsSwitch(settings.ContrailsEnabled),
            0.12f, normal);
    drawRow("Click presets/toggles; lower rows: scale then fog | Ctrl+Shift+R shaders | Ctrl+Shift+L effect",
            0.19f, normal);

    const double* cpu = view.JetEffectsCpuMs;
    drawRow("CPU ms scene " + FormatEffectsFigure(cpu[0]) + " mask " + FormatEffectsFigure(cpu[1]) +
                " bloom " + FormatEffectsFigure(cpu[3]) + " composite " + FormatEffectsFigure(cpu[4]),
            0.22f, normal);

    // GPU slot 1 has no label of its own but still costs frame time, so it counts in the total.
    const double* gpu = view.JetEffectsGpuMs;
    const double gpuTotal = gpu[0] + gpu[1] + gpu[2] + gpu[3] + gpu[4];
    drawRow("GPU ms scene " + FormatEffectsFigure(gpu[0]) + " mask " + FormatEffectsFigure(gpu[2]) +
                " bloom " + FormatEffectsFigure(gpu[3]) + " comp " + FormatEffectsFigure(gpu[4]) + " | " +
                FormatEffectsFigure(view.JetEffectsMemoryMiB) + " MiB",
            0.25f, gpuTotal > view.JetEffectsGpuBudgetMs ? GLColor(1.0f, 0.42f, 0.22f, 1.0f) : normal);

    const std::string& status = view.JetEffectsStatusText;
    drawRow(status.substr(0, EffectsStatusMaxChars), 0.28f,
            IsEffectsErrorStatus(status) ? GLColor(1.0f, 0.35f, 0.25f, 1.0f)
                                         : GLColor(0.55f, 1.0f, 0.7f, 1.0f));
}
} // namespace

bool GLViewport::GetJetEffectsPanelRect(double& x1, double& y1, double& x2, double& y2) const
{
    if (!bJetEffectsPanelVisible)
        return false;
    x1 = 0.6;
    y1 = 0.02;
    x2 = 0.98;
    y2 = 0.36;
    return true;
}

void GLViewport::RenderJetEffectsOverlay() const
{
    if (!bJetEffectsPanelVisible || !p || !p->pRend)
        return;
    Rend& rend = *p->pRend;
    if (!rend.beginFrame())
        return;
    double x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
    if (!GetJetEffectsPanelRect(x1, y1, x2, y2))
    {
        rend.endFrame();
        return;
    }
    const EffectsPanelGlobalRect panel = MapEffectsPanelRect(*this, x1, y1, x2, y2);
    DrawEffectsPanelShapes(*this, rend, panel);
    // Rows are composed after the frame is closed: an allocation failure then leaves no pair open.
    rend.endFrame();
    if (rend.pTTF)
        DrawEffectsPanelText(*this, rend, *rend.pTTF, panel);
}

bool GLViewport::ProcessEffectsPanelPress(MouseFrame& frame)
{
    double effectsX1 = 0.0, effectsY1 = 0.0, effectsX2 = 0.0, effectsY2 = 0.0;
    // Written as plain comparisons so a NaN pointer coordinate counts as outside.
    const bool bInsideEffectsPanel = GetJetEffectsPanelRect(effectsX1, effectsY1, effectsX2, effectsY2) &&
                                     effectsX1 <= MouseLocalX && MouseLocalX <= effectsX2 &&
                                     effectsY1 <= MouseLocalY && MouseLocalY <= effectsY2;
    if (bInsideEffectsPanel)
        frame.bInsideWidgetPanel = true;
    if (!frame.lPressed || !bMouseInside || !bInsideEffectsPanel)
        return false;

    const EffectsPanelGlobalRect panel =
        MapEffectsPanelRect(*this, effectsX1, effectsY1, effectsX2, effectsY2);
    const float mouseX = MapEffectsPanelCoord(MouseLocalX, WindowX1, WindowX2);
    const float mouseY = MapEffectsPanelCoord(MouseLocalY, WindowY1, WindowY2);
    const int button = EffectsPresetButtons(panel).Hit(mouseX, mouseY);
    if (button >= 0)
    {
        const EffectsPreset& preset = EffectsPresets[button];
        ApplyJetEffectsPreset(preset.Quality, preset.Scale, preset.Label);
    }
    else
    {
        // The rest of the panel swallows the press and ends any camera drag under it.
        bOrbitDrag = false;
        bPanDrag = false;
    }
    p->pQuindle->MarkChildWindowProcessed();
    return true;
}
