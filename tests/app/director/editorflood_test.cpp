// An editor that floods the engine with commands over the socket must not
// stall the frames: the director runs what fits in its budget and leaves
// the rest for the next update.

#include "app/cfg.h"
#include "app/director/lumora.h"
#include "app/host/clock.h"
#include "platform/editorclient.h"
#include "platform/editorserver.h"
#include "scene/scene.h"
#include "services/scriptengine.h"
#include "support/logcapture.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

TEST(EditorFlood, FramesKeepTheirPaceWhileAClientFloodsCommands)
{
    CLogCapture log;
    CTempDir dir;
    CHangGuard guard(120);
    const std::string file = dir.File("flood.lms");
    WriteFile(file, "<LumoraScene Id=\"flood\"><Nodes><Node Type=\"Clear\" Name=\"Clear1\"/>"
                    "<Node Type=\"Screen\" Name=\"Screen1\"/></Nodes><Connections>"
                    "<Connection Out=\"Clear1.Render\" In=\"Screen1.Render\"/></Connections></LumoraScene>");
    CCfg config;
    CLumora director(config, CClock::System());
    auto scene = director.NewScene();
    ASSERT_TRUE(scene->Load(file, true));
    ASSERT_TRUE(director.PlayOnly(std::move(scene)));

    CScriptEngine* engine = CScriptEngine::Get();
    CEditorServer::SOptions options;
    options.m_path = dir.File("editor.sock");
    options.m_maxMessage = kEditorMaxMessage;
    auto server = std::make_unique<CEditorServer>(*engine, options);
    ASSERT_TRUE(server->Start());

    // Frames as the host makes them: an update, then some drawing.
    const auto frame = [&director] {
        const auto start = std::chrono::steady_clock::now();
        director.Update(1.0f / 30.0f);
        std::this_thread::sleep_for(std::chrono::milliseconds(8));
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    };
    const auto median = [](std::vector<double> times) {
        std::nth_element(times.begin(), times.begin() + std::ptrdiff_t(times.size() / 2), times.end());
        return times[times.size() / 2];
    };
    std::vector<double> quiet;
    for (int i = 0; i < 30; ++i)
        quiet.push_back(frame());

    std::string request = "<lms>";
    for (int i = 0; i < 2000; ++i)
        request += "<PortSet Name=\"Clear1.Color\" Value=\"" + std::to_string(i % 2) + " 0 0 1\"/><NodeGet Name=\"Clear1\"/>";
    request += "</lms>";
    std::atomic<bool> flooding{true};
    std::atomic<int> answered{0};
    std::thread client([&] {
        CEditorClient editor;
        std::string error, answer;
        if (!editor.Connect(options.m_path, error))
            return;
        while (flooding && editor.Send(request) && editor.Receive(answer, 30000, error))
            ++answered;
    });

    std::vector<double> frames;
    for (int i = 0; i < 150; ++i)
        frames.push_back(frame());
    flooding = false;
    // The last request needs updates to be answered.
    while (answered == 0 || engine->PendingCount() > 0)
        director.Update(0.0f);
    server.reset();
    client.join();
    engine->Release();

    // Loosely: the machine is shared, so a few late frames are not the
    // flood's doing.
    const double usual = median(frames);
    const auto slow = std::count_if(frames.begin(), frames.end(), [usual](double ms) { return ms > 2.0 * usual; });
    EXPECT_LE(slow, 8) << "median " << usual << " ms";
    // The commands take a bounded share of each update.
    EXPECT_LT(usual, median(quiet) + 20.0);
    EXPECT_GT(answered, 0);
}
