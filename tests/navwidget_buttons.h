#pragma once
// The navigation widget's buttons as a person reads them off the widget, for the widget's tests:
// regions in panel coordinates (u right, v down), in drawing order.

#include <cstddef>

struct NavButtonCase
{
    int Id;
    const char* Name;
    double U1, U2, V1, V2;
};

inline constexpr NavButtonCase NavButtonCases[] = {
    {1, "ZoomIn", 0.04, 0.30, 0.04, 0.20},     {3, "ResetView", 0.34, 0.66, 0.04, 0.20},
    {2, "ZoomOut", 0.70, 0.96, 0.04, 0.20},    {4, "RotateUp", 0.43, 0.57, 0.26, 0.37},
    {6, "RotateLeft", 0.27, 0.41, 0.38, 0.49}, {7, "RotateRight", 0.59, 0.73, 0.38, 0.49},
    {5, "RotateDown", 0.43, 0.57, 0.50, 0.61}, {8, "PanUp", 0.43, 0.57, 0.62, 0.73},
    {10, "PanLeft", 0.27, 0.41, 0.74, 0.85},   {11, "PanRight", 0.59, 0.73, 0.74, 0.85},
    {9, "PanDown", 0.43, 0.57, 0.86, 0.97},
};

inline constexpr std::size_t NavButtonCount = sizeof(NavButtonCases) / sizeof(NavButtonCases[0]);

inline const NavButtonCase& FindNavButtonCase(int Id)
{
    for (const NavButtonCase& button : NavButtonCases)
        if (button.Id == Id)
            return button;
    return NavButtonCases[0];
}
