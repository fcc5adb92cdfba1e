#include "heighttexture_gl.h"

#include "gltexture.h"
#include "springmap_renderer.h"

void UploadHeightTexture(GLuint Texture, const SpringMapRenderer& Map, GLint Filter)
{
    glBindTexture(GL_TEXTURE_2D, Texture);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_R32F, Map.GetGridWidth(), Map.GetGridHeight(), 0, GL_RED, GL_FLOAT,
                 Map.GetHeightGrid().data());
    SetBoundTextureSampling(Filter, Filter);
}
