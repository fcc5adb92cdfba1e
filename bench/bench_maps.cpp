// Map loading (each fixture and the generated default map) and the height query.
#include <benchmark/benchmark.h>
#include <filesystem>
#include <random>
#include <sys/resource.h>

#include "springmap_generator.h"
#include "springmap_loader.h"
#include "springmap_renderer.h"

namespace fs = std::filesystem;

namespace
{
const fs::path MapsDir = QUINDLE_MAPS_DIR;

std::string DefaultMapPath()
{
    static const std::string path = []
    {
        std::string smf, error;
        const fs::path dir = fs::temp_directory_path() / "quindle-bench-maps";
        SpringMapGenerator::WriteFiles({}, dir.string(), "default", smf, error);
        return smf;
    }();
    return path;
}

std::string PathOf(const std::string& name)
{
    return name == "default" ? DefaultMapPath() : (MapsDir / name).string();
}

double PeakRssMiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024.0;
}

std::uint64_t RetainedBytes(const SpringMap& map)
{
    std::uint64_t bytes = map.Smf.RawHeights.size() * 2 + map.Smf.TypeMap.size() + map.Smf.MetalMap.size() +
                          map.Smf.GrassMap.size() + map.Smf.Minimap.size() + map.Smf.TileIndex.size() * 4;
    for (const auto& file : map.TileFiles)
        bytes += file.Tiles.size();
    return bytes;
}

// Arg 0: with the tiles, 1: header, heights and minimap only.
void LoadMap(benchmark::State& state, const std::string& name)
{
    const std::string path = PathOf(name);
    SpringMapLoader::Options opts;
    opts.bReadTiles = state.range(0) == 0;
    std::uint64_t bytes = 0;
    for (auto _ : state)
    {
        SpringMap map;
        std::string error;
        if (!SpringMapLoader::Load(path, map, error, opts))
        {
            state.SkipWithError(error.c_str());
            return;
        }
        bytes = RetainedBytes(map);
        benchmark::DoNotOptimize(map);
    }
    state.counters["MapMiB"] = bytes / 1048576.0;
    state.counters["PeakRssMiB"] = PeakRssMiB();
}

void RendererLoadMap(benchmark::State& state, const std::string& name)
{
    SpringMap map;
    std::string error;
    if (!SpringMapLoader::Load(PathOf(name), map, error))
    {
        state.SkipWithError(error.c_str());
        return;
    }
    for (auto _ : state)
    {
        SpringMapRenderer terrain;
        benchmark::DoNotOptimize(terrain.LoadMap(map));
        state.counters["GroundMiB"] = terrain.GetGround().GetBytes() / 1048576.0;
    }
}

void GetTerrainHeight(benchmark::State& state)
{
    SpringMap map;
    std::string error;
    SpringMapRenderer terrain;
    if (!SpringMapLoader::Load(PathOf("Map_Blueprint_V1.sdd"), map, error) || !terrain.LoadMap(map))
    {
        state.SkipWithError(error.c_str());
        return;
    }
    // Points spread over the map and a little beyond it, fixed by the seed.
    std::mt19937 random(7);
    std::uniform_real_distribution<float> coordinate(-50.0f, terrain.GetWorldWidth() + 50.0f);
    std::vector<std::pair<float, float>> points(4096);
    for (auto& point : points)
        point = {coordinate(random), coordinate(random)};
    std::size_t i = 0;
    for (auto _ : state)
    {
        const auto& [x, z] = points[i++ & 4095];
        benchmark::DoNotOptimize(terrain.GetTerrainHeight(x, z));
    }
    state.SetItemsProcessed(state.iterations());
}

void GenerateDefaultMap(benchmark::State& state)
{
    for (auto _ : state)
    {
        std::vector<std::uint8_t> smf, smt;
        std::string error;
        benchmark::DoNotOptimize(SpringMapGenerator::Generate({}, "default.smt", smf, smt, error));
    }
}
} // namespace

BENCHMARK_CAPTURE(LoadMap, Map_Blueprint_V1_sdd, std::string("Map_Blueprint_V1.sdd"))
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LoadMap, map_blueprint_v1_sdz, std::string("map_blueprint_v1.sdz"))
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LoadMap, map_blueprint_v1_sd7, std::string("map_blueprint_v1.sd7"))
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LoadMap, bridge_sdd, std::string("bridge.sdd"))
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LoadMap, Blank16_sdd, std::string("Blank16.sdd"))
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LoadMap, default_map, std::string("default"))
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RendererLoadMap, Map_Blueprint_V1_sdd, std::string("Map_Blueprint_V1.sdd"))
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RendererLoadMap, Blank16_sdd, std::string("Blank16.sdd"))->Unit(benchmark::kMillisecond);
BENCHMARK(GetTerrainHeight);
BENCHMARK(GenerateDefaultMap)->Unit(benchmark::kMillisecond);
