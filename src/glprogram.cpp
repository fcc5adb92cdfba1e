#include "glprogram.h"

namespace
{
GLuint CompileShader(GLenum type, const char* source, std::string& error)
{
    const GLuint shader = glCreateShader(type);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    GLint ok = GL_FALSE;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &ok);
    if (ok == GL_TRUE)
        return shader;
    char log[1024] = {};
    glGetShaderInfoLog(shader, sizeof(log), nullptr, log);
    error = std::string("shader compile failed: ") + log;
    glDeleteShader(shader);
    return 0;
}
} // namespace

GLuint CreateGLProgram(const char* VertexSource, const char* FragmentSource, std::string& Error)
{
    const GLuint vertex = CompileShader(GL_VERTEX_SHADER, VertexSource, Error);
    if (vertex == 0)
        return 0;
    const GLuint fragment = CompileShader(GL_FRAGMENT_SHADER, FragmentSource, Error);
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
        return program;
    char log[1024] = {};
    glGetProgramInfoLog(program, sizeof(log), nullptr, log);
    Error = std::string("shader link failed: ") + log;
    glDeleteProgram(program);
    return 0;
}
