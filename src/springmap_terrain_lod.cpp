#include "springmap_terrain_lod.h"

#include <algorithm>
#include <cmath>

namespace terrainlod
{
namespace
{
// The sample positions of one patch side at a step: every Step-th corner, and always the last.
std::vector<int> SampleCorners(int First, int Squares, int Step)
{
    std::vector<int> corners;
    for (int c = First; c < First + Squares; c += Step)
        corners.push_back(c);
    corners.push_back(First + Squares);
    return corners;
}

// Where the skirt vertices of the patch-edge lines start: one vertex under every corner of each
// inner line (the map's border has no neighbour, so no crack and no skirt).
struct SkirtLines
{
    int Width = 0, Height = 0;
    std::uint32_t ColumnsBase = 0, RowsBase = 0; // lines of constant X, then of constant Z

    std::uint32_t UnderColumn(int x, int z) const
    {
        return ColumnsBase + static_cast<std::uint32_t>((x / PatchSquares - 1) * Height + z);
    }
    std::uint32_t UnderRow(int x, int z) const
    {
        return RowsBase + static_cast<std::uint32_t>((z / PatchSquares - 1) * Width + x);
    }
};

float HeightAt(const std::vector<float>& heights, int width, int x, int z)
{
    return heights[static_cast<std::size_t>(z) * width + x];
}

// The largest difference between the grid's corners in a patch and the surface of its triangles at
// the given sample corners (each cell split along the diagonal the indices use).
float MeasureError(const std::vector<float>& heights, int width, const std::vector<int>& xs,
                   const std::vector<int>& zs)
{
    float error = 0.0f;
    for (std::size_t j = 0; j + 1 < zs.size(); ++j)
        for (std::size_t i = 0; i + 1 < xs.size(); ++i)
        {
            const int x0 = xs[i], x1 = xs[i + 1], z0 = zs[j], z1 = zs[j + 1];
            const float h00 = HeightAt(heights, width, x0, z0), h10 = HeightAt(heights, width, x1, z0);
            const float h01 = HeightAt(heights, width, x0, z1), h11 = HeightAt(heights, width, x1, z1);
            for (int z = z0; z <= z1; ++z)
                for (int x = x0; x <= x1; ++x)
                {
                    const float u = static_cast<float>(x - x0) / (x1 - x0);
                    const float v = static_cast<float>(z - z0) / (z1 - z0);
                    const float surface = u + v <= 1.0f
                                              ? h00 + u * (h10 - h00) + v * (h01 - h00)
                                              : h11 + (1.0f - u) * (h01 - h11) + (1.0f - v) * (h10 - h11);
                    error = std::max(error, std::fabs(HeightAt(heights, width, x, z) - surface));
                }
        }
    return error;
}

// How far the skirt under each corner of one patch-edge line hangs (Heights: the line's corners).
// Each level's edge along a patch is a polyline through some of the corners; the skirt reaches
// below all of them, so whichever the neighbours draw, the crack between them is covered, plus a
// square for the pixels a T-junction drops. The line's two ends lie on the map's border, where
// every level's edge meets the same corner: no skirt there, or it would show past the map's side.
std::vector<float> MeasureSkirtDepths(const std::vector<float>& Heights, float SquareSize)
{
    const int squares = static_cast<int>(Heights.size()) - 1;
    std::vector<float> depths(Heights.size(), 0.0f);
    for (int first = 0; first < squares; first += PatchSquares)
    {
        const int span = std::min(PatchSquares, squares - first);
        for (int step = 2; step < 2 * span; step *= 2)
        {
            const std::vector<int> corners = SampleCorners(first, span, step);
            for (std::size_t i = 0; i + 1 < corners.size(); ++i)
                for (int c = corners[i] + 1; c < corners[i + 1]; ++c)
                {
                    const float t = static_cast<float>(c - corners[i]) / (corners[i + 1] - corners[i]);
                    const float edge =
                        Heights[corners[i]] + t * (Heights[corners[i + 1]] - Heights[corners[i]]);
                    depths[c] = std::max(depths[c], std::fabs(Heights[c] - edge));
                }
        }
    }
    for (int c = 1; c < squares; ++c)
        depths[c] += SquareSize;
    return depths;
}

void AppendCells(int width, const std::vector<int>& xs, const std::vector<int>& zs,
                 std::vector<std::uint32_t>& out)
{
    for (std::size_t j = 0; j + 1 < zs.size(); ++j)
        for (std::size_t i = 0; i + 1 < xs.size(); ++i)
        {
            const auto at = [&](int x, int z) { return static_cast<std::uint32_t>(z * width + x); };
            const std::uint32_t v00 = at(xs[i], zs[j]), v10 = at(xs[i + 1], zs[j]);
            const std::uint32_t v01 = at(xs[i], zs[j + 1]), v11 = at(xs[i + 1], zs[j + 1]);
            out.insert(out.end(), {v00, v01, v10, v10, v01, v11});
        }
}

// Two triangles from each edge segment down to the skirt under it.
void AppendSkirt(const std::vector<std::uint32_t>& top, const std::vector<std::uint32_t>& under,
                 std::vector<std::uint32_t>& out)
{
    for (std::size_t i = 0; i + 1 < top.size(); ++i)
        out.insert(out.end(), {top[i], under[i], top[i + 1], top[i + 1], under[i], under[i + 1]});
}

void AppendSkirts(const SkirtLines& lines, const Patch& patch, const std::vector<int>& xs,
                  const std::vector<int>& zs, std::vector<std::uint32_t>& out)
{
    const int width = lines.Width;
    std::vector<std::uint32_t> top, under;
    const auto edge = [&](bool bColumn, int fixed)
    {
        top.clear();
        under.clear();
        for (int c : bColumn ? zs : xs)
        {
            const int x = bColumn ? fixed : c, z = bColumn ? c : fixed;
            top.push_back(static_cast<std::uint32_t>(z * width + x));
            under.push_back(bColumn ? lines.UnderColumn(x, z) : lines.UnderRow(x, z));
        }
        AppendSkirt(top, under, out);
    };
    const int x0 = patch.SquareX, x1 = x0 + patch.WidthSquares;
    const int z0 = patch.SquareZ, z1 = z0 + patch.DepthSquares;
    if (x0 > 0)
        edge(true, x0);
    if (x1 < lines.Width - 1)
        edge(true, x1);
    if (z0 > 0)
        edge(false, z0);
    if (z1 < lines.Height - 1)
        edge(false, z1);
}
} // namespace

void BuildMesh(const std::vector<float>& Heights, int Width, int Height, float SquareSize,
               std::vector<float>& PositionsNormals, std::vector<std::uint32_t>& Indices,
               std::vector<Patch>& Patches)
{
    Patches.clear();
    Indices.clear();
    const int squaresX = Width - 1, squaresZ = Height - 1;
    for (int pz = 0; pz < squaresZ; pz += PatchSquares)
        for (int px = 0; px < squaresX; px += PatchSquares)
        {
            Patch patch;
            patch.SquareX = px, patch.SquareZ = pz;
            patch.WidthSquares = std::min(PatchSquares, squaresX - px);
            patch.DepthSquares = std::min(PatchSquares, squaresZ - pz);
            float low = HeightAt(Heights, Width, px, pz), high = low;
            for (int z = pz; z <= pz + patch.DepthSquares; ++z)
                for (int x = px; x <= px + patch.WidthSquares; ++x)
                    low = std::min(low, HeightAt(Heights, Width, x, z)),
                    high = std::max(high, HeightAt(Heights, Width, x, z));
            patch.BoundsMin[0] = px * SquareSize, patch.BoundsMax[0] = (px + patch.WidthSquares) * SquareSize;
            patch.BoundsMin[1] = low, patch.BoundsMax[1] = high;
            patch.BoundsMin[2] = pz * SquareSize, patch.BoundsMax[2] = (pz + patch.DepthSquares) * SquareSize;
            for (int step = 1; step <= std::max(patch.WidthSquares, patch.DepthSquares); step *= 2)
            {
                Level level;
                level.ErrorWorld =
                    step == 1 ? 0.0f
                              : MeasureError(Heights, Width, SampleCorners(px, patch.WidthSquares, step),
                                             SampleCorners(pz, patch.DepthSquares, step));
                patch.Levels.push_back(level);
            }
            Patches.push_back(std::move(patch));
        }

    SkirtLines lines;
    lines.Width = Width, lines.Height = Height;
    const std::size_t gridVertices = static_cast<std::size_t>(Width) * Height;
    const int innerColumns = std::max(0, (squaresX - 1) / PatchSquares);
    const int innerRows = std::max(0, (squaresZ - 1) / PatchSquares);
    lines.ColumnsBase = static_cast<std::uint32_t>(gridVertices);
    lines.RowsBase = lines.ColumnsBase + static_cast<std::uint32_t>(innerColumns * Height);
    PositionsNormals.resize((gridVertices + static_cast<std::size_t>(innerColumns) * Height +
                             static_cast<std::size_t>(innerRows) * Width) *
                            6);
    float deepestSkirt = 0.0f;
    const auto addSkirtLine = [&](bool bColumn, int fixed)
    {
        const int count = bColumn ? Height : Width;
        std::vector<float> heights(static_cast<std::size_t>(count));
        for (int c = 0; c < count; ++c)
            heights[c] = bColumn ? HeightAt(Heights, Width, fixed, c) : HeightAt(Heights, Width, c, fixed);
        const std::vector<float> depths = MeasureSkirtDepths(heights, SquareSize);
        for (int c = 0; c < count; ++c)
        {
            const int x = bColumn ? fixed : c, z = bColumn ? c : fixed;
            const std::uint32_t index = bColumn ? lines.UnderColumn(x, z) : lines.UnderRow(x, z);
            const float* top = &PositionsNormals[(static_cast<std::size_t>(z) * Width + x) * 6];
            float* skirt = &PositionsNormals[static_cast<std::size_t>(index) * 6];
            std::copy(top, top + 6, skirt);
            skirt[1] -= depths[c];
            deepestSkirt = std::max(deepestSkirt, depths[c]);
        }
    };
    for (int k = 1; k <= innerColumns; ++k)
        addSkirtLine(true, k * PatchSquares);
    for (int k = 1; k <= innerRows; ++k)
        addSkirtLine(false, k * PatchSquares);

    // Six indices a square at the finest level and a third more for all the coarser ones: grown
    // once, not copied at every doubling.
    Indices.reserve(static_cast<std::size_t>(squaresX) * squaresZ * 8);
    for (Patch& patch : Patches)
    {
        patch.BoundsMin[1] -= deepestSkirt;
        int step = 1;
        for (Level& level : patch.Levels)
        {
            const std::vector<int> xs = SampleCorners(patch.SquareX, patch.WidthSquares, step);
            const std::vector<int> zs = SampleCorners(patch.SquareZ, patch.DepthSquares, step);
            level.FirstIndex = static_cast<int>(Indices.size());
            AppendCells(Width, xs, zs, Indices);
            // Every level: the step can go either way between neighbours, finer or coarser.
            AppendSkirts(lines, patch, xs, zs, Indices);
            level.IndexCount = static_cast<int>(Indices.size()) - level.FirstIndex;
            step *= 2;
        }
    }
}

ViewSelector::ViewSelector(const float* ViewProj, int ViewportHeightPx, float MaxErrorPx)
    : MaxErrorPx(MaxErrorPx)
{
    const auto row = [&](int r) {
        return std::array<float, 4>{ViewProj[r], ViewProj[4 + r], ViewProj[8 + r], ViewProj[12 + r]};
    };
    const std::array<float, 4> x = row(0), y = row(1), z = row(2), w = row(3);
    // Inside the view: -w <= x, y, z <= w.
    for (int i = 0; i < 4; ++i)
    {
        Planes[0][i] = w[i] + x[i], Planes[1][i] = w[i] - x[i];
        Planes[2][i] = w[i] + y[i], Planes[3][i] = w[i] - y[i];
        Planes[4][i] = w[i] + z[i], Planes[5][i] = w[i] - z[i];
    }
    DepthRow = w;
    // The projection's vertical focal length is the length of the Y row's rotation part.
    PxPerWorldAtUnitDepth = std::hypot(y[0], y[1], y[2]) * 0.5f * static_cast<float>(ViewportHeightPx);
}

int ViewSelector::ChooseLevel(const Patch& P) const
{
    for (const std::array<float, 4>& plane : Planes)
    {
        // The box corner farthest along the plane's normal: outside if even that one is.
        float distance = plane[3];
        for (int i = 0; i < 3; ++i)
            distance += plane[i] * (plane[i] >= 0.0f ? P.BoundsMax[i] : P.BoundsMin[i]);
        if (distance < 0.0f)
            return -1;
    }
    if (!(MaxErrorPx > 0.0f))
        return 0;
    // The nearest depth of the box: each level's error is seen at its largest there.
    float nearest = DepthRow[3];
    for (int i = 0; i < 3; ++i)
        nearest += DepthRow[i] * (DepthRow[i] >= 0.0f ? P.BoundsMin[i] : P.BoundsMax[i]);
    if (!(nearest > 0.0f))
        return 0;
    const float allowedWorld = MaxErrorPx * nearest / PxPerWorldAtUnitDepth;
    for (int level = static_cast<int>(P.Levels.size()) - 1; level > 0; --level)
        if (P.Levels[level].ErrorWorld <= allowedWorld)
            return level;
    return 0;
}
} // namespace terrainlod
