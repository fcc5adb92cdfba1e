#include "pixelcanvas.h"

#include <algorithm>

#include "core.h"
#include "glcolor.h"
#include "rend.h"
#include "ttf.h"

float PixelCanvas::ToGlobalX(double XPx) const
{
    return static_cast<float>(XPx / std::max(WidthPx, 1) * 2.0 - 1.0);
}

float PixelCanvas::ToGlobalY(double YPx) const
{
    return static_cast<float>(1.0 - YPx / std::max(HeightPx, 1) * 2.0);
}

bool PixelCanvas::Begin() const
{
    return p && p->pRend && p->pRend->beginFrame();
}

void PixelCanvas::End() const
{
    p->pRend->endFrame();
}

void PixelCanvas::FillRect(double X1Px, double Y1Px, double X2Px, double Y2Px, const GLColor& Color) const
{
    p->pRend->drawRect(ToGlobalX(X1Px), ToGlobalY(Y1Px), ToGlobalX(X2Px), ToGlobalY(Y2Px), Color);
}

void PixelCanvas::Line(double X1Px, double Y1Px, double X2Px, double Y2Px, const GLColor& Color,
                       float LineWidthPx) const
{
    p->pRend->drawLine(ToGlobalX(X1Px), ToGlobalY(Y1Px), ToGlobalX(X2Px), ToGlobalY(Y2Px), Color,
                       LineWidthPx);
}

void PixelCanvas::Image(double X1Px, double Y1Px, double X2Px, double Y2Px, std::uint32_t ImageId) const
{
    p->pRend->drawImage(ToGlobalX(X1Px), ToGlobalY(Y1Px), ToGlobalX(X2Px), ToGlobalY(Y2Px), ImageId);
}

void PixelCanvas::OutlineRect(double X1Px, double Y1Px, double X2Px, double Y2Px, const GLColor& Color) const
{
    Line(X1Px, Y1Px, X2Px, Y1Px, Color, 1.0f);
    Line(X2Px, Y1Px, X2Px, Y2Px, Color, 1.0f);
    Line(X2Px, Y2Px, X1Px, Y2Px, Color, 1.0f);
    Line(X1Px, Y2Px, X1Px, Y1Px, Color, 1.0f);
}

void PixelCanvas::Text(const std::string& Text, double XPx, double BaselinePx, int SizePx,
                       const GLColor& Color) const
{
    if (p && p->pRend && p->pRend->pTTF)
        p->pRend->pTTF->Text3DL(Text.c_str(), ToGlobalX(XPx), ToGlobalY(BaselinePx), 0.0f, SizePx, Color);
}
