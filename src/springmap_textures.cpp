#include "springmap_textures.h"

#include "springmap_archive.h"

namespace SpringMapTextures
{
namespace
{
std::string Warn(const std::string& label, const std::string& path, const SpringMapTexture& texture,
                 const std::string& problem)
{
    return label + path + ": " + texture.Key + " " + problem + "; the ground is drawn without it";
}
} // namespace

std::vector<SpringMapTexture> Resolve(const SpringMapArchive& Archive, const std::string& Label,
                                      const std::vector<std::pair<std::string, std::string>>& Named,
                                      std::vector<std::string>& Warnings)
{
    std::vector<SpringMapTexture> textures;
    for (const auto& [key, name] : Named)
    {
        SpringMapTexture texture{key, name, {}, {}};
        if (!Archive.Find("maps/" + name, texture.ResolvedPath))
            Warnings.push_back(Warn(Label, "maps/" + name, texture, "not found"));
        textures.push_back(std::move(texture));
    }
    return textures;
}

std::vector<std::string> ListResolved(const std::vector<SpringMapTexture>& Textures)
{
    std::vector<std::string> entries;
    for (const SpringMapTexture& texture : Textures)
        if (!texture.ResolvedPath.empty())
            entries.push_back(texture.ResolvedPath);
    return entries;
}

void Read(SpringMapArchive& Archive, const std::string& Label, std::vector<SpringMapTexture>& Textures,
          std::vector<std::string>& Warnings)
{
    for (SpringMapTexture& texture : Textures)
    {
        std::string error;
        std::vector<std::uint8_t> bytes;
        if (!texture.ResolvedPath.empty() &&
            !(Archive.Read(texture.ResolvedPath, bytes, error) &&
              SpringMapImageFile::Decode(bytes, texture.ResolvedPath, MaxSidePx, texture.Image, error)))
            Warnings.push_back(Warn(Label, texture.ResolvedPath, texture, "cannot be read: " + error));
    }
}

const SpringMapImage* FindImage(const std::vector<SpringMapTexture>& Textures, const std::string& Key)
{
    for (const SpringMapTexture& texture : Textures)
        if (texture.Key == Key && !texture.Image.Rgba.empty())
            return &texture.Image;
    return nullptr;
}
} // namespace SpringMapTextures
