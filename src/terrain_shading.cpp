#include "terrain_shading.h"

#include <cmath>

#include "authorview_colours.h"

const char* const TerrainShadingProgram::VertexSource = R"(#version 330 core
layout(location = 0) in vec3 Position;
uniform mat4 ViewProj;
uniform vec4 UvRect;
out vec2 Uv;
out vec3 WorldPos;
void main()
{
    Uv = (Position.xz - UvRect.xy) * UvRect.zw;
    WorldPos = Position;
    gl_Position = ViewProj * vec4(Position, 1.0);
}
)";

// Light as the engine lights its ground: ambient plus diffuse by the sun, scaled by its 210/255;
// under water the light fades with depth towards the water's colour (fully past one unit deep).
const char* const TerrainShadingProgram::FragmentBody = R"(
in vec2 Uv;
in vec3 WorldPos;
uniform sampler2D Ground;
uniform sampler2D Normals;
uniform vec4 NormalUv; // world X, Z to the normal texture: scale, then offset
uniform sampler2D Layer;
uniform int Mode; // 0: height ramp, 1: texture
uniform vec2 HeightRange;
uniform vec3 SunDir;
uniform vec3 GroundAmbient;
uniform vec3 GroundDiffuse;
uniform vec3 Eye;
uniform vec2 FogRange; // start and end distance; end 0: no fog
uniform vec3 FogColour;
uniform vec3 WaterAbsorb;
uniform vec3 WaterBase;
uniform vec3 WaterMin;
uniform int View; // 0 off, 1 height, 2 slope, 3 metal, 4 type, 5 grass
uniform vec2 LayerExtent;
uniform float LayerScale;
uniform float ContourStep;
uniform float DriveSlope;
uniform sampler2D DetailTex;
uniform sampler2D SpecularTex;
uniform sampler2D SplatDistrTex;
uniform sampler2D SplatDetailTex;
uniform vec2 MapExtent;
uniform vec4 SplatScales;
uniform vec4 SplatMults;
uniform float SpecularExponent;
uniform vec3 GroundSpecular;
out vec4 Colour;

const float IntensityMult = 210.0 / 255.0;

vec3 HeightRamp(float t)
{
    vec3 c = mix(RampLow, RampMid, smoothstep(0.0, 0.35, t));
    c = mix(c, RampHigh, smoothstep(0.35, 0.7, t));
    return mix(c, RampTop, smoothstep(0.7, 1.0, t));
}

// Detail textures are grey around the middle: above it lightens the ground, below darkens it.
// Splatting weighs each of the detail texture's four channels, tiled at its own scale, by the
// map-wide distribution's matching channel.
// DETAIL_MODE (0 none, 1 detail texture, 2 splatting) and SPECULAR are defined ahead of this body, as
// the map's textures ask, so a map without them pays nothing for them.
vec3 DetailOffset()
{
#if DETAIL_MODE == 1
    return texture(DetailTex, WorldPos.xz * 0.02).rgb * 2.0 - 1.0; // repeats every 50 units
#else
    vec4 detail = vec4(texture(SplatDetailTex, WorldPos.xz * SplatScales.x).r,
                       texture(SplatDetailTex, WorldPos.xz * SplatScales.y).g,
                       texture(SplatDetailTex, WorldPos.xz * SplatScales.z).b,
                       texture(SplatDetailTex, WorldPos.xz * SplatScales.w).a) * 2.0 - 1.0;
    return vec3(dot(detail, texture(SplatDistrTex, WorldPos.xz / MapExtent) * SplatMults));
#endif
}

// Blinn-Phong towards the sun: the texture's colour tinted by the map's, its alpha scaling the map's
// exponent.
vec3 SpecularLight(vec3 n, float lightInt)
{
    vec4 spec = texture(SpecularTex, WorldPos.xz / MapExtent);
    vec3 halfDir = normalize(SunDir + normalize(Eye - WorldPos));
    float exponent = max(spec.a * SpecularExponent, 1.0);
    return lightInt > 0.0 ? spec.rgb * GroundSpecular * pow(max(dot(n, halfDir), 0.0), exponent) : vec3(0.0);
}

vec3 AuthorColour(vec3 albedo, vec3 n, float t)
{
    float cell = texture(Layer, WorldPos.xz / LayerExtent).r * 255.0;
    vec3 muted = vec3(dot(albedo, vec3(0.3, 0.59, 0.11)) * 0.6);
    if (View == 1)
    {
        // The levels sit a hair above round heights: ground lying flat on a round height (a map's
        // clamped top or bottom) would otherwise be all line, as it is nowhere off the level.
        float steps = (WorldPos.y - 1.0 / 64.0) / ContourStep;
        float pixelsFromLine = abs(fract(steps + 0.5) - 0.5) / max(fwidth(steps), 1e-4);
        return HeightRamp(t) * mix(0.35, 1.0, clamp(pixelsFromLine - 0.5, 0.0, 1.0));
    }
    if (View == 2)
    {
        float rise = length(n.xz) / max(n.y, 1e-3);
        vec3 c = mix(SlopeFlat, SlopeSteep, clamp(rise / DriveSlope, 0.0, 1.0));
        return cell < 0.5 ? mix(c, SlopeUndriveable, 0.8) : c;
    }
    if (View == 3)
        return mix(muted, MetalRich, clamp(cell * LayerScale / 255.0, 0.0, 1.0));
    if (View == 4)
        return mix(muted, TypeColours[int(cell + 0.5) % TypeColours.length()], 0.75);
    return cell > 0.5 ? mix(muted, GrassOn, 0.75) : muted;
}

void main()
{
    vec3 n = normalize(texture(Normals, WorldPos.xz * NormalUv.xy + NormalUv.zw).xyz * 2.0 - 1.0);
    float t = clamp((WorldPos.y - HeightRange.x) / max(HeightRange.y - HeightRange.x, 1e-3), 0.0, 1.0);
    vec3 albedo = Mode == 1 ? texture(Ground, Uv).rgb : mix(vec3(0.25, 0.45, 0.2), vec3(0.75, 0.7, 0.6), t);
#if DETAIL_MODE != 0
    if (Mode == 1)
        albedo = clamp(albedo + DetailOffset(), 0.0, 1.0);
#endif
    float lightInt = max(dot(n, SunDir), 0.0);
#if AUTHOR_VIEW
    // Plain light from the map's sun: the view's colours stay readable whatever the map's light.
    Colour = vec4(AuthorColour(albedo, n, t) * (0.6 + 0.4 * lightInt), 1.0);
#else
    vec3 shade = (GroundAmbient + GroundDiffuse * lightInt) * IntensityMult;
    vec3 c = albedo * shade;
#if WATER
    if (WorldPos.y < 0.0)
    {
        float depth = -WorldPos.y;
        vec3 water = max(WaterMin, WaterBase - WaterAbsorb * min(depth, 1023.0));
        water *= IntensityMult * min(lightInt * 2.0 + 0.4, 1.0);
        c = albedo * mix(shade, water, min(depth, 1.0));
    }
#if SPECULAR
    else
        c += SpecularLight(n, lightInt);
#endif
#elif SPECULAR
    c += SpecularLight(n, lightInt);
#endif
    if (FogRange.y > 0.0)
        c = mix(c, FogColour, clamp((distance(WorldPos, Eye) - FogRange.x) / (FogRange.y - FogRange.x), 0.0, 1.0));
    Colour = vec4(c, 1.0);
#endif
}
)";

std::string TerrainShadingProgram::BuildFragmentSource(const std::string& Defines)
{
    return "#version 330 core\n" + Defines + AuthorViewColours::DeclareGlsl() + FragmentBody;
}

void TerrainShadingProgram::Locate(GLuint Program)
{
    const auto at = [Program](const char* name) { return glGetUniformLocation(Program, name); };
    SunDir = at("SunDir");
    GroundAmbient = at("GroundAmbient");
    GroundDiffuse = at("GroundDiffuse");
    Eye = at("Eye");
    FogRange = at("FogRange");
    FogColour = at("FogColour");
    WaterAbsorb = at("WaterAbsorb");
    WaterBase = at("WaterBase");
    WaterMin = at("WaterMin");
    View = at("View");
    Layer = at("Layer");
    LayerExtent = at("LayerExtent");
    LayerScale = at("LayerScale");
    ContourStep = at("ContourStep");
    DriveSlope = at("DriveSlope");
}

void TerrainShadingProgram::Apply(const TerrainShading& Shading) const
{
    const SpringMapLook& look = Shading.Look;
    float sun[3];
    NormaliseSunDir(look, sun);
    glUniform3fv(SunDir, 1, sun);
    glUniform3fv(GroundAmbient, 1, look.GroundAmbient.data());
    glUniform3fv(GroundDiffuse, 1, look.GroundDiffuse.data());
    glUniform3fv(Eye, 1, Shading.EyeWorld);
    float fogStart = 0.0f, fogEnd = 0.0f;
    GetFogRangeWorld(look, Shading.ViewRangeWorld, fogStart, fogEnd);
    glUniform2f(FogRange, fogStart, fogEnd);
    glUniform3fv(FogColour, 1, look.FogColour.data());
    glUniform3fv(WaterAbsorb, 1, look.WaterAbsorb.data());
    glUniform3fv(WaterBase, 1, look.WaterBase.data());
    glUniform3fv(WaterMin, 1, look.WaterMin.data());
    glUniform1i(View, static_cast<int>(GetDrawnView(Shading)));
    glUniform1i(Layer, LayerTextureUnit);
    glUniform2fv(LayerExtent, 1, Shading.LayerExtentWorld);
    glUniform1f(LayerScale, Shading.LayerScale);
    glUniform1f(ContourStep, Shading.ContourStepWorld);
    glUniform1f(DriveSlope, Shading.DriveSlope);
    glActiveTexture(GL_TEXTURE0 + LayerTextureUnit);
    glBindTexture(GL_TEXTURE_2D, Shading.LayerTexture);
    glActiveTexture(GL_TEXTURE0);
}

AuthorView GetDrawnView(const TerrainShading& Shading)
{
    // Without its grid a view would read an unbound texture: it falls back to the plain ground.
    const bool bNeedsLayer = Shading.View != AuthorView::Off && Shading.View != AuthorView::Height;
    return !bNeedsLayer || Shading.LayerTexture != 0 ? Shading.View : AuthorView::Off;
}

std::string TerrainShadingProgram::GetDefines(const TerrainShading& Shading, float LowestHeightWorld)
{
    const bool bWater = Shading.bWater && LowestHeightWorld < 0.0f;
    return std::string("#define AUTHOR_VIEW ") + (GetDrawnView(Shading) != AuthorView::Off ? "1" : "0") +
           "\n#define WATER " + (bWater ? "1" : "0") + "\n";
}

void GetFogRangeWorld(const SpringMapLook& Look, float ViewRangeWorld, float& StartWorld, float& EndWorld)
{
    const bool bFog = ViewRangeWorld > 0.0f && Look.FogEnd > Look.FogStart;
    StartWorld = bFog ? Look.FogStart * ViewRangeWorld : 0.0f;
    EndWorld = bFog ? Look.FogEnd * ViewRangeWorld : 0.0f;
}

void NormaliseSunDir(const SpringMapLook& Look, float Out[3])
{
    const auto& d = Look.SunDir;
    const float length = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
    for (int i = 0; i < 3; ++i)
        Out[i] = length > 0.0f ? d[i] / length : (i == 1 ? 1.0f : 0.0f);
}
