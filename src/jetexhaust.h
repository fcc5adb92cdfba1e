#pragma once

#include <cstdint>

enum class JetExhaustQuality : std::int32_t
{
    Low = 0,
    Medium = 1,
    High = 2
};

struct JetExhaustDebugSettings
{
    bool Enabled = true;
    bool ShimmerEnabled = true;
    bool BloomEnabled = true;
    bool DepthFogEnabled = true;
    bool ContrailsEnabled = true;
    float DepthFogStrength = 0.5f;
    bool ShowAttachments = false;
    JetExhaustQuality Quality = JetExhaustQuality::Medium;
    float LengthScale = 1.0f;
    float BrightnessScale = 1.0f;
    float DistortionScale = 1.0f;
};

// Jet-exhaust effects of the aircraft.
class JetExhaustSystem
{
public:
    const JetExhaustDebugSettings& Debug() const { return Settings; }
    JetExhaustDebugSettings& Debug() { return Settings; }

private:
    JetExhaustDebugSettings Settings;
};
