#include "batch2d_gl.h"

#include "glprogram.h"

namespace
{
const char* VertexShader = R"(#version 330 core
layout(location = 0) in vec2 Position;
layout(location = 1) in vec2 TexCoord;
layout(location = 2) in vec4 Colour;
out vec2 VertexTexCoord;
out vec4 VertexColour;
void main()
{
    VertexTexCoord = TexCoord;
    VertexColour = Colour;
    gl_Position = vec4(Position, 0.0, 1.0);
}
)";

// The texture holds coverage in its red channel (glyph shapes, and full coverage for solid shapes),
// or, for a picture, the colour itself.
const char* FragmentShader = R"(#version 330 core
uniform sampler2D Coverage;
uniform bool Picture;
in vec2 VertexTexCoord;
in vec4 VertexColour;
out vec4 FragColour;
void main()
{
    vec4 texel = texture(Coverage, VertexTexCoord);
    FragColour = Picture ? VertexColour * texel : vec4(VertexColour.rgb, VertexColour.a * texel.r);
}
)";
} // namespace

Batch2DGL::~Batch2DGL()
{
    if (VertexBuffer)
        glDeleteBuffers(1, &VertexBuffer);
    if (VertexArray)
        glDeleteVertexArrays(1, &VertexArray);
    if (Program)
        glDeleteProgram(Program);
}

bool Batch2DGL::Create(std::string& Error)
{
    Program = CreateGLProgram(VertexShader, FragmentShader, Error);
    if (Program == 0)
        return false;
    TextureLocation = glGetUniformLocation(Program, "Coverage");
    PictureLocation = glGetUniformLocation(Program, "Picture");
    glGenVertexArrays(1, &VertexArray);
    glGenBuffers(1, &VertexBuffer);
    glBindVertexArray(VertexArray);
    glBindBuffer(GL_ARRAY_BUFFER, VertexBuffer);
    const GLsizei stride = FloatsPerVertex * sizeof(float);
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, stride, nullptr);
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, stride, reinterpret_cast<const void*>(2 * sizeof(float)));
    glEnableVertexAttribArray(2);
    glVertexAttribPointer(2, 4, GL_FLOAT, GL_FALSE, stride, reinterpret_cast<const void*>(4 * sizeof(float)));
    glBindVertexArray(0);
    return true;
}

void Batch2DGL::StartRun(GLuint Picture)
{
    if (Runs.empty() || Runs.back().Picture != Picture)
        Runs.push_back({Picture, static_cast<GLint>(Vertices.size() / FloatsPerVertex)});
}

void Batch2DGL::AppendQuad(const float (&X)[4], const float (&Y)[4], const float (&U)[4], const float (&V)[4],
                           float R, float G, float B, float A)
{
    for (int corner : {0, 1, 2, 0, 2, 3})
        Vertices.insert(Vertices.end(), {X[corner], Y[corner], U[corner], V[corner], R, G, B, A});
}

void Batch2DGL::AddQuad(const float (&X)[4], const float (&Y)[4], const float (&U)[4], const float (&V)[4],
                        float R, float G, float B, float A)
{
    StartRun(0);
    AppendQuad(X, Y, U, V, R, G, B, A);
}

void Batch2DGL::AddImageQuad(const float (&X)[4], const float (&Y)[4], GLuint Picture)
{
    static constexpr float us[4] = {0.0f, 1.0f, 1.0f, 0.0f}, vs[4] = {0.0f, 0.0f, 1.0f, 1.0f};
    if (Picture == 0) // no texture: the coverage run would stretch the glyph atlas over the quad
        return;
    StartRun(Picture);
    AppendQuad(X, Y, us, vs, 1.0f, 1.0f, 1.0f, 1.0f);
}

void Batch2DGL::AddSolidQuad(const float (&X)[4], const float (&Y)[4], float U, float V, float R, float G,
                             float B, float A)
{
    const float us[4] = {U, U, U, U}, vs[4] = {V, V, V, V};
    AddQuad(X, Y, us, vs, R, G, B, A);
}

void Batch2DGL::Submit(GLuint Texture)
{
    if (Program == 0 || Vertices.empty())
    {
        Vertices.clear();
        Runs.clear();
        return;
    }
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glUseProgram(Program);
    glActiveTexture(GL_TEXTURE0);
    glUniform1i(TextureLocation, 0);
    glBindVertexArray(VertexArray);
    glBindBuffer(GL_ARRAY_BUFFER, VertexBuffer);
    // Orphan the buffer each time: the driver need not wait for the previous frame's draw.
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(Vertices.size() * sizeof(float)), Vertices.data(),
                 GL_STREAM_DRAW);
    const auto vertexCount = static_cast<GLint>(Vertices.size() / FloatsPerVertex);
    for (std::size_t i = 0; i < Runs.size(); ++i)
    {
        const GLint end = i + 1 < Runs.size() ? Runs[i + 1].FirstVertex : vertexCount;
        glBindTexture(GL_TEXTURE_2D, Runs[i].Picture ? Runs[i].Picture : Texture);
        glUniform1i(PictureLocation, Runs[i].Picture != 0);
        glDrawArrays(GL_TRIANGLES, Runs[i].FirstVertex, end - Runs[i].FirstVertex);
    }
    glBindVertexArray(0);
    Vertices.clear();
    Runs.clear();
}
