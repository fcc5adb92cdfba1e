#pragma once

class FontMetrics;

// The small font for a viewport of a given size in pixels: the largest size from 9 to 13 px at which
// the effects panel's longest fixed row (its help row) fits between the panel's content edge and its
// right edge, and which its row pitch holds without the rows running into each other. bFits is false
// when not even 9 px, the panel's floor, fits: SizePx is 9 then.
struct EffectsPanelFont
{
    int SizePx = 9;
    bool bFits = false;
};

EffectsPanelFont ChooseEffectsPanelFont(const FontMetrics& Metrics, int ViewportWidthPx,
                                        int ViewportHeightPx);
