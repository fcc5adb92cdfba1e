#include "sky_gl.h"

#include <algorithm>
#include <cmath>

#include "glprogram.h"

namespace
{
// One triangle that covers the viewport, made from the vertex index alone.
const char* VertexShader = R"(#version 330 core
out float NdcY;
void main()
{
    vec2 corner = vec2(float((gl_VertexID & 1) * 4 - 1), float((gl_VertexID & 2) * 2 - 1));
    NdcY = corner.y;
    gl_Position = vec4(corner, 0.0, 1.0);
}
)";

// The map's fog colour at the horizon, its sky colour overhead; below the horizon (only seen past the
// map's edge) the haze darkens a little towards the ground.
const char* FragmentShader = R"(#version 330 core
uniform float HorizonNdcY;
uniform vec3 Haze;
uniform vec3 Zenith;
in float NdcY;
out vec4 FragColour;
void main()
{
    float above = NdcY - HorizonNdcY;
    vec3 colour = above >= 0.0 ? mix(Haze, Zenith, clamp(above * 0.9, 0.0, 1.0))
                               : mix(Haze, Haze * 0.2, clamp(-above * 2.0, 0.0, 1.0));
    FragColour = vec4(colour, 1.0);
}
)";
} // namespace

SkyGL::~SkyGL()
{
    glDeleteVertexArrays(1, &EmptyArray);
    if (Program)
        glDeleteProgram(Program);
}

bool SkyGL::Create(std::string& Error)
{
    Program = CreateGLProgram(VertexShader, FragmentShader, Error);
    if (Program == 0)
        return false;
    HorizonLocation = glGetUniformLocation(Program, "HorizonNdcY");
    HazeLocation = glGetUniformLocation(Program, "Haze");
    ZenithLocation = glGetUniformLocation(Program, "Zenith");
    // A core context draws only with a vertex array bound, even one without attributes.
    glGenVertexArrays(1, &EmptyArray);
    return true;
}

double SkyGL::GetHorizonNdcY(double PitchDeg, double FovDeg)
{
    const double halfFovRad = std::clamp(FovDeg, 1.0, 170.0) * M_PI / 360.0;
    // Beyond a quarter turn up or down the horizon is off screen anyway; the clamp keeps tan finite.
    const double pitchRad = std::clamp(PitchDeg, -89.0, 89.0) * M_PI / 180.0;
    return std::tan(pitchRad) / std::tan(halfFovRad);
}

void SkyGL::Draw(double PitchDeg, double FovDeg, const SpringMapLook& Look) const
{
    if (Program == 0)
        return;
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_BLEND);
    glUseProgram(Program);
    glUniform1f(HorizonLocation, static_cast<float>(GetHorizonNdcY(PitchDeg, FovDeg)));
    glUniform3fv(HazeLocation, 1, Look.FogColour.data());
    glUniform3fv(ZenithLocation, 1, Look.SkyColour.data());
    glBindVertexArray(EmptyArray);
    glDrawArrays(GL_TRIANGLES, 0, 3);
    glBindVertexArray(0);
}
