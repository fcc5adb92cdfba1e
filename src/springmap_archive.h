#pragma once

#include <archive.h>
#include <archive_entry.h>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

// The files of a map as the engine sees them: an .sdd folder or an .sdz/.sd7 (zip or 7z). Paths use
// '/' and are looked up ignoring letter case.
class SpringMapArchive
{
  public:
    // Opens a folder or an archive file. An archive is only listed here: entries are unpacked when
    // asked for, so the ones a map loader never needs are skipped without being decompressed.
    bool Open(const std::string& Path, std::string& Error);

    const std::string& GetPath() const { return RootPath; }
    // Entry paths as stored, in archive order (sorted for folders).
    const std::vector<std::string>& GetEntries() const { return Entries; }
    // Finds an entry ignoring case; "a//b", "./a" and backslashes are normalised first.
    bool Find(const std::string& Path, std::string& OutEntry) const;
    // Hands over an entry's bytes, unpacking it unless Unpack already did (then it is handed over
    // once; asking again unpacks it again).
    bool Read(const std::string& Entry, std::vector<std::uint8_t>& Out, std::string& Error);
    // Unpacks these entries in one pass in archive order and keeps them for Read. The pass goes on
    // from the last one when it can and stops at the last entry asked for, so in a solid 7z block
    // nothing after it is decompressed. Folders need no unpacking; the call does nothing there.
    bool Unpack(const std::vector<std::string>& Wanted, std::string& Error);
    // The map's files read so far, in the order they were read.
    const std::vector<std::string>& GetReadEntries() const { return ReadEntries; }
    // Files directly inside Dir whose names match a '*'/'?' pattern, ignoring case, in entry order.
    std::vector<std::string> ListDir(const std::string& Dir, const std::string& Pattern) const;

    static std::string Normalise(const std::string& Path);

  private:
    bool OpenFolder(std::string& Error);
    bool OpenReader(std::string& Error);
    bool ListArchive(std::string& Error);
    bool UnpackCurrent(archive_entry* Header, const std::string& Entry, std::string& Error);
    void AddEntry(std::string Entry, std::size_t Ordinal);

    std::string RootPath;
    bool bFolder = false;
    std::vector<std::string> Entries;
    std::vector<std::size_t> Ordinals; // per entry: its header's position in the archive
    std::unordered_map<std::string, std::size_t> EntryByLowerPath;
    std::unordered_map<std::string, std::vector<std::uint8_t>> Unpacked; // by entry, until Read
    std::vector<std::string> ReadEntries;
    std::unique_ptr<archive, int (*)(archive*)> Reader{nullptr, &archive_read_free};
    std::size_t NextOrdinal = 0; // position of the header Reader returns next
    std::uint64_t UnpackedBytes = 0;
};

namespace SpringMapFiles
{
constexpr std::uint64_t MaxFileBytes = 1ull << 30; // no map file is near this; refuses decompression bombs
constexpr std::size_t MaxEntries = 200000;
std::string ToLower(std::string Text);
bool EndsWithIgnoreCase(const std::string& Text, const std::string& Suffix);
// Text on one line: line breaks become spaces, trailing spaces go.
std::string OneLine(std::string Text);
bool ReadWholeFile(const std::string& Path, std::vector<std::uint8_t>& Out, std::string& Error);
} // namespace SpringMapFiles
