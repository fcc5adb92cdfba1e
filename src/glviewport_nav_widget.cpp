// Navigation widget and auto-rotate toggle (placeholder until the widget lands).
#include "glviewport.h"

bool GLViewport::GetNavWidgetPanelRect(double&, double&, double&, double&) const { return false; }
bool GLViewport::GetAutoRotateToggleRect(double&, double&, double&, double&) const { return false; }
int GLViewport::HitNavButton(double, double, bool* pbInsidePanel) const
{
    if (pbInsidePanel)
        *pbInsidePanel = false;
    return 0;
}
void GLViewport::ApplyNavButton(int ButtonID) { ApplyNavButtonScaled(ButtonID, 1.0); }
void GLViewport::ApplyNavButtonScaled(int, double) {}
void GLViewport::RenderNavWidgetOverlay() const {}
void GLViewport::SyncAutoRotateToggleState() const {}
void GLViewport::RenderAutoRotateToggleOverlay() const {}
