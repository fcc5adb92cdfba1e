#pragma once

#include <array>
#include <string>
#include <vector>

#include <epoxy/gl.h>

class SpringMapRenderer;
struct TerrainShading;

// The map's feature placements as simple shapes that say what they are, one instanced draw call per
// feature type, each type in its own colour, on the ground at its heading; features farther from
// the eye than CullDistanceWorld or outside the view are left out.
//
//   tree        rock       geovent     anything else
//    /|\        ____       _====_         |
//     |        (____)     (______)        |
class FeaturesGL
{
  public:
    // Why the last Draw that returned false could not build its shaders.
    const std::string& GetCreateError() const { return CreateError; }
    enum class Kind
    {
        Tree,
        Rock,
        Vent,
        Post,
    };

    // What a type's name says it is: trees (mapconv's TreeType0..15 too), rocks and geovents.
    static Kind ClassifyType(const std::string& TypeName);
    // The type's colour: its kind's, varied by the name so two types of a kind tell apart.
    static std::array<float, 3> GetTypeColour(const std::string& TypeName);

    FeaturesGL() = default;
    FeaturesGL(const FeaturesGL&) = delete;
    FeaturesGL& operator=(const FeaturesGL&) = delete;
    ~FeaturesGL();

    // After the terrain, depth-tested. False when the program cannot be built.
    bool Draw(const SpringMapRenderer& Map, const TerrainShading& Shading, const float* ViewProj4x4,
              double CullDistanceWorld);
    // Draw calls of the last Draw: one per type with a feature in range and in view.
    int GetLastDrawCalls() const { return LastDrawCalls; }

  private:
    struct TypeBatch
    {
        GLuint Array = 0, Instances = 0;
        Kind ShapeKind = Kind::Post;
        std::array<float, 3> Colour{};
        std::vector<float> Visible; // FloatsPerInstance per feature in range and in view
    };

    bool Create(std::string& Error);
    void BuildTypes(const SpringMapRenderer& Map);
    void ReleaseTypes();

    GLuint Program = 0;
    GLint ViewProjLocation = -1, ColourLocation = -1, SunDirLocation = -1, AmbientLocation = -1,
          DiffuseLocation = -1;
    GLuint ShapeBuffer = 0;
    std::array<int, 4> ShapeFirst{}, ShapeCount{}; // vertex range of each kind's shape
    std::vector<TypeBatch> Types;
    static constexpr int FloatsPerInstance = 5;
    struct PlacedFeature
    {
        std::size_t Type;
        std::array<float, FloatsPerInstance> Instance; // x, ground y, z, heading's cosine and sine
    };
    std::vector<PlacedFeature> Placed; // every feature of the loaded map
    int BuiltRevision = -1;
    int LastDrawCalls = 0;
    std::string CreateError; // why the shaders could not be built; not retried every frame
};
