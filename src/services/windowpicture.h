#pragma once

#include <cstdint>
#include <span>
#include <string>

// Writes read-back pixels (BGR, bottom row first) as a picture file, its
// type by the file's extension. False, with a log line, on failure. Safe to
// call from several threads for different pictures.
bool SaveBgrPicture(const std::string& path, std::span<const uint8_t> pixels, int width, int height);
