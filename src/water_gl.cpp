#include "water_gl.h"

#include "glprogram.h"
#include "heighttexture_gl.h"
#include "springmap_renderer.h"
#include "terrain_shading.h"

namespace
{
// Two triangles over the map at height 0, from the vertex index alone.
const char* VertexShader = R"(#version 330 core
uniform mat4 ViewProj;
uniform vec2 MapSize;
out vec3 WorldPos;
void main()
{
    const vec2 corners[6] = vec2[6](vec2(0, 0), vec2(1, 0), vec2(1, 1), vec2(0, 0), vec2(1, 1), vec2(0, 1));
    WorldPos = vec3(corners[gl_VertexID].x * MapSize.x, 0.0, corners[gl_VertexID].y * MapSize.y);
    gl_Position = ViewProj * vec4(WorldPos, 1.0);
}
)";

// Grid: 1 / the square size and the corner count per side, so a corner's height sits at its texel's centre.
const char* FragmentShader = R"(#version 330 core
in vec3 WorldPos;
uniform sampler2D Heights;
uniform vec4 Grid;
uniform vec4 Surface; // colour and opacity
uniform vec3 Eye;
uniform vec2 FogRange;
uniform vec3 FogColour;
out vec4 Colour;
void main()
{
    vec2 uv = (WorldPos.xz * Grid.xy + 0.5) / Grid.zw;
    if (texture(Heights, uv).r >= 0.0)
        discard;
    vec3 c = Surface.rgb;
    if (FogRange.y > 0.0)
        c = mix(c, FogColour, clamp((distance(WorldPos, Eye) - FogRange.x) / (FogRange.y - FogRange.x), 0.0, 1.0));
    Colour = vec4(c, Surface.a);
}
)";
} // namespace

WaterGL::~WaterGL()
{
    // A viewport that never drew has no context to free anything in.
    if (!Program)
        return;
    glDeleteProgram(Program);
    glDeleteVertexArrays(1, &EmptyArray);
    glDeleteTextures(1, &HeightTexture);
}

bool WaterGL::Create(std::string& Error)
{
    Program = CreateGLProgram(VertexShader, FragmentShader, Error);
    if (!Program)
        return false;
    ViewProjLocation = glGetUniformLocation(Program, "ViewProj");
    MapSizeLocation = glGetUniformLocation(Program, "MapSize");
    GridLocation = glGetUniformLocation(Program, "Grid");
    SurfaceLocation = glGetUniformLocation(Program, "Surface");
    EyeLocation = glGetUniformLocation(Program, "Eye");
    FogRangeLocation = glGetUniformLocation(Program, "FogRange");
    FogColourLocation = glGetUniformLocation(Program, "FogColour");
    glGenVertexArrays(1, &EmptyArray);
    glGenTextures(1, &HeightTexture);
    return true;
}

void WaterGL::UploadHeights(const SpringMapRenderer& Map)
{
    // Linear, so the shore follows the ground between corners instead of stepping square by square.
    UploadHeightTexture(HeightTexture, Map, GL_LINEAR);
    UploadedRevision = Map.GetLoadRevision();
}

bool WaterGL::Draw(const SpringMapRenderer& Map, const TerrainShading& Shading, const float* ViewProj4x4)
{
    if (!Map.IsLoaded() || !(Map.GetLowestHeight() < 0.0f))
        return true;
    if (!Program && (!CreateError.empty() || !Create(CreateError)))
        return false;
    glActiveTexture(GL_TEXTURE0);
    if (UploadedRevision != Map.GetLoadRevision())
        UploadHeights(Map);
    const SpringMapLook& look = Shading.Look;
    float fogStart = 0.0f, fogEnd = 0.0f;
    GetFogRangeWorld(look, Shading.ViewRangeWorld, fogStart, fogEnd);
    glUseProgram(Program);
    glUniformMatrix4fv(ViewProjLocation, 1, GL_FALSE, ViewProj4x4);
    glUniform2f(MapSizeLocation, Map.GetWorldWidth(), Map.GetWorldDepth());
    glUniform4f(GridLocation, 1.0f / Map.GetSquareSize(), 1.0f / Map.GetSquareSize(),
                static_cast<float>(Map.GetGridWidth()), static_cast<float>(Map.GetGridHeight()));
    glUniform4f(SurfaceLocation, look.WaterSurface[0], look.WaterSurface[1], look.WaterSurface[2],
                look.WaterSurfaceAlpha);
    glUniform3fv(EyeLocation, 1, Shading.EyeWorld);
    glUniform2f(FogRangeLocation, fogStart, fogEnd);
    glUniform3fv(FogColourLocation, 1, look.FogColour.data());
    glBindTexture(GL_TEXTURE_2D, HeightTexture);
    // Over the ground it covers, under nothing: tested against the terrain's depth, writing none.
    glEnable(GL_DEPTH_TEST);
    glDepthMask(GL_FALSE);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glBindVertexArray(EmptyArray);
    glDrawArrays(GL_TRIANGLES, 0, 6);
    glBindVertexArray(0);
    glDisable(GL_BLEND);
    glDepthMask(GL_TRUE);
    glBindTexture(GL_TEXTURE_2D, 0);
    glUseProgram(0);
    return true;
}
