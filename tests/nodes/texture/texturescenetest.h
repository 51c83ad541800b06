#pragma once

// Scenes built in code on a real context, with the test effect registered
// as "TestEffect", and the means to read the pixels of texture outputs.

#include "nodes/nodetypes.h"
#include "ports/port.h"
#include "ports/types/dataports.h"
#include "render/rendertarget.h"
#include "render/texture.h"
#include "render/texturemanager.h"
#include "support/glfixture.h"
#include "scene/nodefactory.h"
#include "scene/pdtexture.h"
#include "scene/scene.h"
#include "support/testeffectnode.h"

#include <GL/glew.h>

#include <string>
#include <vector>

using Rgba = std::array<int, 4>;
using Rgb = std::array<int, 3>;

class TextureSceneTest : public CGLRenderTest
{
protected:
    void SetUp() override
    {
        CGLRenderTest::SetUp();
        m_factory = CNodeFactory::Get();
        m_factory->Init(NodeTypes());
        m_effectType = std::make_unique<CTestEffectNode::CType>();
    }
    void TearDown() override
    {
        // Pooled surfaces go back before the render and its pool do.
        for (const auto& scene : m_scenes)
            scene->InvalidateDevice(m_render.get());
        while (!m_scenes.empty())
            m_scenes.pop_back();
        m_effectType.reset();
        m_factory->Release();
        CGLRenderTest::TearDown();
    }

    // A scene (or layered or transition scene) that lives to the test's end.
    template <class TScene = CScene>
    TScene& Keep(std::unique_ptr<TScene> scene)
    {
        TScene& kept = *scene;
        m_scenes.push_back(std::move(scene));
        return kept;
    }
    CScene& NewScene() { return Keep(MakeScene()); }
    // A scene of the fixture's run.
    std::unique_ptr<CScene> MakeScene()
    {
        auto scene = std::make_unique<CScene>();
        scene->SetRunInfo(m_run);
        return scene;
    }

    SRunInfo m_run;

    static void Add(CScene& scene, std::initializer_list<const char*> types)
    {
        for (const char* type : types)
            ASSERT_NE(scene.AddNode(type), nullptr) << type;
    }
    static void Connect(CScene& scene, const char* from, const char* to)
    {
        ASSERT_TRUE(scene.Connect(from, to)) << from << " -> " << to;
    }
    static void Set(CScene& scene, const std::string& path, const std::string& value)
    {
        std::string component;
        CPort* port = scene.FindInPort(path, &component);
        ASSERT_NE(port, nullptr) << path;
        port->SetValue(value);
        port->m_changed = true;
    }

    // Screen <- RenderRect <- Shader(`pixel`) whose "tex" reads `texture`,
    // an output path such as "RenderToTexture1.Color".
    static void AddTextureView(CScene& scene, const char* texture, const char* pixel = "tex2D(tex, i.uv)")
    {
        Add(scene, {"Screen", "RenderRect", "TestEffect"});
        Connect(scene, "RenderRect1.Render", "Screen1.Render");
        Connect(scene, "TestEffect1.Effect", "RenderRect1.Effect");
        Connect(scene, texture, "TestEffect1.Texture");
        Set(scene, "TestEffect1.Shader", TextureEffect(pixel));
    }

    // A scene that only clears to `color` ("r g b a").
    CScene& ClearScene(const char* color)
    {
        CScene& scene = NewScene();
        Add(scene, {"Screen", "Clear"});
        Connect(scene, "Clear1.Render", "Screen1.Render");
        Set(scene, "Clear1.Color", color);
        return scene;
    }

    void Update(CSceneBase& scene) { scene.Update(1.0f / 30.0f, m_render.get()); }
    void Frame(CSceneBase& scene)
    {
        Update(scene);
        ClearTo(0, 0, 0);
        scene.Draw(m_render.get());
        scene.FrameFinished();
    }

    CPortTexture* Output(CScene& scene, const char* path)
    {
        return dynamic_cast<CPortTexture*>(scene.FindOutPort(path));
    }
    // What a reader of the output gets now; empty without a record.
    std::shared_ptr<CTexture> TextureOf(CScene& scene, const char* path)
    {
        CPortTexture* port = Output(scene, path);
        return port && port->m_value ? port->m_value->GetTexture(m_render.get()) : nullptr;
    }

    // A pixel of a render target's surface, r, g, b, a from 0 to 255.
    Rgba PixelOf(const std::shared_ptr<CTexture>& texture, int x, int y)
    {
        if (!texture || !texture->m_renderTarget) {
            ADD_FAILURE() << "no render target surface";
            return {-1, -1, -1, -1};
        }
        texture->m_renderTarget->Bind(m_render.get());
        unsigned char pixel[4] = {};
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
        texture->m_renderTarget->Unbind();
        return {pixel[0], pixel[1], pixel[2], pixel[3]};
    }

    CTextureManager* Pool() { return m_render->GetRenderData()->GetTextureManager(); }

    // Leaves `count` targets of the description in the pool, filled with
    // opaque red, so that a surface that isn't cleared shows.
    void PoolRedTargets(int width, int height, int format, int depthFormat, int count = 1)
    {
        std::vector<std::shared_ptr<CRenderTarget>> targets;
        for (int i = 0; i < count; ++i) {
            targets.push_back(Pool()->GetRenderTarget(width, height, format, depthFormat, "TestRed"));
            targets.back()->Bind(m_render.get());
            ClearTo(1, 0, 0);
            targets.back()->Unbind();
        }
    }

    CNodeFactory* m_factory = nullptr;
    std::unique_ptr<CTestEffectNode::CType> m_effectType;
    std::vector<std::unique_ptr<CSceneBase>> m_scenes;
};

// Equal on each channel within `tolerance` steps of rounding.
inline ::testing::AssertionResult Near(const Rgba& actual, const Rgba& expected, int tolerance = 1)
{
    for (size_t i = 0; i < 4; ++i) {
        if (std::abs(actual[i] - expected[i]) > tolerance)
            return ::testing::AssertionFailure() << "channel " << i << " is " << actual[i] << ", not " << expected[i];
    }
    return ::testing::AssertionSuccess();
}
