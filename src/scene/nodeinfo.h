#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class CNode;
class CPort;

// The descriptor of a node type: how to make one, and the prototypes of its
// ports, which every node of the type clones. Lives to the end of the program.
class CNodeInfo
{
public:
    using CreateFunction = CNode* (*)();

    CNodeInfo(int group, std::string_view name, CreateFunction create);
    ~CNodeInfo();
    CNodeInfo(const CNodeInfo&) = delete;
    CNodeInfo& operator=(const CNodeInfo&) = delete;

    // Append a prototype; the order of ports is part of the type's contract.
    // Return the port so that declarations can add choice names to it.
    template <class TPort>
    TPort* AddInPort(std::unique_ptr<TPort> port)
    {
        return static_cast<TPort*>(AddPort(std::move(port), true));
    }
    template <class TPort>
    TPort* AddOutPort(std::unique_ptr<TPort> port)
    {
        return static_cast<TPort*>(AddPort(std::move(port), false));
    }

    CreateFunction m_create;
    int m_group;
    std::string m_name;
    std::string m_desc;
    std::vector<std::unique_ptr<CPort>> m_inPorts;
    std::vector<std::unique_ptr<CPort>> m_outPorts;
    // False for a class evaluated on every pull, so that a "(Local)" reader
    // sees it anew for each element.
    bool m_updateOnce = true;
    // Points the members of a new node at its ports; empty for a class that
    // looks its ports up by name in Init.
    std::function<void(CNode& node)> m_bindPorts;

private:
    CPort* AddPort(std::unique_ptr<CPort> port, bool isInput);
};

// Group numbers of the catalogue.
enum ENodeGroup : int
{
    NG_RenderChain = 1,
    NG_Objects = 2,
    NG_Meshes = 3,
    NG_Textures = 4,
    NG_Effects = 5,
    NG_Colours = 6,
    NG_Values = 7,
    NG_Games = 8,
    NG_Sound = 9,
    NG_Vectors = 10,
    NG_Simulations = 11,
    NG_SceneLinks = 12,
};
