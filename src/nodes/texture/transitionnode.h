#pragma once

#include "scene/layerhooks.h"
#include "scene/node.h"
#include "scene/pdtexture.h"

#include <array>
#include <memory>

class CPortBool;
class CPortTexture;
class CRenderTarget;
class CScene;
class CSceneBase;

// One side of a transition as a texture: the scene is drawn into a target
// whenever a reader asks, or the example scene, or else a plain colour.
class CTransitionNodeTexture : public CPDTexture
{
public:
    std::shared_ptr<CTexture> GetTexture(CRender* render) override;

    CSceneBase* m_source = nullptr;
    // The target of this frame, given back at its end.
    std::shared_ptr<CRenderTarget> m_target;
    std::array<float, 4> m_clearColor{0, 0, 0, 1};
    bool m_mipMaps = false;
    CScene* m_example = nullptr;
    // Of the render's size; the scene that comes may be drawn smaller.
    float m_sizeScale = 1.0f;
};

// Gives a transition scene the pictures of the scene that goes (FromScene)
// and the scene that comes (ToScene). Its transition scene tells it which
// those are; the transition's progress is that scene's time, 0 to 1.
class CTransitionNode : public CNode, public CTransitionUser
{
public:
    enum ESide
    {
        From = 0,
        To = 1,
    };

    CTransitionNode();
    ~CTransitionNode() override;

    bool Init() override;
    void Update(float time, CSceneContext* context) override;
    void FrameFinished() override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    // The example scenes keep their resources across a forced restore.
    bool ResetDevice(CRender* render) override;
    void SetTransition(CSceneTransition* transition) override;

    // A configured scale that would make no sensible target size is 1.
    static constexpr float MaxSizeScale = 4.0f;

    std::array<CTransitionNodeTexture, 2> m_records;

private:
    friend CNodeDeclaration DeclareNode<CTransitionNode>();

    float SizeScale(float configured);

    CPortBool* m_createMipMaps = nullptr;
    std::array<CPortTexture*, 2> m_outputs{};
    CSceneTransition* m_transition = nullptr;
    std::array<std::unique_ptr<CScene>, 2> m_examples;
    bool m_reportedScale = false;
};
