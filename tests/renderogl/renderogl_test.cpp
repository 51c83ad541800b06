#include "support/glfixture.h"

#include "renderogl/renderogl.h"

#include "support/logcapture.h"

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

struct SPixel
{
    int b, g, r;
    bool operator==(const SPixel&) const = default;
};

std::ostream& operator<<(std::ostream& out, const SPixel& p)
{
    return out << "(r " << p.r << " g " << p.g << " b " << p.b << ")";
}

// A real context on llvmpipe through SDL's offscreen driver (EGL, no display).
class RenderOGL : public CGLRenderTest
{
protected:
    void SetUp() override
    {
        CGLRenderTest::SetUp();
        // No effect is bound: the fixed pipeline draws attribute 0 as the
        // position in the current colour, which is enough to see coverage.
        glColor4f(1, 0, 0, 1);
    }

    SPixel At(int x, int y)
    {
        std::vector<unsigned char> pixels(Width * Height * 3);
        m_render->ReadPixels(pixels.data());
        const unsigned char* p = &pixels[(y * Width + x) * 3];
        return {p[0], p[1], p[2]};
    }

    CRenderStates& States() { return m_render->GetStateManager()->m_states; }

};

const SPixel Red{0, 0, 255};
const SPixel Blue{255, 0, 0};
const SPixel Magenta{255, 0, 255};

} // namespace

TEST_F(RenderOGL, ClearReadsBackAndQuadCoversTheTarget)
{
    ClearTo(0, 0, 1);
    EXPECT_EQ(At(0, 0), Blue);
    EXPECT_EQ(At(Width - 1, Height - 1), Blue);

    ASSERT_TRUE(m_render->DrawFullScreenQuad());
    for (int y : {0, Height / 2, Height - 1})
        for (int x : {0, Width / 2, Width - 1})
            EXPECT_EQ(At(x, y), Red) << x << "," << y;

    // A viewport past the right edge is clamped there: only the right half changes.
    ClearTo(0, 0, 1);
    m_render->SetViewport(0.5f, 0, 0.75f, 1);
    m_render->DrawFullScreenQuad();
    EXPECT_EQ(At(Width / 2 - 1, 4), Blue);
    EXPECT_EQ(At(Width / 2, 4), Red);
    EXPECT_EQ(At(Width - 1, 4), Red);
}

TEST_F(RenderOGL, StatesAreWrittenWholeOnEveryDraw)
{
    ClearTo(0, 0, 1);
    States().m_srcBlend = 1;
    States().m_dstBlend = 1;
    States().m_cullMode = 0;
    m_render->DrawFullScreenQuad();
    EXPECT_EQ(At(3, 3), Magenta);
    EXPECT_TRUE(glIsEnabled(GL_BLEND));
    GLint src = 0, dst = 0;
    glGetIntegerv(GL_BLEND_SRC_RGB, &src);
    glGetIntegerv(GL_BLEND_DST_RGB, &dst);
    EXPECT_EQ(src, GL_ONE);
    EXPECT_EQ(dst, GL_ONE);

    // State changed behind the manager's back is put right at the next draw.
    glDisable(GL_BLEND);
    ClearTo(0, 0, 1);
    m_render->DrawFullScreenQuad();
    EXPECT_EQ(At(3, 3), Magenta);

    // Source one with destination zero is no blending at all.
    States().m_dstBlend = 0;
    ClearTo(0, 0, 1);
    m_render->DrawFullScreenQuad();
    EXPECT_EQ(At(3, 3), Red);
    EXPECT_FALSE(glIsEnabled(GL_BLEND));

    // The quad winds clockwise on the window: cull mode 1 keeps it, the
    // reset state (mode 2) drops it.
    m_render->GetStateManager()->Reset();
    ClearTo(0, 0, 1);
    m_render->DrawFullScreenQuad();
    EXPECT_EQ(At(3, 3), Blue);
    States().m_cullMode = 1;
    ClearTo(0, 0, 1);
    m_render->DrawFullScreenQuad();
    EXPECT_EQ(At(3, 3), Red);

    // Depth test against a cleared depth of 0 hides everything; alpha test goes on.
    States() = CRenderStates{};
    States().m_flags = RS_DepthTest | RS_AlphaTest;
    const float black[4] = {0, 0, 0, 1};
    m_render->Clear(black, 0.0f, CF_Color | CF_Depth);
    m_render->DrawFullScreenQuad();
    EXPECT_EQ(At(3, 3), (SPixel{0, 0, 0}));
    EXPECT_TRUE(glIsEnabled(GL_ALPHA_TEST));
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
}

TEST_F(RenderOGL, ClearOfDepthTurnsDepthWriteOnAndColourOnlyLeavesDepth)
{
    States().m_flags = 0;
    const float green[4] = {0, 1, 0, 1};
    m_render->Clear(green, 0.5f, CF_Depth);
    EXPECT_TRUE(States().m_flags & RS_DepthWrite);
    GLboolean mask = GL_FALSE;
    glGetBooleanv(GL_DEPTH_WRITEMASK, &mask);
    EXPECT_TRUE(mask);
    EXPECT_NE(At(0, 0), (SPixel{0, 255, 0})) << "depth only must leave colour alone";

    m_render->Clear(green, 1.0f, CF_Color);
    EXPECT_EQ(At(0, 0), (SPixel{0, 255, 0}));
    // Depth stayed at 0.5: a quad at z 0 (depth 0.5) fails GL_LESS.
    States().m_flags = RS_DepthTest;
    States().m_cullMode = 0;
    m_render->DrawFullScreenQuad();
    EXPECT_EQ(At(0, 0), (SPixel{0, 255, 0}));
}

TEST_F(RenderOGL, IndexedDrawsUseTheBufferWidthOfIndices)
{
    std::unique_ptr<CVertexBuffer> vertices = m_render->CreateVertexBuffer(4, VBF_DYNAMIC, VBF_PC);
    ASSERT_NE(vertices, nullptr);
    struct SVertex
    {
        float x, y, z;
        uint32_t color;
    };
    // The left half of the target.
    const SVertex corners[4] = {{-1, -1, 0, 0}, {-1, 1, 0, 0}, {0, 1, 0, 0}, {0, -1, 0, 0}};
    void* data = vertices->Lock();
    ASSERT_NE(data, nullptr);
    std::memcpy(data, corners, sizeof corners);
    vertices->Unlock();
    m_render->SetVertexBuffer(vertices.get());
    States().m_cullMode = 0;

    for (int count : {65534, 65535}) {
        std::unique_ptr<CIndexBuffer> indices = m_render->CreateIndexBuffer(count, 0);
        ASSERT_NE(indices, nullptr);
        void* out = indices->Lock();
        ASSERT_NE(out, nullptr);
        const int quad[6] = {0, 1, 2, 2, 3, 0};
        for (int i = 0; i < 6; ++i) {
            if (count <= 65534)
                static_cast<uint16_t*>(out)[i] = static_cast<uint16_t>(quad[i]);
            else
                static_cast<uint32_t*>(out)[i] = static_cast<uint32_t>(quad[i]);
        }
        indices->Unlock();
        m_render->SetIndexBuffer(indices.get());

        ClearTo(0, 0, 1);
        EXPECT_TRUE(m_render->DrawIndexedPrimitive(PT_Triangles, 0, 2, 1));
        EXPECT_EQ(At(2, Height / 2), Red) << count;
        EXPECT_EQ(At(Width - 2, Height / 2), Blue) << count;

        // Instanced drawing of the same indices covers the same pixels.
        ClearTo(0, 0, 1);
        m_render->DrawIndexedPrimitive(PT_Triangles, 0, 2, 3);
        EXPECT_EQ(At(2, Height / 2), Red) << count;
        m_render->SetIndexBuffer(nullptr);
    }
    m_render->SetVertexBuffer(nullptr);

    EXPECT_EQ(m_render->CreateVertexBuffer(0, 0, VBF_PC), nullptr);
    EXPECT_EQ(m_render->CreateVertexBuffer(4, 0, 9), nullptr);
}
