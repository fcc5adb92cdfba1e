#include "springmap_smf.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>

#include "springmap_bytes.h"

namespace SpringMapSmfFormat
{
namespace
{
constexpr char Magic[16] = "spring map file";
constexpr int ExtraHeaderGrass = 1;

struct Parser
{
    SpringMapBytes Bytes;
    const std::string& FileName;
    std::string& Error;
    const SpringMapFiles::Limits& Caps;

    bool Fail(const std::string& problem)
    {
        Error = FileName + ": " + problem;
        return false;
    }

    // A section of Length bytes at the pointer read from the header; checked in 64-bit arithmetic.
    bool CheckSection(const char* section, std::int32_t pointer, std::uint64_t length)
    {
        if (pointer < 0)
            return Fail(std::string(section) + " pointer is negative (" + std::to_string(pointer) + ")");
        if (!Bytes.Has(static_cast<std::uint64_t>(pointer), length))
            return Fail(std::string(section) + " section runs past the end of the file (offset " +
                        std::to_string(pointer) + ", " + std::to_string(length) + " bytes, file is " +
                        std::to_string(Bytes.Size()) + " bytes)");
        return true;
    }

    template <typename T>
    bool CopySection(const char* section, std::int32_t pointer, std::uint64_t count, std::vector<T>& out)
    {
        if (!CheckSection(section, pointer, count * sizeof(T)))
            return false;
        out.resize(count);
        if (count > 0)
            std::memcpy(out.data(), Bytes.At(static_cast<std::uint64_t>(pointer)), count * sizeof(T));
        return true;
    }

    bool ReadHeader(SpringMapSmf& smf, std::int32_t* pointers, std::int32_t& numExtraHeaders);
    bool ReadExtraHeaders(std::int32_t count, bool& bHasGrass, std::int32_t& grassPtr);
    bool ReadTiles(std::int32_t pointer, SpringMapSmf& smf);
    bool ReadFeatures(std::int32_t pointer, SpringMapSmf& smf);
};

enum HeaderPointer
{
    HeightPtr,
    TypePtr,
    TilesPtr,
    MinimapPtr,
    MetalPtr,
    FeaturePtr,
    PointerCount
};

bool Parser::ReadHeader(SpringMapSmf& smf, std::int32_t* pointers, std::int32_t& numExtraHeaders)
{
    if (Bytes.Size() < HeaderBytes)
        return Fail("file is " + std::to_string(Bytes.Size()) + " bytes, shorter than the 80-byte header");
    if (std::memcmp(Bytes.At(0), Magic, sizeof(Magic)) != 0)
        return Fail("not a Spring map file (bad magic)");
    const struct
    {
        int Offset;
        int Expected;
        const char* Name;
    } fixedFields[] = {
        {16, 1, "version"}, {32, 8, "square size"}, {36, 8, "texels per square"}, {40, 32, "tile size"}};
    for (const auto& field : fixedFields)
    {
        const std::int32_t value = Bytes.ReadInt32(field.Offset);
        if (value != field.Expected)
            return Fail(std::string("unsupported ") + field.Name + " " + std::to_string(value) +
                        " (expected " + std::to_string(field.Expected) + ")");
    }
    smf.MapId = static_cast<std::uint32_t>(Bytes.ReadInt32(20));
    smf.MapX = Bytes.ReadInt32(24);
    smf.MapY = Bytes.ReadInt32(28);
    if (smf.MapX <= 0 || smf.MapY <= 0 || smf.MapX > Caps.MaxMapSquares || smf.MapY > Caps.MaxMapSquares)
        return Fail("map size " + std::to_string(smf.MapX) + "x" + std::to_string(smf.MapY) +
                    " squares is out of range (1.." + std::to_string(Caps.MaxMapSquares) + ")");
    if (smf.MapX % 4 != 0 || smf.MapY % 4 != 0)
        return Fail("map size " + std::to_string(smf.MapX) + "x" + std::to_string(smf.MapY) +
                    " squares is not a multiple of 4");
    smf.MinHeight = Bytes.ReadFloat(44);
    smf.MaxHeight = Bytes.ReadFloat(48);
    if (!std::isfinite(smf.MinHeight) || !std::isfinite(smf.MaxHeight))
        return Fail("height range is not finite");
    for (int i = 0; i < PointerCount; ++i)
        pointers[i] = Bytes.ReadInt32(52 + 4 * i);
    numExtraHeaders = Bytes.ReadInt32(76);
    return true;
}

bool Parser::ReadExtraHeaders(std::int32_t count, bool& bHasGrass, std::int32_t& grassPtr)
{
    if (count < 0)
        return Fail("negative extra header count (" + std::to_string(count) + ")");
    std::uint64_t offset = HeaderBytes;
    for (std::int32_t i = 0; i < count; ++i)
    {
        if (!Bytes.Has(offset, 8))
            return Fail("extra header " + std::to_string(i) + " runs past the end of the file");
        const std::int32_t size = Bytes.ReadInt32(offset);
        const std::int32_t type = Bytes.ReadInt32(offset + 4);
        if (type == ExtraHeaderGrass)
        {
            // Writers disagree on this header's size (4, 12 or 4 + grass bytes): the pointer always follows.
            if (!Bytes.Has(offset, 12))
                return Fail("grass extra header runs past the end of the file");
            grassPtr = Bytes.ReadInt32(offset + 8);
            bHasGrass = true;
            offset += 12;
        }
        else if (size >= 8)
            offset += static_cast<std::uint64_t>(size);
        else
            break; // no way to step over an unknown header that does not say its size
    }
    return true;
}

bool Parser::ReadTiles(std::int32_t pointer, SpringMapSmf& smf)
{
    if (!CheckSection("tile", pointer, 8))
        return false;
    std::uint64_t offset = static_cast<std::uint64_t>(pointer);
    const std::int32_t numTileFiles = Bytes.ReadInt32(offset);
    const std::int32_t numTiles = Bytes.ReadInt32(offset + 4);
    offset += 8;
    if (numTileFiles < 0 || numTiles < 0)
        return Fail("tile section has a negative count (" + std::to_string(numTileFiles) + " files, " +
                    std::to_string(numTiles) + " tiles)");
    if (numTileFiles > Caps.MaxTileFiles)
        return Fail("tile section lists " + std::to_string(numTileFiles) + " tile files (at most " +
                    std::to_string(Caps.MaxTileFiles) + ")");
    // Each file entry takes at least 5 bytes, so a count the file cannot hold is refused before reserving.
    if (static_cast<std::uint64_t>(numTileFiles) * 5 > Bytes.Size() - offset)
        return Fail("tile section lists " + std::to_string(numTileFiles) +
                    " tile files, more than the file can hold");
    std::vector<SpringMapSmf::TileFileRef> files(static_cast<std::size_t>(numTileFiles));
    std::int64_t countSum = 0;
    for (auto& file : files)
    {
        if (!Bytes.Has(offset, 4))
            return Fail("tile file list runs past the end of the file");
        file.TileCount = Bytes.ReadInt32(offset);
        if (file.TileCount < 0)
            return Fail("tile file has a negative tile count (" + std::to_string(file.TileCount) + ")");
        countSum += file.TileCount;
        if (!Bytes.ReadCString(offset + 4, file.Name))
            return Fail("tile file name runs past the end of the file");
        offset += 4 + file.Name.size() + 1;
    }
    if (countSum != numTiles)
        return Fail("tile files supply " + std::to_string(countSum) + " tiles but the map declares " +
                    std::to_string(numTiles));
    const std::uint64_t indexCount =
        static_cast<std::uint64_t>(smf.MapX / 4) * static_cast<std::uint64_t>(smf.MapY / 4);
    if (!Bytes.Has(offset, indexCount * 4))
        return Fail("tile index runs past the end of the file");
    std::vector<std::int32_t> index(indexCount);
    std::memcpy(index.data(), Bytes.At(offset), indexCount * 4);
    for (std::size_t i = 0; i < index.size(); ++i)
        if (index[i] < 0 || index[i] >= numTiles)
            return Fail("tile index " + std::to_string(index[i]) + " at (" +
                        std::to_string(i % (smf.MapX / 4)) + ", " + std::to_string(i / (smf.MapX / 4)) +
                        ") is out of range (0.." + std::to_string(numTiles) + ")");
    smf.NumTiles = numTiles;
    smf.TileFiles = std::move(files);
    smf.TileIndex = std::move(index);
    return true;
}

bool Parser::ReadFeatures(std::int32_t pointer, SpringMapSmf& smf)
{
    if (!CheckSection("feature", pointer, 8))
        return false;
    std::uint64_t offset = static_cast<std::uint64_t>(pointer);
    const std::int32_t numTypes = Bytes.ReadInt32(offset);
    const std::int32_t numFeatures = Bytes.ReadInt32(offset + 4);
    offset += 8;
    if (numTypes < 0 || numFeatures < 0 || numTypes > MaxFeatureTypes)
        return Fail("feature section has a bad count (" + std::to_string(numTypes) + " types, " +
                    std::to_string(numFeatures) + " features)");
    std::vector<std::string> types(static_cast<std::size_t>(numTypes));
    for (auto& type : types)
    {
        if (!Bytes.ReadCString(offset, type))
            return Fail("feature type name runs past the end of the file");
        offset += type.size() + 1;
    }
    constexpr std::uint64_t FeatureBytes = 24;
    if (!Bytes.Has(offset, static_cast<std::uint64_t>(numFeatures) * FeatureBytes))
        return Fail("feature section runs past the end of the file (" + std::to_string(numFeatures) +
                    " features)");
    std::vector<SpringMapSmf::Feature> features(static_cast<std::size_t>(numFeatures));
    for (auto& feature : features)
    {
        feature.Type = Bytes.ReadInt32(offset);
        if (feature.Type < 0 || feature.Type >= numTypes)
            return Fail("feature type " + std::to_string(feature.Type) + " is out of range (0.." +
                        std::to_string(numTypes) + ")");
        feature.X = Bytes.ReadFloat(offset + 4);
        feature.Y = Bytes.ReadFloat(offset + 8);
        feature.Z = Bytes.ReadFloat(offset + 12);
        feature.Rotation = Bytes.ReadFloat(offset + 16);
        feature.RelativeSize = Bytes.ReadFloat(offset + 20);
        offset += FeatureBytes;
    }
    smf.FeatureTypes = std::move(types);
    smf.Features = std::move(features);
    return true;
}
} // namespace

bool Parse(std::span<const std::uint8_t> Data, const std::string& FileName, SpringMapSmf& Out,
           std::string& Error, const SpringMapFiles::Limits& Caps)
{
    Parser parser{SpringMapBytes(Data), FileName, Error, Caps};
    SpringMapSmf smf;
    std::int32_t pointers[PointerCount] = {};
    std::int32_t numExtraHeaders = 0;
    std::int32_t grassPtr = 0;
    bool bHasGrass = false;
    if (!parser.ReadHeader(smf, pointers, numExtraHeaders) ||
        !parser.ReadExtraHeaders(numExtraHeaders, bHasGrass, grassPtr))
        return false;
    const std::uint64_t mapX = static_cast<std::uint64_t>(smf.MapX),
                        mapY = static_cast<std::uint64_t>(smf.MapY);
    const std::uint64_t halfCells = (mapX / 2) * (mapY / 2);
    struct Section
    {
        std::int32_t Pointer;
        std::function<bool()> Read;
    };
    std::vector<Section> sections = {
        {pointers[HeightPtr],
         [&] {
             return parser.CopySection("heightmap", pointers[HeightPtr], (mapX + 1) * (mapY + 1),
                                       smf.RawHeights);
         }},
        {pointers[TypePtr],
         [&] { return parser.CopySection("type map", pointers[TypePtr], halfCells, smf.TypeMap); }},
        {pointers[MinimapPtr],
         [&] { return parser.CopySection("minimap", pointers[MinimapPtr], MinimapBytes, smf.Minimap); }},
        {pointers[MetalPtr],
         [&] { return parser.CopySection("metal map", pointers[MetalPtr], halfCells, smf.MetalMap); }},
        {pointers[TilesPtr], [&] { return parser.ReadTiles(pointers[TilesPtr], smf); }},
        {pointers[FeaturePtr], [&] { return parser.ReadFeatures(pointers[FeaturePtr], smf); }},
    };
    if (bHasGrass)
        sections.push_back({grassPtr, [&] {
                                return parser.CopySection("grass map", grassPtr, (mapX / 4) * (mapY / 4),
                                                          smf.GrassMap);
                            }});
    // In file order, so a truncated file is reported at the section it was cut in, whatever the layout.
    std::stable_sort(sections.begin(), sections.end(),
                     [](const Section& a, const Section& b) { return a.Pointer < b.Pointer; });
    for (const Section& section : sections)
        if (!section.Read())
            return false;
    Out = std::move(smf);
    return true;
}
} // namespace SpringMapSmfFormat
