#pragma once

#include <cstdint>
#include <vector>

class GLColor;
class TTF;

// One recorded 2D primitive in global coordinates (-1..1 across the window, Y up).
struct RendPrimitive
{
    enum class Kind : std::uint8_t
    {
        Rect,
        Line,
        Image // a picture stretched over the rectangle, top row at Y1
    };
    Kind Type = Kind::Rect;
    float X1 = 0.0f, Y1 = 0.0f, X2 = 0.0f, Y2 = 0.0f;
    float R = 0.0f, G = 0.0f, B = 0.0f, A = 0.0f;
    float WidthPx = 0.0f;      // lines only
    int FrameIndex = 0;        // which beginFrame/endFrame pair drew it (1-based)
    std::uint32_t ImageId = 0; // images only: the backend's name for the picture (a GL texture)
};

// The application's 2D renderer. Drawing calls are recorded between beginFrame and endFrame;
// a GL backend renders the record once per frame, so many small begin/end pairs cost little,
// and tests read the record without a GPU.
class Rend
{
  public:
    virtual ~Rend() = default;

    // False when nothing may be drawn (then endFrame must not be called).
    bool beginFrame();
    void endFrame();
    bool drawRect(float X1, float Y1, float X2, float Y2, const GLColor& Color);
    bool drawLine(float X1, float Y1, float X2, float Y2, const GLColor& Color, float WidthPx);
    bool drawImage(float X1, float Y1, float X2, float Y2, std::uint32_t ImageId);

    TTF* pTTF = nullptr;
    int FontSmallerPx = 11;
    // Cleared by the application while the window cannot be drawn to (minimised, no context).
    bool bDrawingAllowed = true;

    const std::vector<RendPrimitive>& GetPrimitives() const { return Primitives; }
    int GetBeginFrameCount() const { return BeginFrameCount; }
    int GetEndFrameCount() const { return EndFrameCount; }
    bool IsInFrame() const { return bInFrame; }
    void ClearRecord();

  private:
    std::vector<RendPrimitive> Primitives;
    int BeginFrameCount = 0;
    int EndFrameCount = 0;
    bool bInFrame = false;
};
