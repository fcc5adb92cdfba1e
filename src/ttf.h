#pragma once

#include <string>
#include <vector>

class GLColor;

// One recorded text call: left-aligned text at a position in global coordinates.
struct TTFTextCall
{
    std::string Text;
    float X = 0.0f, Y = 0.0f, Z = 0.0f;
    int SizePx = 0;
    float R = 0.0f, G = 0.0f, B = 0.0f, A = 0.0f;
};

// The application's font renderer. Text calls are recorded; a FreeType/GL backend draws the record.
class TTF
{
public:
    virtual ~TTF() = default;

    virtual void Text3DL(const char* Text, float x, float y, float z, int SizePx, const GLColor& Color);

    const std::vector<TTFTextCall>& GetTextCalls() const { return TextCalls; }
    void ClearRecord() { TextCalls.clear(); }

private:
    std::vector<TTFTextCall> TextCalls;
};
