#pragma once

#include "expression/functionnode.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ExprEval {

class Expression;

// Makes the parse node of one named function.
class FunctionFactory
{
public:
    virtual ~FunctionFactory() = default;
    virtual std::string GetName() const = 0;
    virtual std::unique_ptr<FunctionNode> CreateNode(Expression* expression) = 0;
};

// The functions an expression may call, by unique, case-sensitive name.
class FunctionList
{
public:
    FunctionList() = default;
    FunctionList(const FunctionList&) = delete;
    FunctionList& operator=(const FunctionList&) = delete;
    ~FunctionList();

    void Add(std::unique_ptr<FunctionFactory> factory);
    // Null for an unknown name or a factory that makes nothing.
    std::unique_ptr<FunctionNode> Create(std::string_view name, Expression* expression);
    // The mathematical and logical functions every expression has.
    void AddDefaultFunctions();

    size_t GetCount() const { return m_factories.size(); }
    const std::string& GetName(size_t index) const { return m_names[index]; }

private:
    std::vector<std::unique_ptr<FunctionFactory>> m_factories;
    std::vector<std::string> m_names;
    std::unordered_map<std::string, FunctionFactory*> m_index;
};

} // namespace ExprEval
