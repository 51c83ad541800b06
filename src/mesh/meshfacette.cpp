#include "mesh/mesh.h"

#include <algorithm>

void CMesh::Facette(float smoothness)
{
    if (smoothness >= 0.99999f) {
        // Vertices that differed only in their shading merge into one.
        for (CMeshVertexA& vertex : m_vertices) {
            std::fill_n(vertex.normal, 3, 0.0f);
            std::fill_n(vertex.tangent, 3, 0.0f);
        }
        WeldExact();
        CalcNormalsAndTangents();
        return;
    }

    // Every corner gets a vertex of its own so that each can carry a blend
    // of its face's flat normal and the smooth one.
    std::vector<CMeshVertexA> corners;
    size_t count = 0;
    for (const CMeshFace& face : m_faces)
        count += size_t(face.count);
    corners.reserve(count);
    for (CMeshFace& face : m_faces)
        for (int c = 0; c < face.count; ++c) {
            corners.push_back(m_vertices[size_t(face.vertices[c])]);
            face.vertices[c] = int32_t(corners.size() - 1);
        }
    m_vertices = std::move(corners);

    CalcNormals(PositionMap());
    // The smooth normal waits in the tangent; the index in the normal keeps
    // every vertex apart so that the surface map only joins a face's corners.
    for (size_t i = 0; i < m_vertices.size(); ++i) {
        CMeshVertexA& vertex = m_vertices[i];
        std::copy_n(vertex.normal, 3, vertex.tangent);
        vertex.normal[0] = float(i);
    }
    const std::vector<int32_t> map = SurfaceMap();
    CalcNormals(map);
    for (CMeshVertexA& vertex : m_vertices)
        for (int a = 0; a < 3; ++a)
            vertex.normal[a] += (vertex.tangent[a] - vertex.normal[a]) * smoothness;
    CalcTangents(map);
}
