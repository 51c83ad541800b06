#pragma once

#include "scene/node.h"
#include "scene/pdtexture.h"
#include "scene/renderlist.h"

#include <array>
#include <memory>

class CPortBool;
class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortRender;
class CPortTexture;
class CRenderTarget;

// One surface of a RenderToTexture node: a pooled target, published as a
// texture that answers from it.
class CRTTColor : public CPDTexture
{
public:
    // The target's colour surface, empty while the record holds no target.
    std::shared_ptr<CTexture> GetTexture(CRender* render) override;
    // Keeps the target. Its colour surface is kept beside it, so that readers
    // share one pointer instead of making a new one at every call.
    void Take(std::shared_ptr<CRenderTarget> target);
    // Gives the target back to the pool, once readers let go of it too.
    void Drop();

    std::shared_ptr<CRenderTarget> m_target;
};

// Draws a render chain, or one effect over the whole target, into a texture
// during the update, so the picture is complete before anyone samples it.
// With ColorNext read, two surfaces take turns: the one drawn last frame is
// offered for feedback while the other is drawn.
class CRenderToTextureNode : public CNode
{
public:
    void Update(float time, CSceneContext* context) override;
    void FrameFinished() override;
    void InvalidateDevice(CRender* render) override;
    // Keeps the surfaces: a pull resets a node's device right after its
    // first update, which would throw away the picture just drawn.
    bool ResetDevice(CRender* render) override;

    std::array<CRTTColor, 2> m_records;
    int m_current = 0;
    float m_sinceSwap = 0.0f;
    bool m_swapWanted = true;

private:
    friend CNodeDeclaration DeclareNode<CRenderToTextureNode>();

    // A Format value the render can't make gives RGBA 8bit, with a log line
    // when the value first appears.
    int TargetFormat();
    void DropTargets();
    // Takes the surfaces that are missing; false without a current one.
    bool TakeTargets(CRender* render, int width, int height, int format, bool feedback);
    void Draw(CRender* render, CSceneContext* context);

    CPortInt* m_format = nullptr;
    CPortInt* m_width = nullptr;
    CPortInt* m_height = nullptr;
    CPortInt* m_widthCustom = nullptr;
    CPortInt* m_heightCustom = nullptr;
    CPortBool* m_createMipMaps = nullptr;
    CPortFloat* m_swapTime = nullptr;
    CPortEffect* m_effect = nullptr;
    CPortRender* m_render = nullptr;
    CPortTexture* m_color = nullptr;
    CPortTexture* m_colorNext = nullptr;
    // The last unknown Format logged; a valid one while none was.
    int m_reportedFormat = 1;
    CRenderList m_list;
};
