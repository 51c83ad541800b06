#include "ports/types/portint.h"
#include "scene/nodedeclaration.h"
#include "scene/nodefactory.h"
#include "support/logcapture.h"
#include "testnodes.h"

#include <QXmlStreamReader>
#include <gtest/gtest.h>

#include <span>
#include <string>

namespace {

CNode* NewSumNode()
{
    return new CSumNode;
}

CNodeDeclaration DeclareSum()
{
    return {CSumNode::Ports()};
}

// The factory singleton for one test, given back at the end.
class Factory : public ::testing::Test
{
protected:
    void SetUp() override { m_factory = CNodeFactory::Get(); }
    void TearDown() override { m_factory->Release(); }

    CNodeInfo* Declare(const char* name)
    {
        m_infos.push_back(MakeSumInfo(name));
        return m_infos.back().get();
    }

    CNodeFactory* m_factory = nullptr;
    std::vector<std::unique_ptr<CNodeInfo>> m_infos;
};

using Names = std::vector<std::string>;

} // namespace

TEST(Singleton, TheFactoryLivesFromFirstGetToLastRelease)
{
    auto info = MakeSumInfo("Sin");
    CNodeFactory* first = CNodeFactory::Get();
    EXPECT_EQ(CNodeFactory::Get(), first);
    first->Add(info.get());
    first->Release();
    EXPECT_EQ(first->GetNodeInfos().size(), 1u) << "one reference is still held";
    first->Release();
    CNodeFactory* fresh = CNodeFactory::Get();
    EXPECT_TRUE(fresh->GetNodeInfos().empty());
    fresh->Release();
}

TEST_F(Factory, InitRegistersTheBuiltTypesOfTheListByPositionOnce)
{
    const SNodeType list[] = {
        {14, "Cube", NG_Meshes, "a cube", &DeclareSum},
        {9, "PingPong", NG_Games, "", nullptr},
        {2, "Sin", NG_Values, "a wave", &DeclareSum},
        {1, "SignalGenerator", NG_Values, "waves", &DeclareSum},
        {3, "Sin", NG_Colours, "another wave", &DeclareSum},
    };
    CLogCapture log;
    m_factory->Init(list);
    m_factory->Init(std::span(list, 1));
    Names listed;
    for (const CNodeInfo* info : m_factory->GetNodeInfos())
        listed.push_back(info->m_name + " " + std::to_string(info->m_group) + " " + info->m_desc);
    EXPECT_EQ(listed, (Names{"SignalGenerator 7 waves", "Sin 7 a wave", "Cube 3 a cube"}))
        << "the planned PingPong is not built";
    EXPECT_TRUE(log.Contains("!ERROR! : Node name isn't unique (Sin)"));
    auto cube = m_factory->Create("Cube");
    ASSERT_NE(cube, nullptr);
    EXPECT_STREQ(cube->GetTypeName(), "Cube");
}

TEST_F(Factory, CreatesNodesWithTheirOwnCopiesOfThePorts)
{
    CNodeInfo* info = Declare("Sin");
    auto* choice = info->AddInPort(std::make_unique<CPortInt>("Shape", "wave form", 0, 0, 2));
    choice->AddValue(1, "Square");
    m_factory->Add(info);

    auto node = m_factory->Create("Sin");
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->m_info, info);
    Names ports;
    for (const auto& port : node->m_inPorts) {
        ports.push_back(port->m_name);
        EXPECT_TRUE(port->m_changed && port->m_isInput && port->m_node == node.get()) << port->m_name;
    }
    EXPECT_EQ(ports, (Names{"A", "B", "Bias", "Shape"}));
    EXPECT_NE(static_cast<CSumNode*>(node.get())->m_out, nullptr) << "ports bound";

    // Changing one node's port leaves the prototype and other nodes alone.
    auto other = m_factory->Create("Sin");
    auto* shape = node->GetInPort<CPortInt>("Shape");
    shape->AddValue(2, "Saw");
    shape->SetValue("saw");
    EXPECT_EQ(shape->m_value, 2);
    EXPECT_EQ(choice->m_value, 0);
    EXPECT_EQ(choice->m_names->size(), 1u);
    other->GetInPort("Shape")->SetValue("saw");
    EXPECT_EQ(other->GetInPort("Shape")->GetValue(), "0");

    CLogCapture log;
    EXPECT_EQ(m_factory->Create("Nope"), nullptr);
    EXPECT_EQ(log.Messages(), (Names{"!ERROR! : Unknown node: \"Nope\""}));
}

TEST_F(Factory, NodeTypesListingDescribesEveryPortInCatalogueOrder)
{
    auto* sin = new CNodeInfo(NG_Values, "Sin", NewSumNode);
    m_infos.emplace_back(sin);
    sin->m_desc = "a \"wave\" <1>";
    auto* choice = sin->AddInPort(std::make_unique<CPortInt>("Shape", "form", 0, 0, 2));
    choice->AddValue(2, "Saw");
    choice->AddValue(0, "Sine");
    sin->AddOutPort(std::make_unique<CPortFloat>("Out", "value", 0.0f, 0.1f, -1.0f, 1.0f));
    auto* cube = new CNodeInfo(NG_Meshes, "Cube", NewSumNode);
    m_infos.emplace_back(cube);
    m_factory->Add(sin);
    m_factory->Add(cube);

    const std::string xml = m_factory->GetNodeTypesXml();
    EXPECT_EQ(xml, "<NodeTypes><NodeInfo Type=\"Sin\" Desc=\"a &quot;wave&quot; &lt;1&gt;\" Group=\"7\"><InPorts>"
                   "<Port Type=\"Int\" Name=\"Shape\" Desc=\"form\" Input=\"1\" Value=\"0\" Min=\"0\" Max=\"2\">"
                   "<Values><Value Name=\"Sine\" Value=\"0\"/><Value Name=\"Saw\" Value=\"2\"/></Values></Port>"
                   "</InPorts><OutPorts><Port Type=\"Float\" Name=\"Out\" Desc=\"value\" Input=\"0\" Value=\"0\" "
                   "Min=\"-1\" Max=\"1\" Step=\"0.1\"/></OutPorts></NodeInfo>"
                   "<NodeInfo Type=\"Cube\" Desc=\"\" Group=\"3\"><InPorts/><OutPorts/></NodeInfo></NodeTypes>");
    QXmlStreamReader reader(QByteArray::fromStdString(xml));
    while (!reader.atEnd())
        reader.readNext();
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
}
