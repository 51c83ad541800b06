#pragma once

#include "render/rendertypes.h"

#include <string>
#include <vector>

// A part of the whole picture, in fractions of it.
struct SSection
{
    double x = 0, y = 0, width = 1, height = 1;
    bool operator==(const SSection&) const = default;
};

// One display in the order the system lists them.
struct CMonitor
{
    std::string m_deviceName;    // configuration entries match on this
    std::string m_deviceString;  // the adapter's description
    std::string m_monitorString; // the monitor's description
    int m_handle = 0;            // 0: not usable for a window
    SRect m_rect;                // desktop coordinates
    SSection m_section;
    bool m_leaveBlack = false;   // gets a window but no picture
};

// The part of the picture each monitor shows: its rectangle over the virtual
// screen's size. The origin of the virtual screen is not subtracted; the
// divisions are single precision, widened before the subtraction.
void ComputeSections(std::vector<CMonitor>& monitors, int virtualWidth, int virtualHeight);

// The union of the rectangles of the monitors that have a handle.
SRect VirtualRect(const std::vector<CMonitor>& monitors);
