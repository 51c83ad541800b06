#pragma once

#include "scene/node.h"
#include "scene/nodeinfo.h"

#include <memory>
#include <string_view>

// What a node class tells of its type; the node type list adds the name and
// the catalogue group.
class CNodeDeclaration
{
public:
    // A descriptor built by the class itself, whose name and group are taken
    // from the list.
    explicit CNodeDeclaration(std::unique_ptr<CNodeInfo> info) : m_info(std::move(info)) {}

    // The descriptor of the type `name` in catalogue group `group`.
    std::unique_ptr<CNodeInfo> MakeInfo(int group, std::string_view name);

private:
    std::unique_ptr<CNodeInfo> m_info;
};
