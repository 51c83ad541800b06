#include "services/profiler.h"

#include "services/scriptengine.h"

void CProfiler::FrameFinished(double nowSeconds, CScriptEngine& engine)
{
    if (m_lastReport < 0.0) {
        m_lastReport = m_lastFrame = nowSeconds;
        return;
    }
    ++m_frames;
    m_durations += nowSeconds - m_lastFrame;
    m_lastFrame = nowSeconds;
    const double elapsed = nowSeconds - m_lastReport;
    if (elapsed <= 1.0)
        return;
    CScriptRequest answer("");
    answer.Begin("Profiler");
    answer.Attribute("fps", float(1.0 / (elapsed / m_frames)));
    answer.Attribute("frametime", float(m_durations / m_frames));
    engine.SendAnswer(answer);
    m_lastReport = nowSeconds;
    m_durations = 0.0;
    m_frames = 0;
}
