#pragma once

#include <array>
#include <string>
#include <vector>

#include <epoxy/gl.h>

// Every vehicle of a frame in two instanced draws: one shape for the full model, one for the far
// icon. The shapes are uploaded once; a frame uploads only each vehicle's placement, so a crowd
// costs its vertex work on the GPU and almost nothing on the CPU.
class VehicleInstancesGL
{
  public:
    // Per vehicle: world X, Y, Z of its base, heading in radians, size (the shape's unit in world
    // units), 1 when selected.
    static constexpr int FloatsPerInstance = 6;
    // Per shape vertex: forward, right and up in size units, shade, 1 for the turret's colour.
    static constexpr int FloatsPerVertex = 5;

    VehicleInstancesGL() = default;
    VehicleInstancesGL(const VehicleInstancesGL&) = delete;
    VehicleInstancesGL& operator=(const VehicleInstancesGL&) = delete;
    ~VehicleInstancesGL();

    bool Create(const std::vector<float>& ModelVertices, const std::vector<float>& IconVertices,
                std::string& Error);
    // Depth-tested triangles; the caller sets the depth state.
    void Draw(const std::vector<float>& Models, const std::vector<float>& Icons,
              const std::array<float, 16>& ViewProjection);

  private:
    GLuint Program = 0;
    GLint ViewProjectionLocation = -1;
    GLuint ShapeBuffer = 0, InstanceBuffer = 0;
    GLuint ModelArray = 0, IconArray = 0;
    GLsizei ModelVertexCount = 0, IconVertexCount = 0;
};
