#pragma once

#include "ports/types/dataports.h"
#include "ports/types/portbool.h"
#include "ports/types/portcolor.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "ports/types/portrect.h"
#include "ports/types/portstring.h"
#include "ports/types/portvector.h"
#include "scene/node.h"
#include "scene/nodeinfo.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// A node class declares its type as a table: one row per port with its name,
// description and values, and the member of the class that points to the
// port in every node. The rows make the type's prototypes, and SetType binds
// the members of a new node, so a node class looks up nothing by name.
//
//     template <>
//     CNodeDeclaration DeclareNode<CSinNode>()
//     {
//         return {EEvaluation::EveryPull,
//                 {In(&CSinNode::m_min, "Min", "Bottom of the wave", {0.0f, 0.01f, -10000.0f, 10000.0f}),
//                  Out(&CSinNode::m_value, "Value", "The wave", {0.0f, 0.01f, 0.0f, 1.0f})}};
//     }

// A named choice of an Int port.
struct SChoice
{
    int value;
    const char* name;
};

// What each value port takes after its name and description, in the order of
// its constructor. Data ports take nothing.
struct SIntValues
{
    int value;
    int min;
    int max;
    std::vector<SChoice> choices = {};
};

struct SFloatValues
{
    float value;
    float step;
    float min;
    float max;
};

struct SColorValues
{
    CPortColor::Rgba value;
    CPortColor::Rgba min = {0, 0, 0, 0};
    CPortColor::Rgba max = {1, 1, 1, 1};
};

struct SVectorValues
{
    // The same step on every axis and a range of -limit to +limit.
    SVectorValues(const CPortVector::Xyz& initial, float stepEach, float limit);

    CPortVector::Xyz value;
    CPortVector::Xyz step;
    CPortVector::Xyz min;
    CPortVector::Xyz max;
};

// Left, top, right, bottom each.
struct SRectValues
{
    CPortRect::Ltrb value;
    CPortRect::Ltrb step;
    CPortRect::Ltrb min;
    CPortRect::Ltrb max;
};

// The values of each value port class, as the result of a function that is
// only declared; data ports have none.
bool PortValuesOf(const CPortBool*);
SIntValues PortValuesOf(const CPortInt*);
SFloatValues PortValuesOf(const CPortFloat*);
std::string_view PortValuesOf(const CPortString*);
SColorValues PortValuesOf(const CPortColor*);
SVectorValues PortValuesOf(const CPortVector*);
SRectValues PortValuesOf(const CPortRect*);

template <class TPort>
using TValuesOf = decltype(PortValuesOf(static_cast<const TPort*>(nullptr)));

// A prototype of the port class that the values belong to.
std::shared_ptr<const CPort> MakePrototype(std::string_view name, std::string_view desc, bool value);
std::shared_ptr<const CPort> MakePrototype(std::string_view name, std::string_view desc, const SIntValues& values);
std::shared_ptr<const CPort> MakePrototype(std::string_view name, std::string_view desc, const SFloatValues& values);
std::shared_ptr<const CPort> MakePrototype(std::string_view name, std::string_view desc, std::string_view value);
std::shared_ptr<const CPort> MakePrototype(std::string_view name, std::string_view desc, const SColorValues& values);
std::shared_ptr<const CPort> MakePrototype(std::string_view name, std::string_view desc, const SVectorValues& values);
std::shared_ptr<const CPort> MakePrototype(std::string_view name, std::string_view desc, const SRectValues& values);

// A port that carries a pointer within a frame and takes no values.
template <class TPort>
concept DataPort =
    std::derived_from<TPort, CPort> && std::constructible_from<TPort, std::string_view, std::string_view>;

// Rows of a port table whose members belong to TOwner: a node class, or a
// part of one that several node classes share (see Within).
template <class TOwner>
class TPorts
{
public:
    struct SRow
    {
        std::shared_ptr<const CPort> prototype;
        bool input;
        std::function<void(TOwner& owner, CPort& port)> bind;
    };

    TPorts() = default;
    // The rows of each group in turn.
    TPorts(std::initializer_list<TPorts> groups)
    {
        for (const TPorts& group : groups)
            rows.insert(rows.end(), group.rows.begin(), group.rows.end());
    }
    TPorts(std::shared_ptr<const CPort> prototype, bool input, std::function<void(TOwner&, CPort&)> bind)
        : rows{{std::move(prototype), input, std::move(bind)}}
    {
    }

    std::vector<SRow> rows;
};

namespace PortRows {

template <class TOwner, class TPort>
std::function<void(TOwner&, CPort&)> Bind(TPort* TOwner::*member)
{
    // The port is a clone of the row's own prototype, so of class TPort.
    return [member](TOwner& owner, CPort& port) { owner.*member = static_cast<TPort*>(&port); };
}

template <class TOwner, class TPort, size_t N>
std::function<void(TOwner&, CPort&)> Bind(std::array<TPort*, N> TOwner::*member, size_t index)
{
    return [member, index](TOwner& owner, CPort& port) { (owner.*member)[index] = static_cast<TPort*>(&port); };
}

template <class TPort>
std::shared_ptr<const CPort> Make(std::string_view name, std::string_view desc)
{
    return std::make_shared<TPort>(name, desc);
}

template <class TPort>
std::shared_ptr<const CPort> Make(std::string_view name, std::string_view desc, const TValuesOf<TPort>& values)
{
    return MakePrototype(name, desc, values);
}

// `desc` with each "#" replaced by `suffix`.
std::string Numbered(std::string_view desc, char suffix);

// One port per character of `suffixes`, named `name` and that character.
template <class TOwner, class TPort, size_t N, size_t M, class... TValues>
TPorts<TOwner> Each(bool input, std::array<TPort*, N> TOwner::*member, std::string_view name,
                    const char (&suffixes)[M], std::string_view desc, const TValues&... values)
{
    static_assert(M - 1 == N, "one suffix per element of the array");
    TPorts<TOwner> ports;
    for (size_t i = 0; i < N; ++i) {
        const std::string numbered = std::string(name) + suffixes[i];
        ports.rows.push_back({Make<TPort>(numbered, Numbered(desc, suffixes[i]), values...), input, Bind(member, i)});
    }
    return ports;
}

// The rows of `ports`, bound in the part of a TNode that `access` gives.
template <class TNode, class TPart, class TAccess>
TPorts<TNode> Rebound(const TPorts<TPart>& ports, TAccess access)
{
    TPorts<TNode> rebound;
    for (const auto& row : ports.rows) {
        rebound.rows.push_back({row.prototype, row.input,
                                [access, bind = row.bind](TNode& node, CPort& port) { bind(access(node), port); }});
    }
    return rebound;
}

} // namespace PortRows

// Makes the rows of input ports (In) or output ports (Out).
template <bool Input>
struct TPortRow
{
    // A port bound to `member`.
    template <class TOwner, class TPort>
    TPorts<TOwner> operator()(TPort* TOwner::*member, std::string_view name, std::string_view desc,
                              const TValuesOf<TPort>& values) const
    {
        return {PortRows::Make<TPort>(name, desc, values), Input, PortRows::Bind(member)};
    }
    template <class TOwner, DataPort TPort>
    TPorts<TOwner> operator()(TPort* TOwner::*member, std::string_view name, std::string_view desc) const
    {
        return {PortRows::Make<TPort>(name, desc), Input, PortRows::Bind(member)};
    }

    // A port bound to element `index` of an array member.
    template <class TOwner, class TPort, size_t N>
    TPorts<TOwner> operator()(std::array<TPort*, N> TOwner::*member, size_t index, std::string_view name,
                              std::string_view desc, const TValuesOf<TPort>& values) const
    {
        return {PortRows::Make<TPort>(name, desc, values), Input, PortRows::Bind(member, index)};
    }
    template <class TOwner, DataPort TPort, size_t N>
    TPorts<TOwner> operator()(std::array<TPort*, N> TOwner::*member, size_t index, std::string_view name,
                              std::string_view desc) const
    {
        return {PortRows::Make<TPort>(name, desc), Input, PortRows::Bind(member, index)};
    }
};

// Makes repeated rows (InEach, OutEach), one per element of an array member:
// `name` followed by each character of `suffixes` ("12345" gives In1 to In5),
// with "#" in `desc` standing for that character.
template <bool Input>
struct TPortRowEach
{
    template <class TOwner, class TPort, size_t N, size_t M>
    TPorts<TOwner> operator()(std::array<TPort*, N> TOwner::*member, std::string_view name, const char (&suffixes)[M],
                              std::string_view desc, const TValuesOf<TPort>& values) const
    {
        return PortRows::Each(Input, member, name, suffixes, desc, values);
    }
    template <class TOwner, DataPort TPort, size_t N, size_t M>
    TPorts<TOwner> operator()(std::array<TPort*, N> TOwner::*member, std::string_view name, const char (&suffixes)[M],
                              std::string_view desc) const
    {
        return PortRows::Each(Input, member, name, suffixes, desc);
    }
};

inline constexpr TPortRow<true> In;
inline constexpr TPortRow<false> Out;
inline constexpr TPortRowEach<true> InEach;
inline constexpr TPortRowEach<false> OutEach;

// The ports of a part that several node classes hold as a member, bound
// within that member.
template <class TNode, class TPart>
TPorts<TNode> Within(TPart TNode::*part, const TPorts<TPart>& ports)
{
    return PortRows::Rebound<TNode>(ports, [part](TNode& node) -> TPart& { return node.*part; });
}

// The ports of a base class, declared once by the base for every node class
// derived from it: Inherited<CSphereNode>(CMeshGeneratorNode::Ports()).
template <class TNode, class TBase>
TPorts<TNode> Inherited(const TPorts<TBase>& ports)
{
    static_assert(std::derived_from<TNode, TBase>, "a base class of the node");
    return PortRows::Rebound<TNode>(ports, [](TNode& node) -> TBase& { return node; });
}

enum class EEvaluation
{
    // A second pull in the same frame returns at once.
    OncePerFrame,
    // Evaluated anew on every pull: read along a "(Local)" port, `time` is
    // the element's position.
    EveryPull,
};

// What a node class tells of its type: how often it is evaluated and its
// ports in order. The node type list adds the name, the catalogue group and
// the description.
class CNodeDeclaration
{
public:
    template <class TNode>
    CNodeDeclaration(std::initializer_list<TPorts<TNode>> ports) : CNodeDeclaration(EEvaluation::OncePerFrame, ports)
    {
    }

    template <class TNode>
    CNodeDeclaration(EEvaluation evaluation, std::initializer_list<TPorts<TNode>> ports)
        : m_create([]() -> CNode* { return new TNode; }),
          m_evaluation(evaluation),
          m_ports(PortRows::Rebound<CNode>(TPorts<TNode>(ports),
                                           [](CNode& node) -> TNode& { return static_cast<TNode&>(node); }))
    {
        static_assert(std::derived_from<TNode, CNode>, "a node class derives from CNode");
    }

    // The descriptor of the type `name` in catalogue group `group`.
    std::unique_ptr<CNodeInfo> MakeInfo(int group, std::string_view name, std::string_view desc) const;

private:
    CNodeInfo::CreateFunction m_create;
    EEvaluation m_evaluation;
    TPorts<CNode> m_ports;
};
