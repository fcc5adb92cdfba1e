#include "springmap_terrain_gl.h"

#include <string>

#include "gltexture.h"
#include "springmap_dxt1.h"
#include "springmap_ground.h"
#include "terrain_normalmap.h"

namespace
{
GLuint CompileShader(GLenum type, const char* source)
{
    const GLuint shader = glCreateShader(type);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    GLint ok = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &ok);
    if (!ok)
    {
        glDeleteShader(shader);
        return 0;
    }
    return shader;
}
} // namespace

bool SpringMapTerrainGL::CreateProgram(const std::string& Defines)
{
    const GLuint vertex = CompileShader(GL_VERTEX_SHADER, TerrainShadingProgram::VertexSource);
    const std::string fragmentSource = TerrainShadingProgram::BuildFragmentSource(Defines);
    const GLuint fragment = CompileShader(GL_FRAGMENT_SHADER, fragmentSource.c_str());
    if (vertex && fragment)
    {
        Program = glCreateProgram();
        glAttachShader(Program, vertex);
        glAttachShader(Program, fragment);
        glLinkProgram(Program);
        GLint ok = 0;
        glGetProgramiv(Program, GL_LINK_STATUS, &ok);
        if (!ok)
        {
            glDeleteProgram(Program);
            Program = 0;
        }
    }
    glDeleteShader(vertex);
    glDeleteShader(fragment);
    if (!Program)
        return false;
    ViewProjLocation = glGetUniformLocation(Program, "ViewProj");
    UvRectLocation = glGetUniformLocation(Program, "UvRect");
    ModeLocation = glGetUniformLocation(Program, "Mode");
    HeightRangeLocation = glGetUniformLocation(Program, "HeightRange");
    NormalsLocation = glGetUniformLocation(Program, "Normals");
    NormalUvLocation = glGetUniformLocation(Program, "NormalUv");
    Shading.Locate(Program);
    GroundTextures.Locate(Program);
    return true;
}

void SpringMapTerrainGL::CreateMesh(const Source& From)
{
    glGenVertexArrays(1, &Vao);
    glBindVertexArray(Vao);
    glGenBuffers(1, &Vbo);
    glBindBuffer(GL_ARRAY_BUFFER, Vbo);
    // Positions only: the shader reads the normals from the normal texture, and the vertex stage
    // fetches half the bytes.
    const std::vector<float>& positionsNormals = *From.pPositionsNormals;
    std::vector<float> positions;
    positions.reserve(positionsNormals.size() / 2);
    for (std::size_t i = 0; i + 6 <= positionsNormals.size(); i += 6)
        positions.insert(positions.end(), &positionsNormals[i], &positionsNormals[i + 3]);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(positions.size() * sizeof(float)), positions.data(),
                 GL_STATIC_DRAW);
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 3 * sizeof(float), nullptr);
    glGenBuffers(1, &Ibo);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, Ibo);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER,
                 static_cast<GLsizeiptr>(From.pIndices->size() * sizeof(std::uint32_t)),
                 From.pIndices->data(), GL_STATIC_DRAW);
    glBindVertexArray(0);

    // One texel per corner, its centre on the corner: linear filtering blends the four around a point
    // as the full grid's triangles blend their vertices' normals.
    const std::vector<std::uint8_t> texels =
        terrainnormalmap::EncodeTexels(*From.pPositionsNormals, From.GridWidth, From.GridHeight);
    glGenTextures(1, &NormalTexture);
    glBindTexture(GL_TEXTURE_2D, NormalTexture);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, From.GridWidth, From.GridHeight, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 texels.data());
    // Software GL pays a tenth of the terrain's time for choosing a mip level; a texel spans 8 world
    // units, so only far ground is minified there.
    if (!From.bForSoftwareGL)
        glGenerateMipmap(GL_TEXTURE_2D);
    SetBoundTextureSampling(From.bForSoftwareGL ? GL_LINEAR : GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR);
    glBindTexture(GL_TEXTURE_2D, 0);
    NormalUv[0] = 1.0f / (From.SquareSize * From.GridWidth);
    NormalUv[1] = 1.0f / (From.SquareSize * From.GridHeight);
    NormalUv[2] = 0.5f / From.GridWidth;
    NormalUv[3] = 0.5f / From.GridHeight;
}

GLuint SpringMapTerrainGL::UploadDxt1(const std::vector<const std::uint8_t*>& levels, int width, int height,
                                      std::uint64_t decodedBudgetBytes, bool bNearestMip)
{
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    // Without S3TC the levels are decoded here, skipping the large ones until the RGBA copy fits.
    int first = 0;
    if (!bCompressed)
        while (first + 1 < static_cast<int>(levels.size()) &&
               static_cast<std::uint64_t>(width >> first) * (height >> first) * 4 > decodedBudgetBytes)
            ++first;
    std::vector<std::uint8_t> rgba;
    for (int level = first; level < static_cast<int>(levels.size()); ++level)
    {
        const int w = width >> level, h = height >> level;
        if (bCompressed)
            // The RGBA variant: index 3 of three-colour blocks is transparent black, as the tiles expect.
            glCompressedTexImage2D(GL_TEXTURE_2D, level - first, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, w, h, 0,
                                   static_cast<GLsizei>(SpringMapDxt1::LevelBytes(w, h)), levels[level]);
        else
        {
            rgba.resize(static_cast<std::size_t>(w) * h * 4);
            SpringMapDxt1::DecodeImage(levels[level], w, h, rgba.data());
            glTexImage2D(GL_TEXTURE_2D, level - first, GL_RGBA8, w, h, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                         rgba.data());
        }
    }
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_BASE_LEVEL, 0);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, static_cast<GLint>(levels.size()) - 1 - first);
    SetBoundTextureSampling(bNearestMip ? GL_LINEAR_MIPMAP_NEAREST : GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR);
    return texture;
}

void SpringMapTerrainGL::CreateTextures(const Source& From)
{
    bCompressed = From.bAllowCompressedUpload && epoxy_has_gl_extension("GL_EXT_texture_compression_s3tc");
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    if (From.pGround && From.pGround->HasPatches())
    {
        const auto& patches = From.pGround->GetPatches();
        std::uint64_t finestBytes = 0;
        for (const auto& patch : patches)
            finestBytes += static_cast<std::uint64_t>(From.pGround->GetLevelWidthTexels(patch, 0)) *
                           From.pGround->GetLevelDepthTexels(patch, 0) * 4;
        const bool bFits = finestBytes <= From.DecodedBudgetBytes;
        bCompressed = bCompressed && !(From.bForSoftwareGL && bFits);
        // Whole when it fits; else shared fairly, so the decoded copy of the ground stays within the budget.
        const std::uint64_t perPatchBudget =
            bFits ? From.DecodedBudgetBytes : From.DecodedBudgetBytes / patches.size();
        for (const auto& patch : patches)
        {
            std::vector<const std::uint8_t*> levels;
            for (const auto& level : patch.Levels)
                levels.push_back(level.data());
            PatchTextures.push_back(UploadDxt1(levels, From.pGround->GetLevelWidthTexels(patch, 0),
                                               From.pGround->GetLevelDepthTexels(patch, 0), perPatchBudget,
                                               From.bForSoftwareGL));
        }
    }
    else if (From.pMinimap && !From.pMinimap->empty())
    {
        bCompressed = bCompressed && !From.bForSoftwareGL; // 4 MiB decoded
        std::vector<const std::uint8_t*> levels;
        std::uint64_t offset = 0;
        for (int size = 1024; size >= 4; size /= 2)
        {
            levels.push_back(From.pMinimap->data() + offset);
            offset += SpringMapDxt1::LevelBytes(size, size);
        }
        MinimapTexture = UploadDxt1(levels, 1024, 1024, From.DecodedBudgetBytes, From.bForSoftwareGL);
    }
    if (From.pTextures)
        GroundTextures.Upload(*From.pTextures);
}

bool SpringMapTerrainGL::Draw(const Source& From, const float* ViewProj4x4ColumnMajor)
{
    if (!bCreated)
    {
        bCreated = true;
        CreateMesh(From);
        CreateTextures(From);
    }
    const TerrainShading& shading = From.pShading ? *From.pShading : TerrainShading{};
    // A new program only when what the frame shows changes (a key press); a failed one is not
    // retried until then.
    const std::string defines =
        TerrainTexturesGL::GetDefines(From.pTextures ? *From.pTextures : std::vector<SpringMapTexture>{}) +
        TerrainShadingProgram::GetDefines(shading, From.MinHeight);
    if (defines != ProgramDefines)
    {
        ProgramDefines = defines;
        glDeleteProgram(Program);
        Program = 0;
        CreateProgram(defines);
    }
    if (!Program)
        return false;
    // The terrain hides itself where it folds over: depth testing on, the caller's setting restored.
    const GLboolean bDepthTestWasOn = glIsEnabled(GL_DEPTH_TEST);
    glEnable(GL_DEPTH_TEST);
    glUseProgram(Program);
    glUniformMatrix4fv(ViewProjLocation, 1, GL_FALSE, ViewProj4x4ColumnMajor);
    glUniform2f(HeightRangeLocation, From.MinHeight, From.MaxHeight);
    Shading.Apply(shading);
    GroundTextures.Apply(shading.Look, From.WorldWidth, From.WorldDepth);
    glActiveTexture(GL_TEXTURE0 + TerrainShadingProgram::NormalTextureUnit);
    glBindTexture(GL_TEXTURE_2D, NormalTexture);
    glUniform1i(NormalsLocation, TerrainShadingProgram::NormalTextureUnit);
    glUniform4fv(NormalUvLocation, 1, NormalUv);
    glActiveTexture(GL_TEXTURE0);
    glBindVertexArray(Vao);
    GLint viewport[4] = {};
    glGetIntegerv(GL_VIEWPORT, viewport);
    const terrainlod::ViewSelector selector(ViewProj4x4ColumnMajor, viewport[3], From.LodErrorPx);
    DrawnTriangles = 0;
    for (const MeshRange& range : *From.pRanges)
    {
        const int level = selector.ChooseLevel(range.Lod);
        if (level < 0)
            continue;
        const terrainlod::Level& indices = range.Lod.Levels[static_cast<std::size_t>(level)];
        DrawnTriangles += indices.IndexCount / 3;
        const bool bPatch =
            range.PatchIndex >= 0 && range.PatchIndex < static_cast<int>(PatchTextures.size());
        const GLuint texture = bPatch ? PatchTextures[range.PatchIndex] : MinimapTexture;
        glBindTexture(GL_TEXTURE_2D, texture);
        glUniform1i(ModeLocation, texture ? 1 : 0);
        glUniform4fv(UvRectLocation, 1, range.UvRect);
        glDrawElements(
            GL_TRIANGLES, indices.IndexCount, GL_UNSIGNED_INT,
            reinterpret_cast<void*>(static_cast<std::uintptr_t>(indices.FirstIndex) * sizeof(std::uint32_t)));
    }
    glBindVertexArray(0);
    glBindTexture(GL_TEXTURE_2D, 0);
    glUseProgram(0);
    if (!bDepthTestWasOn)
        glDisable(GL_DEPTH_TEST);
    return true;
}

void SpringMapTerrainGL::Release()
{
    if (!bCreated)
        return;
    if (!PatchTextures.empty())
        glDeleteTextures(static_cast<GLsizei>(PatchTextures.size()), PatchTextures.data());
    if (MinimapTexture)
        glDeleteTextures(1, &MinimapTexture);
    glDeleteTextures(1, &NormalTexture);
    GroundTextures.Release();
    glDeleteBuffers(1, &Vbo);
    glDeleteBuffers(1, &Ibo);
    glDeleteVertexArrays(1, &Vao);
    glDeleteProgram(Program);
    PatchTextures.clear();
    ProgramDefines.clear();
    MinimapTexture = NormalTexture = Program = Vao = Vbo = Ibo = 0;
    bCreated = false;
}
