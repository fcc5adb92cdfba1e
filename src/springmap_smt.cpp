#include "springmap_smt.h"

#include <cstring>

#include "springmap_bytes.h"

namespace SpringMapSmtFormat
{
bool Check(std::span<const std::uint8_t> Data, std::int64_t TileCount, const std::string& FileName,
           std::string& Error)
{
    static constexpr char Magic[16] = "spring tilefile";
    const SpringMapBytes bytes(Data);
    if (!bytes.Has(0, HeaderBytes))
    {
        Error = FileName + ": file is " + std::to_string(bytes.Size()) +
                " bytes, shorter than the 32-byte header";
        return false;
    }
    if (std::memcmp(bytes.At(0), Magic, sizeof(Magic)) != 0)
    {
        Error = FileName + ": not a Spring tile file (bad magic)";
        return false;
    }
    const struct
    {
        int Offset;
        int Expected;
        const char* Name;
    } fields[] = {{16, 1, "version"}, {24, 32, "tile size"}, {28, 1, "compression type"}};
    for (const auto& field : fields)
        if (const std::int32_t value = bytes.ReadInt32(field.Offset); value != field.Expected)
        {
            Error = FileName + ": unsupported " + field.Name + " " + std::to_string(value) + " (expected " +
                    std::to_string(field.Expected) + ")";
            return false;
        }
    if (TileCount < 0 || !bytes.Has(HeaderBytes, static_cast<std::uint64_t>(TileCount) * TileBytes))
    {
        Error = FileName + ": file is " + std::to_string(bytes.Size()) + " bytes, too short for the " +
                std::to_string(TileCount) + " tiles the map takes from it";
        return false;
    }
    return true;
}
} // namespace SpringMapSmtFormat
