#pragma once

#include "ports/types/portcolor.h"
#include "scene/nodedeclaration.h"

#include <cstdint>
#include <memory>
#include <vector>

// Helpers of the texture nodes that fill their pictures on the CPU.

class CTexture;
class CTextureManager;

// A channel as a byte: 255 from 1 up, 0 from 0 down, else v * 255 truncated.
uint8_t ToByte(float value);

// A colour as the bytes r, g, b, a of a texel.
void WriteTexel(uint8_t* texel, const CPortColor::Rgba& color);

// `a` and `b` blended at `t`, not limited.
CPortColor::Rgba Blend(const CPortColor::Rgba& a, const CPortColor::Rgba& b, float t);

// The sizes a texture side offers: powers of two from `lowest` to 4096.
std::vector<SChoice> PowerOfTwoSizes(int lowest);

// The texture of a node with Width, Height and Depth: one row below a height
// of 2, flat below a depth of 2, else a volume. Null when it can't be made.
std::shared_ptr<CTexture> GetShapedTexture(CTextureManager& textures, int width, int height, int depth);
// The dimension that shape publishes: 1, 2 or 3.
int ShapeDimension(int height, int depth);
