#pragma once

// A point or direction in map space: X and Z span the ground plane, Y is height.
struct Vec3D
{
    double X = 0.0;
    double Y = 0.0;
    double Z = 0.0;

    Vec3D() = default;
    Vec3D(double x, double y, double z) : X(x), Y(y), Z(z) {}
};
