#pragma once

#include "scene/node.h"
#include "scene/pdtexture.h"

#include <array>
#include <memory>

class CPortTexture;

// A texture kept by a PersistentTexture node: answers with its own pointer.
class CPTTexture : public CPDTexture
{
public:
    std::shared_ptr<CTexture> GetTexture(CRender* render) override;

    std::shared_ptr<CTexture> m_texture;
};

// Offers the texture its input had in the previous frame, held across the
// frame's end so that its surface isn't given to anyone else meanwhile.
class CPersistentTextureNode : public CNode
{
public:
    void Update(float time, CSceneContext* context) override;
    void FrameFinished() override;
    void InvalidateDevice(CRender* render) override;
    // Keeps the textures: a pull resets a node's device right after its
    // first update, which would lose the texture just stored.
    bool ResetDevice(CRender* render) override;

    std::array<CPTTexture, 2> m_records;
    int m_index = 0;

private:
    friend CNodeDeclaration DeclareNode<CPersistentTextureNode>();

    CPortTexture* m_in = nullptr;
    CPortTexture* m_out = nullptr;
};
