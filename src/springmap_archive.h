#pragma once

#include <archive.h>
#include <archive_entry.h>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "springmap_limits.h"

// The files of a map as the engine sees them: an .sdd folder or an .sdz/.sd7 (zip or 7z). Paths use
// '/' and are looked up ignoring letter case.
class SpringMapArchive
{
  public:
    // Opens a folder or an archive file. An archive is only listed here: entries are unpacked when
    // asked for, so the ones a map loader never needs are skipped without being decompressed.
    bool Open(const std::string& Path, std::string& Error, const SpringMapFiles::Limits& Caps = {});
    // The same over bytes in memory, which must outlive the archive. Label names it in messages and
    // picks the kind: a name ending in .smf is that one file, anything else a zip or 7z archive.
    bool OpenMemory(const std::string& Label, std::span<const std::uint8_t> Bytes, std::string& Error,
                    const SpringMapFiles::Limits& Caps = {});

    const std::string& GetPath() const { return RootPath; }
    // Entry paths as stored, in archive order (sorted for folders).
    const std::vector<std::string>& GetEntries() const { return Entries; }
    // Finds an entry ignoring case; "a//b", "./a" and backslashes are normalised first.
    bool Find(const std::string& Path, std::string& OutEntry) const;
    // Hands over an entry's bytes, unpacking it unless Unpack already did (then it is handed over
    // once; asking again unpacks it again).
    bool Read(const std::string& Entry, std::vector<std::uint8_t>& Out, std::string& Error);
    // The same without a copy where the bytes are already in memory (an .smf opened from memory):
    // Out then points at them, else at Storage, which Read filled.
    bool ReadView(const std::string& Entry, std::vector<std::uint8_t>& Storage,
                  std::span<const std::uint8_t>& Out, std::string& Error);
    // Unpacks these entries in one pass in archive order and keeps them for Read. The pass goes on
    // from the last one when it can and stops at the last entry asked for, so in a solid 7z block
    // nothing after it is decompressed. Folders need no unpacking; the call does nothing there.
    bool Unpack(const std::vector<std::string>& Wanted, std::string& Error);
    // Entries left out while listing (links, names leaving the map, duplicates), one line each.
    const std::vector<std::string>& GetWarnings() const { return Warnings; }
    // The map's files read so far, in the order they were read.
    const std::vector<std::string>& GetReadEntries() const { return ReadEntries; }
    // Files directly inside Dir whose names match a '*'/'?' pattern, ignoring case, in entry order.
    std::vector<std::string> ListDir(const std::string& Dir, const std::string& Pattern) const;

    static std::string Normalise(const std::string& Path);

  private:
    void Reset(const std::string& Path, const SpringMapFiles::Limits& Caps);
    bool OpenFolder(std::string& Error);
    bool OpenReader(std::string& Error);
    bool ListArchive(std::string& Error);
    bool UnpackCurrent(archive_entry* Header, const std::string& Entry, std::string& Error);
    void AddEntry(std::string Entry, std::size_t Ordinal);
    void AddWarning(const std::string& Text);
    bool CountRead(const std::string& Entry, std::uint64_t EntryBytes, std::uint64_t NewBytes,
                   std::string& Error);

    std::string RootPath;
    bool bFolder = false;
    std::span<const std::uint8_t> Memory; // the archive or .smf when opened from memory
    bool bInMemory = false;
    bool bMemorySmf = false;
    SpringMapFiles::Limits Caps;
    std::vector<std::string> Warnings;
    std::vector<std::string> Entries;
    std::vector<std::size_t> Ordinals; // per entry: its header's position in the archive
    std::unordered_map<std::string, std::size_t> EntryByLowerPath;
    std::unordered_map<std::string, std::vector<std::uint8_t>> Unpacked; // by entry, until Read
    std::vector<std::string> ReadEntries;
    std::unique_ptr<archive, int (*)(archive*)> Reader{nullptr, &archive_read_free};
    std::size_t NextOrdinal = 0;      // position of the header Reader returns next
    std::uint64_t BytesRead = 0;      // from every entry so far, for Caps.MaxTotalBytes
    std::size_t UnlistedWarnings = 0; // past the first few, only counted
};

namespace SpringMapFiles
{
std::string ToLower(std::string Text);
bool EndsWithIgnoreCase(const std::string& Text, const std::string& Suffix);
// Text on one line: line breaks become spaces, trailing spaces go.
std::string OneLine(std::string Text);
// Refuses a file over MaxBytes before reading any of it.
bool ReadWholeFile(const std::string& Path, std::vector<std::uint8_t>& Out, std::string& Error,
                   std::uint64_t MaxBytes = Limits{}.MaxEntryBytes);
} // namespace SpringMapFiles
