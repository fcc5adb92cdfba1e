#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

// The files of a map as the engine sees them: an .sdd folder or an .sdz/.sd7 (any format libarchive
// reads). Paths use '/' and are looked up ignoring letter case.
class SpringMapArchive
{
  public:
    // Opens a folder or an archive file. Archives are read in one pass that keeps the files a map
    // loader needs (.lua, .smf, .smd, and .smt unless bKeepTileFiles is off), so solid archives are
    // decompressed only once.
    bool Open(const std::string& Path, std::string& Error, bool bKeepTileFiles = true);

    const std::string& GetPath() const { return RootPath; }
    // Entry paths as stored, in archive order (sorted for folders).
    const std::vector<std::string>& GetEntries() const { return Entries; }
    // Finds an entry ignoring case; "a//b", "./a" and backslashes are normalised first.
    bool Find(const std::string& Path, std::string& OutEntry) const;
    bool Read(const std::string& Entry, std::vector<std::uint8_t>& Out, std::string& Error) const;
    // Files directly inside Dir whose names match a '*'/'?' pattern, ignoring case, in entry order.
    std::vector<std::string> ListDir(const std::string& Dir, const std::string& Pattern) const;

    static std::string Normalise(const std::string& Path);

  private:
    bool OpenFolder(std::string& Error);
    bool OpenArchiveFile(std::string& Error, bool bKeepTileFiles);
    void AddEntry(std::string Entry);

    std::string RootPath;
    bool bFolder = false;
    std::vector<std::string> Entries;
    std::unordered_map<std::string, std::size_t> EntryByLowerPath;
    std::unordered_map<std::string, std::vector<std::uint8_t>> ArchiveContents; // by entry
};

namespace SpringMapFiles
{
constexpr std::uint64_t MaxFileBytes = 1ull << 30; // no map file is near this; refuses decompression bombs
constexpr std::size_t MaxEntries = 200000;
std::string ToLower(std::string Text);
bool EndsWithIgnoreCase(const std::string& Text, const std::string& Suffix);
bool ReadWholeFile(const std::string& Path, std::vector<std::uint8_t>& Out, std::string& Error);
} // namespace SpringMapFiles
