#include "mesh/meshshapes.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float TwoPi = 6.2831855f;
constexpr float Pi = 3.1415927f;

// A matrix from three rows of the upper 3 × 3 and a translation.
CMatrix Placing(SVec3 r0, SVec3 r1, SVec3 r2, SVec3 t)
{
    return {r0.x, r0.y, r0.z, 0, r1.x, r1.y, r1.z, 0, r2.x, r2.y, r2.z, 0, t.x, t.y, t.z, 1};
}

CMatrix ScaleTranslate(SVec3 s, SVec3 t)
{
    return Placing({s.x, 0, 0}, {0, s.y, 0}, {0, 0, s.z}, t);
}

CMeshVertexA& NewVertex(CMesh& mesh, float x, float y, float z, float u, float v)
{
    CMeshVertexA& vertex = mesh.m_vertices.emplace_back();
    vertex.position[0] = x;
    vertex.position[1] = y;
    vertex.position[2] = z;
    vertex.uv[0] = u;
    vertex.uv[1] = v;
    return vertex;
}

void SetNormalKey(CMeshVertexA& v, float a, float b, float c)
{
    v.normal[0] = a;
    v.normal[1] = b;
    v.normal[2] = c;
}

void AddQuad(CMesh& mesh, int a, int b, int c, int d, float select = 0.0f)
{
    mesh.m_faces.push_back({0, 4, select, {a, b, c, d}});
}

void AddTriangle(CMesh& mesh, int a, int b, int c, float select = 0.0f)
{
    mesh.m_faces.push_back({0, 3, select, {a, b, c, 0}});
}

void ScaleUv(CMesh& mesh, float scaleU, float scaleV)
{
    for (CMeshVertexA& v : mesh.m_vertices) {
        v.uv[0] *= scaleU;
        v.uv[1] *= scaleV;
    }
}

} // namespace

void AppendGrid(CMesh& mesh, int w, int h)
{
    const int base = int(mesh.m_vertices.size());
    mesh.m_vertices.reserve(mesh.m_vertices.size() + size_t(w + 1) * size_t(h + 1));
    mesh.m_faces.reserve(mesh.m_faces.size() + size_t(w) * size_t(h));
    for (int j = 0; j <= h; ++j)
        for (int i = 0; i <= w; ++i) {
            CMeshVertexA& v = NewVertex(mesh, float(i), 0, float(j), float(i) / float(w), float(j) / float(h));
            SetNormalKey(v, 0, 1, 0);
            v.tangent[0] = 1;
            v.tangent[1] = 0;
        }
    auto at = [&](int i, int j) { return base + j * (w + 1) + i; };
    for (int j = 0; j < h; ++j)
        for (int i = 0; i < w; ++i)
            AddQuad(mesh, at(i, j), at(i, j + 1), at(i + 1, j + 1), at(i + 1, j));
}

void BuildPlane(CMesh& mesh, const SPlaneShape& shape)
{
    mesh.Clear();
    mesh.AddCluster();
    AppendGrid(mesh, shape.tesselateW, shape.tesselateH);
    if (shape.type == EPlaneType::Double) {
        // The second sheet is the first turned over, so both sides show.
        CMesh back = mesh;
        back.Transform(Placing({-1, 0, 0}, {0, -1, 0}, {0, 0, 1}, {float(shape.tesselateW), 0, 0}));
        mesh.Append(back);
    }
    float sz = shape.height / float(shape.tesselateH);
    float tz = -shape.height / 2;
    float f = 1;
    if (shape.type == EPlaneType::Invert) {
        sz = -sz;
        tz = -tz;
        f = -1;
    }
    const float s = std::sin(-Pi / 2), c = std::cos(-Pi / 2);
    mesh.Transform(Placing({shape.width / float(shape.tesselateW), 0, 0}, {0, c * f, s * f}, {0, -s * sz, c * sz},
                           {-shape.width / 2, tz, 0}));
    for (CMeshVertexA& v : mesh.m_vertices) {
        v.uv[0] *= shape.scaleU;
        v.uv[1] = (1 - v.uv[1]) * shape.scaleV;
    }
}

void BuildDisc(CMesh& mesh, const SDiscShape& shape)
{
    mesh.Clear();
    mesh.AddCluster();
    const float outer = std::max(shape.outerRadius, shape.innerRadius);
    const float inner = std::min(shape.outerRadius, shape.innerRadius);
    const int n = shape.segments;
    const int sides = shape.doubleSided ? 2 : 1;
    for (int side = 0; side < sides; ++side) {
        const float normalZ = side == 0 ? -1.0f : 1.0f;
        const int base = int(mesh.m_vertices.size());
        if (std::fabs(inner) > 1e-5f) {
            const float ratio = std::fabs(outer) <= 1e-5f ? 0.0f : inner / outer;
            for (int i = 0; i <= n; ++i) {
                const float a = (float(i) / float(n) + shape.phase) * TwoPi;
                const float s = std::sin(a), c = std::cos(a);
                SetNormalKey(NewVertex(mesh, s * outer, c * outer, 0, s * 0.5f * shape.scaleU + 0.5f,
                                       1 - (c * 0.5f * shape.scaleV + 0.5f)),
                             0, 0, normalZ);
                SetNormalKey(NewVertex(mesh, s * inner, c * inner, 0, s * 0.5f * ratio * shape.scaleU + 0.5f,
                                       1 - (c * 0.5f * ratio * shape.scaleV + 0.5f)),
                             0, 0, normalZ);
            }
            for (int i = 0; i < n; ++i) {
                const int a0 = base + 2 * i, b0 = a0 + 1, a1 = a0 + 2, b1 = a0 + 3;
                if (side == 0)
                    AddQuad(mesh, b0, a0, a1, b1, 1.0f);
                else
                    AddQuad(mesh, a0, b0, b1, a1, 1.0f);
            }
        } else {
            SetNormalKey(NewVertex(mesh, 0, 0, 0, 0.5f, 0.5f), 0, 0, normalZ);
            for (int i = 0; i <= n; ++i) {
                const float a = shape.phase * TwoPi + (i == n ? 0.0f : float(i) / float(n) * TwoPi);
                const float s = std::sin(a), c = std::cos(a);
                SetNormalKey(NewVertex(mesh, s * outer, c * outer, 0, shape.scaleU * s * 0.5f + 0.5f,
                                       1 - (shape.scaleV * c * 0.5f + 0.5f)),
                             0, 0, normalZ);
            }
            for (int i = 0; i < n; ++i) {
                if (side == 0)
                    AddTriangle(mesh, base, base + 1 + i, base + 2 + i, 1.0f);
                else
                    AddTriangle(mesh, base, base + 2 + i, base + 1 + i, 1.0f);
            }
        }
    }
    mesh.CalcNormalsAndTangents();
}

void BuildCube(CMesh& mesh, const SCubeShape& shape)
{
    mesh.Clear();
    mesh.AddCluster();
    const int x = shape.tesselateX, y = shape.tesselateY, z = shape.tesselateZ;
    const float fx = float(x), fy = float(y), fz = float(z);
    mesh.m_vertices.reserve(2 * ((size_t(z) + size_t(y) + 2) * (size_t(x) + 1) + (size_t(y) + 1) * (size_t(z) + 1)));
    mesh.m_faces.reserve(2 * ((size_t(z) + size_t(y)) * size_t(x) + size_t(y) * size_t(z)));
    struct SSide
    {
        int w, h;
        CMatrix place;
        int uvMode; // 0: (1 - u, v), 1: (u, 1 - v), 2: (1 - v, 1 - u), 3: (v, u)
    };
    const SSide sides[6] = {
        {x, z, Placing({-1, 0, 0}, {0, -1, 0}, {0, 0, 1}, {fx, 0, 0}), 0},
        {x, z, Placing({-1, 0, 0}, {0, 1, 0}, {0, 0, -1}, {fx, fy, fz}), 0},
        {x, y, Placing({1, 0, 0}, {0, 0, -1}, {0, 1, 0}, {0, 0, 0}), 1},
        {x, y, Placing({-1, 0, 0}, {0, 0, 1}, {0, 1, 0}, {fx, 0, fz}), 1},
        {y, z, Placing({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {0, 0, 0}), 2},
        {y, z, Placing({0, -1, 0}, {1, 0, 0}, {0, 0, 1}, {fx, fy, 0}), 3},
    };
    for (const SSide& side : sides) {
        CMesh grid;
        grid.AddCluster();
        AppendGrid(grid, side.w, side.h);
        grid.Transform(side.place);
        for (CMeshVertexA& v : grid.m_vertices) {
            const float u = v.uv[0], w = v.uv[1];
            switch (side.uvMode) {
            case 0: v.uv[0] = 1 - u; break;
            case 1: v.uv[1] = 1 - w; break;
            case 2: v.uv[0] = 1 - w; v.uv[1] = 1 - u; break;
            default: v.uv[0] = w; v.uv[1] = u; break;
            }
        }
        mesh.Append(grid);
    }
    const SVec3& size = shape.size;
    mesh.Transform(ScaleTranslate({size.x / fx, size.y / fy, size.z / fz}, {-size.x / 2, -size.y / 2, -size.z / 2}));
    ScaleUv(mesh, shape.scaleU, shape.scaleV);
    mesh.CalcNormalsAndTangents();
}

void BuildSphere(CMesh& mesh, const SSphereShape& shape)
{
    mesh.Clear();
    mesh.AddCluster();
    const int a = shape.rings, b = shape.segments;
    mesh.m_vertices.reserve(size_t(a + 1) * size_t(b - 1) + 2);
    mesh.m_faces.reserve(size_t(a) * size_t(b));
    NewVertex(mesh, 0, 0.5f, 0, 0.5f, 0);
    NewVertex(mesh, 0, -0.5f, 0, 0.5f, 1);
    for (int k = 0; k <= b - 2; ++k) {
        const float theta = (float(k) + 0.5f) * Pi / float(b - 1);
        for (int j = 0; j <= a; ++j) {
            const float phi = j == a ? 0.0f : float(j) * TwoPi / float(a);
            NewVertex(mesh, -0.5f * std::sin(theta) * std::sin(phi), 0.5f * std::cos(theta),
                      -0.5f * std::sin(theta) * std::cos(phi), 1 - float(j) / float(a),
                      (float(k) + 0.5f) / float(b - 1));
        }
    }
    auto at = [&](int k, int j) { return 2 + k * (a + 1) + j; };
    for (int k = 0; k <= b - 3; ++k)
        for (int j = 0; j < a; ++j)
            AddQuad(mesh, at(k, j), at(k + 1, j), at(k + 1, j + 1), at(k, j + 1));
    for (int j = 0; j < a; ++j) {
        AddTriangle(mesh, 0, at(0, j), at(0, j + 1), 1.0f);
        AddTriangle(mesh, 1, at(b - 2, j + 1), at(b - 2, j), 1.0f);
    }
    const float d = 2 * shape.radius;
    const float s = std::sin(Pi), c = std::cos(Pi);
    mesh.Transform(Placing({c * d, 0, -s * d}, {0, d, 0}, {s * d, 0, c * d}, {0, 0, 0}));
    // All normals are still equal here, so the seam columns merge by position.
    mesh.CalcNormalsAndTangents();
    if (std::fabs(shape.scaleU - 1) > 1e-5f || std::fabs(shape.scaleV - 1) > 1e-5f)
        ScaleUv(mesh, shape.scaleU, shape.scaleV);
}

void BuildCylinder(CMesh& mesh, const SCylinderShape& shape)
{
    mesh.Clear();
    mesh.AddCluster();
    const int n = shape.segments, slices = shape.slices;
    const float top = shape.radiusScaleTop, bottom = shape.radiusScaleBottom;
    const bool dropTop = !shape.capped || std::fabs(top) <= 1e-5f;
    const bool dropBottom = !shape.capped || std::fabs(bottom) <= 1e-5f;
    const int q = shape.rings + 1;
    const int rows = slices + 2 + 2 * q; // T
    mesh.m_vertices.reserve(2 + size_t(rows - 1) * size_t(n + 1));
    NewVertex(mesh, 0, 1, 0, 0.5f, 0.5f);
    NewVertex(mesh, 0, 0, 0, 0.5f, 0.5f);
    // The third field of the normal key keeps the caps and the wall apart in
    // the surface map, so the rims stay hard.
    auto ring = [&](float rho, float y, float f, float key, int uvMode) {
        for (int j = 0; j <= n; ++j) {
            const float a = j == n ? 0.0f : float(j) * TwoPi / float(n);
            const float px = std::sin(a) * rho, pz = std::cos(a) * rho;
            float u, v;
            if (uvMode == 0) {
                u = px * 0.5f + 0.5f;
                v = 0.5f - pz * 0.5f;
            } else if (uvMode == 1) {
                u = 1 - float(j) / float(n);
                v = f;
            } else {
                u = px * 0.5f + 0.5f;
                v = pz * 0.5f + 0.5f;
            }
            SetNormalKey(NewVertex(mesh, px, y, pz, u, v), a, f, key);
        }
    };
    for (int k = 0; k < q; ++k) {
        const float f = float(k + 1) / float(q);
        ring(f * top, 1, f, 0.1f, 0);
    }
    for (int k = 0; k <= slices; ++k) {
        const float f = float(k) / float(slices);
        ring((1 - f) * top + f * bottom, 1 - f, f, 0.2f, 1);
    }
    for (int k = q; k >= 1; --k) {
        const float f = float(k) / float(q);
        ring(f * bottom, 0, f, 0.3f, 2);
    }
    auto base = [&](int r) { return 2 + r * (n + 1); };
    for (int r = 0; r <= rows - 3; ++r) {
        if (r == q - 1 || r == rows - q - 2)
            continue;
        const bool inTop = r < q, inBottom = r >= rows - q - 2;
        if ((inTop && dropTop) || (inBottom && dropBottom))
            continue;
        const float select = inTop || inBottom ? 1.0f : 0.0f;
        for (int j = 0; j < n; ++j)
            AddQuad(mesh, base(r) + j, base(r) + j + n + 1, base(r) + j + n + 2, base(r) + j + 1, select);
    }
    if (!dropTop)
        for (int j = 0; j < n; ++j)
            AddTriangle(mesh, 0, 2 + j, 3 + j, 1.0f);
    if (!dropBottom) {
        const int b = (rows - 2) * (n + 1);
        for (int j = 0; j < n; ++j)
            AddTriangle(mesh, 1, b + j + 3, b + j + 2, 1.0f);
    }
    if (dropTop || dropBottom)
        mesh.WeldExact();
    mesh.Transform(ScaleTranslate({shape.radius, shape.height, shape.radius},
                                  {0, shape.center ? -shape.height / 2 : 0.0f, 0}));
    mesh.CalcNormalsAndTangents();
}

namespace {

void BuildPlainTorus(CMesh& mesh, const STorusShape& shape)
{
    const int N = shape.subAxis, M = shape.subHeight;
    const float arc = std::clamp(shape.arc, 0.0f, 1.0f);
    const bool open = arc < 1.0f;
    mesh.m_vertices.reserve(size_t(M + 1) * size_t(N + 1) + (open ? 2 * size_t(M + 2) : 0));
    auto thetaOf = [&](int i) { return shape.phase * TwoPi + (i == M ? 0.0f : float(i) / float(M) * TwoPi); };
    for (int i = 0; i <= M; ++i) {
        const float theta = thetaOf(i);
        for (int j = 0; j <= N; ++j) {
            const float phi = (j == N && !open) ? 0.0f : float(j) / float(N) * TwoPi * arc;
            const float rho = shape.radius + std::cos(theta) * shape.thickness;
            CMeshVertexA& v = NewVertex(mesh, -std::cos(phi) * rho, -std::sin(theta) * shape.thickness,
                                        std::sin(phi) * rho, float(i) / float(M) * shape.scaleU,
                                        float(j) / float(N) * shape.scaleV);
            // Keys that repeat at both seams, so the seams come out smooth.
            SetNormalKey(v, phi, theta, 0);
        }
    }
    auto at = [&](int r, int c) { return r * (N + 1) + c; };
    for (int r = 0; r < M; ++r)
        for (int c = 0; c < N; ++c)
            AddQuad(mesh, at(r, c), at(r + 1, c), at(r + 1, c + 1), at(r, c + 1));
    if (!open)
        return;
    for (int s = 0; s < 2; ++s) {
        const float a = float(s) * TwoPi * arc;
        const int centre = int(mesh.m_vertices.size());
        SetNormalKey(NewVertex(mesh, -std::cos(a) * shape.radius, 0, std::sin(a) * shape.radius, shape.scaleU / 2,
                               shape.scaleV / 2),
                     10.0f + float(s), 0, 0);
        for (int k = 0; k <= M; ++k) {
            const float theta = thetaOf(k);
            const float* p = mesh.m_vertices[size_t(at(k, s * N))].position;
            const float px = p[0], py = p[1], pz = p[2];
            SetNormalKey(NewVertex(mesh, px, py, pz, (std::sin(theta) * 0.5f + 0.5f) * shape.scaleU,
                                   (std::cos(theta) * 0.5f + 0.5f) * shape.scaleV),
                         10.0f + float(s), 0, 0);
        }
        for (int k = 0; k < M; ++k) {
            if (s == 0)
                AddTriangle(mesh, centre, centre + 2 + k, centre + 1 + k, 1.0f);
            else
                AddTriangle(mesh, centre, centre + 1 + k, centre + 2 + k, 1.0f);
        }
    }
}

// A tube along a (p, q) torus knot.
void BuildPQTorus(CMesh& mesh, const STorusShape& shape)
{
    const int N = shape.subAxis, M = shape.subHeight;
    mesh.m_vertices.reserve(size_t(M + 1) * size_t(N + 1));
    SVec3 previous = {shape.radius, shape.radius, 0};
    for (int i = 0; i <= N; ++i) {
        const float pa = float(i + 1) * shape.p * TwoPi / float(N);
        const float qa = float(i + 1) * shape.q * TwoPi / float(N);
        const float r = (std::sin(qa) + 2) * 0.5f * shape.radius;
        const SVec3 c = {std::cos(pa) * r, std::cos(qa) * r, std::sin(pa) * r};
        const SVec3 d = c - previous;
        const SVec3 sum = {c.x + previous.x, c.y + previous.y, c.z + previous.z};
        const SVec3 n = Normalize(Cross(d, sum));
        const SVec3 b = Normalize(Cross(n, d));
        previous = c;
        const float ca = float(i) * float(shape.clumps) * TwoPi / float(N) + shape.clumpOffset;
        const float a1 = std::sin(ca) * shape.clumpScale + 1;
        const float a2 = std::cos(ca) * shape.clumpScale + 1;
        for (int j = 0; j <= M; ++j) {
            const float e = float(j) * TwoPi / float(M) + shape.phase * TwoPi;
            const float kb = std::sin(e) * shape.thickness * a1, kn = std::cos(e) * shape.thickness * a2;
            const SVec3 p = {c.x + b.x * kb + n.x * kn, c.y + b.y * kb + n.y * kn, c.z + b.z * kb + n.z * kn};
            CMeshVertexA& v = NewVertex(mesh, p.x, p.y, p.z, (1 - float(j) / float(M)) * shape.scaleU,
                                        float(i) / float(N) * shape.scaleV);
            const SVec3 radial = Normalize(p - c);
            SetNormalKey(v, radial.x, radial.y, radial.z);
        }
    }
    auto at = [&](int i, int j) { return i * (M + 1) + j; };
    for (int r = 0; r < M; ++r)
        for (int c = 0; c < N; ++c)
            AddQuad(mesh, at(c + 1, r), at(c + 1, r + 1), at(c, r + 1), at(c, r));
}

} // namespace

void BuildTorus(CMesh& mesh, const STorusShape& shape)
{
    mesh.Clear();
    mesh.AddCluster();
    if (shape.isPQ)
        BuildPQTorus(mesh, shape);
    else
        BuildPlainTorus(mesh, shape);
    mesh.CalcNormalsAndTangents();
}
