#pragma once

#include <cstdint>
#include <string>

class GLColor;
class Rend;

// 2D drawing in window pixels (origin at the top left, y down) for the application's own overlays,
// through p->pRend and its pTTF; shapes between one beginFrame/endFrame pair per Draw call.
class PixelCanvas
{
  public:
    PixelCanvas(int WidthPx, int HeightPx) : WidthPx(WidthPx), HeightPx(HeightPx) {}

    int GetWidthPx() const { return WidthPx; }
    int GetHeightPx() const { return HeightPx; }
    float ToGlobalX(double XPx) const;
    float ToGlobalY(double YPx) const;

    // Open the renderer for shapes; false draws nothing (and End must not be called).
    bool Begin() const;
    void End() const;
    void FillRect(double X1Px, double Y1Px, double X2Px, double Y2Px, const GLColor& Color) const;
    void Line(double X1Px, double Y1Px, double X2Px, double Y2Px, const GLColor& Color, float WidthPx) const;
    void OutlineRect(double X1Px, double Y1Px, double X2Px, double Y2Px, const GLColor& Color) const;
    // A picture the backend holds (a GL texture) stretched over the rectangle, its top row at Y1Px.
    void Image(double X1Px, double Y1Px, double X2Px, double Y2Px, std::uint32_t ImageId) const;
    // Left-aligned text with its baseline at BaselinePx; nothing without a font renderer.
    void Text(const std::string& Text, double XPx, double BaselinePx, int SizePx, const GLColor& Color) const;

  private:
    int WidthPx = 1;
    int HeightPx = 1;
};
