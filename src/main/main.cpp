// lumora: the visualizer. Until the window and the director exist it sets up
// what the engine has so far (crash handler, paths, log, configuration, node
// factory), reports it, and says what is missing.

#include "app/cfg.h"
#include "app/log.h"
#include "app/paths.h"
#include "app/qtmessages.h"
#include "app/trace.h"
#include "platform/crashhandler.h"
#include "scene/nodefactory.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace {

constexpr const char* kUsage =
    "Usage: lumora [options]\n"
    "\n"
    "Options:\n"
    "  --list-node-types   print the catalogue of node types as XML and exit\n"
    "  --help              show this text and exit\n";

enum class EAction
{
    Run,
    ListNodeTypes,
    Help,
    Bad,
};

EAction ParseCommandLine(int argc, char** argv)
{
    EAction action = EAction::Run;
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg(argv[i]);
        if (arg == "--list-node-types") {
            action = EAction::ListNodeTypes;
        } else if (arg == "--help" || arg == "-h") {
            return EAction::Help;
        } else {
            fprintf(stderr, "lumora: unknown option \"%s\"\n\n", argv[i]);
            return EAction::Bad;
        }
    }
    return action;
}

} // namespace

int main(int argc, char** argv)
{
    CCrashHandler crashHandler("");
    InstallQtMessageHandler();

    const EAction action = ParseCommandLine(argc, argv);
    if (action == EAction::Help || action == EAction::Bad) {
        fputs(kUsage, action == EAction::Bad ? stderr : stdout);
        return action == EAction::Bad ? 2 : 0;
    }

    g_paths.Setup();
    crashHandler.SetDirectory(g_paths.m_userPath);
    TRACE_LOG("main");

    CCfg config;
    if (!config.Load(g_paths.m_configPath) && !std::filesystem::exists(g_paths.m_configPath))
        Log("No configuration file \"%s\" yet; the defaults apply", g_paths.m_configPath.c_str());

    CNodeFactory* factory = CNodeFactory::Get();
    factory->Init();

    if (action == EAction::ListNodeTypes) {
        printf("%s\n", factory->GetNodeTypesXml().c_str());
    } else {
        printf("Lumora %s\n", "2.0.0");
        printf("  data directory:   %s\n", g_paths.m_appPath.c_str());
        printf("  user directory:   %s\n", g_paths.m_userPath.c_str());
        printf("  configuration:    %s\n", g_paths.m_configPath.c_str());
        printf("  node types ready: %zu of %zu\n", factory->GetNodeInfos().size(),
               CNodeFactory::FactoryOrder().size());
        printf("The visualizer window is not built yet: nothing is drawn in this version.\n");
        Log("No visualizer window in this build; the run ends after start-up");
    }

    factory->Release();
    return 0;
}
