#pragma once

#include "scene/nodefactory.h"

#include <span>

// Every node type of the catalogue from nodetypes.def, built or planned, in
// the order of their catalogue positions. The factory takes it in Init.
std::span<const SNodeType> NodeTypes();
