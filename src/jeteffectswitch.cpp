#include "jeteffectswitch.h"

#include "jetexhaust.h"

void JetEffectSwitch::Toggle(JetExhaustSystem& Effect)
{
    Effect.ToggleEnabled();
    JetExhaustDebugSettings& settings = Effect.Debug();
    bool* features[4] = {&settings.ShimmerEnabled, &settings.BloomEnabled, &settings.DepthFogEnabled,
                         &settings.ContrailsEnabled};
    for (int i = 0; i < 4; ++i)
    {
        if (!settings.Enabled)
            bSaved[i] = *features[i];
        *features[i] = settings.Enabled && bSaved[i];
    }
}
