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

// Multiplied by pi first and divided after, the way the pick's angles are defined.
double ToRadians(double AngleDeg)
{
    return AngleDeg * M_PI / 180.0;
}

// Tangent of half the clamped vertical field of view.
double HalfFovTangent(double FovDeg)
{
    return std::tan(std::clamp(FovDeg, 1.0, 170.0) * M_PI / 360.0);
}
} // namespace

// Turning (x, y, z) about X by a maps it to (x, y cos a - z sin a, y sin a + z cos a), and about Y
// to (x cos a + z sin a, y, -x sin a + z cos a); the two functions below write both out.
void ComputeOrbitEye(const OrbitCamera& Camera, double& EyeX, double& EyeY, double& EyeZ)
{
    const double yaw = ToRadians(-Camera.YawDeg);
    const double positivePitch = ToRadians(Camera.PitchDeg);
    const double qy = Camera.Distance * std::sin(positivePitch) - Camera.PanY * std::cos(positivePitch);
    const double qz = Camera.PanY * std::sin(positivePitch) + Camera.Distance * std::cos(positivePitch);
    const double qx = -Camera.PanX;
    EyeX = Camera.WorldOffsetX + qx * std::cos(yaw) + qz * std::sin(yaw);
    EyeY = qy;
    EyeZ = Camera.WorldOffsetZ - qx * std::sin(yaw) + qz * std::cos(yaw);
}

bool BuildOrbitRay(const OrbitCamera& Camera, double x01, double y01, OrbitRay& Ray)
{
    const double tanFov = HalfFovTangent(Camera.FovDeg);
    const double rx = (2.0 * x01 - 1.0) * Camera.Aspect * tanFov;
    const double ry = (1.0 - 2.0 * y01) * tanFov;
    const double pitch = ToRadians(-Camera.PitchDeg);
    const double yaw = ToRadians(-Camera.YawDeg);
    const double cosPitch = std::cos(pitch), sinPitch = std::sin(pitch);
    const double cosYaw = std::cos(yaw), sinYaw = std::sin(yaw);
    // (rx, ry, -1) turned about X by pitch, then about Y by yaw.
    const double py = ry * cosPitch + sinPitch;
    const double pz = ry * sinPitch - cosPitch;
    Ray.DirX = rx * cosYaw + pz * sinYaw;
    Ray.DirY = py;
    Ray.DirZ = pz * cosYaw - rx * sinYaw;
    if (std::abs(Ray.DirY) < 1e-6)
        return false;
    ComputeOrbitEye(Camera, Ray.EyeX, Ray.EyeY, Ray.EyeZ);
    return true;
}

Mat4 BuildOrbitViewMatrix(const OrbitCamera& Camera)
{
    double eyeX = 0.0, eyeY = 0.0, eyeZ = 0.0;
    ComputeOrbitEye(Camera, eyeX, eyeY, eyeZ);
    // Applied right to left: the eye to the origin first, then the turns.
    return RotationX(ToRadians(Camera.PitchDeg)) * RotationY(ToRadians(Camera.YawDeg)) *
           Translation(-eyeX, -eyeY, -eyeZ);
}

Mat4 BuildPerspectiveMatrix(double FovDeg, double Aspect, double NearZ, double FarZ)
{
    const double tanHalfFov = HalfFovTangent(FovDeg);
    Mat4 m;
    m.M[0] = 1.0 / (Aspect * tanHalfFov);
    m.M[5] = 1.0 / tanHalfFov;
    m.M[10] = (FarZ + NearZ) / (NearZ - FarZ);
    m.M[11] = -1.0;
    m.M[14] = 2.0 * FarZ * NearZ / (NearZ - FarZ);
    return m;
}
