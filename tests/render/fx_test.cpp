#include "render/fx.h"
#include "render/fxmanager.h"

#include "app/paths.h"
#include "render/render.h"
#include "support/logcapture.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

// A device form without a device: techniques whose name starts with "Weak"
// do not validate.
class CFakeFx : public CFx
{
public:
    using CFx::CFx;
    void SetTexture(CFxParam, std::shared_ptr<CTexture>) override {}
    void SetPassState(int technique, int pass) override { m_applied.push_back(technique * 10 + pass); }
    void ResetPassState(int technique, int pass) override { m_applied.push_back(-(technique * 10 + pass)); }
    void ParameterChanged(SFxParameter&) override { ++m_changes; }

    std::vector<int> m_applied;
    int m_changes = 0;

protected:
    bool CompilePrograms() override { return true; }
    bool ValidateTechnique(int technique) override
    {
        return m_desc.m_techniques[technique].m_name.rfind("Weak", 0) != 0;
    }
};

class CFakeFxManager : public CFxManager
{
public:
    CFakeFxManager() : CFxManager(nullptr) {}
    CFx* ParseEffect(const std::string& text) override { return ParseWith(text, std::make_unique<CFakeFx>(this)); }
    CFx* LoadEffect(const std::string& name, bool cached) override
    {
        return LoadWith(name, cached, std::make_unique<CFakeFx>(this));
    }
    bool Preprocess(const std::string& text, const std::string&, std::string& out, std::string&) override
    {
        out = text;
        return true;
    }
};

constexpr const char* kEffect = R"(
float4x4 wvp : WORLDVIEWPROJECTION;
float4x4 wvpT : WORLDVIEWPROJECTIONTRANSPOSE;
float4x4 viewInverse : VIEWINVERSE;
float4x4 lower : worldviewprojection;
float4 notMatrix : WORLD;
float4 color = {1, 2, 3, 4};
technique WeakOne { pass A {} }
technique Good { pass A {} pass B {} }
)";

CMatrix Scale(float x, float y, float z)
{
    CMatrix m = MatrixIdentity();
    m[0] = x;
    m[5] = y;
    m[10] = z;
    return m;
}

std::vector<float> Values(CFx& fx, const char* name)
{
    return fx.GetParam(name).m_handle->m_values;
}

} // namespace

TEST(Fx, TechniquesPassesAndParameters)
{
    CFakeFxManager manager;
    std::unique_ptr<CFx> fx(manager.ParseEffect(kEffect));
    ASSERT_TRUE(fx);

    // The first technique that validates wins; none at all gives null.
    std::unique_ptr<CFxTechnique> technique(fx->GetBestTechnique());
    ASSERT_TRUE(technique);
    EXPECT_EQ(technique->m_handle, 1);
    CFxPass* pass = technique->FirstPass();
    ASSERT_TRUE(pass);
    pass->SetState();
    pass->ResetState();
    pass = technique->NextPass();
    ASSERT_TRUE(pass);
    pass->SetState();
    EXPECT_EQ(technique->NextPass(), nullptr);
    EXPECT_EQ(static_cast<CFakeFx&>(*fx).m_applied, (std::vector<int>{10, -10, 11}));
    EXPECT_EQ(technique->GetPass("B").m_handle, 1);
    EXPECT_FALSE(technique->GetPass("C").IsValid());
    std::unique_ptr<CFxTechnique> weak(fx->GetTechnique("WeakOne"));
    EXPECT_TRUE(weak) << "asked for by name, validity is not looked at";

    std::unique_ptr<CFx> none(manager.ParseEffect("technique WeakOnly { pass {} }"));
    ASSERT_TRUE(none);
    EXPECT_EQ(none->GetBestTechnique(), nullptr);

    // Parameters: initial values, empty handles, changes reported once.
    EXPECT_EQ(Values(*fx, "color"), (std::vector<float>{1, 2, 3, 4}));
    CFxParam absent = fx->GetParam("missing");
    EXPECT_FALSE(absent);
    absent.SetFloat(1); // harmless
    const float v[4] = {5, 6, 7, 8};
    fx->GetParam("color").SetVector4(v);
    fx->GetParam("color").SetVector4(v);
    EXPECT_EQ(Values(*fx, "color"), (std::vector<float>{5, 6, 7, 8}));
    EXPECT_EQ(static_cast<CFakeFx&>(*fx).m_changes, 1) << "an unchanged value is not sent again";
}

// Matrices with a known semantic: W·V·P loaded by columns, the TRANSPOSE
// sister by rows, inverses; other semantics, cases and types left alone.
TEST(Fx, MatrixSemantics)
{
    CFakeFxManager manager;
    std::unique_ptr<CFx> fx(manager.ParseEffect(kEffect));
    ASSERT_TRUE(fx);
    CRender render;
    render.m_virtualRect = render.m_currentRect = SRect{0, 0, 64, 32};
    CCamera camera;
    camera.m_view = Scale(1, 2, 4);
    camera.m_view[12] = 3; // a translation, to see the loading order
    render.SetCamera(camera);
    fx->m_world = Scale(2, 2, 2);
    fx->UpdateParameters(&render);

    const CMatrix wvp = MatrixMultiply(MatrixMultiply(fx->m_world, render.GetCamera()->m_view), render.GetProjection());
    const CMatrix columns = MatrixTranspose(wvp);
    EXPECT_EQ(Values(*fx, "wvp"), std::vector<float>(columns.begin(), columns.end()));
    EXPECT_EQ(Values(*fx, "wvpT"), std::vector<float>(wvp.begin(), wvp.end()));

    const std::vector<float> inverse = Values(*fx, "viewInverse");
    const CMatrix back = MatrixMultiply(MatrixTranspose(*reinterpret_cast<const CMatrix*>(inverse.data())),
                                        render.GetCamera()->m_view);
    for (int i = 0; i < 16; ++i)
        EXPECT_NEAR(back[i], (i % 5 == 0) ? 1.0f : 0.0f, 1e-5f) << i;

    EXPECT_EQ(Values(*fx, "lower"), std::vector<float>(16, 0.0f));
    EXPECT_EQ(Values(*fx, "notMatrix"), std::vector<float>(4, 0.0f));
}

TEST(FxManager, LoadsCachesAndReportsFailures)
{
    CTempDir dir;
    g_paths.m_appPath = dir.Path();
    std::filesystem::create_directories(dir.File("nodedata"));
    WriteFile(dir.File("nodedata/a.cgfx"), kEffect);
    CLogCapture log;
    CFakeFxManager manager;

    CFx* first = manager.LoadEffect("nodedata/a.cgfx", true);
    ASSERT_TRUE(first);
    EXPECT_EQ(manager.LoadEffect("nodedata\\a.cgfx", true), first);
    EXPECT_EQ(log.Messages().size(), 1u) << "one load, one line";
    EXPECT_TRUE(log.Contains("Loading effect: " + dir.Path() + "/nodedata/a.cgfx"));

    std::unique_ptr<CFx> uncached(manager.LoadEffect("nodedata/a.cgfx", false));
    EXPECT_NE(uncached.get(), first);

    EXPECT_EQ(manager.LoadEffect("missing.cgfx", true), nullptr);
    EXPECT_TRUE(log.Contains("CGError: The file \"" + dir.Path() + "/missing.cgfx\" does not exist (2)"));
    EXPECT_TRUE(log.Contains("CG Error: The file"));
    EXPECT_EQ(manager.ParseEffect("technique { pass { = 1; } }"), nullptr);
    EXPECT_TRUE(log.Contains("LastListing:"));
    EXPECT_TRUE(log.Contains("effect(1): expected a state name, found '='"));

    // A failure every frame: 101 reports, then silence.
    CLogCapture flood;
    for (int i = 0; i < 300; ++i)
        manager.ReportError("again", 1, "");
    int reports = 0;
    for (const std::string& line : flood.Messages())
        reports += line.find("CGError: again") != std::string::npos;
    EXPECT_LE(reports, 101);
    EXPECT_GE(reports, 90);
}
