#include "springmap_generator.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <span>

#include "springmap_dxt1.h"
#include "springmap_smf.h"
#include "springmap_smt.h"

namespace fs = std::filesystem;

namespace SpringMapGenerator
{
namespace
{
constexpr int TexelsPerSquare = 8;

// splitmix64: a small, well-mixed hash, so every lattice point gets its own value from the seed.
std::uint64_t Mix(std::uint64_t x)
{
    x += 0x9E3779B97F4A7C15ull;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
    return x ^ (x >> 31);
}

double Hash01(std::uint64_t seed, std::int64_t i, std::int64_t j)
{
    const std::uint64_t h = Mix(
        seed ^ Mix(static_cast<std::uint64_t>(i) * 0x632BE59BD9B4E019ull + static_cast<std::uint64_t>(j)));
    return static_cast<double>(h >> 11) * (1.0 / 9007199254740992.0);
}

double SmoothStep(double edge0, double edge1, double x)
{
    const double t = std::clamp((x - edge0) / (edge1 - edge0), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

// Value noise with smooth interpolation, summed over octaves: the rolling hills.
double Fbm(std::uint64_t seed, double u, double v)
{
    double sum = 0.0, amplitude = 0.5, frequency = 4.0;
    for (int octave = 0; octave < 5; ++octave)
    {
        const double x = u * frequency, y = v * frequency;
        const double fx = std::floor(x), fy = std::floor(y);
        const auto ix = static_cast<std::int64_t>(fx), iy = static_cast<std::int64_t>(fy);
        const double tx = SmoothStep(0, 1, x - fx), ty = SmoothStep(0, 1, y - fy);
        const std::uint64_t octaveSeed = Mix(seed + octave);
        const double a = Hash01(octaveSeed, ix, iy), b = Hash01(octaveSeed, ix + 1, iy);
        const double c = Hash01(octaveSeed, ix, iy + 1), d = Hash01(octaveSeed, ix + 1, iy + 1);
        sum += amplitude * ((a + (b - a) * tx) * (1 - ty) + (c + (d - c) * tx) * ty - 0.5);
        amplitude *= 0.5;
        frequency *= 2.0;
    }
    return sum;
}

double DistanceToSegment(double u, double v, double u0, double v0, double u1, double v1)
{
    const double du = u1 - u0, dv = v1 - v0;
    const double t = std::clamp(((u - u0) * du + (v - v0) * dv) / (du * du + dv * dv), 0.0, 1.0);
    return std::hypot(u - (u0 + t * du), v - (v0 + t * dv));
}

// Landmarks, nudged by the seed so different seeds give different maps with the same features.
struct Layout
{
    double RidgeU0, RidgeV0, RidgeU1, RidgeV1;
    double ValleyV, ValleyWave;
    double PlateauU, PlateauV;
    std::uint64_t Seed;

    explicit Layout(std::uint64_t seed) : Seed(seed)
    {
        auto jitter = [&](int k) { return (Hash01(seed, 101, k) - 0.5) * 0.08; };
        RidgeU0 = 0.12 + jitter(0), RidgeV0 = 0.15 + jitter(1), RidgeU1 = 0.38 + jitter(2),
        RidgeV1 = 0.62 + jitter(3);
        ValleyV = 0.8 + jitter(4), ValleyWave = 6.0 + 20.0 * jitter(5);
        PlateauU = 0.72 + jitter(6), PlateauV = 0.3 + jitter(7);
    }

    // Height in 0..1 at map fraction (u, v).
    double Height(double u, double v) const
    {
        double h = 0.3 + 0.5 * Fbm(Seed, u, v);
        // The ridge: a sharp crest that fades towards its ends.
        const double ridge = DistanceToSegment(u, v, RidgeU0, RidgeV0, RidgeU1, RidgeV1);
        h += 0.45 * std::exp(-std::pow(ridge / 0.07, 2.0));
        // The valley: a winding trough across the south-east.
        const double valleyCentre = ValleyV + 0.035 * std::sin(u * ValleyWave);
        const double valley = std::abs(v - valleyCentre) * SmoothStep(0.3, 0.45, u);
        h -= 0.25 * std::exp(-std::pow(valley / 0.05, 2.0)) * SmoothStep(0.3, 0.45, u);
        // The plateau: flat on top, steep sides.
        const double plateau = std::hypot(u - PlateauU, v - PlateauV);
        h = h + (0.62 - h) * SmoothStep(0.16, 0.12, plateau);
        return std::clamp(h, 0.0, 1.0);
    }
};

void Put32(std::vector<std::uint8_t>& out, std::size_t offset, std::uint32_t value)
{
    std::memcpy(out.data() + offset, &value, 4);
}
void Append32(std::vector<std::uint8_t>& out, std::uint32_t value)
{
    out.resize(out.size() + 4);
    Put32(out, out.size() - 4, value);
}

// Ground colour from height (sand, grass, rock, snow) darkened to bare rock on steep slopes.
void ShadeTexel(double h, double slope, double grain, std::uint8_t* pRgba)
{
    struct Stop
    {
        double H;
        double R, G, B;
    };
    static constexpr Stop Ramp[] = {{0.0, 120, 105, 75}, {0.2, 168, 150, 105}, {0.28, 92, 128, 58},
                                    {0.55, 60, 100, 45}, {0.7, 128, 120, 105}, {0.88, 235, 235, 240},
                                    {1.0, 250, 250, 255}};
    int k = 0;
    while (k + 2 < static_cast<int>(std::size(Ramp)) && h > Ramp[k + 1].H)
        ++k;
    const double t = std::clamp((h - Ramp[k].H) / (Ramp[k + 1].H - Ramp[k].H), 0.0, 1.0);
    const double rock = SmoothStep(0.5, 1.1, slope);
    const double colour[3] = {Ramp[k].R + (Ramp[k + 1].R - Ramp[k].R) * t,
                              Ramp[k].G + (Ramp[k + 1].G - Ramp[k].G) * t,
                              Ramp[k].B + (Ramp[k + 1].B - Ramp[k].B) * t};
    const double rockColour[3] = {112, 98, 84};
    for (int ch = 0; ch < 3; ++ch)
        pRgba[ch] = static_cast<std::uint8_t>(std::clamp(
            (colour[ch] + (rockColour[ch] - colour[ch]) * rock) * (0.92 + 0.16 * grain), 0.0, 255.0));
    pRgba[3] = 255;
}

// Halves an RGBA image by averaging 2x2 texels.
std::vector<std::uint8_t> Halve(const std::vector<std::uint8_t>& rgba, int width, int height)
{
    std::vector<std::uint8_t> half(static_cast<std::size_t>(width / 2) * (height / 2) * 4);
    for (int y = 0; y < height / 2; ++y)
        for (int x = 0; x < width / 2; ++x)
            for (int ch = 0; ch < 4; ++ch)
            {
                const auto at = [&](int dx, int dy)
                { return rgba[((static_cast<std::size_t>(2 * y + dy)) * width + 2 * x + dx) * 4 + ch]; };
                half[(static_cast<std::size_t>(y) * (width / 2) + x) * 4 + ch] =
                    static_cast<std::uint8_t>((at(0, 0) + at(1, 0) + at(0, 1) + at(1, 1) + 2) / 4);
            }
    return half;
}

// Encodes a region of an RGBA image (multiples of 4) as DXT1 blocks in row order.
void EncodeRegion(const std::vector<std::uint8_t>& rgba, int imageWidth, int x0, int y0, int width,
                  int height, std::uint8_t* pOut)
{
    std::uint8_t texels[64];
    for (int by = 0; by < height / 4; ++by)
        for (int bx = 0; bx < width / 4; ++bx)
        {
            for (int row = 0; row < 4; ++row)
                std::memcpy(
                    texels + row * 16,
                    &rgba[((static_cast<std::size_t>(y0 + by * 4 + row)) * imageWidth + x0 + bx * 4) * 4],
                    16);
            SpringMapDxt1::EncodeBlock(texels, pOut);
            pOut += SpringMapDxt1::BlockBytes;
        }
}

std::vector<std::uint8_t> BuildMinimap(const std::vector<std::uint8_t>& ground, int widthTexels,
                                       int depthTexels)
{
    // The whole map squeezed into 1024x1024, as the format wants, then its 8 smaller levels.
    constexpr int Size = SpringMapSmfFormat::MinimapSize;
    std::vector<std::uint8_t> level(static_cast<std::size_t>(Size) * Size * 4);
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x)
        {
            const int sx = static_cast<int>((x + 0.5) * widthTexels / Size);
            const int sy = static_cast<int>((y + 0.5) * depthTexels / Size);
            std::memcpy(&level[(static_cast<std::size_t>(y) * Size + x) * 4],
                        &ground[(static_cast<std::size_t>(sy) * widthTexels + sx) * 4], 4);
        }
    std::vector<std::uint8_t> minimap(SpringMapSmfFormat::MinimapBytes);
    std::uint8_t* out = minimap.data();
    for (int size = Size; size >= 4; size /= 2)
    {
        EncodeRegion(level, size, 0, 0, size, size, out);
        out += SpringMapDxt1::LevelBytes(size, size);
        if (size > 4)
            level = Halve(level, size, size);
    }
    return minimap;
}

bool WriteAtomically(const fs::path& path, const std::vector<std::uint8_t>& bytes, std::string& error)
{
    const fs::path temporary = path.string() + ".part";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        if (!out)
        {
            error = temporary.string() + ": cannot write the file";
            return false;
        }
    }
    std::error_code ec;
    fs::rename(temporary, path, ec);
    if (ec)
    {
        error = path.string() + ": cannot write the file (" + ec.message() + ")";
        return false;
    }
    return true;
}

// mapconv's tree names, a rock and a geovent; most features are trees, in groves, as on real maps.
void AppendFeatures(std::vector<std::uint8_t>& smf, const Options& opts, const std::vector<double>& heights,
                    int mapX, int mapY)
{
    const char* const types[] = {"TreeType0", "TreeType1", "TreeType2", "rock_big", "GeoVent"};
    Append32(smf, opts.FeatureCount > 0 ? static_cast<std::uint32_t>(std::size(types)) : 0);
    Append32(smf, static_cast<std::uint32_t>(opts.FeatureCount));
    for (const char* name : opts.FeatureCount > 0 ? std::span(types) : std::span<const char* const>())
        smf.insert(smf.end(), name, name + std::strlen(name) + 1);
    constexpr int Groves = 12;
    for (int k = 0; k < opts.FeatureCount; ++k)
    {
        const double kind = Hash01(opts.Seed, 303, k);
        const std::uint32_t type = kind < 0.01  ? 4
                                   : kind < 0.2 ? 3
                                                : static_cast<std::uint32_t>(kind * 9) % 3;
        // Trees gather in round groves; rocks and vents lie anywhere.
        const int grove = k % Groves;
        const double radius = type < 3 ? 0.07 * std::sqrt(Hash01(opts.Seed, 304, k)) : 0.0;
        const double angle = 6.283185307 * Hash01(opts.Seed, 305, k);
        const double u = std::clamp(type < 3 ? Hash01(opts.Seed, 306, grove) + radius * std::cos(angle)
                                             : Hash01(opts.Seed, 309, k),
                                    0.0, 1.0);
        const double v = std::clamp(type < 3 ? Hash01(opts.Seed, 307, grove) + radius * std::sin(angle)
                                             : Hash01(opts.Seed, 310, k),
                                    0.0, 1.0);
        const double h = heights[static_cast<std::size_t>(std::lround(v * mapY)) * (mapX + 1) +
                                 static_cast<std::size_t>(std::lround(u * mapX))];
        const float record[] = {static_cast<float>(u * mapX * 8.0),
                                static_cast<float>(opts.MinHeight + h * (opts.MaxHeight - opts.MinHeight)),
                                static_cast<float>(v * mapY * 8.0),
                                static_cast<float>(std::floor(Hash01(opts.Seed, 308, k) * 65536.0)), 1.0f};
        Append32(smf, type);
        for (float value : record)
        {
            std::uint32_t bits = 0;
            std::memcpy(&bits, &value, 4);
            Append32(smf, bits);
        }
    }
}
} // namespace

bool Generate(const Options& Opts, const std::string& SmtName, std::vector<std::uint8_t>& Smf,
              std::vector<std::uint8_t>& Smt, std::string& Error)
{
    const int mapX = Opts.MapX, mapY = Opts.MapY;
    if (mapX < 4 || mapY < 4 || mapX % 4 || mapY % 4 || mapX > 4096 || mapY > 4096)
    {
        Error = "map size " + std::to_string(mapX) + "x" + std::to_string(mapY) +
                " squares must be multiples of 4 between 4 and 4096";
        return false;
    }
    if (Opts.FeatureCount < 0 || Opts.FeatureCount > 100000)
    {
        Error = "feature count " + std::to_string(Opts.FeatureCount) + " must be between 0 and 100000";
        return false;
    }
    if (SmtName.empty() || !(Opts.MaxHeight > Opts.MinHeight))
    {
        Error = "a tile file name and a height range with maximum above minimum are needed";
        return false;
    }
    const Layout layout(Opts.Seed);
    const int cornersX = mapX + 1, cornersZ = mapY + 1;
    std::vector<double> heights(static_cast<std::size_t>(cornersX) * cornersZ);
    for (int z = 0; z < cornersZ; ++z)
        for (int x = 0; x < cornersX; ++x)
            heights[static_cast<std::size_t>(z) * cornersX + x] =
                layout.Height(static_cast<double>(x) / mapX, static_cast<double>(z) / mapY);

    // Ground colours at 8 texels per square, from the bilinear height and the local slope.
    const int widthTexels = mapX * TexelsPerSquare, depthTexels = mapY * TexelsPerSquare;
    const double rangeWorld = Opts.MaxHeight - Opts.MinHeight;
    std::vector<std::uint8_t> ground(static_cast<std::size_t>(widthTexels) * depthTexels * 4);
    for (int ty = 0; ty < depthTexels; ++ty)
        for (int tx = 0; tx < widthTexels; ++tx)
        {
            const double gx = (tx + 0.5) / TexelsPerSquare, gz = (ty + 0.5) / TexelsPerSquare;
            const int ix = std::min(static_cast<int>(gx), mapX - 1),
                      iz = std::min(static_cast<int>(gz), mapY - 1);
            const double fx = gx - ix, fz = gz - iz;
            const double* row0 = &heights[static_cast<std::size_t>(iz) * cornersX + ix];
            const double* row1 = row0 + cornersX;
            const double h =
                (row0[0] * (1 - fx) + row0[1] * fx) * (1 - fz) + (row1[0] * (1 - fx) + row1[1] * fx) * fz;
            // Rise per world unit across the square, both ways.
            const double dx = ((row0[1] - row0[0]) * (1 - fz) + (row1[1] - row1[0]) * fz) * rangeWorld / 8.0;
            const double dz = ((row1[0] - row0[0]) * (1 - fx) + (row1[1] - row0[1]) * fx) * rangeWorld / 8.0;
            ShadeTexel(h, std::hypot(dx, dz), Hash01(Opts.Seed ^ 0xC0FFEE, tx, ty),
                       &ground[(static_cast<std::size_t>(ty) * widthTexels + tx) * 4]);
        }

    // One unique tile per 32x32 texels, with its 4 levels.
    const int tilesX = mapX / 4, tilesZ = mapY / 4;
    const int numTiles = tilesX * tilesZ;
    Smt.assign(SpringMapSmtFormat::HeaderBytes +
                   static_cast<std::size_t>(numTiles) * SpringMapSmtFormat::TileBytes,
               0);
    std::memcpy(Smt.data(), "spring tilefile", 16);
    Put32(Smt, 16, 1);
    Put32(Smt, 20, static_cast<std::uint32_t>(numTiles));
    Put32(Smt, 24, 32);
    Put32(Smt, 28, 1);
    std::vector<std::uint8_t> tileRgba(32 * 32 * 4);
    for (int tz = 0; tz < tilesZ; ++tz)
        for (int tx = 0; tx < tilesX; ++tx)
        {
            for (int row = 0; row < 32; ++row)
                std::memcpy(&tileRgba[static_cast<std::size_t>(row) * 32 * 4],
                            &ground[((static_cast<std::size_t>(tz) * 32 + row) * widthTexels + tx * 32) * 4],
                            32 * 4);
            std::uint8_t* tile = Smt.data() + SpringMapSmtFormat::HeaderBytes +
                                 (static_cast<std::size_t>(tz) * tilesX + tx) * SpringMapSmtFormat::TileBytes;
            std::vector<std::uint8_t> level = tileRgba;
            for (int mip = 0, size = 32; mip < SpringMapSmtFormat::TileMipCount; ++mip, size /= 2)
            {
                EncodeRegion(level, size, 0, 0, size, size, tile + SpringMapSmtFormat::MipOffset(mip));
                if (size > 4)
                    level = Halve(level, size, size);
            }
        }

    // The .smf in mapconv's order: header, grass header, heights, types, minimap, tiles, metal, grass,
    // features.
    std::vector<std::uint8_t> smf(SpringMapSmfFormat::HeaderBytes, 0);
    std::memcpy(smf.data(), "spring map file", 16);
    const std::uint32_t header[] = {1,
                                    static_cast<std::uint32_t>(Mix(Opts.Seed)),
                                    static_cast<std::uint32_t>(mapX),
                                    static_cast<std::uint32_t>(mapY),
                                    8,
                                    8,
                                    32};
    for (std::size_t i = 0; i < std::size(header); ++i)
        Put32(smf, 16 + 4 * i, header[i]);
    std::memcpy(&smf[44], &Opts.MinHeight, 4);
    std::memcpy(&smf[48], &Opts.MaxHeight, 4);
    Put32(smf, 76, 1);
    Append32(smf, 12); // grass extra header: size, type, pointer
    Append32(smf, 1);
    const std::size_t grassPointerAt = smf.size();
    Append32(smf, 0);
    auto mark = [&](int headerOffset) { Put32(smf, headerOffset, static_cast<std::uint32_t>(smf.size())); };
    mark(52);
    for (double h : heights)
    {
        const auto raw = static_cast<std::uint16_t>(std::lround(h * 65535.0));
        smf.push_back(static_cast<std::uint8_t>(raw));
        smf.push_back(static_cast<std::uint8_t>(raw >> 8));
    }
    const std::size_t halfCells = static_cast<std::size_t>(mapX / 2) * (mapY / 2);
    mark(56);
    smf.resize(smf.size() + halfCells, 0);
    mark(64);
    const std::vector<std::uint8_t> minimap = BuildMinimap(ground, widthTexels, depthTexels);
    smf.insert(smf.end(), minimap.begin(), minimap.end());
    mark(60);
    Append32(smf, 1);
    Append32(smf, static_cast<std::uint32_t>(numTiles));
    Append32(smf, static_cast<std::uint32_t>(numTiles));
    smf.insert(smf.end(), SmtName.begin(), SmtName.end());
    smf.push_back(0);
    for (int i = 0; i < numTiles; ++i)
        Append32(smf, static_cast<std::uint32_t>(i));
    mark(68);
    smf.resize(smf.size() + halfCells, 0);
    Put32(smf, grassPointerAt, static_cast<std::uint32_t>(smf.size()));
    smf.resize(smf.size() + static_cast<std::size_t>(mapX / 4) * (mapY / 4), 0);
    mark(72);
    AppendFeatures(smf, Opts, heights, mapX, mapY);
    Smf = std::move(smf);
    return true;
}

bool WriteFiles(const Options& Opts, const std::string& Dir, const std::string& BaseName,
                std::string& SmfPath, std::string& Error)
{
    std::vector<std::uint8_t> smf, smt;
    if (!Generate(Opts, BaseName + ".smt", smf, smt, Error))
        return false;
    std::error_code ec;
    fs::create_directories(Dir, ec);
    const fs::path smfPath = fs::path(Dir) / (BaseName + ".smf");
    if (!WriteAtomically(fs::path(Dir) / (BaseName + ".smt"), smt, Error) ||
        !WriteAtomically(smfPath, smf, Error))
        return false;
    SmfPath = smfPath.string();
    return true;
}

bool EnsureDefaultMap(std::string& SmfPath, std::string& Error)
{
    fs::path dir;
    if (const char* cache = std::getenv("XDG_CACHE_HOME"); cache && *cache)
        dir = fs::path(cache) / "quindle";
    else if (const char* home = std::getenv("HOME"); home && *home)
        dir = fs::path(home) / ".cache" / "quindle";
    else
        dir = fs::temp_directory_path() / "quindle";
    // The name carries the generator's version, so a changed generator never reuses an old file.
    const std::string baseName = "quindle-default-v1";
    const fs::path smf = dir / (baseName + ".smf"), smt = dir / (baseName + ".smt");
    std::error_code ec;
    if (fs::is_regular_file(smf, ec) && fs::is_regular_file(smt, ec))
    {
        SmfPath = smf.string();
        return true;
    }
    return WriteFiles(Options{}, dir.string(), baseName, SmfPath, Error);
}
} // namespace SpringMapGenerator
