#include "nodes/object/cloneexpressionnode.h"

#include "ports/types/dataports.h"
#include "ports/types/portbool.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "ports/types/portstring.h"
#include "render/fastmath.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

#include <algorithm>

namespace {

constexpr const char* kDefaultExpression = "pos.x = x;\r\npos.y = y+cos(time+y)/4;\r\npos.z = z+sin(time)/2;\r\n";

constexpr const char* kExpressionDescription =
    "Expression evaluated once for each object.\nInputs: x, y, z (from 1 up), numobjectsx, numobjectsy, "
    "numobjectsz, aspect, time, in1 to in5.\nOutputs: pos.x/y/z, rot.x/y/z (degrees), scale.x/y/z, "
    "col.r/g/b/a.";

} // namespace

template <>
CNodeDeclaration DeclareNode<CCloneExpressionNode>()
{
    using C = CCloneExpressionNode;
    return {
        In(&C::m_numObjects, 0, "NumObjectsX", "Number of objects to create in X", {3, 1, 10000}),
        In(&C::m_numObjects, 1, "NumObjectsY", "Number of objects to create in Y", {3, 1, 10000}),
        In(&C::m_numObjects, 2, "NumObjectsZ", "Number of objects to create in Z", {3, 1, 10000}),
        In(&C::m_adjustForAspect, "AdjustForAspect", "Adjust the number of clones in X by the screen aspect", true),
        In(&C::m_center, "Center", "Center the objects", true),
        InEach(&C::m_inputs, "In", "12345", "Input value #", {0.0f, 0.01f, -10000.0f, 10000.0f}),
        In(&C::m_randomSeed, "RandomSeed", "Random seed to be used by the rand() and srand() functions",
           {1, 1, 100000}),
        In(&C::m_expression, "Expression", kExpressionDescription, kDefaultExpression),
        In(&C::m_effect, "Effect", "The effect to place on the square if no object is connected"),
        In(&C::m_objectIn, "Object", "Object to clone. If nothing is connected a square in the x/y plane will be used"),
        Out(&C::m_objectOut, "Object", "Object"),
    };
}

bool CCloneExpressionNode::Init()
{
    static constexpr const char* names[] = {
        "in1",         "in2",         "in3",     "in4",     "in5",   "x",     "y",     "z",     "numobjectsx",
        "numobjectsy", "numobjectsz", "aspect",  "time",    "pos.x", "pos.y", "pos.z", "rot.x", "rot.y",
        "rot.z",       "scale.x",     "scale.y", "scale.z", "col.r", "col.g", "col.b", "col.a"};
    static_assert(std::size(names) == V_Count);
    m_expressionContext.AddVariables(names, m_variables);
    return true;
}

void CCloneExpressionNode::Update(float time, CSceneContext* context)
{
    m_objectOut->m_value = this;
    UpdateInPorts(time);
    if (m_expression->m_changed)
        m_expressionContext.Parse(m_expression->m_value);
    m_count = 0;
    if (!m_expressionContext.IsValid())
        return;

    int n[3] = {m_numObjects[0]->m_value, m_numObjects[1]->m_value, m_numObjects[2]->m_value};
    const float aspect = context ? context->m_aspect : 1.0f;
    if (m_adjustForAspect->m_value && aspect > 0.0f) {
        if (aspect > 1.0f)
            n[0] = int(float(n[0]) * aspect);
        else
            n[1] = int(float(n[1]) * (1.0f / aspect));
    }
    for (int& count : n)
        count = std::max(1, count);
    const size_t total = size_t(n[0]) * size_t(n[1]) * size_t(n[2]);
    if (m_worlds.size() < total) {
        m_worlds.resize(total);
        m_colors.resize(total);
    }
    m_expressionContext.SeedRandom(uint32_t(m_randomSeed->m_value));

    double* v = m_variables.data();
    for (size_t i = 0; i < 5; ++i)
        v[V_In1 + i] = m_inputs[i]->m_value;
    v[V_NumX] = n[0];
    v[V_NumY] = n[1];
    v[V_NumZ] = n[2];
    v[V_Aspect] = aspect;
    v[V_Time] = context ? context->m_time : time;
    SVec3 low{100000, 100000, 100000}, high{-100000, -100000, -100000};
    size_t index = 0;
    for (int z = 1; z <= n[2]; ++z)
        for (int y = 1; y <= n[1]; ++y)
            for (int x = 1; x <= n[0]; ++x, ++index) {
                v[V_X] = v[V_PosX] = x;
                v[V_Y] = v[V_PosY] = y;
                v[V_Z] = v[V_PosZ] = z;
                v[V_ScaleX] = v[V_ScaleY] = v[V_ScaleZ] = 1.0;
                v[V_RotX] = v[V_RotY] = v[V_RotZ] = 0.0;
                v[V_ColR] = v[V_ColG] = v[V_ColB] = v[V_ColA] = 1.0;
                m_expressionContext.Evaluate();
                const float position[3] = {float(v[V_PosX]), float(v[V_PosY]), float(v[V_PosZ])};
                const float rotation[3] = {float(v[V_RotX]), float(v[V_RotY]), float(v[V_RotZ])};
                const float scale[3] = {float(v[V_ScaleX]), float(v[V_ScaleY]), float(v[V_ScaleZ])};
                m_worlds[index] = PlacementMatrix(position, rotation, scale);
                m_colors[index] = {float(v[V_ColR]), float(v[V_ColG]), float(v[V_ColB]), float(v[V_ColA])};
                low = {std::min(low.x, position[0]), std::min(low.y, position[1]), std::min(low.z, position[2])};
                high = {std::max(high.x, position[0]), std::max(high.y, position[1]), std::max(high.z, position[2])};
            }
    // A script that failed half-way draws nothing.
    if (!m_expressionContext.IsValid())
        return;
    m_count = int(total);
    if (m_center->m_value) {
        const SVec3 middle = (low + high) * 0.5f;
        for (size_t i = 0; i < total; ++i) {
            m_worlds[i][12] -= middle.x;
            m_worlds[i][13] -= middle.y;
            m_worlds[i][14] -= middle.z;
        }
    }
    if (!m_objectIn->GetConnectedNode())
        FillSquares();
}

void CCloneExpressionNode::FillSquares()
{
    m_squares.Resize(m_count);
    SQuad* quad = m_squares.GetQuads();
    static constexpr float corners[4][4] = {
        {-0.5f, -0.5f, 0, 0}, {-0.5f, 0.5f, 0, 1}, {0.5f, -0.5f, 1, 0}, {0.5f, 0.5f, 1, 1}};
    for (int i = 0; i < m_count; ++i, ++quad) {
        const CMatrix& m = m_worlds[size_t(i)];
        const SColor4& c = m_colors[size_t(i)];
        const uint32_t color = PackColor(c[0], c[1], c[2], c[3]);
        const SVec3 normal = FastNormalize({-m[8], -m[9], -m[10]});
        const SVec3 tangent = FastNormalize({m[0], m[1], m[2]});
        const SVec3 binormal = FastNormalize({-m[4], -m[5], -m[6]});
        for (size_t k = 0; k < 4; ++k) {
            const float cx = corners[k][0], cy = corners[k][1];
            quad->v[k] = SVertexPNTBTC{
                {cx * m[0] + cy * m[4] + m[12], cx * m[1] + cy * m[5] + m[13], cx * m[2] + cy * m[6] + m[14]},
                color,
                {corners[k][2], corners[k][3]},
                {normal.x, normal.y, normal.z},
                {tangent.x, tangent.y, tangent.z},
                {binormal.x, binormal.y, binormal.z},
                0};
        }
    }
}

bool CCloneExpressionNode::RestoreDevice(CRender* render)
{
    return m_squares.RestoreDevice(render);
}

void CCloneExpressionNode::InvalidateDevice(CRender* render)
{
    if (render)
        m_squares.InvalidateDevice(render);
}

void CCloneExpressionNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    if (m_count <= 0)
        return;
    if (CNode* object = m_objectIn->GetConnectedNode()) {
        PlaceCopies(list, parents, camera, object, std::span<const CMatrix>(m_worlds).first(size_t(m_count)),
                    std::span<const SColor4>(m_colors).first(size_t(m_count)));
    } else if (list && parents) {
        m_squares.AddToRenderList(list, parents, camera, m_effect->m_value, m_count);
    }
}
