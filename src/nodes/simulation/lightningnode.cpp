#include "nodes/simulation/lightningnode.h"

#include "app/log.h"
#include "render/camera.h"
#include "render/rendertypes.h"
#include "scene/nodedeclaration.h"
#include "scene/renderlist.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <cmath>

namespace {

const char* const kDefaultExpression = "startpos.x = 0;\r\n"
                                       "startpos.y = 1;\r\n"
                                       "startpos.z = 0;\r\n"
                                       "endpos.x = 0;\r\n"
                                       "endpos.y = -1;\r\n"
                                       "endpos.z = 0;\r\n"
                                       "color.r = color.g = color.b = color.a = 1;\r\n"
                                       "boltrandseed = floor(time*10);\r\n";

// Three to the power of n, as a double so that high detail does not wrap.
double Pow3(int n)
{
    return std::pow(3.0, double(n));
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CLightningNode>()
{
    using C = CLightningNode;
    return {
        In(&C::m_numBolts, "NumBolts", "Number of bolts", {1, 1, 10000}),
        In(&C::m_detail, "Detail", "Amount of detail in the bolts", {5, 0, 15}),
        In(&C::m_width, "Width", "Width of the bolt", {0.01f, 0.01f, 0.0f, 10000.0f}),
        In(&C::m_widthReduction, "WidthReduction", "Change in width per detail step", {0.6f, 0.01f, 0.0f, 10000.0f}),
        In(&C::m_jitter, "Jitter", "Amount to randomly jitter the bolts each frame", {0.001f, 0.001f, 0.0f, 10000.0f}),
        In(&C::m_branchChance, "BranchChance",
           "Chance that a branch should be created. 0.0=No branches will be created 1.0=A branch will always be "
           "created at each generation",
           {0.8f, 0.01f, 0.0f, 1.0f}),
        In(&C::m_branchLengthScale, "BranchLengthScale",
           "Scale of each branch compared to the branch full length. 1.0 will create a branch that is equal to the "
           "main path of the bolt",
           {0.75f, 0.01f, 0.0f, 1000.0f}),
        In(&C::m_in1, "In1", "Input value 1", {0.0f, 0.01f, -10000.0f, 10000.0f}),
        In(&C::m_in2, "In2", "Input value 2", {0.0f, 0.01f, -10000.0f, 10000.0f}),
        In(&C::m_in3, "In3", "Input value 3", {0.0f, 0.01f, -10000.0f, 10000.0f}),
        In(&C::m_in4, "In4", "Input value 4", {0.0f, 0.01f, -10000.0f, 10000.0f}),
        In(&C::m_in5, "In5", "Input value 5", {0.0f, 0.01f, -10000.0f, 10000.0f}),
        In(&C::m_randomSeed, "RandomSeed", "Random seed used to generate the bolts", {1, 1, 100000}),
        In(&C::m_expression, "Expression",
           "Expression to be evaluated for each bolt.\nboltnr=the index of the current bolt.\ntime=runtime in "
           "seconds\naspect=window aspect\nOutput values are startpos.x/y/z, endpos.x/y/z, boltrandseed, color.r, "
           "color.g, color.b, color.a.",
           kDefaultExpression),
        In(&C::m_effect, "Effect", "The effect to apply on the bolts"),
        Out(&C::m_objectOut, "Object", "Object"),
    };
}

bool CLightningNode::Init()
{
    m_expressionContext.AddVariable("boltnr", &m_boltNr, 0.0);
    const char* inNames[] = {"in1", "in2", "in3", "in4", "in5"};
    for (int i = 0; i < 5; ++i)
        m_expressionContext.AddVariable(inNames[i], &m_in[i], 0.0);
    m_expressionContext.AddVariable("time", &m_time, 0.0);
    m_expressionContext.AddVariable("aspect", &m_aspect, 1.0);
    const char* startNames[] = {"startpos.x", "startpos.y", "startpos.z"};
    const char* endNames[] = {"endpos.x", "endpos.y", "endpos.z"};
    for (int i = 0; i < 3; ++i) {
        m_expressionContext.AddVariable(startNames[i], &m_start[i], 0.0);
        m_expressionContext.AddVariable(endNames[i], &m_end[i], 0.0);
    }
    const char* colorNames[] = {"color.r", "color.g", "color.b", "color.a"};
    for (int i = 0; i < 4; ++i)
        m_expressionContext.AddVariable(colorNames[i], &m_color[i], 1.0);
    m_expressionContext.AddVariable("boltrandseed", &m_boltRandSeed, 0.0);
    m_expressionContext.BindLists();
    return true;
}

void CLightningNode::SizePools(int bolts, int detail)
{
    // Worst case, a branch at every split: each pass triples the segments.
    const auto paths = size_t((Pow3(detail) * 0.5 + 1.0) * bolts);
    const auto nodes = size_t((Pow3(detail + 1) * 0.5 + 1.0) * bolts);
    // Only grows: resizing to a smaller count would still keep the storage,
    // but growing must happen before any node is linked.
    if (m_paths.size() < paths)
        m_paths.resize(paths);
    if (m_nodes.size() < nodes)
        m_nodes.resize(nodes);
    m_pathCount = 0;
    m_nodeCount = 0;
}

CLightningNode::SBoltNode* CLightningNode::NewNode(float x, float y, float z, float width)
{
    if (m_nodeCount >= int(m_nodes.size()))
        return nullptr;
    SBoltNode& n = m_nodes[size_t(m_nodeCount++)];
    n = SBoltNode{nullptr, nullptr, x, y, z, width};
    return &n;
}

CLightningNode::SBoltPath* CLightningNode::NewPath(const SBoltNode& start, const SBoltNode& end, float width,
                                                   float strength, const std::array<float, 4>& color)
{
    if (m_pathCount >= int(m_paths.size()) || m_nodeCount + 2 > int(m_nodes.size()))
        return nullptr;
    SBoltNode* a = NewNode(start.x, start.y, start.z, width);
    SBoltNode* b = NewNode(end.x, end.y, end.z, width);
    a->next = b;
    b->previous = a;
    SBoltPath& p = m_paths[size_t(m_pathCount++)];
    p = SBoltPath{strength, a, b, 2, color};
    return &p;
}

void CLightningNode::Subdivide(int firstPath, int detail)
{
    const float jitter = m_jitter->m_value;
    const float chance = m_branchChance->m_value;
    const float lengthScale = m_branchLengthScale->m_value;
    const float reduction = m_widthReduction->m_value;
    float a = 0.25f;
    for (int pass = 0; pass < detail; ++pass, a *= 0.5f) {
        const int pathsAtStart = m_pathCount;
        for (int pi = firstPath; pi < pathsAtStart; ++pi) {
            SBoltPath& path = m_paths[size_t(pi)];
            for (SBoltNode* p = path.head; p && p->next;) {
                SBoltNode* q = p->next;
                const float w = m_random.NextSigned() * a * 0.1f + 0.5f;
                // The global generator: this is what shimmers from frame to
                // frame while the bolt's seed stands.
                const float jx = g_random.NextSigned() * jitter;
                const float jy = g_random.NextSigned() * jitter;
                const float jz = g_random.NextSigned() * jitter;
                const float s = m_random.NextSigned() * a;
                float ex = q->x - p->x, ey = q->y - p->y;
                const float ez = q->z - p->z;
                const float len = std::sqrt(ex * ex + ey * ey + ez * ez);
                if (len > 0.0f) {
                    ex /= len;
                    ey /= len;
                }
                SBoltNode* m = NewNode((p->x + q->x) * w + jx + s * ey, (p->y + q->y) * w + jy - s * ex,
                                       (p->z + q->z) * w + jz, p->width);
                if (!m)
                    return; // cannot happen with the pools sized for the worst case
                m->previous = p;
                m->next = q;
                p->next = m;
                q->previous = m;
                ++path.nodeCount;

                if (m_random.NextUnit() <= chance) {
                    const float r1 = m_random.NextSigned();
                    const float r2 = m_random.NextSigned();
                    const float r3 = m_random.NextSigned();
                    SBoltNode end{nullptr, nullptr, m->x + (m->x - p->x) * lengthScale + r3 * a * 0.5f,
                                  m->y + (m->y - p->y) * lengthScale + r2 * a * 0.5f,
                                  m->z + (m->z - p->z) * lengthScale + r1 * a * 0.5f, 0.0f};
                    // `path` may not be used after this only if m_paths moved,
                    // which the sizing rules out.
                    NewPath(*m, end, p->width * reduction, path.strength * 0.5f, path.color);
                }
                p = q;
            }
        }
    }
}

void CLightningNode::Update(float time, CSceneContext* context)
{
    m_objectOut->m_value = this;
    UpdateInPorts(time);

    const std::string& text = m_expression->m_value;
    if (!m_parsed || (m_expression->m_changed && text != m_parsedText)) {
        m_expressionContext.Parse(text);
        m_parsedText = text;
        m_parsed = true;
    }
    // A script that does not parse keeps the last bolts.
    if (!m_expressionContext.IsValid())
        return;

    const CPortFloat* inputs[] = {m_in1, m_in2, m_in3, m_in4, m_in5};
    for (int i = 0; i < 5; ++i)
        m_in[i] = inputs[i]->m_value;
    m_time = time;
    if (context)
        m_aspect = context->m_aspect;
    const int seed = m_randomSeed->m_value;
    m_expressionContext.SeedRandom(uint32_t(seed));
    m_boltRandSeed = seed;

    const int bolts = std::clamp(m_numBolts->m_value, 1, 10000);
    int detail = std::clamp(m_detail->m_value, 0, 15);
    // The pools hold the worst case, which triples with each step of
    // detail: beyond a few million nodes the detail is lowered instead of
    // asking for gigabytes.
    constexpr double MaxNodes = 4.0 * 1024 * 1024;
    while (detail > 0 && (Pow3(detail + 1) * 0.5 + 1.0) * bolts > MaxNodes)
        --detail;
    if (detail != std::clamp(m_detail->m_value, 0, 15) && !m_detailCapReported) {
        m_detailCapReported = true;
        Log("Lightning \"%s\": %d bolts at detail %d are too many segments; drawn at detail %d", m_name.c_str(),
            bolts, m_detail->m_value, detail);
    }
    SizePools(bolts, detail);
    m_random.Seed(uint32_t(seed));
    double last = seed;

    for (int i = 1; i <= bolts; ++i) {
        m_boltNr = i;
        m_color[0] = m_color[1] = m_color[2] = m_color[3] = 1.0;
        m_expressionContext.Evaluate();
        if (!m_expressionContext.IsValid())
            break;
        if (m_boltRandSeed != last) {
            last = m_boltRandSeed;
            m_random.Seed(uint32_t(int64_t(m_boltRandSeed)));
        }
        const int firstPath = m_pathCount;
        const SBoltNode start{nullptr, nullptr, float(m_start[0]), float(m_start[1]), float(m_start[2]), 0.0f};
        const SBoltNode end{nullptr, nullptr, float(m_end[0]), float(m_end[1]), float(m_end[2]), 0.0f};
        const std::array<float, 4> color{float(m_color[0]), float(m_color[1]), float(m_color[2]), float(m_color[3])};
        if (!NewPath(start, end, m_width->m_value, 1.0f, color))
            break;
        Subdivide(firstPath, detail);
    }
    FillLines(context);
}

void CLightningNode::FillLines(CSceneContext* context)
{
    m_lines.Reset();
    // Reserved for the worst case, so that a frame with more branches than
    // the last does not grow the batcher.
    m_lines.Reserve(int(m_paths.size()), int(m_nodes.size()));
    for (int pi = 0; pi < m_pathCount; ++pi) {
        const SBoltPath& path = m_paths[size_t(pi)];
        const auto& c = path.color;
        const uint32_t packed = PackColor(c[0], c[1], c[2], c[3]);
        CRenderVolumeLines::SVertex* v = m_lines.AddPolyline(path.nodeCount, 1.0f);
        const float step = path.nodeCount > 1 ? 1.0f / float(path.nodeCount - 1) : 0.0f;
        int k = 0;
        for (const SBoltNode* n = path.head; n; n = n->next, ++k)
            v[k] = {n->x, n->y, n->z, packed, n->width, float(k) * step};
    }
    CCamera fallback;
    m_lines.BuildQuads(context && context->m_camera ? *context->m_camera : fallback);
}

bool CLightningNode::RestoreDevice(CRender* render)
{
    return m_lines.RestoreDevice(render);
}

void CLightningNode::InvalidateDevice(CRender* render)
{
    m_lines.InvalidateDevice(render);
}

void CLightningNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    if (m_lines.GetQuadCount() > 0)
        m_lines.AddToRenderList(list, parents, camera, m_effect->m_value);
}
