#include "rend.h"

#include "glcolor.h"

bool Rend::beginFrame()
{
    if (!bDrawingAllowed || bInFrame)
        return false;
    bInFrame = true;
    ++BeginFrameCount;
    return true;
}

void Rend::endFrame()
{
    if (!bInFrame)
        return;
    bInFrame = false;
    ++EndFrameCount;
}

bool Rend::drawRect(float X1, float Y1, float X2, float Y2, const GLColor& Color)
{
    if (!bInFrame)
        return false;
    Primitives.push_back({RendPrimitive::Kind::Rect, X1, Y1, X2, Y2, Color.R, Color.G, Color.B, Color.A, 0.0f,
                          BeginFrameCount});
    return true;
}

bool Rend::drawLine(float X1, float Y1, float X2, float Y2, const GLColor& Color, float WidthPx)
{
    if (!bInFrame)
        return false;
    Primitives.push_back({RendPrimitive::Kind::Line, X1, Y1, X2, Y2, Color.R, Color.G, Color.B, Color.A,
                          WidthPx, BeginFrameCount});
    return true;
}

bool Rend::drawImage(float X1, float Y1, float X2, float Y2, std::uint32_t ImageId)
{
    if (!bInFrame)
        return false;
    Primitives.push_back(
        {RendPrimitive::Kind::Image, X1, Y1, X2, Y2, 1.0f, 1.0f, 1.0f, 1.0f, 0.0f, BeginFrameCount, ImageId});
    return true;
}

void Rend::ClearRecord()
{
    Primitives.clear();
    BeginFrameCount = 0;
    EndFrameCount = 0;
}
