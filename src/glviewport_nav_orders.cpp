// Selection and orders (placeholder until they land).
#include "glviewport.h"

void GLViewport::ProcessPatrolKeys(bool, bool) {}
bool GLViewport::ProcessPatrolClicks(const MouseFrame&) { return false; }
void GLViewport::ProcessBoxSelection(const MouseFrame&) {}
bool GLViewport::ProcessOrderGesture(const MouseFrame&) { return false; }
void GLViewport::SelectVehiclesInScreenRect(double, double, double, double, bool) {}
void GLViewport::RenderUnitSelectionOverlay() const {}
void GLViewport::SubmitSelectedVehicleRoute(const Vec3D&, bool) {}
void GLViewport::SubmitSelectedVehicleFormationRoute(const std::vector<Vec3D>&, bool) {}
void GLViewport::RenderFormationOrderOverlay() const {}
void GLViewport::SubmitSelectedAirRoute(const std::vector<Vec3D>&, bool) {}
void GLViewport::SubmitSelectedAirPatrol(const Vec3D&, bool) {}
bool GLViewport::SetSpringVehicleWaypointFromScreen(double, double, bool) { return false; }
