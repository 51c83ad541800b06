#include "services/picturesequencewriter.h"

#include "app/log.h"
#include "services/windowpicture.h"
#include "render/render.h"

#include <cstdio>
#include <filesystem>
#include <system_error>

CPictureSequenceWriter::CPictureSequenceWriter(CRender* render) : m_render(render)
{
}

std::string CPictureSequenceWriter::FrameName(int number)
{
    char name[32];
    snprintf(name, sizeof name, "frame-%05d.png", number);
    return name;
}

bool CPictureSequenceWriter::StartMovie(const std::string& path)
{
    m_directory = path.empty() ? std::string(".") : path;
    m_framesWritten = 0;
    std::error_code error;
    std::filesystem::create_directories(m_directory, error);
    if (!std::filesystem::is_directory(m_directory, error)) {
        m_good = false;
        return Error("Unable to make the picture directory \"%s\"", m_directory.c_str());
    }
    m_good = true;
    return true;
}

void CPictureSequenceWriter::WriteFrame(int)
{
    if (!m_good || !m_render || m_render->GetWindowCount() == 0)
        return;
    m_render->SwitchToRenderWindow(0);
    const std::string path = m_directory + "/" + FrameName(m_framesWritten + 1);
    if (!SaveWindowPicture(*m_render, path, m_pixels)) {
        // A full disk fails every later frame too; one line says it.
        Error("No more frames are written");
        m_good = false;
        return;
    }
    ++m_framesWritten;
    if (m_onFrame)
        m_onFrame(m_framesWritten);
}

void CPictureSequenceWriter::StopMovie()
{
    m_good = false;
    m_pixels = {};
}
