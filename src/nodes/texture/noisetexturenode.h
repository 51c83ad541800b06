#pragma once

#include "scene/node.h"
#include "scene/pdtexture.h"

#include <array>

class CPortInt;
class CPortTexture;
class CPortVector;

// A tileable texture of noise in one, two or three dimensions, each channel
// its own kind: plain noise at a frequency, a fractal sum or turbulence.
// Filled again only when an input changes.
class CNoiseTextureNode : public CNode, public CPDTexture
{
public:
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;

    // The value of noise `type` (0 to 17) at a point of the unit square or
    // cube, tiling with period 1; `depth` below 2 takes the square.
    static float Noise(int type, float x, float y, float z, bool volume);

private:
    friend CNodeDeclaration DeclareNode<CNoiseTextureNode>();

    CPortInt* m_width = nullptr;
    CPortInt* m_height = nullptr;
    CPortInt* m_depth = nullptr;
    std::array<CPortInt*, 4> m_noise{};
    CPortVector* m_offset = nullptr;
    CPortTexture* m_texture = nullptr;
};
