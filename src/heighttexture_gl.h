// The map's height grid as a one-channel float texture, for shaders that place things on the ground.
#pragma once

#include <epoxy/gl.h>

class SpringMapRenderer;

// Uploads the grid into Texture (bound to GL_TEXTURE_2D on return) with the given min/mag filter,
// its edges clamped.
void UploadHeightTexture(GLuint Texture, const SpringMapRenderer& Map, GLint Filter);
