#include "nodes/texture/expressiontexturenode.h"

#include "app/check.h"
#include "app/random.h"
#include "nodes/support/cputexture.h"
#include "nodes/support/publishtexture.h"
#include "render/render.h"
#include "render/texture.h"
#include "render/texturemanager.h"

#include <algorithm>

template <>
CNodeDeclaration DeclareNode<CExpressionTextureNode>()
{
    return {
        In(&CExpressionTextureNode::m_width, "Width", "Width of texture", {256, 1, 4096, PowerOfTwoSizes(1)}),
        In(&CExpressionTextureNode::m_height, "Height", "Height of texture", {1, 1, 4096, PowerOfTwoSizes(1)}),
        In(&CExpressionTextureNode::m_depth, "Depth", "Depth of texture", {1, 1, 4096, PowerOfTwoSizes(1)}),
        InEach(&CExpressionTextureNode::m_inputs, "In", "12345", "Input value #", {0.0f, 0.01f, -10000.0f, 10000.0f}),
        In(&CExpressionTextureNode::m_randomSeed, "RandomSeed",
           "Random seed to be used by the rand() and srand() functions", {1, 1, 100000}),
        In(&CExpressionTextureNode::m_expression, "Expression",
           "Expression to be evaluated. Inputs are x,y,z,in1,in2,in3,in4,in5,perm (Not reset for the life of the "
           "node. Initial value 0) and permrand (Not reset for the life of the node. Initial value 0.0-1.0).. Outputs "
           "are named col.r,col.g,col.b and col.a.",
           "out.r = out.g = out.b = out.a = 1.0"),
        Out(&CExpressionTextureNode::m_texture, "Texture", "Texture"),
    };
}

bool CExpressionTextureNode::Init()
{
    static constexpr const char* names[] = {"x",   "y",   "z",   "width", "height", "depth", "perm",  "permrand", "in1",
                                            "in2", "in3", "in4", "in5",   "time",   "col.r", "col.g", "col.b",    "col.a"};
    static_assert(std::size(names) == V_Count);
    for (size_t i = 0; i < V_Count; ++i) {
        const double start = i == V_PermRand ? double(g_random.NextUnit()) : 0.0;
        m_expressionContext.AddVariable(names[i], &m_variables[i], start);
    }
    m_expressionContext.BindLists();
    return true;
}

void CExpressionTextureNode::Update(float time, CSceneContext*)
{
    PublishTexture(*m_texture, this, m_dimension, m_flags);
    if (!UpdateInPorts(time))
        return;
    // The parser logs what is wrong with a text.
    if (m_expression->m_changed)
        m_expressionContext.Parse(m_expression->m_value);
    if (!m_expressionContext.IsValid())
        return;
    for (size_t i = 0; i < m_inputs.size(); ++i)
        m_variables[V_In1 + i] = m_inputs[i]->m_value;
    m_variables[V_Time] = time;
    m_variables[V_Width] = m_width->m_value;
    m_variables[V_Height] = m_height->m_value;
    m_variables[V_Depth] = m_depth->m_value;
    const int dimension = ShapeDimension(m_height->m_value, m_depth->m_value);
    SetTextureInfo(dimension, dimension == 3 ? 0 : PDT_MipMaps);
    PublishTexture(*m_texture, this, m_dimension, m_flags);
    m_deviceDirty = 0xFFFFFFFFu;
}

bool CExpressionTextureNode::RestoreDevice(CRender* render)
{
    const int width = m_width->m_value, height = m_height->m_value, depth = m_depth->m_value;
    CTextureManager* textures = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    std::shared_ptr<CTexture>& texture = dObjs[size_t(render->GetDeviceIndex())].m_texture;
    CHECK(textures);
    CHECK_FAILURE(!(texture = GetShapedTexture(*textures, width, height, depth)));
    uint8_t* texels = texture->Lock();
    if (!texels)
        return true;

    // A one-row texture holds one row, whatever the depth asks.
    const bool volume = height >= 2 && depth >= 2;
    const int rows = std::max(1, texture->m_height), slices = volume ? depth : 1;
    m_expressionContext.SeedRandom(uint32_t(m_randomSeed->m_value));
    const bool valid = m_expressionContext.IsValid();
    size_t at = 0;
    for (int slice = 0; slice < slices; ++slice) {
        for (int row = 0; row < rows; ++row) {
            for (int column = 0; column < width; ++column) {
                m_variables[V_X] = double(column) / width;
                m_variables[V_Y] = double(row) / height;
                m_variables[V_Z] = double(slice) / depth;
                m_variables[V_R] = m_variables[V_G] = m_variables[V_B] = m_variables[V_A] = 0.0;
                if (valid)
                    m_expressionContext.Evaluate();
                for (size_t c = 0; c < 4; ++c)
                    texels[at++] = ToByte(float(m_variables[V_R + c]));
            }
        }
    }
    texture->Unlock(0);
    return true;
}

void CExpressionTextureNode::InvalidateDevice(CRender* render)
{
    dObjs[size_t(render->GetDeviceIndex())].m_texture.reset();
}
