#include "nodes/object/clonenode.h"

#include "nodes/support/placement.h"
#include "ports/types/dataports.h"
#include "ports/types/portbool.h"
#include "ports/types/portcolor.h"
#include "ports/types/portint.h"
#include "ports/types/portvector.h"
#include "scene/nodedeclaration.h"

#include <algorithm>

template <>
CNodeDeclaration DeclareNode<CCloneNode>()
{
    using C = CCloneNode;
    return {
        In(&C::m_numClones, "NumClones", "Number of clones to create", {5, 1, 10000}),
        In(&C::m_pos, "Pos", "Position of object", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_rot, "Rot", "Rotation of object", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_scale, "Scale", "Scale of object", {{1, 1, 1}, 0.1f, 10000.0f}),
        In(&C::m_posChange, "PosChange", "Change in position per cloned object", {{0, 1, 0}, 0.1f, 10000.0f}),
        In(&C::m_rotChange, "RotChange", "Change in rotation per cloned object", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_scaleChange, "ScaleChange", "Change in scale per cloned object", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_color, "Color", "Color of object", {{1, 1, 1, 1}}),
        In(&C::m_center, "Center", "Center the row of cloned objects", true),
        In(&C::m_objectIn, "Object", "Object"),
        Out(&C::m_objectOut, "Object", "Object"),
    };
}

void CCloneNode::Update(float time, CSceneContext*)
{
    m_objectOut->m_value = this;
    UpdateInPorts(time);
    m_count = std::max(1, m_numClones->m_value);
    if (m_worlds.size() < size_t(m_count))
        m_worlds.resize(size_t(m_count));

    const auto& step = m_posChange->m_value;
    float start[3] = {m_pos->m_value[0], m_pos->m_value[1], m_pos->m_value[2]};
    if (m_center->m_value)
        for (size_t a = 0; a < 3; ++a)
            start[a] -= float(m_count - 1) * step[a] * 0.5f;
    const CMatrix base = PlacementMatrix(start, m_rot->m_value.data(), m_scale->m_value.data());
    for (int i = 0; i < m_count; ++i) {
        const float n = float(i);
        float position[3], rotation[3], scale[3];
        for (size_t a = 0; a < 3; ++a) {
            position[a] = step[a] * n;
            rotation[a] = m_rotChange->m_value[a] * n;
            scale[a] = 1.0f + m_scaleChange->m_value[a] * n;
        }
        m_worlds[size_t(i)] = MatrixMultiply(PlacementMatrix(position, rotation, scale), base);
    }
}

void CCloneNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    const SColor4 color = m_color->m_value;
    PlaceCopies(list, parents, camera, m_objectIn->GetConnectedNode(),
                std::span<const CMatrix>(m_worlds).first(size_t(m_count)), {&color, 1});
}
