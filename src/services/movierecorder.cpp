#include "services/movierecorder.h"

#include "app/log.h"
#include "render/render.h"

CMovieRecorder::CMovieRecorder(CRender* render, SOptions options) : m_render(render), m_options(std::move(options))
{
}

bool CMovieRecorder::StartMovie(const std::string& path)
{
    m_framesWritten = 0;
    m_finished = false;
    m_error.clear();
    if (!m_render || m_render->GetWindowCount() == 0) {
        m_error = "there is no picture to record";
        return m_good = false;
    }
    m_render->SwitchToRenderWindow(0);
    CFfmpegMovieEncoder::SOptions options;
    options.m_path = path;
    options.m_width = m_render->m_currentRect.Width();
    options.m_height = m_render->m_currentRect.Height();
    options.m_frameRate = m_options.m_frameRate;
    options.m_encoder = m_options.m_encoder;
    options.m_songPath = m_options.m_songPath;
    m_good = m_encoder.Open(options, m_error);
    if (!m_good)
        Error("Failed to create movie file \"%s\": %s", path.c_str(), m_error.c_str());
    return m_good;
}

void CMovieRecorder::WriteFrame(int)
{
    if (!m_good || m_render->GetWindowCount() == 0)
        return;
    m_render->SwitchToRenderWindow(0);
    const int width = m_render->m_currentRect.Width(), height = m_render->m_currentRect.Height();
    m_pixels.resize(size_t(width) * size_t(height) * 3);
    if (!m_render->ReadPixels(m_pixels.data())) {
        m_error = "the picture could not be read back";
        m_good = false;
    } else if (!m_encoder.AddFrame(m_pixels.data(), m_error)) {
        m_good = false;
    }
    if (!m_good) {
        // A full disk fails every later frame too: one line says it.
        Error("Movie recording stopped: %s", m_error.c_str());
        m_encoder.Abandon();
        return;
    }
    ++m_framesWritten;
    m_bytesWritten = m_encoder.BytesWritten();
    if (m_onFrame)
        m_onFrame(m_framesWritten);
}

void CMovieRecorder::StopMovie()
{
    if (!m_good)
        return;
    m_good = false;
    m_finished = m_encoder.Finish(m_error);
    if (!m_finished)
        Error("Movie recording failed at its end: %s", m_error.c_str());
    m_pixels = {};
}
