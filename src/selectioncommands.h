#pragma once

#include <array>
#include <string>
#include <vector>

class GLViewport;

// Keyboard commands on the viewport's selection. Each returns the one-line status message that
// confirms what it did.

// "14 vehicles", "1 vehicle", "the aircraft", "14 vehicles and the aircraft" or "no units".
std::string DescribeUnits(int VehicleCount, bool bAircraft);

// Every controllable vehicle and, when there are any, the aircraft.
std::string SelectAllUnits(GLViewport& View);
// The selected vehicles and aircraft drop their orders and stop where they are.
std::string StopSelectedUnits(GLViewport& View);
// Turns the view on the selected units, keeping yaw and pitch: their centroid comes to the middle
// of the view and the camera backs off until all of them fit.
std::string FrameSelectedUnits(GLViewport& View);

// Nine stored selections. A group remembers vehicles by their place in the list of controllable
// vehicles, so it survives orders and moves but not a new set of units (it is then cut to fit).
class SelectionGroups
{
  public:
    static constexpr int Count = 9;
    // Group is 1..Count; other numbers do nothing and return an empty message.
    std::string Store(int Group, GLViewport& View);
    std::string Recall(int Group, GLViewport& View) const;
    // Forgets every group: a new map places new units.
    void Clear() { Groups = {}; }

  private:
    struct Group
    {
        std::vector<bool> VehicleMask;
        bool bAircraft = false;
    };
    std::array<Group, Count> Groups;
};
