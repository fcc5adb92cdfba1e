#include "glprogram.h"

#include <vector>

namespace
{
std::string ReadInfoLog(GLuint Object, bool bProgram)
{
    GLint length = 0;
    if (bProgram)
        glGetProgramiv(Object, GL_INFO_LOG_LENGTH, &length);
    else
        glGetShaderiv(Object, GL_INFO_LOG_LENGTH, &length);
    std::vector<char> log(static_cast<std::size_t>(length > 0 ? length : 1), '\0');
    if (bProgram)
        glGetProgramInfoLog(Object, static_cast<GLsizei>(log.size()), nullptr, log.data());
    else
        glGetShaderInfoLog(Object, static_cast<GLsizei>(log.size()), nullptr, log.data());
    return std::string(log.data());
}

GLuint CompileShader(GLenum Type, const char* Source, std::string& Log)
{
    const GLuint shader = glCreateShader(Type);
    glShaderSource(shader, 1, &Source, nullptr);
    glCompileShader(shader);
    GLint ok = GL_FALSE;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &ok);
    if (ok == GL_TRUE)
        return shader;
    Log = ReadInfoLog(shader, false);
    glDeleteShader(shader);
    return 0;
}
} // namespace

GLuint BuildGLProgram(const char* VertexSource, const char* FragmentSource, GLProgramStage& FailedStage,
                      std::string& Log)
{
    FailedStage = GLProgramStage::Compile;
    const GLuint vertex = CompileShader(GL_VERTEX_SHADER, VertexSource, Log);
    if (vertex == 0)
        return 0;
    const GLuint fragment = CompileShader(GL_FRAGMENT_SHADER, FragmentSource, Log);
    if (fragment == 0)
    {
        glDeleteShader(vertex);
        return 0;
    }
    const GLuint program = glCreateProgram();
    glAttachShader(program, vertex);
    glAttachShader(program, fragment);
    glLinkProgram(program);
    glDeleteShader(vertex);
    glDeleteShader(fragment);
    GLint ok = GL_FALSE;
    glGetProgramiv(program, GL_LINK_STATUS, &ok);
    if (ok == GL_TRUE)
    {
        FailedStage = GLProgramStage::None;
        return program;
    }
    FailedStage = GLProgramStage::Link;
    Log = ReadInfoLog(program, true);
    glDeleteProgram(program);
    return 0;
}

GLuint CreateGLProgram(const char* VertexSource, const char* FragmentSource, std::string& Error)
{
    GLProgramStage failedStage = GLProgramStage::None;
    std::string log;
    const GLuint program = BuildGLProgram(VertexSource, FragmentSource, failedStage, log);
    if (program == 0)
        Error =
            (failedStage == GLProgramStage::Link ? "shader link failed: " : "shader compile failed: ") + log;
    return program;
}

const char* const VertexColourFragmentSource = R"(#version 330 core
in vec4 VertexColour;
out vec4 FragColour;
void main()
{
    FragColour = VertexColour;
}
)";
