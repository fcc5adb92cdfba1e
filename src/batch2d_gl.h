#pragma once

#include <string>
#include <vector>

#include <epoxy/gl.h>

// One frame's 2D drawing as one vertex upload: textured, coloured quads in global coordinates,
// alpha blended, in the order they were added. Shapes sample a white texel of the glyph atlas, so
// shapes and text share the stream and a later overlay still covers an earlier one's text. A picture
// (an RGBA texture of its own) splits the stream into one more draw call.
class Batch2DGL
{
  public:
    Batch2DGL() = default;
    Batch2DGL(const Batch2DGL&) = delete;
    Batch2DGL& operator=(const Batch2DGL&) = delete;
    ~Batch2DGL();

    // Needs a current GL 3.3 core context. False with a reason when the shaders cannot be built.
    bool Create(std::string& Error);

    // Corners in order around the quad; U, V index the texture given to Submit.
    void AddQuad(const float (&X)[4], const float (&Y)[4], const float (&U)[4], const float (&V)[4], float R,
                 float G, float B, float A);
    // A quad that samples only the texel at (U, V): a solid shape.
    void AddSolidQuad(const float (&X)[4], const float (&Y)[4], float U, float V, float R, float G, float B,
                      float A);
    // The whole of an RGBA picture texture over the quad, its top row along the first two corners;
    // texture 0 draws nothing.
    void AddImageQuad(const float (&X)[4], const float (&Y)[4], GLuint Picture);
    std::size_t GetQuadCount() const { return Vertices.size() / (FloatsPerVertex * 6); }

    // Draws every quad added since the last Submit over the framebuffer, then forgets them. Texture:
    // the coverage texture (red channel) the glyphs and shapes sample.
    void Submit(GLuint Texture);

  private:
    static constexpr int FloatsPerVertex = 8; // x, y, u, v, r, g, b, a
    // A run of quads drawn with one texture: the coverage texture (Picture 0) or a picture.
    struct Run
    {
        GLuint Picture = 0;
        GLint FirstVertex = 0;
    };
    void StartRun(GLuint Picture);
    void AppendQuad(const float (&X)[4], const float (&Y)[4], const float (&U)[4], const float (&V)[4],
                    float R, float G, float B, float A);

    GLuint Program = 0;
    GLint TextureLocation = -1;
    GLint PictureLocation = -1;
    GLuint VertexArray = 0;
    GLuint VertexBuffer = 0;
    std::vector<float> Vertices;
    std::vector<Run> Runs;
};
