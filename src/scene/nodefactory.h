#pragma once

#include "scene/singleton.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class CNode;
class CNodeDeclaration;
class CNodeInfo;
class CScriptEngine;
struct CSceneContext;
class QXmlStreamWriter;

// One entry of the node type list: the type's place in the catalogue, its
// name, group and description, and the declaration of its class; null for a
// type of the catalogue that is not built yet.
struct SNodeType
{
    int m_position;
    std::string_view m_name;
    int m_group;
    std::string_view m_desc;
    CNodeDeclaration (*m_declare)();
};

// Knows every node type by name, makes nodes, and lists the catalogue for the
// editor ("NodeTypesGet").
class CNodeFactory : public CSingleton<CNodeFactory>
{
public:
    // Adds the built types of the list in the order of their catalogue
    // positions, once; a second call does nothing.
    void Init(std::span<const SNodeType> types);
    // Refuses null and a name that is already there.
    void Add(CNodeInfo* info);
    // A node of the type with its ports, initialised; null for an unknown type.
    std::unique_ptr<CNode> Create(std::string_view type, CSceneContext* context = nullptr);

    const CNodeInfo* FindNodeInfo(std::string_view type) const;
    const std::vector<CNodeInfo*>& GetNodeInfos() const { return m_nodeInfos; }

    // The "NodeTypes" element listing every type with its port descriptions.
    void SerializeNodeTypes(QXmlStreamWriter* writer) const;
    std::string GetNodeTypesXml() const;

private:
    friend class CSingleton<CNodeFactory>;
    CNodeFactory();
    ~CNodeFactory() override;

    std::vector<CNodeInfo*> m_nodeInfos;
    // The descriptors made by Init, which live as long as the factory.
    std::vector<std::unique_ptr<CNodeInfo>> m_declared;
    bool m_initialized = false;
    // Answers "NodeTypesGet" for the editor.
    CScriptEngine* m_scriptEngine;
};
