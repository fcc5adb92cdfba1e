#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "springmap_limits.h"
#include "springmap_look.h"

class SpringMapArchive;

// What the viewer takes from a map's mapinfo.lua. Every field is optional: absent keys keep the
// values the .smf header gives.
struct SpringMapInfo
{
    std::optional<std::string> Name;
    std::optional<std::string> MapFile;
    std::optional<float> MaxMetal;
    std::optional<float> MinHeight;
    std::optional<float> MaxHeight;
    std::vector<std::string> SmtFileNames; // smtFileName0..N, consecutive from 0
    SpringMapLook Look;
    // The ground's textures mapinfo names in resources: {key, file name}, for the keys the viewer uses.
    std::vector<std::pair<std::string, std::string>> Textures;
    std::vector<std::string> Ignored; // "<key> ...; ignored" for each value of the wrong type or not finite
};

namespace SpringMapInfoLua
{
// Runs Source (a Lua 5.1 program returning a table) in a sandbox where io, os, debug and file loading
// raise "... is blocked", with VFS and Spring stubs that read from Archive, a memory cap and an
// instruction budget (Caps.MapInfo*). Keys are read ignoring case, as the engine lower-cases them. False with
// a one-line Error when the program fails.
bool Run(const std::string& Source, const std::string& ChunkName, SpringMapArchive& Archive,
         SpringMapInfo& Out, std::string& Error, const SpringMapFiles::Limits& Caps = {});
} // namespace SpringMapInfoLua
