#pragma once

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

// The real maps live beside the repository (shared/maps); CI clones shared/ next to it.
inline std::filesystem::path MapsDir()
{
    return QUINDLE_MAPS_DIR;
}

#define SKIP_WITHOUT_MAPS()                                                                                  \
    if (!std::filesystem::is_directory(MapsDir()))                                                           \
    GTEST_SKIP() << "the shared maps folder " << MapsDir() << " is absent"

inline std::vector<std::uint8_t> ReadBytes(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void WriteBytes(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes)
{
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline void WriteText(const std::filesystem::path& path, const std::string& text)
{
    WriteBytes(path, std::vector<std::uint8_t>(text.begin(), text.end()));
}

inline std::int32_t GetInt32(const std::vector<std::uint8_t>& bytes, std::size_t offset)
{
    std::int32_t value = 0;
    std::memcpy(&value, bytes.data() + offset, 4);
    return value;
}

inline void PutInt32(std::vector<std::uint8_t>& bytes, std::size_t offset, std::int32_t value)
{
    std::memcpy(bytes.data() + offset, &value, 4);
}

// A scratch folder removed when the test ends.
struct ScratchDir
{
    std::filesystem::path Path;
    ScratchDir()
    {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        Path = std::filesystem::temp_directory_path() / ("quindle-maps-" + std::to_string(::getpid()) + "-" +
                                                         info->test_suite_name() + "-" + info->name());
        std::filesystem::remove_all(Path);
        std::filesystem::create_directories(Path);
    }
    ~ScratchDir() { std::filesystem::remove_all(Path); }
};
