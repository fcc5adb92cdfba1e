#pragma once

// RGBA colour, components 0..1. Built for each draw call.
class GLColor
{
public:
    float R = 0.0f;
    float G = 0.0f;
    float B = 0.0f;
    float A = 1.0f;

    GLColor(float r, float g, float b, float a) : R(r), G(g), B(b), A(a) {}
    virtual ~GLColor() = default;
};
