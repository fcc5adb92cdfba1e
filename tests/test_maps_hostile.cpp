// Archives that lie: each is one clear error or a warning, after reading no more than the caps allow.
#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

#include "loadpath_check.h"
#include "springmap_archive.h"
#include "springmap_generator.h"
#include "springmap_loader.h"

namespace
{
struct ZipEntry
{
    std::string Name;
    std::vector<std::uint8_t> Data;  // stored as is, or a raw deflate stream when bDeflated
    std::uint32_t DeclaredBytes = 0; // 0: the data's own size
    bool bDeflated = false;
    bool bEncrypted = false;
    std::uint32_t Mode = 0100644;
};

void Put(std::vector<std::uint8_t>& out, std::uint64_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out.push_back(std::uint8_t(value >> 8 * i));
}

// A zip written field by field, so its headers can say anything at all.
std::vector<std::uint8_t> WriteZip(const std::vector<ZipEntry>& entries)
{
    std::vector<std::uint8_t> zip, central;
    for (const ZipEntry& e : entries)
    {
        const std::uint32_t crc = e.bDeflated ? 0 : crc32(0, e.Data.data(), uInt(e.Data.size()));
        const std::uint32_t declared = e.DeclaredBytes ? e.DeclaredBytes : std::uint32_t(e.Data.size());
        const auto header = [&](std::vector<std::uint8_t>& out, bool bCentral)
        {
            Put(out, bCentral ? 0x02014b50 : 0x04034b50, 4);
            if (bCentral)
                Put(out, 0x0314, 2); // made by Unix, so the mode counts
            Put(out, 20, 2), Put(out, e.bEncrypted, 2), Put(out, e.bDeflated ? 8 : 0, 2), Put(out, 0, 4);
            Put(out, crc, 4), Put(out, e.Data.size(), 4), Put(out, declared, 4), Put(out, e.Name.size(), 2);
            Put(out, 0, 2);
            if (bCentral)
                Put(out, 0, 6), Put(out, std::uint64_t(e.Mode) << 16, 4), Put(out, zip.size(), 4);
            out.insert(out.end(), e.Name.begin(), e.Name.end());
        };
        header(central, true);
        header(zip, false);
        zip.insert(zip.end(), e.Data.begin(), e.Data.end());
    }
    const std::size_t centralAt = zip.size();
    zip.insert(zip.end(), central.begin(), central.end());
    Put(zip, 0x06054b50, 4), Put(zip, 0, 4), Put(zip, entries.size(), 2), Put(zip, entries.size(), 2);
    Put(zip, central.size(), 4), Put(zip, centralAt, 4), Put(zip, 0, 2);
    return zip;
}

// Raw deflate of Bytes zeros, about a thousandth of that: one flushed MiB of zeros repeated.
std::vector<std::uint8_t> DeflateZeros(std::uint64_t bytes)
{
    std::vector<std::uint8_t> zeros(1 << 20), chunk(1 << 20), out;
    z_stream z{};
    deflateInit2(&z, 9, Z_DEFLATED, -15, 9, Z_DEFAULT_STRATEGY);
    z.next_in = zeros.data(), z.avail_in = uInt(zeros.size());
    z.next_out = chunk.data(), z.avail_out = uInt(chunk.size());
    deflate(&z, Z_FULL_FLUSH);
    chunk.resize(chunk.size() - z.avail_out);
    deflateEnd(&z);
    for (std::uint64_t i = 0; i < bytes >> 20; ++i)
        out.insert(out.end(), chunk.begin(), chunk.end());
    out.insert(out.end(), {0x03, 0x00}); // an empty last block
    return out;
}

// A 7z through libarchive's writer with the tile file as a hard link to the .smf.
std::vector<std::uint8_t> Write7zWithHardLink(const std::vector<std::uint8_t>& smf)
{
    std::vector<std::uint8_t> out(smf.size() + (1 << 16));
    std::size_t used = 0;
    archive* a = archive_write_new();
    archive_write_set_format_7zip(a);
    archive_write_open_memory(a, out.data(), out.size(), &used);
    archive_entry* e = archive_entry_new();
    for (const char* hardlink : {static_cast<const char*>(nullptr), "maps/m.smf"})
    {
        archive_entry_clear(e);
        archive_entry_set_pathname(e, hardlink ? "maps/m.smt" : "maps/m.smf");
        archive_entry_set_filetype(e, AE_IFREG);
        archive_entry_set_perm(e, 0644);
        archive_entry_set_size(e, hardlink ? 0 : la_int64_t(smf.size()));
        archive_entry_set_hardlink(e, hardlink);
        archive_write_header(a, e);
        archive_write_data(a, smf.data(), hardlink ? 0 : smf.size());
    }
    archive_entry_free(e);
    archive_write_free(a);
    out.resize(used);
    return out;
}
} // namespace

TEST(MapHostile, LyingArchivesGiveOneLineWithinTheCaps)
{
    std::vector<std::uint8_t> smf, smt;
    std::string error;
    ASSERT_TRUE(SpringMapGenerator::Generate({.MapX = 8, .MapY = 8}, "m.smt", smf, smt, error)) << error;
    const ZipEntry smfEntry{"maps/m.smf", smf}, smtEntry{"maps/m.smt", smt};
    std::vector<ZipEntry> many(100000, ZipEntry{"f", {}});
    for (std::size_t i = 0; i < many.size(); ++i)
        many[i].Name = "f" + std::to_string(i);
    const std::string cap = "268435456";
    const auto mapinfo = [&](const std::string& lua, std::vector<ZipEntry> more = {})
    {
        more.insert(more.end(), {smfEntry, smtEntry, {"mapinfo.lua", {lua.begin(), lua.end()}}});
        return WriteZip(more);
    };
    const std::string header = "; using the .smf header values";
    // clang-format off
    const struct
    {
        const char* What;
        std::vector<std::uint8_t> Archive;
        std::string Expected; // the error, or "warnings: " and every warning joined by " | "
        const char* Label = "m.sdz";
    } cases[] = {
        {"4 GiB stated", WriteZip({{"maps/m.smf", smf, 0xFFFFFFFE}, smtEntry}), "m.sdz: maps/m.smf declares 4294967294 bytes, more than the " + cap + " one map file may have"},
        {"2 GiB bomb", WriteZip({{"maps/m.smf", DeflateZeros(2ull << 30), 1024, true}, smtEntry}), "m.sdz: maps/m.smf unpacks to more than the " + cap + " bytes one map file may have"},
        {"100,000 entries", WriteZip(many), "m.sdz: more than 50000 entries in the archive"},
        {"encrypted", WriteZip({{"maps/m.smf", smf, 0, false, true}, smtEntry}), "m.sdz: maps/m.smf is encrypted; map files must open without a password"},
        {"nested", WriteZip({{"Inner.sdz", mapinfo("return {}")}}), "m.sdz: no .smf file in the map (archives inside an archive, such as Inner.sdz, are not opened)"},
        {"escaping names", WriteZip({{"../../x.smf", smf}, {"/abs/x.smt", smt}, {"C:\\x.smt", smt}, smfEntry, smtEntry}),
         "warnings: m.sdz: entry ../../x.smf skipped: its path leaves the map | m.sdz: entry /abs/x.smt skipped: its path leaves the map | m.sdz: entry C:/x.smt skipped: its path leaves the map"},
        {"backslashes", WriteZip({{"maps\\m.smf", smf}, {"maps\\m.smt", smt}}), "warnings: "},
        {"case twins and a NUL", WriteZip({smfEntry, smtEntry, {"MAPS/M.SMF", {}}, {std::string("maps/m.smt\0.exe", 15), {}}}),
         "warnings: m.sdz: entry MAPS/M.SMF skipped: the same name as maps/m.smf ignoring case | m.sdz: entry maps/m.smt skipped: the same name as maps/m.smt ignoring case"},
        {"zip symlink", WriteZip({smfEntry, {"maps/m.smt", {'/', 'e', 't', 'c'}, 0, false, false, 0120777}}),
         "warnings: m.sdz: entry maps/m.smt skipped: links are not followed | m.sdz:m.smt: tile file not found; the minimap stands in for its 4 tiles"},
        {"7z hard link", Write7zWithHardLink(smf), "m.sd7:maps/m.smt: file is 0 bytes, shorter than the 32-byte header", "m.sd7"},
        {"includes itself", mapinfo("VFS.Include('mapinfo.lua')"), "warnings: m.sdz:mapinfo.lua: mapinfo.lua:1: VFS.Include: nested too deep at 'mapinfo.lua'" + header},
        {"1 GiB file", mapinfo("local s = VFS.LoadFile('big.bin')", {{"big.bin", DeflateZeros(1ull << 30), 1u << 30, true}}),
         "warnings: m.sdz:mapinfo.lua: VFS.LoadFile: m.sdz: big.bin declares 1073741824 bytes, more than the " + cap + " one map file may have" + header},
        {"huge string", mapinfo("local s = 'x' for i = 1, 40 do s = s .. s end"), "warnings: m.sdz:mapinfo.lua: not enough memory (mapinfo may use 16 MiB)" + header},
    };
    // clang-format on
    for (const auto& c : cases)
    {
        SpringMap map;
        error.clear();
        const bool bLoaded = SpringMapLoader::LoadFromMemory(c.Label, c.Archive, map, error);
        std::string got = bLoaded ? "warnings: " : error;
        for (std::size_t i = 0; i < map.Warnings.size(); ++i)
            got += (i ? " | " : "") + map.Warnings[i];
        EXPECT_EQ(got, c.Expected) << c.What;
        EXPECT_EQ(bLoaded, c.Expected.starts_with("warnings: ")) << c.What;
        EXPECT_EQ(map.SmfPath, bLoaded ? "maps/m.smf" : "") << c.What;
    }
}

// The archive's own edges: the entry cap holds at exactly its count, in a folder too; an earlier
// archive's warnings go with the next Open; entries asked for in any order unpack in archive order;
// an archive cut short on disk after it was listed fails to unpack with one line.
TEST(MapHostile, ArchiveEdgesCapsReuseOrderAndAFileCutAfterListing)
{
    namespace fs = std::filesystem;
    const std::vector<std::uint8_t> three = WriteZip({{"a", {'1'}}, {"b", {'2'}}, {"c", {'3'}}});
    const fs::path dir = fs::temp_directory_path() / ("quindle-edges-" + std::to_string(::getpid()));
    fs::create_directories(dir / "f");
    for (const char* name : {"f/a", "f/b", "f/c"})
        std::ofstream(dir / name) << name;
    SpringMapFiles::Limits caps;
    caps.MaxEntries = 3, caps.MaxEntryBytes = 1, caps.MaxTotalBytes = 2; // each holds at exactly its size
    SpringMapArchive archive;
    std::string error;
    EXPECT_TRUE(archive.OpenMemory("link.sdz", WriteZip({{"l", {'/'}, 0, false, false, 0120777}}), error));
    EXPECT_EQ(archive.GetWarnings().size(), 1u);
    EXPECT_TRUE(archive.OpenMemory("three.sdz", three, error, caps)) << error;
    EXPECT_EQ(archive.GetWarnings(), std::vector<std::string>());
    std::vector<std::uint8_t> a, c;
    EXPECT_TRUE(archive.Unpack({"c", "a"}, error) && archive.Read("c", c, error) &&
                archive.Read("a", a, error));
    EXPECT_EQ(a, std::vector<std::uint8_t>{'1'});
    EXPECT_EQ(c, std::vector<std::uint8_t>{'3'});
    caps.MaxEntries = 2;
    EXPECT_FALSE(archive.OpenMemory("three.sdz", three, error, caps));
    EXPECT_EQ(error, "three.sdz: more than 2 entries in the archive");
    EXPECT_FALSE(archive.Open((dir / "f").string(), error, caps));
    EXPECT_EQ(error, (dir / "f").string() + ": more than 2 files in the folder");
    caps.MaxEntries = 3, caps.MaxEntryBytes = 3, caps.MaxTotalBytes = 5;
    ASSERT_TRUE(archive.Open((dir / "f").string(), error, caps)) << error;
    EXPECT_TRUE(archive.Read("a", a, error)) << error;
    EXPECT_FALSE(archive.Read("b", a, error));
    EXPECT_EQ(error, (dir / "f").string() + ": the map's files unpack to more than 5 bytes in all");
    // A bare .smf in memory is read in place.
    std::vector<std::uint8_t> smf, smt;
    ASSERT_TRUE(SpringMapGenerator::Generate({.MapX = 8, .MapY = 8}, "m.smt", smf, smt, error)) << error;
    SpringMap map;
    EXPECT_TRUE(SpringMapLoader::LoadFromMemory("m.smf", smf, map, error)) << error;
    EXPECT_EQ(map.Smf.MapX, 8);

    const std::string path = (dir / "cut.sdz").string();
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(three.data()), three.size());
    ASSERT_TRUE(archive.Open(path, error)) << error;
    fs::resize_file(path, 64); // a and b stay whole; c's header is gone
    EXPECT_FALSE(archive.Read("c", c, error));
    EXPECT_EQ(error.rfind(path + ": cannot unpack c (", 0), 0u) << error;
    EXPECT_EQ(error.back(), ')');
    fs::remove_all(dir);
}

// Every input that once broke the whole-load-path fuzzer, replayed through the fuzzer's own checks.
TEST(MapHostile, FuzzRegressionsHoldEveryInvariant)
{
    int replayed = 0;
    for (const auto& file : std::filesystem::directory_iterator(QUINDLE_FUZZ_REGRESSIONS))
    {
        std::ifstream in(file.path(), std::ios::binary);
        const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
        EXPECT_EQ(CheckLoadPath(bytes), "") << file.path();
        ++replayed;
    }
    EXPECT_GT(replayed, 0);
}
