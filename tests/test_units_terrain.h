#pragma once

#include <cmath>
#include <vector>

#include "springmap_renderer.h"
#include "vec3d.h"

// Test terrain for the unit tests: maps of 8-unit squares built from corner heights.
namespace unitterrain
{
constexpr float SquareSize = 8.0f;
constexpr int RidgeCells = 64;     // squares per side of the ridge map (512 world units)
constexpr int RidgeRow = 32;       // corner row of the ridge crest: world Z 256
constexpr int GapFirstCorner = 44; // crest corners 44..54 are low: the gap
constexpr int GapLastCorner = 54;
constexpr float RidgeHeight = 200.0f;

// A flat map with one crest row of corners at RidgeHeight, open between the gap corners. The two
// square rows beside the crest rise 200 over 8 units: far too steep to drive.
inline void LoadRidgeMap(SpringMapRenderer& Map)
{
    const int n = RidgeCells + 1;
    std::vector<float> heights(static_cast<std::size_t>(n) * n, 0.0f);
    for (int x = 0; x < n; ++x)
        if (x < GapFirstCorner || x > GapLastCorner)
            heights[static_cast<std::size_t>(RidgeRow) * n + x] = RidgeHeight;
    Map.LoadHeightGrid(n, n, SquareSize, std::move(heights));
}

inline double RouteLength(double FromX, double FromZ, const std::vector<Vec3D>& Route)
{
    double length = 0.0;
    for (const Vec3D& point : Route)
    {
        length += std::hypot(point.X - FromX, point.Z - FromZ);
        FromX = point.X;
        FromZ = point.Z;
    }
    return length;
}
} // namespace unitterrain
