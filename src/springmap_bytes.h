#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string>

// Little-endian reads at arbitrary (often odd) offsets of a file held in memory. Every read is
// bounds-checked in 64-bit arithmetic, so hostile offsets can never reach past the buffer.
class SpringMapBytes
{
  public:
    explicit SpringMapBytes(std::span<const std::uint8_t> Data) : Bytes(Data) {}

    std::uint64_t Size() const { return Bytes.size(); }
    bool Has(std::uint64_t offset, std::uint64_t length) const
    {
        return offset <= Bytes.size() && length <= Bytes.size() - offset;
    }
    std::int32_t ReadInt32(std::uint64_t offset) const
    {
        std::uint32_t value = 0;
        std::memcpy(&value, Bytes.data() + offset, 4);
        return static_cast<std::int32_t>(value);
    }
    float ReadFloat(std::uint64_t offset) const
    {
        float value = 0.0f;
        std::memcpy(&value, Bytes.data() + offset, 4);
        return value;
    }
    // Reads a NUL-terminated string starting at offset; false when no NUL lies inside the file.
    bool ReadCString(std::uint64_t offset, std::string& out) const
    {
        if (offset >= Bytes.size())
            return false;
        const void* end = std::memchr(Bytes.data() + offset, 0, Bytes.size() - offset);
        if (!end)
            return false;
        out.assign(reinterpret_cast<const char*>(Bytes.data() + offset),
                   static_cast<const std::uint8_t*>(end) - (Bytes.data() + offset));
        return true;
    }
    const std::uint8_t* At(std::uint64_t offset) const { return Bytes.data() + offset; }

  private:
    std::span<const std::uint8_t> Bytes;
};
