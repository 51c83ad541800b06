#pragma once

class CRender;
class CSceneTransition;

// What a layered scene asks of the PreviousLayer node in its postprocessing
// scene: to capture the layers below into a texture while they are drawn.
class CLayerCapture
{
public:
    virtual ~CLayerCapture() = default;
    // Takes a target of the virtual rectangle's size and makes it current;
    // false when none could be had.
    virtual bool StartCapture(CRender* render) = 0;
    virtual void EndCapture(CRender* render) = 0;
    // Gives the target back once the postprocessing scene has read it.
    virtual void ReleaseCapture() = 0;
};

// The Transition node of a transition scene, told which transition it serves.
class CTransitionUser
{
public:
    virtual ~CTransitionUser() = default;
    virtual void SetTransition(CSceneTransition* transition) = 0;
};
