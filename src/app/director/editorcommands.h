#pragma once

#include "services/scriptengine.h"

class CLumora;
class CScene;
class CSceneBase;

// Registers the editor's commands with the director as their context.
void RegisterEditorCommands(CScriptEngine& engine, CLumora& director);

// The handlers, by family; each takes the director as its context.
namespace EditorCommands {

SCommandResult ProjectCreate(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult ProjectLoad(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult ProjectSave(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult SceneCreate(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult SceneLoad(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult SceneRemove(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult SceneSave(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult SceneActivate(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult SceneActive(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult ScenesGet(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult SceneGet(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult SceneUpdate(CScriptEngine& engine, CScriptRequest& request, void* context);

SCommandResult NodeCreate(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult NodeRemove(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult NodeSet(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult NodeGet(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult ConnectionCreate(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult ConnectionRemove(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult ConnectionsBreak(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult PortSet(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult PortGet(CScriptEngine& engine, CScriptRequest& request, void* context);

SCommandResult WinCreate(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult WinCapture(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult ConfigGet(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult ConfigSet(CScriptEngine& engine, CScriptRequest& request, void* context);
SCommandResult RenderInfoGet(CScriptEngine& engine, CScriptRequest& request, void* context);

// Shared by the handlers.
inline CLumora& Director(void* context)
{
    return *static_cast<CLumora*>(context);
}
// The first playable scene with that file name, or null.
CSceneBase* FindScene(CLumora& director, const std::string& file);
// Answers a request with one element that has the given attributes.
SCommandResult Reply(CScriptEngine& engine, CScriptRequest& request, std::string_view element,
                     std::initializer_list<std::pair<std::string_view, std::string_view>> attributes);

inline constexpr const char* kNoActiveScene = "No active scene set";
inline constexpr const char* kNoSuchScene = "A scene with that name doesn't exists";

} // namespace EditorCommands
