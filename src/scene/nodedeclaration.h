#pragma once

#include <memory>
#include <span>

class CNodeInfo;

// Keeps the descriptor of a node class, built by a static initialiser in the
// class's source file before main runs:
//
//     static const bool s_declared = DeclareNodeType(DeclareSinNode());
//
// The factory adds declared types in its own fixed order when it starts.
bool DeclareNodeType(std::unique_ptr<CNodeInfo> info);

std::span<CNodeInfo* const> DeclaredNodeTypes();
