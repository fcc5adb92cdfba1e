#pragma once

#include <array>

// A 4x4 matrix in OpenGL's column-major order: element (row r, column c) is M[c * 4 + r].
struct Mat4
{
    std::array<double, 16> M{};

    static Mat4 Identity();
    Mat4 operator*(const Mat4& Right) const;
    // Multiplies the column vector (x, y, z, w) and writes the four results.
    void Transform(double x, double y, double z, double w, double Out[4]) const;
    std::array<float, 16> ToFloat() const;
};

// The orbit camera the scene is drawn with; picking walks the same camera backwards, so both must
// be built from these fields only.
struct OrbitCamera
{
    double WorldOffsetX = 0.0; // world point the camera orbits (its Y is 0)
    double WorldOffsetZ = 0.0;
    double YawDeg = 0.0;   // already including any auto-rotation phase
    double PitchDeg = 0.0; // positive looks down
    double PanX = 0.0;     // camera-space shift, world units
    double PanY = 0.0;
    double Distance = 1.0; // eye to orbit target, world units
    double FovDeg = 45.0;  // vertical; clamped to 1..170 here
    double Aspect = 1.0;   // width / height of the rendered viewport
};

// The eye and the ray through a viewport point (0..1 across, y down); the direction is not
// normalised.
struct OrbitRay
{
    double EyeX = 0.0, EyeY = 0.0, EyeZ = 0.0;
    double DirX = 0.0, DirY = 0.0, DirZ = 0.0;
};

// The eye: the orbit target plus (-PanX, -PanY, Distance) turned about X by -PitchDeg, then about
// Y by -YawDeg.
void ComputeOrbitEye(const OrbitCamera& Camera, double& EyeX, double& EyeY, double& EyeZ);
// The ray under (x01, y01); false when it runs within 1e-6 of parallel to the ground, where no
// height can be picked.
bool BuildOrbitRay(const OrbitCamera& Camera, double x01, double y01, OrbitRay& Ray);

// World to camera, the inverse of the eye and ray above: translate by minus the eye, turn about Y
// by YawDeg, then about X by PitchDeg. The camera looks along its -Z axis.
Mat4 BuildOrbitViewMatrix(const OrbitCamera& Camera);

// Right-handed perspective projection (the classic gluPerspective) with the clamped field of view.
Mat4 BuildPerspectiveMatrix(double FovDeg, double Aspect, double NearZ, double FarZ);
