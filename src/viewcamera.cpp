#include "viewcamera.h"

#include <algorithm>
#include <cmath>

Mat4 Mat4::Identity()
{
    Mat4 m;
    m.M[0] = m.M[5] = m.M[10] = m.M[15] = 1.0;
    return m;
}

Mat4 Mat4::operator*(const Mat4& Right) const
{
    Mat4 out;
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
        {
            double sum = 0.0;
            for (int k = 0; k < 4; ++k)
                sum += M[k * 4 + r] * Right.M[c * 4 + k];
            out.M[c * 4 + r] = sum;
        }
    return out;
}

void Mat4::Transform(double x, double y, double z, double w, double Out[4]) const
{
    for (int r = 0; r < 4; ++r)
        Out[r] = M[r] * x + M[4 + r] * y + M[8 + r] * z + M[12 + r] * w;
}

std::array<float, 16> Mat4::ToFloat() const
{
    std::array<float, 16> out{};
    for (int i = 0; i < 16; ++i)
        out[i] = static_cast<float>(M[i]);
    return out;
}

namespace
{
Mat4 Translation(double x, double y, double z)
{
    Mat4 m = Mat4::Identity();
    m.M[12] = x;
    m.M[13] = y;
    m.M[14] = z;
    return m;
}

// (x, y, z) -> (x, y cos a - z sin a, y sin a + z cos a)
Mat4 RotationX(double angleRad)
{
    Mat4 m = Mat4::Identity();
    const double c = std::cos(angleRad), s = std::sin(angleRad);
    m.M[5] = c;
    m.M[6] = s;
    m.M[9] = -s;
    m.M[10] = c;
    return m;
}

// (x, y, z) -> (x cos a + z sin a, y, -x sin a + z cos a)
Mat4 RotationY(double angleRad)
{
    Mat4 m = Mat4::Identity();
    const double c = std::cos(angleRad), s = std::sin(angleRad);
    m.M[0] = c;
    m.M[2] = -s;
    m.M[8] = s;
    m.M[10] = c;
    return m;
}

constexpr double DegToRad = M_PI / 180.0;
} // namespace

Mat4 BuildOrbitViewMatrix(const OrbitCamera& Camera)
{
    // Applied right to left: the offset first, the pan and distance last.
    return Translation(Camera.PanX, Camera.PanY, -Camera.Distance) * RotationX(Camera.PitchDeg * DegToRad) *
           RotationY(Camera.YawDeg * DegToRad) * Translation(-Camera.WorldOffsetX, 0.0, -Camera.WorldOffsetZ);
}

Mat4 BuildPerspectiveMatrix(double FovDeg, double Aspect, double NearZ, double FarZ)
{
    const double tanHalfFov = std::tan(std::clamp(FovDeg, 1.0, 170.0) * DegToRad * 0.5);
    Mat4 m;
    m.M[0] = 1.0 / (Aspect * tanHalfFov);
    m.M[5] = 1.0 / tanHalfFov;
    m.M[10] = (FarZ + NearZ) / (NearZ - FarZ);
    m.M[11] = -1.0;
    m.M[14] = 2.0 * FarZ * NearZ / (NearZ - FarZ);
    return m;
}
