#include "ports/types/dataports.h"
#include "ports/types/portstring.h"
#include "render/render.h"
#include "scene/scenecontext.h"
#include "support/logcapture.h"
#include "testnodes.h"

#include <QXmlStreamReader>
#include <QXmlStreamWriter>
#include <gtest/gtest.h>

namespace {

class Graph : public ::testing::Test
{
protected:
    void SetUp() override { CSumNode::s_journal = &m_journal; }
    void TearDown() override { CSumNode::s_journal = nullptr; }

    template <class TNode = CSumNode>
    TNode* Add(const char* name)
    {
        const CNodeInfo& info = std::is_same_v<TNode, CSumNode> ? *m_cached : *m_uncached;
        auto node = MakeNode<TNode>(info, name);
        TNode* raw = node.get();
        m_nodes.push_back(std::move(node));
        return raw;
    }

    // One graph update as a scene runs it: clear, pull the root, clear the
    // change flags of what was reached.
    void Frame(CNode* root, float time = 0.0f, bool clearFlags = true)
    {
        m_journal.clear();
        for (auto& node : m_nodes)
            node->m_updated = false;
        root->Pull(&m_context, time);
        for (auto& node : m_nodes) {
            if (clearFlags && node->m_updated)
                node->ClearChangedFlags();
        }
    }

    std::unique_ptr<CNodeInfo> m_cached = MakeSumInfo("Sum");
    std::unique_ptr<CNodeInfo> m_uncached = MakeSumInfo<CUncachedSumNode>("UncachedSum");
    std::vector<std::unique_ptr<CNode>> m_nodes;
    std::vector<std::string> m_journal;
    CSceneContext m_context;
};

using Journal = std::vector<std::string>;

} // namespace

TEST_F(Graph, PullEvaluatesDepthFirstOncePerFrameAndSkipsUnreachedNodes)
{
    auto* root = Add("root");
    auto* a = Add("a");
    auto* b = Add("b");
    auto* c = Add("c");
    auto* unreached = Add("unreached");
    b->m_bias->m_value = 2.0f;
    c->m_bias->m_value = 5.0f;
    ASSERT_TRUE(a->Connect("A", b, "Out"));
    ASSERT_TRUE(root->Connect("A", a, "Out"));
    ASSERT_TRUE(root->Connect("B", b, "Out")); // b is read twice but cached
    ASSERT_TRUE(root->Connect("Bias", c, "Out"));
    ASSERT_TRUE(unreached->Connect("A", c, "Out"));

    Frame(root);
    EXPECT_EQ(m_journal, (Journal{"root", "a", "b", "c"}));
    EXPECT_FLOAT_EQ(root->m_out->m_value, 2.0f + 2.0f + 5.0f);
    EXPECT_FALSE(unreached->m_updated);
    EXPECT_TRUE(unreached->m_a->m_changed) << "ports of unreached nodes keep their flags";

    // Nothing changed since: the flags stay down, yet every node is evaluated again.
    Frame(root);
    EXPECT_EQ(m_journal, (Journal{"root", "a", "b", "c"}));
    EXPECT_FALSE(root->UpdateInPorts(0.0f));

    // A change at a leaf travels along the connections to the root.
    b->m_bias->m_value = 3.0f;
    Frame(root, 0.0f, false);
    EXPECT_TRUE(a->m_a->m_changed);
    EXPECT_TRUE(root->m_b->m_changed);
    EXPECT_FALSE(root->m_bias->m_changed);
    EXPECT_FLOAT_EQ(root->m_out->m_value, 3.0f + 3.0f + 5.0f);
}

TEST_F(Graph, UncachedNodeIsEvaluatedOnEveryPullWithTheCallersTime)
{
    auto* root = Add("root");
    auto* wave = Add<CUncachedSumNode>("wave");
    auto* constant = Add("constant");
    ASSERT_TRUE(root->Connect("A", wave, "Out"));
    ASSERT_TRUE(root->Connect("B", wave, "Out"));
    ASSERT_TRUE(root->Connect("Bias", constant, "Out"));
    Frame(root, 7.0f);
    EXPECT_EQ(m_journal, (Journal{"root", "wave", "wave", "constant"}));

    // Evaluating a port per element hands the element's position through.
    for (float position : {0.0f, 0.5f, 1.0f}) {
        root->m_a->Update(position);
        EXPECT_FLOAT_EQ(wave->m_lastTime, position);
        root->m_bias->Update(position);
    }
    EXPECT_FLOAT_EQ(constant->m_lastTime, 7.0f) << "a cached node keeps this frame's value";
}

TEST_F(Graph, ConnectReplacesDisconnectsAndReportsBadEnds)
{
    auto* consumer = Add("consumer");
    auto* first = Add("first");
    auto* second = Add("second");
    ASSERT_TRUE(consumer->Connect("A", first, "Out"));
    ASSERT_TRUE(consumer->Connect("A", second, "Out"));
    EXPECT_TRUE(first->m_out->m_connections.empty());
    ASSERT_EQ(second->m_out->m_connections.size(), 1u);
    EXPECT_EQ(consumer->m_a->GetConnectedNode(), second);

    ASSERT_TRUE(consumer->Connect("B", second, "Out"));
    EXPECT_EQ(second->m_out->m_connections.size(), 2u);
    consumer->DisconnectFrom(second);
    EXPECT_TRUE(second->m_out->m_connections.empty());
    EXPECT_EQ(consumer->m_a->GetConnectedNode(), nullptr);
    EXPECT_EQ(consumer->m_b->GetConnectedNode(), nullptr);

    // An unconnected value port keeps its own value.
    consumer->m_a->m_value = 4.0f;
    Frame(consumer);
    EXPECT_FLOAT_EQ(consumer->m_out->m_value, 4.0f);

    CLogCapture log;
    EXPECT_FALSE(consumer->Connect("A", nullptr, "Out"));
    EXPECT_FALSE(consumer->Connect("Nope", first, "Out"));
    EXPECT_FALSE(consumer->Connect("A", first, "Nope"));
    EXPECT_EQ(log.Messages(), (Journal{"!ERROR! : Connection node is null (A -> Out)",
                                       "!ERROR! : Unknown in port (Nope -> Out)",
                                       "!ERROR! : Unknown out port (A -> Nope)"}));
    EXPECT_EQ(consumer->m_a->GetConnectedNode(), nullptr);

    // A node that goes leaves no port pointing at it.
    auto source = MakeNode<CSumNode>(*m_cached, "source");
    ASSERT_TRUE(consumer->Connect("A", source.get(), "Out"));
    source.reset();
    EXPECT_TRUE(consumer->m_a->m_connections.empty());
}

TEST_F(Graph, CycleThroughCachedNodeReadsLastFramesValue)
{
    auto* accumulator = Add("accumulator");
    auto* feedback = Add("feedback");
    accumulator->m_bias->m_value = 1.0f;
    ASSERT_TRUE(accumulator->Connect("A", feedback, "Out"));
    ASSERT_TRUE(feedback->Connect("A", accumulator, "Out"));

    std::vector<float> totals;
    for (int frame = 0; frame < 4; ++frame) {
        Frame(accumulator);
        totals.push_back(accumulator->m_out->m_value);
    }
    // feedback reads accumulator's output of the frame before.
    EXPECT_EQ(totals, (std::vector<float>{1.0f, 2.0f, 3.0f, 4.0f}));
}

TEST_F(Graph, CycleOfUncachedNodesIsRefused)
{
    auto* x = Add<CUncachedSumNode>("x");
    auto* y = Add<CUncachedSumNode>("y");
    auto* z = Add<CUncachedSumNode>("z");
    auto* cached = Add("cached");
    ASSERT_TRUE(x->Connect("A", y, "Out"));
    ASSERT_TRUE(y->Connect("A", z, "Out"));

    CLogCapture log;
    EXPECT_FALSE(z->Connect("A", x, "Out"));
    EXPECT_FALSE(x->Connect("B", x, "Out")) << "a node reading itself";
    EXPECT_TRUE(log.Contains("(A -> Out)"));
    EXPECT_EQ(z->m_a->GetConnectedNode(), nullptr);

    // A cached node in the loop bounds it.
    ASSERT_TRUE(z->Connect("A", cached, "Out"));
    ASSERT_TRUE(cached->Connect("A", x, "Out"));
    Frame(x);
    EXPECT_EQ(m_journal, (Journal{"x", "y", "z", "cached", "x", "y", "z"}));
}

TEST_F(Graph, VeryDeepChainStopsInsteadOfOverflowingTheStack)
{
    CLogCapture log;
    const int length = CNode::MaxPullDepth * 4;
    CSumNode* previous = Add<CUncachedSumNode>("0");
    CNode* root = previous;
    for (int i = 1; i < length; ++i) {
        auto* node = Add<CUncachedSumNode>("n");
        ASSERT_TRUE(previous->Connect("A", node, "Out"));
        previous = node;
    }
    Frame(root);
    EXPECT_EQ(m_journal.size(), size_t(CNode::MaxPullDepth));
    EXPECT_TRUE(log.Contains("deeper than"));
}

TEST_F(Graph, FirstPullMakesDeviceResourcesOnceUntilMarkedDirtyAgain)
{
    auto* node = Add("node");
    CRender render;
    Frame(node);
    EXPECT_EQ(node->m_restores, 0) << "no render, no device resources";

    m_context.m_render = &render;
    Frame(node);
    Frame(node);
    EXPECT_EQ(node->m_restores, 1);
    EXPECT_EQ(node->m_invalidates, 1);
    EXPECT_EQ(node->m_deviceDirty, 0xFFFFFFFEu);

    node->m_deviceDirty = 0xFFFFFFFFu;
    Frame(node);
    EXPECT_EQ(node->m_restores, 2);
}

namespace {

std::string SerializeNode(CNode& node)
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    node.Serialize(&writer);
    return xml.toStdString();
}

// Reads `xml` into `node` and returns what follows the node's element.
std::string DeserializeNode(CNode& node, const std::string& xml)
{
    QXmlStreamReader reader(QByteArray::fromStdString("<Nodes>" + xml + "<After/></Nodes>"));
    reader.readNextStartElement();
    reader.readNextStartElement();
    node.Deserialize(&reader);
    reader.readNextStartElement();
    return reader.name().toString().toStdString();
}

} // namespace

TEST_F(Graph, StoredFormKeepsValuePortsAndSurvivesUnknownContent)
{
    auto* node = Add("Adder");
    node->m_a->m_value = 1.5f;
    node->m_bias->m_value = -3.0f;
    const std::string xml = SerializeNode(*node);
    EXPECT_EQ(xml, "<Node Type=\"Sum\" Name=\"Adder\"><Port Id=\"A\" Value=\"1.5\"/><Port Id=\"B\" Value=\"0\"/>"
                   "<Port Id=\"Bias\" Value=\"-3\"/></Node>");

    auto* copy = Add("copy");
    EXPECT_EQ(DeserializeNode(*copy, xml), "After");
    EXPECT_EQ(copy->m_name, "Adder");
    EXPECT_FLOAT_EQ(copy->m_a->m_value, 1.5f);
    EXPECT_FLOAT_EQ(copy->m_bias->m_value, -3.0f);

    // Ports that no longer exist, elements of other kinds and missing ports.
    auto* tolerant = Add("tolerant");
    EXPECT_EQ(DeserializeNode(*tolerant, "<Node Type=\"Sum\" Name=\"t\"><Port Id=\"Gone\" Value=\"9\"><X/></Port>"
                                         "<Extra><Port Id=\"A\" Value=\"8\"/></Extra>"
                                         "<Port Id=\"B\" Value=\"2\"/></Node>"),
              "After");
    EXPECT_FLOAT_EQ(tolerant->m_a->m_value, 0.0f);
    EXPECT_FLOAT_EQ(tolerant->m_b->m_value, 2.0f);

    // A node with only data ports is an empty element with its two attributes.
    CNodeInfo dataInfo(NG_RenderChain, "DataOnly", [] { return new CNode; });
    dataInfo.AddInPort(std::make_unique<CPortRender>("Render", "chain"));
    dataInfo.AddInPort(std::make_unique<CPortTexture>("Texture", "texture"));
    auto data = MakeNode<CNode>(dataInfo, "d");
    EXPECT_EQ(SerializeNode(*data), "<Node Type=\"DataOnly\" Name=\"d\"/>");
}
