#pragma once

#include <array>
#include <vector>

#include "jetexhaust.h"

// How much work a frame of the effect does, from the quality preset and the feature switches.
struct JetExhaustWork
{
    int PlumeParticlesPerEmitter = 0;
    int ContrailParticlesPerEmitter = 0; // 0 with contrails off
    int BlurIterations = 0;              // 0 with bloom off
    int BlurTaps = 0;                    // odd: the centre plus the same count on each side
    int BloomDivisor = 1;                // the bloom targets are this many times smaller per axis
    bool bShimmer = false;               // mask and shimmer passes run
    bool bDepthFog = false;
};

JetExhaustWork GetJetExhaustWork(const JetExhaustDebugSettings& Settings);

// One billboard: its centre and size in world units, its heat (1 at the nozzle, falling to 0 at the
// tail) and its kind (0 hot plume, 1 contrail). Laid out as the per-instance vertex attributes.
struct JetExhaustParticle
{
    float X = 0.0f, Y = 0.0f, Z = 0.0f;
    float SizeWorld = 0.0f;
    float Heat = 0.0f;
    float Kind = 0.0f;
};

constexpr float JetExhaustContrailLengthFactor = 6.0f; // contrails trail this many plume lengths

// Fills Particles (replacing its contents) with the billboards of every usable emitter: particles
// stream backwards from the nozzle over PlumeLength (contrails over six times that) as TimeSec runs,
// each with a fixed sideways spread. Emitters with a non-finite position or a zero or non-finite
// direction are skipped. The hot plume particles of all emitters come first; returns their count.
int BuildJetExhaustParticles(const std::vector<JetExhaustEmitter>& Emitters, const JetExhaustWork& Work,
                             float PlumeLength, double TimeSec, std::vector<JetExhaustParticle>& Particles);

// The part of the viewport the billboards can cover, as 0..1 across and up (left, bottom, right,
// top), grown by MarginU and MarginV and clipped to the viewport. False when none is in view. A
// billboard at the eye's plane or behind it may cover anything: the rect is then the whole viewport.
bool FindJetExhaustScreenRect(const std::vector<JetExhaustParticle>& Particles,
                              const std::array<float, 16>& ViewProjection, float MarginU, float MarginV,
                              float RectUv[4]);
