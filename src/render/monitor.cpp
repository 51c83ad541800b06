#include "render/monitor.h"

#include <algorithm>

void ComputeSections(std::vector<CMonitor>& monitors, int virtualWidth, int virtualHeight)
{
    if (virtualWidth <= 0 || virtualHeight <= 0)
        return;
    const float w = static_cast<float>(virtualWidth);
    const float h = static_cast<float>(virtualHeight);
    for (CMonitor& m : monitors) {
        const double x = static_cast<float>(m.m_rect.left) / w;
        const double y = static_cast<float>(m.m_rect.top) / h;
        m.m_section.x = x;
        m.m_section.y = y;
        m.m_section.width = static_cast<double>(static_cast<float>(m.m_rect.right) / w) - x;
        m.m_section.height = static_cast<double>(static_cast<float>(m.m_rect.bottom) / h) - y;
    }
}

SRect VirtualRect(const std::vector<CMonitor>& monitors)
{
    SRect out;
    bool first = true;
    for (const CMonitor& m : monitors) {
        if (!m.m_handle)
            continue;
        if (first) {
            out = m.m_rect;
            first = false;
            continue;
        }
        out.left = std::min(out.left, m.m_rect.left);
        out.top = std::min(out.top, m.m_rect.top);
        out.right = std::max(out.right, m.m_rect.right);
        out.bottom = std::max(out.bottom, m.m_rect.bottom);
    }
    return out;
}
