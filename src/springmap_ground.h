#pragma once

#include <cstdint>
#include <vector>

struct SpringMap;

// The map's ground texture kept compressed: one DXT1 image per patch of up to 128x128 squares (the
// engine's 1024x1024-texel "big square"), built by copying tile blocks without decoding. Large maps
// start at a lower tile mip so the whole texture stays within a memory budget.
class SpringMapGround
{
  public:
    static constexpr int PatchSquares = 128;
    static constexpr std::uint64_t DefaultBudgetBytes = 64ull << 20;

    struct Patch
    {
        int SquareX = 0, SquareZ = 0; // north-west corner, in squares
        int WidthSquares = 0, DepthSquares = 0;
        std::vector<std::vector<std::uint8_t>> Levels; // DXT1, from the base mip down to the 4x4 tile mip
    };

    // Builds the patches from the map's tiles. With no resolvable tile file the ground is empty and
    // the minimap stands in. Returns false on a map without tiles.
    bool Build(const SpringMap& Map, std::uint64_t BudgetBytes = DefaultBudgetBytes);
    void Clear();

    bool HasPatches() const { return !Patches.empty(); }
    const std::vector<Patch>& GetPatches() const { return Patches; }
    // The tile mip the patches start at: 0 keeps 8 texels per square, each step halves it.
    int GetBaseMip() const { return BaseMip; }
    int GetLevelWidthTexels(const Patch& P, int Level) const
    {
        return (P.WidthSquares * 8) >> (BaseMip + Level);
    }
    int GetLevelDepthTexels(const Patch& P, int Level) const
    {
        return (P.DepthSquares * 8) >> (BaseMip + Level);
    }
    std::uint64_t GetBytes() const;

    // The smallest base mip whose DXT1 chain fits the budget (3 at most: a tile's last level).
    static int ChooseBaseMip(int MapX, int MapY, std::uint64_t BudgetBytes);

  private:
    std::vector<Patch> Patches;
    int BaseMip = 0;
};
