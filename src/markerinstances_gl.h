#pragma once

#include <array>
#include <string>
#include <vector>

#include <epoxy/gl.h>

class SpringMapRenderer;

// The scene's markers in one instanced draw per kind, drawn over everything: rings (a horizontal
// circle, on the terrain when asked), line segments and dots. A marker is a few floats; the ring's
// points and their heights are found on the GPU, from a copy of the map's heights made once a load.
class MarkerInstancesGL
{
  public:
    enum Kind
    {
        Ring,
        SmallRing, // a ring of SmallRingSegments: one a few pixels across looks the same with fewer
        Segment,
        Dot,
        KindCount
    };
    // Per marker: X, Y, Z and a fourth value, then three more, then red, green, blue.
    //   ring:    centre, radius; 1 to sit each point on the terrain (MarkerLiftWorld above it)
    //            (a small ring the same)
    //   segment: from, unused; to
    //   dot:     at, unused; unused
    static constexpr int FloatsPerInstance = 10;
    static constexpr int RingSegments = 24;
    static constexpr int SmallRingSegments = 12;
    static constexpr float MarkerLiftWorld = 2.0f; // keeps rings off the terrain they follow

    MarkerInstancesGL() = default;
    MarkerInstancesGL(const MarkerInstancesGL&) = delete;
    MarkerInstancesGL& operator=(const MarkerInstancesGL&) = delete;
    ~MarkerInstancesGL();

    bool Create(std::string& Error);
    // Lines and dots DotSizePx across; the caller turns depth testing off. pMap: null for flat rings.
    void Draw(const std::array<std::vector<float>, KindCount>& Instances,
              const std::array<float, 16>& ViewProjection, const SpringMapRenderer* pMap, float DotSizePx);

  private:
    void UploadHeights(const SpringMapRenderer& Map);

    GLuint Program = 0;
    GLint ViewProjectionLocation = -1, KindLocation = -1, RingPointsLocation = -1, GridLocation = -1;
    GLuint InstanceBuffer = 0, Array = 0, HeightTexture = 0;
    int UploadedRevision = -1;
};
