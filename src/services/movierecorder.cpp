#include "services/movierecorder.h"

#include "app/log.h"
#include "render/render.h"

CMovieRecorder::CMovieRecorder(CRender* render, SOptions options)
    : m_render(render), m_readback(render), m_options(std::move(options))
{
}

CMovieRecorder::~CMovieRecorder()
{
    StopEncoding();
}

bool CMovieRecorder::StartMovie(const std::string& path)
{
    StopEncoding();
    m_readback.Discard();
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
        return Error("Failed to create movie file \"%s\": %s", path.c_str(), m_error.c_str());
    m_noMoreFrames = false;
    m_encoderFailed = false;
    m_thread = std::thread([this] { EncodeFrames(); });
    return true;
}

void CMovieRecorder::WriteFrame(int)
{
    if (!m_good || m_render->GetWindowCount() == 0)
        return;
    if (!m_readback.Read([this](std::vector<uint8_t>& pixels) { return Queue(pixels); }))
        Fail();
}

bool CMovieRecorder::Queue(std::vector<uint8_t>& pixels)
{
    {
        // Drawing runs at most a few frames ahead of the encoder.
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_waiting.size() < QueueDepth || m_encoderFailed; });
        if (m_encoderFailed)
            return false;
        m_waiting.push_back(std::move(pixels));
        if (!m_spare.empty()) {
            pixels = std::move(m_spare.back());
            m_spare.pop_back();
        }
    }
    m_changed.notify_all();
    ++m_framesWritten;
    if (m_onFrame)
        m_onFrame(m_framesWritten);
    return true;
}

void CMovieRecorder::Fail()
{
    {
        std::lock_guard lock(m_mutex);
        m_error = m_encoderFailed ? m_encoderError : std::string("the picture could not be read back");
    }
    m_good = false;
    Error("Movie recording stopped: %s", m_error.c_str());
    m_readback.Discard();
    StopEncoding();
    m_encoder.Abandon();
}

void CMovieRecorder::EncodeFrames()
{
    for (;;) {
        std::vector<uint8_t> pixels;
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [this] { return !m_waiting.empty() || m_noMoreFrames; });
            if (m_waiting.empty())
                return;
            pixels = std::move(m_waiting.front());
            m_waiting.pop_front();
        }
        std::string error;
        const bool added = m_encoder.AddFrame(pixels.data(), error);
        m_bytesWritten = m_encoder.BytesWritten();
        {
            std::lock_guard lock(m_mutex);
            m_spare.push_back(std::move(pixels));
            if (!added) {
                m_encoderFailed = true;
                m_encoderError = error;
                m_waiting.clear();
            }
        }
        m_changed.notify_all();
        if (!added)
            return;
    }
}

void CMovieRecorder::StopEncoding()
{
    {
        std::lock_guard lock(m_mutex);
        m_noMoreFrames = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void CMovieRecorder::StopMovie()
{
    if (!m_good)
        return;
    // The last frames are still being read back.
    if (!m_readback.Drain([this](std::vector<uint8_t>& pixels) { return Queue(pixels); })) {
        Fail();
        return;
    }
    StopEncoding();
    m_good = false;
    if (m_encoderFailed) {
        m_error = m_encoderError;
        Error("Movie recording stopped: %s", m_error.c_str());
        m_encoder.Abandon();
        return;
    }
    m_finished = m_encoder.Finish(m_error);
    if (!m_finished)
        Error("Movie recording failed at its end: %s", m_error.c_str());
    std::lock_guard lock(m_mutex);
    m_spare.clear();
}
