#include "app/director/editorcommands.h"

#include "app/director/lumora.h"
#include "scene/scenebase.h"

namespace EditorCommands {

CSceneBase* FindScene(CLumora& director, const std::string& file)
{
    for (CSceneBase* scene : director.PlayableScenes()) {
        if (scene->GetFileName() == file)
            return scene;
    }
    return nullptr;
}

SCommandResult Reply(CScriptEngine& engine, CScriptRequest& request, std::string_view element,
                     std::initializer_list<std::pair<std::string_view, std::string_view>> attributes)
{
    request.Begin(element);
    for (const auto& [name, value] : attributes)
        request.Attribute(name, value);
    engine.SendAnswer(request);
    return SCommandResult::Done();
}

} // namespace EditorCommands

void RegisterEditorCommands(CScriptEngine& engine, CLumora& director)
{
    using namespace EditorCommands;
    struct SEntry
    {
        const char* name;
        CommandHandler handler;
    };
    // The order of adding is the order of lookup.
    static constexpr SEntry kCommands[] = {
        {"ProjectCreate", ProjectCreate},
        {"ProjectLoad", ProjectLoad},
        {"ProjectSave", ProjectSave},
        {"SceneCreate", SceneCreate},
        {"SceneLoad", SceneLoad},
        {"SceneRemove", SceneRemove},
        {"SceneSave", SceneSave},
        {"SceneActivate", SceneActivate},
        {"SceneActive", SceneActive},
        {"ScenesGet", ScenesGet},
        {"SceneGet", SceneGet},
        {"SceneUpdate", SceneUpdate},
        {"NodeCreate", NodeCreate},
        {"NodeRemove", NodeRemove},
        {"NodeSet", NodeSet},
        {"NodeGet", NodeGet},
        {"ConnectionCreate", ConnectionCreate},
        {"ConnectionRemove", ConnectionRemove},
        {"ConnectionsBreak", ConnectionsBreak},
        {"PortSet", PortSet},
        {"PortGet", PortGet},
        {"WinCreate", WinCreate},
        {"WinCapture", WinCapture},
        {"ConfigGet", ConfigGet},
        {"ConfigSet", ConfigSet},
        {"RenderInfoGet", RenderInfoGet},
    };
    for (const SEntry& entry : kCommands)
        engine.AddCommand(entry.name, entry.handler, &director);
}
