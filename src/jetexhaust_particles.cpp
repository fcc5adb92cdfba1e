#include "jetexhaust_particles.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace
{
struct PresetWork
{
    int PlumeParticles;
    int ContrailParticles;
    int BlurIterations;
    int BlurTaps;
    int BloomDivisor;
};

// Indexed by JetExhaustQuality; a stored value outside 0..2 gets High, as the panel shows it.
constexpr PresetWork Presets[] = {
    {32, 16, 1, 5, 4},
    {64, 32, 2, 9, 2},
    {128, 64, 3, 13, 2},
};

// A stable pseudo-random value in [0, 1) for a particle, so the spread does not flicker.
float HashUnit(std::uint32_t value)
{
    value ^= value >> 16;
    value *= 0x7feb352dU;
    value ^= value >> 15;
    value *= 0x846ca68bU;
    value ^= value >> 16;
    return static_cast<float>(value >> 8) * (1.0f / 16777216.0f);
}

struct Basis
{
    float Back[3]; // unit, opposite to the flight
    float Side[3]; // unit, perpendicular to Back
    float Lift[3]; // unit, perpendicular to both
};

bool MakeBasis(const JetExhaustEmitter& Emitter, Basis& Out)
{
    const float* d = Emitter.Direction;
    const float* q = Emitter.Position;
    if (!std::isfinite(q[0]) || !std::isfinite(q[1]) || !std::isfinite(q[2]))
        return false;
    const float length = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
    if (!std::isfinite(length) || length <= 0.0f)
        return false;
    const float b[3] = {-d[0] / length, -d[1] / length, -d[2] / length};
    // Any axis not parallel to the plume gives a side vector; world up unless flying straight up.
    const float up[3] = {std::fabs(b[1]) < 0.9f ? 0.0f : 1.0f, std::fabs(b[1]) < 0.9f ? 1.0f : 0.0f, 0.0f};
    float s[3] = {up[1] * b[2] - up[2] * b[1], up[2] * b[0] - up[0] * b[2], up[0] * b[1] - up[1] * b[0]};
    const float sideLength = std::sqrt(s[0] * s[0] + s[1] * s[1] + s[2] * s[2]);
    for (float& v : s)
        v /= sideLength;
    Out = {{b[0], b[1], b[2]},
           {s[0], s[1], s[2]},
           {b[1] * s[2] - b[2] * s[1], b[2] * s[0] - b[0] * s[2], b[0] * s[1] - b[1] * s[0]}};
    return true;
}

struct Stream
{
    int Count;
    float LengthWorld;
    float SpeedPerSec; // world units per second the particles drift back
    float SpreadWorld; // sideways offset at the tail
    float NozzleSize;  // billboard half-size at the nozzle
    float TailSize;    // and at the tail
    float Kind;
};

void EmitStream(const JetExhaustEmitter& Emitter, const Basis& Axes, const Stream& S, std::uint32_t Seed,
                double TimeSec, std::vector<JetExhaustParticle>& Out)
{
    // The phase advances with time so particles flow backwards; fmod keeps it exact for long runs.
    const double drift = std::fmod(TimeSec * S.SpeedPerSec / S.LengthWorld, 1.0);
    for (int i = 0; i < S.Count; ++i)
    {
        const std::uint32_t id = Seed * 2654435761U + static_cast<std::uint32_t>(i) * 2246822519U;
        double phase = (i + HashUnit(id)) / S.Count + drift;
        phase -= std::floor(phase);
        const float t = static_cast<float>(phase); // 0 at the nozzle, 1 at the tail
        const float angle = HashUnit(id ^ 0x9e3779b9U) * 6.2831853f;
        const float spread = S.SpreadWorld * t * HashUnit(id ^ 0x85ebca6bU);
        const float along = t * S.LengthWorld;
        const float side = std::cos(angle) * spread, lift = std::sin(angle) * spread;
        JetExhaustParticle p;
        p.X = Emitter.Position[0] + Axes.Back[0] * along + Axes.Side[0] * side + Axes.Lift[0] * lift;
        p.Y = Emitter.Position[1] + Axes.Back[1] * along + Axes.Side[1] * side + Axes.Lift[1] * lift;
        p.Z = Emitter.Position[2] + Axes.Back[2] * along + Axes.Side[2] * side + Axes.Lift[2] * lift;
        p.SizeWorld = S.NozzleSize + (S.TailSize - S.NozzleSize) * t;
        p.Heat = S.Kind > 0.0f ? 0.0f : (1.0f - t) * std::sqrt(1.0f - t);
        p.Kind = S.Kind;
        Out.push_back(p);
    }
}
} // namespace

JetExhaustWork GetJetExhaustWork(const JetExhaustDebugSettings& Settings)
{
    const int index = static_cast<int>(Settings.Quality);
    const PresetWork& preset = Presets[index >= 0 && index <= 2 ? index : 2];
    JetExhaustWork work;
    work.PlumeParticlesPerEmitter = preset.PlumeParticles;
    work.ContrailParticlesPerEmitter = Settings.ContrailsEnabled ? preset.ContrailParticles : 0;
    work.BlurIterations = Settings.BloomEnabled ? preset.BlurIterations : 0;
    work.BlurTaps = preset.BlurTaps;
    work.BloomDivisor = preset.BloomDivisor;
    work.bShimmer = Settings.ShimmerEnabled;
    work.bDepthFog = Settings.DepthFogEnabled;
    return work;
}

int BuildJetExhaustParticles(const std::vector<JetExhaustEmitter>& Emitters, const JetExhaustWork& Work,
                             float PlumeLength, double TimeSec, std::vector<JetExhaustParticle>& Particles)
{
    Particles.clear();
    if (!std::isfinite(PlumeLength) || PlumeLength <= 0.0f || !std::isfinite(TimeSec))
        return 0;
    Particles.reserve(Emitters.size() * static_cast<std::size_t>(Work.PlumeParticlesPerEmitter +
                                                                 Work.ContrailParticlesPerEmitter));
    const float trailLength = PlumeLength * JetExhaustContrailLengthFactor;
    const Stream plume{Work.PlumeParticlesPerEmitter,
                       PlumeLength,
                       PlumeLength * 4.0f,
                       PlumeLength * 0.08f,
                       PlumeLength * 0.03f,
                       PlumeLength * 0.1f,
                       0.0f};
    // Contrail puffs overlap from the start, so the trail reads as a band rather than dots.
    const Stream trail{Work.ContrailParticlesPerEmitter,
                       trailLength,
                       PlumeLength * 2.0f,
                       PlumeLength * 0.25f,
                       PlumeLength * 0.12f,
                       PlumeLength * 0.4f,
                       1.0f};
    // All plume particles first: the mask pass draws only those, the hot ones.
    int plumeCount = 0;
    for (const Stream* pStream : {&plume, &trail})
        for (std::size_t e = 0; e < Emitters.size(); ++e)
        {
            Basis axes;
            if (!MakeBasis(Emitters[e], axes))
                continue;
            const std::uint32_t seed = static_cast<std::uint32_t>(e) * 2U + (pStream == &trail ? 1U : 0U);
            EmitStream(Emitters[e], axes, *pStream, seed, TimeSec, Particles);
            plumeCount += pStream == &plume ? pStream->Count : 0;
        }
    return plumeCount;
}

bool FindJetExhaustScreenRect(const std::vector<JetExhaustParticle>& Particles,
                              const std::array<float, 16>& ViewProjection, float MarginU, float MarginV,
                              float RectUv[4])
{
    const std::array<float, 16>& m = ViewProjection;
    // A billboard's corners lie SizeWorld along the camera's right and up axes: their reach in
    // clip units is the size times the length of those rows.
    const float reachX = std::hypot(m[0], m[4], m[8]), reachY = std::hypot(m[1], m[5], m[9]);
    float left = 1.0f, bottom = 1.0f, right = -1.0f, top = -1.0f; // normalised device units
    for (const JetExhaustParticle& p : Particles)
    {
        const float x = m[0] * p.X + m[4] * p.Y + m[8] * p.Z + m[12];
        const float y = m[1] * p.X + m[5] * p.Y + m[9] * p.Z + m[13];
        const float w = m[3] * p.X + m[7] * p.Y + m[11] * p.Z + m[15];
        // The billboard faces the camera, so its corners share the centre's depth w.
        if (!(w > 1e-3f))
        {
            // At the eye's plane or behind it: its projection is unbounded, so take everything.
            left = bottom = -1.0f, right = top = 1.0f;
            break;
        }
        const float rx = p.SizeWorld * reachX / w, ry = p.SizeWorld * reachY / w;
        left = std::min(left, x / w - rx), right = std::max(right, x / w + rx);
        bottom = std::min(bottom, y / w - ry), top = std::max(top, y / w + ry);
    }
    const float u0 = std::max(0.0f, (left + 1.0f) * 0.5f - MarginU),
                u1 = std::min(1.0f, (right + 1.0f) * 0.5f + MarginU);
    const float v0 = std::max(0.0f, (bottom + 1.0f) * 0.5f - MarginV),
                v1 = std::min(1.0f, (top + 1.0f) * 0.5f + MarginV);
    if (!(u0 < u1 && v0 < v1))
        return false;
    RectUv[0] = u0, RectUv[1] = v0, RectUv[2] = u1, RectUv[3] = v1;
    return true;
}
