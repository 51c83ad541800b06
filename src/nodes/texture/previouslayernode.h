#pragma once

#include "render/camera.h"
#include "scene/layerhooks.h"
#include "scene/node.h"
#include "scene/pdtexture.h"

#include <memory>

class CPortBool;
class CPortTexture;
class CRenderTarget;
class CScene;

// The picture of the layers below a postprocessing scene. The layered scene
// captures background and foreground into this node's target while it draws
// them; the node itself draws nothing of its own accord. Outside a layered
// scene it shows its example scene (in a preview) or transparent black.
class CPreviousLayerNode : public CNode, public CPDTexture, public CLayerCapture
{
public:
    CPreviousLayerNode();
    ~CPreviousLayerNode() override;

    bool Init() override;
    void Update(float time, CSceneContext* context) override;
    void FrameFinished() override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    std::shared_ptr<CTexture> GetTexture(CRender* render) override;

    bool StartCapture(CRender* render) override;
    void EndCapture(CRender* render) override;
    void ReleaseCapture() override;

private:
    friend CNodeDeclaration DeclareNode<CPreviousLayerNode>();

    void BuildMipMaps(CTexture* texture) const;

    CPortBool* m_createMipMaps = nullptr;
    CPortTexture* m_color = nullptr;
    std::shared_ptr<CRenderTarget> m_target;
    CCamera m_savedCamera;
    std::unique_ptr<CScene> m_example;
};
