#include "features_gl.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "glprogram.h"
#include "springmap_renderer.h"
#include "terrain_shading.h"

namespace
{
const char* VertexShader = R"(#version 330 core
layout(location = 0) in vec3 Position;
layout(location = 1) in vec3 Normal;
layout(location = 2) in float Tone;      // 1: the type's colour; 0: bark or a vent's rim
layout(location = 3) in vec3 Placement;  // x, y, z
layout(location = 4) in vec2 Turn;       // cosine and sine of the heading
uniform mat4 ViewProj;
uniform vec3 Colour;
uniform vec3 SunDir;
uniform vec3 Ambient;
uniform vec3 Diffuse;
out vec3 Lit;
void main()
{
    float c = Turn.x, s = Turn.y;
    vec3 p = vec3(c * Position.x + s * Position.z, Position.y, c * Position.z - s * Position.x);
    vec3 n = vec3(c * Normal.x + s * Normal.z, Normal.y, c * Normal.z - s * Normal.x);
    vec3 albedo = Tone > 0.5 ? Colour : vec3(0.35, 0.24, 0.14);
    Lit = albedo * (Ambient + Diffuse * max(dot(n, SunDir), 0.0)) * (210.0 / 255.0);
    gl_Position = ViewProj * vec4(p + Placement, 1.0);
}
)";

const char* FragmentShader = R"(#version 330 core
in vec3 Lit;
out vec4 FragColour;
void main()
{
    FragColour = vec4(Lit, 1.0);
}
)";

constexpr int FloatsPerVertex = 7; // position, normal, tone
// Every shape lies within this sphere around the point this high over its foot.
constexpr float BoundCentreUpWorld = 15.0f, BoundRadiusWorld = 26.0f;

// The view's four side planes from its matrix (column-major), normalised so that a point's
// distance inside each is their dot product; a point behind all of them is off screen. Between
// them they bound the view's pyramid (a box for a parallel projection), so no near plane is needed.
std::array<std::array<float, 4>, 4> GetSidePlanes(const float* m)
{
    std::array<std::array<float, 4>, 4> planes{};
    for (int k = 0; k < 4; ++k)
    {
        // Left, right, bottom, top: the last row plus or minus the first or second.
        const int row = k / 2;
        const float sign = k % 2 == 0 ? 1.0f : -1.0f;
        for (int column = 0; column < 4; ++column)
            planes[k][column] = m[4 * column + 3] + sign * m[4 * column + row];
        const float length = std::hypot(planes[k][0], planes[k][1], planes[k][2]);
        for (float& value : planes[k])
            value = length > 0.0f ? value / length : 0.0f;
    }
    return planes;
}

// A frustum around the vertical axis from radius R0 at Y0 to R1 at Y1 (a cone when R1 is 0), with a
// top cap when Capped; flat-shaded faces wound counter-clockwise seen from outside. The bottom stands
// on the ground and needs none.
void AppendFrustum(std::vector<float>& out, int sides, float r0, float y0, float r1, float y1, float tone,
                   bool capped)
{
    const auto vertex = [&](float x, float y, float z, float nx, float ny, float nz) {
        out.insert(out.end(), {x, y, z, nx, ny, nz, tone});
    };
    constexpr float TurnRad = 6.2831853f;
    for (int i = 0; i < sides; ++i)
    {
        const float a0 = TurnRad * i / sides, a1 = TurnRad * (i + 1) / sides, mid = (a0 + a1) * 0.5f;
        const float c0 = std::cos(a0), s0 = std::sin(a0), c1 = std::cos(a1), s1 = std::sin(a1);
        float nx = std::cos(mid) * (y1 - y0), ny = r0 - r1, nz = std::sin(mid) * (y1 - y0);
        const float length = std::sqrt(nx * nx + ny * ny + nz * nz);
        nx /= length, ny /= length, nz /= length;
        if (r1 > 0.0f) // a cone's side is one triangle: the other would have no area
        {
            vertex(r0 * c0, y0, r0 * s0, nx, ny, nz);
            vertex(r1 * c0, y1, r1 * s0, nx, ny, nz);
            vertex(r1 * c1, y1, r1 * s1, nx, ny, nz);
        }
        vertex(r0 * c0, y0, r0 * s0, nx, ny, nz);
        vertex(r1 * c1, y1, r1 * s1, nx, ny, nz);
        vertex(r0 * c1, y0, r0 * s1, nx, ny, nz);
        if (capped)
        {
            vertex(0.0f, y1, 0.0f, 0.0f, 1.0f, 0.0f);
            vertex(r1 * c1, y1, r1 * s1, 0.0f, 1.0f, 0.0f);
            vertex(r1 * c0, y1, r1 * s0, 0.0f, 1.0f, 0.0f);
        }
    }
}

// The shapes in world units, about the size the engine's own trees, rocks and vents stand. Faces
// hidden inside another part (the trunk's top in the crown, the lower rock tier's top under the
// upper) are left out: thousands of features make every vertex count.
std::vector<float> BuildShape(FeaturesGL::Kind kind)
{
    // A rock 9 units wide on a 1:2 slope has its low edge 4.5 units under its centre.
    constexpr float BuriedWorld = 6.0f;
    std::vector<float> v;
    switch (kind)
    {
    // Each starts below the ground (BuriedWorld), so on a slope its downhill side does not float.
    case FeaturesGL::Kind::Tree:
        AppendFrustum(v, 6, 1.6f, -BuriedWorld, 1.2f, 10.0f, 0.0f, false); // trunk
        AppendFrustum(v, 8, 9.0f, 8.0f, 0.0f, 36.0f, 1.0f, false);         // crown
        break;
    case FeaturesGL::Kind::Rock:
        AppendFrustum(v, 7, 9.0f, -BuriedWorld, 7.0f, 5.0f, 1.0f, false);
        AppendFrustum(v, 7, 7.0f, 5.0f, 2.5f, 8.0f, 1.0f, true);
        break;
    case FeaturesGL::Kind::Vent:
        AppendFrustum(v, 10, 14.0f, -BuriedWorld, 11.0f, 3.0f, 0.0f, true); // rim
        AppendFrustum(v, 10, 9.0f, -BuriedWorld, 9.0f, 3.5f, 1.0f, true);   // glowing mouth
        AppendFrustum(v, 6, 3.0f, 3.5f, 1.0f, 22.0f, 1.0f, true);           // plume, so it reads from afar
        break;
    case FeaturesGL::Kind::Post:
        AppendFrustum(v, 4, 1.5f, -BuriedWorld, 1.5f, 18.0f, 1.0f, true);
        AppendFrustum(v, 4, 3.0f, 18.0f, 0.0f, 22.0f, 1.0f, false);
        break;
    }
    return v;
}

bool Contains(const std::string& text, const char* word)
{
    return text.find(word) != std::string::npos;
}
} // namespace

FeaturesGL::Kind FeaturesGL::ClassifyType(const std::string& TypeName)
{
    std::string name = TypeName;
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
    if (Contains(name, "geovent") || Contains(name, "geo_vent"))
        return Kind::Vent;
    if (Contains(name, "tree") || Contains(name, "pine") || Contains(name, "palm") || Contains(name, "bush"))
        return Kind::Tree;
    if (Contains(name, "rock") || Contains(name, "stone") || Contains(name, "boulder"))
        return Kind::Rock;
    return Kind::Post;
}

std::array<float, 3> FeaturesGL::GetTypeColour(const std::string& TypeName)
{
    static constexpr std::array<std::array<float, 3>, 4> KindColours{
        {{0.2f, 0.6f, 0.2f}, {0.55f, 0.5f, 0.45f}, {1.0f, 0.45f, 0.1f}, {0.85f, 0.2f, 0.8f}}};
    std::array<float, 3> colour = KindColours[static_cast<int>(ClassifyType(TypeName))];
    // FNV-1a of the name picks a shade, 0.7 to 1.3 of the kind's, and a slight tint (each channel
    // within 10% of the others), so a grey rock never turns blue nor a tree brown.
    std::uint32_t hash = 2166136261u;
    for (unsigned char c : TypeName)
        hash = (hash ^ c) * 16777619u;
    const float shade = 0.7f + 0.6f * (hash & 0xff) / 255.0f;
    for (float& channel : colour)
    {
        hash >>= 8;
        channel = std::min(channel * shade * (0.95f + 0.1f * (hash & 0xff) / 255.0f), 1.0f);
    }
    return colour;
}

FeaturesGL::~FeaturesGL()
{
    // A viewport that never drew features has no context to free anything in.
    if (!Program)
        return;
    ReleaseTypes();
    glDeleteProgram(Program);
    glDeleteBuffers(1, &ShapeBuffer);
}

bool FeaturesGL::Create(std::string& Error)
{
    Program = CreateGLProgram(VertexShader, FragmentShader, Error);
    if (!Program)
        return false;
    ViewProjLocation = glGetUniformLocation(Program, "ViewProj");
    ColourLocation = glGetUniformLocation(Program, "Colour");
    SunDirLocation = glGetUniformLocation(Program, "SunDir");
    AmbientLocation = glGetUniformLocation(Program, "Ambient");
    DiffuseLocation = glGetUniformLocation(Program, "Diffuse");
    std::vector<float> shapes;
    for (int kind = 0; kind < 4; ++kind)
    {
        ShapeFirst[kind] = static_cast<int>(shapes.size() / FloatsPerVertex);
        const std::vector<float> shape = BuildShape(static_cast<Kind>(kind));
        shapes.insert(shapes.end(), shape.begin(), shape.end());
        ShapeCount[kind] = static_cast<int>(shape.size() / FloatsPerVertex);
    }
    glGenBuffers(1, &ShapeBuffer);
    glBindBuffer(GL_ARRAY_BUFFER, ShapeBuffer);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(shapes.size() * sizeof(float)), shapes.data(),
                 GL_STATIC_DRAW);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    return true;
}

void FeaturesGL::ReleaseTypes()
{
    for (TypeBatch& type : Types)
    {
        glDeleteVertexArrays(1, &type.Array);
        glDeleteBuffers(1, &type.Instances);
    }
    Types.clear();
}

void FeaturesGL::BuildTypes(const SpringMapRenderer& Map)
{
    ReleaseTypes();
    const SpringMapLayers& layers = Map.GetLayers();
    Types.resize(layers.FeatureTypes.size());
    constexpr GLsizei Stride = FloatsPerVertex * sizeof(float);
    for (std::size_t i = 0; i < Types.size(); ++i)
    {
        TypeBatch& type = Types[i];
        type.ShapeKind = ClassifyType(layers.FeatureTypes[i]);
        type.Colour = GetTypeColour(layers.FeatureTypes[i]);
        glGenVertexArrays(1, &type.Array);
        glBindVertexArray(type.Array);
        glBindBuffer(GL_ARRAY_BUFFER, ShapeBuffer);
        glEnableVertexAttribArray(0);
        glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, Stride, nullptr);
        glEnableVertexAttribArray(1);
        glVertexAttribPointer(1, 3, GL_FLOAT, GL_FALSE, Stride, reinterpret_cast<void*>(3 * sizeof(float)));
        glEnableVertexAttribArray(2);
        glVertexAttribPointer(2, 1, GL_FLOAT, GL_FALSE, Stride, reinterpret_cast<void*>(6 * sizeof(float)));
        glGenBuffers(1, &type.Instances);
        glBindBuffer(GL_ARRAY_BUFFER, type.Instances);
        constexpr GLsizei InstanceStride = FloatsPerInstance * sizeof(float);
        glEnableVertexAttribArray(3);
        glVertexAttribPointer(3, 3, GL_FLOAT, GL_FALSE, InstanceStride, nullptr);
        glVertexAttribDivisor(3, 1);
        glEnableVertexAttribArray(4);
        glVertexAttribPointer(4, 2, GL_FLOAT, GL_FALSE, InstanceStride,
                              reinterpret_cast<void*>(3 * sizeof(float)));
        glVertexAttribDivisor(4, 1);
    }
    glBindVertexArray(0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    // On the ground, as the engine places them, whatever height the map stored.
    Placed.clear();
    for (const SpringMapLayers::Feature& feature : layers.Features)
        Placed.push_back({static_cast<std::size_t>(feature.Type),
                          {feature.X, Map.GetTerrainHeight(feature.X, feature.Z), feature.Z,
                           std::cos(feature.HeadingRad), std::sin(feature.HeadingRad)}});
    BuiltRevision = Map.GetLoadRevision();
}

bool FeaturesGL::Draw(const SpringMapRenderer& Map, const TerrainShading& Shading, const float* ViewProj4x4,
                      double CullDistanceWorld)
{
    LastDrawCalls = 0;
    if (!Map.IsLoaded() || Map.GetLayers().Features.empty())
        return true;
    if (!Program && (!CreateError.empty() || !Create(CreateError)))
        return false;
    if (BuiltRevision != Map.GetLoadRevision())
        BuildTypes(Map);
    for (TypeBatch& type : Types)
        type.Visible.clear();
    const double cullSquared = CullDistanceWorld * CullDistanceWorld;
    const float* eye = Shading.EyeWorld;
    const auto planes = GetSidePlanes(ViewProj4x4);
    for (const PlacedFeature& feature : Placed)
    {
        const float* at = feature.Instance.data();
        const double dx = at[0] - eye[0], dy = at[1] - eye[1], dz = at[2] - eye[2];
        if (dx * dx + dy * dy + dz * dz > cullSquared ||
            std::any_of(planes.begin(), planes.end(),
                        [&](const auto& plane)
                        {
                            return plane[0] * at[0] + plane[1] * (at[1] + BoundCentreUpWorld) +
                                       plane[2] * at[2] + plane[3] <
                                   -BoundRadiusWorld;
                        }))
            continue;
        std::vector<float>& visible = Types[feature.Type].Visible;
        visible.insert(visible.end(), feature.Instance.begin(), feature.Instance.end());
    }
    float sun[3];
    NormaliseSunDir(Shading.Look, sun);
    glUseProgram(Program);
    glUniformMatrix4fv(ViewProjLocation, 1, GL_FALSE, ViewProj4x4);
    glUniform3fv(SunDirLocation, 1, sun);
    glUniform3fv(AmbientLocation, 1, Shading.Look.GroundAmbient.data());
    glUniform3fv(DiffuseLocation, 1, Shading.Look.GroundDiffuse.data());
    glEnable(GL_DEPTH_TEST);
    // The shapes are closed above the ground: their back faces are always hidden.
    glEnable(GL_CULL_FACE);
    glCullFace(GL_BACK);
    for (TypeBatch& type : Types)
    {
        if (type.Visible.empty())
            continue;
        glBindVertexArray(type.Array);
        glBindBuffer(GL_ARRAY_BUFFER, type.Instances);
        glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(type.Visible.size() * sizeof(float)),
                     type.Visible.data(), GL_STREAM_DRAW);
        glUniform3fv(ColourLocation, 1, type.Colour.data());
        const int kind = static_cast<int>(type.ShapeKind);
        glDrawArraysInstanced(GL_TRIANGLES, ShapeFirst[kind], ShapeCount[kind],
                              static_cast<GLsizei>(type.Visible.size() / FloatsPerInstance));
        ++LastDrawCalls;
    }
    glDisable(GL_CULL_FACE);
    glBindVertexArray(0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glUseProgram(0);
    return true;
}
