#include "ports/types/portint.h"
#include "scene/nodefactory.h"
#include "support/logcapture.h"
#include "testnodes.h"

#include <QXmlStreamReader>
#include <gtest/gtest.h>

#include <set>

namespace {

CNode* NewSumNode()
{
    return new CSumNode;
}

// The factory singleton for one test, given back at the end.
class Factory : public ::testing::Test
{
protected:
    void SetUp() override { m_factory = CNodeFactory::Get(); }
    void TearDown() override { m_factory->Release(); }

    CNodeInfo* Declare(const char* name)
    {
        m_infos.push_back(MakeSumInfo(name, NewSumNode));
        return m_infos.back().get();
    }

    std::vector<std::string> ListedTypes() const
    {
        std::vector<std::string> names;
        for (const CNodeInfo* info : m_factory->GetNodeInfos())
            names.push_back(info->m_name);
        return names;
    }

    CNodeFactory* m_factory = nullptr;
    std::vector<std::unique_ptr<CNodeInfo>> m_infos;
};

using Names = std::vector<std::string>;

} // namespace

TEST(FactoryOrder, ListsEachOfThe83TypesOnce)
{
    const auto order = CNodeFactory::FactoryOrder();
    EXPECT_EQ(order.size(), 83u);
    EXPECT_EQ(order.front(), "SignalGenerator");
    EXPECT_EQ(order.back(), "PersistentTexture");
    EXPECT_EQ(std::set<std::string_view>(order.begin(), order.end()).size(), order.size());
}

TEST(Singleton, LivesFromFirstGetToLastRelease)
{
    auto info = MakeSumInfo("Sin", NewSumNode);
    CNodeFactory* first = CNodeFactory::Get();
    CNodeFactory* again = CNodeFactory::Get();
    EXPECT_EQ(first, again);
    first->Add(info.get());
    again->Release();
    EXPECT_EQ(first->GetNodeInfos().size(), 1u) << "one reference is still held";
    first->Release();

    CNodeFactory* fresh = CNodeFactory::Get();
    EXPECT_TRUE(fresh->GetNodeInfos().empty());
    fresh->Release();
}

TEST_F(Factory, RegistersInTheFixedOrderAndRefusesDuplicatesAndStrangers)
{
    CLogCapture log;
    m_factory->AddInOrder(std::vector<CNodeInfo*>{Declare("Cube"), Declare("Bogus"), Declare("Sin"), nullptr,
                                                  Declare("SignalGenerator"), Declare("Sin")});
    EXPECT_EQ(ListedTypes(), (Names{"SignalGenerator", "Sin", "Cube"}));
    EXPECT_EQ(log.Messages(), (Names{"!ERROR! : Node name isn't unique (Sin)",
                                     "!ERROR! : Node type \"Bogus\" has no place in the factory order and is left out"}));
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
    ASSERT_EQ(node->m_inPorts.size(), 4u);
    ASSERT_EQ(node->m_outPorts.size(), 1u);
    const char* expected[] = {"A", "B", "Bias", "Shape"};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(node->m_inPorts[i]->m_name, expected[i]);
        EXPECT_TRUE(node->m_inPorts[i]->m_changed);
        EXPECT_TRUE(node->m_inPorts[i]->m_isInput);
        EXPECT_EQ(node->m_inPorts[i]->m_node, node.get());
    }
    EXPECT_FALSE(node->m_outPorts[0]->m_isInput);
    EXPECT_NE(static_cast<CSumNode*>(node.get())->m_out, nullptr) << "Init ran";

    auto other = m_factory->Create("Sin");
    auto* shape = node->GetInPort<CPortInt>("Shape");
    shape->AddValue(2, "Saw");
    shape->SetValue("saw");
    EXPECT_EQ(shape->m_value, 2);
    EXPECT_EQ(choice->m_value, 0);
    EXPECT_EQ(choice->m_names->size(), 1u);
    auto* otherShape = other->GetInPort<CPortInt>("Shape");
    otherShape->SetValue("saw");
    EXPECT_EQ(otherShape->m_value, 0) << "the other node knows no such name";

    CLogCapture log;
    EXPECT_EQ(m_factory->Create("Nope"), nullptr);
    EXPECT_EQ(log.Messages(), (Names{"!ERROR! : Unknown node: \"Nope\""}));
}

TEST_F(Factory, NodeTypesListingIsWellFormedAndDescribesEveryPort)
{
    CNodeInfo* sin = Declare("Sin");
    auto* choice = sin->AddInPort(std::make_unique<CPortInt>("Shape", "wave \"form\" <1>", 0, 0, 2));
    choice->AddValue(2, "Saw");
    choice->AddValue(0, "Sine");
    choice->AddValue(1, "Square");
    m_factory->AddInOrder(std::vector<CNodeInfo*>{Declare("Cube"), sin});

    QXmlStreamReader reader(QByteArray::fromStdString(m_factory->GetNodeTypesXml()));
    ASSERT_TRUE(reader.readNextStartElement());
    EXPECT_EQ(reader.name(), u"NodeTypes");
    Names types, sinInPorts, choiceNames;
    while (reader.readNextStartElement()) {
        EXPECT_EQ(reader.name(), u"NodeInfo");
        const std::string type = reader.attributes().value("Type").toString().toStdString();
        types.push_back(type);
        EXPECT_EQ(reader.attributes().value("Group"), u"7");
        while (reader.readNextStartElement()) { // InPorts, OutPorts
            const bool inputs = reader.name() == u"InPorts";
            while (reader.readNextStartElement()) { // Port
                const auto attributes = reader.attributes();
                EXPECT_EQ(attributes.value("Input"), inputs ? u"1" : u"0");
                if (type == "Sin" && inputs)
                    sinInPorts.push_back(attributes.value("Name").toString().toStdString());
                if (attributes.value("Name") == u"Shape") {
                    EXPECT_EQ(attributes.value("Desc"), u"wave \"form\" <1>");
                    ASSERT_TRUE(reader.readNextStartElement());
                    EXPECT_EQ(reader.name(), u"Values");
                    while (reader.readNextStartElement()) {
                        choiceNames.push_back(reader.attributes().value("Name").toString().toStdString());
                        reader.skipCurrentElement();
                    }
                }
                reader.skipCurrentElement();
            }
        }
    }
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    EXPECT_EQ(types, (Names{"Sin", "Cube"}));
    EXPECT_EQ(sinInPorts, (Names{"A", "B", "Bias", "Shape"}));
    EXPECT_EQ(choiceNames, (Names{"Sine", "Square", "Saw"}));
}
