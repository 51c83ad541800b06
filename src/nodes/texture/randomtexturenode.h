#pragma once

#include "scene/node.h"
#include "scene/pdtexture.h"

class CPortColor;
class CPortFloat;
class CPortInt;
class CPortRect;
class CPortTexture;

// A texture of random colours between two, on every pixel of a rectangle or
// on a share of them over a background; the same seed gives the same
// picture. Filled again only when an input changes.
class CRandomTextureNode : public CNode, public CPDTexture
{
public:
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;

private:
    friend CNodeDeclaration DeclareNode<CRandomTextureNode>();

    CPortInt* m_width = nullptr;
    CPortInt* m_height = nullptr;
    CPortInt* m_seed = nullptr;
    CPortInt* m_count = nullptr;
    CPortFloat* m_countRel = nullptr;
    CPortColor* m_background = nullptr;
    CPortColor* m_color1 = nullptr;
    CPortColor* m_color2 = nullptr;
    CPortRect* m_rect = nullptr;
    CPortTexture* m_texture = nullptr;
};
