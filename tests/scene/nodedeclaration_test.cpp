#include "scene/nodedeclaration.h"
#include "scene/nodefactory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Ports that two node classes could share.
struct SLevelPorts
{
    CPortFloat* m_level = nullptr;
    CPortFloat* m_out = nullptr;
};

// A base class that declares its own port for every class derived from it.
class CTableBase : public CNode
{
public:
    static TPorts<CTableBase> Ports() { return In(&CTableBase::m_enabled, "Enabled", "drawn", true); }

    CPortBool* m_enabled = nullptr;
};

// A node with a row of every form a table has.
class CTableNode : public CTableBase
{
public:
    CPortInt* m_mode = nullptr;
    std::array<CPortFloat*, 3> m_inputs{};
    std::array<CPortColor*, 2> m_colors{};
    CPortTexture* m_texture = nullptr;
    SLevelPorts m_level;
    std::array<CPortRender*, 2> m_renders{};
};

CNodeDeclaration DeclareTable()
{
    const TPorts<SLevelPorts> level = {
        In(&SLevelPorts::m_level, "Level", "how much", {0.5f, 0.1f, 0.0f, 1.0f}),
        Out(&SLevelPorts::m_out, "Out", "the level", {0.0f, 0.1f, 0.0f, 1.0f}),
    };
    return {EEvaluation::EveryPull,
            {
                Inherited<CTableNode>(CTableBase::Ports()),
                In(&CTableNode::m_mode, "Mode", "how", {1, 0, 3, {{2, "Two"}, {0, "Zero"}}}),
                InEach(&CTableNode::m_inputs, "In", "123", "Input in#", {0.5f, 0.1f, 0.0f, 2.0f}),
                In(&CTableNode::m_colors, 1, "Second", "drawn last", {{1, 0, 0, 1}}),
                In(&CTableNode::m_colors, 0, "First", "drawn first", {{0, 0, 1, 1}}),
                In(&CTableNode::m_texture, "Texture", "picture"),
                Within(&CTableNode::m_level, level),
                Out(&CTableNode::m_renders, 1, "Back", "drawn after"),
                Out(&CTableNode::m_renders, 0, "Front", "drawn before"),
            }};
}

std::vector<std::string> Names(const std::vector<std::unique_ptr<CPort>>& ports)
{
    std::vector<std::string> names;
    for (const auto& port : ports)
        names.push_back(port->m_name + ":" + port->m_desc);
    return names;
}

} // namespace

TEST(NodeDeclaration, MakesThePrototypesInRowOrderAndBindsEveryMemberOfANewNode)
{
    const std::unique_ptr<CNodeInfo> info = DeclareTable().MakeInfo(NG_Values, "Table", "Every form of row");
    EXPECT_EQ(info->m_name, "Table");
    EXPECT_EQ(info->m_group, NG_Values);
    EXPECT_EQ(info->m_desc, "Every form of row");
    EXPECT_EQ(Names(info->m_inPorts),
              (std::vector<std::string>{"Enabled:drawn", "Mode:how", "In1:Input in1", "In2:Input in2", "In3:Input in3",
                                        "Second:drawn last", "First:drawn first", "Texture:picture",
                                        "Level:how much"}));
    EXPECT_EQ(Names(info->m_outPorts),
              (std::vector<std::string>{"Out:the level", "Back:drawn after", "Front:drawn before"}));
    EXPECT_TRUE(info->m_inPorts[0]->m_isInput);
    EXPECT_FALSE(info->m_outPorts[0]->m_isInput);
    info->m_inPorts[1]->SetValue("two");
    EXPECT_EQ(info->m_inPorts[1]->GetValue(), "2") << "choices are names of the Int port";

    CNodeFactory* factory = CNodeFactory::Get();
    factory->Add(info.get());
    const std::unique_ptr<CNode> made = factory->Create("Table");
    factory->Release();
    auto* node = dynamic_cast<CTableNode*>(made.get());
    ASSERT_NE(node, nullptr) << "the class that declared the rows";
    EXPECT_FALSE(node->m_updateOnce);
    EXPECT_EQ(node->m_enabled, node->GetInPort("Enabled"));
    EXPECT_EQ(node->m_mode, node->GetInPort("Mode"));
    for (size_t i = 0; i < 3; ++i)
        EXPECT_EQ(node->m_inputs[i], node->GetInPort("In" + std::to_string(i + 1)));
    EXPECT_EQ(node->m_colors[0], node->GetInPort("First"));
    EXPECT_EQ(node->m_colors[1], node->GetInPort("Second"));
    EXPECT_EQ(node->m_colors[1]->m_value, (CPortColor::Rgba{1, 0, 0, 1}));
    EXPECT_EQ(node->m_texture, node->GetInPort("Texture"));
    EXPECT_EQ(node->m_level.m_level, node->GetInPort("Level"));
    EXPECT_EQ(node->m_level.m_out, node->GetOutPort("Out"));
    EXPECT_EQ(node->m_renders[0], node->GetOutPort("Front"));
    EXPECT_EQ(node->m_renders[1], node->GetOutPort("Back"));
    EXPECT_NE(node->m_inputs[0], info->m_inPorts[2].get()) << "bound to the node's own ports";
}
