#include "mesh/mesh.h"

#include "render/vertexbuffer.h"

#include <algorithm>
#include <cmath>

CMesh& CMesh::operator=(const CMesh& other)
{
    if (this == &other)
        return *this;
    m_vertices = other.m_vertices;
    m_faces = other.m_faces;
    m_clusters.clear();
    for (size_t i = 0; i < other.m_clusters.size(); ++i)
        AddCluster();
    return *this;
}

void CMesh::Clear()
{
    m_clusters.clear();
    m_vertices.clear();
    m_faces.clear();
}

int CMesh::AddCluster()
{
    m_clusters.push_back(std::make_unique<CMeshCluster>());
    return int(m_clusters.size()) - 1;
}

namespace {

bool SamePosition(const CMeshVertexA& a, const CMeshVertexA& b)
{
    return a.position[0] == b.position[0] && a.position[1] == b.position[1] && a.position[2] == b.position[2];
}

bool SameNormal(const CMeshVertexA& a, const CMeshVertexA& b)
{
    return a.normal[0] == b.normal[0] && a.normal[1] == b.normal[1] && a.normal[2] == b.normal[2];
}

uint32_t LargestPowerOfTwoNotAbove(uint32_t n)
{
    uint32_t p = 1;
    while (p <= n / 2)
        p *= 2;
    return p;
}

// Row vector times an affine matrix; mesh matrices carry no projection.
void TransformAffine(float* p, const CMatrix& m)
{
    float r[3];
    for (int j = 0; j < 3; ++j)
        r[j] = p[0] * m[size_t(j)] + p[1] * m[size_t(4 + j)] + p[2] * m[size_t(8 + j)] + m[size_t(12 + j)];
    std::copy(r, r + 3, p);
}

SVec3 Position(const CMeshVertexA& v)
{
    return {v.position[0], v.position[1], v.position[2]};
}

void Normalise(float* v)
{
    const float lengthSquared = v[0] * v[0] + v[1] * v[1] + v[2] * v[2];
    if (lengthSquared == 0.0f)
        return;
    const float inverse = 1.0f / std::sqrt(lengthSquared);
    for (int i = 0; i < 3; ++i)
        v[i] *= inverse;
}

// The row vector v times the upper 3 × 3 of m.
void Rotate(const float* v, const CMatrix& m, float* out)
{
    float r[3];
    for (int j = 0; j < 3; ++j)
        r[j] = v[0] * m[size_t(j)] + v[1] * m[size_t(4 + j)] + v[2] * m[size_t(8 + j)];
    std::copy(r, r + 3, out);
}

} // namespace

// The chains run through the vertices' temp fields, so only the buckets and
// the result are allocated.
std::vector<int32_t> CMesh::CoincidenceMap(bool compareNormals)
{
    const uint32_t count = uint32_t(m_vertices.size());
    const uint32_t half = LargestPowerOfTwoNotAbove(std::max(1u, count / 2));
    const uint32_t buckets = std::max(half, 4096u);
    std::vector<int32_t> heads(buckets, -1);
    std::vector<int32_t> map(count, -1);
    for (uint32_t i = 0; i < count; ++i) {
        CMeshVertexA& v = m_vertices[i];
        const uint32_t bucket = (compareNormals ? SurfaceHash(v) : PositionHash(v)) & (buckets - 1);
        for (int32_t j = heads[bucket]; j >= 0; j = m_vertices[size_t(j)].temp) {
            const CMeshVertexA& other = m_vertices[size_t(j)];
            if ((!compareNormals || SameNormal(v, other)) && SamePosition(v, other)) {
                map[i] = j;
                break;
            }
        }
        if (map[i] < 0) {
            v.temp = heads[bucket];
            heads[bucket] = int32_t(i);
        }
    }
    return map;
}

std::vector<int32_t> CMesh::PositionMap()
{
    return CoincidenceMap(false);
}

std::vector<int32_t> CMesh::SurfaceMap()
{
    return CoincidenceMap(true);
}

void CMesh::CalcNormals(std::span<const int32_t> map)
{
    for (CMeshVertexA& v : m_vertices)
        std::fill(v.normal, v.normal + 3, 0.0f);
    for (const CMeshFace& face : m_faces) {
        const int n = face.count;
        if (n < 3)
            continue;
        // Summing over every corner gives quads that are not flat a fair
        // normal; the result is not weighted by area.
        float sum[3] = {0, 0, 0};
        for (int i = 0; i < n; ++i) {
            const SVec3 a = Position(m_vertices[size_t(face.vertices[i])]);
            const SVec3 b = Position(m_vertices[size_t(face.vertices[(i + 1) % n])]);
            const SVec3 c = Position(m_vertices[size_t(face.vertices[(i + 2) % n])]);
            const SVec3 cross = Cross(a - b, b - c);
            sum[0] += cross.x;
            sum[1] += cross.y;
            sum[2] += cross.z;
        }
        Normalise(sum);
        for (int i = 0; i < n; ++i) {
            int32_t index = face.vertices[i];
            if (map[size_t(index)] >= 0)
                index = map[size_t(index)];
            float* normal = m_vertices[size_t(index)].normal;
            for (int k = 0; k < 3; ++k)
                normal[k] += sum[k];
        }
    }
    for (size_t i = 0; i < m_vertices.size(); ++i) {
        if (map[i] < 0)
            Normalise(m_vertices[i].normal);
        else
            std::copy_n(m_vertices[size_t(map[i])].normal, 3, m_vertices[i].normal);
    }
}

void CMesh::CalcTangents(std::span<const int32_t> map)
{
    for (CMeshVertexA& v : m_vertices) {
        std::fill(v.tangent, v.tangent + 3, 0.0f);
        v.tangentSign = 1.0f;
    }
    auto representative = [&](int32_t index) { return map[size_t(index)] >= 0 ? map[size_t(index)] : index; };
    for (const CMeshFace& face : m_faces) {
        const int n = face.count;
        for (int a = 0; a < n; ++a) {
            CMeshVertexA& first = m_vertices[size_t(representative(face.vertices[a]))];
            CMeshVertexA& second = m_vertices[size_t(representative(face.vertices[(a + 1) % n]))];
            const SVec3 d = Position(first) - Position(second);
            const float lengthSquared = Dot(d, d);
            // An edge of zero length has no direction to give.
            if (lengthSquared == 0.0f)
                continue;
            const float s = (first.uv[0] - second.uv[0]) / lengthSquared;
            const float add[3] = {d.x * s, d.y * s, d.z * s};
            for (int k = 0; k < 3; ++k) {
                first.tangent[k] += add[k];
                second.tangent[k] += add[k];
            }
        }
    }
    for (size_t i = 0; i < m_vertices.size(); ++i) {
        if (map[i] < 0)
            Normalise(m_vertices[i].tangent);
        else
            std::copy_n(m_vertices[size_t(map[i])].tangent, 3, m_vertices[i].tangent);
    }
}

void CMesh::CalcNormalsAndTangents()
{
    const std::vector<int32_t> map = SurfaceMap();
    CalcNormals(map);
    CalcTangents(map);
}

void CMesh::RemoveDegenerateFaces()
{
    size_t kept = 0;
    for (const CMeshFace& face : m_faces) {
        bool degenerate = false;
        for (int i = 0; i < face.count && !degenerate; ++i)
            for (int j = i + 1; j < face.count && !degenerate; ++j)
                degenerate = SamePosition(m_vertices[size_t(face.vertices[i])], m_vertices[size_t(face.vertices[j])]);
        if (!degenerate)
            m_faces[kept++] = face;
    }
    m_faces.resize(kept);
}

void CMesh::MergeClusters()
{
    if (m_faces.empty()) {
        m_clusters.clear();
        return;
    }
    const int32_t first = m_faces.front().cluster;
    for (CMeshFace& face : m_faces)
        face.cluster = 0;
    std::unique_ptr<CMeshCluster> kept = std::move(m_clusters[size_t(first)]);
    m_clusters.clear();
    m_clusters.push_back(std::move(kept));
}

void CMesh::Append(const CMesh& source, const CMatrix* positionMatrix, const CMatrix* normalMatrix, const SVec3* scale)
{
    const size_t vertexBase = m_vertices.size();
    const size_t faceBase = m_faces.size();
    const int32_t clusterBase = int32_t(m_clusters.size());
    m_vertices.reserve(vertexBase + source.m_vertices.size());
    for (const CMeshVertexA& v : source.m_vertices) {
        CMeshVertexA copy = v;
        if (positionMatrix) {
            TransformAffine(copy.position, *positionMatrix);
            const CMatrix& n = normalMatrix ? *normalMatrix : *positionMatrix;
            Rotate(v.normal, n, copy.normal);
            Rotate(v.tangent, n, copy.tangent);
        }
        m_vertices.push_back(copy);
    }
    m_faces.insert(m_faces.end(), source.m_faces.begin(), source.m_faces.end());
    for (size_t i = 0; i < source.m_clusters.size(); ++i)
        AddCluster();
    const bool mirrored = scale && scale->x * scale->y * scale->z < 0.0f;
    for (size_t f = faceBase; f < m_faces.size(); ++f) {
        CMeshFace& face = m_faces[f];
        face.cluster += clusterBase;
        for (int& index : face.vertices)
            index += int32_t(vertexBase);
        if (mirrored)
            FlipFace(face);
    }
    MergeClusters();
}

void CMesh::Transform(const CMatrix& matrix)
{
    auto at = [&](int r, int c) { return matrix[size_t(r * 4 + c)]; };
    float cofactor[3][3];
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) {
            const int r1 = (r + 1) % 3, r2 = (r + 2) % 3, c1 = (c + 1) % 3, c2 = (c + 2) % 3;
            cofactor[r][c] = at(r1, c1) * at(r2, c2) - at(r1, c2) * at(r2, c1);
        }
    const float determinant = at(0, 0) * cofactor[0][0] + at(0, 1) * cofactor[0][1] + at(0, 2) * cofactor[0][2];
    // The inverse transpose keeps normals upright under non-uniform scale; a
    // near-singular matrix falls back to its transpose.
    float normalMatrix[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            normalMatrix[i][j] = std::fabs(determinant) >= 1e-5f ? cofactor[i][j] / determinant : at(j, i);
    for (CMeshVertexA& v : m_vertices) {
        TransformAffine(v.position, matrix);
        float n[3];
        for (int j = 0; j < 3; ++j)
            n[j] = v.normal[0] * normalMatrix[0][j] + v.normal[1] * normalMatrix[1][j] + v.normal[2] * normalMatrix[2][j];
        Normalise(n);
        std::copy(n, n + 3, v.normal);
        Rotate(v.tangent, matrix, v.tangent);
        Normalise(v.tangent);
    }
    if (determinant < 0.0f) {
        for (CMeshFace& face : m_faces)
            FlipFace(face);
        for (CMeshVertexA& v : m_vertices)
            for (float& c : v.normal)
                c = -c;
    }
}
