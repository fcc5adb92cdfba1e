#pragma once

#include <array>
#include <string>
#include <vector>

#include <epoxy/gl.h>

// Every vehicle and aircraft of a frame in one instanced draw per shape: the full vehicle model,
// the far vehicle icon and the aircraft. The shapes are uploaded once, indexed so a corner shared by
// a face's triangles is shaded once; a frame uploads only each unit's placement, so a crowd costs
// its vertex work on the GPU and almost nothing on the CPU. A software renderer shades vertices on
// one thread, so the per-vertex work is kept to a turn, a scale and a colour pick.
class UnitInstancesGL
{
  public:
    enum Shape
    {
        Model,
        Icon,
        Aircraft,
        ShapeCount
    };
    // Per unit: world X, Y, Z of its base (an aircraft: its centre), sine and cosine of its heading,
    // size (the shape's unit in world units), 1 when selected, and the ground's height under it.
    static constexpr int FloatsPerInstance = 8;
    // Per shape vertex: forward, right and up in size units, red, green, blue plain and selected,
    // and 1 for an aircraft's post: that stands upright from the ground to the aircraft, whatever
    // its heading, one size unit across and as tall as the aircraft flies high.
    static constexpr int FloatsPerVertex = 10;

    UnitInstancesGL() = default;
    UnitInstancesGL(const UnitInstancesGL&) = delete;
    UnitInstancesGL& operator=(const UnitInstancesGL&) = delete;
    ~UnitInstancesGL();

    bool Create(const std::array<std::vector<float>, ShapeCount>& ShapeVertices, std::string& Error);
    // ShapeVertices: triangle lists. Depth-tested triangles; the caller sets the depth state.
    void Draw(const std::array<std::vector<float>, ShapeCount>& Instances,
              const std::array<float, 16>& ViewProjection);

  private:
    GLuint Program = 0;
    GLint ViewProjectionLocation = -1;
    GLuint ShapeBuffer = 0, IndexBuffer = 0, InstanceBuffer = 0;
    std::array<GLuint, ShapeCount> Arrays{};
    std::array<GLsizei, ShapeCount> IndexCounts{};
    std::array<std::size_t, ShapeCount> FirstIndices{};
};
