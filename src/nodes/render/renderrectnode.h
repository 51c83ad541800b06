#pragma once

#include "scene/node.h"
#include "scene/pdrender.h"

#include <array>
#include <memory>

class CIndexBuffer;
class CPortEffect;
class CPortInt;
class CPortRender;
class CVertexBuffer;

// A render chain step that draws a grid of quads over the whole viewport
// through an effect: the canvas of full-screen shaders.
class CRenderRectNode : public CNode, public CPDRender
{
public:
    ~CRenderRectNode() override;
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;
    void Render(CRender* render) override;

    // Finer grids are drawn with fewer cells: beyond this a grid costs
    // hundreds of megabytes and shows nothing more.
    static constexpr long MaxCells = 1000000;

    struct SDeviceObjects
    {
        std::unique_ptr<CVertexBuffer> m_VertexBuffer;
        // The same grid mirrored in y (binormals too) for render targets,
        // which are drawn flipped in y like everything else drawn into them.
        std::unique_ptr<CVertexBuffer> m_VertexBufferUpsideDown;
        std::unique_ptr<CIndexBuffer> m_IndexBuffer;
        int m_triangles = 0;
    };
    std::array<SDeviceObjects, 1> dObjs;

private:
    friend CNodeDeclaration DeclareNode<CRenderRectNode>();

    void ReleaseBuffers(SDeviceObjects& objects);
    static bool FillVertices(CVertexBuffer* buffer, long W, long H, bool upsideDown);

    CPortRender* m_renderIn = nullptr;
    CPortInt* m_tesselateW = nullptr;
    CPortInt* m_tesselateH = nullptr;
    CPortEffect* m_effect = nullptr;
    CPortRender* m_renderOut = nullptr;
};
