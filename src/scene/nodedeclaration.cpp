#include "scene/nodedeclaration.h"

std::unique_ptr<CNodeInfo> CNodeDeclaration::MakeInfo(int group, std::string_view name)
{
    m_info->m_group = group;
    m_info->m_name = name;
    return std::move(m_info);
}
