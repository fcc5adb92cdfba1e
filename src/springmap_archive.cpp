#include "springmap_archive.h"

#include <algorithm>
#include <archive.h>
#include <archive_entry.h>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace fs = std::filesystem;

namespace SpringMapFiles
{
std::string ToLower(std::string Text)
{
    for (char& c : Text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return Text;
}

bool EndsWithIgnoreCase(const std::string& Text, const std::string& Suffix)
{
    return Text.size() >= Suffix.size() &&
           ToLower(Text.substr(Text.size() - Suffix.size())) == ToLower(Suffix);
}

bool ReadWholeFile(const std::string& Path, std::vector<std::uint8_t>& Out, std::string& Error)
{
    std::error_code ec;
    const std::uintmax_t size = fs::file_size(Path, ec);
    if (ec)
    {
        Error = Path + ": cannot read the file (" + ec.message() + ")";
        return false;
    }
    if (size > MaxFileBytes)
    {
        Error = Path + ": file is " + std::to_string(size) + " bytes, too large for a map file";
        return false;
    }
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(Path.c_str(), "rb"), &std::fclose);
    std::vector<std::uint8_t> data(size);
    if (!file || (size > 0 && std::fread(data.data(), 1, size, file.get()) != size))
    {
        Error = Path + ": cannot read the file";
        return false;
    }
    Out = std::move(data);
    return true;
}
} // namespace SpringMapFiles

namespace
{
bool MatchesPattern(const char* pattern, const char* text)
{
    // Lower-cased glob with '*' and '?', iterative so hostile patterns stay linear-ish.
    const char* starPattern = nullptr;
    const char* starText = nullptr;
    while (*text)
    {
        if (*pattern == '?' || (*pattern && *pattern == *text))
            ++pattern, ++text;
        else if (*pattern == '*')
            starPattern = pattern++, starText = text;
        else if (starPattern)
            pattern = starPattern + 1, text = ++starText;
        else
            return false;
    }
    while (*pattern == '*')
        ++pattern;
    return *pattern == '\0';
}

bool IsLoaderFile(const std::string& entry, bool bKeepTileFiles)
{
    using SpringMapFiles::EndsWithIgnoreCase;
    return EndsWithIgnoreCase(entry, ".lua") || EndsWithIgnoreCase(entry, ".smf") ||
           (bKeepTileFiles && EndsWithIgnoreCase(entry, ".smt")) || EndsWithIgnoreCase(entry, ".smd");
}
} // namespace

std::string SpringMapArchive::Normalise(const std::string& Path)
{
    std::string result;
    std::size_t start = 0;
    std::string path = Path;
    std::replace(path.begin(), path.end(), '\\', '/');
    while (start <= path.size())
    {
        std::size_t end = path.find('/', start);
        if (end == std::string::npos)
            end = path.size();
        const std::string part = path.substr(start, end - start);
        if (!part.empty() && part != ".")
            result += (result.empty() ? "" : "/") + part;
        start = end + 1;
    }
    return result;
}

void SpringMapArchive::AddEntry(std::string Entry)
{
    Entry = Normalise(Entry);
    const std::string lower = SpringMapFiles::ToLower(Entry);
    if (Entry.empty() || EntryByLowerPath.count(lower))
        return;
    EntryByLowerPath.emplace(lower, Entries.size());
    Entries.push_back(std::move(Entry));
}

bool SpringMapArchive::Open(const std::string& Path, std::string& Error, bool bKeepTileFiles)
{
    RootPath = Path;
    Entries.clear();
    EntryByLowerPath.clear();
    ArchiveContents.clear();
    std::error_code ec;
    bFolder = fs::is_directory(Path, ec);
    if (!bFolder && !fs::is_regular_file(Path, ec))
    {
        Error = Path + ": no such file or folder";
        return false;
    }
    return bFolder ? OpenFolder(Error) : OpenArchiveFile(Error, bKeepTileFiles);
}

bool SpringMapArchive::OpenFolder(std::string& Error)
{
    std::error_code ec;
    std::vector<std::string> found;
    for (fs::recursive_directory_iterator it(RootPath, fs::directory_options::skip_permission_denied, ec),
         end;
         !ec && it != end; it.increment(ec))
    {
        if (found.size() >= SpringMapFiles::MaxEntries)
        {
            Error = RootPath + ": more than " + std::to_string(SpringMapFiles::MaxEntries) +
                    " files in the folder";
            return false;
        }
        if (it->is_regular_file(ec))
            found.push_back(fs::relative(it->path(), RootPath, ec).generic_string());
    }
    if (ec)
    {
        Error = RootPath + ": cannot list the folder (" + ec.message() + ")";
        return false;
    }
    std::sort(found.begin(), found.end());
    for (auto& entry : found)
        AddEntry(std::move(entry));
    return true;
}

bool SpringMapArchive::OpenArchiveFile(std::string& Error, bool bKeepTileFiles)
{
    std::unique_ptr<archive, int (*)(archive*)> reader(archive_read_new(), &archive_read_free);
    archive_read_support_filter_all(reader.get());
    archive_read_support_format_all(reader.get());
    if (archive_read_open_filename(reader.get(), RootPath.c_str(), 1 << 16) != ARCHIVE_OK)
    {
        Error = RootPath + ": not a readable archive (" + archive_error_string(reader.get()) + ")";
        return false;
    }
    archive_entry* entry = nullptr;
    std::uint64_t keptBytes = 0;
    int status = ARCHIVE_OK;
    while ((status = archive_read_next_header(reader.get(), &entry)) == ARCHIVE_OK || status == ARCHIVE_WARN)
    {
        if (Entries.size() >= SpringMapFiles::MaxEntries)
        {
            Error = RootPath + ": more than " + std::to_string(SpringMapFiles::MaxEntries) +
                    " entries in the archive";
            return false;
        }
        if (archive_entry_filetype(entry) != AE_IFREG || !archive_entry_pathname(entry))
            continue;
        const std::string name = Normalise(archive_entry_pathname(entry));
        const std::size_t before = Entries.size();
        AddEntry(name);
        if (Entries.size() == before || !IsLoaderFile(name, bKeepTileFiles))
            continue;
        // Streamed in chunks, never sized from the header, so a lying entry size cannot force an allocation.
        std::vector<std::uint8_t> data;
        // The stated size only reserves address space (capped), so a lie costs nothing.
        if (archive_entry_size_is_set(entry) && archive_entry_size(entry) > 0)
            data.reserve(static_cast<std::size_t>(
                std::min<la_int64_t>(archive_entry_size(entry), la_int64_t(256) << 20)));
        std::uint8_t chunk[1 << 16];
        la_ssize_t got = 0;
        while ((got = archive_read_data(reader.get(), chunk, sizeof(chunk))) > 0)
        {
            keptBytes += static_cast<std::uint64_t>(got);
            if (keptBytes > SpringMapFiles::MaxFileBytes)
            {
                Error = RootPath + ": map files in the archive unpack to more than " +
                        std::to_string(SpringMapFiles::MaxFileBytes) + " bytes";
                return false;
            }
            data.insert(data.end(), chunk, chunk + got);
        }
        if (got < 0)
        {
            Error = RootPath + ": cannot unpack " + name + " (" + archive_error_string(reader.get()) + ")";
            return false;
        }
        ArchiveContents.emplace(name, std::move(data));
    }
    if (status != ARCHIVE_EOF)
    {
        const char* why = archive_error_string(reader.get());
        Error = RootPath + ": damaged archive (" + (why ? why : "unknown error") + ")";
        return false;
    }
    return true;
}

bool SpringMapArchive::Find(const std::string& Path, std::string& OutEntry) const
{
    const auto it = EntryByLowerPath.find(SpringMapFiles::ToLower(Normalise(Path)));
    if (it == EntryByLowerPath.end())
        return false;
    OutEntry = Entries[it->second];
    return true;
}

bool SpringMapArchive::Read(const std::string& Entry, std::vector<std::uint8_t>& Out,
                            std::string& Error) const
{
    if (bFolder)
        return SpringMapFiles::ReadWholeFile((fs::path(RootPath) / Entry).string(), Out, Error);
    const auto it = ArchiveContents.find(Entry);
    if (it == ArchiveContents.end())
    {
        Error = RootPath + ": " + Entry + " is not a map file the loader reads";
        return false;
    }
    Out = it->second;
    return true;
}

std::vector<std::string> SpringMapArchive::ListDir(const std::string& Dir, const std::string& Pattern) const
{
    std::string prefix = SpringMapFiles::ToLower(Normalise(Dir));
    if (!prefix.empty())
        prefix += '/';
    const std::string pattern = SpringMapFiles::ToLower(Pattern.empty() ? "*" : Pattern);
    std::vector<std::string> result;
    for (const auto& entry : Entries)
    {
        const std::string lower = SpringMapFiles::ToLower(entry);
        if (lower.compare(0, prefix.size(), prefix) != 0 ||
            lower.find('/', prefix.size()) != std::string::npos)
            continue;
        if (MatchesPattern(pattern.c_str(), lower.c_str() + prefix.size()))
            result.push_back(entry);
    }
    return result;
}
