#include "app/cfg.h"
#include "scene/runinfo.h"
#include "scene/nodedeclaration.h"
#include "scene/scene.h"
#include "scenenodes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

// What a node saw of the scene context at each of its evaluations.
struct SSeen
{
    float time;
    float deltaTime;
    bool warmingUp;
    bool firstUpdate;
    bool restarted;
    int frame;
};

class CContextProbeNode : public CNode
{
public:
    void Update(float time, CSceneContext* context) override
    {
        s_seen->push_back({time, context->m_deltaTime, context->m_warmingUp, context->m_firstUpdate,
                           context->m_restarted, context->m_frame});
        m_out->m_value = time;
        m_out->m_changed = true;
    }

    static inline std::vector<SSeen>* s_seen = nullptr;
    CPortFloat* m_out = nullptr;
};

class SceneRuntime : public ::testing::Test
{
protected:
    SceneRuntime() : m_factory(CNodeFactory::Get())
    {
        const CNodeDeclaration probe = {Out(&CContextProbeNode::m_out, "Out", "time seen", {0.0f, 0.1f, -1e9f, 1e9f})};
        m_probeInfo = probe.MakeInfo(NG_Sound, "Beat", "");
        m_factory->Add(m_probeInfo.get());
        CContextProbeNode::s_seen = &m_seen;
    }
    ~SceneRuntime() override
    {
        CContextProbeNode::s_seen = nullptr;
        m_factory->Release();
    }

    // A Screen root whose field of view reads the probe.
    void BuildProbedScene()
    {
        m_scene.AddNode("Screen");
        m_scene.AddNode("Beat");
        ASSERT_TRUE(m_scene.Connect("Beat1.Out", "Screen1.CamFov"));
    }

    CSceneTestTypes m_types;
    CNodeFactory* m_factory;
    std::unique_ptr<CNodeInfo> m_probeInfo;
    std::vector<SSeen> m_seen;
    CScene m_scene;
};

} // namespace

TEST_F(SceneRuntime, WarmUpRunsFixedStepsBeforeTheFirstShownFrame)
{
    BuildProbedScene();
    m_scene.Update(0.02f, nullptr);
    ASSERT_EQ(m_seen.size(), 1u) << "no warm-up: exactly one graph update";
    EXPECT_FLOAT_EQ(m_seen[0].time, 0.02f);
    EXPECT_FALSE(m_seen[0].warmingUp);
    EXPECT_TRUE(m_seen[0].firstUpdate);
    m_scene.Update(0.02f, nullptr);
    ASSERT_EQ(m_seen.size(), 2u);
    EXPECT_FALSE(m_seen[1].firstUpdate);
    EXPECT_FLOAT_EQ(m_seen[1].time, 0.04f);

    m_seen.clear();
    CScene warm;
    warm.m_warmupTime = 1.0f;
    warm.AddNode("Screen");
    warm.AddNode("Beat");
    ASSERT_TRUE(warm.Connect("Beat1.Out", "Screen1.CamFov"));
    warm.Update(0.01f, nullptr);
    // About 30 steps of 1/30 s fill the second, then the shown frame follows.
    ASSERT_GE(m_seen.size(), 30u);
    ASSERT_LE(m_seen.size(), 31u);
    EXPECT_TRUE(m_seen.front().firstUpdate) << "first warm-up step";
    EXPECT_TRUE(m_seen.front().warmingUp);
    EXPECT_FLOAT_EQ(m_seen.front().deltaTime, 0.033333335f);
    for (size_t i = 1; i + 1 < m_seen.size(); ++i) {
        EXPECT_TRUE(m_seen[i].warmingUp);
        EXPECT_FALSE(m_seen[i].firstUpdate);
    }
    const SSeen& shown = m_seen.back();
    EXPECT_FALSE(shown.warmingUp);
    EXPECT_FALSE(shown.firstUpdate) << "not in the first shown frame when the scene warmed up";
    EXPECT_FLOAT_EQ(shown.deltaTime, 0.01f);
    EXPECT_NEAR(warm.GetElapsed(), 1.0f, 0.05f);

    // Warm-up happens once: the next frame is one update.
    m_seen.clear();
    warm.Update(0.01f, nullptr);
    EXPECT_EQ(m_seen.size(), 1u);
}

TEST_F(SceneRuntime, TransitionTimeRunsFromZeroToOneOverItsLengthAndHoldsAtTheEnd)
{
    BuildProbedScene();
    m_scene.m_sceneType = CScene::SceneType_Transition;
    m_scene.m_runTime = 2.0f;
    m_scene.Update(0.5f, nullptr);
    EXPECT_FLOAT_EQ(m_seen.back().time, 0.25f);
    EXPECT_FLOAT_EQ(m_scene.GetContext().m_timeScale, 0.5f);
    for (int i = 0; i < 20; ++i)
        m_scene.Update(0.5f, nullptr);
    EXPECT_LE(m_seen.back().time, 1.0f);
    EXPECT_FLOAT_EQ(m_seen.back().time, 1.0f) << "held at its end";

    // Without a length of its own a transition takes the configured one.
    CCfg config;
    config.Time = 4.0f;
    SRunInfo run;
    run.m_config = &config;
    m_seen.clear();
    CScene fromSettings;
    fromSettings.SetRunInfo(run);
    fromSettings.m_sceneType = CScene::SceneType_Transition;
    fromSettings.AddNode("Screen");
    fromSettings.AddNode("Beat");
    ASSERT_TRUE(fromSettings.Connect("Beat1.Out", "Screen1.CamFov"));
    fromSettings.Update(1.0f, nullptr);
    EXPECT_FLOAT_EQ(m_seen.back().time, 0.25f);

    // In a preview the transition starts over once it has passed its end.
    run.m_appType = EAppType::Editor;
    for (int i = 0; i < 6; ++i)
        fromSettings.Update(1.0f, nullptr);
    EXPECT_LT(m_seen.back().time, 1.0f);
    EXPECT_GT(m_seen.back().time, 0.0f);
    bool wrapped = false;
    for (size_t i = 1; i < m_seen.size(); ++i)
        wrapped = wrapped || m_seen[i].time < m_seen[i - 1].time;
    EXPECT_TRUE(wrapped);

    // A zero length in the settings does not make time infinite.
    config.Time = 0.0f;
    run.m_appType = EAppType::Visualizer;
    CScene zero;
    zero.SetRunInfo(run);
    zero.m_sceneType = CScene::SceneType_Transition;
    zero.AddNode("Screen");
    zero.Update(1.0f, nullptr);
    EXPECT_TRUE(std::isfinite(zero.GetContext().m_time));
    EXPECT_LE(zero.GetContext().m_time, 1.0f);
}

TEST_F(SceneRuntime, FramesCountFromARestartAndFeedbackScenesWindTheirClockBack)
{
    BuildProbedScene();
    for (int i = 0; i < 3; ++i) {
        m_scene.Update(0.1f, nullptr);
        m_scene.FrameFinished();
    }
    EXPECT_EQ(m_seen.back().frame, 2);
    m_scene.Restart();
    m_scene.Update(0.1f, nullptr);
    EXPECT_EQ(m_seen.back().frame, 0);
    EXPECT_TRUE(m_seen.back().restarted);
    EXPECT_NEAR(m_seen.back().time, 0.4f, 1e-5f) << "a plain scene keeps its clock";
    m_scene.FrameFinished();
    m_scene.Update(0.1f, nullptr);
    EXPECT_EQ(m_seen.back().frame, 1);
    EXPECT_FALSE(m_seen.back().restarted);

    m_scene.SetFeedback();
    m_scene.Restart();
    m_scene.Update(0.1f, nullptr);
    EXPECT_FLOAT_EQ(m_seen.back().time, 0.1f) << "feedback starts again from 0";
    EXPECT_FLOAT_EQ(m_scene.GetElapsed(), 0.1f);
}

TEST_F(SceneRuntime, ASceneWithoutScreenDoesNothingAndASecondScreenIsNotTheRoot)
{
    m_scene.AddNode("Beat");
    m_scene.Update(0.1f, nullptr);
    m_scene.Draw(nullptr);
    EXPECT_TRUE(m_seen.empty());
    EXPECT_EQ(m_scene.GetElapsed(), 0.0f);

    // The probe hangs on the second Screen, which nothing pulls.
    CNode* first = m_scene.AddNode("Screen");
    m_scene.AddNode("Screen");
    ASSERT_TRUE(m_scene.Connect("Beat1.Out", "Screen2.CamFov"));
    EXPECT_EQ(m_scene.GetRoot(), first);
    m_scene.Update(0.1f, nullptr);
    EXPECT_TRUE(m_seen.empty());
    EXPECT_TRUE(first->m_updated);
}
