#pragma once

#include <string>

#include <epoxy/gl.h>

#include "jetexhaust.h"

// The built-in GLSL 3.30 sources of the five passes; the name is the one status texts use.
struct JetExhaustShaderSource
{
    const char* Name;
    const char* Vertex;
    const char* Fragment;
};

const JetExhaustShaderSource& GetJetExhaustShaderSource(JetExhaustPass Pass);

// Compiles and links one pass's program. Returns it, or 0 with Status set to a one-line reason:
// "Shader <name>: <first line of the log>" for a compile failure, "Composite link: ..." when the
// composite program fails to link and "Shader <name> link: ..." when another one does.
GLuint BuildJetExhaustProgram(JetExhaustPass Pass, const std::string& VertexSource,
                              const std::string& FragmentSource, std::string& Status);
