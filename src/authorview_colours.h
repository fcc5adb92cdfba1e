#pragma once

#include <array>
#include <string>

// The author views' colours in one table: the terrain shader declares each as a GLSL constant of
// its name (the terrain types as the array TypeColours), and the legend's swatches read them here.
namespace AuthorViewColours
{
struct Named
{
    const char* Name;
    std::array<float, 3> Rgb;
};

enum Index
{
    RampLow, // the height ramp, lowest to highest
    RampMid,
    RampHigh,
    RampTop,
    SlopeFlat,
    SlopeSteep,       // at the rise vehicles can still climb
    SlopeUndriveable, // blended over the slope colour where vehicles cannot go
    MetalRich,
    GrassOn,
    TypeFirst, // TypeCount colours, one per terrain type index modulo TypeCount
};
constexpr int TypeCount = 8;

// clang-format off
inline constexpr Named Table[TypeFirst + TypeCount] = {
    {"RampLow", {0.10f, 0.30f, 0.70f}}, {"RampMid", {0.20f, 0.62f, 0.30f}}, {"RampHigh", {0.85f, 0.74f, 0.35f}},
    {"RampTop", {0.97f, 0.97f, 0.97f}}, {"SlopeFlat", {0.2f, 0.7f, 0.25f}}, {"SlopeSteep", {0.95f, 0.85f, 0.2f}},
    {"SlopeUndriveable", {0.85f, 0.08f, 0.08f}}, {"MetalRich", {0.2f, 1.0f, 1.0f}}, {"GrassOn", {0.25f, 0.85f, 0.2f}},
    {"Type0", {0.55f, 0.55f, 0.6f}}, {"Type1", {0.9f, 0.3f, 0.25f}}, {"Type2", {0.3f, 0.75f, 0.3f}},
    {"Type3", {0.3f, 0.45f, 0.95f}}, {"Type4", {0.95f, 0.8f, 0.2f}}, {"Type5", {0.8f, 0.35f, 0.85f}},
    {"Type6", {0.25f, 0.85f, 0.85f}}, {"Type7", {0.95f, 0.55f, 0.15f}},
};
// clang-format on

// "const vec3 RampLow = vec3(...);" for each named colour before the types, then the types'
// "const vec3 TypeColours[8] = vec3[8](...);".
std::string DeclareGlsl();
} // namespace AuthorViewColours
