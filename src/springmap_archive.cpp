#include "springmap_archive.h"

#include <algorithm>
#include <archive.h>
#include <archive_entry.h>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <utility>

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

std::string OneLine(std::string Text)
{
    for (char& c : Text)
        if (c == '\n' || c == '\r')
            c = ' ';
    while (!Text.empty() && Text.back() == ' ')
        Text.pop_back();
    return Text;
}

bool ReadWholeFile(const std::string& Path, std::vector<std::uint8_t>& Out, std::string& Error,
                   std::uint64_t MaxBytes)
{
    std::error_code ec;
    const std::uintmax_t size = fs::file_size(Path, ec);
    if (ec)
    {
        Error = Path + ": cannot read the file (" + ec.message() + ")";
        return false;
    }
    if (size > MaxBytes)
    {
        Error = Path + ": file is " + std::to_string(size) + " bytes, more than the " +
                std::to_string(MaxBytes) + " one map file may have";
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

// libarchive's reason on one line; it may have none at all.
std::string DescribeFailure(archive* reader)
{
    const char* why = archive_error_string(reader);
    return SpringMapFiles::OneLine(why && *why ? why : "libarchive gave no reason");
}

// Large reads: fewer system calls, and libarchive rarely has to stitch a request across two blocks.
constexpr std::size_t ReadBlockBytes = 1 << 20;
// Listing problems shown one by one; past this many, only their number.
constexpr std::size_t MaxListWarnings = 8;

// A name that would climb out of the map's root, were it ever written to disk.
bool LeavesTheMap(std::string path)
{
    std::replace(path.begin(), path.end(), '\\', '/');
    return path.starts_with('/') || (path.size() > 1 && path[1] == ':') ||
           ("/" + path + "/").find("/../") != std::string::npos;
}

bool IsHeader(int status)
{
    return status == ARCHIVE_OK || status == ARCHIVE_WARN;
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

void SpringMapArchive::AddEntry(std::string Entry, std::size_t Ordinal)
{
    std::string problem;
    const std::string raw = Entry;
    Entry = Normalise(Entry);
    const std::string lower = SpringMapFiles::ToLower(Entry);
    const auto same = EntryByLowerPath.find(lower);
    if (Entry.empty())
        return;
    if (LeavesTheMap(raw))
        problem = "its path leaves the map";
    else if (same != EntryByLowerPath.end())
        problem = "the same name as " + Entries[same->second] + " ignoring case";
    if (!problem.empty())
        return AddWarning("entry " + raw + " skipped: " + problem);
    EntryByLowerPath.emplace(lower, Entries.size());
    Entries.push_back(std::move(Entry));
    Ordinals.push_back(Ordinal);
}

void SpringMapArchive::AddWarning(const std::string& Text)
{
    if (Warnings.size() < MaxListWarnings)
        Warnings.push_back(RootPath + ": " + Text);
    else
        ++UnlistedWarnings;
}

void SpringMapArchive::Reset(const std::string& Path, const SpringMapFiles::Limits& Limits)
{
    RootPath = Path;
    Caps = Limits;
    Entries.clear();
    Ordinals.clear();
    EntryByLowerPath.clear();
    Unpacked.clear();
    ReadEntries.clear();
    Warnings.clear();
    UnlistedWarnings = 0;
    Reader.reset();
    Memory = {};
    bInMemory = bMemorySmf = false;
    BytesRead = 0;
}

bool SpringMapArchive::Open(const std::string& Path, std::string& Error, const SpringMapFiles::Limits& Limits)
{
    Reset(Path, Limits);
    std::error_code ec;
    bFolder = fs::is_directory(Path, ec);
    if (!bFolder && !fs::is_regular_file(Path, ec))
    {
        Error = Path + ": no such file or folder";
        return false;
    }
    return bFolder ? OpenFolder(Error) : ListArchive(Error);
}

bool SpringMapArchive::OpenMemory(const std::string& Label, std::span<const std::uint8_t> Bytes,
                                  std::string& Error, const SpringMapFiles::Limits& Limits)
{
    Reset(Label, Limits);
    bFolder = false;
    bInMemory = true;
    Memory = Bytes;
    bMemorySmf = SpringMapFiles::EndsWithIgnoreCase(Label, ".smf");
    if (!bMemorySmf)
        return ListArchive(Error);
    AddEntry(fs::path(Label).filename().string(), 0);
    return true;
}

bool SpringMapArchive::OpenFolder(std::string& Error)
{
    std::error_code ec;
    std::vector<std::string> found;
    for (fs::recursive_directory_iterator it(RootPath, fs::directory_options::skip_permission_denied, ec),
         end;
         !ec && it != end; it.increment(ec))
    {
        if (found.size() >= Caps.MaxEntries)
        {
            Error = RootPath + ": more than " + std::to_string(Caps.MaxEntries) + " files in the folder";
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
        AddEntry(std::move(entry), 0);
    return true;
}

// Map archives are zip or 7z for the engine, so nothing else is tried: a text file named .sd7 is
// refused as what it is, not read as some other format.
bool SpringMapArchive::OpenReader(std::string& Error)
{
    Reader.reset(archive_read_new());
    NextOrdinal = 0;
    archive_read_support_format_zip(Reader.get());
    archive_read_support_format_7zip(Reader.get());
    const int status = bInMemory ? archive_read_open_memory(Reader.get(), Memory.data(), Memory.size())
                                 : archive_read_open_filename(Reader.get(), RootPath.c_str(), ReadBlockBytes);
    if (status == ARCHIVE_OK)
        return true;
    Error = RootPath + ": not a readable zip or 7z archive (" + DescribeFailure(Reader.get()) + ")";
    Reader.reset();
    return false;
}

// Reads the headers only. Neither format needs to decompress anything to list its entries.
bool SpringMapArchive::ListArchive(std::string& Error)
{
    if (!OpenReader(Error))
        return false;
    archive_entry* entry = nullptr;
    int status = ARCHIVE_OK;
    while (IsHeader(status = archive_read_next_header(Reader.get(), &entry)))
    {
        const std::size_t ordinal = NextOrdinal++;
        if (ordinal >= Caps.MaxEntries)
        {
            Error = RootPath + ": more than " + std::to_string(Caps.MaxEntries) + " entries in the archive";
            return false;
        }
        const char* name = archive_entry_pathname(entry);
        const bool bLink = archive_entry_filetype(entry) == AE_IFLNK || archive_entry_hardlink(entry);
        if (!name || archive_entry_filetype(entry) == AE_IFDIR)
            continue;
        if (bLink || archive_entry_filetype(entry) != AE_IFREG)
            AddWarning(std::string("entry ") + name +
                       " skipped: " + (bLink ? "links are not followed" : "not a file"));
        else
            AddEntry(name, ordinal);
    }
    if (UnlistedWarnings > 0)
        Warnings.push_back(RootPath + ": " + std::to_string(UnlistedWarnings) + " more entries skipped");
    if (status != ARCHIVE_EOF)
    {
        Error = RootPath + ": not a readable zip or 7z archive (" + DescribeFailure(Reader.get()) + ")";
        return false;
    }
    return true;
}

bool SpringMapArchive::Unpack(const std::vector<std::string>& Wanted, std::string& Error)
{
    if (bFolder || bMemorySmf)
        return true;
    std::vector<std::pair<std::size_t, std::string>> queue; // (ordinal, entry)
    for (const std::string& path : Wanted)
    {
        std::string entry;
        if (Find(path, entry) && !Unpacked.count(entry))
            queue.emplace_back(Ordinals[EntryByLowerPath.at(SpringMapFiles::ToLower(entry))], entry);
    }
    std::sort(queue.begin(), queue.end());
    if (queue.empty())
        return true;
    // The reader only goes forward; an entry behind it needs a fresh pass from the start.
    if (!Reader || queue.front().first < NextOrdinal)
        if (!OpenReader(Error))
            return false;
    for (const auto& [ordinal, entry] : queue)
    {
        archive_entry* header = nullptr;
        while (NextOrdinal <= ordinal)
        {
            if (!IsHeader(archive_read_next_header(Reader.get(), &header)))
            {
                Error = RootPath + ": cannot unpack " + entry + " (" + DescribeFailure(Reader.get()) + ")";
                Reader.reset();
                return false;
            }
            ++NextOrdinal;
        }
        if (!UnpackCurrent(header, entry, Error))
        {
            Reader.reset();
            return false;
        }
    }
    return true;
}

bool SpringMapArchive::UnpackCurrent(archive_entry* Header, const std::string& Entry, std::string& Error)
{
    const la_int64_t declaredBytes = archive_entry_size_is_set(Header) ? archive_entry_size(Header) : 0;
    if (archive_entry_is_encrypted(Header))
        return Error = RootPath + ": " + Entry + " is encrypted; map files must open without a password",
               false;
    if (declaredBytes > 0 && static_cast<std::uint64_t>(declaredBytes) > Caps.MaxEntryBytes)
        return Error = RootPath + ": " + Entry + " declares " + std::to_string(declaredBytes) +
                       " bytes, more than the " + std::to_string(Caps.MaxEntryBytes) +
                       " one map file may have",
               false;
    // The stated size, within the cap, spares the copies of a growing buffer; a lie costs only that.
    std::vector<std::uint8_t> data;
    data.reserve(static_cast<std::size_t>(std::max<la_int64_t>(declaredBytes, 0)));
    const void* block = nullptr;
    std::size_t blockBytes = 0;
    la_int64_t offset = 0;
    int status = ARCHIVE_OK;
    while ((status = archive_read_data_block(Reader.get(), &block, &blockBytes, &offset)) == ARCHIVE_OK)
    {
        if (!CountRead(Entry, data.size(), blockBytes, Error))
            return false;
        const auto* bytes = static_cast<const std::uint8_t*>(block);
        data.insert(data.end(), bytes, bytes + blockBytes);
    }
    if (status != ARCHIVE_EOF)
    {
        Error = RootPath + ": cannot unpack " + Entry + " (" + DescribeFailure(Reader.get()) + ")";
        return false;
    }
    Unpacked[Entry] = std::move(data);
    ReadEntries.push_back(Entry);
    return true;
}

bool SpringMapArchive::CountRead(const std::string& Entry, std::uint64_t EntryBytes, std::uint64_t NewBytes,
                                 std::string& Error)
{
    if (EntryBytes + NewBytes > Caps.MaxEntryBytes)
        Error = RootPath + ": " + Entry + " unpacks to more than the " + std::to_string(Caps.MaxEntryBytes) +
                " bytes one map file may have";
    else if (BytesRead + NewBytes > Caps.MaxTotalBytes)
        Error = RootPath + ": the map's files unpack to more than " + std::to_string(Caps.MaxTotalBytes) +
                " bytes in all";
    else
        return BytesRead += NewBytes, true;
    return false;
}

bool SpringMapArchive::Find(const std::string& Path, std::string& OutEntry) const
{
    const auto it = EntryByLowerPath.find(SpringMapFiles::ToLower(Normalise(Path)));
    if (it == EntryByLowerPath.end())
        return false;
    OutEntry = Entries[it->second];
    return true;
}

bool SpringMapArchive::Read(const std::string& Entry, std::vector<std::uint8_t>& Out, std::string& Error)
{
    if (bFolder || bMemorySmf)
    {
        std::vector<std::uint8_t> data(Memory.begin(), Memory.end());
        if ((bFolder && !SpringMapFiles::ReadWholeFile((fs::path(RootPath) / Entry).string(), data, Error,
                                                       Caps.MaxEntryBytes)) ||
            !CountRead(Entry, 0, data.size(), Error))
            return false;
        Out = std::move(data);
        ReadEntries.push_back(Entry);
        return true;
    }
    std::string entry;
    if (!Find(Entry, entry))
    {
        Error = RootPath + ": no " + Entry + " in the archive";
        return false;
    }
    if (!Unpack({entry}, Error))
        return false;
    const auto it = Unpacked.find(entry);
    Out = std::move(it->second);
    Unpacked.erase(it);
    return true;
}

bool SpringMapArchive::ReadView(const std::string& Entry, std::vector<std::uint8_t>& Storage,
                                std::span<const std::uint8_t>& Out, std::string& Error)
{
    if (!bMemorySmf)
        return Read(Entry, Storage, Error) && (Out = Storage, true);
    if (!CountRead(Entry, 0, Memory.size(), Error))
        return false;
    ReadEntries.push_back(Entry);
    Out = Memory;
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
