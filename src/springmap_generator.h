#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Quindle's own map: a real .smf/.smt pair with rolling hills, a ridge, a valley and a plateau,
// the same bytes for the same seed, so picking, slopes and route planning have terrain to work on.
namespace SpringMapGenerator
{
struct Options
{
    std::uint64_t Seed = 1;
    int MapX = 256; // squares, a multiple of 4
    int MapY = 256;
    float MinHeight = -60.0f;
    float MaxHeight = 440.0f;
    int FeatureCount = 0; // trees, rocks and a few geovents scattered over the map
};

// Builds both files in memory; the .smf names its tile file SmtName. False on bad options.
bool Generate(const Options& Opts, const std::string& SmtName, std::vector<std::uint8_t>& Smf,
              std::vector<std::uint8_t>& Smt, std::string& Error);
// Writes <Dir>/<BaseName>.smf and .smt (each through a temporary name, so readers never see half a
// file) and returns the .smf's path.
bool WriteFiles(const Options& Opts, const std::string& Dir, const std::string& BaseName,
                std::string& SmfPath, std::string& Error);
// The default map in the user's cache folder ($XDG_CACHE_HOME/quindle, ~/.cache/quindle, else the
// temp folder), generated on first use.
bool EnsureDefaultMap(std::string& SmfPath, std::string& Error);
} // namespace SpringMapGenerator
