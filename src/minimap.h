#pragma once

#include <cstdint>
#include <vector>

#include "vec3d.h"

class GLViewport;
class GLWindow;
class Mouse;
class PixelCanvas;
class SpringMapRenderer;

// A map's minimap picture (DXT1, 1024x1024 and its mips) at Cells x Cells, a power of two from 4 to
// 1024, as RGB rows; false when its blocks are too short for that level.
bool DecodeMinimapRgb(const std::vector<std::uint8_t>& Blocks, int Cells, std::vector<std::uint8_t>& Rgb);

// The minimap (M) in the window's top-left corner, the one no panel uses: the map's own minimap
// picture (or its heights where it has none), the vehicles and aircraft as dots with the selected
// ones lit, and the camera's footprint on the ground. A left click or drag moves the view's orbit
// centre there; a right click orders the selection there, Shift queueing, as a right click on the
// map does.
//
// It takes the pointer like the viewport's own panels: while the pointer rests on it (and no drag of
// the viewport runs) or one of its own clicks or drags runs, the viewport's mouse interaction is
// off, so no selection, order, orbit or zoom starts there; the viewport's per-frame mouse processing
// still runs.
class Minimap
{
  public:
    static constexpr int CellCount = 64; // picture cells per side
    static constexpr int MarginPx = 8;

    bool bVisible = true;

    // Builds the picture from the loaded map; an unloaded map leaves it empty.
    void BuildPicture(const SpringMapRenderer& Map);

    // The square on screen, in window pixels (top left, y down), of a window of WidthPx x HeightPx,
    // and the map's part of it (the map keeps its shape, from the square's top-left corner).
    bool GetMapRectPx(const GLViewport& View, int WidthPx, int HeightPx, double& X1Px, double& Y1Px,
                      double& X2Px, double& Y2Px) const;
    // The map point under a window pixel (clamped to the map), with its terrain height.
    bool PixelToMap(const GLViewport& View, int WidthPx, int HeightPx, double XPx, double YPx,
                    Vec3D& Out) const;

    // One frame of the pointer, before the viewport's mouse processing: clicks and drags on the
    // minimap and the viewport's interaction gate. WidthPx and HeightPx are the window's.
    void ProcessMouse(const Mouse& MouseState, bool bPointerInWindow, GLViewport& View, GLWindow& Window,
                      int WidthPx, int HeightPx);
    bool TakesPointer() const { return bTakesPointer; }

    // The picture as built, CellCount x CellCount RGB rows from the map's top edge (Z = 0); empty
    // without a map.
    const std::vector<std::uint8_t>& GetPicture() const { return Picture; }
    // PictureId: the backend's copy of GetPicture (a GL texture).
    void Render(const PixelCanvas& Canvas, const GLViewport& View, std::uint32_t PictureId) const;

  private:
    void OrderSelectionTo(GLViewport& View, GLWindow& Window, const Vec3D& Point) const;

    std::vector<std::uint8_t> Picture;
    bool bLeftDrag = false;
    bool bRightPress = false;
    bool bTakesPointer = false;
};
