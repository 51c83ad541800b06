#pragma once

#include "nodes/support/postpass.h"
#include "scene/node.h"
#include "scene/pdtexture.h"

#include <array>

class CPortFloat;
class CPortInt;
class CPortTexture;

// A glow around what is bright: the input is halved level by level, each
// level blurred and weighted, and the levels added up from the widest to the
// finest. The answer has half the input's size and is made anew whenever a
// reader asks for it.
class CBloomNode : public CNode, public CPDTexture
{
public:
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    std::shared_ptr<CTexture> GetTexture(CRender* render) override;

    static constexpr int MaxLevels = 5;

private:
    friend CNodeDeclaration DeclareNode<CBloomNode>();

    // One level blurred both ways at its own size and weighted, joined with
    // the wider bloom from below when there is one.
    std::shared_ptr<CTexture> Blur(CRender* render, const std::shared_ptr<CTexture>& level, float weight,
                                   const std::shared_ptr<CTexture>& previous, int format);

    CPortInt* m_format = nullptr;
    CPortInt* m_blurIterations = nullptr;
    CPortFloat* m_weightScale = nullptr;
    std::array<CPortFloat*, MaxLevels> m_weights{};
    CPortFloat* m_threshold = nullptr;
    CPortTexture* m_input = nullptr;
    CPortTexture* m_texture = nullptr;

    CBuiltInEffect m_bloom;
    CBuiltInEffect m_downscale;
    CFxParam m_bloomSource, m_previous, m_sourceSize, m_scale;
    CFxParam m_downSource, m_halfTexel, m_thresholdParam;
    CFxPass m_horizontal, m_vertical, m_verticalPrevious, m_downMain, m_downThreshold;
};
