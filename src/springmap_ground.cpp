#include "springmap_ground.h"

#include <algorithm>
#include <cstring>

#include "springmap_dxt1.h"
#include "springmap_loader.h"
#include "springmap_smt.h"

namespace
{
// DXT1 bytes of the mip chain from BaseMip to the tile's 4x4 level, for the whole map.
std::uint64_t ChainBytes(int mapX, int mapY, int baseMip)
{
    std::uint64_t bytes = 0;
    for (int mip = baseMip; mip < SpringMapSmtFormat::TileMipCount; ++mip)
        bytes += SpringMapDxt1::LevelBytes((mapX * 8) >> mip, (mapY * 8) >> mip);
    return bytes;
}
} // namespace

int SpringMapGround::ChooseBaseMip(int MapX, int MapY, std::uint64_t BudgetBytes)
{
    int mip = 0;
    while (mip < SpringMapSmtFormat::TileMipCount - 1 && ChainBytes(MapX, MapY, mip) > BudgetBytes)
        ++mip;
    return mip;
}

void SpringMapGround::Clear()
{
    Patches.clear();
    BaseMip = 0;
}

std::uint64_t SpringMapGround::GetBytes() const
{
    std::uint64_t bytes = 0;
    for (const Patch& patch : Patches)
        for (const auto& level : patch.Levels)
            bytes += level.size();
    return bytes;
}

bool SpringMapGround::Build(const SpringMap& Map, std::uint64_t BudgetBytes)
{
    Clear();
    const int mapX = Map.Smf.MapX, mapY = Map.Smf.MapY;
    if (mapX <= 0 || mapY <= 0 || Map.Smf.TileIndex.empty())
        return false;
    const bool bAnyTiles = std::any_of(Map.TileFiles.begin(), Map.TileFiles.end(),
                                       [](const SpringMap::TileFile& file) { return !file.Tiles.empty(); });
    if (!bAnyTiles)
        return true;
    BaseMip = ChooseBaseMip(mapX, mapY, BudgetBytes);
    const int tilesX = mapX / 4;
    for (int squareZ = 0; squareZ < mapY; squareZ += PatchSquares)
        for (int squareX = 0; squareX < mapX; squareX += PatchSquares)
        {
            Patch patch;
            patch.SquareX = squareX;
            patch.SquareZ = squareZ;
            patch.WidthSquares = std::min(PatchSquares, mapX - squareX);
            patch.DepthSquares = std::min(PatchSquares, mapY - squareZ);
            const int patchTilesX = patch.WidthSquares / 4, patchTilesZ = patch.DepthSquares / 4;
            for (int mip = BaseMip; mip < SpringMapSmtFormat::TileMipCount; ++mip)
            {
                // Every tile level is a whole number of blocks: 8x8 blocks at mip 0 down to 1 at mip 3.
                const int tileBlocks = (SpringMapSmtFormat::TileTexels >> mip) / 4;
                const int rowBlocks = patchTilesX * tileBlocks;
                std::vector<std::uint8_t> level(static_cast<std::size_t>(rowBlocks) * patchTilesZ *
                                                tileBlocks * 8);
                for (int tz = 0; tz < patchTilesZ; ++tz)
                    for (int tx = 0; tx < patchTilesX; ++tx)
                    {
                        const int tileIndex =
                            Map.Smf.TileIndex[static_cast<std::size_t>(squareZ / 4 + tz) * tilesX +
                                              squareX / 4 + tx];
                        const std::uint8_t* source =
                            Map.GetTile(tileIndex) + SpringMapSmtFormat::MipOffset(mip);
                        for (int row = 0; row < tileBlocks; ++row)
                            std::memcpy(level.data() +
                                            ((static_cast<std::size_t>(tz) * tileBlocks + row) * rowBlocks +
                                             static_cast<std::size_t>(tx) * tileBlocks) *
                                                8,
                                        source + static_cast<std::size_t>(row) * tileBlocks * 8,
                                        static_cast<std::size_t>(tileBlocks) * 8);
                    }
                patch.Levels.push_back(std::move(level));
            }
            Patches.push_back(std::move(patch));
        }
    return true;
}
