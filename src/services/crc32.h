#pragma once

#include <cstdint>
#include <string_view>

// The CRC-32 of zip and PNG: reflected, polynomial 0xEDB88320, starting from
// all ones and inverted at the end.
uint32_t Crc32(std::string_view bytes);
