// An editor's round trip: a request over the socket, run by the command
// interpreter as the frame thread would, and its answer back.

#include "app/cfg.h"
#include "app/director/lumora.h"
#include "app/host/clock.h"
#include "platform/editorclient.h"
#include "platform/editorserver.h"
#include "scene/scene.h"
#include "services/scriptengine.h"
#include "support/tempdir.h"

#include <benchmark/benchmark.h>

#include <poll.h>

namespace {

void BM_Command(benchmark::State& state, const char* request)
{
    CTempDir dir;
    CCfg config;
    CLumora director(config, CClock::System());
    auto scene = director.NewScene();
    scene->AddNode("Screen");
    scene->AddNode("Clear");
    scene->AddNode("Sin");
    scene->Connect("Clear1.Render", "Screen1.Render");
    director.PlayOnly(std::move(scene));

    CScriptEngine* engine = CScriptEngine::Get();
    CEditorServer::SOptions options;
    options.m_path = dir.File("editor.sock");
    options.m_maxMessage = kEditorMaxMessage;
    auto server = std::make_unique<CEditorServer>(*engine, options);
    CEditorClient client;
    std::string error, answer;
    if (!server->Start() || !client.Connect(options.m_path, error)) {
        state.SkipWithError("no editor socket");
        engine->Release();
        return;
    }
    for (auto _ : state) {
        client.Send(request);
        pollfd entry{client.Fd(), POLLIN, 0};
        // The frame thread's part: run whatever has come.
        while (poll(&entry, 1, 0) == 0)
            engine->Run();
        if (!client.Receive(answer, 5000, error)) {
            state.SkipWithError(error.c_str());
            break;
        }
    }
    state.SetLabel(std::to_string(answer.size()) + " bytes answered");
    server.reset();
    engine->Release();
}

} // namespace

BENCHMARK_CAPTURE(BM_Command, PortSet, "<lms><PortSet Name=\"Clear1.Color\" Value=\"0.5 0 0 1\"/></lms>")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Command, NodeGet, "<lms><NodeGet Name=\"Sin1\"/></lms>")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Command, ScenesGet, "<lms><ScenesGet/></lms>")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Command, NodeTypesGet, "<lms><NodeTypesGet/></lms>")->Unit(benchmark::kMicrosecond);
