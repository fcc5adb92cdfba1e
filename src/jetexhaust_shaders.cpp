#include "jetexhaust_shaders.h"

#include "glprogram.h"

namespace
{
// Billboards facing the camera; shared by the scene and mask passes so both see the same shapes.
const char* const ParticleVertex = R"(#version 330 core
layout(location = 0) in vec2 Corner;
layout(location = 1) in vec4 CentreSize;
layout(location = 2) in vec2 HeatKind;
uniform mat4 ViewProjection;
uniform vec3 CameraRight;
uniform vec3 CameraUp;
uniform float FogDensity;
out vec2 QuadUv;
out float Heat;
out float Kind;
out float Fog;
void main()
{
    vec3 world = CentreSize.xyz + (CameraRight * Corner.x + CameraUp * Corner.y) * CentreSize.w;
    gl_Position = ViewProjection * vec4(world, 1.0);
    QuadUv = Corner;
    Heat = HeatKind.x;
    Kind = HeatKind.y;
    Fog = 1.0 - exp(-FogDensity * max(gl_Position.w, 0.0));
}
)";

const char* const SceneFragment = R"(#version 330 core
in vec2 QuadUv;
in float Heat;
in float Kind;
in float Fog;
uniform float Brightness;
uniform vec3 FogColour;
out vec4 FragColour;
void main()
{
    float r2 = dot(QuadUv, QuadUv);
    if (r2 > 1.0)
        discard;
    float falloff = (1.0 - r2) * (1.0 - r2);
    vec3 flame = mix(vec3(1.0, 0.32, 0.06), vec3(1.0, 0.92, 0.7), Heat * Heat) * (0.2 + 1.8 * Heat) * Brightness;
    vec3 trail = vec3(0.72, 0.76, 0.82) * 0.16;
    vec3 colour = mix(flame, trail, Kind) * falloff;
    FragColour = vec4(mix(colour, FogColour * falloff * 0.05, Fog), falloff * (1.0 - Fog));
}
)";

const char* const MaskFragment = R"(#version 330 core
in vec2 QuadUv;
in float Heat;
in float Fog;
uniform float Strength;
out vec4 FragHeat;
void main()
{
    float r2 = dot(QuadUv, QuadUv);
    if (r2 > 1.0)
        discard;
    FragHeat = vec4(Heat * (1.0 - r2) * Strength * (1.0 - Fog), 0.0, 0.0, 1.0);
}
)";

// One triangle covering the target; Uv runs 0..1 over it.
const char* const FullScreenVertex = R"(#version 330 core
out vec2 Uv;
void main()
{
    vec2 corner = vec2(float((gl_VertexID << 1) & 2), float(gl_VertexID & 2));
    Uv = corner;
    gl_Position = vec4(corner * 2.0 - 1.0, 0.0, 1.0);
}
)";

const char* const ShimmerFragment = R"(#version 330 core
in vec2 Uv;
uniform sampler2D Background;
uniform sampler2D Mask;
uniform float TimeSec;
uniform float AmplitudeUv;
out vec4 FragColour;
void main()
{
    float heat = clamp(texture(Mask, Uv).r, 0.0, 1.0);
    vec2 wobble = vec2(sin(Uv.y * 90.0 + TimeSec * 11.0), cos(Uv.x * 70.0 + TimeSec * 13.0));
    vec3 behind = texture(Background, Uv + wobble * AmplitudeUv * heat).rgb;
    FragColour = vec4(behind * heat, heat);
}
)";

// A separable Gaussian along Step; the first horizontal run also keeps only what exceeds Threshold.
const char* const BloomFragment = R"(#version 330 core
in vec2 Uv;
uniform sampler2D Source;
uniform vec2 Step;
uniform int Taps;
uniform float Threshold;
out vec4 FragColour;
void main()
{
    int side = Taps / 2;
    float sigma = float(side) * 0.5 + 0.5;
    vec3 sum = vec3(0.0);
    float weightSum = 0.0;
    for (int i = -side; i <= side; ++i)
    {
        float weight = exp(-float(i * i) / (2.0 * sigma * sigma));
        vec3 c = max(texture(Source, Uv + Step * float(i)).rgb - vec3(Threshold), vec3(0.0));
        sum += c * weight;
        weightSum += weight;
    }
    FragColour = vec4(sum / weightSum, 1.0);
}
)";

// Premultiplied: drawn with (ONE, ONE_MINUS_SRC_ALPHA), so the heat replaces what it covers by
// the displaced background, and flame and glow add light.
const char* const CompositeFragment = R"(#version 330 core
in vec2 Uv;
uniform sampler2D Plume;
uniform sampler2D Shimmer;
uniform sampler2D Bloom;
uniform bool bShimmer;
uniform bool bBloom;
uniform float BloomStrength;
out vec4 FragColour;
void main()
{
    vec4 heat = bShimmer ? texture(Shimmer, Uv) : vec4(0.0);
    vec3 glow = bBloom ? texture(Bloom, Uv).rgb * BloomStrength : vec3(0.0);
    FragColour = vec4(heat.rgb + texture(Plume, Uv).rgb + glow, heat.a);
}
)";

const JetExhaustShaderSource Sources[JetExhaustPassCount] = {
    {"scene", ParticleVertex, SceneFragment},           {"mask", ParticleVertex, MaskFragment},
    {"shimmer", FullScreenVertex, ShimmerFragment},     {"bloom", FullScreenVertex, BloomFragment},
    {"composite", FullScreenVertex, CompositeFragment},
};

// The first non-empty line of a driver log, without trailing blanks.
std::string FirstLine(const std::string& Log)
{
    std::size_t begin = 0;
    while (begin < Log.size())
    {
        const std::size_t end = Log.find('\n', begin);
        std::string line = Log.substr(begin, end == std::string::npos ? std::string::npos : end - begin);
        while (!line.empty() && (line.back() == ' ' || line.back() == '\r' || line.back() == '\t'))
            line.pop_back();
        if (!line.empty())
            return line;
        if (end == std::string::npos)
            break;
        begin = end + 1;
    }
    return "no log";
}

} // namespace

const JetExhaustShaderSource& GetJetExhaustShaderSource(JetExhaustPass Pass)
{
    return Sources[static_cast<int>(Pass)];
}

GLuint BuildJetExhaustProgram(JetExhaustPass Pass, const std::string& VertexSource,
                              const std::string& FragmentSource, std::string& Status)
{
    const char* name = GetJetExhaustShaderSource(Pass).Name;
    GLProgramStage failedStage = GLProgramStage::None;
    std::string log;
    const GLuint program = BuildGLProgram(VertexSource.c_str(), FragmentSource.c_str(), failedStage, log);
    if (program != 0)
        return program;
    const std::string reason = FirstLine(log);
    if (failedStage == GLProgramStage::Compile)
        Status = std::string("Shader ") + name + ": " + reason;
    else
        Status = Pass == JetExhaustPass::Composite ? "Composite link: " + reason
                                                   : std::string("Shader ") + name + " link: " + reason;
    return 0;
}
