#include "ttf.h"

#include "glcolor.h"

void TTF::Text3DL(const char* Text, float x, float y, float z, int SizePx, const GLColor& Color)
{
    TextCalls.push_back({Text ? Text : "", x, y, z, SizePx, Color.R, Color.G, Color.B, Color.A});
}
