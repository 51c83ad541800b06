#include "expression/valuelist.h"

#include "expression/exception.h"

namespace ExprEval {

ValueListItem::ValueListItem(std::string name, bool constant, double value)
    : m_name(std::move(name)), m_constant(constant), m_value(value), m_address(nullptr), m_default(value)
{
}

ValueListItem::ValueListItem(std::string name, double* address, double defaultValue)
    : m_name(std::move(name)), m_constant(false), m_value(0.0), m_address(address), m_default(defaultValue)
{
    *m_address = defaultValue;
}

const ValueListItem* ValueList::Find(std::string_view name) const
{
    auto it = m_index.find(name);
    return it == m_index.end() ? nullptr : it->second;
}

void ValueList::Insert(std::unique_ptr<ValueListItem> item)
{
    m_items.reserve(m_items.size() + 1);
    // The key views the item's own name, which lives as long as the item.
    m_index.emplace(item->GetName(), item.get());
    m_items.push_back(std::move(item));
}

void ValueList::Add(std::string_view name, bool constant, double value)
{
    if (Find(name))
        throw AlreadyExistsException(std::string(name));
    Insert(std::make_unique<ValueListItem>(std::string(name), constant, value));
}

void ValueList::AddAddress(std::string_view name, double* address, double defaultValue)
{
    if (Find(name))
        throw AlreadyExistsException(std::string(name));
    if (!address)
        throw NullPointerException("ValueList::AddAddress");
    Insert(std::make_unique<ValueListItem>(std::string(name), address, defaultValue));
}

double* ValueList::GetAddress(std::string_view name)
{
    auto it = m_index.find(name);
    return it == m_index.end() ? nullptr : it->second->GetAddress();
}

bool ValueList::IsConstant(std::string_view name) const
{
    const ValueListItem* item = Find(name);
    return item && item->IsConstant();
}

void ValueList::Reset()
{
    for (auto& item : m_items)
        item->Reset();
}

void ValueList::AddDefaultValues()
{
    Add("E", true, 2.718281828459045);
    Add("PI", true, 3.141592653589793);
}

void ValueList::Clear()
{
    m_index.clear();
    m_items.clear();
}

} // namespace ExprEval
