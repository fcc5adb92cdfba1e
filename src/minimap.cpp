#include "minimap.h"

#include <SDL3/SDL_keyboard.h>
#include <algorithm>
#include <array>
#include <cmath>

#include "glcolor.h"
#include "glviewport.h"
#include "glwindow.h"
#include "mouse.h"
#include "pixelcanvas.h"
#include "springmap_dxt1.h"
#include "springmap_renderer.h"
#include "vehicleunit.h"

namespace
{
// The map's minimap picture is DXT1 1024x1024 with its mip chain.
constexpr int MinimapBaseTexels = 1024;

// Heights from low to high as grass, earth and rock, for maps without a minimap picture.
std::array<std::uint8_t, 3> RampColour(double t01)
{
    const double t = std::clamp(t01, 0.0, 1.0);
    const double r = t < 0.5 ? 0.22 + t * 0.9 : 0.67 + (t - 0.5) * 0.5;
    const double g = t < 0.5 ? 0.42 + t * 0.3 : 0.57 + (t - 0.5) * 0.6;
    const double b = t < 0.5 ? 0.2 + t * 0.2 : 0.3 + (t - 0.5) * 1.0;
    return {static_cast<std::uint8_t>(r * 255.0), static_cast<std::uint8_t>(g * 255.0),
            static_cast<std::uint8_t>(b * 255.0)};
}

// Cuts the segment to the rectangle (Liang-Barsky); false when nothing of it lies inside.
bool ClipSegment(double& X1, double& Y1, double& X2, double& Y2, double Left, double Top, double Right,
                 double Bottom)
{
    const double dx = X2 - X1, dy = Y2 - Y1;
    double t0 = 0.0, t1 = 1.0;
    const double p[4] = {-dx, dx, -dy, dy};
    const double q[4] = {X1 - Left, Right - X1, Y1 - Top, Bottom - Y1};
    for (int i = 0; i < 4; ++i)
    {
        if (p[i] == 0.0)
        {
            if (q[i] < 0.0)
                return false;
            continue;
        }
        const double t = q[i] / p[i];
        if (p[i] < 0.0)
            t0 = std::max(t0, t);
        else
            t1 = std::min(t1, t);
    }
    if (t0 > t1)
        return false;
    const double startX = X1, startY = Y1;
    X1 = startX + t0 * dx;
    Y1 = startY + t0 * dy;
    X2 = startX + t1 * dx;
    Y2 = startY + t1 * dy;
    return true;
}

// The ground plane at GroundY under a viewport corner; a corner above the horizon slides down its side until
// the ground shows.
bool PickCorner(const GLViewport& View, double X01, double StartY01, double StepY01, double GroundY,
                Vec3D& Out)
{
    for (int i = 0; i <= 20; ++i)
        if (View.ScreenToSpringMapWorldAtHeight(X01, StartY01 + StepY01 * i, GroundY, Out))
            return true;
    return false;
}
} // namespace

bool DecodeMinimapRgb(const std::vector<std::uint8_t>& Blocks, int Cells, std::vector<std::uint8_t>& Rgb)
{
    std::uint64_t offset = 0;
    int texels = MinimapBaseTexels;
    for (; texels > Cells && texels >= 4; texels >>= 1)
        offset += SpringMapDxt1::LevelBytes(texels, texels);
    if (texels != Cells || Blocks.size() < offset + SpringMapDxt1::LevelBytes(Cells, Cells))
        return false;
    std::vector<std::uint8_t> rgba(static_cast<std::size_t>(Cells) * Cells * 4);
    SpringMapDxt1::DecodeImage(Blocks.data() + offset, Cells, Cells, rgba.data());
    Rgb.resize(static_cast<std::size_t>(Cells) * Cells * 3);
    for (std::size_t i = 0; i < static_cast<std::size_t>(Cells) * Cells; ++i)
        std::copy_n(&rgba[i * 4], 3, &Rgb[i * 3]);
    return true;
}

void Minimap::BuildPicture(const SpringMapRenderer& Map)
{
    Picture.clear();
    if (!Map.IsLoaded() || DecodeMinimapRgb(Map.GetMinimap(), CellCount, Picture))
        return;
    Picture.resize(static_cast<std::size_t>(CellCount) * CellCount * 3);
    const double range = std::max(Map.GetHighestHeight() - Map.GetLowestHeight(), 1e-3f);
    for (int row = 0; row < CellCount; ++row)
        for (int column = 0; column < CellCount; ++column)
        {
            const float x = (column + 0.5f) / CellCount * Map.GetWorldWidth();
            const float z = (row + 0.5f) / CellCount * Map.GetWorldDepth();
            const auto colour = RampColour((Map.GetTerrainHeight(x, z) - Map.GetLowestHeight()) / range);
            std::copy(colour.begin(), colour.end(),
                      &Picture[(static_cast<std::size_t>(row) * CellCount + column) * 3]);
        }
}

bool Minimap::GetMapRectPx(const GLViewport& View, int WidthPx, int HeightPx, double& X1Px, double& Y1Px,
                           double& X2Px, double& Y2Px) const
{
    const SpringMapRenderer& map = View.SpringMap;
    if (!bVisible || !map.IsLoaded() || !(map.GetWorldWidth() > 0.0f) || !(map.GetWorldDepth() > 0.0f))
        return false;
    // A fifth of the width or a third of the height, whichever is less: big enough to aim at, small
    // enough to leave the view free; 48 px at the least.
    const double sidePx = std::clamp(std::floor(std::min(0.2 * WidthPx, 0.3 * HeightPx)), 48.0, 240.0);
    const double aspect = map.GetWorldWidth() / map.GetWorldDepth();
    X1Px = MarginPx;
    Y1Px = MarginPx;
    X2Px = X1Px + (aspect >= 1.0 ? sidePx : sidePx * aspect);
    Y2Px = Y1Px + (aspect >= 1.0 ? sidePx / aspect : sidePx);
    return true;
}

bool Minimap::PixelToMap(const GLViewport& View, int WidthPx, int HeightPx, double XPx, double YPx,
                         Vec3D& Out) const
{
    double x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
    if (!GetMapRectPx(View, WidthPx, HeightPx, x1, y1, x2, y2))
        return false;
    const SpringMapRenderer& map = View.SpringMap;
    const double x = std::clamp((XPx - x1) / (x2 - x1), 0.0, 1.0) * map.GetWorldWidth();
    const double z = std::clamp((YPx - y1) / (y2 - y1), 0.0, 1.0) * map.GetWorldDepth();
    Out = Vec3D(x, map.GetTerrainHeight(static_cast<float>(x), static_cast<float>(z)), z);
    return true;
}

void Minimap::ProcessMouse(const Mouse& MouseState, bool bPointerInWindow, GLViewport& View, GLWindow& Window,
                           int WidthPx, int HeightPx)
{
    double x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
    const bool bShown = GetMapRectPx(View, WidthPx, HeightPx, x1, y1, x2, y2);
    const double xPx = MouseState.X, yPx = MouseState.Y;
    const bool bOver = bShown && bPointerInWindow && xPx >= x1 && xPx <= x2 && yPx >= y1 && yPx <= y2;
    // A drag the viewport runs keeps the pointer wherever it goes, as the viewport's panels let it.
    const bool bViewportBusy = View.bOrbitDrag || View.bPanDrag || View.bSelectionDragActive ||
                               View.bOrderDrag || View.ActiveNavButton != 0;
    const auto pressed = [&](int Button)
    { return MouseState.pButton[Button] && !MouseState.pPrevButton[Button]; };

    if (bOver && !bViewportBusy && pressed(Mouse::Left))
        bLeftDrag = true;
    // The release's own position is the drag's last: the button comes up where the pointer is.
    Vec3D point;
    if (bLeftDrag && PixelToMap(View, WidthPx, HeightPx, xPx, yPx, point))
    {
        View.WorldOffsetX = point.X;
        View.WorldOffsetZ = point.Z;
        View.PanX = View.PanY = 0.0;
    }
    if (bLeftDrag && (!MouseState.pButton[Mouse::Left] || !bShown))
        bLeftDrag = false;

    if (bOver && !bViewportBusy && pressed(Mouse::Right))
        bRightPress = true;
    if (bRightPress && !MouseState.pButton[Mouse::Right])
    {
        bRightPress = false;
        if (bOver && PixelToMap(View, WidthPx, HeightPx, xPx, yPx, point))
            OrderSelectionTo(View, Window, point);
    }
    if (!bShown)
        bRightPress = false;

    bTakesPointer = bLeftDrag || bRightPress || (bOver && !bViewportBusy);
    View.bMouseInteraction = !bTakesPointer;
}

void Minimap::OrderSelectionTo(GLViewport& View, GLWindow& Window, const Vec3D& Point) const
{
    const bool bAnyVehicle = std::find(View.VehicleSelectionMask.begin(), View.VehicleSelectionMask.end(),
                                       true) != View.VehicleSelectionMask.end();
    if (!View.bVehicleControl || (!bAnyVehicle && !View.bAirUnitsSelected))
        return;
    // Shift at the release queues, as on the map; the messages are the map's own.
    const bool bQueue = (SDL_GetModState() & SDL_KMOD_SHIFT) != 0;
    View.SubmitSelectedVehicleRoute(Point, bQueue);
    Window.SetStatusBarText(bQueue ? "Waypoint queued for selected units."
                                   : "Selected units ordered to waypoint.");
}

void Minimap::Render(const PixelCanvas& Canvas, const GLViewport& View, std::uint32_t PictureId) const
{
    double x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
    if (Picture.empty() || !GetMapRectPx(View, Canvas.GetWidthPx(), Canvas.GetHeightPx(), x1, y1, x2, y2) ||
        !Canvas.Begin())
        return;
    const SpringMapRenderer& map = View.SpringMap;
    // One picture, not a rectangle per cell: 4,096 small quads cost software GL about 2 ms a frame.
    Canvas.Image(x1, y1, x2, y2, PictureId);
    Canvas.OutlineRect(x1, y1, x2, y2, GLColor(0.25f, 0.88f, 1.0f, 0.9f));

    const auto toPxX = [&](double X) { return x1 + X / map.GetWorldWidth() * (x2 - x1); };
    const auto toPxY = [&](double Z) { return y1 + Z / map.GetWorldDepth() * (y2 - y1); };
    const auto dot = [&](const Vec3D& At, double HalfPx, const GLColor& Colour)
    {
        const double x = std::clamp(toPxX(At.X), x1, x2), y = std::clamp(toPxY(At.Z), y1, y2);
        Canvas.FillRect(x - HalfPx, y - HalfPx, x + HalfPx, y + HalfPx, Colour);
    };
    std::size_t index = 0;
    for (const auto& vehicle : View.Vehicles)
    {
        if (!vehicle)
            continue;
        const bool bSelected = index < View.VehicleSelectionMask.size() && View.VehicleSelectionMask[index];
        ++index;
        if (bSelected)
            dot(vehicle->Position, 2.5, GLColor(1.0f, 1.0f, 0.35f, 1.0f));
        else
            dot(vehicle->Position, 1.5, GLColor(0.95f, 0.35f, 0.25f, 1.0f));
    }
    for (const auto& air : View.AirUnits)
        if (air)
            dot(air->Aircraft.Position, View.bAirUnitsSelected ? 2.5 : 2.0,
                View.bAirUnitsSelected ? GLColor(1.0f, 1.0f, 0.35f, 1.0f) : GLColor(0.5f, 0.85f, 1.0f, 1.0f));

    // Footprint: the ground under the viewport's four corners, clockwise from the top left.
    // The mid height of the terrain stands in for the ground, so corners beyond the map still land.
    const double groundY = 0.5 * (map.GetLowestHeight() + map.GetHighestHeight());
    std::array<Vec3D, 4> corners;
    if (PickCorner(View, 0.0, 0.0, 0.05, groundY, corners[0]) &&
        PickCorner(View, 1.0, 0.0, 0.05, groundY, corners[1]) &&
        PickCorner(View, 1.0, 1.0, -0.05, groundY, corners[2]) &&
        PickCorner(View, 0.0, 1.0, -0.05, groundY, corners[3]))
        for (int i = 0; i < 4; ++i)
        {
            double ax = toPxX(corners[i].X), ay = toPxY(corners[i].Z);
            double bx = toPxX(corners[(i + 1) % 4].X), by = toPxY(corners[(i + 1) % 4].Z);
            if (ClipSegment(ax, ay, bx, by, x1, y1, x2, y2))
                Canvas.Line(ax, ay, bx, by, GLColor(1.0f, 1.0f, 1.0f, 0.9f), 1.5f);
        }
    Canvas.End();
}
