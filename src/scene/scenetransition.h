#pragma once

#include "scene/scenebase.h"

#include <memory>

class CScene;
class CTransitionUser;

// A transition scene playing while the scene that goes and the one that
// comes run on beside it; its Transition node draws both into textures.
// The two scenes belong to the director; the transition scene to this.
class CSceneTransition : public CSceneBase
{
public:
    CSceneTransition();
    ~CSceneTransition() override;

    // Tells the Transition node of the transition scene about this, and makes
    // every run of the transition start with its clock at 0.
    bool Prepare() override;
    void Update(float deltaTime, CRender* render) override;
    void FrameFinished() override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void Draw(CRender* render) override;
    void ForceRestore() override;
    std::string GetFileName() const override;
    std::string GetId() const override;
    std::string GetName() const override;
    void Restart() override;

    // At the end of the transition: frees what the scene that went held,
    // except layers that the coming scene shares.
    void ReleaseOutgoing(CRender* render);

    CSceneBase* m_from = nullptr;
    CSceneBase* m_to = nullptr;
    std::unique_ptr<CScene> m_transition;
    float m_nextRunTime = 0.0f;
    CTransitionUser* m_node = nullptr;
};
