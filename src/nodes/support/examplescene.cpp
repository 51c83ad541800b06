#include "nodes/support/examplescene.h"

#include "app/log.h"
#include "scene/scene.h"

namespace {

bool g_loadingExample = false;

} // namespace

std::unique_ptr<CScene> LoadExampleScene(std::string_view path, const SRunInfo& run)
{
    if (g_loadingExample)
        return nullptr;
    g_loadingExample = true;
    auto scene = std::make_unique<CScene>();
    scene->SetRunInfo(run);
    const bool loaded = scene->Load(path, true);
    g_loadingExample = false;
    if (!loaded)
        return nullptr;
    if (!scene->GetRoot()) {
        Error("Example scene \"%s\" has no Screen node; it is not shown", std::string(path).c_str());
        return nullptr;
    }
    scene->Prepare();
    return scene;
}
