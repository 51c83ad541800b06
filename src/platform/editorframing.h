#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

// The editor connection's messages: a 4-byte big-endian length, then that
// many bytes of XML text.
inline std::string EditorFrame(std::string_view text)
{
    const auto length = uint32_t(text.size());
    std::string frame{char(length >> 24), char(length >> 16), char(length >> 8), char(length)};
    frame.append(text);
    return frame;
}

inline uint32_t EditorFrameLength(const char* header)
{
    const auto byte = [header](int i) { return uint32_t(uint8_t(header[i])); };
    return byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
}

inline constexpr size_t kEditorFrameHeader = 4;
// The default cap on one message; a scene's XML is far smaller.
inline constexpr size_t kEditorMaxMessage = 4u << 20;
