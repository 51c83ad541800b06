// The Particles node pulled frame by frame without a device: emission counts
// and lifetimes on a fixed seed, the pool that stops allocating once it has
// its size, motion with and without the flow field, and what reaches the
// batchers.

#include "app/random.h"
#include "nodes/object/particlesnode.h"
#include "nodes/value/valuegraph.h"
#include "scene/renderlist.h"
#include "support/allocationcount.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

class Particles : public ::testing::Test
{
protected:
    void SetUp() override
    {
        g_random.Seed(11);
        m_node = static_cast<CParticlesNode*>(m_graph.Add("Particles"));
        // Still particles at the emitter's centre unless a test says otherwise.
        for (const auto& [port, value] : {std::pair{"Gravity", "0 0 0"}, {"Speed", "0"}, {"EmitterRadius", "0"},
                                          {"TimeToLiveVar", "0"}, {"SizeVar", "0"}, {"PrimType", "0"}})
            Set(port, value);
    }
    void Set(const char* port, const std::string& value) { CValueGraph::Set(m_node, port, value); }
    void Frames(int n, float delta)
    {
        for (int i = 0; i < n; ++i) {
            m_graph.Frame(m_node, delta);
            m_node->FrameFinished();
        }
    }

    CValueGraph m_graph;
    CParticlesNode* m_node = nullptr;
};

} // namespace

TEST_F(Particles, EmissionAndDeathFollowTheRateAndTheLifetimeExactly)
{
    struct SCase
    {
        const char* name;
        int perSec;
        float timeToLive;
        std::vector<int> live; // after each frame of 1/8 s
        int pool;
    } cases[] = {
        {"no emission", 0, 3.0f, {0, 0, 0}, 0},
        // One a frame, each living four updates: three stay alive.
        {"one a frame", 8, 0.5f, {1, 2, 3, 3, 3, 3}, 8},
        {"three a frame", 24, 10.0f, {3, 6, 9, 12}, 240},
        {"no life", 8, 0.0f, {0, 0, 0}, 8},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        Set("ParticlesPerSec", std::to_string(c.perSec));
        Set("TimeToLive", std::to_string(c.timeToLive));
        for (size_t f = 0; f < c.live.size(); ++f) {
            Frames(1, 0.125f);
            EXPECT_EQ(m_node->GetLiveCount(), c.live[f]) << "frame " << f + 1;
        }
        EXPECT_EQ(m_node->GetPoolSize(), c.pool);
        EXPECT_EQ(m_node->GetFreeCount() + m_node->GetLiveCount(), c.pool);
    }
}

TEST_F(Particles, ASteadyRateFillsThePoolInAboutOneLifetimeAndThenAllocatesNothing)
{
    Set("ParticlesPerSec", "300");
    Set("TimeToLive", "1");
    Set("TimeToLiveVar", "0.5");
    Set("Speed", "1");
    Set("SpeedVar", "0.5");
    Set("PrimType", "2");
    Set("TrailsSegments", "4");
    Set("FlowField", "true");
    CRenderList list;
    const auto frame = [&] {
        Frames(1, 1.0f / 30.0f);
        list.Reset();
        m_node->BuildRenderList(&list, &list.GetRootList(), nullptr);
    };
    for (int i = 0; i < 45; ++i)
        frame();
    const int pool = m_node->GetPoolSize();
    EXPECT_EQ(pool, 450) << "300 a second for the longest life, 1.5 s";
    StartCountingAllocations();
    for (int i = 0; i < 90; ++i)
        frame();
    EXPECT_EQ(StopCountingAllocations(), 0);
    EXPECT_EQ(m_node->GetPoolSize(), pool);
    EXPECT_GT(m_node->GetLiveCount(), 250);
}

TEST_F(Particles, TheSameSeedGivesTheSameParticles)
{
    const auto run = [&] {
        SetUp();
        for (const auto& [port, value] : {std::pair{"ParticlesPerSec", "100"}, {"EmitterRadius", "1"}, {"Speed", "2"},
                                          {"SpeedVar", "1"}, {"TimeToLiveVar", "0.5"}, {"DirectionMode", "3"}})
            Set(port, value);
        Frames(20, 1.0f / 30.0f);
        return m_node->GetPool();
    };
    const std::vector<CParticlesNode::SParticle> first = run();
    const std::vector<CParticlesNode::SParticle> second = run();
    ASSERT_FALSE(first.empty());
    ASSERT_EQ(second.size(), first.size());
    for (size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(second[i].position.x, first[i].position.x) << i;
        EXPECT_EQ(second[i].velocity.z, first[i].velocity.z) << i;
        EXPECT_EQ(second[i].lifetime, first[i].lifetime) << i;
        if (first[i].alive) {
            EXPECT_NEAR(first[i].lifetime, 3.0f, 0.5f);
        }
    }
}

TEST_F(Particles, OnlyTheFlowFieldPortMakesTheFieldMoveParticles)
{
    struct SCase
    {
        const char* name;
        bool flowField;
        bool moves;
    } cases[] = {{"off", false, false}, {"on", true, true}};
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        Set("ParticlesPerSec", "30");
        Set("EmitterRadius", "2");
        // Every other setting of the field is there; only its switch differs.
        Set("FlowFieldScale", "0.7");
        Set("FlowFieldVelStrength", "3");
        Set("FlowFieldOffset", "0.3 0.1 0.2");
        Set("FlowField", c.flowField ? "true" : "false");
        Frames(15, 1.0f / 30.0f);
        float moved = 0.0f;
        for (const CParticlesNode::SParticle& p : m_node->GetPool())
            if (p.alive)
                moved = std::max(moved, std::fabs(p.position.x - p.previousPosition.x) +
                                            std::fabs(p.position.y - p.previousPosition.y) +
                                            std::fabs(p.position.z - p.previousPosition.z));
        EXPECT_EQ(moved > 1e-4f, c.moves) << moved;
    }
}

TEST_F(Particles, EmitterFloorAndTimeScaleShapeTheMotion)
{
    // An emitter moved 10 units in one frame spreads its particles along them.
    Set("ParticlesPerSec", "300");
    Frames(1, 1.0f / 30.0f);
    Set("EmitterPos", "10 0 0");
    Frames(1, 1.0f / 30.0f);
    float low = 100.0f, high = -100.0f;
    for (const CParticlesNode::SParticle& p : m_node->GetPool())
        if (p.alive && p.age < 0.05f) {
            low = std::min(low, p.position.x);
            high = std::max(high, p.position.x);
        }
    EXPECT_NEAR(low, 1.0f, 0.01f);
    EXPECT_NEAR(high, 10.0f, 0.01f);

    // A falling particle bounces off the floor with 70 percent of its speed.
    SetUp();
    Set("ParticlesPerSec", "30");
    Set("TimeToLive", "100");
    Set("EmitterPos", "0 0.01 0");
    Set("Speed", "2");
    Set("Direction", "180 0 0");
    Set("SpreadMax", "0");
    Set("Floor", "true");
    Frames(1, 1.0f / 30.0f);
    const CParticlesNode::SParticle& p = m_node->GetPool()[0];
    EXPECT_EQ(p.position.y, 0.0f);
    EXPECT_NEAR(p.velocity.y, 1.4f, 1e-3f);

    // A time scale of 0 freezes ages and positions.
    Set("TimeScale", "0");
    const CParticlesNode::SParticle before = p;
    Frames(5, 1.0f / 30.0f);
    EXPECT_EQ(p.age, before.age);
    EXPECT_EQ(p.position.y, before.position.y);
}

TEST_F(Particles, LiveParticlesReachThePointsAndTheirTrails)
{
    Set("ParticlesPerSec", "30");
    Set("Speed", "1");
    Set("TrailsSegments", "4");
    Set("TrailsSegmentsPerSec", "30");
    Frames(10, 1.0f / 30.0f);
    const int live = m_node->GetLiveCount();
    ASSERT_EQ(live, 10);
    CRenderList list;
    m_node->BuildRenderList(&list, &list.GetRootList(), nullptr);
    EXPECT_EQ(m_node->GetPoints().GetPrimitive(), CRenderPoints::Point);
    // Without effects nothing goes into the list.
    EXPECT_EQ(list.GetRoot()->m_children.Size(), 0u);
    auto& points = const_cast<CRenderPoints&>(m_node->GetPoints());
    const CParticlesNode::SParticle& oldest = m_node->GetPool()[0];
    EXPECT_EQ(points.Records<CRenderPoints::SPoint>()[0].y, oldest.position.y);
    // Every particle but the newest has a trail, full ones of four points.
    EXPECT_EQ(m_node->GetTrails().GetPolylineCount(), live - 1);
    EXPECT_EQ(m_node->GetTrails().GetQuadCount(), 3 * (live - 3) + 2 + 1);
}

TEST_F(Particles, LocalPortsSeeEachParticlesLifeAsTheirTime)
{
    CNode* age = m_graph.Add("Expression");
    CValueGraph::Set(age, "Expression", "out1 = time");
    ASSERT_TRUE(m_node->Connect("SizeLocal", age, "Out1"));
    Set("ParticlesPerSec", "8");
    Set("TimeToLive", "1");
    Set("Size", "0");
    Frames(6, 0.125f);
    ASSERT_EQ(m_node->GetLiveCount(), 6);
    for (const CParticlesNode::SParticle& p : m_node->GetPool()) {
        if (p.alive) {
            EXPECT_NEAR(p.size, p.age / p.lifetime, 1e-5f);
        }
    }
}
