#include "services/crc32.h"

#include <array>

namespace {

constexpr std::array<uint32_t, 256> MakeTable()
{
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t value = i;
        for (int bit = 0; bit < 8; ++bit)
            value = (value & 1) ? 0xEDB88320u ^ (value >> 1) : value >> 1;
        table[i] = value;
    }
    return table;
}

constexpr std::array<uint32_t, 256> kTable = MakeTable();

} // namespace

uint32_t Crc32(std::string_view bytes)
{
    uint32_t crc = 0xFFFFFFFFu;
    for (const unsigned char byte : bytes)
        crc = kTable[(crc ^ byte) & 0xFF] ^ (crc >> 8);
    return crc ^ 0xFFFFFFFFu;
}
