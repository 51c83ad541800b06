#include "support/glfixture.h"

#include "render/rendertarget.h"
#include "render/texture.h"
#include "renderogl/renderogl.h"
#include "renderogl/rendertargetogl.h"
#include "renderogl/textureogl.h"

#include "support/logcapture.h"

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace {

// Textures and targets on a real context (llvmpipe through SDL's offscreen
// driver), with the log captured.
class Textures : public CGLRenderTest
{
protected:
    void SetUp() override
    {
        CGLRenderTest::SetUp();
        ASSERT_NE(Manager(), nullptr);
    }

    CTextureManager* Manager() { return m_render->GetRenderData()->GetTextureManager(); }

    static GLuint Fbo(const std::shared_ptr<CRenderTarget>& target)
    {
        return static_cast<CRenderTargetOGL*>(target.get())->FramebufferId();
    }
    static CTextureOGL* Ogl(CTexture* texture) { return static_cast<CTextureOGL*>(texture); }

    // Level 0 (or another) of a texture target or cube face, as RGBA bytes.
    static std::vector<uint8_t> ReadTexture(GLuint id, GLenum bindTarget, GLenum image, size_t bytes)
    {
        std::vector<uint8_t> pixels(bytes, 0xCD);
        glBindTexture(bindTarget, id);
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glGetTexImage(image, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
        glBindTexture(bindTarget, 0);
        return pixels;
    }
    static GLint LevelSize(GLuint id, GLenum bindTarget, GLenum image, int level, GLenum what)
    {
        GLint value = -1;
        glBindTexture(bindTarget, id);
        glGetTexLevelParameteriv(image, level, what, &value);
        glBindTexture(bindTarget, 0);
        return value;
    }
    static GLint BoundFramebuffer()
    {
        GLint id = -1;
        glGetIntegerv(GL_FRAMEBUFFER_BINDING_EXT, &id);
        return id;
    }
    static SRect Viewport()
    {
        GLint v[4] = {};
        glGetIntegerv(GL_VIEWPORT, v);
        return SRect{v[0], v[1], v[0] + v[2], v[1] + v[3]};
    }

    CLogCapture m_log;
};

} // namespace

TEST_F(Textures, PoolReusesAnObjectOnlyForTheSameDescription)
{
    // The device's noise textures are in use from the start.
    const size_t inUse = Manager()->UsedTextureCount();
    auto normal = Manager()->GetTexture(4, 4, 0, TF_A8R8G8B8, TT_Normal);
    ASSERT_TRUE(normal);
    CTexture* first = normal.get();
    normal.reset();
    EXPECT_EQ(Manager()->FreeTextureCount(), 1u);

    // Same values but another type: a new object, the normal one stays pooled.
    auto dynamic = Manager()->GetTexture(4, 4, 0, TF_A8R8G8B8, TT_Dynamic);
    EXPECT_NE(dynamic.get(), first);
    auto again = Manager()->GetTexture(4, 4, 0, TF_A8R8G8B8, TT_Normal);
    EXPECT_EQ(again.get(), first);
    EXPECT_EQ(Manager()->UsedTextureCount(), inUse + 2u);
    EXPECT_EQ(Manager()->FreeTextureCount(), 0u);
    EXPECT_FALSE(Manager()->GetTexture(0, 4, 0, TF_A8R8G8B8, TT_Normal));

    auto scene = Manager()->GetRenderTarget(8, 8, TF_A8R8G8B8, TF_D24S8, "SceneNode");
    ASSERT_TRUE(scene);
    CRenderTarget* sceneTarget = scene.get();
    const GLuint sceneFbo = Fbo(scene);
    scene.reset();

    // Another depth format is another target.
    auto pass = Manager()->GetRenderTarget(8, 8, TF_A8R8G8B8, 0, "BloomNodeHBlur");
    EXPECT_NE(pass.get(), sceneTarget);
    // Released and asked for under another name: the same framebuffer.
    auto renamed = Manager()->GetRenderTarget(8, 8, TF_A8R8G8B8, TF_D24S8, "GlowNode");
    EXPECT_EQ(renamed.get(), sceneTarget);
    EXPECT_EQ(Fbo(renamed), sceneFbo);
    EXPECT_FALSE(Manager()->GetRenderTarget(8, 0, TF_A8R8G8B8, 0, "Empty"));

    renamed.reset();
    pass.reset();
    again.reset();
    dynamic.reset();
    Manager()->Free();
    EXPECT_EQ(Manager()->FreeRenderTargetCount() + Manager()->FreeTextureCount(), 0u);
    EXPECT_FALSE(glIsFramebufferEXT(sceneFbo));
    const auto messages = m_log.Messages();
    const std::string release =
        "Release render target: LAST used by 'GlowNode' 8x8 A8R8G8B8 D24S8 OglFBOId: " + std::to_string(sceneFbo);
    EXPECT_NE(std::find(messages.begin(), messages.end(), release), messages.end());
    EXPECT_NE(std::find(messages.begin(), messages.end(), "Freeing RTs: 2 Textures: 2"), messages.end());
}

TEST_F(Textures, HoldingTheColourTextureKeepsTheTargetInUse)
{
    auto target = Manager()->GetRenderTarget(4, 4, TF_A8R8G8B8, 0, "Holder");
    ASSERT_TRUE(target);
    CRenderTarget* raw = target.get();
    auto color = target->GetColorTexture();
    ASSERT_TRUE(color);
    EXPECT_EQ(target->GetColorTexture(), color);
    EXPECT_EQ(color->m_flags & TXF_RenderTarget, TXF_RenderTarget);

    // Giving the surface back as if it were a pooled texture changes nothing.
    Manager()->ReleaseTexture(color.get());
    EXPECT_EQ(Manager()->FreeTextureCount(), 0u);

    target.reset();
    EXPECT_EQ(Manager()->UsedRenderTargetCount(), 1u);
    auto other = Manager()->GetRenderTarget(4, 4, TF_A8R8G8B8, 0, "Other");
    EXPECT_NE(other.get(), raw);
    other.reset();

    color.reset();
    EXPECT_EQ(Manager()->UsedRenderTargetCount(), 0u);
    EXPECT_EQ(Manager()->FreeRenderTargetCount(), 2u);
    EXPECT_FALSE(raw->m_colorTexture->m_renderTarget);

    // Back from the pool, the texture can be lent again.
    auto first = Manager()->GetRenderTarget(4, 4, TF_A8R8G8B8, 0, "A");
    auto second = Manager()->GetRenderTarget(4, 4, TF_A8R8G8B8, 0, "B");
    CRenderTarget* reused = first.get() == raw ? first.get() : second.get();
    ASSERT_EQ(reused, raw);
    color = reused->GetColorTexture();
    first.reset();
    second.reset();
    EXPECT_EQ(Manager()->UsedRenderTargetCount(), 1u);
}

TEST_F(Textures, DrawsIntoATargetReachItsTexture)
{
    auto target = Manager()->GetRenderTarget(8, 4, TF_A8R8G8B8, TF_D24S8, "Draw");
    ASSERT_TRUE(target);
    target->Bind(m_render.get());
    const float red[4] = {1, 0, 0, 1};
    m_render->Clear(red, 1.0f, CF_Color | CF_Depth);
    // No effect is bound: the fixed pipeline draws the quad in the current colour.
    m_render->SetViewport(0, 0, 0.5f, 1);
    glColor4f(0, 1, 0, 1);
    m_render->DrawFullScreenQuad();
    target->Unbind();

    auto color = target->GetColorTexture();
    const GLuint id = Ogl(color.get())->Id();
    const auto pixels = ReadTexture(id, GL_TEXTURE_2D, GL_TEXTURE_2D, 8 * 4 * 4);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 8; ++x) {
            const uint8_t* p = &pixels[(y * 8 + x) * 4];
            const std::vector<uint8_t> expected = x < 4 ? std::vector<uint8_t>{0, 255, 0, 255}
                                                        : std::vector<uint8_t>{255, 0, 0, 255};
            EXPECT_EQ(std::vector<uint8_t>(p, p + 4), expected) << x << "," << y;
        }
    }

    EXPECT_EQ(LevelSize(id, GL_TEXTURE_2D, GL_TEXTURE_2D, 1, GL_TEXTURE_WIDTH), 0);
    color->GenerateMipMaps();
    EXPECT_EQ(LevelSize(id, GL_TEXTURE_2D, GL_TEXTURE_2D, 1, GL_TEXTURE_WIDTH), 4);
    EXPECT_EQ(color->m_flags & TXF_MipMaps, TXF_MipMaps);
    EXPECT_EQ(color->Lock(), nullptr);
}

TEST_F(Textures, NestedBindsRestoreWhatWasBoundBefore)
{
    CCamera camera;
    camera.m_fov = 60;
    m_render->SetCamera(camera);
    const CMatrix windowProjection = m_render->GetProjection();
    auto outer = Manager()->GetRenderTarget(8, 8, TF_A8R8G8B8, 0, "Outer");
    auto inner = Manager()->GetRenderTarget(4, 2, TF_A8R8G8B8, 0, "Inner");
    CRenderData* data = m_render->GetRenderData();
    // Making a target leaves the binding as it was.
    EXPECT_EQ(data->m_boundFramebuffer, 0u);
    EXPECT_EQ(BoundFramebuffer(), 0);

    outer->Bind(m_render.get());
    EXPECT_EQ(data->m_boundFramebuffer, Fbo(outer));
    EXPECT_EQ(BoundFramebuffer(), static_cast<GLint>(Fbo(outer)));
    EXPECT_EQ(m_render->m_currentRect, (SRect{0, 0, 8, 8}));
    EXPECT_EQ(m_render->m_virtualRect, (SRect{0, 0, 8, 8}));
    EXPECT_EQ(Viewport(), (SRect{0, 0, 8, 8}));
    // Framebuffers are drawn flipped in y, and the aspect is the target's.
    EXPECT_LT(m_render->GetProjection()[5], 0.0f);
    EXPECT_FLOAT_EQ(m_render->GetProjection()[5], -windowProjection[5]);
    EXPECT_FLOAT_EQ(m_render->GetProjection()[0], windowProjection[0] * Width / Height);
    EXPECT_EQ(m_render->GetCamera()->m_fov, 60.0f);

    inner->Bind(m_render.get());
    EXPECT_EQ(BoundFramebuffer(), static_cast<GLint>(Fbo(inner)));
    EXPECT_EQ(m_render->m_currentRect, (SRect{0, 0, 4, 2}));
    EXPECT_EQ(Viewport(), (SRect{0, 0, 4, 2}));
    inner->Unbind();
    EXPECT_EQ(data->m_boundFramebuffer, Fbo(outer));
    EXPECT_EQ(BoundFramebuffer(), static_cast<GLint>(Fbo(outer)));
    EXPECT_EQ(m_render->m_currentRect, (SRect{0, 0, 8, 8}));
    EXPECT_EQ(Viewport(), (SRect{0, 0, 8, 8}));

    outer->Unbind();
    EXPECT_EQ(data->m_boundFramebuffer, 0u);
    EXPECT_EQ(BoundFramebuffer(), 0);
    EXPECT_EQ(m_render->m_currentRect, (SRect{0, 0, Width, Height}));
    EXPECT_EQ(m_render->m_virtualRect, (SRect{0, 0, Width, Height}));
    EXPECT_EQ(Viewport(), (SRect{0, 0, Width, Height}));
    EXPECT_EQ(m_render->GetProjection(), windowProjection);

    // An unbind without a bind touches nothing.
    outer->Unbind();
    EXPECT_EQ(m_render->m_currentRect, (SRect{0, 0, Width, Height}));
}

TEST_F(Textures, ShapeFollowsWidthHeightAndDepth)
{
    struct SCase
    {
        int width, height, depth;
        GLenum target;
        size_t bufferSize;
        bool mipMaps;
    };
    const SCase cases[] = {
        {8, 1, 0, GL_TEXTURE_1D, 8 * 4, true},
        {1, 1, 0, GL_TEXTURE_1D, 4, true},
        {1, 1, -1, GL_TEXTURE_CUBE_MAP, 4, false},
        {4, 4, 0, GL_TEXTURE_2D, 4 * 4 * 4, true},
        {4, 4, 1, GL_TEXTURE_2D, 4 * 4 * 4, true},
        {4, 2, 3, GL_TEXTURE_3D, 4 * 2 * 3 * 4, false},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << "x" << c.height << "x" << c.depth);
        auto texture = Manager()->GetTexture(c.width, c.height, c.depth, TF_A8R8G8B8, TT_Normal);
        ASSERT_TRUE(texture);
        CTextureOGL* ogl = Ogl(texture.get());
        EXPECT_EQ(ogl->Target(), c.target);
        EXPECT_EQ(texture->GetBufferSize(), c.bufferSize);
        EXPECT_EQ((texture->m_flags & TXF_MipMaps) != 0, c.mipMaps);
        ASSERT_NE(texture->Lock(), nullptr);
        std::memset(texture->Lock(), 0x40, texture->GetBufferSize());
        texture->Unlock(1);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));

        const GLenum image = c.target == GL_TEXTURE_CUBE_MAP ? GL_TEXTURE_CUBE_MAP_POSITIVE_X : c.target;
        EXPECT_EQ(LevelSize(ogl->Id(), c.target, image, 0, GL_TEXTURE_WIDTH), c.width);
        EXPECT_EQ(LevelSize(ogl->Id(), c.target, image, 0, GL_TEXTURE_HEIGHT), c.height);
        EXPECT_EQ(LevelSize(ogl->Id(), c.target, image, 0, GL_TEXTURE_DEPTH), std::max(c.depth, 1));
    }
}

TEST_F(Textures, UnlockSendsTheWholeBufferToTheDevice)
{
    // A texel pattern that differs in every byte, r, g, b, a in memory.
    auto fill = [](CTexture& texture) {
        uint8_t* data = texture.Lock();
        for (size_t i = 0; i < texture.GetBufferSize(); ++i)
            data[i] = static_cast<uint8_t>(i * 7 + 1);
        return std::vector<uint8_t>(data, data + texture.GetBufferSize());
    };

    auto flat = Manager()->GetTexture(4, 3, 0, TF_A8R8G8B8, TT_Dynamic);
    const auto flatBytes = fill(*flat);
    flat->Unlock(0);
    const GLuint flatId = Ogl(flat.get())->Id();
    EXPECT_EQ(ReadTexture(flatId, GL_TEXTURE_2D, GL_TEXTURE_2D, flatBytes.size()), flatBytes);
    // Dynamic textures have no mip maps; normal ones get them with each upload.
    EXPECT_EQ(LevelSize(flatId, GL_TEXTURE_2D, GL_TEXTURE_2D, 1, GL_TEXTURE_WIDTH), 0);
    auto normal = Manager()->GetTexture(4, 4, 0, TF_A8R8G8B8, TT_Normal);
    fill(*normal);
    normal->Unlock(0);
    EXPECT_EQ(LevelSize(Ogl(normal.get())->Id(), GL_TEXTURE_2D, GL_TEXTURE_2D, 1, GL_TEXTURE_WIDTH), 2);

    auto volume = Manager()->GetTexture(2, 2, 2, TF_A8R8G8B8, TT_Dynamic);
    const auto volumeBytes = fill(*volume);
    volume->Unlock(0);
    EXPECT_EQ(ReadTexture(Ogl(volume.get())->Id(), GL_TEXTURE_3D, GL_TEXTURE_3D, volumeBytes.size()), volumeBytes);

    // A cube map takes one face at a time; numbers outside 1 to 6 send nothing.
    auto cube = Manager()->GetTexture(2, 2, -1, TF_A8R8G8B8, TT_Normal);
    const GLuint cubeId = Ogl(cube.get())->Id();
    const auto cubeBytes = fill(*cube);
    cube->Unlock(0);
    cube->Unlock(7);
    for (GLenum face = 0; face < 6; ++face)
        EXPECT_EQ(LevelSize(cubeId, GL_TEXTURE_CUBE_MAP, GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0, GL_TEXTURE_WIDTH), 0);
    cube->Unlock(3);
    for (GLenum face = 0; face < 6; ++face)
        EXPECT_EQ(LevelSize(cubeId, GL_TEXTURE_CUBE_MAP, GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0, GL_TEXTURE_WIDTH),
                  face == 2 ? 2 : 0)
            << face;
    EXPECT_EQ(ReadTexture(cubeId, GL_TEXTURE_CUBE_MAP, GL_TEXTURE_CUBE_MAP_POSITIVE_Y, cubeBytes.size()), cubeBytes);

    // Dynamic cube maps are not supported: there is nothing to lock.
    EXPECT_EQ(Manager()->GetTexture(2, 2, -1, TF_A8R8G8B8, TT_Dynamic)->Lock(), nullptr);
}

TEST_F(Textures, CreationAndIncompleteFramebuffersAreLogged)
{
    auto good = Manager()->GetRenderTarget(4, 2, TF_A8R8G8B8, TF_D24S8, "Good");
    auto color = good->GetColorTexture();
    const std::string fbo = std::to_string(Fbo(good));
    const auto depth = static_cast<CRenderTargetOGL*>(good.get())->m_depthBuffer.m_renderbuffer.Id();
    auto messages = m_log.Messages();
    ASSERT_GE(messages.size(), 3u);
    EXPECT_EQ(std::vector<std::string>(messages.end() - 3, messages.end()), (std::vector<std::string>{
                            "Create FBO: 'Good' 4x2 A8R8G8B8 D24S8 OglFBOId: " + fbo + " (InPool: 0 UsedRTs: 0)",
                            "Binding FBO 'Good' (" + fbo + ") to color texture: " +
                                std::to_string(Ogl(color.get())->Id()) + " (4x2 0)",
                            "Binding FBO 'Good' (" + fbo + ") to depth texture: " + std::to_string(depth) + " 4x2",
                        }));

    // A format without storage leaves the surface empty; the target is
    // handed out all the same.
    auto empty = Manager()->GetRenderTarget(4, 4, TF_R8, 0, "NoStorage");
    ASSERT_TRUE(empty);
    messages = m_log.Messages();
    EXPECT_EQ(messages.back(), "!ERROR! : CheckFramebufferStatus: GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT_EXT (36054)");
    EXPECT_NE(std::find(messages.begin(), messages.end(),
                        "Create FBO: 'NoStorage' 4x4 R8 Unknown OglFBOId: " + std::to_string(Fbo(empty)) +
                            " (InPool: 0 UsedRTs: 1)"),
              messages.end());
    color.reset();
}

TEST_F(Textures, FreeDestroysOnlyWhatIsBackInThePool)
{
    auto busy = Manager()->GetRenderTarget(4, 4, TF_A8R8G8B8, 0, "Busy");
    auto done = Manager()->GetRenderTarget(2, 2, TF_A16R16G16B16F, 0, "Done");
    auto texture = Manager()->GetTexture(2, 2, 0, TF_A8R8G8B8, TT_Dynamic);
    const GLuint doneFbo = Fbo(done);
    const GLuint textureId = Ogl(texture.get())->Id();
    done.reset();
    texture.reset();

    Manager()->InvalidateDevice();
    auto messages = m_log.Messages();
    const std::vector<std::string> tail(messages.end() - 3, messages.end());
    EXPECT_EQ(tail, (std::vector<std::string>{
                        "FBO Still used: 'Busy' 4x4 A8R8G8B8",
                        "Freeing RTs: 1 Textures: 1",
                        "Release render target: LAST used by 'Done' 2x2 A16R16G16B16F Unknown OglFBOId: " +
                            std::to_string(doneFbo),
                    }));
    EXPECT_FALSE(glIsFramebufferEXT(doneFbo));
    EXPECT_FALSE(glIsTexture(textureId));
    EXPECT_EQ(Manager()->UsedRenderTargetCount(), 1u);
    EXPECT_EQ(Manager()->FreeRenderTargetCount() + Manager()->FreeTextureCount(), 0u);

    // What was lent out still works.
    const GLuint busyFbo = Fbo(busy);
    EXPECT_TRUE(glIsFramebufferEXT(busyFbo));
    busy->Bind(m_render.get());
    EXPECT_EQ(glCheckFramebufferStatusEXT(GL_FRAMEBUFFER_EXT), static_cast<GLenum>(GL_FRAMEBUFFER_COMPLETE_EXT));
    busy->Unbind();

    // The device goes with the render's device objects, while the context is current.
    busy.reset();
    m_render->ReleaseDevice();
    EXPECT_EQ(Manager(), nullptr);
    EXPECT_FALSE(glIsFramebufferEXT(busyFbo));
    EXPECT_TRUE(m_log.Contains("Release render target: LAST used by 'Busy' 4x4 A8R8G8B8 Unknown OglFBOId: " +
                               std::to_string(busyFbo)));
}
