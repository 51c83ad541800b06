#pragma once

#include "renderogl/glcontext.h"
#include "renderogl/renderogl.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <vector>

// A render on a real context (llvmpipe through SDL's offscreen driver) with
// a small back buffer, culling off, ready to draw.
class CGLRenderTest : public ::testing::Test
{
protected:
    static constexpr int Width = 32;
    static constexpr int Height = 16;

    // One video start for the whole suite, so the driver loads once.
    static void SetUpTestSuite()
    {
        SDL_InitSubSystem(SDL_INIT_VIDEO);
        SDL_GL_LoadLibrary(nullptr);
    }
    static void TearDownTestSuite()
    {
        SDL_GL_UnloadLibrary();
        SDL_QuitSubSystem(SDL_INIT_VIDEO);
    }

    void SetUp() override
    {
        ASSERT_TRUE(m_context.CreateHeadless(Width, Height));
        m_render = std::make_unique<CRenderOGL>();
        ASSERT_TRUE(m_render->InitDevice());
        m_render->m_virtualRect = SRect{0, 0, Width, Height};
        m_render->m_currentRect = m_render->m_virtualRect;
        m_render->SetViewport(0, 0, 1, 1);
        m_render->SetCamera(*m_render->GetCamera());
        m_render->GetStateManager()->m_states.m_cullMode = 0;
    }
    void TearDown() override { m_render.reset(); }

    void ClearTo(float r, float g, float b)
    {
        const float color[4] = {r, g, b, 1};
        m_render->Clear(color, 1.0f, CF_Color | CF_Depth);
    }

    // The back buffer's pixel as r, g, b.
    std::array<int, 3> RgbAt(int x, int y)
    {
        std::vector<unsigned char> pixels(Width * Height * 3);
        m_render->ReadPixels(pixels.data());
        const unsigned char* p = &pixels[(y * Width + x) * 3];
        return {p[2], p[1], p[0]};
    }

    CGLContext m_context;
    std::unique_ptr<CRenderOGL> m_render;
};
