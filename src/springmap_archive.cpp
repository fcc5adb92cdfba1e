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

// libarchive's reason on one line; it may have none at all.
std::string DescribeFailure(archive* reader)
{
    const char* why = archive_error_string(reader);
    return SpringMapFiles::OneLine(why && *why ? why : "libarchive gave no reason");
}

// Large reads: fewer system calls, and libarchive rarely has to stitch a request across two blocks.
constexpr std::size_t ReadBlockBytes = 1 << 20;
constexpr la_int64_t MaxReserveBytes = la_int64_t(256) << 20;

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
    Entry = Normalise(Entry);
    const std::string lower = SpringMapFiles::ToLower(Entry);
    if (Entry.empty() || EntryByLowerPath.count(lower))
        return;
    EntryByLowerPath.emplace(lower, Entries.size());
    Entries.push_back(std::move(Entry));
    Ordinals.push_back(Ordinal);
}

bool SpringMapArchive::Open(const std::string& Path, std::string& Error)
{
    RootPath = Path;
    Entries.clear();
    Ordinals.clear();
    EntryByLowerPath.clear();
    Unpacked.clear();
    ReadEntries.clear();
    Reader.reset();
    UnpackedBytes = 0;
    std::error_code ec;
    bFolder = fs::is_directory(Path, ec);
    if (!bFolder && !fs::is_regular_file(Path, ec))
    {
        Error = Path + ": no such file or folder";
        return false;
    }
    return bFolder ? OpenFolder(Error) : ListArchive(Error);
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
    if (archive_read_open_filename(Reader.get(), RootPath.c_str(), ReadBlockBytes) == ARCHIVE_OK)
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
        if (Entries.size() >= SpringMapFiles::MaxEntries)
        {
            Error = RootPath + ": more than " + std::to_string(SpringMapFiles::MaxEntries) +
                    " entries in the archive";
            return false;
        }
        if (archive_entry_filetype(entry) == AE_IFREG && archive_entry_pathname(entry))
            AddEntry(archive_entry_pathname(entry), ordinal);
    }
    if (status != ARCHIVE_EOF)
    {
        Error = RootPath + ": not a readable zip or 7z archive (" + DescribeFailure(Reader.get()) + ")";
        return false;
    }
    return true;
}

bool SpringMapArchive::Unpack(const std::vector<std::string>& Wanted, std::string& Error)
{
    if (bFolder)
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
    // The stated size only reserves address space (capped, and pages are touched only when written),
    // so a lying header costs nothing; it spares the copies of a growing buffer.
    std::vector<std::uint8_t> data;
    if (archive_entry_size_is_set(Header) && archive_entry_size(Header) > 0)
        data.reserve(
            static_cast<std::size_t>(std::min<la_int64_t>(archive_entry_size(Header), MaxReserveBytes)));
    const void* block = nullptr;
    std::size_t blockBytes = 0;
    la_int64_t offset = 0;
    int status = ARCHIVE_OK;
    while ((status = archive_read_data_block(Reader.get(), &block, &blockBytes, &offset)) == ARCHIVE_OK)
    {
        UnpackedBytes += blockBytes;
        if (UnpackedBytes > SpringMapFiles::MaxFileBytes)
        {
            Error = RootPath + ": map files in the archive unpack to more than " +
                    std::to_string(SpringMapFiles::MaxFileBytes) + " bytes";
            return false;
        }
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
    if (bFolder)
    {
        if (!SpringMapFiles::ReadWholeFile((fs::path(RootPath) / Entry).string(), Out, Error))
            return false;
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
