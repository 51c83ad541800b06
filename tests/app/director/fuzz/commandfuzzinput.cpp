#include "commandfuzzinput.h"

#include "app/cfg.h"
#include "app/director/lumora.h"
#include "app/host/clock.h"
#include "scene/scene.h"
#include "services/scriptengine.h"

#include <QXmlStreamReader>

#include <memory>
#include <string_view>

namespace {

struct SFuzzDirector
{
    SFuzzDirector() : engine(CScriptEngine::Get()), director(config, CClock::System())
    {
        director.m_autoGotoNextScene = false;
    }
    ~SFuzzDirector() { engine->Release(); }

    CCfg config;
    CScriptEngine* engine;
    CLumora director;
};

SFuzzDirector& Fuzz()
{
    static SFuzzDirector fuzz;
    return fuzz;
}

void PlayFreshScene(CLumora& director)
{
    auto scene = director.NewScene();
    scene->m_fileName = "fuzz.lms";
    scene->AddNode("Screen");
    scene->AddNode("Clear");
    scene->AddNode("Sin");
    scene->AddNode("Sin");
    scene->Connect("Clear1.Render", "Screen1.Render");
    scene->Connect("Sin1.Value", "Sin2.Offset");
    director.PlayOnly(std::move(scene));
}

} // namespace

bool CommandInputAnswersWellFormed(const uint8_t* data, size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    // Element names are plain bytes in the text, so this keeps the fuzzer
    // from writing files wherever its input points.
    if (text.find("SceneSave") != std::string_view::npos || text.find("WinCapture") != std::string_view::npos)
        return true;
    SFuzzDirector& fuzz = Fuzz();
    PlayFreshScene(fuzz.director);
    fuzz.engine->AddCommands(text);
    while (fuzz.engine->PendingCount() > 0)
        fuzz.director.Update(1.0f / 30.0f);
    fuzz.director.Update(1.0f / 30.0f);
    const std::string answer = fuzz.engine->GetResults();
    QXmlStreamReader reader(QString::fromStdString(answer));
    while (!reader.atEnd())
        reader.readNext();
    return !reader.hasError();
}
