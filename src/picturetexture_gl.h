#pragma once

#include <cstdint>
#include <vector>

#include <epoxy/gl.h>

// An RGB picture as a GL texture for the 2D batch, each texel a sharp square (nearest filtering), so
// a small picture drawn large keeps its cells.
class PictureTextureGL
{
  public:
    PictureTextureGL() = default;
    PictureTextureGL(const PictureTextureGL&) = delete;
    PictureTextureGL& operator=(const PictureTextureGL&) = delete;
    ~PictureTextureGL();

    // Needs a current GL context. Rgb: WidthPx x HeightPx rows, top row first; too few bytes or an
    // empty size leave no picture (Get is 0).
    void Upload(const std::vector<std::uint8_t>& Rgb, int WidthPx, int HeightPx);
    GLuint Get() const { return bHasPicture ? Texture : 0; }

  private:
    GLuint Texture = 0;
    bool bHasPicture = false;
};
