#include "mesh/mesh.h"

#include "render/render.h"
#include "render/vertexbuffer.h"

#include <bit>
#include <cstring>

namespace {

// One Newton step of the classic inverse square root is precise enough for
// a binormal and keeps the buffer fill cheap.
float FastInverseSqrt(float x)
{
    const int32_t i = 0x5F3759DF - (std::bit_cast<int32_t>(x) >> 1);
    const float y = std::bit_cast<float>(i);
    return y * (1.5f - 0.5f * x * y * y);
}

void WriteVertex(const CMeshVertexA& v, SVertexPNTBTC& out)
{
    std::memcpy(out.position, v.position, sizeof(out.position));
    out.color = v.color;
    std::memcpy(out.uv, v.uv, sizeof(out.uv));
    std::memcpy(out.normal, v.normal, sizeof(out.normal));
    std::memcpy(out.tangent, v.tangent, sizeof(out.tangent));
    const SVec3 b = Cross({v.tangent[0], v.tangent[1], v.tangent[2]}, {v.normal[0], v.normal[1], v.normal[2]});
    const float scale = FastInverseSqrt(Dot(b, b));
    out.binormal[0] = b.x * scale;
    out.binormal[1] = b.y * scale;
    out.binormal[2] = b.z * scale;
}

} // namespace

void CMesh::BuildBuffers(CRender* render)
{
    if (m_clusters.empty() || !render)
        return;
    for (auto& cluster : m_clusters) {
        cluster->firstIndex = 0;
        cluster->indexCount = 0;
    }
    std::vector<std::vector<int32_t>> clusterFaces(m_clusters.size());
    for (size_t f = 0; f < m_faces.size(); ++f)
        clusterFaces[size_t(m_faces[f].cluster)].push_back(int32_t(f));

    std::vector<int32_t> local(m_vertices.size(), -1);
    for (const std::vector<int32_t>& faces : clusterFaces) {
        std::vector<int32_t> indices;
        for (int32_t f : faces) {
            const CMeshFace& face = m_faces[size_t(f)];
            // The device's front faces wind the other way round.
            for (int k = 2; k < face.count; ++k) {
                indices.push_back(face.vertices[0]);
                indices.push_back(face.vertices[k]);
                indices.push_back(face.vertices[k - 1]);
            }
        }
        if (indices.empty())
            continue;
        std::fill(local.begin(), local.end(), -1);
        std::vector<int32_t> used;
        for (int32_t& index : indices) {
            int32_t& slot = local[size_t(index)];
            if (slot < 0) {
                slot = int32_t(used.size());
                used.push_back(index);
            }
            index = slot;
        }
        const int vertexCount = int(used.size());
        if (m_vertexBuffer && m_vertexBuffer->m_count != vertexCount)
            m_vertexBuffer.reset();
        if (!m_vertexBuffer)
            m_vertexBuffer = render->CreateVertexBuffer(vertexCount, 0, VBF_PNTBTC);
        if (!m_vertexBuffer)
            return;
        if (auto* out = static_cast<SVertexPNTBTC*>(m_vertexBuffer->Lock())) {
            for (int i = 0; i < vertexCount; ++i)
                WriteVertex(m_vertices[size_t(used[size_t(i)])], out[i]);
        }
        m_vertexBuffer->Unlock();

        const int indexCount = int(indices.size());
        if (m_indexBuffer && m_indexBuffer->m_count != indexCount)
            m_indexBuffer.reset();
        if (!m_indexBuffer)
            m_indexBuffer = render->CreateIndexBuffer(indexCount, 0);
        if (!m_indexBuffer)
            return;
        if (void* data = m_indexBuffer->Lock()) {
            if (IndexWidth(indexCount) == 2) {
                auto* out = static_cast<uint16_t*>(data);
                for (int i = 0; i < indexCount; ++i)
                    out[i] = uint16_t(indices[size_t(i)]);
            } else {
                std::memcpy(data, indices.data(), indices.size() * sizeof(int32_t));
            }
        }
        m_indexBuffer->Unlock();
    }
    if (m_faces.empty())
        m_indexBuffer.reset();
}
