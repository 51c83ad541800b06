#include "services/picturesequencewriter.h"

#include "app/log.h"
#include "render/render.h"
#include "services/windowpicture.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>

CPictureSequenceWriter::CPictureSequenceWriter(CRender* render, int workers)
    : m_render(render), m_readback(render),
      m_workerCount(workers > 0 ? workers : int(std::max(1u, std::thread::hardware_concurrency())))
{
}

CPictureSequenceWriter::~CPictureSequenceWriter()
{
    StopWorkers();
}

std::string CPictureSequenceWriter::FrameName(int number)
{
    char name[32];
    snprintf(name, sizeof name, "frame-%05d.png", number);
    return name;
}

bool CPictureSequenceWriter::StartMovie(const std::string& path)
{
    StopWorkers();
    m_readback.Discard();
    m_directory = path.empty() ? std::string(".") : path;
    m_framesWritten = 0;
    m_framesQueued = 0;
    m_failed = false;
    m_failureReported = false;
    m_failedPath.clear();
    std::error_code error;
    std::filesystem::create_directories(m_directory, error);
    if (!std::filesystem::is_directory(m_directory, error)) {
        m_good = false;
        return Error("Unable to make the picture directory \"%s\"", m_directory.c_str());
    }
    m_good = true;
    m_noMorePictures = false;
    for (int i = 0; i < m_workerCount; ++i)
        m_workers.emplace_back([this] { WritePictures(); });
    return true;
}

void CPictureSequenceWriter::WriteFrame(int)
{
    if (!IsGood() || !m_render || m_render->GetWindowCount() == 0) {
        ReportFailure();
        return;
    }
    m_render->SwitchToRenderWindow(0);
    // The size of the first picture holds for the recording: windows of a
    // recording run do not change size.
    if (m_framesQueued == 0) {
        m_width = m_render->m_currentRect.Width();
        m_height = m_render->m_currentRect.Height();
    }
    if (!m_readback.Read([this](std::vector<uint8_t>& pixels) { return Queue(pixels); })) {
        if (!m_failed)
            Error("Unable to read back the picture of frame %d", m_framesQueued + 1);
        m_good = false;
    }
    ReportFailure();
    if (m_onFrame)
        m_onFrame(m_framesWritten);
}

bool CPictureSequenceWriter::Queue(std::vector<uint8_t>& pixels)
{
    std::unique_lock lock(m_mutex);
    // Drawing runs at most two pictures a worker ahead of the disk.
    m_changed.wait(lock, [this] { return m_waiting.size() < size_t(2 * m_workerCount) || m_failed; });
    if (m_failed)
        return false;
    SPicture picture{++m_framesQueued, std::move(pixels)};
    if (!m_spare.empty()) {
        pixels = std::move(m_spare.back());
        m_spare.pop_back();
    }
    m_waiting.push_back(std::move(picture));
    lock.unlock();
    m_changed.notify_all();
    return true;
}

void CPictureSequenceWriter::WritePictures()
{
    for (;;) {
        SPicture picture;
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [this] { return !m_waiting.empty() || m_noMorePictures; });
            if (m_waiting.empty())
                return;
            picture = std::move(m_waiting.front());
            m_waiting.pop_front();
        }
        const std::string path = m_directory + "/" + FrameName(picture.m_number);
        const bool saved = !m_failed && SaveBgrPicture(path, picture.m_pixels, m_width, m_height);
        {
            std::lock_guard lock(m_mutex);
            m_spare.push_back(std::move(picture.m_pixels));
            if (saved) {
                ++m_framesWritten;
            } else if (!m_failed) {
                // A full disk fails every later picture too: the rest are dropped.
                m_failed = true;
                m_failedPath = path;
                m_waiting.clear();
            }
        }
        m_changed.notify_all();
    }
}

void CPictureSequenceWriter::ReportFailure()
{
    if (!m_failed || m_failureReported)
        return;
    m_failureReported = true;
    std::lock_guard lock(m_mutex);
    Error("Unable to write the picture \"%s\"; no more frames are written", m_failedPath.c_str());
}

void CPictureSequenceWriter::StopWorkers()
{
    {
        std::lock_guard lock(m_mutex);
        m_noMorePictures = true;
    }
    m_changed.notify_all();
    for (std::thread& worker : m_workers)
        worker.join();
    m_workers.clear();
}

void CPictureSequenceWriter::StopMovie()
{
    if (m_good && !m_failed)
        m_readback.Drain([this](std::vector<uint8_t>& pixels) { return Queue(pixels); });
    m_readback.Discard();
    StopWorkers();
    ReportFailure();
    m_good = false;
    std::lock_guard lock(m_mutex);
    m_spare.clear();
}
