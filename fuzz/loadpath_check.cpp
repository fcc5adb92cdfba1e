#include "loadpath_check.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "springmap_loader.h"
#include "springmap_renderer.h"

namespace
{
// Caps small enough that every input runs in milliseconds; the loader enforces them itself.
SpringMapLoader::Options FuzzOptions()
{
    SpringMapLoader::Options opts;
    opts.Caps.MaxEntryBytes = 1 << 20;
    opts.Caps.MaxTotalBytes = 4 << 20;
    opts.Caps.MaxEntries = 1000;
    // Every level of detail and skirt case arises on a few 64-square patches; bigger maps only
    // cost time per input.
    opts.Caps.MaxMapSquares = 256;
    opts.Caps.MapInfoBytes = 2 << 20;
    opts.Caps.MapInfoInstructions = 200'000;
    opts.Caps.MapInfoMs = 100;
    return opts;
}

// A bare .smf is at least its 700 KB minimap. Its input is a 4-byte little-endian length (modulo
// 1 MiB) and the start of the file; the rest reads as zeros from a buffer kept zero between inputs,
// so no input pays for clearing a fresh one.
std::span<const std::uint8_t> ExpandSmf(std::span<const std::uint8_t> input)
{
    static std::vector<std::uint8_t> file;
    static std::size_t dirtyBytes = 0;
    std::fill_n(file.begin(), dirtyBytes, 0);
    dirtyBytes = 0;
    if (input.size() < 4)
        return input;
    const std::size_t length = std::max<std::size_t>(
        (input[0] | input[1] << 8 | input[2] << 16 | std::uint32_t(input[3]) << 24) % (1u << 20),
        input.size() - 4);
    if (file.size() < length)
        file.resize(length);
    std::copy(input.begin() + 4, input.end(), file.begin());
    dirtyBytes = input.size() - 4;
    return {file.data(), length};
}

bool IsOneLine(const std::string& text)
{
    return !text.empty() && text.find_first_of("\r\n") == std::string::npos;
}
} // namespace

std::string CheckLoadPath(std::span<const std::uint8_t> Input)
{
    if (Input.empty())
        return "";
    static const char* const names[] = {"fuzz.sdz", "fuzz.sd7", "fuzz.smf"};
    const int packing = Input[0] % 3;
    std::span<const std::uint8_t> bytes = Input.subspan(1);
    if (packing == 2)
        bytes = ExpandSmf(bytes);
    static const SpringMapLoader::Options opts = FuzzOptions();
    SpringMap map;
    std::string error;
    if (!SpringMapLoader::LoadFromMemory(names[packing], bytes, map, error, opts))
        return IsOneLine(error) ? "" : "error not on one line: " + error;
    // A person reads every warning: a flood of them is as much a fault as a crash.
    if (map.Warnings.size() > 64)
        return std::to_string(map.Warnings.size()) + " warnings";
    for (const std::string& warning : map.Warnings)
        if (!IsOneLine(warning))
            return "warning not on one line: " + warning;
    SpringMapRenderer renderer;
    // A quarter-MiB ground budget: the base level is chosen and its pyramid built as for a real map.
    if (!renderer.LoadMap(map, 256 << 10))
        return "";
    std::vector<float> positionsNormals;
    std::vector<std::uint32_t> indices;
    renderer.BuildMesh(positionsNormals, indices);
    const std::size_t vertices = positionsNormals.size() / 6;
    // Whole triangles (levels of detail and skirts included), every corner a vertex of the mesh.
    if (indices.empty() || indices.size() % 3 != 0 ||
        std::any_of(indices.begin(), indices.end(), [&](std::uint32_t i) { return i >= vertices; }))
        return "the terrain mesh has a broken triangle or an index past its " + std::to_string(vertices) +
               " vertices";
    return "";
}
