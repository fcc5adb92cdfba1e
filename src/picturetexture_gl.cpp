#include "picturetexture_gl.h"

#include "gltexture.h"

PictureTextureGL::~PictureTextureGL()
{
    if (Texture)
        glDeleteTextures(1, &Texture);
}

void PictureTextureGL::Upload(const std::vector<std::uint8_t>& Rgb, int WidthPx, int HeightPx)
{
    bHasPicture = WidthPx > 0 && HeightPx > 0 &&
                  Rgb.size() >= static_cast<std::size_t>(WidthPx) * static_cast<std::size_t>(HeightPx) * 3;
    if (!bHasPicture)
        return;
    if (!Texture)
        glGenTextures(1, &Texture);
    glBindTexture(GL_TEXTURE_2D, Texture);
    SetBoundTextureSampling(GL_NEAREST, GL_NEAREST);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, WidthPx, HeightPx, 0, GL_RGB, GL_UNSIGNED_BYTE, Rgb.data());
}
