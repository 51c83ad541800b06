#pragma once

#include <cstdint>
#include <string>

class CRender;

// What the director plays: a scene with its own node graph, a layered
// combination of scenes, or a transition between two.
class CSceneBase
{
public:
    enum EKind : int32_t
    {
        Kind_Scene = 0,
        Kind_Layered = 1,
        Kind_Transition = 2,
    };

    // Results of CheckCompatibility.
    enum ECompatibility : int32_t
    {
        Compatibility_Bad = 0,
        Compatibility_Neutral = 1,
        Compatibility_Good = 2,
    };

    explicit CSceneBase(int32_t kind) : m_kind(kind) {}
    virtual ~CSceneBase() = default;
    CSceneBase(const CSceneBase&) = delete;
    CSceneBase& operator=(const CSceneBase&) = delete;

    // Called once after the sub-scenes are set.
    virtual bool Prepare() = 0;
    virtual void Update(float deltaTime, CRender* render) = 0;
    virtual void FrameFinished() = 0;
    virtual bool RestoreDevice(CRender* render) = 0;
    virtual void InvalidateDevice(CRender* render) = 0;
    virtual void Draw(CRender* render) = 0;
    // Marks all device resources for remaking at their next use.
    virtual void ForceRestore() = 0;
    virtual std::string GetFileName() const = 0;
    // Two scenes with equal ids count as the same scene.
    virtual std::string GetId() const = 0;
    virtual std::string GetName() const = 0;
    virtual void Restart() = 0;
    virtual int32_t CheckCompatibility(const CSceneBase* other) const
    {
        (void)other;
        return Compatibility_Neutral;
    }

    int32_t m_kind;
    // Seconds this scene wants to run, 0 for no wish of its own; for a
    // transition scene its length.
    float m_runTime = 0.0f;
    // A layered scene that the director made for one use and takes back.
    bool m_pooled = false;
};
