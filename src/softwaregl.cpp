#include "softwaregl.h"

#include <cstring>
#include <initializer_list>

#include <epoxy/gl.h>

bool IsSoftwareGLRenderer()
{
    const auto* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    if (!renderer)
        return true;
    for (const char* name : {"llvmpipe", "softpipe", "SwiftShader"})
        if (std::strstr(renderer, name))
            return true;
    return false;
}
