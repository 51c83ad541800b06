#include "nodes/nodetypes.h"
#include "ports/types/portbool.h"
#include "ports/types/portcolor.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "ports/types/portrect.h"
#include "ports/types/portvector.h"
#include "scene/node.h"
#include "scene/nodeinfo.h"
#include "scene/scene.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <cxxabi.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <typeinfo>
#include <vector>

namespace {

// The class column of the list, by type name.
const std::map<std::string, std::string> kClasses = {
#define LUMORA_NODE_TYPE(position, name, group, nodeClass, desc) {#name, #nodeClass},
#define LUMORA_PLANNED_NODE_TYPE(position, name, group, nodeClass)
#include "nodes/nodetypes.def"
#undef LUMORA_NODE_TYPE
#undef LUMORA_PLANNED_NODE_TYPE
};

std::string ClassName(const CNode& node)
{
    int status = 0;
    char* name = abi::__cxa_demangle(typeid(node).name(), nullptr, nullptr, &status);
    std::string result = status == 0 ? name : typeid(node).name();
    std::free(name);
    return result;
}

// Components between each one's own limits, at fractions that print exactly.
template <class TValues>
std::string Between(const TValues& min, const TValues& max)
{
    constexpr float fractions[] = {0.25f, 0.625f, 0.875f, 0.125f};
    std::string text;
    for (size_t i = 0; i < min.size(); ++i) {
        if (i > 0)
            text += ' ';
        text += std::to_string(min[i] + (max[i] - min[i]) * fractions[i]);
    }
    return text;
}

// A text that gives the port a value other than its default.
std::string OtherValue(CPort& port)
{
    if (auto* flag = dynamic_cast<CPortBool*>(&port))
        return flag->m_value ? "Off" : "On";
    if (auto* number = dynamic_cast<CPortInt*>(&port)) {
        if (number->m_names) {
            for (const auto& [value, name] : *number->m_names) {
                if (value != number->m_value)
                    return name;
            }
        }
        return std::to_string(number->m_value < number->m_max ? number->m_value + 1 : number->m_value - 1);
    }
    if (auto* number = dynamic_cast<CPortFloat*>(&port))
        return std::to_string(number->m_value != number->m_max ? number->m_max : number->m_min);
    if (auto* color = dynamic_cast<CPortColor*>(&port))
        return Between(color->m_min, color->m_max);
    if (auto* vector = dynamic_cast<CPortVector*>(&port))
        return Between(vector->m_min, vector->m_max);
    if (auto* rect = dynamic_cast<CPortRect*>(&port)) {
        return Between(std::array{rect->m_x.m_min, rect->m_y.m_min, rect->m_w.m_min, rect->m_h.m_min},
                       std::array{rect->m_x.m_max, rect->m_y.m_max, rect->m_w.m_max, rect->m_h.m_max});
    }
    return "A text of the port " + port.m_name;
}

class NodeTypes : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_factory = CNodeFactory::Get();
        m_factory->Init(::NodeTypes());
    }
    void TearDown() override { m_factory->Release(); }

    CNodeFactory* m_factory = nullptr;
};

} // namespace

TEST_F(NodeTypes, TheFactoryRegistersTheBuiltTypesOfTheListInCatalogueOrder)
{
    const std::span<const SNodeType> list = ::NodeTypes();
    ASSERT_EQ(list.size(), 83u);
    EXPECT_EQ(list.front().m_name, "SignalGenerator");
    std::set<std::string_view> names;
    std::vector<std::string> built;
    for (size_t i = 0; i < list.size(); ++i) {
        const SNodeType& type = list[i];
        SCOPED_TRACE(type.m_name);
        EXPECT_EQ(type.m_position, int(i + 1));
        EXPECT_TRUE(names.insert(type.m_name).second) << "one row a name";
        EXPECT_TRUE(type.m_group >= NG_RenderChain && type.m_group <= NG_SceneLinks);
        if (type.m_declare)
            built.push_back(std::string(type.m_name) + " " + std::to_string(type.m_group) + " " +
                            kClasses.at(std::string(type.m_name)));
    }

    std::vector<std::string> registered;
    for (const CNodeInfo* info : m_factory->GetNodeInfos()) {
        const std::unique_ptr<CNode> node = m_factory->Create(info->m_name);
        ASSERT_NE(node, nullptr) << info->m_name;
        registered.push_back(info->m_name + " " + std::to_string(info->m_group) + " " + ClassName(*node));
    }
    EXPECT_EQ(registered, built);
}

TEST_F(NodeTypes, EveryBuiltTypeKeepsItsPortValuesThroughASavedScene)
{
    CTempDir dir;
    const std::string file = dir.File("everytype.lmc");
    std::map<std::string, std::string> stored;
    std::vector<std::string> nodes;
    {
        CScene scene;
        for (const SNodeType& type : ::NodeTypes()) {
            if (!type.m_declare)
                continue;
            CNode* node = scene.AddNode(type.m_name);
            ASSERT_NE(node, nullptr) << type.m_name;
            nodes.push_back(node->m_name);
            for (const auto& port : node->m_inPorts) {
                if (!IsValuePortType(port->m_type))
                    continue;
                const std::string path = node->m_name + "." + port->m_name;
                const std::string before = port->GetValue();
                port->SetValue(OtherValue(*port));
                EXPECT_NE(port->GetValue(), before) << path;
                stored[path] = port->GetValue();
            }
        }
        ASSERT_TRUE(scene.Save(file, false));
    }

    CScene loaded;
    ASSERT_TRUE(loaded.Load(file, true));
    for (const std::string& name : nodes)
        EXPECT_NE(loaded.FindNode(name), nullptr) << name;
    for (const auto& [portPath, value] : stored) {
        std::string component;
        CPort* port = loaded.FindInPort(portPath, &component);
        ASSERT_NE(port, nullptr) << portPath;
        EXPECT_EQ(port->GetValue(), value) << portPath;
    }
}
