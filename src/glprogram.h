#pragma once

#include <string>

#include <epoxy/gl.h>

enum class GLProgramStage
{
    None,
    Compile,
    Link
};

// Compiles and links a vertex and a fragment shader. Returns the program, or 0 with the stage that
// failed and the driver's whole log for it.
GLuint BuildGLProgram(const char* VertexSource, const char* FragmentSource, GLProgramStage& FailedStage,
                      std::string& Log);

// The same, with the failure as one message ("shader compile failed: ..." or "shader link failed: ...").
GLuint CreateGLProgram(const char* VertexSource, const char* FragmentSource, std::string& Error);

// A fragment shader that writes the colour its vertex shader passed on as VertexColour.
extern const char* const VertexColourFragmentSource;
