#include "scene/nodedeclaration.h"

#include "scene/nodeinfo.h"

#include <vector>

namespace {

struct SDeclarations
{
    std::vector<std::unique_ptr<CNodeInfo>> owned;
    std::vector<CNodeInfo*> list;
};

// Made on first use, since declarations run from static initialisers of other
// files in any order.
SDeclarations& Declarations()
{
    static SDeclarations declarations;
    return declarations;
}

} // namespace

bool DeclareNodeType(std::unique_ptr<CNodeInfo> info)
{
    if (!info)
        return false;
    auto& declarations = Declarations();
    declarations.list.push_back(info.get());
    declarations.owned.push_back(std::move(info));
    return true;
}

std::span<CNodeInfo* const> DeclaredNodeTypes()
{
    return Declarations().list;
}
