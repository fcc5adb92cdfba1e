#pragma once

#include <string>

#include <epoxy/gl.h>

// Compiles and links a vertex and a fragment shader. Returns the program, or 0 with the driver's
// log in Error.
GLuint CreateGLProgram(const char* VertexSource, const char* FragmentSource, std::string& Error);
