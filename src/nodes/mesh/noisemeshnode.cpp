#include "nodes/mesh/noisemeshnode.h"

#include "expression/simplexnoise.h"
#include "nodes/support/meshselection.h"
#include "ports/types/dataports.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "ports/types/portvector.h"
#include "scene/nodedeclaration.h"

namespace {

SVectorValues FrequencyValues()
{
    SVectorValues values({1, 1, 1}, 0.01f, 10000.0f);
    values.min = {0, 0, 0};
    return values;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CNoiseMeshNode>()
{
    return {{
        In(&CNoiseMeshNode::m_meshIn, "Mesh", "Mesh to displace"),
        In(&CNoiseMeshNode::m_selection, "Selection", kSelectionDescription, SelectionValues(1)),
        In(&CNoiseMeshNode::m_frequency, "Freqency", "Noise freqency", FrequencyValues()),
        In(&CNoiseMeshNode::m_amplify, "Amplify", "Amplification of the noise", {{0.1f, 0.1f, 0.1f}, 0.01f, 10000.0f}),
        In(&CNoiseMeshNode::m_octaves, "Octaves", "Number of octaves of noise to sum up", {1, 1, 16}),
        In(&CNoiseMeshNode::m_offset, "Offset", "Offset of the noise", {{0, 0, 0}, 0.01f, 10000.0f}),
        In(&CNoiseMeshNode::m_gain, "Gain", "Amount to apply to the amplification for each octave",
           {0.5f, 0.01f, 0.0f, 1000.0f}),
        Inherited<CNoiseMeshNode>(CMeshGeneratorNode::Ports()),
    }};
}

bool CNoiseMeshNode::GenerateMesh(CPDMesh* target)
{
    CPDMesh* source = m_meshIn->m_value;
    if (!source)
        return false;
    source->GenerateMesh(target);
    CMesh& mesh = target->m_mesh;
    const std::vector<int32_t> map = mesh.PositionMap();
    const int selection = Clamped(m_selection);
    const int octaves = Clamped(m_octaves);
    const float gain = Clamped(m_gain);
    const auto& frequency = m_frequency->m_value;
    const auto& offset = m_offset->m_value;
    // The other two axes read the noise further on, so the three are unrelated.
    const float shiftY = float(123.45), shiftZ = float(456.78);
    for (size_t i = 0; i < mesh.m_vertices.size(); ++i) {
        float* position = mesh.m_vertices[i].position;
        if (map[i] >= 0) {
            std::copy_n(mesh.m_vertices[size_t(map[i])].position, 3, position);
            continue;
        }
        if (!SelectionTakes(selection, mesh.m_vertices[i].select))
            continue;
        float q[3], amp[3], sum[3] = {0, 0, 0};
        for (int a = 0; a < 3; ++a) {
            q[a] = offset[size_t(a)] + position[a] * frequency[size_t(a)];
            amp[a] = m_amplify->m_value[size_t(a)];
        }
        for (int octave = 0; octave < octaves; ++octave) {
            sum[0] += SimplexNoise3(q[0], q[1], q[2]) * amp[0];
            sum[1] += SimplexNoise3(q[0] + shiftY, q[1] + shiftY, q[2] + shiftY) * amp[1];
            sum[2] += SimplexNoise3(q[0] + shiftZ, q[1] + shiftZ, q[2] + shiftZ) * amp[2];
            for (int a = 0; a < 3; ++a) {
                q[a] *= 2.1362815f;
                amp[a] *= gain;
            }
        }
        for (int a = 0; a < 3; ++a)
            position[a] += sum[a];
    }
    mesh.CalcNormalsAndTangents();
    return true;
}
