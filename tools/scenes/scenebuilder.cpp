// lumora-scenes: makes the scenes and the default playlist that ship with
// Lumora, from the recipes in scenerecipes.cpp, and saves them with pictures
// drawn on this machine. Run it again when a recipe, a node or the scene
// format changes:
//
//     SDL_VIDEODRIVER=offscreen build/bin/lumora-scenes data
//
// It writes below the given data directory and touches nothing else.

#include "app/director/playlist.h"
#include "app/log.h"
#include "app/paths.h"
#include "app/player/scenesnapshotter.h"
#include "nodes/nodetypes.h"
#include "ports/port.h"
#include "renderogl/glcontext.h"
#include "renderogl/renderogl.h"
#include "scene/nodefactory.h"
#include "scene/scene.h"
#include "scenerecipes.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

namespace {

bool Set(CScene& scene, const char* path, const std::string& value)
{
    std::string component;
    CPort* port = scene.FindInPort(path, &component);
    if (!port)
        return false;
    port->SetValue(value);
    return true;
}

bool Connect(CScene& scene, const char* from, const char* to)
{
    if (scene.Connect(from, to))
        return true;
    fprintf(stderr, "lumora-scenes: cannot connect %s to %s\n", from, to);
    return false;
}

// Screen <- RenderRect <- Shader, and what feeds the shader's textures.
std::unique_ptr<CScene> Build(const SSceneRecipe& recipe)
{
    auto scene = std::make_unique<CScene>();
    scene->m_author = "Lumora";
    scene->m_desc = recipe.m_desc;
    scene->m_sceneType = recipe.m_sceneType;
    scene->SetLicenseType("CC BY-SA 4.0");
    size_t start = 0;
    for (size_t comma; (comma = recipe.m_tags.find(',', start)) != std::string::npos; start = comma + 1)
        scene->m_tags.push_back(recipe.m_tags.substr(start, comma - start));
    scene->m_tags.push_back(recipe.m_tags.substr(start));
    for (const char* type : {"Screen", "RenderRect", "Shader"}) {
        if (!scene->AddNode(type))
            return nullptr;
    }
    bool ok = Connect(*scene, "RenderRect1.Render", "Screen1.Render") &&
              Connect(*scene, "Shader1.Effect", "RenderRect1.Effect") &&
              Set(*scene, "Shader1.Shader", recipe.m_fragment) && Set(*scene, "Shader1.Expression", recipe.m_expression);
    // Full-screen pictures need neither depth nor culling.
    ok = ok && Set(*scene, "Shader1.DepthTest", "0") && Set(*scene, "Shader1.DepthWrite", "0") &&
         Set(*scene, "Shader1.CullMode", "0");
    if (recipe.m_blended)
        ok = ok && Set(*scene, "Shader1.SrcBlend", "6") && Set(*scene, "Shader1.DstBlend", "8");
    if (recipe.m_transition) {
        ok = ok && scene->AddNode("Transition") && Connect(*scene, "Transition1.FromScene", "Shader1.Texture1") &&
             Connect(*scene, "Transition1.ToScene", "Shader1.Texture2");
    }
    if (recipe.m_postprocessing)
        ok = ok && scene->AddNode("PreviousLayer") && Connect(*scene, "PreviousLayer1.Color", "Shader1.Texture1");
    return ok ? std::move(scene) : nullptr;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        fputs("Usage: lumora-scenes <data directory>\n", stderr);
        return 2;
    }
    const std::filesystem::path data = std::filesystem::absolute(argv[1]);
    setenv("LUMORA_APPPATH", data.c_str(), 1);
    setenv("SDL_VIDEODRIVER", "offscreen", 0);
    g_paths.Setup();

    CGLContext context;
    if (!context.CreateHeadless(64, 64)) {
        fputs("lumora-scenes: no OpenGL context\n", stderr);
        return 3;
    }
    auto render = std::make_unique<CRenderOGL>();
    if (!render->InitDevice())
        return 3;
    render->m_virtualRect = render->m_currentRect = SRect{0, 0, 64, 64};
    CNodeFactory* factory = CNodeFactory::Get();
    factory->Init(NodeTypes());
    InstallSceneSnapshots(render.get());

    int result = 0;
    CPlaylist playlist;
    for (const SSceneRecipe& recipe : SceneRecipes()) {
        std::unique_ptr<CScene> scene = Build(recipe);
        const std::filesystem::path path = data / recipe.m_file;
        std::filesystem::create_directories(path.parent_path());
        if (!scene || !scene->Save(path.string(), true)) {
            fprintf(stderr, "lumora-scenes: %s could not be made\n", recipe.m_file.c_str());
            result = 1;
            continue;
        }
        scene->InvalidateDevice(render.get());
        printf("%s\n", recipe.m_file.c_str());
        const std::string file = "[apppath]" + recipe.m_file;
        if (recipe.m_transition)
            playlist.Add(playlist.m_transitions, file, {}, 3.0f);
        else if (recipe.m_sceneType == 0x100)
            playlist.Add(playlist.m_scenes, file);
    }
    std::filesystem::create_directories(data / "playlists");
    // The configuration program edits playlists without layered entries only,
    // so a first start offers this one to change.
    if (!playlist.Save((data / "playlists/My playlist.lmp").string()))
        result = 1;
    // One layered entry: a background with sparks in front and the vignette over both.
    playlist.Add(playlist.m_scenes, "[apppath]scenes/ColourField.lmc;[apppath]scenes/layers/Sparks.lmc;"
                                    "[apppath]scenes/post/Vignette.lmc");
    if (!playlist.Save((data / "playlists/Default.lmp").string()))
        result = 1;

    InstallSceneSnapshots(nullptr);
    factory->Release();
    render->ReleaseDevice();
    return result;
}
