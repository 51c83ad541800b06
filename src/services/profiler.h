#pragma once

class CScriptEngine;

// Reports the frame rate to the editor about once a second, as a "Profiler"
// answer with "fps" and "frametime" (seconds).
class CProfiler
{
public:
    // Once per finished frame, with the time now in seconds.
    void FrameFinished(double nowSeconds, CScriptEngine& engine);

private:
    double m_lastReport = -1.0;
    double m_lastFrame = -1.0;
    double m_durations = 0.0;
    int m_frames = 0;
};
