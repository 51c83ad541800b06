#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ExprEval {

// One named double: either stored in the item itself or bound to a double of
// the host. The parse tree keeps the address that GetAddress gives.
class ValueListItem
{
public:
    ValueListItem(std::string name, bool constant, double value);
    ValueListItem(std::string name, double* address, double defaultValue);

    const std::string& GetName() const { return m_name; }
    bool IsConstant() const { return m_constant; }
    double GetValue() const { return *GetAddress(); }
    double* GetAddress() { return m_address ? m_address : &m_value; }
    const double* GetAddress() const { return m_address ? m_address : &m_value; }
    void Reset() { *GetAddress() = m_default; }

private:
    std::string m_name;
    bool m_constant;
    double m_value;
    double* m_address;
    double m_default;
};

// The variables and constants an expression may name. Items keep their
// addresses for their whole life, since parse trees point into them.
class ValueList
{
public:
    ValueList() = default;
    ValueList(const ValueList&) = delete;
    ValueList& operator=(const ValueList&) = delete;

    void Add(std::string_view name, bool constant, double value);
    // Binds a host double, which must outlive every expression parsed with
    // this list; the default is written into it at once.
    void AddAddress(std::string_view name, double* address, double defaultValue);

    double* GetAddress(std::string_view name);
    bool IsConstant(std::string_view name) const;

    void Reset();
    void AddDefaultValues();
    void Clear();

    size_t GetCount() const { return m_items.size(); }
    const std::string& GetName(size_t index) const { return m_items[index]->GetName(); }
    double GetValue(size_t index) const { return m_items[index]->GetValue(); }

private:
    const ValueListItem* Find(std::string_view name) const;
    void Insert(std::unique_ptr<ValueListItem> item);

    std::vector<std::unique_ptr<ValueListItem>> m_items;
    // Parsing a long text looks names up many times; an index keeps that
    // linear in the text's length.
    std::unordered_map<std::string_view, ValueListItem*> m_index;
};

} // namespace ExprEval
