// One input of the whole-load-path fuzzer, shared by the fuzzer and by `make test`, which replays
// every input that once broke it (tests/fuzz_regressions/maploader).
#pragma once

#include <cstdint>
#include <span>
#include <string>

// The first byte picks the packing (.sdz, .sd7, bare .smf), the rest is the file. Returns what broke
// (an error or warning over several lines, a mesh index outside the mesh), or "" when all held.
std::string CheckLoadPath(std::span<const std::uint8_t> Input);
