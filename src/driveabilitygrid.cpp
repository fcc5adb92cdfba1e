#include "driveabilitygrid.h"

#include <algorithm>
#include <cmath>

bool DriveabilityGrid::SyncWith(const SpringMapRenderer& Map)
{
    const std::vector<float>& heights = Map.GetHeightGrid();
    const float* pHeights = Map.IsLoaded() ? heights.data() : nullptr;
    if (!pHeights && !pSourceHeights)
        return false; // no map then, no map now
    if (pHeights == pSourceHeights && Map.GetGridWidth() == SourceGridWidth &&
        Map.GetGridHeight() == SourceGridHeight && Map.GetSquareSize() == SourceSquareSize)
        return false;
    pSourceHeights = pHeights;
    SourceGridWidth = Map.GetGridWidth();
    SourceGridHeight = Map.GetGridHeight();
    SourceSquareSize = Map.GetSquareSize();
    Width = Height = 0;
    Driveable.clear();
    if (pHeights)
        Build(Map);
    ++Revision;
    return true;
}

void DriveabilityGrid::Build(const SpringMapRenderer& Map)
{
    const int squaresX = Map.GetGridWidth() - 1;
    const int squaresZ = Map.GetGridHeight() - 1;
    const int squaresPerCell = (std::max(squaresX, squaresZ) + MaxCellsPerSide - 1) / MaxCellsPerSide;
    const double squareSize = Map.GetSquareSize();
    Width = (squaresX + squaresPerCell - 1) / squaresPerCell;
    Height = (squaresZ + squaresPerCell - 1) / squaresPerCell;
    CellSizeWorld = squaresPerCell * squareSize;
    WorldWidth = squaresX * squareSize;
    WorldDepth = squaresZ * squareSize;
    Driveable.assign(static_cast<std::size_t>(Width) * Height, 1);

    // The steepest gradient inside a bilinear square is bounded by its steepest X edge and its
    // steepest Z edge, so testing that bound keeps every point of a drivable square climbable.
    // A NaN height fails the comparison and blocks its squares.
    const std::vector<float>& h = Map.GetHeightGrid();
    const std::size_t rowStride = static_cast<std::size_t>(Map.GetGridWidth());
    const double maxRise = MaxDriveSlope * squareSize;
    for (int z = 0; z < squaresZ; ++z)
    {
        const float* row0 = &h[static_cast<std::size_t>(z) * rowStride];
        const float* row1 = row0 + rowStride;
        std::uint8_t* cellRow = &Driveable[static_cast<std::size_t>(z / squaresPerCell) * Width];
        for (int x = 0; x < squaresX; ++x)
        {
            const double riseX = std::max(std::fabs(row0[x + 1] - row0[x]), std::fabs(row1[x + 1] - row1[x]));
            const double riseZ = std::max(std::fabs(row1[x] - row0[x]), std::fabs(row1[x + 1] - row0[x + 1]));
            if (!(std::hypot(riseX, riseZ) <= maxRise))
                cellRow[x / squaresPerCell] = 0;
        }
    }
}

bool DriveabilityGrid::IsCellDriveable(int CellX, int CellZ) const
{
    if (CellX < 0 || CellZ < 0 || CellX >= Width || CellZ >= Height)
        return false;
    return Driveable[static_cast<std::size_t>(CellZ) * Width + CellX] != 0;
}

bool DriveabilityGrid::FindCell(double X, double Z, int& CellX, int& CellZ) const
{
    if (!IsBuilt() || !(X >= 0.0 && X <= WorldWidth) || !(Z >= 0.0 && Z <= WorldDepth))
        return false;
    // The far edges belong to the last cells.
    CellX = std::min(static_cast<int>(X / CellSizeWorld), Width - 1);
    CellZ = std::min(static_cast<int>(Z / CellSizeWorld), Height - 1);
    return true;
}

bool DriveabilityGrid::IsDriveable(double X, double Z) const
{
    int cellX = 0, cellZ = 0;
    return FindCell(X, Z, cellX, cellZ) && IsCellDriveable(cellX, cellZ);
}

double DriveabilityGrid::GetCellCentreX(int CellX) const
{
    return std::min((CellX + 0.5) * CellSizeWorld, (CellX * CellSizeWorld + WorldWidth) * 0.5);
}

double DriveabilityGrid::GetCellCentreZ(int CellZ) const
{
    return std::min((CellZ + 0.5) * CellSizeWorld, (CellZ * CellSizeWorld + WorldDepth) * 0.5);
}

bool DriveabilityGrid::FindNearestDriveable(double X, double Z, double& OutX, double& OutZ) const
{
    if (!IsBuilt() || !std::isfinite(X) || !std::isfinite(Z))
        return false;
    if (IsDriveable(X, Z))
    {
        OutX = X;
        OutZ = Z;
        return true;
    }
    // Search square rings of cells around the point's cell (clamped onto the map). A cell in ring r
    // lies at least (r - 1) cells away, so once that exceeds the best distance found, it is final.
    const int centreX = std::clamp(static_cast<int>(std::floor(X / CellSizeWorld)), 0, Width - 1);
    const int centreZ = std::clamp(static_cast<int>(std::floor(Z / CellSizeWorld)), 0, Height - 1);
    // Candidates sit a hair inside their cell so that they look up as that cell.
    const double insetWorld = CellSizeWorld * 0.01;
    double bestDistSq = INFINITY, bestX = 0.0, bestZ = 0.0;
    const int maxRing = std::max(Width, Height);
    for (int ring = 0; ring <= maxRing; ++ring)
    {
        const double ringGapWorld = (ring - 1) * CellSizeWorld;
        if (ring > 1 && ringGapWorld * ringGapWorld > bestDistSq)
            break;
        for (int cz = centreZ - ring; cz <= centreZ + ring; ++cz)
        {
            const bool bEdgeRow = cz == centreZ - ring || cz == centreZ + ring;
            const int stepX = bEdgeRow ? 1 : 2 * ring;
            for (int cx = centreX - ring; cx <= centreX + ring; cx += std::max(stepX, 1))
            {
                if (!IsCellDriveable(cx, cz))
                    continue;
                const double minX = cx * CellSizeWorld + insetWorld;
                const double maxX = std::min((cx + 1) * CellSizeWorld, WorldWidth) - insetWorld;
                const double minZ = cz * CellSizeWorld + insetWorld;
                const double maxZ = std::min((cz + 1) * CellSizeWorld, WorldDepth) - insetWorld;
                const double candX = std::clamp(X, minX, maxX);
                const double candZ = std::clamp(Z, minZ, maxZ);
                const double distSq = (candX - X) * (candX - X) + (candZ - Z) * (candZ - Z);
                if (distSq < bestDistSq)
                {
                    bestDistSq = distSq;
                    bestX = candX;
                    bestZ = candZ;
                }
            }
        }
    }
    if (!std::isfinite(bestDistSq))
        return false;
    OutX = bestX;
    OutZ = bestZ;
    return true;
}

Vec3D SnapToDriveableGround(const SpringMapRenderer& Map, const DriveabilityGrid& Grid, const Vec3D& Point)
{
    double x = std::isfinite(Point.X) ? Point.X : 0.0;
    double z = std::isfinite(Point.Z) ? Point.Z : 0.0;
    Grid.FindNearestDriveable(x, z, x, z);
    return Vec3D(x, Map.GetTerrainHeight(static_cast<float>(x), static_cast<float>(z)), z);
}
