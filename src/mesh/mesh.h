#pragma once

#include "mesh/meshvertex.h"
#include "render/matrix.h"
#include "render/vertexbuffer.h"

#include <memory>
#include <vector>

class CRender;

// An editable polygon mesh in main memory: vertices, triangle and quad faces
// and the clusters the faces are drawn in. Every map and weld is hash based
// so that work stays linear in the vertex count.
class CMesh
{
public:
    CMesh() = default;
    CMesh(const CMesh& other) { *this = other; }
    // Copies vertices and faces; the target gets as many fresh clusters.
    CMesh& operator=(const CMesh& other);

    // Drops clusters, vertices and faces; capacity stays.
    void Clear();
    int AddCluster();

    // For every vertex the first earlier vertex at the same position (or with
    // the same position and normal), -1 for the first of its kind.
    std::vector<int32_t> PositionMap();
    std::vector<int32_t> SurfaceMap();

    void CalcNormals(std::span<const int32_t> map);
    void CalcTangents(std::span<const int32_t> map);
    void CalcNormalsAndTangents();

    // Merges vertices that are equal in every shown field; unreferenced
    // vertices are dropped.
    void WeldExact();
    // Snaps positions closer than epsilon together, then welds exactly.
    void WeldDistance(float epsilon);
    void RemoveDegenerateFaces();
    // Shading between flat faces (0) and smooth normals (1); at 1 the vertices
    // that differ only in their normals are welded, below it every corner
    // gets a vertex of its own.
    void Facette(float smoothness);

    // Per corner (face × 4 + corner) the corner across its edge, -1 at a
    // border.
    std::vector<int32_t> BuildAdjacency();

    // Appends `source`, its positions through positionMatrix and its normals
    // and tangents through normalMatrix when given; a mirroring scale flips
    // the new faces. The result has at most one cluster.
    void Append(const CMesh& source, const CMatrix* positionMatrix = nullptr, const CMatrix* normalMatrix = nullptr,
                const SVec3* scale = nullptr);
    void Transform(const CMatrix& matrix);

    // Fills the buffer slots from the faces; a slot is created or remade
    // when it is missing or has the wrong size.
    void BuildBuffers(CRender* render);

    std::unique_ptr<CVertexBuffer> m_vertexBuffer;
    std::unique_ptr<CIndexBuffer> m_indexBuffer;
    std::vector<CMeshVertexA> m_vertices;
    std::vector<CMeshFace> m_faces;
    std::vector<std::unique_ptr<CMeshCluster>> m_clusters;

private:
    std::vector<int32_t> CoincidenceMap(bool compareNormals);
    void MergeClusters();
};
