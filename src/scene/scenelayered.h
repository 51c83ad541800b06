#pragma once

#include "scene/scenebase.h"

class CLayerCapture;
class CScene;

// Up to three scenes drawn as one picture: a background, a foreground over
// it, and a postprocessing scene that reads the two through its
// PreviousLayer node. The layers belong to the director's lists.
class CSceneLayered : public CSceneBase
{
public:
    CSceneLayered() : CSceneBase(Kind_Layered) {}

    // Finds the PreviousLayer node of the postprocessing scene.
    bool Prepare() override;
    void Update(float deltaTime, CRender* render) override;
    void FrameFinished() override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void Draw(CRender* render) override;
    void ForceRestore() override;
    // "background;foreground;postprocessing", with both separators always.
    std::string GetFileName() const override;
    std::string GetId() const override;
    std::string GetName() const override;
    void Restart() override;

    CScene* m_background = nullptr;
    CScene* m_foreground = nullptr;
    CScene* m_postprocessing = nullptr;
    CLayerCapture* m_previousLayer = nullptr;

private:
    template <class TCall>
    void ForEachLayer(TCall&& call) const;
};
