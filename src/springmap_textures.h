#pragma once

#include <string>
#include <utility>
#include <vector>

#include "springmap_image.h"

class SpringMapArchive;

// A texture mapinfo's resources name for the ground (detail, specular, splat distribution and splat
// detail), looked up as the engine does: under the map's maps/ folder, ignoring case.
struct SpringMapTexture
{
    std::string Key;          // "detailTex", "specularTex", "splatDistrTex" or "splatDetailTex"
    std::string Name;         // as mapinfo names it
    std::string ResolvedPath; // entry inside the map's files; empty when not found
    SpringMapImage Image;     // empty when not found, not read or unreadable
};

namespace SpringMapTextures
{
// Large textures are halved to this side when read: the ground shows no more detail than that.
constexpr int MaxSidePx = 2048;

// One entry per named texture, each resolved; nothing is read. Each one missing adds a warning,
// "<Label>maps/<name>: <key> not found; the ground is drawn without it".
std::vector<SpringMapTexture> Resolve(const SpringMapArchive& Archive, const std::string& Label,
                                      const std::vector<std::pair<std::string, std::string>>& Named,
                                      std::vector<std::string>& Warnings);
// The resolved ones' entries, to unpack together with the map's other files.
std::vector<std::string> ListResolved(const std::vector<SpringMapTexture>& Textures);
// Reads and decodes the resolved ones; each unreadable one adds a warning and stays empty.
void Read(SpringMapArchive& Archive, const std::string& Label, std::vector<SpringMapTexture>& Textures,
          std::vector<std::string>& Warnings);
// The texture read for Key, or null.
const SpringMapImage* FindImage(const std::vector<SpringMapTexture>& Textures, const std::string& Key);
} // namespace SpringMapTextures
