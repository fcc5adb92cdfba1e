// Effects panel (placeholder until it lands).
#include "glviewport.h"

bool GLViewport::GetJetEffectsPanelRect(double&, double&, double&, double&) const { return false; }
void GLViewport::RenderJetEffectsOverlay() const {}
bool GLViewport::ProcessEffectsPanelPress(MouseFrame&) { return false; }
