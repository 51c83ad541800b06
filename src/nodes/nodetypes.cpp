#include "nodes/nodetypes.h"

#include "scene/node.h"
#include "scene/nodeinfo.h"

// The declarations are defined in the node classes' own source files, so the
// list needs none of their headers.
#define LUMORA_NODE_TYPE(position, name, group, nodeClass, desc)                                                       \
    class nodeClass;                                                                                                   \
    template <>                                                                                                        \
    CNodeDeclaration DeclareNode<nodeClass>();
#define LUMORA_PLANNED_NODE_TYPE(position, name, group, nodeClass)
#include "nodes/nodetypes.def"
#undef LUMORA_NODE_TYPE
#undef LUMORA_PLANNED_NODE_TYPE

namespace {

constexpr SNodeType kNodeTypes[] = {
#define LUMORA_NODE_TYPE(position, name, group, nodeClass, desc) {position, #name, group, desc, &DeclareNode<nodeClass>},
#define LUMORA_PLANNED_NODE_TYPE(position, name, group, nodeClass) {position, #name, group, "", nullptr},
#include "nodes/nodetypes.def"
#undef LUMORA_NODE_TYPE
#undef LUMORA_PLANNED_NODE_TYPE
};

} // namespace

std::span<const SNodeType> NodeTypes()
{
    return kNodeTypes;
}
