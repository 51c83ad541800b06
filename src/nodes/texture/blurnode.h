#pragma once

#include "nodes/support/postpass.h"
#include "scene/node.h"
#include "scene/pdtexture.h"

class CPortFloat;
class CPortInt;
class CPortTexture;

// The texture on its input, blurred along x, y or both in rounds of four or
// six texels until the width asked for is spent; the picture is made anew
// whenever a reader asks for it.
class CNTBlur : public CNode, public CPDTexture
{
public:
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    std::shared_ptr<CTexture> GetTexture(CRender* render) override;

private:
    friend CNodeDeclaration DeclareNode<CNTBlur>();

    CPortInt* m_dir = nullptr;
    CPortInt* m_width = nullptr;
    CPortFloat* m_brightness = nullptr;
    CPortTexture* m_input = nullptr;
    CPortTexture* m_texture = nullptr;

    CBuiltInEffect m_blur;
    CFxParam m_source;
    CFxParam m_sourceSize;
    CFxParam m_gain;
    CFxPass m_horizontal4, m_vertical4, m_horizontal6, m_vertical6;
};
