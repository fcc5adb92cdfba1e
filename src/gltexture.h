#pragma once

#include <epoxy/gl.h>

// The bound 2D texture's filters, with its edges clamped: each texture here is a picture or a grid
// whose far edge must not bleed into its near one.
inline void SetBoundTextureSampling(GLint MinFilter, GLint MagFilter)
{
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, MinFilter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, MagFilter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}
