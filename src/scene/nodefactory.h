#pragma once

#include "scene/singleton.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class CNode;
class CNodeInfo;
class QXmlStreamWriter;

// Knows every node type by name, makes nodes, and lists the catalogue for the
// editor ("NodeTypesGet").
class CNodeFactory : public CSingleton<CNodeFactory>
{
public:
    // Adds all declared node types in the fixed order, once.
    void Init();
    // Refuses null and a name that is already there.
    void Add(CNodeInfo* info);
    // Adds those of `infos` whose names stand in the fixed order, in that
    // order; any other declaration is refused with an error.
    void AddInOrder(std::span<CNodeInfo* const> infos);
    // A node of the type with its ports, initialised; null for an unknown type.
    std::unique_ptr<CNode> Create(std::string_view type);

    const CNodeInfo* FindNodeInfo(std::string_view type) const;
    const std::vector<CNodeInfo*>& GetNodeInfos() const { return m_nodeInfos; }

    // The "NodeTypes" element listing every type with its port descriptions.
    void SerializeNodeTypes(QXmlStreamWriter* writer) const;
    std::string GetNodeTypesXml() const;

    // The order in which types are registered, listed and looked up.
    static std::span<const std::string_view> FactoryOrder();

private:
    friend class CSingleton<CNodeFactory>;
    CNodeFactory() = default;
    ~CNodeFactory() override = default;

    std::vector<CNodeInfo*> m_nodeInfos;
    bool m_initialized = false;
};
