#include "authorview.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>
#include <vector>

#include "authorview_colours.h"
#include "driveabilitygrid.h"
#include "glcolor.h"
#include "gltexture.h"
#include "pixelcanvas.h"
#include "springmap_renderer.h"

namespace
{
struct Swatch
{
    GLColor Colour;
    std::string Label;
};

GLColor ViewColour(int Index)
{
    const auto& rgb = AuthorViewColours::Table[Index].Rgb;
    return GLColor(rgb[0], rgb[1], rgb[2], 1.0f);
}

std::string Format(const char* format, double value)
{
    char text[64];
    std::snprintf(text, sizeof(text), format, value);
    return text;
}

std::vector<Swatch> BuildSwatches(AuthorView View, const SpringMapRenderer& Map)
{
    const float low = Map.GetLowestHeight(), high = Map.GetHighestHeight();
    const SpringMapLayers& layers = Map.GetLayers();
    switch (View)
    {
    case AuthorView::Height:
        return {{ViewColour(AuthorViewColours::RampTop), Format("%.0f highest", high)},
                {ViewColour(AuthorViewColours::RampHigh), Format("%.0f", low + (high - low) * 0.6)},
                {ViewColour(AuthorViewColours::RampMid), Format("%.0f", low + (high - low) * 0.25)},
                {ViewColour(AuthorViewColours::RampLow), Format("%.0f lowest", low)},
                {GLColor(0.1f, 0.1f, 0.1f, 1.0f),
                 Format("contours every %.0f", ChooseContourStepWorld(high - low))}};
    case AuthorView::Slope:
        return {{ViewColour(AuthorViewColours::SlopeFlat), "flat"},
                {ViewColour(AuthorViewColours::SlopeSteep),
                 Format("rise %.1f per unit", DriveabilityGrid::MaxDriveSlope)},
                {ViewColour(AuthorViewColours::SlopeUndriveable), "vehicles cannot drive"}};
    case AuthorView::Metal:
    {
        const auto& values = layers.Metal.Values;
        const int highest = values.empty() ? 0 : *std::max_element(values.begin(), values.end());
        return {{ViewColour(AuthorViewColours::MetalRich),
                 Format("%.3g metal (most on the map)", highest * layers.MaxMetal)},
                {GLColor(0.25f, 0.25f, 0.25f, 1.0f), "no metal"}};
    }
    case AuthorView::Type:
    {
        const std::set<int> present(layers.TerrainType.Values.begin(), layers.TerrainType.Values.end());
        std::vector<Swatch> swatches;
        for (int type : present)
            if (swatches.size() < AuthorViewColours::TypeCount)
                swatches.push_back(
                    {ViewColour(AuthorViewColours::TypeFirst + type % AuthorViewColours::TypeCount),
                     "type " + std::to_string(type)});
        return swatches;
    }
    case AuthorView::Grass:
        return {{ViewColour(AuthorViewColours::GrassOn), "grass"},
                {GLColor(0.25f, 0.25f, 0.25f, 1.0f), "no grass"}};
    case AuthorView::Off:
        break;
    }
    return {};
}
} // namespace

AuthorViewGL::~AuthorViewGL()
{
    // Only a view that was shown made textures, and so had a context.
    for (GLuint texture : Textures)
        if (texture)
            glDeleteTextures(1, &texture);
}

void AuthorViewGL::Prepare(AuthorView View, const SpringMapRenderer& Map, const DriveabilityGrid& Drive,
                           TerrainShading& Shading)
{
    Shading.View = View;
    Shading.ContourStepWorld = ChooseContourStepWorld(Map.GetHighestHeight() - Map.GetLowestHeight());
    Shading.DriveSlope = static_cast<float>(DriveabilityGrid::MaxDriveSlope);
    Shading.LayerTexture = 0;
    if (View == AuthorView::Off || View == AuthorView::Height)
        return;
    const int index = static_cast<int>(View) - static_cast<int>(AuthorView::Slope);
    const SpringMapLayers& layers = Map.GetLayers();
    int width = 0, height = 0;
    float cellWorld = 0.0f;
    std::vector<std::uint8_t> cells;
    std::uint64_t source = static_cast<std::uint64_t>(Map.GetLoadRevision()) << 32;
    if (View == AuthorView::Slope)
    {
        width = Drive.GetWidth(), height = Drive.GetHeight();
        cellWorld = static_cast<float>(Drive.GetCellSizeWorld());
        source |= Drive.GetRevision();
    }
    else
    {
        const SpringMapLayers::Grid& grid = View == AuthorView::Metal  ? layers.Metal
                                            : View == AuthorView::Type ? layers.TerrainType
                                                                       : layers.Grass;
        width = grid.Width, height = grid.Height, cellWorld = grid.CellWorld;
    }
    if (width < 1 || height < 1)
        return; // nothing to show (a bare height grid, no grass section): the plain ground
    if (View == AuthorView::Metal)
    {
        const auto& values = layers.Metal.Values;
        const int highest = *std::max_element(values.begin(), values.end());
        Shading.LayerScale = highest > 0 ? 255.0f / highest : 1.0f; // the richest spot at full strength
    }
    Shading.LayerExtentWorld[0] = width * cellWorld;
    Shading.LayerExtentWorld[1] = height * cellWorld;
    if (!Textures[index] || Sources[index] != source)
    {
        if (View == AuthorView::Slope)
        {
            cells.resize(static_cast<std::size_t>(width) * height);
            for (int z = 0; z < height; ++z)
                for (int x = 0; x < width; ++x)
                    cells[static_cast<std::size_t>(z) * width + x] = Drive.IsCellDriveable(x, z) ? 1 : 0;
        }
        const std::vector<std::uint8_t>& values = View == AuthorView::Slope   ? cells
                                                  : View == AuthorView::Metal ? layers.Metal.Values
                                                  : View == AuthorView::Type  ? layers.TerrainType.Values
                                                                              : layers.Grass.Values;
        if (!Textures[index])
            glGenTextures(1, &Textures[index]);
        glBindTexture(GL_TEXTURE_2D, Textures[index]);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_R8, width, height, 0, GL_RED, GL_UNSIGNED_BYTE, values.data());
        // Cells stay cells: a type index blended with its neighbour's would name a third type.
        SetBoundTextureSampling(GL_NEAREST, GL_NEAREST);
        glBindTexture(GL_TEXTURE_2D, 0);
        Sources[index] = source;
    }
    Shading.LayerTexture = Textures[index];
}

float ChooseContourStepWorld(float HeightRangeWorld)
{
    if (!(HeightRangeWorld > 0.0f) || !std::isfinite(HeightRangeWorld))
        return 10.0f;
    // 1, 2 or 5 times a power of ten, the largest at most a tenth of the range.
    const float tenth = HeightRangeWorld / 10.0f;
    const float power = std::pow(10.0f, std::floor(std::log10(tenth)));
    for (float factor : {5.0f, 2.0f, 1.0f})
        if (factor * power <= tenth)
            return factor * power;
    return power;
}

const char* GetAuthorViewName(AuthorView View)
{
    static const char* const Names[] = {"off", "height", "slope", "metal", "type", "grass"};
    return Names[static_cast<int>(View)];
}

void RenderAuthorViewLegend(const PixelCanvas& Canvas, AuthorView View, const SpringMapRenderer& Map,
                            double BottomPx)
{
    const std::vector<Swatch> swatches = BuildSwatches(View, Map);
    if (View == AuthorView::Off || !Canvas.Begin())
        return;
    constexpr int FontPx = 12, RowPx = 18;
    const double topPx = BottomPx - RowPx * (swatches.size() + 1) - 8.0;
    Canvas.FillRect(4.0, topPx, 214.0, BottomPx, GLColor(0.03f, 0.04f, 0.07f, 0.8f));
    for (std::size_t i = 0; i < swatches.size(); ++i)
    {
        const double rowTopPx = topPx + 4.0 + RowPx * (i + 1);
        Canvas.FillRect(10.0, rowTopPx + 3.0, 24.0, rowTopPx + 15.0, swatches[i].Colour);
    }
    Canvas.End();
    const GLColor text(0.9f, 0.92f, 0.95f, 1.0f);
    Canvas.Text(std::string("View: ") + GetAuthorViewName(View), 10.0, topPx + 4.0 + FontPx + 2.0, FontPx,
                text);
    for (std::size_t i = 0; i < swatches.size(); ++i)
        Canvas.Text(swatches[i].Label, 30.0, topPx + 4.0 + RowPx * (i + 1) + FontPx + 2.0, FontPx, text);
}
