#pragma once

#include "render/matrix.h"
#include "render/renderpoints.h"
#include "render/rendervolumelines.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <array>
#include <vector>

class CPortBool;
class CPortColor;
class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortObject;
class CPortVector;

// A CPU particle system: an emitter shape that may move, a launch direction
// model, gravity and drag, an optional curl-noise flow field, a bounce floor
// and ribbon trails. Particles live in a flat pool that only grows and is
// reused through a search cursor, and are drawn through the batchers.
class CParticlesNode : public CNode, public CPDObject
{
public:
    struct SParticle
    {
        bool alive = false;
        SVec3 velocity;
        SVec3 position;
        SVec3 previousPosition;
        std::array<float, 4> baseColor{1, 1, 1, 1};
        std::array<float, 4> color{1, 1, 1, 1};
        std::array<float, 4> previousColor{1, 1, 1, 1};
        float age = 0.0f;
        float lifetime = 0.0f;
        float size = 0.0f;
        float baseSize = 0.0f;
    };

    enum EDirectionMode
    {
        Uniform = 1,
        Directional = 2,
        BiDirectional = 3,
        Outwards = 4,
    };
    enum EEmitterType
    {
        Sphere = 1,
        Cube = 2,
        Cylinder = 3,
    };

    bool Init() override;
    void Update(float time, CSceneContext* context) override;
    void FrameFinished() override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    int GetPoolSize() const { return int(m_pool.size()); }
    int GetLiveCount() const { return m_liveCount; }
    int GetFreeCount() const { return m_freeCount; }
    const std::vector<SParticle>& GetPool() const { return m_pool; }
    const CRenderPoints& GetPoints() const { return m_points; }
    const CRenderVolumeLines& GetTrails() const { return m_trails; }

private:
    friend CNodeDeclaration DeclareNode<CParticlesNode>();

    struct SSegment
    {
        SVec3 position;
        uint32_t color = 0;
        float size = 0.0f;
    };
    struct SRing
    {
        int count = 0;
        int head = 0;
    };

    void GrowPool(int wanted);
    void Emit(int n, float d, float ax, float ay);
    SVec3 EmitterOffset(float ax, float ay);
    SVec3 LaunchVelocity(float speed, const SVec3& position, const SVec3& motion, const CMatrix& rotation);
    void Simulate(float d);
    SVec3 FlowForce(const SVec3& p) const;
    void FillBatcher();
    void UpdateTrails(float d);

    CPortEffect* m_effect = nullptr;
    CPortEffect* m_trailEffect = nullptr;
    CPortObject* m_objectIn = nullptr;
    CPortInt* m_particlesPerSec = nullptr;
    CPortInt* m_trailsSegments = nullptr;
    CPortFloat* m_trailsSegmentsPerSec = nullptr;
    CPortFloat* m_velocityFromMotion = nullptr;
    CPortFloat* m_speed = nullptr;
    CPortFloat* m_speedVar = nullptr;
    CPortInt* m_directionMode = nullptr;
    CPortVector* m_direction = nullptr;
    CPortFloat* m_speedDamping = nullptr;
    CPortFloat* m_spreadMin = nullptr;
    CPortFloat* m_spreadMax = nullptr;
    CPortFloat* m_timeToLive = nullptr;
    CPortFloat* m_timeToLiveVar = nullptr;
    CPortColor* m_colorBase = nullptr;
    CPortColor* m_colorBaseVar = nullptr;
    CPortColor* m_color = nullptr;
    CPortBool* m_alphaAsLife = nullptr;
    CPortFloat* m_size = nullptr;
    CPortFloat* m_sizeVar = nullptr;
    CPortFloat* m_sizeLocal = nullptr;
    CPortInt* m_emitterType = nullptr;
    CPortVector* m_emitterPos = nullptr;
    CPortVector* m_emitterRot = nullptr;
    CPortFloat* m_emitterWidth = nullptr;
    CPortFloat* m_emitterHeight = nullptr;
    CPortFloat* m_emitterDepth = nullptr;
    CPortFloat* m_emitterRadius = nullptr;
    CPortBool* m_scaleByAspect = nullptr;
    CPortBool* m_floor = nullptr;
    CPortBool* m_flowField = nullptr;
    CPortFloat* m_flowFieldScale = nullptr;
    CPortFloat* m_flowFieldVelStrength = nullptr;
    CPortFloat* m_flowFieldSizeStrength = nullptr;
    CPortVector* m_flowFieldOffset = nullptr;
    CPortInt* m_primType = nullptr;
    CPortVector* m_gravity = nullptr;
    CPortFloat* m_normalDir = nullptr;
    CPortFloat* m_timeScale = nullptr;
    CPortObject* m_objectOut = nullptr;

    std::vector<SParticle> m_pool;
    int m_freeCount = 0;
    int m_cursor = 0;
    int m_liveCount = 0;
    float m_emitAccumulator = 0.0f;
    float m_trailAccumulator = 0.0f;
    float m_clock = 0.0f;
    SVec3 m_emitterPosition, m_previousEmitterPosition;
    SVec3 m_emitterRotation, m_previousEmitterRotation;
    bool m_rearm = true;
    float m_lastSceneTime = -1.0f;
    int m_batcherPrimitive = -1;

    // One ring of trail segments per pool record, m_ringCapacity each.
    std::vector<SSegment> m_segments;
    std::vector<SRing> m_rings;
    int m_ringCapacity = 0;

    CRenderPoints m_points;
    CRenderVolumeLines m_trails;
};
