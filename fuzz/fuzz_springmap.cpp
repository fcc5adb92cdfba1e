// libFuzzer target over the .smf and .smt parsers and what consumes their output: the ground
// texture builder and the DXT1 decoder. Any crash, leak, overflow or undefined behaviour is a bug.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "springmap_dxt1.h"
#include "springmap_ground.h"
#include "springmap_loader.h"
#include "springmap_smf.h"
#include "springmap_smt.h"

namespace
{
// Real map files are at least 700 KB (the minimap alone), too big to mutate quickly. An input is
// therefore a 4-byte little-endian count of zero bytes to append (modulo 2 MiB), then the start of a
// file: short inputs still describe whole maps, with every section past the input reading as zeros.
std::vector<std::uint8_t> ExpandInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 4)
        return std::vector<std::uint8_t>(data, data + size);
    const std::uint32_t padding =
        (data[0] | data[1] << 8 | data[2] << 16 | std::uint32_t(data[3]) << 24) % (2u << 20);
    std::vector<std::uint8_t> file(size - 4 + padding, 0);
    std::copy(data + 4, data + size, file.begin());
    return file;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* Input, std::size_t InputSize)
{
    const std::vector<std::uint8_t> file = ExpandInput(Input, InputSize);
    const std::uint8_t* Data = file.data();
    const std::size_t Size = file.size();
    const std::span<const std::uint8_t> bytes(Data, Size);
    std::string error;
    for (std::int64_t count : {std::int64_t(0), std::int64_t(1), static_cast<std::int64_t>(Size / 680)})
        SpringMapSmtFormat::Check(bytes, count, "fuzz.smt", error);

    SpringMap map;
    if (!SpringMapSmfFormat::Parse(bytes, "fuzz.smf", map.Smf, error))
    {
        if (error.empty())
            __builtin_trap(); // a failure must always say why
        return 0;
    }
    // Every tile file unresolved: the placeholder stands in, as for a map whose .smt is missing; one
    // file also gets real tiles cut from the input itself so the copy paths run on fuzzed blocks.
    int firstTile = 0;
    for (const auto& ref : map.Smf.TileFiles)
    {
        SpringMap::TileFile file;
        file.FirstTile = firstTile;
        file.TileCount = ref.TileCount;
        firstTile += ref.TileCount;
        if (static_cast<std::uint64_t>(ref.TileCount) * 680 <= Size && ref.TileCount <= 64)
            file.Tiles.assign(Data, Data + static_cast<std::size_t>(ref.TileCount) * 680);
        map.TileFiles.push_back(std::move(file));
    }
    SpringMapGround ground;
    ground.Build(map, 1u << 20);
    // The minimap's 64x64 level follows the 1024, 512, 256 and 128 ones.
    std::uint8_t rgba[64 * 64 * 4];
    SpringMapDxt1::DecodeImage(map.Smf.Minimap.data() + 524288 + 131072 + 32768 + 8192, 64, 64, rgba);
    return 0;
}
