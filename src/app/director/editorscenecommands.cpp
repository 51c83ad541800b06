// The editor's project and scene commands.

#include "app/director/editorcommands.h"

#include "app/director/lumora.h"
#include "app/director/playlist.h"
#include "app/log.h"
#include "app/paths.h"
#include "app/regularfile.h"
#include "app/textutil.h"
#include "scene/node.h"
#include "scene/scene.h"

#include <QXmlStreamWriter>

namespace EditorCommands {

namespace {

std::string Join(const std::vector<std::string>& parts, char separator)
{
    std::string text;
    for (const std::string& part : parts) {
        if (!text.empty())
            text += separator;
        text += part;
    }
    return text;
}

std::vector<std::string> SplitNonEmpty(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= text.size()) {
        const size_t end = std::min(text.find(separator, start), text.size());
        if (end > start)
            parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

// A scene of its own now: it starts a new history.
void StartNewHistory(CScene& scene)
{
    scene.m_version = 0;
    scene.m_created = scene.m_lastModified = SSceneTime::NowUtc();
}

void ApplySceneUpdate(CScene& scene, const CScriptRequest& request)
{
    const auto given = [&request](std::string_view name) { return !request.Text(name).empty(); };
    if (given("Author"))
        scene.m_author = request.Text("Author");
    if (given("Desc"))
        scene.m_desc = request.Text("Desc");
    if (given("Tags"))
        scene.m_tags = SplitNonEmpty(request.Text("Tags"), ',');
    if (given("License")) {
        scene.SetLicenseType(request.Text("License"));
        scene.m_relicensingPossible = request.Bool("RelicensingPossible");
    }
    if (given("WarmupTime"))
        scene.m_warmupTime = request.Float("WarmupTime");
    if (given("SceneType"))
        scene.m_sceneType = request.Int("SceneType");
    if (given("NewFile")) {
        const std::string newFile = request.Text("NewFile");
        if (newFile != scene.m_fileName) {
            StartNewHistory(scene);
            scene.m_parentId = scene.m_id;
            scene.GenerateId();
        }
        scene.m_fileName = newFile;
    }
}

} // namespace

SCommandResult ProjectCreate(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    Director(context).Free();
    return Reply(engine, request, "ProjectCreated", {});
}

SCommandResult ProjectLoad(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    CLumora& director = Director(context);
    const std::string file = request.Text("Filename");
    director.SetActiveScene(nullptr);
    if (file.find(".lms") != std::string::npos && file.find(".lmc") != std::string::npos) {
        director.LoadScene(file);
    } else {
        const std::string expanded = ExpandPath(WithSlashes(file));
        if (!WhyNotRegularFile(expanded).empty())
            return SCommandResult::Fail("Load failed");
        // A playlist that does not read to its end plays what was read; its
        // loader logs where it broke.
        CPlaylist playlist;
        playlist.Load(expanded);
        director.DeserializeProject(playlist);
    }
    director.Update(0.0f);
    return Reply(engine, request, "ProjectLoaded", {{"Filename", file}});
}

SCommandResult ProjectSave(CScriptEngine&, CScriptRequest&, void*)
{
    return SCommandResult::Done();
}

SCommandResult SceneCreate(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    CLumora& director = Director(context);
    std::unique_ptr<CScene> scene = director.NewScene();
    const std::string templateFile = request.Text("Template");
    if (templateFile.empty()) {
        scene->m_sceneType = CScene::SceneType_Standalone;
        scene->AddNode("Screen")->m_name = "Screen1";
        scene->AddNode("Clear")->m_name = "Clear1";
        scene->Connect("Clear1.Render", "Screen1.Render");
    } else {
        scene->Load(templateFile, true);
        scene->m_fileName.clear();
        scene->m_desc.clear();
        StartNewHistory(*scene);
        scene->m_sceneType &= ~CScene::SceneType_Hidden;
    }
    scene->SetLicenseType(CScene::DefaultLicenseType);
    scene->GenerateId();
    const std::string name = "NewScene (" + scene->m_id + ")";
    director.AddScene(std::move(scene));
    return Reply(engine, request, "SceneCreated", {{"Name", name}});
}

SCommandResult SceneLoad(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    CLumora& director = Director(context);
    const std::string file = request.Text("File");
    if (file.find(';') != std::string::npos) {
        director.CreateLayeredScene(file);
    } else {
        std::unique_ptr<CScene> scene = director.NewScene();
        if (!scene->Load(file, true))
            return SCommandResult::Fail("Failed to load the scene");
        director.AddScene(std::move(scene));
    }
    if (request.Bool("FreeOld") && director.GetActiveScene())
        director.RemoveScene(director.GetActiveScene());
    return Reply(engine, request, "SceneLoaded", {{"File", file}, {"Name", request.Text("Name")}});
}

SCommandResult SceneRemove(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    CLumora& director = Director(context);
    const std::string file = request.Text("File"), name = request.Text("Name");
    CSceneBase* found = nullptr;
    for (CSceneBase* scene : director.PlayableScenes()) {
        if (file.empty() ? scene->GetName() == name : scene->GetFileName() == file) {
            found = scene;
            break;
        }
    }
    if (!found || (file.empty() && name.empty()))
        return SCommandResult::Fail("A scene with that name/file doesn't exists");
    director.RemoveScene(found);
    request.Begin("SceneRemoved");
    if (!file.empty())
        request.Attribute("File", file);
    if (!name.empty())
        request.Attribute("Name", name);
    engine.SendAnswer(request);
    return SCommandResult::Done();
}

SCommandResult SceneSave(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    const std::string file = request.Text("File");
    for (CSceneBase* scene : Director(context).PlayableScenes()) {
        if (auto* plain = dynamic_cast<CScene*>(scene); plain && plain->GetFileName() == file)
            plain->Save(file, true);
    }
    return Reply(engine, request, "SceneSaved", {{"File", file}});
}

SCommandResult SceneActivate(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    CLumora& director = Director(context);
    const std::string file = request.Text("File");
    CSceneBase* scene = FindScene(director, file);
    if (!scene)
        return SCommandResult::Fail(kNoSuchScene);
    director.SetActiveScene(scene);
    director.Update(0.0f);
    request.Begin("SceneActivated");
    if (!file.empty())
        request.Attribute("File", file);
    request.Attribute("Name", request.Text("Name"));
    engine.SendAnswer(request);
    return SCommandResult::Done();
}

SCommandResult SceneActive(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    const CSceneBase* active = Director(context).GetActiveScene();
    return Reply(engine, request, "SceneActivated", {{"File", active ? active->GetFileName() : std::string()}});
}

SCommandResult ScenesGet(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    request.Begin("Scenes");
    for (const CSceneBase* scene : Director(context).PlayableScenes()) {
        request.Begin("Scene");
        request.Attribute("File", scene->GetFileName());
        request.Attribute("Id", scene->GetId());
        request.Writer().writeEndElement();
    }
    engine.SendAnswer(request);
    return SCommandResult::Done();
}

SCommandResult SceneGet(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    auto* scene = dynamic_cast<CScene*>(FindScene(Director(context), request.Text("File")));
    if (!scene)
        return SCommandResult::Fail(kNoSuchScene);
    request.Begin("Scene");
    scene->Serialize(&request.Writer(), false);
    engine.SendAnswer(request);
    return SCommandResult::Done();
}

SCommandResult SceneUpdate(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    const std::string file = request.Text("File");
    auto* scene = dynamic_cast<CScene*>(FindScene(Director(context), file));
    if (!scene)
        return SCommandResult::Fail(kNoSuchScene);
    ApplySceneUpdate(*scene, request);
    request.Begin("SceneUpdated");
    request.Attribute("File", file);
    request.Attribute("Id", scene->m_id);
    request.Attribute("NewFile", scene->m_fileName);
    request.Attribute("NewName", scene->GetName());
    request.Attribute("Author", scene->m_author);
    request.Attribute("Tags", Join(scene->m_tags, ','));
    request.Attribute("License", scene->m_licenseType);
    request.Attribute("RelicensingPossible", scene->m_relicensingPossible);
    request.Attribute("Desc", scene->m_desc);
    request.Attribute("Created", scene->m_created.Format());
    request.Attribute("LastModified", scene->m_lastModified.Format());
    request.Attribute("Version", int(scene->m_version));
    request.Attribute("WarmupTime", scene->m_warmupTime);
    request.Attribute("SceneType", int(scene->m_sceneType));
    engine.SendAnswer(request);
    return SCommandResult::Done();
}

} // namespace EditorCommands
