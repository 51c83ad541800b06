#include "services/framereadback.h"

#include "render/render.h"

bool CFrameReadback::Read(const Take& take)
{
    if (!m_render || m_render->GetWindowCount() == 0)
        return false;
    m_render->SwitchToRenderWindow(0);
    if (!m_render->StartReadPixels())
        return false;
    return HandOn(InFlight, take);
}

bool CFrameReadback::Drain(const Take& take)
{
    return HandOn(0, take);
}

void CFrameReadback::Discard()
{
    while (m_render && m_render->QueuedReadPixels() > 0 && m_render->FinishReadPixels(m_pixels)) {
    }
}

bool CFrameReadback::HandOn(int keep, const Take& take)
{
    while (m_render && m_render->QueuedReadPixels() > keep) {
        if (!m_render->FinishReadPixels(m_pixels) || !take(m_pixels)) {
            Discard();
            return false;
        }
    }
    return true;
}
