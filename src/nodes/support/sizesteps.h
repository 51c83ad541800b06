#pragma once

// A texture size in pixels.
struct STextureSize
{
    int width = 0;
    int height = 0;
    bool operator==(const STextureSize&) const = default;
};

// The size of a texture chosen by steps, one per axis: -1 takes the custom
// size, 0 keeps the incoming size, 1 to 5 halve it that many times
// (truncated); any other step keeps it. The width is at least 1 and the
// height at least 2, the lower limit of the nodes' HeightCustom ports.
STextureSize SizeFromSteps(int widthStep, int heightStep, int widthCustom, int heightCustom, int width, int height);
