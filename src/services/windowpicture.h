#pragma once

#include <cstdint>
#include <string>
#include <vector>

class CRender;

// Reads back what the render's current window shows and writes it as a
// picture file, its type by the file's extension. `pixels` is storage that
// callers reuse from picture to picture. False, with a log line, on failure.
bool SaveWindowPicture(CRender& render, const std::string& path, std::vector<uint8_t>& pixels);
