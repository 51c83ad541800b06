#include "expression/functionlist.h"

#include "expression/exception.h"
#include "expression/functionnode.h"

namespace ExprEval {

FunctionList::~FunctionList() = default;

void FunctionList::Add(std::unique_ptr<FunctionFactory> factory)
{
    if (!factory)
        throw NullPointerException("FunctionList::Add");
    std::string name = factory->GetName();
    if (m_index.count(name))
        throw AlreadyExistsException(name);
    m_factories.reserve(m_factories.size() + 1);
    m_names.reserve(m_names.size() + 1);
    m_index.emplace(name, factory.get());
    m_names.push_back(std::move(name));
    m_factories.push_back(std::move(factory));
}

std::unique_ptr<FunctionNode> FunctionList::Create(std::string_view name, Expression* expression)
{
    if (!expression)
        throw NullPointerException("FunctionList::Create");
    auto it = m_index.find(std::string(name));
    if (it == m_index.end())
        return nullptr;
    std::unique_ptr<FunctionNode> node = it->second->CreateNode(expression);
    if (node)
        node->m_factory = it->second;
    return node;
}

} // namespace ExprEval
