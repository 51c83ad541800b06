#include "scene/nodedeclaration.h"

SVectorValues::SVectorValues(const CPortVector::Xyz& initial, float stepEach, float limit)
    : value(initial), step{stepEach, stepEach, stepEach}, min{-limit, -limit, -limit}, max{limit, limit, limit}
{
}

std::shared_ptr<const CPort> MakePrototype(std::string_view name, std::string_view desc, bool value)
{
    return std::make_shared<CPortBool>(name, desc, value);
}

std::shared_ptr<const CPort> MakePrototype(std::string_view name, std::string_view desc, const SIntValues& values)
{
    auto port = std::make_shared<CPortInt>(name, desc, values.value, values.min, values.max);
    for (const SChoice& choice : values.choices)
        port->AddValue(choice.value, choice.name);
    return port;
}

std::shared_ptr<const CPort> MakePrototype(std::string_view name, std::string_view desc, const SFloatValues& values)
{
    return std::make_shared<CPortFloat>(name, desc, values.value, values.step, values.min, values.max);
}

std::shared_ptr<const CPort> MakePrototype(std::string_view name, std::string_view desc, std::string_view value)
{
    return std::make_shared<CPortString>(name, desc, value);
}

std::shared_ptr<const CPort> MakePrototype(std::string_view name, std::string_view desc, const SColorValues& values)
{
    return std::make_shared<CPortColor>(name, desc, values.value, values.min, values.max);
}

std::shared_ptr<const CPort> MakePrototype(std::string_view name, std::string_view desc, const SVectorValues& values)
{
    return std::make_shared<CPortVector>(name, desc, values.value, values.step, values.min, values.max);
}

std::shared_ptr<const CPort> MakePrototype(std::string_view name, std::string_view desc, const SRectValues& values)
{
    return std::make_shared<CPortRect>(name, desc, values.value, values.step, values.min, values.max);
}

std::string PortRows::Numbered(std::string_view desc, char suffix)
{
    std::string text(desc);
    for (size_t at = text.find('#'); at != std::string::npos; at = text.find('#', at + 1))
        text[at] = suffix;
    return text;
}

std::unique_ptr<CNodeInfo> CNodeDeclaration::MakeInfo(int group, std::string_view name, std::string_view desc) const
{
    auto info = std::make_unique<CNodeInfo>(group, name, m_create);
    info->m_desc = desc;
    info->m_updateOnce = m_evaluation == EEvaluation::OncePerFrame;
    struct SBinding
    {
        bool input;
        size_t index;
        std::function<void(CNode&, CPort&)> bind;
    };
    std::vector<SBinding> bindings;
    for (const auto& row : m_ports.rows) {
        auto& ports = row.input ? info->m_inPorts : info->m_outPorts;
        bindings.push_back({row.input, ports.size(), row.bind});
        if (row.input)
            info->AddInPort(CPort::Clone(*row.prototype));
        else
            info->AddOutPort(CPort::Clone(*row.prototype));
    }
    info->m_bindPorts = [bindings = std::move(bindings)](CNode& node) {
        for (const SBinding& binding : bindings) {
            const auto& ports = binding.input ? node.m_inPorts : node.m_outPorts;
            binding.bind(node, *ports[binding.index]);
        }
    };
    return info;
}
