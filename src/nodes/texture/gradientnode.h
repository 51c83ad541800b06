#pragma once

#include "scene/node.h"
#include "scene/pdtexture.h"

#include <array>

class CPortColor;
class CPortFloat;
class CPortInt;
class CPortTexture;

// A one- or two-dimensional texture of a gradient through up to five colour
// stops: linear, radial, conical or square, turned and centred as its ports
// say. Filled again only when an input changes.
class CGradientNode : public CNode, public CPDTexture
{
public:
    static constexpr int Stops = 5;

    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    // Keeps a texture that still fits and only fills it again.
    bool ResetDevice(CRender* render) override;

private:
    friend CNodeDeclaration DeclareNode<CGradientNode>();

    void Fill(CTexture& texture) const;

    CPortInt* m_width = nullptr;
    CPortInt* m_height = nullptr;
    CPortInt* m_gradientType = nullptr;
    CPortFloat* m_angle = nullptr;
    CPortFloat* m_centerX = nullptr;
    CPortFloat* m_centerY = nullptr;
    std::array<CPortFloat*, Stops> m_peaks{};
    std::array<CPortColor*, Stops> m_colors{};
    CPortColor* m_background = nullptr;
    CPortTexture* m_texture = nullptr;
};
