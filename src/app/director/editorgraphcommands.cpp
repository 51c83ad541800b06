// The editor's commands on the graph of the active scene.

#include "app/director/editorcommands.h"

#include "app/director/lumora.h"
#include "ports/port.h"
#include "scene/node.h"
#include "scene/scene.h"

namespace EditorCommands {

namespace {

constexpr const char* kNoSuchNode = "A node with that name doesn't exists";

CScene* ActiveScene(void* context)
{
    return dynamic_cast<CScene*>(Director(context).GetActiveScene());
}

// The value of the port or of its component, as the port writes it.
std::string ValueOf(CPort& port, const std::string& component)
{
    return component.empty() ? port.GetValue() : port.GetComponent(component);
}

// The input port a path names, and the component the path's third part
// names; a third part that names a sub-port leaves no component.
CPort* FindPort(const CScene& scene, const std::string& path, std::string& component)
{
    CPort* port = scene.FindInPort(path, &component);
    if (port && !component.empty()) {
        const std::string whole = path.substr(0, path.size() - component.size() - 1);
        if (scene.FindInPort(whole, nullptr) != port)
            component.clear();
    }
    return port;
}

using ConnectionChange = bool (CScene::*)(std::string_view from, std::string_view to);

SCommandResult ChangeConnection(CScriptEngine& engine, CScriptRequest& request, void* context,
                                ConnectionChange change, const char* answer, const char* error)
{
    CScene* scene = ActiveScene(context);
    if (!scene)
        return SCommandResult::Fail(kNoActiveScene);
    const std::string from = request.Text("From"), to = request.Text("To");
    if (!(scene->*change)(from, to))
        return SCommandResult::Fail(error);
    return Reply(engine, request, answer, {{"From", from}, {"To", to}});
}

} // namespace

SCommandResult NodeCreate(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    CScene* scene = ActiveScene(context);
    if (!scene)
        return SCommandResult::Fail(kNoActiveScene);
    const std::string type = request.Text("Type"), name = request.Text("Name");
    if (!name.empty() && scene->FindNode(name))
        return SCommandResult::Fail("A node with that name already exists");
    CNode* node = scene->AddNode(type);
    if (!node)
        return SCommandResult::Fail("Unknown node type");
    if (!name.empty())
        node->m_name = name;
    return Reply(engine, request, "NodeCreated", {{"Type", type}, {"Name", node->m_name}});
}

SCommandResult NodeRemove(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    CScene* scene = ActiveScene(context);
    if (!scene)
        return SCommandResult::Fail(kNoActiveScene);
    const std::string name = request.Text("Name");
    if (!scene->RemoveNode(name))
        return SCommandResult::Fail(kNoSuchNode);
    return Reply(engine, request, "NodeRemoved", {{"Name", name}});
}

SCommandResult NodeSet(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    if (!ActiveScene(context))
        return SCommandResult::Fail(kNoActiveScene);
    return Reply(engine, request, "Node", {{"Name", request.Text("Name")}});
}

SCommandResult NodeGet(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    CScene* scene = ActiveScene(context);
    if (!scene)
        return SCommandResult::Fail(kNoActiveScene);
    const std::string name = request.Text("Name");
    const CNode* node = scene->FindNode(name);
    if (!node)
        return SCommandResult::Fail(kNoSuchNode);
    request.Begin("Node");
    request.Attribute("Name", name);
    request.Attribute("SceneFile", scene->GetFileName());
    for (const auto& port : node->m_inPorts) {
        request.Begin("Port");
        request.Attribute("Name", port->m_name);
        request.Attribute("Value", port->GetValue());
        request.Writer().writeEndElement();
    }
    engine.SendAnswer(request);
    return SCommandResult::Done();
}

SCommandResult ConnectionCreate(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    return ChangeConnection(engine, request, context, &CScene::Connect, "ConnectionCreated",
                            "Unable to create connection");
}

SCommandResult ConnectionRemove(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    return ChangeConnection(engine, request, context, &CScene::Disconnect, "ConnectionRemoved",
                            "Unable to remove connection");
}

SCommandResult ConnectionsBreak(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    CScene* scene = ActiveScene(context);
    if (!scene)
        return SCommandResult::Fail(kNoActiveScene);
    const std::string first = request.Text("Node1"), second = request.Text("Node2");
    CNode* node1 = scene->FindNode(first);
    CNode* node2 = scene->FindNode(second);
    if (!node1 || !node2)
        return SCommandResult::Fail("Unable to find one of the nodes");
    node1->DisconnectFrom(node2);
    node2->DisconnectFrom(node1);
    return Reply(engine, request, "ConnectionsBroken", {{"Node1", first}, {"Node2", second}});
}

SCommandResult PortSet(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    CScene* scene = ActiveScene(context);
    if (!scene)
        return SCommandResult::Fail(kNoActiveScene);
    const std::string name = request.Text("Name"), value = request.Text("Value");
    std::string component;
    CPort* port = FindPort(*scene, name, component);
    if (!port)
        return SCommandResult::Fail("A node,port or component with that name doesn't exists");
    if (component.empty())
        port->SetValue(value);
    else
        port->SetComponent(component, value);
    port->m_changed = true;
    // The answer tells what the port kept, clamped or rounded.
    return Reply(engine, request, "Port", {{"Name", name}, {"Value", ValueOf(*port, component)}});
}

SCommandResult PortGet(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    CScene* scene = ActiveScene(context);
    if (!scene)
        return SCommandResult::Fail(kNoActiveScene);
    const std::string name = request.Text("Name");
    std::string component;
    CPort* port = FindPort(*scene, name, component);
    if (!port)
        return SCommandResult::Fail("A node,attribute or component with that name doesn't exists");
    return Reply(engine, request, "Port", {{"Name", name}, {"Value", ValueOf(*port, component)}});
}

} // namespace EditorCommands
