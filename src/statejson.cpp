#include "statejson.h"

#include <cmath>
#include <cstdio>

#include "glviewport.h"
#include "glwindow.h"
#include "rotatecontinuity.h"
#include "vehicleunit.h"

std::string JsonQuote(const std::string& Text)
{
    std::string out = "\"";
    for (const char c : Text)
    {
        switch (c)
        {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20)
            {
                char escaped[8];
                std::snprintf(escaped, sizeof(escaped), "\\u%04x", static_cast<unsigned>(c));
                out += escaped;
            }
            else
                out += c;
        }
    }
    return out + "\"";
}

std::string JsonNumber(double Value)
{
    if (!std::isfinite(Value))
        return "null";
    char text[32];
    std::snprintf(text, sizeof(text), "%.10g", Value);
    return text;
}

namespace
{
std::string JsonPoint(const Vec3D& Point)
{
    return "[" + JsonNumber(Point.X) + ", " + JsonNumber(Point.Y) + ", " + JsonNumber(Point.Z) + "]";
}

template <typename Container> std::string JsonPoints(const Container& Points)
{
    std::string out = "[";
    for (const Vec3D& point : Points)
        out += (out.size() > 1 ? ", " : "") + JsonPoint(point);
    return out + "]";
}

const char* JsonBool(bool b)
{
    return b ? "true" : "false";
}

std::string CameraJson(const GLViewport& View)
{
    return std::string("  \"camera\": {") + "\"yawDeg\": " + JsonNumber(GetRenderedYawDeg(View)) +
           ", \"pitchDeg\": " + JsonNumber(View.CameraPitchDeg) +
           ", \"distance\": " + JsonNumber(View.CameraDistance) +
           ", \"fovDeg\": " + JsonNumber(View.CameraFovDeg) + ", \"panX\": " + JsonNumber(View.PanX) +
           ", \"panY\": " + JsonNumber(View.PanY) + ", \"worldOffsetX\": " + JsonNumber(View.WorldOffsetX) +
           ", \"worldOffsetZ\": " + JsonNumber(View.WorldOffsetZ) +
           ", \"autoRotate\": " + JsonBool(View.bAutoRotate) +
           ", \"minDistance\": " + JsonNumber(View.MinCameraDistance) +
           ", \"maxDistance\": " + JsonNumber(View.MaxCameraDistance) + "},\n";
}

std::string EffectsJson(const GLViewport& View)
{
    return "  \"effects\": {\"quality\": " +
           std::to_string(static_cast<int>(View.JetExhaust.Debug().Quality)) +
           ", \"scale\": " + JsonNumber(View.JetEffectsScale) + "},\n";
}

std::string SelectionJson(const GLViewport& View)
{
    std::string vehicles = "[";
    for (std::size_t i = 0; i < View.VehicleSelectionMask.size(); ++i)
        if (View.VehicleSelectionMask[i])
            vehicles += (vehicles.size() > 1 ? ", " : "") + std::to_string(i);
    return "  \"selection\": {\"vehicles\": " + vehicles +
           "], \"aircraft\": " + JsonBool(View.bAirUnitsSelected) + "},\n";
}

std::string VehiclesJson(const GLViewport& View)
{
    std::string out = "  \"vehicles\": [";
    bool bFirst = true;
    for (const auto& vehicle : View.Vehicles)
    {
        if (!vehicle)
            continue;
        out += bFirst ? "\n" : ",\n";
        bFirst = false;
        out += "    {\"position\": " + JsonPoint(vehicle->Position) +
               ", \"target\": " + (vehicle->bHasTarget ? JsonPoint(vehicle->Target) : std::string("null")) +
               ", \"queued\": " + JsonPoints(vehicle->WaypointQueue) + "}";
    }
    return out + (bFirst ? "],\n" : "\n  ],\n");
}

std::string AircraftJson(const GLViewport& View)
{
    std::string out = "  \"aircraft\": [";
    bool bFirst = true;
    for (const auto& air : View.AirUnits)
    {
        if (!air)
            continue;
        out += bFirst ? "\n" : ",\n";
        bFirst = false;
        const WaypointNavigator& navigator = air->Flight.Navigator;
        out += "    {\"position\": " + JsonPoint(air->Aircraft.Position) +
               ", \"targetAltitude\": " + JsonNumber(air->Aircraft.TargetAltitude) +
               ", \"hasOrder\": " + JsonBool(air->bHasActiveOrder) +
               ", \"command\": " + std::to_string(static_cast<int>(air->ActiveCommand.Type)) +
               ", \"path\": " + JsonPoints(navigator.GetPath()) +
               ", \"loop\": " + JsonBool(navigator.IsLooping()) + "}";
    }
    return out + (bFirst ? "],\n" : "\n  ],\n");
}

std::string MessagesJson(const GLWindow& Window)
{
    std::string out = "  \"statusMessages\": [";
    bool bFirst = true;
    for (const std::string& message : Window.GetStatusHistory())
    {
        out += (bFirst ? "\n    " : ",\n    ") + JsonQuote(message);
        bFirst = false;
    }
    return out + (bFirst ? "]\n" : "\n  ]\n");
}
std::string PanelsJson(const GLViewport& View, const PanelFacts& Panels)
{
    const auto flag = [](bool bOn) { return bOn ? "true" : "false"; };
    return std::string("  \"panels\": {\"help\": ") + flag(Panels.bHelp) +
           ", \"minimap\": " + flag(Panels.bMinimap) + ", \"frameStats\": " + flag(Panels.bFrameStats) +
           ", \"effects\": " + flag(View.bJetEffectsPanelVisible) +
           ", \"browser\": " + flag(Panels.bBrowser) +
           ", \"tooltip\": " + (Panels.pTooltip ? JsonQuote(Panels.pTooltip) : std::string("null")) + "},\n";
}

// What the map shows besides its ground, and its features counted by type (types without any left out).
std::string MapLookJson(const GLViewport& View)
{
    const SpringMapLayers& layers = View.SpringMap.GetLayers();
    std::vector<int> counts(layers.FeatureTypes.size(), 0);
    for (const SpringMapLayers::Feature& feature : layers.Features)
        ++counts[static_cast<std::size_t>(feature.Type)];
    std::string features;
    for (std::size_t i = 0; i < counts.size(); ++i)
        if (counts[i] > 0)
            features += (features.empty() ? "" : ", ") + JsonQuote(layers.FeatureTypes[i]) + ": " +
                        std::to_string(counts[i]);
    const MapLookOptions& display = View.MapDisplay;
    return std::string("  \"look\": {\"water\": ") + JsonBool(display.bWater) +
           ", \"features\": " + JsonBool(display.bFeatures) +
           ", \"view\": " + JsonQuote(GetAuthorViewName(display.View)) + "},\n  \"features\": {" + features +
           "},\n";
}
} // namespace

std::string JsonStrings(const std::vector<std::string>& Texts)
{
    std::string out = "[";
    for (const std::string& text : Texts)
        out += (out.size() > 1 ? ", " : "") + JsonQuote(text);
    return out + "]";
}

std::string BuildStateJson(const GLViewport& View, const GLWindow& Window, int FramesRendered,
                           const MapFacts& Map, const PanelFacts& Panels)
{
    return "{\n  \"frames\": " + std::to_string(FramesRendered) + ",\n" + CameraJson(View) +
           EffectsJson(View) + SelectionJson(View) + VehiclesJson(View) + AircraftJson(View) +
           "  \"map\": {\"name\": " + JsonQuote(Map.Name) + ", \"path\": " + JsonQuote(Map.Path) +
           ", \"reloads\": " + std::to_string(Map.Reloads) + "},\n" + MapLookJson(View) +
           "  \"warnings\": " + JsonStrings(Map.Warnings) + ",\n" + PanelsJson(View, Panels) +
           MessagesJson(Window) + "}\n";
}
