#pragma once

#include "nodes/support/postpass.h"
#include "scene/node.h"
#include "scene/pdtexture.h"

class CPortFloat;
class CPortInt;
class CPortTexture;

// Star-shaped streaks from what is bright: the input at a quarter of its
// size, drawn out along evenly turned lines in a few passes of growing
// reach, with colour fringes, and the lines added up. Made anew whenever a
// reader asks for it.
class CStreakNode : public CNode, public CPDTexture
{
public:
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    std::shared_ptr<CTexture> GetTexture(CRender* render) override;

    static constexpr int Samples = 8;

private:
    friend CNodeDeclaration DeclareNode<CStreakNode>();

    CPortInt* m_format = nullptr;
    CPortInt* m_iterations = nullptr;
    CPortInt* m_numStarLines = nullptr;
    CPortFloat* m_starRotation = nullptr;
    CPortFloat* m_starLineLength = nullptr;
    CPortFloat* m_attenuation = nullptr;
    CPortFloat* m_chromaticAberration = nullptr;
    CPortFloat* m_threshold = nullptr;
    CPortTexture* m_input = nullptr;
    CPortTexture* m_texture = nullptr;

    CBuiltInEffect m_streak;
    CBuiltInEffect m_downscale;
    CFxParam m_source, m_weights, m_offsets;
    CFxParam m_downSource, m_halfTexel, m_thresholdParam;
    CFxPass m_pass, m_downThreshold;
};
